#include "corelib/net/httptext.h"

#include <algorithm>
#include <string>

#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"
#include "corelib/net/webget.h"
#include "corelib/system/osys.h"

namespace {

constexpr std::string_view HTTP = "http://";
constexpr std::string_view HTTPS = "https://";

// Takes the element in front of each "/../" out, and "." elements.
STRING NormalizePath(std::string_view path) {
    std::string out;
    out.reserve(path.size());
    for (size_t i = 0; i < path.size();) {
        if (path.substr(i).starts_with("/../")) {
            const size_t slash = out.rfind('/');
            out.erase(slash == std::string::npos ? 0 : slash);
            i += 3;
        } else {
            out += path[i++];
        }
    }
    std::string result;
    result.reserve(out.size());
    for (size_t i = 0; i < out.size();) {
        const bool here = std::string_view(out).substr(i).starts_with("/./");
        result += out[i];
        i += here ? 3 : 1;
    }
    return STRING(std::string_view(result));
}

}  // namespace

void UrlToHostDoc(const STRING& url, STRING& host, STRING& doc) {
    const STRING directory = OSYS::FileDirectory(doc.NotNull() ? doc.Ptr() : "");
    const bool secure = ASCII::BeginsWith(url.View(), HTTPS);
    if (secure || ASCII::BeginsWith(url.View(), HTTP)) {
        const std::string_view rest = url.View().substr(secure ? HTTPS.size() : HTTP.size());
        const size_t slash = rest.find('/');
        host = STRING(rest.substr(0, slash));
        doc = STRING(slash == rest.npos ? std::string_view("/") : rest.substr(slash));
    } else {
        if (url.View().starts_with('/')) {
            doc = url;
        } else {
            doc = directory;
            if (!directory.View().ends_with('/'))
                doc.Append("/");
            doc += url;
        }
        doc = NormalizePath(doc.View());
    }
    const int at = host.Pos('@');
    const STRING credential = at != -1 ? host.Left(at) : STRING();
    host.DeleteLeft(at + 1);
    if (secure)
        host = STRING(HTTPS) || host;
    if (credential.NotNull())
        HostCredentials().Set(host.Text(), credential);
    Trace("WEBGET::UrlToHostDoc returns %s %s\n", host.Text(), doc.Text());
}

void HtmlToText(STRING& text, char replacement) {
    constexpr char REMOVED = '\xff';
    bool inTag = false, inQuotes = false;
    char* const begin = text.Data();
    char* const end = begin + text.Length();
    for (char* at = begin; at != end; ++at) {
        if (*at == '<') {
            inTag = true;
            *at = replacement;
        } else if (*at == '>' && !inQuotes) {
            inTag = false;
            *at = REMOVED;
        } else if (inTag) {
            if (*at == '"')
                inQuotes = !inQuotes;
            *at = REMOVED;
        }
    }
    static constexpr const char* ENTITIES[][2] = {
        {"&auml;", "\xe4"}, {"&ouml;", "\xf6"},  {"&uuml;", "\xfc"}, {"&Auml;", "\xc4"}, {"&Ouml;", "\xd6"},
        {"&Uuml;", "\xdc"}, {"&szlig;", "\xdf"}, {"&nbsp;", " "},    {"&nbsp", " "},
    };
    for (const auto& [entity, character] : ENTITIES)
        text.Replace(entity, character);
    char* const first = text.Data();
    text.Truncate(static_cast<int>(std::remove(first, first + text.Length(), REMOVED) - first));
}

void CollapseBlanks(STRING& text) {
    text.Strip('B', " \t");
    char* const begin = text.Data();
    char* const end = begin + text.Length();
    char* to = begin;
    for (const char* at = begin; at != end;) {
        if (!ASCII::IsSpace(*at)) {
            *to++ = *at++;
            continue;
        }
        while (at != end && ASCII::IsSpace(*at))
            ++at;
        if (to == begin || at == end)
            continue;
        const char before = to[-1], behind = *at;
        if ((ASCII::IsLetterOrDigit(before) && ASCII::IsLetterOrDigit(behind)) ||
            (ASCII::IsDigit(before) && (behind == '-' || behind == '+')))
            *to++ = ' ';
    }
    text.Truncate(static_cast<int>(to - begin));
    text.Strip('B', " \t");
}

STRING AttributeValue(const STRING& text, std::string_view name) {
    const STRING mark = STRING(" ") || STRING(name) || "=";
    const int found = text.iPos(mark.Text());
    const int opening = found + mark.Length();
    if (found == -1 || opening + 1 >= text.Length())
        return "";
    const char quote = text.View()[static_cast<size_t>(opening)];
    const char closing = quote == '"' || quote == '\'' ? quote : ' ';
    const std::string_view value = text.View().substr(static_cast<size_t>(opening) + 1);
    return STRING(value.substr(0, value.find(closing, 1)));
}
