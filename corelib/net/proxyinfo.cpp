#include "corelib/net/proxyinfo.h"

#include <algorithm>
#include <cstdint>

#include "corelib/base/ascii.h"
#include "corelib/system/registry.h"

namespace {

constexpr const char* EXPLORER_KEY = "Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";
constexpr const char* NETSCAPE3_KEY = "Software\\Netscape\\Netscape Navigator\\Proxy INformation";
constexpr const char* NETSCAPE4_KEY = "Software\\Netscape\\Netscape Navigator\\Users";

constexpr std::string_view HTTP_PREFERENCE = "user_pref(\"network.proxy.http";
constexpr size_t PREFERENCE_BYTES = 256;

/// The Netscape lines always say this: whether their proxy is in use is not asked.
constexpr const char* NETSCAPE_NOTE = " (disabled)";

STRING ProxyLine(const char* browser, const STRING& host, int port, const char* note) {
    STRING line;
    line.Format("%s: %s:%d%s\n", browser, host.Text(), port, note);
    return line;
}

/// A text value that fits, with its terminator, into `room` bytes; else null.
STRING ReadText(REGISTRY& key, const char* value, int room) {
    STRING text = key.Read(value);
    return text.Length() < room ? text : STRING();
}

bool ReadNumber(REGISTRY& key, const char* value, int32_t& number) {
    int size = sizeof number;
    number = 0;
    return key.Read(value, &number, &size);
}

STRING QueryExplorer() {
    REGISTRY key(ROOT_CURRENT_USER, EXPLORER_KEY, nullptr, REGISTRY_READ);
    // A proxy that is switched off is worth knowing, too.
    int32_t enabled;
    return ReadNumber(key, "ProxyEnable", enabled) ? ExplorerProxyLine(ReadText(key, "ProxyServer", 512)) : STRING("");
}

STRING QueryNetscape3() {
    REGISTRY key(ROOT_CURRENT_USER, NETSCAPE3_KEY, nullptr, REGISTRY_READ);
    int32_t port;
    const STRING host = ReadText(key, "Http_Proxy", 256);
    return ReadNumber(key, "Http_ProxyPort", port) && host.NotNull()
               ? ProxyLine("Netscape 3.0", host, port, NETSCAPE_NOTE)
               : STRING("");
}

STRING QueryNetscape4() {
    REGISTRY users(ROOT_LOCAL_MACHINE, NETSCAPE4_KEY, nullptr, REGISTRY_READ);
    const STRING user = ReadText(users, "CurrentUser", 256);
    if (!user.NotNull())
        return "";
    REGISTRY key(ROOT_LOCAL_MACHINE, NETSCAPE4_KEY, user.Text(), REGISTRY_READ);
    const STRING directory = ReadText(key, "DirRoot", 256);
    STRING preferences;
    if (!directory.NotNull() || !preferences.Load((directory || "\\prefs.js").Text(), "r"))
        return "";
    return PreferencesProxyLine(preferences);
}

/// Takes the pattern off the front of the text, where a blank of the pattern stands for any white space or none.
bool Take(std::string_view& text, std::string_view pattern) {
    for (char c : pattern) {
        if (c == ' ')
            text = ASCII::TrimLeft(text, " \t\r\v\f");
        else if (text.starts_with(c))
            text.remove_prefix(1);
        else
            return false;
    }
    return true;
}

/// Takes the pattern and the decimal number after it.
bool TakeNumber(std::string_view text, std::string_view pattern, int& number) {
    if (!Take(text, pattern))
        return false;
    const size_t digit = text.starts_with('-') || text.starts_with('+') ? 1 : 0;
    if (digit >= text.size() || !ASCII::IsDigit(text[digit]))
        return false;
    number = atoi(STRING(text));
    return true;
}

}  // namespace

STRING QueryBrowserProxies() {
    return QueryExplorer() || QueryNetscape3() || QueryNetscape4();
}

STRING ExplorerProxyLine(const STRING& server) {
    std::string_view text = server.View();
    constexpr std::string_view HTTP = "http=";
    if (const size_t at = text.find(HTTP); at != text.npos)
        text.remove_prefix(at + HTTP.size());
    text = text.substr(0, text.find(';'));
    // The last one: a scheme may stand in front.
    const size_t colon = text.rfind(':');
    if (colon == text.npos)
        return "";
    return ProxyLine("MS-Internet Explorer", STRING(text.substr(0, colon)), atoi(STRING(text.substr(colon + 1))), "");
}

STRING PreferencesProxyLine(const STRING& preferences) {
    STRING host("");
    int port = 0;
    bool hasPort = false;
    WORDCURSOR lines(preferences, "\n");
    std::string_view line;
    while (lines.Next(line)) {
        line = line.substr(0, PREFERENCE_BYTES);
        if (!ASCII::BeginsWith(line, HTTP_PREFERENCE))
            continue;
        line.remove_prefix(HTTP_PREFERENCE.size());
        if (!line.starts_with('"'))
            hasPort |= TakeNumber(line, "_port\" , ", port);
        else if (Take(line, "\" , \"") && !line.empty() && line[0] != '"')
            host = STRING(line.substr(0, line.find('"')));
    }
    return host.Length() > 0 && hasPort ? ProxyLine("Netscape 4.0", host, port, NETSCAPE_NOTE) : STRING("");
}
