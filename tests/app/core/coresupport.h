#pragma once

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "corelib/system/osys.h"
#include "corelib/system/registry.h"
#include "tests/support/testsupport.h"

/// Texts that show their number, but for the product, which names the tests' own place in the store of values.
class NUMBEREDTEXTS : public TEXTS {
 public:
    STRING Get(int id) const override {
        STRING text;
        text.Format("text %d $DIR", id);
        return id == TEXT_REGISTRY_NAME ? STRING("TarnwickTest") : text;
    }
};

/// What stands for a text there.
inline std::string Numbered(int text) {
    return Std(NUMBEREDTEXTS().Get(text));
}

/// Keeps what it was told, and answers as the test says.
class RECORDER : public FRONTEND {
 public:
    void ShowMessage(const STRING& title, const STRING& text) override {
        Messages.push_back(Std(title || ": " || text));
    }
    bool AskYesNo(const STRING& title, const STRING& text) override {
        Questions.push_back(Std(title || ": " || text));
        return Answer;
    }
    void ShowHelp(int topic) override { Help.push_back(topic); }
    void RunSetupWizard() override {
        ++Wizards;
        if (Wizard) {
            Wizard();
        }
    }
    void PostAlert(const ALERTREQUEST& request) override { Alerts.push_back(Std(request.Text)); }
    void PostQuit() override { ++Quits; }

    std::vector<std::string> Messages;
    std::vector<std::string> Questions;
    std::vector<std::string> Alerts;
    std::vector<int> Help;
    bool Answer = false;
    int Wizards = 0;
    std::atomic<int> Quits = 0;
    std::function<void()> Wizard;
};

/// Makes a directory the current one for the length of a scope.
class CURRENTDIR {
 public:
    explicit CURRENTDIR(const char* path) : Former(OSYS::GetCurrentDir()) { OSYS::SetCurrentDir(path); }
    ~CURRENTDIR() { OSYS::SetCurrentDir(Former.Text()); }
    CURRENTDIR(const CURRENTDIR&) = delete;
    CURRENTDIR& operator=(const CURRENTDIR&) = delete;

 private:
    STRING Former;
};

/// The tests' place in the store of named values, empty at both ends of a test.
class TESTSTORE {
 public:
    TESTSTORE() : Key("Velmora", "TarnwickTest", ROOT_CURRENT_USER) { Clear(); }
    ~TESTSTORE() { Clear(); }
    TESTSTORE(const TESTSTORE&) = delete;
    TESTSTORE& operator=(const TESTSTORE&) = delete;
    void Set(const char* name, const STRING& value) { (void)Key.Write(name, value.Text()); }
    /// "<none>" for a value that is not there.
    std::string Get(const char* name) {
        const STRING value = Key.Read(name);
        return value.NotNull() ? Std(value) : "<none>";
    }

 private:
    void Clear() {
        for (const char* name : {"ApplicationDataDir", "ApplicationDataDir.New", "FilesDir"}) {
            Key.Delete(name);
        }
    }
    REGISTRY Key;
};
