#pragma once

#include <cstdint>

#include "corelib/base/strings.h"

/// What a rule asks of its source: a check box or radio button knows the first two, a list the two comparisons, an edit
/// field all.
inline constexpr uint32_t RULE_SET = 0;  // checked; not empty
inline constexpr uint32_t RULE_CLEAR = 1;
inline constexpr uint32_t RULE_EQUALS = 2;  // without regard to case
inline constexpr uint32_t RULE_DIFFERS = 3;
inline constexpr uint32_t RULE_FILE_EXISTS = 4;
inline constexpr uint32_t RULE_FILE_MISSING = 5;
inline constexpr uint32_t RULE_IS_DIRECTORY = 6;
inline constexpr uint32_t RULE_NO_DIRECTORY = 7;
/// The part of a mode that is the question; and its flag for hiding the target in place of disabling it.
inline constexpr uint32_t RULE_QUESTION = 0xfff;
inline constexpr uint32_t RULE_HIDES = 0x10000;

/// A rule's source as it is now.
struct RULESTATE {
    enum KIND { CHECKABLE, LIST, EDIT, OTHER };
    KIND Kind = OTHER;
    bool Checked = false;
    STRING Text;  // of the selected entry; of the field
};

/// Does the answer disable the target? A question that this kind of source does not know is a failed assertion; any
/// other kind of source never does.
bool RuleHolds(const RULESTATE& source, uint32_t mode, const STRING& compare);
