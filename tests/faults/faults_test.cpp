// Kills the program, and takes the disk away under it, at the points where it changes its data, while it checks
// mailboxes and throws out spam. Whatever happens, each file is the old or the new one, no mail goes without its copy,
// and the next start works. Without more words a few of the points are tried; TARNWICK_FAULTS=all tries each.

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "app/check/trashstore.h"
#include "app/console/session.h"
#include "app/core/settings.h"
#include "app/demo/pop3service.h"
#include "corelib/base/files.h"
#include "corelib/base/recordarray.h"
#include "corelib/system/osys.h"
#include "tests/support/testsupport.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* USER = "joe";
constexpr const char* PASSWORD = "secret";
constexpr int SPAM_MAILS = 2;  // in the mailbox, between two good ones
constexpr int SAMPLES = 8;     // points of each kind, of the short form
// Values that a run may change, or not, by how far it comes.
const std::set<std::string> CHANGING = {"LastRC",      "LastValue",         "LastSeenIds",
                                        "LastRefresh", "LastRefreshString", "TrashedMails"};

bool TryAll() {
    const char* words = getenv("TARNWICK_FAULTS");
    return words && std::string(words) == "all";
}

std::string MailId(int number) {
    return "<" + std::to_string(number) + "@faults.example>";
}

// Long enough for half of it to be missed.
std::string Body(int number) {
    std::string body;
    for (int line = 0; line < 60; ++line)
        body += MailId(number) + " line " + std::to_string(line) + " casino\n";
    return body;
}

std::string WithCrLf(const std::string& text) {
    std::string result;
    for (char c : text)
        result += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return result;
}

std::string Mail(int number, bool spam) {
    return WithCrLf("From: Ann <ann@example.org>\nTo: " + std::string(USER) +
                    "\nSubject: " + (spam ? "casino" : "lunch") + "\nMessage-Id: " + MailId(number) + "\n\n" +
                    (spam ? Body(number) : "At noon?\n"));
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

bool IsSpam(int number) {
    return number > 0 && number <= SPAM_MAILS;
}

class Faults : public testing::Test {
 protected:
    Faults() : Pop(Mailbox, USER, PASSWORD) {}

    void SetUp() override {
        ASSERT_TRUE(Pop.Start());
        WriteBytes(Temp.File("password"), PASSWORD);
        Data = Temp.Native("data");
        ASSERT_EQ(Run({std::string("/ADD:pop3://") + USER + "@127.0.0.1:" + std::to_string(Pop.Port()),
                       "/PASSWORDFILE:" + Temp.Native("password")}),
                  EXIT_GOOD);
        WriteBytes(InData("spamdef.dat"), "B|100/5|casino\r\n");
        STRINGARRAY state;
        ASSERT_TRUE(state.Load(InData("tarnwick.ini").Text()));
        for (const auto& [key, value] : {std::pair("SpamDoTrash", "1"),
                                         {"SpamTrashPoints", "100"},
                                         {"SpamDoDomain", "0"},
                                         {"TrashKeepUncopied", "1"}})
            state.Set(key, value);
        ASSERT_TRUE(state.Save(InData("tarnwick.ini").Text()));
        WriteBytes(InData("trash\\100000000.ini"), "Subject=<old@faults.example>\r\nX-TrashId=100000000\r\n");
        WriteBytes(InData("trash\\100000000.txt"), "old\r\n");
        WriteBytes(InData("trashid.dat"), "100000001\r\n");
        // What a user may have there.
        for (const char* name : {"accounts.ini.backup", "mine.tmp", "trash\\mine.tmp"})
            WriteBytes(InData(name), name);
        fs::copy(Data, Temp.Native("before"), fs::copy_options::recursive);

        // A run in which nothing happens tells the points, and what there is afterwards.
        Renew();
        ASSERT_EQ(Run({"/ONCE"}, 0, ""), EXIT_GOOD) << ReadBytes(Temp.File("out"));
        const std::string log = ReadBytes(Temp.File("points"));
        Points = static_cast<int>(std::count(log.begin(), log.end(), '\n'));
        ASSERT_GT(Points, 20) << log;
        fs::copy(Data, Temp.Native("after"), fs::copy_options::recursive);
        Look("a whole run");
        ASSERT_EQ(Copies().size(), size_t{SPAM_MAILS}) << "the spam is in the trash";
        ASSERT_TRUE(SpamIsGone());
    }

    STRING InData(const char* name) const { return OSYS::FilePath(FILES::SystemPath(Data.c_str()).Text(), name); }
    std::string Before(const char* name) const { return ReadBytes(Temp.File("before") || "\\" || name); }
    std::string After(const char* name) const { return ReadBytes(Temp.File("after") || "\\" || name); }

    /// The data and the mailbox as they were before the first check.
    void Renew() {
        fs::remove_all(Data);
        fs::copy(Temp.Native("before"), Data, fs::copy_options::recursive);
        std::vector<int> numbers;
        for (const auto& mail : Mailbox.Mails())
            numbers.push_back(mail->Number);
        Mailbox.Remove(numbers);
        for (int number = 0; number < SPAM_MAILS + 2; ++number)
            Mailbox.Deliver(Mail(number, IsSpam(number)));
    }
    bool SpamIsGone() const { return Mailbox.Mails().size() == 2; }

    /// Runs to the end: the exit code, or the signal's number and 1000.
    int Run(const std::vector<std::string>& words, int point = -1, const std::string& how = "") {
        const std::string folder =
            FILES::NativePath(OSYS::FileDirectory(OSYS::ProgramPath().Text()).Text()).Text() + std::string("/");
        std::vector<std::string> line = {folder + "tarnwickc", "/LANG:ENGL", "/WORKDIR:" + Data};
        line.insert(line.end(), words.begin(), words.end());
        std::vector<std::string> variables;
        for (char** variable = environ; *variable; ++variable)
            if (point < 0 || !std::string_view(*variable).starts_with("ASAN_OPTIONS="))
                variables.emplace_back(*variable);
        const std::string points = Temp.Native("points"), out = Temp.Native("out");
        if (point >= 0) {
            const char* former = getenv("ASAN_OPTIONS");
            variables.push_back("ASAN_OPTIONS=" + (former ? std::string(former) + ":" : "") +
                                "verify_asan_link_order=0");
            variables.push_back("LD_PRELOAD=" + folder + "libfaultshim.so");
            variables.push_back("FAULT_DIR=" + Data);
            variables.push_back("FAULT_LOG=" + points);
            variables.push_back("FAULT_POINT=" + std::to_string(point));
            variables.push_back("FAULT_HOW=" + how);
        }
        fs::remove(points);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
        pid_t pid = -1;
        EXPECT_EQ(
            posix_spawn(&pid, line[0].c_str(), &actions, nullptr, Pointers(line).data(), Pointers(variables).data()),
            0);
        posix_spawn_file_actions_destroy(&actions);
        int status = 0;
        waitpid(pid, &status, 0);
        return WIFSIGNALED(status) ? 1000 + WTERMSIG(status) : WEXITSTATUS(status);
    }

    /// The mails whose copies in the trash are whole. Each file there is part of a copy.
    std::set<std::string> Copies() {
        std::set<std::string> whole;
        for (const auto& entry : fs::directory_iterator(Data + "/trash")) {
            const std::string name = entry.path().stem(), path = "trash\\" + name;
            EXPECT_TRUE(entry.path().extension() != ".txt" || fs::exists(Data + "/trash/" + name + ".ini"))
                << "a text without its record: " << name;
            if (entry.path().extension() != ".ini" || name == "100000000")
                continue;
            STRINGARRAY record;
            EXPECT_TRUE(record.Load(InData((path + ".ini").c_str()).Text()));
            EXPECT_EQ(Std(record.Get("X-TrashId")), name) << "half a record";
            EXPECT_LT(std::stoll(name), std::stoll(ReadBytes(InData(TRASH_COUNTER)))) << "an id may come again";
            if (!fs::exists(Data + "/trash/" + name + ".txt"))
                continue;
            const std::string header = Std(record.Get("Header")), text = ReadBytes(InData((path + ".txt").c_str()));
            std::string id;
            for (int number = 1; number <= SPAM_MAILS; ++number)
                if (header.find("Message-Id: " + MailId(number)) != header.npos &&
                    text.find(WithCrLf(Body(number))) != text.npos)
                    id = MailId(number);
            EXPECT_NE(id, "") << "half a mail in " << name << ".txt:\n" << header << "\n" << text.substr(0, 300);
            whole.insert(id);
        }
        return whole;
    }

    /// Holds what is there against what may be there: no mail has gone without a copy.
    void Look(const std::string& when) {
        SCOPED_TRACE(when + ", " + std::to_string(Points) + " points\n" + ReadBytes(Temp.File("out")));
        for (const char* name : {"tarnwick.ini", "mailtypes.ini", "myfriends.dat", "spamdef.dat"}) {
            const std::string now = ReadBytes(InData(name));
            EXPECT_TRUE(now == Before(name) || now == After(name)) << name << "\n" << now;
        }
        for (const char* name :
             {"accounts.ini.backup", "mine.tmp", "trash\\mine.tmp", "trash\\100000000.ini", "trash\\100000000.txt"})
            EXPECT_EQ(ReadBytes(InData(name)), Before(name)) << name;
        RECORDARRAY now(8, 8), before(8, 8), after(8, 8);
        (void)now.LoadAll(InData("accounts.ini").Text());
        (void)before.LoadAll(Temp.File("before\\accounts.ini").Text());
        (void)after.LoadAll(Temp.File("after\\accounts.ini").Text());
        EXPECT_TRUE(Same(now, before) || Same(now, after)) << ReadBytes(InData("accounts.ini"));
        const std::string counter = ReadBytes(InData(TRASH_COUNTER));
        EXPECT_TRUE(counter.ends_with("\r\n") && counter >= "100000001\r\n") << counter;
        const std::set<std::string> copies = Copies();
        std::string left;
        for (const auto& mail : Mailbox.Mails())
            left += mail->Text;
        for (int number = 0; number < SPAM_MAILS + 2; ++number) {
            const std::string id = MailId(number);
            const bool there = left.find("Message-Id: " + id) != left.npos;
            EXPECT_TRUE(there || IsSpam(number)) << id << " is a good mail";
            EXPECT_TRUE(there || copies.contains(id)) << id << " has gone without a copy";
        }
    }
    static bool Same(RECORDARRAY& one, RECORDARRAY& other) {
        bool same = one.Count() == other.Count() && one.Count() > 0;
        for (int i = 0; same && i < one.Count(); ++i) {
            const DYNARRAY<STRING> keys = other[i].GetKeys();
            same = one[i].Count() == other[i].Count();
            for (int k = 0; same && k < keys.Count(); ++k)
                same = one[i].Exists(keys[k].Text()) &&
                       (CHANGING.contains(Std(keys[k])) || one[i].Get(keys[k].Text()) == other[i].Get(keys[k].Text()));
        }
        return same;
    }

    /// A run with a fault, a look, and a good run after it, which makes all well.
    void Try(const std::string& name, int point, const std::string& how) {
        Renew();
        const int code = Run({"/ONCE"}, point, how);
        EXPECT_TRUE(how == "kill" ? code == 1000 + SIGKILL || code == EXIT_GOOD : code <= EXIT_NO_START)
            << name << ": " << code << "\n"
            << ReadBytes(Temp.File("out"));
        Look(name);
        EXPECT_EQ(Run({"/ONCE"}), EXIT_GOOD) << name << "\n" << ReadBytes(Temp.File("out"));
        Look("the start after " + name);
        EXPECT_TRUE(SpamIsGone()) << name;
        for (const auto& entry : fs::recursive_directory_iterator(Data))
            EXPECT_FALSE(FILES::IsLeftover(entry.path().filename().string())) << name << ": " << entry.path();
    }
    void TryPoints(const std::string& how) {
        const int tries = TryAll() ? Points : SAMPLES;
        for (int i = 0; i < tries && !HasFailure(); ++i) {
            const int point = tries == Points ? i + 1 : 1 + i * (Points - 1) / (tries - 1);
            Try(how + " at point " + std::to_string(point), point, how);
        }
    }

    TEMPDIR Temp;
    std::string Data;
    DEMOSTORE Mailbox;
    POP3SERVICE Pop;
    int Points = 0;
};

TEST_F(Faults, AKillLeavesEverythingWhole) {
    TryPoints("kill");
}

TEST_F(Faults, ADiskErrorLeavesEverythingWhole) {
    TryPoints("error");
}

TEST_F(Faults, AFullDiskLeavesEverythingWhole) {
    TryPoints("full");
}

}  // namespace
