// What the user waits for at the Windows program. bench/desktop.sh runs it.
// usage: desktop_bench start RUNS FOLDER | list ITEMS | gap MAILS | mails MAILS

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/check/notifier.h"
#include "app/core/tarnwick.h"
#include "app/core/velmoraapp.h"
#include "app/demo/mailstore.h"
#include "app/demo/pop3service.h"
#include "app/demo/samplemail.h"
#include "app/desktop/inbox.h"
#include "app/desktop/mailviewer.h"
#include "app/desktop/mainwindow.h"
#include "app/desktop/trashcan.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int ACCOUNTS_AT_START = 3;
constexpr DWORD ANSWER_MS = 10000;

class STOPWATCH {
 public:
    double Ms() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - Start).count();
    }

 private:
    std::chrono::steady_clock::time_point Start = std::chrono::steady_clock::now();
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// A data directory with accounts, which goes with the object.
class DATA {
 public:
    explicit DATA(const std::string& accounts, const std::string& settings = {})
        : Path(std::filesystem::temp_directory_path() / "desktop-bench") {
        std::filesystem::remove_all(Path);
        std::filesystem::create_directories(Path);
        std::ofstream(Path / "tarnwick.ini", std::ios::binary) << "ConnectionType=0\r\nVersion=2.02\r\n" << settings;
        std::ofstream(Path / "accounts.ini", std::ios::binary) << accounts;
    }
    ~DATA() {
        std::error_code ignored;
        std::filesystem::remove_all(Path, ignored);
    }
    DATA(const DATA&) = delete;
    DATA& operator=(const DATA&) = delete;

    std::string Switches() const { return "/LANG:ENGL \"/WORKDIR:" + Path.string() + "\""; }

 private:
    const std::filesystem::path Path;
};

std::string Accounts(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "[#" + std::to_string(i) + "]\r\nName=account " + std::to_string(i * 7919 % count) +
                "\r\nType=1\r\nUpdateSuspended=1\r\nLastRC=3|1\r\nLastValue=3 mails (1 new)|x\r\n\r\n";
    return text;
}

void Pump() {
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

/// The program's window over these data, in this process.
struct PROGRAM {
    explicit PROGRAM(const DATA& data) : App(ARGUMENTS("tarnwick", data.Switches().c_str())) {
        if (App.Start(NoFrontEnd) != 0)
            exit(1);
        Resources = std::make_unique<RESOURCELIBRARY>(App.LibraryPath());
        Window = std::make_unique<MAINWINDOW>(App);
        Engine = std::make_unique<TARNWICK>(*Window, Nobody, App.Arguments(), App.Texts());
        Window->SetApplication(Engine.get());
        if (!Engine->Open())
            exit(1);
        Window->Begin(false);
    }
    ~PROGRAM() {
        Window->End();
        Engine.reset();
        Window->SetApplication(nullptr);
    }
    PROGRAM(const PROGRAM&) = delete;
    PROGRAM& operator=(const PROGRAM&) = delete;

    int Rows() const { return ListView_GetItemCount(Window->List().Handle()); }

    FRONTEND NoFrontEnd;
    NOTIFIER Nobody;
    VELMORAAPP App;
    std::unique_ptr<RESOURCELIBRARY> Resources;
    std::unique_ptr<MAINWINDOW> Window;
    std::unique_ptr<TARNWICK> Engine;
};

/// From the start of a process until its window shows, answers, and its list has that many rows; -1 if it never does.
double TimeStart(const std::string& command, const wchar_t* windowClass, int rows) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    std::wstring line = WideText(std::string_view(command));
    const STOPWATCH watch;
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return -1;
    double usable = -1;
    HWND window = nullptr;
    while (usable < 0 && watch.Ms() < ANSWER_MS) {
        Sleep(1);
        window = FindWindowW(windowClass, nullptr);
        const HWND list = window ? FindWindowExW(window, nullptr, WC_LISTVIEWW, nullptr) : nullptr;
        DWORD_PTR count = 0;
        if (list && IsWindowVisible(window) &&
            SendMessageTimeoutW(list, LVM_GETITEMCOUNT, 0, 0, SMTO_NORMAL, ANSWER_MS, &count) &&
            count == static_cast<DWORD_PTR>(rows))
            usable = watch.Ms();
    }
    TerminateProcess(process.hProcess, 0);
    WaitForSingleObject(process.hProcess, ANSWER_MS);
    // Else a program that starts next would find it, and leave the screen to it.
    while (IsWindow(window) && watch.Ms() < 2 * ANSWER_MS)
        Sleep(1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return usable;
}

int Start(int runs, const std::string& folder) {
    const DATA data(Accounts(ACCOUNTS_AT_START));
    const std::string program = "\"" + folder + "\\tarnwick.exe\" " + data.Switches();
    const std::string bare = "\"" + folder + "\\bare_window.exe\"";
    std::vector<double> ours, theirs;
    for (int i = 0; i <= runs; ++i) {
        const double one = TimeStart(program, WideText(std::string_view(MAINWINDOW_CLASS)).c_str(), ACCOUNTS_AT_START);
        const double other = TimeStart(bare, L"BareWindow", 0);
        if (one < 0 || other < 0) {
            fprintf(stderr, "a window did not come up\n");
            return 1;
        }
        // The first ones fill the caches.
        if (i > 0) {
            ours.push_back(one);
            theirs.push_back(other);
        }
    }
    printf("start to a usable window: %.0f ms, bare program %.0f ms, ratio %.2f\n", Median(ours), Median(theirs),
           Median(ours) / Median(theirs));
    return 0;
}

/// The same rows in a list with nothing behind it.
double TimeBareList(HWND parent, int items) {
    const HWND list = CreateWindowW(WC_LISTVIEWW, L"", WS_CHILD | WS_VISIBLE | LVS_REPORT | LVS_SORTASCENDING, 0, 0,
                                    380, 300, parent, nullptr, nullptr, nullptr);
    LVCOLUMNW column{};
    column.mask = LVCF_WIDTH;
    column.cx = 150;
    ListView_InsertColumn(list, 0, &column);
    ListView_InsertColumn(list, 1, &column);
    UpdateWindow(list);
    const STOPWATCH watch;
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    for (int i = 0; i < items; ++i) {
        std::wstring name = L"account " + std::to_wstring(i * 7919 % items);
        wchar_t result[] = L"3 mails (1 new)";
        LVITEMW item{};
        item.mask = LVIF_TEXT;
        item.iItem = i;
        item.pszText = name.data();
        const int row = ListView_InsertItem(list, &item);
        ListView_SetItemText(list, row, 1, result);
    }
    ListView_SetColumnWidth(list, 0, LVSCW_AUTOSIZE);
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    UpdateWindow(list);
    const double ms = watch.Ms();
    DestroyWindow(list);
    return ms;
}

int List(int items) {
    const DATA data(Accounts(items));
    PROGRAM program(data);
    Pump();
    std::vector<double> ours, bare;
    for (int i = 0; i < 9; ++i) {
        const STOPWATCH watch;
        program.Window->List().FillListview();
        Pump();
        UpdateWindow(program.Window->List().Handle());
        ours.push_back(watch.Ms());
        bare.push_back(TimeBareList(program.Window->hWnd, items));
    }
    printf("list of %d items filled and painted: %.0f ms, bare list %.0f ms, ratio %.2f\n", program.Rows(),
           Median(ours), Median(bare), Median(ours) / Median(bare));
    return program.Rows() == items ? 0 : 1;
}

int Gap(int mails) {
    DEMOSTORE store;
    for (int i = 0; i < mails; ++i)
        store.Deliver(SampleMail(i % SampleMailCount(), 1772600000 + i));
    POP3SERVICE service(store, "user", "secret");
    if (!service.Start())
        return 1;
    const DATA data("");
    PROGRAM program(data);
    STRINGARRAY item = program.Engine->NewItem();
    STRING source, password("secret");
    source.Format("127.0.0.1:%d|user", service.Port());
    password.SetFlags(STRINGFLAG_BINARY);
    item.Set("Name", "box");
    item.SetNumber("Type", 1);
    item.Set("Source", source);
    item.Set("Source2", password);
    program.Engine->pState.Set("SpamDoDomain", "0");
    (void)program.Engine->AddItem(item);
    program.Window->List().FillListview();
    program.Engine->Start();
    program.Window->Started();
    const std::string end = std::to_string(mails) + "|";
    double longest = 0;
    UINT slowest = 0;
    int alerts = 0, dispatched = 0;
    const STOPWATCH whole;
    // What is painted at the end, and the alert, count too.
    for (double done = 0; done == 0 || whole.Ms() < done + 1000;) {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
            const STOPWATCH watch;
            TranslateMessage(&message);
            DispatchMessageW(&message);
            ++dispatched;
            if (watch.Ms() > longest) {
                longest = watch.Ms();
                slowest = message.message;
            }
        }
        alerts += program.Window->Alert() != nullptr;
        if (done == 0 && program.Engine->Items[0].Get("LastRC").View().starts_with(end))
            done = whole.Ms();
        if (whole.Ms() > 120000) {
            fprintf(stderr, "the check came to no end\n");
            return 1;
        }
    }
    printf(
        "check of %d mails: %.0f ms, alert %s, %d messages, longest away from the message loop %.1f ms (message %u)\n",
        mails, whole.Ms() - 1000, alerts ? "shown" : "missing", dispatched, longest, slowest);
    return 0;
}

/// What is done to a window until it is painted.
double Time(const std::function<void()>& act) {
    const STOPWATCH watch;
    act();
    Pump();
    return watch.Ms();
}

int Mails(int mails) {
    const DATA data(Accounts(1), "InboxVisible=0\r\nSpamDoMark=0\r\nLastInboxSortColumn=0\r\n");
    PROGRAM program(data);
    Pump();
    std::string listing = std::to_string(mails) + " msgs|\n";
    for (int i = 0; i < mails; ++i) {
        const std::string n = std::to_string(i * 7919 % mails);
        listing += "X-SpamPoints: 0\nX-Size: " + n + "00\nX-Message-Id: " + n + "|id" + n + "\nMessage-Id: <" + n +
                   "@x>\nFrom: =?utf-8?q?J=C3=BCrgen?= " + n + " <s" + n + "@example.org>\nSubject: Mail number " + n +
                   "\nReceived: from a by b; for c\nContent-Type: text/plain; charset=utf-8\n\n" +
                   std::string(1000, 'x') + "\n\1";
    }
    program.Engine->Items[0].Set("@FileStore", STRING(std::string_view(listing)));
    MAINWINDOW& window = *program.Window;
    const double open = Time([&] { window.DoCommand(COMMAND_INBOX); });
    const HWND list = window.InboxWindow()->ListOfMails().hWnd;
    NMLISTVIEW click{};
    click.hdr = {list, 0, LVN_COLUMNCLICK};
    click.iSubItem = 1;
    const double sort = Time([&] { SendMessageW(GetParent(list), WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&click)); });
    ListView_SetItemState(list, -1, LVIS_SELECTED, LVIS_SELECTED);
    Pump();
    const double sortSelected =
        Time([&] { SendMessageW(GetParent(list), WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&click)); });
    const double mark = Time([&] { window.DoCommand(COMMAND_MAIL_MARK); });
    const double reload = Time([&] { window.InboxWindow()->Reload(); });
    printf(
        "inbox of %d mails: opened %.0f ms, sorted %.0f ms (all selected %.0f ms), marked %.0f ms, reloaded %.0f ms\n",
        mails, open, sort, sortSelected, mark, reload);

    RECORDARRAY records(1, 1);
    BuildMailHash("1 msgs|\nX-Size: 1\nFrom: a@b\nSubject: x\n\nbody\n", records);
    (void)program.Engine->Trash().SaveToTrash(records[0]);
    const std::filesystem::path trashed = program.Engine->Trash().Directory().Text();
    for (int i = 1; i < mails / 2; ++i) {
        for (const char* const kind : {".ini", ".txt"})
            std::filesystem::copy_file(trashed / ("100000000" + std::string(kind)),
                                       trashed / (std::to_string(100000000 + i) + kind));
    }
    const double trash = Time([&] { window.DoCommand(COMMAND_TRASHCAN); });
    printf("trashcan of %d mails: opened %.0f ms\n", mails / 2, trash);

    std::string body;
    while (body.size() < 10'000'000)
        body += "Some words that go on for a line of a mail, as most of them do.\n";
    records[0].Set("Body", STRING(std::string_view(body)));
    static double shown;
    static STOPWATCH watch;
    watch = STOPWATCH();
    SetTimer(nullptr, 0, 1, [](HWND, UINT, UINT_PTR timer, DWORD) {
        KillTimer(nullptr, timer);
        shown = watch.Ms();
        EndDialog(GetActiveWindow(), 0);
    });
    ShowMail(window.hWnd, records[0], "", program.App.Texts());
    printf("viewer with %zu bytes: %.0f ms\n", body.size(), shown);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 2 ? argv[1] : "";
    INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    if (what == "start" && argc == 4)
        return Start(atoi(argv[2]), argv[3]);
    if (what == "list")
        return List(atoi(argv[2]));
    if (what == "gap")
        return Gap(atoi(argv[2]));
    if (what == "mails")
        return Mails(atoi(argv[2]));
    fprintf(stderr, "usage: desktop_bench start RUNS FOLDER | list ITEMS | gap MAILS | mails MAILS\n");
    return 2;
}
