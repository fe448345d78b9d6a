#include "tests/servers/nginx.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

NGINX::NGINX() {
    fs::create_directory(Directory.Native("www"));
    const std::string config = Directory.Native("nginx.conf");
    std::ofstream(config) << Configuration();
    std::ofstream(Directory.Native("users")) << "me:{PLAIN}secret\n";
    Run({"nginx", "-e", Directory.Native("log"), "-p", Directory.Native(), "-c", config},
        [this] { return Accepts(Port); });
}

std::string NGINX::Configuration() const {
    const std::string www = Directory.Native("www") + "/";
    std::ostringstream text;
    text << "daemon off;\n"
         << RunAsSelf("user ", " ", ";\n") << "worker_processes 1;\n"
         << "pid " << Directory.Native("pid") << ";\n"
         << "events {}\nhttp {\n  access_log off;\n";
    for (const char* part : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
        text << "  " << part << "_temp_path " << Directory.Native(part) << ";\n";
    text << "  types { image/gif gif; }\n  default_type \"text/html; charset=iso-8859-1\";\n"
         // Answers that came through a proxy are compressed, too.
         << "  gzip_http_version 1.0;\n  gzip_proxied any;\n  gzip_types *;\n  gzip_min_length 0;\n"
         << "  server {\n    listen " << Std(HostPort()) << ";\n    root " << www << ";\n"
         << "    location /stored/ { alias " << www << "; gzip_static on; }\n"
         << "    location /stream/ { alias " << www << "; gzip on; }\n"
         << "    location /private/ { alias " << www << "; auth_basic realm; auth_basic_user_file "
         << Directory.Native("users") << "; }\n"
         << "    location = /moved { return 302 http://" << Std(HostPort()) << "/there; }\n  }\n}\n";
    return text.str();
}

void NGINX::Put(const std::string& name, std::string_view text) {
    const std::string file = Directory.Native("www") + "/" + name;
    std::ofstream(file, std::ios::binary) << text;
    EXPECT_TRUE(RunCommand("gzip -k -f '" + file + "'"));
}
