#include <algorithm>
#include <memory>

#include "app/desktop/dialogs.h"
#include "app/dialogs/background.h"
#include "app/dialogs/setup.h"
#include "app/notify/mailprogram.h"
#include "corelib/net/tcpio.h"
#include "corelib/system/registry.h"
#include "corelib/window/controls.h"
#include "corelib/window/datapush.h"
#include "corelib/window/messages.h"
#include "corelib/window/wizard.h"

namespace {

constexpr UINT WM__FOUND = WM_APP + 1, WM__CALLED = WM_APP + 2;

SETUPMACHINE LookAtMachine(PROGRAMSTARTER& programs, const STRING& dialEntries) {
    STRING owner = RegistryText("Software\\Microsoft\\Windows", "CurrentVersion", "RegisteredOwner");
    if (owner.Length() == 0)
        owner = RegistryText("Software\\Microsoft\\Windows NT", "CurrentVersion", "RegisteredOwner");
    return {programs.Expand(ProgramOfCommand(MailtoCommand())), dialEntries, owner};
}

/// Proposes a server for the address in one field by filling in another one. Nothing else on the page waits for it.
struct PROPOSER {
    int Button, Address, Server;
    SERVERPROPOSAL Found;
    std::unique_ptr<BACKGROUND> Asking;
};

class SETUPPAGE : public FORMPAGE {
 public:
    SETUPPAGE(const DIALOGPARTS& parts, int page, STRINGARRAY& form, const SETUPMACHINE& machine)
        : FORMPAGE(parts, page, form,
                   page == PAGE_SETUP_CONNECTION ? LISTS{{401, SplitParts(machine.DialEntries)}} : LISTS{}),
          Page(page),
          Values(form),
          Machine(machine) {
        switch (page) {
            case PAGE_SETUP_CONNECTION:
                AddBrowse(102, 207, TEXT_PROGRAM_FILES, "*.exe");
                AddAction<SETUPPAGE, &SETUPPAGE::EnterMailProgram>(103);
                for (const int control : {401, LabelOf(401)})
                    Disable(control, 222, RULE_CLEAR);
                if (machine.MailProgram.Length() == 0)
                    Withdraw(103, false);
                break;
            case PAGE_SETUP_ACCOUNT:
                AddProposer(104, 202, 201);
                for (const int control :
                     {201, 202, 203, 204, 104, LabelOf(201), LabelOf(202), LabelOf(203), LabelOf(204)})
                    Disable(control, 226, RULE_SET);
                for (const int control : {401, LabelOf(401)})
                    Disable(control, 226, RULE_SET);
                for (const int control : {201, LabelOf(201), 104, 401, LabelOf(401)})
                    Disable(control, 223, RULE_SET);
                break;
            case PAGE_SETUP_SENDING:
                AddProposer(102, 202, 201);
                AddAction<SETUPPAGE, &SETUPPAGE::BeginCall>(101);
                break;
            default:
                break;
        }
        SetCheck([this](const FORMPAGE&, int& control) {
            const int fault = SETUP::Fault(Page, Entered(), control);
            return fault != 0 ? Parts().Texts.Get(fault) : STRING();
        });
    }

    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override {
        switch (message) {
            case WM__FOUND:
                ShowProposal();
                return 0;
            case WM__CALLED:
                ShowCall();
                return 0;
            case WM_DESTROY:
                Asker.Asking.reset();
                Calling.reset();
                break;
            default:
                break;
        }
        return FORMPAGE::WinProc(message, first, second);
    }

 private:
    // The form as the controls are now.
    STRINGARRAY Entered() const {
        STRINGARRAY entered = Values;
        for (const FIELD& field : FieldsOf(Page)) {
            if (field.Kind == FIELDKIND::EDIT)
                entered.Set(field.Key, ControlText(field.Control));
            else if (field.Kind == FIELDKIND::RADIO && BUTTON(hWnd, field.Control).IsChecked())
                entered.SetNumber(field.Key, field.Low);
        }
        return entered;
    }

    void AddProposer(int button, int address, int server) {
        Asker.Button = button;
        Asker.Address = address;
        Asker.Server = server;
        SetResultFields({address, server});
        AddAction<SETUPPAGE, &SETUPPAGE::AskOrStop>(button);
    }

    void EnterMailProgram() { SetControlText(207, Machine.MailProgram); }

    void AskOrStop() {
        if (Asker.Asking) {
            StopAsking();
            ShowResult(STRING(""));
            return;
        }
        const STRING domain = MailDomain(ControlText(Asker.Address).View());
        if (domain.Length() == 0) {
            ShowError(hWnd, Parts().Texts.Get(TEXT_SETUP_NO_DOMAIN), Title());
            SendMessageW(hWnd, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(hWnd, Asker.Address)), TRUE);
            return;
        }
        STRING text = Parts().Texts.Get(TEXT_SETUP_ASKING);
        text.Replace("$1", domain.Text());
        ShowResult(text);
        SetControlText(Asker.Button, Parts().Texts.Part(TEXT_SETUP_BUTTON, 1));
        Asker.Asking = std::make_unique<BACKGROUND>(
            [this, domain](const STOPQUESTION& stopAsked) { Asker.Found = ProposeServers(domain, stopAsked); },
            [window = hWnd] { PostMessageW(window, WM__FOUND, 0, 0); });
    }

    void StopAsking() {
        Asker.Asking.reset();
        // What it has still sent.
        MSG late;
        while (PeekMessageW(&late, hWnd, WM__FOUND, WM__FOUND, PM_REMOVE)) {
        }
        SetControlText(Asker.Button, Parts().Texts.Part(TEXT_SETUP_BUTTON, 0));
    }

    void ShowProposal() {
        if (!Asker.Asking)
            return;
        StopAsking();
        const SERVERPROPOSAL& found = Asker.Found;
        const OFFEREDSERVICE* service = &found.Sending;
        if (Page == PAGE_SETUP_ACCOUNT) {
            const bool imap = BUTTON(hWnd, 222).IsChecked();
            const int type = found.BestType(imap ? ITEMTYPE_IMAP : ITEMTYPE_POP3);
            CheckRadioButton(hWnd, 221, 226, type == ITEMTYPE_IMAP ? 222 : 221);
            service = &found.Of(type);
        }
        if (service->Origin != OFFEREDSERVICE::NONE) {
            SetControlText(Asker.Server, service->Server);
            LISTBOX(hWnd, 401).Select(service->Security());
        }
        ShowResult(ProposalText(Parts().Texts, found, *service));
    }

    void BeginCall() {
        const STRING server = Stripped(ControlText(201));
        if (server.Length() == 0 || Calling)
            return;
        Called = server;
        const int security = LISTBOX(hWnd, 401).Selected();
        const char* const port = security == SECURITY_TLS ? ":465" : security == SECURITY_STARTTLS ? ":587" : ":25";
        ShowResult(Parts().Texts.Get(TEXT_CONNECTING) || server);
        Calling = std::make_unique<BACKGROUND>(
            [this, server, port](const STOPQUESTION& stopAsked) {
                TCPIPIO device(nullptr, nullptr, nullptr);
                device.SetStopQuestion(stopAsked);
                const bool hasPort = server.Pos(':') != -1;
                Fault = device.MakeCall((hasPort ? server : server || port).Text()) ? STRING()
                                                                                    : device.GetInfo("LASTERRORSTRING");
                device.DropCall();
            },
            [window = hWnd] { PostMessageW(window, WM__CALLED, 0, 0); });
    }

    void ShowCall() {
        Calling.reset();
        ShowResult(STRING(""));
        if (!Fault.NotNull()) {
            ShowInfo(hWnd, Called || " ok!", Title());
            return;
        }
        STRING text = Parts().Texts.Get(TEXT_SETUP_NO_CALL);
        text.Replace("$ERROR", Fault.Text());
        ShowError(hWnd, text, Title());
    }

    const int Page;
    STRINGARRAY& Values;
    const SETUPMACHINE& Machine;
    PROPOSER Asker{};
    std::unique_ptr<BACKGROUND> Calling;
    STRING Called, Fault;
};

}  // namespace

bool RunSetup(const DIALOGPARTS& parts, STRINGARRAY& state, RECORDARRAY& items, const STRING& dialEntries) {
    SETUP setup(state, items, LookAtMachine(parts.Programs, dialEntries));
    WIZARD wizard(DIALOG_SETUP, parts.Parent, STRING(), parts.Texts.Get(TEXT_SETUP_CANCEL), -1);
    for (const int page : SETUP::ORDER) {
        wizard.AddStep(
            // Going back from there would lead to the account once more.
            {.idstep = page - DIALOG_SETUP, .Dialog = page, .NoBack = page == PAGE_SETUP_USER},
            [&](WIZARD& frame, const WIZARD::STEP& step) {
                if (!setup.HasQuestions(step.Dialog))
                    return PAGEEND::NOTHING_TO_ASK;
                STRINGARRAY form = setup.Begin(step.Dialog);
                const DIALOGPARTS over = {frame.hWnd, parts.Texts, parts.Programs};
                SETUPPAGE dialog(over, step.Dialog, form, setup.OfMachine());
                const PAGEEND result = frame.RunPage(dialog);
                if (result == PAGEEND::NEXT)
                    if (const int told = setup.Leave(step.Dialog, form))
                        ShowInfo(frame.hWnd, parts.Texts.Get(told), frame.Title());
                return result;
            });
    }
    return wizard.Run();
}
