#include "corelib/window/datarules.h"

#include "corelib/base/trace.h"
#include "corelib/system/osys.h"

bool RuleHolds(const RULESTATE& source, uint32_t mode, const STRING& compare) {
    const uint32_t question = mode & RULE_QUESTION;
    // Whether this kind of source knows the question.
    const bool known = source.Kind == RULESTATE::CHECKABLE ? question <= RULE_CLEAR
                       : source.Kind == RULESTATE::LIST    ? question == RULE_EQUALS || question == RULE_DIFFERS
                                                           : question <= RULE_NO_DIRECTORY;
    if (source.Kind == RULESTATE::OTHER || !ASSERTION(known, "FALSE"))
        return false;
    const bool set = source.Kind == RULESTATE::CHECKABLE ? source.Checked : source.Text.Length() > 0;
    switch (question) {
        case RULE_SET:
            return set;
        case RULE_CLEAR:
            return !set;
        case RULE_EQUALS:
        case RULE_DIFFERS:
            return (stricmp(source.Text.Ptr(), compare.Ptr(), true) == 0) == (question == RULE_EQUALS);
        case RULE_FILE_EXISTS:
        case RULE_FILE_MISSING:
            return (set && OSYS::FileExists(source.Text.Text())) == (question == RULE_FILE_EXISTS);
        default:
            return (set && OSYS::FileIsDirectory(source.Text.Text())) == (question == RULE_IS_DIRECTORY);
    }
}
