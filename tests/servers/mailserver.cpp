#include "tests/servers/mailserver.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr const char* POSTFIX = "/usr/sbin/postfix";

}  // namespace

MAILSERVER::MAILSERVER(const DOVECOT* boxes, const std::string& certificate) {
    const std::string root = geteuid() == 0 ? "" : "sudo -n ";
    if (!fs::exists(POSTFIX))
        Missing = "there is no Postfix";
    else if (!RunCommand(root + "true 2>/dev/null"))
        Missing = "only root may start a mail server, and sudo asks";
    if (!Missing.empty())
        return;
    fs::permissions(Directory.Native(), fs::perms::others_read | fs::perms::others_exec, fs::perm_options::add);
    WriteConfiguration(boxes, certificate);
    // An interrupt from the keyboard goes to the test, too, and by that closes the pipe.
    const std::string dir = Directory.Native();
    const std::string postfix = std::string(POSTFIX) + " -c " + dir + "/etc ";
    const std::string script = "cd " + dir + " && mkdir queue data && chown postfix data && " + postfix +
                               "start && { trap \"\" INT; cat; " + postfix + "stop; }; rm -rf queue data log";
    Keeper = popen((root + "sh -c '" + script + "' >" + dir + "/out 2>&1").c_str(), "we");
    if (!Keeper || !Eventually([this] { return Greets(Port); }))
        Trouble = "postfix does not start: " + ReadFile(dir + "/out") + Log();
}

MAILSERVER::~MAILSERVER() {
    if (Keeper)
        pclose(Keeper);
}

void MAILSERVER::WriteConfiguration(const DOVECOT* boxes, const std::string& certificate) const {
    const std::string dir = Directory.Native();
    fs::create_directory(dir + "/etc");
    std::ofstream(dir + "/etc/server.pem") << certificate;
    std::ofstream settings(dir + "/etc/main.cf");
    settings << "compatibility_level = 3.6\nqueue_directory = " << dir << "/queue\ndata_directory = " << dir
             << "/data\nmaillog_file = " << dir << "/log\nmaillog_file_prefixes = " << dir
             << "\ninet_interfaces = 127.0.0.1\ninet_protocols = ipv4\nmynetworks = 127.0.0.0/8\n"
                "myhostname = mail.delivered.example\nmydestination =\n"
                "alias_maps =\nalias_database =\nnotify_classes =\n"
                "virtual_mailbox_domains = delivered.example\nvirtual_mailbox_base = "
             << boxes->Boxes()
             << "\nvirtual_mailbox_maps = inline:{reader@delivered.example=reader/ second@delivered.example=second/}"
             << "\nvirtual_uid_maps = static:" << boxes->BoxOwner()
             << "\nvirtual_gid_maps = static:" << boxes->BoxGroup() << "\nvirtual_minimum_uid = 1\n"
             << "smtpd_tls_cert_file = " << dir
             << "/etc/server.pem\nsmtpd_sasl_type = dovecot\nsmtpd_sasl_path = inet:" << boxes->LoginServer().Text()
             << "\n";
    settings.close();
    const char* const member =
        " -o smtpd_tls_auth_only=yes -o smtpd_sasl_auth_enable=yes"
        " -o smtpd_recipient_restrictions=permit_sasl_authenticated,reject\n";
    std::ofstream(dir + "/etc/master.cf")
        << "127.0.0.1:" << Port << " inet n - n - - smtpd\n127.0.0.1:" << TlsPort
        << " inet n - n - - smtpd -o smtpd_tls_wrappermode=yes" << member << "127.0.0.1:" << SubmissionPort
        << " inet n - n - - smtpd -o smtpd_tls_security_level=encrypt" << member
        << "tlsmgr unix - - n 1000? 1 tlsmgr\n"
           "cleanup unix n - n - 0 cleanup\n"
           "qmgr unix n - n 300 1 qmgr\n"
           "pickup unix n - n 60 1 pickup\n"
           "rewrite unix - - n - - trivial-rewrite\n"
           "bounce unix - - n - 0 bounce\n"
           "defer unix - - n - 0 bounce\n"
           "error unix - - n - - error\n"
           "local unix - n n - - local\n"
           "virtual unix - n n - - virtual\n"
           "anvil unix - - n - 1 anvil\n"
           "proxymap unix - - n - - proxymap\n"
           "postlog unix-dgram n - n - 1 postlogd\n";
}
