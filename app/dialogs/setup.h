#pragma once

#include <map>
#include <utility>

#include "app/common/texts.h"
#include "app/dialogs/fields.h"
#include "app/mailbox/serverproposal.h"
#include "corelib/base/recordarray.h"

/// What the setup wizard begins with: of the machine, each empty if there is none.
struct SETUPMACHINE {
    STRING MailProgram;  // the path of the one that mail addresses start
    STRING DialEntries;  // split by "|"
    STRING Owner;
};

/// The pages of the setup wizard without their windows: what each begins with, and what leaving it writes.
class SETUP {
 public:
    /// The pages in their order.
    static constexpr int ORDER[] = {PAGE_SETUP_CONNECTION, PAGE_SETUP_ACCOUNT, PAGE_SETUP_USER, PAGE_SETUP_SENDING,
                                    PAGE_SETUP_HABITS,     PAGE_SETUP_LISTS,   PAGE_SETUP_END};

    /// The tables are the application's, and outlive this object.
    SETUP(STRINGARRAY& state, RECORDARRAY& items, SETUPMACHINE machine)
        : State(state), Items(items), Machine(std::move(machine)) {}

    const SETUPMACHINE& OfMachine() const { return Machine; }
    /// A page without questions is passed over.
    bool HasQuestions(int page) const;
    /// What the fields of a page hold as it comes up, by their keys; what the user has left there by Next, if that
    /// cannot be seen of the settings.
    STRINGARRAY Begin(int page) const;
    /// What is wrong with a page, as the number of a text, and in which field; 0 if nothing is.
    static int Fault(int page, const STRINGARRAY& form, int& control);
    /// Next: writes what the page is for. The number of a text that the user has to be told, or 0.
    [[nodiscard]] int Leave(int page, const STRINGARRAY& form);

 private:
    int AddAccount(const STRINGARRAY& form);
    void StoreMailProgram();
    void StoreUser(const STRINGARRAY& form);
    void AddLists(STRING words);

    STRINGARRAY& State;
    RECORDARRAY& Items;
    const SETUPMACHINE Machine;
    std::map<int, STRINGARRAY> Left;
};

/// The path of a program in the command line that the system starts for mail addresses, with its environment variables
/// as they stand; empty if there is none.
STRING ProgramOfCommand(const STRING& command);

/// A proposal in the words of the page, for the service that it fills in.
STRING ProposalText(const TEXTS& texts, const SERVERPROPOSAL& proposal, const OFFEREDSERVICE& service);
