#include "tests/servers/dovecot.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <pwd.h>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

DOVECOT::DOVECOT() : Owner(geteuid()), Group(getegid()) {
    if (Owner == 0) {
        const passwd* package = getpwnam("dovecot");
        if (!package) {
            Trouble = "there is no user 'dovecot'";
            return;
        }
        Owner = package->pw_uid;
        Group = package->pw_gid;
        fs::permissions(Directory.Native(), fs::perms::others_read | fs::perms::others_exec, fs::perm_options::add);
    }
    fs::create_directory(Boxes());
    if (chown(Boxes().c_str(), Owner, Group) != 0) {
        Trouble = "the mailboxes do not go to their owner";
        return;
    }
    PopPort = FreePort();
    do
        ImapPort = FreePort();
    while (ImapPort == PopPort);
    const std::string config = Directory.Native("dovecot.conf");
    std::ofstream(config) << Configuration();

    Process.Start({"dovecot", "-F", "-c", config});
    if (!Eventually([this] { return Process.HasEnded() || (Greets(PopPort) && Greets(ImapPort)); }) ||
        Process.HasEnded())
        Trouble = "dovecot does not start: " + ReadFile(Directory.Native("log"));
}

STRING DOVECOT::Server(int port) {
    STRING text;
    text.Format("127.0.0.1:%d", port);
    return text;
}

std::string DOVECOT::Configuration() const {
    std::ostringstream text;
    text << "protocols = pop3 imap\n"
            "listen = 127.0.0.1\n"
            "ssl = no\n"
            "disable_plaintext_auth = no\n"
            "auth_failure_delay = 0\n"
            "first_valid_uid = 1\n"
            "first_valid_gid = 1\n"
         << "base_dir = " << Directory.Native("run") << "\n"
         << "log_path = " << Directory.Native("log") << "\n"
         << "mail_location = maildir:" << Boxes() << "/%u\n"
         << "passdb {\n  driver = static\n  args = password=secret\n}\n"
         << "userdb {\n  driver = static\n  args = uid=" << Owner << " gid=" << Group << " home=" << Boxes()
         << "/%u\n}\n";
    if (geteuid() != 0) {
        const passwd* self = getpwuid(Owner);
        const group* ours = getgrgid(Group);
        const std::string user = self ? self->pw_name : std::to_string(Owner);
        const std::string groupName = ours ? ours->gr_name : std::to_string(Group);
        text << "default_internal_user = " << user << "\ndefault_login_user = " << user
             << "\ndefault_internal_group = " << groupName << "\n";
    }
    // Without a root to change it, no process gets a root directory of its own; and wrong passwords cost no time.
    text << "service anvil {\n  chroot =\n  unix_listener anvil-auth-penalty {\n    mode = 0\n  }\n}\n";
    auto login = [&](const char* protocol, int port) {
        text << "service " << protocol << "-login {\n  chroot =\n  inet_listener " << protocol
             << " {\n    port = " << port << "\n  }\n  inet_listener " << protocol << "s {\n    port = 0\n  }\n}\n";
    };
    login("pop3", PopPort);
    login("imap", ImapPort);
    return text.str();
}

std::string DOVECOT::MailDir(const std::string& user) const {
    return Boxes() + "/" + user;
}

void DOVECOT::Deliver(const std::string& user, std::string_view text) {
    const fs::path box = MailDir(user);
    for (const char* part : {"", "new", "cur", "tmp"}) {
        fs::create_directories(box / part);
        if (chown((box / part).c_str(), Owner, Group) != 0)
            ADD_FAILURE() << "the mailbox of " << user << " does not go to its owner";
    }
    // Dovecot takes the mails of a directory in the order of their names.
    char name[64];
    snprintf(name, sizeof name, "%010d.M%dP%d.test", 1000000000 + Delivered, Delivered, getpid());
    ++Delivered;
    const fs::path file = box / "new" / name;
    std::ofstream(file, std::ios::binary) << text;
    if (chown(file.c_str(), Owner, Group) != 0)
        ADD_FAILURE() << "a mail does not go to its owner";
}

std::vector<std::string> DOVECOT::Inbox(const std::string& user) const {
    std::vector<fs::path> files;
    std::error_code none;  // as long as no mail has come
    for (const char* part : {"new", "cur"})
        for (const auto& entry : fs::directory_iterator(fs::path(MailDir(user)) / part, none))
            files.push_back(entry.path());
    std::sort(files.begin(), files.end(),
              [](const fs::path& a, const fs::path& b) { return a.filename() < b.filename(); });
    std::vector<std::string> texts;
    texts.reserve(files.size());
    for (const fs::path& file : files)
        texts.push_back(ReadFile(file));
    return texts;
}
