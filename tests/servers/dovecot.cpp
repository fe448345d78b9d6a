#include "tests/servers/dovecot.h"

#include <filesystem>
#include <fstream>
#include <grp.h>
#include <pwd.h>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

/// Since version 2.4 settings have other names, and the first line says for which version they are meant.
bool SpeaksNewLanguage() {
    return RunCommand("PATH=$PATH:/usr/sbin:/sbin; case $(dovecot --version) in 2.[0-3].*) exit 1; esac");
}

}  // namespace

DOVECOT::DOVECOT(DOVECOTLOGINS logins) : Logins(std::move(logins)), Owner(geteuid()), Group(getegid()) {
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
    while (ImapPort == Port)
        ImapPort = FreePort();
    if (!Logins.Certificate.empty()) {
        PopTlsPort = FreePort();
        ImapTlsPort = FreePort();
        std::ofstream(Directory.Native("server.pem")) << Logins.Certificate;
    }
    const std::string config = Directory.Native("dovecot.conf");
    std::ofstream(config) << Configuration();

    Run({"dovecot", "-F", "-c", config}, [this] { return Greets(Port) && Greets(ImapPort); });
}

std::string DOVECOT::Configuration() const {
    std::ostringstream text;
    const bool isNew = SpeaksNewLanguage();
    if (isNew)
        text << "dovecot_config_version = 2.4.0\ndovecot_storage_version = 2.4.0\nauth_allow_cleartext = "
             << (Logins.ClearToo ? "yes" : "no") << "\n"
             << "mail_driver = maildir\nmail_path = " << Boxes() << "/%{user}\n";
    else
        text << "disable_plaintext_auth = " << (Logins.ClearToo ? "no" : "yes")
             << "\nmail_location = maildir:" << Boxes() << "/%u\n";
    text << "protocols = pop3 imap\n"
            "listen = 127.0.0.1, 127.0.0.2\n"
            "auth_failure_delay = 0\n"
            "auth_username_chars =\n"
            "first_valid_uid = 1\n"
            "first_valid_gid = 1\n"
         << "auth_mechanisms = " << Logins.Mechanisms << "\n"
         << "base_dir = " << Directory.Native("run") << "\n"
         << "log_path = " << Directory.Native("log") << "\n";
    const std::string pem = Directory.Native("server.pem");
    if (Logins.Certificate.empty())
        text << "ssl = no\n";
    else if (isNew)
        text << "ssl = yes\nssl_server_cert_file = " << pem << "\nssl_server_key_file = " << pem << "\n";
    else
        text << "ssl = yes\nssl_cert = <" << pem << "\nssl_key = <" << pem << "\n";
    std::ostringstream known;
    const char* end = isNew ? "\n" : " ";
    known << "uid=" << Owner << end << "gid=" << Group << end << "home=" << Boxes() << (isNew ? "/%{user}" : "/%u");
    if (isNew)
        text << "passdb static {\n  password = secret\n}\nuserdb static {\n  fields {\n" << known.str() << "\n  }\n}\n";
    else
        text << "passdb {\n  driver = static\n  args = password=secret\n}\nuserdb {\n  driver = static\n  args = "
             << known.str() << "\n}\n";
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
    auto login = [&](const char* protocol, int port, int tlsPort) {
        text << "service " << protocol << "-login {\n  chroot =\n  inet_listener " << protocol
             << " {\n    port = " << port << "\n  }\n  inet_listener " << protocol << "s {\n    port = " << tlsPort
             << "\n    ssl = " << (tlsPort > 0 ? "yes" : "no") << "\n  }\n}\n";
    };
    login("pop3", Port, PopTlsPort);
    login("imap", ImapPort, ImapTlsPort);
    text << "service auth {\n  inet_listener sasl {\n    port = " << LoginPort << "\n  }\n}\n";
    return text.str();
}

MAILDIR DOVECOT::Mailbox(const std::string& user, const std::string& folder) const {
    const std::string inbox = Boxes() + "/" + user;
    return {folder.empty() ? inbox : inbox + "/." + folder, Owner, Group};
}
