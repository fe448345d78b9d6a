#include <cstdlib>
#include <cstring>
#include <random>

#include "corelib/net/webget.h"
#include "tests/servers/nginx.h"
#include "tests/servers/proxyserver.h"

namespace {

// They live until the last test is over.
struct SERVERS {
    NGINX Nginx;
    PROXYSERVER Proxy{false}, AskingProxy{true};
    const std::string Web = Std(Nginx.HostPort());
    const std::string Through = Std(Proxy.HostPort()), Asking = Std(AskingProxy.HostPort());
};

SERVERS& Servers() {
    static SERVERS servers;
    EXPECT_EQ(servers.Nginx.Problem() + servers.Proxy.Problem() + servers.AskingProxy.Problem(), "");
    return servers;
}

// Fetches; the whole result.
std::string Fetch(const std::string& proxy, const std::string& host, const char* doc, int status) {
    WEBGET web(nullptr, nullptr);
    web.SetProxy(true, proxy.c_str());
    STRING result;
    EXPECT_EQ(web.Get(host.c_str(), doc, result), status) << "through '" << proxy << "' from " << host << doc;
    return Std(result);
}

}  // namespace

TEST(WebServers, DocumentsComeTheSameOnEachWay) {
    SERVERS& servers = Servers();
    // Bytes of all kinds, that do not compress well.
    std::minstd_rand random(1);
    std::string picture;
    for (int i = 0; i < 300000; ++i) {
        picture += static_cast<char>(random() >> 8);
        picture += random() % 16 == 0 ? "\r\n" : "";
    }
    std::string text = picture;
    for (size_t at = 0; (at = text.find("\r\n", at)) != text.npos;)
        text.erase(at, 1);
    servers.Nginx.Put("text", picture);
    servers.Nginx.Put("picture.gif", picture);
    const std::tuple<const char*, bool, bool> cases[] = {
        {"/text", false, true},        {"/stored/text", true, true},        {"/stream/text", true, false},
        {"/picture.gif", false, true}, {"/stored/picture.gif", true, true}, {"/stream/picture.gif", true, false}};
    for (const std::string& proxy : {std::string(), servers.Through, "p:q@" + servers.Asking})
        for (const auto& [doc, packed, length] : cases) {
            const std::string result = Fetch(proxy, servers.Web, doc, 200);
            const bool isPicture = strstr(doc, "gif");
            const std::string body = isPicture ? "\r\n\r\n" + picture : "\n\n" + text;
            ASSERT_TRUE(result.ends_with(body)) << proxy << doc << ": other bytes than were sent";
            const std::string header = result.substr(0, result.size() - body.size());
            EXPECT_EQ(header.find("Content-Encoding: gzip") != header.npos, packed) << header;
            EXPECT_EQ(header.find("Content-Length: ") != header.npos, length) << header;
            EXPECT_EQ(header.find("testproxy") != header.npos, !proxy.empty()) << header;
        }
}

TEST(WebServers, QuestionsAreAnsweredOnceAndAllElseIsAResult) {
    SERVERS& servers = Servers();
    servers.Nginx.Put("page", "inside");
    const std::tuple<std::string, const char*, const char*, const char*, int> cases[] = {
        {"", nullptr, "", "/private/page", 401},
        {"", nullptr, "me:wrong@", "/private/page", 401},
        {servers.Asking, "p:q", "me:secret@", "/private/page", 200},  // both ask
        {"", nullptr, "", "/private/page", 200},                      // and the host's answer is remembered
        {servers.Asking, nullptr, "", "/page", 407},
        {"p:x@" + servers.Asking, "p:q", "", "/page", 401},  // as this proxy says to a wrong answer
        {"p:q@" + servers.Asking, "p:x", "", "/page", 200},
        {"", nullptr, "", "/moved", 302},
        {"", nullptr, "", "/there", 404},
    };
    for (const auto& [proxy, environment, credential, doc, status] : cases) {
        if (environment)
            setenv("VELMORAPROXYAUTH", environment, 1);
        else
            unsetenv("VELMORAPROXYAUTH");
        const std::string result = Fetch(proxy, credential + servers.Web, doc, status);
        EXPECT_EQ(result.ends_with("\n\ninside"), status == 200) << result;
        EXPECT_EQ(result.find("\nLocation: http://" + servers.Web + "/there\n") != result.npos, status == 302);
    }
}
