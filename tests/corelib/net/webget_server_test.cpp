#include <fstream>
#include <random>

#include "corelib/net/webget.h"
#include "tests/servers/serverprocess.h"

namespace {

/// A private nginx that compresses what it sends, for the user "me" with the password "secret".
class NGINX : public LOCALSERVER {
 public:
    explicit NGINX(const std::string& page) {
        std::ofstream(Directory.Native("users")) << "me:{PLAIN}secret\n";
        std::ofstream(Directory.Native("page"), std::ios::binary) << page;
        const std::string config = Directory.Native("nginx.conf");
        std::ofstream(config) << "daemon off;\npid pid;\nworker_processes 1;\n"
                              << RunAsSelf("user ", " ", ";\n")
                              << "events {}\nhttp {\n  access_log off;\n  default_type text/html;\n"
                              << "  gzip on;\n  gzip_http_version 1.0;\n"
                              << "  client_body_temp_path .;\n  proxy_temp_path .;\n  fastcgi_temp_path .;\n"
                              << "  uwsgi_temp_path .;\n  scgi_temp_path .;\n"
                              << "  server {\n    listen " << Std(HostPort()) << ";\n    root " << Directory.Native()
                              << ";\n    auth_basic realm;\n    auth_basic_user_file users;\n  }\n}\n";
        Run({"nginx", "-e", Directory.Native("log"), "-p", Directory.Native(), "-c", config},
            [this] { return Accepts(Port); });
    }
};

}  // namespace

TEST(WebServers, GiveTheirPageToWhoeverHasThePassword) {
    std::minstd_rand random(1);
    std::string page;
    while (page.size() < 300000)
        page += random() % 16 == 0 ? '\n' : static_cast<char>(random() >> 8 & 0x7F);
    std::erase(page, '\r');
    const NGINX server(page);
    ASSERT_EQ(server.Problem(), "");
    // Once it was right, the password is remembered for its host.
    const std::pair<const char*, int> cases[] = {{"", 401}, {"me:wrong@", 401}, {"me:secret@", 200}, {"", 200}};
    for (const auto& [credential, status] : cases) {
        STRING result;
        EXPECT_EQ(WEBGET(nullptr, nullptr).Get((credential || server.HostPort()).Text(), "/page", result), status);
        EXPECT_EQ(Std(result).ends_with("\n\n" + page), status == 200) << credential;
        EXPECT_EQ(result.Pos("\nContent-Encoding: gzip\n") != -1, status == 200);
    }
}
