#include "tests/servers/mailserver.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace fs = std::filesystem;

MAILSERVER::MAILSERVER() : Port(FreePort()) {
    MayStart = RunCommand(Root("true") + " 2>/dev/null");
    if (!MayStart)
        return;
    const std::string dir = Directory.Native();
    fs::permissions(dir, fs::perms::others_read | fs::perms::others_exec, fs::perm_options::add);
    const std::string config = Directory.Native("etc");
    for (const char* name : {"etc", "queue", "data"})
        fs::create_directory(Directory.Native(name));
    std::ofstream(config + "/main.cf")
        << "compatibility_level = 3.6\nqueue_directory = " << dir << "/queue\ndata_directory = " << dir
        << "/data\nmaillog_file = " << dir << "/log\nmaillog_file_prefixes = " << dir
        << "\ninet_interfaces = 127.0.0.1\ninet_protocols = ipv4\nmynetworks = 127.0.0.0/8\n"
           "myhostname = mail.verified.example\nmydestination = verified.example\n"
           "local_recipient_maps = inline:{real=1}\nalias_maps =\nalias_database =\nnotify_classes =\n";
    std::ofstream(config + "/master.cf") << "127.0.0.1:" << Port
                                         << " inet n - n - - smtpd\n"
                                            "cleanup unix n - n - 0 cleanup\n"
                                            "qmgr unix n - n 300 1 qmgr\n"
                                            "pickup unix n - n 60 1 pickup\n"
                                            "rewrite unix - - n - - trivial-rewrite\n"
                                            "bounce unix - - n - 0 bounce\n"
                                            "defer unix - - n - 0 bounce\n"
                                            "error unix - - n - - error\n"
                                            "local unix - n n - - local\n"
                                            "anvil unix - - n - 1 anvil\n"
                                            "proxymap unix - - n - - proxymap\n"
                                            "postlog unix-dgram n - n - 1 postlogd\n";
    if (!RunCommand(Root("chown postfix " + dir + "/data")) ||
        !RunCommand(Root("postfix -c " + config + " start") + " >/dev/null 2>&1") ||
        !Eventually([this] { return Greets(Port); }))
        Trouble = "postfix does not start: " + Log();
}

MAILSERVER::~MAILSERVER() {
    if (!MayStart)
        return;
    RunCommand(Root("postfix -c " + Directory.Native("etc") + " stop") + " >/dev/null 2>&1");
    for (const char* name : {"queue", "data", "log"})
        RunCommand(Root("rm -rf " + Directory.Native(name)));
}

std::string MAILSERVER::Root(const std::string& command) const {
    return (geteuid() == 0 ? "" : "sudo -n ") + command;
}

STRING MAILSERVER::HostPort() const {
    STRING text;
    text.Format("127.0.0.1:%d", Port);
    return text;
}

std::string MAILSERVER::Log() const {
    std::ifstream file(Directory.Native("log"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
