#pragma once

#include <initializer_list>
#include <mutex>

#include "app/core/settings.h"
#include "app/notify/mailprogram.h"
#include "tests/support/testsupport.h"

/// Every setting as shipped, but for the changed ones; files and numbered texts are empty. No other can be read.
inline void FillSettings(STRINGARRAY& state, std::initializer_list<std::pair<const char*, const char*>> changed) {
    for (const SETTING& setting : SETTINGS)
        state.Set(setting.Key, setting.Kind == SETTINGKIND::DATAFILE ? "" : setting.Default);
    for (const auto& [key, value] : changed)
        state.Set(key, value);
    state.AllowNewKeys(false);
}

/// These texts and no others.
class TEXTTABLE : public TEXTS {
 public:
    explicit TEXTTABLE(std::map<int, const char*> table) : Table(std::move(table)) {}
    STRING Get(int id) const override { return Table.at(id); }

 private:
    const std::map<int, const char*> Table;
};

/// Texts that show their numbers; the many recipients' has its placeholder.
class NUMBERTEXTS : public TEXTS {
 public:
    STRING Get(int id) const override {
        STRING text;
        text.Format(id == 3036 ? "<%d $HOWMANY>" : "<%d>", id);
        return text;
    }
};

/// Keeps what the engine does, in one list of texts for all fakes, so that the order shows.
class JOURNAL {
 public:
    void Add(std::string entry) {
        const std::lock_guard hold(Guard);
        Entries.push_back(std::move(entry));
    }
    std::vector<std::string> Take() {
        const std::lock_guard hold(Guard);
        return std::exchange(Entries, {});
    }

 private:
    std::mutex Guard;
    std::vector<std::string> Entries;
};

/// Notes what it is told, but for the alerts, which it keeps whole, and the progress of checks.
class JOURNALFRONTEND : public FRONTEND {
 public:
    explicit JOURNALFRONTEND(JOURNAL& journal) : Journal(journal) {}
    void MakeTaskbarIcon() override { Journal.Add("icon"); }
    void MakeNewTooltip() override { Journal.Add("tooltip"); }
    void SetMainTitle() override { Journal.Add("title"); }
    void SetStatusLine(const STRING& text) override { Journal.Add("line " + Std(text)); }
    void ShowStatusLine(bool show) override { Journal.Add(show ? "line shown" : "line hidden"); }
    void ArrangeControls() override { Journal.Add("arrange"); }
    void StopBlinking() override { Journal.Add("blinking stops"); }
    void RefreshRow(int handle) override { Journal.Add("row " + std::to_string(handle)); }
    void SetCell(int /*handle*/, int column, const STRING& text) override {
        Journal.Add("cell " + std::to_string(column) + " " + Std(text));
    }
    void ListingChanged(int /*handle*/) override { Journal.Add("listing"); }
    void PostAlert(const ALERTREQUEST& request) override { Alerts.push_back(request); }
    void PlaySoundFile(const STRING& file) override { Journal.Add("sound " + Std(file)); }
    void StartTimer(int timer, int ms) override {
        Journal.Add("timer " + std::to_string(timer) + " " + std::to_string(ms));
    }
    void StopTimer(int timer) override { Journal.Add("stop " + std::to_string(timer)); }
    void PostStartMailProgram(int handle) override { Journal.Add("program " + std::to_string(handle)); }
    void OfferMailProgram() override { Journal.Add("program offered"); }
    void UpdateCommands() override { Journal.Add("menus"); }
    void ShowMessage(const STRING& title, const STRING& text) override { Journal.Add(Std(title) + ": " + Std(text)); }
    bool AskYesNo(const STRING& title, const STRING& text) override {
        Journal.Add("ask " + Std(title) + " " + Std(text));
        return Answer;
    }
    void PostQuit() override { Journal.Add("quit"); }

    std::vector<ALERTREQUEST> Alerts;
    bool Answer = false;

 private:
    JOURNAL& Journal;
};

/// Keeps what rows are told of the progress of a check: handle and text.
class ROWFRONTEND : public FRONTEND {
 public:
    void SetItemStatus(int handle, const STRING& text) override {
        Statuses.push_back(std::to_string(handle) + " " + Std(text));
    }
    std::vector<std::string> Statuses;
};

/// Notes what it is to open, to show and to start; the start of "broken" fails.
class FAKESTARTER : public PROGRAMSTARTER {
 public:
    uintptr_t FindTitledWindow(const STRING& part) override { return Std(part) == Window ? 7 : 0; }
    int BringToFront(uintptr_t window) override { return Note("front " + std::to_string(window)); }
    bool OpenAddress(const STRING& address) override { return Note("open " + Std(address)); }
    STRING Expand(const STRING& text) override { return text; }
    bool Start(const STRING& program, const STRING& arguments, const STRING& directory, STRING& error) override {
        error = "reason";
        return Note(Std(program) + "," + Std(arguments) + "," + Std(directory)) && program.Pos("broken") == -1;
    }
    std::string Take() { return std::exchange(Calls, {}); }

    std::string Window = "none";  // the title of the one that is open

 private:
    bool Note(const std::string& call) {
        Calls += call;
        return true;
    }
    std::string Calls;
};
