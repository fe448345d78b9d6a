#include "app/reading/mimetext.h"

#include <algorithm>

#include "app/common/transfercoding.h"
#include "app/reading/headerwords.h"
#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"
#include "corelib/base/headerblock.h"
#include "corelib/system/charset.h"

namespace {

constexpr size_t NONE = std::string_view::npos;
constexpr int DEEPEST = 8;  // parts within parts: each level reads the mail once more
constexpr int MOST_PARTS = 1000;
constexpr std::string_view BLANKS = " \t\r\n";

struct PART {
    explicit PART(std::string_view header, std::string_view body)
        : ContentType(ReadHeaderField(header, "Content-Type")),
          Disposition(ReadHeaderField(header, "Content-Disposition")),
          Encoding(ASCII::Lower(ASCII::Trim(ReadHeaderField(header, "Content-Transfer-Encoding").View(), BLANKS))),
          Body(body) {
        const std::string_view field = ContentType.View();
        Type = ASCII::Lower(ASCII::Trim(field.substr(0, field.find(';')), BLANKS));
        if (Type.find('/') == NONE)
            Type = "text/plain";
    }
    bool IsAttached() const { return ASCII::BeginsWith(Disposition.View(), "attachment"); }
    std::string Decoded() const {
        std::string bytes;
        if (Encoding == "base64")
            AppendBase64(bytes, Body);
        else if (Encoding == "quoted-printable")
            AppendQuotedPrintable(bytes, Body);
        else
            bytes = Body;
        return bytes;
    }

    STRING ContentType, Disposition;
    std::string Type, Encoding;
    std::string_view Body;
};

std::string InUtf8(std::string_view bytes, std::string_view charset) {
    std::string text;
    // Plain ASCII is what is told where nobody cares; it is more often UTF-8 than anything else then.
    if (charset.empty() || ASCII::Equal(charset, "us-ascii") || !CHARSET::AppendUtf8(text, charset, bytes))
        CODEPAGE::AppendGuessed(text, bytes);
    return text;
}

class READER {
 public:
    explicit READER(READBY reader) : For(reader) {}
    std::string Read(const PART& part, int depth) {
        if (++Parts > MOST_PARTS || depth > DEEPEST)
            return {};
        if (!part.IsAttached()) {
            if (part.Type == "text/html")
                return ReadPage(part);
            if (part.Type.starts_with("multipart/"))
                return ReadParts(part, depth);
            if (part.Type == "message/rfc822") {
                const std::string header = JoinedFields(HeaderBlock(part.Body));
                return Read(PART(header, BodyBlock(part.Body)), depth + 1);
            }
            if (part.Type.starts_with("text/") || part.Type == "message/delivery-status")
                return InUtf8(part.Decoded(), HeaderParameter(part.ContentType.View(), "charset"));
        }
        std::string name = HeaderParameter(part.Disposition.View(), "filename");
        if (name.empty())
            name = HeaderParameter(part.ContentType.View(), "name");
        return "[" + part.Type + (name.empty() ? "" : " " + HeaderWords(name)) + "]\n";
    }

 private:
    std::string ReadPage(const PART& part) const {
        const std::string bytes = part.Decoded();
        std::string charset = HeaderParameter(part.ContentType.View(), "charset");
        if (charset.empty())
            charset = HtmlCharset(bytes);
        return HtmlText(InUtf8(bytes, charset), For);
    }

    std::string ReadParts(const PART& whole, int depth) {
        const std::string boundary = "--" + HeaderParameter(whole.ContentType.View(), "boundary");
        const bool alternatives = whole.Type == "multipart/alternative";
        const bool related = whole.Type == "multipart/related";
        std::string text, page;
        bool found = false;
        std::string_view rest = whole.Body;
        if (boundary.size() == 2 || !SkipPastBoundary(rest, boundary))
            return InUtf8(whole.Body, {});
        for (std::string_view piece; TakePart(rest, boundary, piece);) {
            const std::string header = JoinedFields(HeaderBlock(piece));
            const PART part(header, BodyBlock(piece));
            // What belongs to a page are its pictures.
            if (related && found)
                break;
            std::string words = Read(part, depth + 1);
            found = true;
            const bool isPage = part.Type != "text/plain";
            if (alternatives) {
                std::string& choice = isPage ? page : text;
                // Programs for mail differ in which of several pages they show.
                if (choice.find_first_not_of(BLANKS) == NONE)
                    choice = std::move(words);
                else if (For == READBY::Filter && part.Type == "text/html")
                    choice += words;
                continue;
            }
            if (!text.empty() && !text.ends_with("\n\n"))
                text += text.ends_with('\n') ? "\n" : "\n\n";
            text += words;
        }
        if (!alternatives)
            return text;
        const bool takesPage =
            For == READBY::Filter ? page.find_first_not_of(BLANKS) != NONE : text.find_first_not_of(BLANKS) == NONE;
        return takesPage ? page : text;
    }

    /// Cuts all up to and with the next line that begins with the boundary off.
    static bool SkipPastBoundary(std::string_view& text, std::string_view boundary) {
        const auto isHere = [&](size_t at) {
            const std::string_view line = text.substr(at), after = line.substr(std::min(boundary.size(), line.size()));
            return line.starts_with(boundary) &&
                   (after.empty() || BLANKS.find(after[0]) != NONE || after.starts_with("--"));
        };
        size_t at = 0;
        while (at != NONE && !isHere(at)) {
            at = text.find('\n', at);
            at = at == NONE ? at : at + 1;
        }
        if (at == NONE)
            return false;
        text.remove_prefix(at);
        return true;
    }

    /// The part after the boundary at the beginning of the text, which is cut off with it. The last one may run to the
    /// end of the mail.
    static bool TakePart(std::string_view& text, std::string_view boundary, std::string_view& part) {
        if (text.empty() || text.substr(boundary.size()).starts_with("--"))
            return false;
        const size_t lineEnd = text.find('\n');
        text.remove_prefix(lineEnd == NONE ? text.size() : lineEnd + 1);
        const std::string_view before = text;
        if (!SkipPastBoundary(text, boundary))
            text = {};
        part = before.substr(0, before.size() - text.size());
        if (!text.empty() && part.ends_with('\n'))
            part.remove_suffix(1);  // it belongs to the boundary
        return true;
    }

    const READBY For;
    int Parts = 0;
};

}  // namespace

std::string HeaderParameter(std::string_view field, std::string_view name) {
    while (true) {
        size_t at = 0;
        bool quoted = false;
        for (; at < field.size() && (quoted || field[at] != ';'); ++at) {
            if (field[at] == '\\' && quoted)
                ++at;
            else if (field[at] == '"')
                quoted = !quoted;
        }
        if (at >= field.size())
            return {};
        field = ASCII::TrimLeft(field.substr(at + 1), BLANKS);
        if (!ASCII::BeginsWith(field, name))
            continue;
        const std::string_view rest = ASCII::TrimLeft(field.substr(name.size()), BLANKS);
        if (!rest.starts_with('='))
            continue;
        std::string_view value = ASCII::TrimLeft(rest.substr(1), BLANKS);
        if (!value.starts_with('"'))
            return std::string(value.substr(0, value.find_first_of("; \t\r\n")));
        std::string text;
        for (size_t i = 1; i < value.size() && value[i] != '"'; ++i) {
            if (value[i] == '\\' && i + 1 < value.size())
                ++i;
            text += value[i];
        }
        return text;
    }
}

std::string JoinedFields(std::string_view header) {
    std::string joined;
    while (!header.empty()) {
        std::string_view line = ASCII::Take(header, '\n');
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        const bool folded = (line.starts_with(' ') || line.starts_with('\t')) && !joined.empty();
        if (folded) {
            joined.pop_back();
            joined += ' ';
            line = ASCII::TrimLeft(line, BLANKS);
        }
        joined.append(line).push_back('\n');
    }
    return joined;
}

std::string ReadableText(std::string_view header, std::string_view body, READBY reader) {
    return READER(reader).Read(PART(header, body), 0);
}
