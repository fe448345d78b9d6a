#pragma once

#include <memory>

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "corelib/base/stringarray.h"

/// What the platform does for the start of the user's mail program.
class PROGRAMSTARTER {
 public:
    virtual ~PROGRAMSTARTER() = default;
    /// A number for the last top-level window whose title holds the text (with regard to case); 0 for none.
    virtual uintptr_t FindTitledWindow(const STRING& part) = 0;
    /// Shows the window in front of all others; what the platform says of it.
    [[nodiscard]] virtual int BringToFront(uintptr_t window) = 0;
    /// Opens a web address in the user's browser.
    [[nodiscard]] virtual bool OpenAddress(const STRING& address) = 0;
    /// The text with the environment's variables in place of their names.
    virtual STRING Expand(const STRING& text) = 0;
    /// Starts a program (its path, in quotes or not) with arguments in a directory, without waiting for it. False, with
    /// the reason for a person, if it cannot be started.
    [[nodiscard]] virtual bool Start(const STRING& program, const STRING& arguments, const STRING& directory,
                                     STRING& error) = 0;
};

/// The platform's own.
std::unique_ptr<PROGRAMSTARTER> MakeProgramStarter();

/// The command line that the system starts for mail addresses, with its environment variables as they stand; empty if
/// there is none. The user's own choice goes before the machine's.
STRING MailtoCommand();

/// The window of a mail program that runs already, 0 for none: by the parts of the setting EmailWindowTitle, if
/// EmailDoWindowCheck is on.
uintptr_t FindMailProgramWindow(const STRINGARRAY& state, PROGRAMSTARTER& starter);

/// Whether there is a mail program, or a web page in its place, for the item (null: no item).
bool HasMailProgram(const STRINGARRAY* item, const STRINGARRAY& state);

/// Starts the mail program, or shows its window if it runs already; for the item its own program if it has one (null:
/// no item). Front end's thread.
void StartMailProgram(const STRINGARRAY* item, const STRINGARRAY& state, FRONTEND& frontEnd, const TEXTS& texts,
                      PROGRAMSTARTER& starter);

/// Starts the mail program with the settings' switches for a new mail in place of its usual ones; nothing if there is
/// no program. Front end's thread.
void StartNewMail(const STRINGARRAY& state, FRONTEND& frontEnd, const TEXTS& texts, PROGRAMSTARTER& starter);
