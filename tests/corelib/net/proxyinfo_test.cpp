#include "corelib/net/proxyinfo.h"

#include "corelib/system/registry.h"
#include "tests/corelib/system/systemsupport.h"

namespace {

TEST(ProxyInfo, ReadsWhatTheBrowsersWrite) {
    EXPECT_EQ(Std(ExplorerProxyLine("ftp=f:21;http=h:80;https=s:443")), "MS-Internet Explorer: h:80\n");
    EXPECT_EQ(Std(ExplorerProxyLine("http://h:80/;x")), "MS-Internet Explorer: http://h:80\n");
    EXPECT_EQ(Std(ExplorerProxyLine("http=h;ftp=f:21")), "");
    const std::string host = "user_pref(\"network.proxy.http\", \"h\");\n";
    const std::string port = "user_pref(\"network.proxy.http_port\", 80);\n";
    const std::pair<std::string, std::string> CASES[] = {
        {"//\n\n" + port + "user_pref(\"network.proxy.type\", 1);\n" + host, "Netscape 4.0: h:80 (disabled)\n"},
        {"USER_PREF(\"Network.Proxy.HTTP\"  ,\t\"h\"\n" + port, "Netscape 4.0: h:80 (disabled)\n"},
        {"user_pref(\"network.proxy.http\", \"" + std::string(9000, 'l') + "\n" + port,
         "Netscape 4.0: " + std::string(223, 'l') + ":80 (disabled)\n"},
        {host + "user_pref(\"network.proxy.http_port\", \"80\");\n", ""},
        {" " + host + port + "user_pref(\"network.proxy.http", ""},
    };
    for (const auto& [preferences, line] : CASES)
        EXPECT_EQ(Std(PreferencesProxyLine(STRING(preferences))), line) << preferences;
}

TEST(ProxyInfo, AsksTheStoreOfEachBrowser) {
    TEMPDIR dir;
    VARIABLE store("TARNWICK_REGISTRY", dir.Native("values"));
    WriteBytes(dir.File("prefs.js"),
               "user_pref(\"network.proxy.http\", \"n4\");\r\nuser_pref(\"network.proxy.http_port\", 4);\r\n");
    // A number's value is its byte.
    const std::tuple<intptr_t, const char*, const char*, const char*, const char*> VALUES[] = {
        {ROOT_CURRENT_USER, "Microsoft\\Windows\\CurrentVersion\\Internet Settings", "ProxyServer", "e:1", ""},
        {ROOT_CURRENT_USER, "Microsoft\\Windows\\CurrentVersion\\Internet Settings", "ProxyEnable", "\1",
         "MS-Internet Explorer: e:1\n"},
        {ROOT_CURRENT_USER, "Netscape\\Netscape Navigator\\Proxy INformation", "Http_Proxy", "n3", ""},
        {ROOT_CURRENT_USER, "Netscape\\Netscape Navigator\\Proxy INformation", "Http_ProxyPort", "\3",
         "Netscape 3.0: n3:3 (disabled)\n"},
        {ROOT_LOCAL_MACHINE, "Netscape\\Netscape Navigator\\Users", "CurrentUser", "me", ""},
        {ROOT_LOCAL_MACHINE, "Netscape\\Netscape Navigator\\Users\\me", "DirRoot", dir.Path(),
         "Netscape 4.0: n4:4 (disabled)\n"},
    };
    for (const auto& [root, path, name, value, line] : VALUES)
        if (REGISTRY(root, "Software", path, REGISTRY_READ).Read(name).NotNull())
            GTEST_SKIP() << "this machine has a " << name << " of its own";
    std::string expected;
    for (const auto& [root, path, name, value, line] : VALUES) {
        (void)REGISTRY(root, "Software", path, REGISTRY_CREATE).Write(name, value);
        EXPECT_EQ(Std(QueryBrowserProxies()), expected += line) << name;
    }
    for (const auto& [root, path, name, value, line] : VALUES)
        REGISTRY(root, "Software", path, REGISTRY_WRITE).Delete(name);
}

}  // namespace
