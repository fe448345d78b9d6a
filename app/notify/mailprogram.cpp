#include "app/notify/mailprogram.h"

#include <string_view>

#include "app/mailbox/account.h"
#include "app/mailbox/listing.h"
#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"
#include "corelib/system/osys.h"
#include "corelib/system/registry.h"

namespace {

STRING CommandFor(const STRINGARRAY& item, const STRINGARRAY& state) {
    if (item.GetNumber("DoSpecialMailProgram") != 0 && item.Get("SpecialMailProgram").Length() > 0)
        return item.Get("SpecialMailProgram");
    const MAILBOXKIND& kind = MAILACCOUNT::Kind(item);
    if (!ASSERTION(kind.IsKnown(), "FALSE"))
        return "";
    if (kind.StartPage)
        return kind.StartPage;
    STRING command = state.Get("EmailCmdline");
    command.Strip('R', " \t\r\n");
    return command;
}

/// The program's path in a command: what stands in quotes, or up to the first blank.
STRING ProgramPath(std::string_view command) {
    if (command.starts_with('"')) {
        command.remove_prefix(1);
        return STRING(command.substr(0, command.find('"')));
    }
    return STRING(command.substr(0, command.find(' ')));
}

/// Starts a program in its own directory, and tells the user if that fails.
void Start(const STRING& command, const STRING& arguments, FRONTEND& frontEnd, const TEXTS& texts,
           PROGRAMSTARTER& starter) {
    const STRING directory = OSYS::FileDirectory(ProgramPath(command.View()).Text());
    STRING error;
    if (!starter.Start(command, arguments, directory, error))
        frontEnd.ShowMessage(texts.Get(TEXT_TITLE), command || "\n" || error);
}

void CutAt(STRING& text, const char* what) {
    const int at = text.Pos(what);
    if (at != -1)
        text.Truncate(at);
}

}  // namespace

bool HasMailProgram(const STRINGARRAY* item, const STRINGARRAY& state) {
    STRING command = item ? CommandFor(*item, state) : state.Get("EmailCmdline");
    command.Strip('B', "\" ");
    return command.Length() > 0;
}

uintptr_t FindMailProgramWindow(const STRINGARRAY& state, PROGRAMSTARTER& starter) {
    const STRING titles = state.Get("EmailWindowTitle");
    if (state.GetNumber("EmailDoWindowCheck") == 0)
        return 0;
    WORDCURSOR parts(titles, "|");
    for (std::string_view part; parts.Next(part);) {
        const uintptr_t window = part.empty() ? 0 : starter.FindTitledWindow(STRING(part));
        if (window != 0)
            return window;
    }
    return 0;
}

STRING MailtoCommand() {
    return RegistryText("SOFTWARE\\Classes\\mailto\\shell\\open", "command", "");
}

void StartMailProgram(const STRINGARRAY* item, const STRINGARRAY& state, FRONTEND& frontEnd, const TEXTS& texts,
                      PROGRAMSTARTER& starter) {
    STRING command = state.Get("EmailCmdline");
    command.Strip('B', "\" ");
    if (command.Length() > 0)
        command = STRING("\"") || command || "\"";
    Trace("TARNWICK::StartMailProgram cmdline= %s\n", command.Text());
    if (item)
        command = CommandFor(*item, state);
    if (command.Length() == 0)
        return;
    if (ASCII::BeginsWith(command.View(), "http://")) {
        if (!starter.OpenAddress(command))
            frontEnd.ShowMessage(texts.Get(TEXT_TITLE), command);
        return;
    }
    command = starter.Expand(command);
    const uintptr_t window = FindMailProgramWindow(state, starter);
    Trace("TARNWICK::StartMailProgram FindMailProgramWindow returns %08x\n", static_cast<unsigned>(window));
    if (window != 0) {
        Trace("TARNWICK::StartMailProgram window to foreground\n");
        const int rc = starter.BringToFront(window);
        Trace("TARNWICK::StartMailProgram window to foreground done, rc= %d\n", rc);
    } else {
        Trace("TARNWICK::StartMailProgram start process %s\n", command.Text());
        Start(command, state.Get("EmailCmdlineInbox"), frontEnd, texts, starter);
    }
    Trace("TARNWICK::StartMailProgram done\n");
}

void StartNewMail(const STRINGARRAY& state, FRONTEND& frontEnd, const TEXTS& texts, PROGRAMSTARTER& starter) {
    STRING command = state.Get("EmailCmdline");
    CutAt(command, " /");
    CutAt(command, " -");
    if (command.Length() == 0)
        return;
    command += " " || state.Get("EmailCmdlineNewMail");
    command.Strip('R', " \t");
    Start(command, "", frontEnd, texts, starter);
}
