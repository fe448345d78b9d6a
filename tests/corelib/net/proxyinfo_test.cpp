#include "corelib/net/proxyinfo.h"

#include <list>

#include "corelib/system/registry.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

TEST(ProxyInfo, ReadsAServerText) {
    const std::pair<const char*, const char*> CASES[] = {
        {"proxy:8080", "proxy:8080"},
        {"ftp=f:21;http=h:80;https=s:443", "h:80"},
        {"ftp=f:21;socks=s:1080", "ftp=f:21"},
        {"http=http://h:80/;ftp=f:21", "http://h:80"},
        {"h:", "h:0"},
        {"proxy", nullptr},
        {"http=h;ftp=f:21", nullptr},
        {"", nullptr},
        {nullptr, nullptr},
    };
    for (const auto& [server, proxy] : CASES)
        EXPECT_EQ(Std(ExplorerProxyLine(server)),
                  proxy ? "MS-Internet Explorer: " + std::string(proxy) + "\n" : std::string())
            << server;
}

TEST(ProxyInfo, ReadsAPreferencesFile) {
    const std::string host = "user_pref(\"network.proxy.http\", \"h\");\n";
    const std::string port = "user_pref(\"network.proxy.http_port\", 80);\n";
    const std::string longLine = "user_pref(\"network.proxy.http\", \"" + std::string(9000, 'l') + "\");\n";
    const std::pair<std::string, std::string> CASES[] = {
        {"// settings\n\n" + port + "user_pref(\"network.proxy.type\", 1);\n" + host, "h:80"},
        {"USER_PREF(\"Network.Proxy.HTTP\"  ,\t\"h\");\nuser_pref(\"network.proxy.http_port\",+80x", "h:80"},
        {host + port + "user_pref(\"network.proxy.http\", \"\");\nuser_pref(\"network.proxy.http_port\", x);\n",
         "h:80"},
        {longLine + port, std::string(223, 'l') + ":80"},
        {host, ""},
        {port, ""},
        {" " + host + port, ""},
        {host + "user_pref(\"network.proxy.http_port\", \"80\");\nuser_pref(\"network.proxy.httpx", ""},
        {"user_pref(\"network.proxy.http\", h);\n" + port + "user_pref(\"network.proxy.http", ""},
    };
    for (const auto& [file, proxy] : CASES)
        EXPECT_EQ(Std(PreferencesProxyLine(STRING(file))),
                  proxy.empty() ? "" : "Netscape 4.0: " + proxy + " (disabled)\n")
            << file;
}

/// A value of the store while the object lives; the one that was there before comes back.
class VALUE {
 public:
    VALUE(intptr_t root, const char* path, const char* name, const STRING& text)
        : Key(root, path, nullptr, REGISTRY_CREATE), Name(name), Former(Key.Read(name)) {
        EXPECT_EQ(Key.Write(name, text.Text()), 1);
    }
    /// A number, which stays as it is if there is one.
    VALUE(intptr_t root, const char* path, const char* name, int32_t number)
        : Key(root, path, nullptr, REGISTRY_CREATE), Name(name) {
        int32_t bytes;
        int size = sizeof bytes;
        Found = Key.Read(name, &bytes, &size) != 0;
        EXPECT_TRUE(Found || Key.Write(name, &number, sizeof number));
    }
    ~VALUE() {
        if (Former.NotNull())
            Key.Write(Name, Former.Text());
        else if (!Found)
            Key.Delete(Name);
    }
    VALUE(const VALUE&) = delete;
    VALUE& operator=(const VALUE&) = delete;

 private:
    REGISTRY Key;
    const char* Name;
    STRING Former;
    bool Found = false;
};

TEST(ProxyInfo, AsksTheStoresOfEachBrowser) {
    TEMPDIR dir;
    VARIABLE store("TARNWICK_REGISTRY", dir.Native("values"));
    constexpr const char* EXPLORER = "Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";
    constexpr const char* NETSCAPE3 = "Software\\Netscape\\Netscape Navigator\\Proxy INformation";
    constexpr const char* NETSCAPE4 = "Software\\Netscape\\Netscape Navigator\\Users";
    const std::string explorer = "MS-Internet Explorer: e:1\n", netscape3 = "Netscape 3.0: n3:3 (disabled)\n",
                      netscape4 = "Netscape 4.0: n4:4 (disabled)\n";

    std::list<VALUE> values;
    values.emplace_back(ROOT_CURRENT_USER, EXPLORER, "ProxyServer", "");
    EXPECT_EQ(Std(QueryBrowserProxies()), "");
    values.emplace_back(ROOT_CURRENT_USER, EXPLORER, "ProxyServer", "http=e:1");
    values.emplace_back(ROOT_CURRENT_USER, EXPLORER, "ProxyEnable", 0);
    EXPECT_EQ(Std(QueryBrowserProxies()), explorer);
    values.emplace_back(ROOT_CURRENT_USER, NETSCAPE3, "Http_Proxy", "n3");
    EXPECT_EQ(Std(QueryBrowserProxies()), explorer) << "no port yet";
    values.emplace_back(ROOT_CURRENT_USER, NETSCAPE3, "Http_ProxyPort", 3);
    EXPECT_EQ(Std(QueryBrowserProxies()), explorer + netscape3);
    values.emplace_back(ROOT_LOCAL_MACHINE, NETSCAPE4, "CurrentUser", "me");
    values.emplace_back(ROOT_LOCAL_MACHINE, (STRING(NETSCAPE4) || "\\me").Text(), "DirRoot", dir.Path());
    EXPECT_EQ(Std(QueryBrowserProxies()), explorer + netscape3) << "no file yet";
    WriteBytes(dir.File("prefs.js"),
               "user_pref(\"network.proxy.http\", \"n4\");\r\nuser_pref(\"network.proxy.http_port\", 4);\r\n");
    EXPECT_EQ(Std(QueryBrowserProxies()), explorer + netscape3 + netscape4);
    values.emplace_back(ROOT_CURRENT_USER, EXPLORER, "ProxyServer", (std::string(511, 'x') + ":1").c_str());
    EXPECT_EQ(Std(QueryBrowserProxies()), netscape3 + netscape4) << "too long to be one";
    while (!values.empty())
        values.pop_back();
    EXPECT_EQ(Std(QueryBrowserProxies()).find("Netscape"), std::string::npos);
}

}  // namespace
