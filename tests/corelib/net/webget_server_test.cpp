#include <cstdlib>
#include <random>

#include "corelib/net/webget.h"
#include "tests/servers/nginx.h"
#include "tests/servers/proxyserver.h"

namespace {

// The servers of all tests here.
class WebServers : public testing::Test {
 protected:
    static void SetUpTestSuite() {
        Nginx = std::make_unique<NGINX>();
        Proxy = std::make_unique<PROXYSERVER>(false);
        AskingProxy = std::make_unique<PROXYSERVER>(true);
    }
    static void TearDownTestSuite() {
        Nginx.reset();
        Proxy.reset();
        AskingProxy.reset();
    }
    void SetUp() override {
        ASSERT_EQ(Nginx->Problem() + Proxy->Problem() + AskingProxy->Problem(), "");
        HostPort = Nginx->HostPort();
    }

    static std::unique_ptr<NGINX> Nginx;
    static std::unique_ptr<PROXYSERVER> Proxy;
    static std::unique_ptr<PROXYSERVER> AskingProxy;
    std::string HostPort;
};
std::unique_ptr<NGINX> WebServers::Nginx;
std::unique_ptr<PROXYSERVER> WebServers::Proxy;
std::unique_ptr<PROXYSERVER> WebServers::AskingProxy;

// Bytes of all kinds, among them CR LF, that do not compress well.
std::string Mixture(int bytes) {
    std::minstd_rand random(1);
    std::string text;
    while (text.size() < static_cast<size_t>(bytes))
        text += random() % 16 == 0 ? std::string("\r\n") : std::string(1, static_cast<char>(random() >> 8));
    return text;
}

std::string WithoutReturns(std::string text) {
    for (size_t at = 0; (at = text.find("\r\n", at)) != text.npos;)
        text.erase(at, 1);
    return text;
}

}  // namespace

TEST_F(WebServers, DocumentsComeTheSameOnEachWay) {
    const std::string page = "<html>\r\n\r\n<p>caf\xe9\r\n</html>";
    const std::string large = Mixture(300000), largeText = WithoutReturns(large);
    Nginx->Put("page", page);
    Nginx->Put("large", large);
    Nginx->Put("large.gif", large);
    Nginx->Put("empty", "");
    const struct {
        const char* Doc;
        int Status;
        std::string Body;
        const char* Header;   // has this
        const char* Without;  // and not this
    } cases[] = {
        {"/page", 200, WithoutReturns(page), "Content-Length: 26", "Content-Encoding"},
        {"/stored/page", 200, WithoutReturns(page), "Content-Encoding: gzip", "Content-Length: 26"},
        {"/stream/page", 200, WithoutReturns(page), "Content-Encoding: gzip", "Content-Length"},
        {"/large", 200, largeText, "\nContent-Length: 300", "Content-Encoding"},
        {"/stored/large", 200, largeText, "Content-Encoding: gzip", "Content-Length: 300"},
        {"/stream/large", 200, largeText, "Content-Encoding: gzip", "Content-Length"},
        {"/large.gif", 200, large, "Content-Type: image/gif\r\n", "Content-Encoding"},
        {"/stored/large.gif", 200, large, "Content-Encoding: gzip\r\n", "Content-Length: 300"},
        {"/empty", 200, "", "Content-Length: 0", "Content-Encoding"},
    };
    const struct {
        const char* Name;
        std::string Proxy;
    } ways[] = {{"direct", ""}, {"proxy", Proxy->HostPort()}, {"proxy that asks", "p:q@" + AskingProxy->HostPort()}};
    for (const auto& way : ways)
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(way.Name) + " " + c.Doc);
            WEBGET web(nullptr, nullptr);
            web.SetProxy(true, way.Proxy.c_str());
            STRING result;
            EXPECT_EQ(web.Get(HostPort.c_str(), c.Doc, result), c.Status);
            const std::string text = Std(result);
            const bool picture = text.find("image/gif") != text.npos;
            const size_t end = text.find(picture ? "\r\n\r\n" : "\n\n");
            ASSERT_NE(end, text.npos) << text.substr(0, 1000);
            const std::string header = text.substr(0, end + 2);
            EXPECT_NE(header.find(c.Header), header.npos) << header;
            EXPECT_EQ(header.find(c.Without), header.npos) << header;
            EXPECT_EQ(header.find("testproxy") != header.npos, !way.Proxy.empty()) << header;
            EXPECT_TRUE(text.substr(end + (picture ? 4 : 2)) == c.Body) << "other bytes than were sent";
        }
}

TEST_F(WebServers, ARedirectAndAMissingPageAreResultsLikeAnyOther) {
    STRING result;
    EXPECT_EQ(WEBGET(nullptr, nullptr).Get(HostPort.c_str(), "/moved", result), 302);
    EXPECT_GE(result.Pos(("\nLocation: http://" + HostPort + "/there\n").c_str()), 0) << Std(result);
    EXPECT_EQ(WEBGET(nullptr, nullptr).Get(HostPort.c_str(), "/there", result), 404);
}

TEST_F(WebServers, TheServersQuestionIsAnsweredOnceAndTheAnswerRemembered) {
    Nginx->Put("page", "inside");
    const struct {
        const char* Credential;
        int Status;
    } cases[] = {{"", 401}, {"me:wrong@", 401}, {"me:secret@", 200}, {"", 200}};
    for (const auto& c : cases) {
        STRING result;
        EXPECT_EQ(WEBGET(nullptr, nullptr).Get((c.Credential + HostPort).c_str(), "/private/page", result), c.Status);
        EXPECT_EQ(Std(result).ends_with("\n\ninside"), c.Status == 200) << Std(result);
    }
}

TEST_F(WebServers, AProxyIsAnsweredWithWhatItsTextOrTheEnvironmentHolds) {
    const std::string proxy = AskingProxy->HostPort();
    const struct {
        std::string Proxy;
        const char* Environment;
        int Status;
    } cases[] = {
        {proxy, nullptr, 407}, {"p:x@" + proxy, "p:q", 401}, {proxy, "p:q", 404}, {"p:q@" + proxy, "p:x", 404}};
    for (const auto& c : cases) {
        if (c.Environment)
            setenv("VELMORAPROXYAUTH", c.Environment, 1);
        WEBGET web(nullptr, nullptr);
        web.SetProxy(true, c.Proxy.c_str());
        unsetenv("VELMORAPROXYAUTH");
        STRING result;
        EXPECT_EQ(web.Get(HostPort.c_str(), "/there", result), c.Status) << c.Proxy;
    }
}

TEST_F(WebServers, AFormArrivesWithItsLengthAndType) {
    const std::string body = "name=M%FCller&text=" + std::string(5000, 'x') + "&send=1";
    for (const std::string& proxy : {std::string(), "p:q@" + AskingProxy->HostPort()}) {
        WEBGET web(nullptr, nullptr);
        web.SetProxy(true, proxy.c_str());
        STRING result;
        EXPECT_EQ(web.Post(HostPort.c_str(), "/form", result, body.c_str()), 200) << proxy;
        EXPECT_TRUE(
            Std(result).ends_with("\n\n" + std::to_string(body.size()) + " application/x-www-form-urlencoded " + body))
            << Std(result);
    }
}
