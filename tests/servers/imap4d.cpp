#include "tests/servers/imap4d.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

// "secret", as crypt(3) has it with SHA-512.
constexpr const char* SECRET =
    "$6$ab$2lDVylRMp48hlYZZFOCx/xnhJEsGPynJ17rt2um9Gb8wX6ygI4uDxg3Bg43pp/Hv397hwWfT8mciHws9eE4sR/";

}  // namespace

IMAP4D::IMAP4D() {
    const std::string dir = Directory.Native(), home = dir + "/home", config = dir + "/conf",
                      domains = dir + "/domains";
    std::filesystem::create_directory(domains);
    Mailbox().Create();
    std::ofstream(domains + "/example.org")
        << "joe:" << SECRET << ":" << geteuid() << ":" << getegid() << ":Joe:" << home << ":/bin/false\n";
    std::ofstream(config) << "logging { syslog no; };\npidfile " << dir
                          << "/pid;\nauth { authentication generic; authorization virtdomain; };\n"
                             "virtdomain { passwd-dir "
                          << domains << "; };\nmailbox { mail-spool " << dir
                          << "/spool; mailbox-type maildir; };\nserver 127.0.0.1:" << Port << " { };\n";
    Run({"sh", "-c", "exec imap4d --config-file=" + config + " -d4 --foreground >" + dir + "/log 2>&1"},
        [this] { return Greets(Port); });
}

MAILDIR IMAP4D::Mailbox(const std::string& folder) const {
    return {Directory.Native() + "/home/" + folder, geteuid(), getegid()};
}
