#include "app/reading/mimetext.h"

#include <algorithm>
#include <map>

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

/// A field's word, without comments and in no quotes, as careless senders write it.
std::string FieldWord(std::string_view value) {
    std::string word;
    int depth = 0;
    for (const char c : value) {
        depth += c == '(' ? 1 : 0;
        if (depth == 0 && c != '"' && (c != ' ' || !word.empty()))
            word += c;
        depth -= c == ')' && depth > 0 ? 1 : 0;
    }
    return ASCII::Lower(ASCII::Trim(std::string_view(word).substr(0, word.find(';')), BLANKS));
}

struct PART {
    explicit PART(std::string_view header, std::string_view body)
        : ContentType(ReadHeaderField(header, "Content-Type")),
          Disposition(ReadHeaderField(header, "Content-Disposition")),
          Encoding(FieldWord(ReadHeaderField(header, "Content-Transfer-Encoding").View())),
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

struct PARAMETER {
    std::string_view Name;
    std::string Value;
};

/// The next parameter after the field's value or the last parameter, which is cut off; false if there is none.
bool TakeParameter(std::string_view& field, PARAMETER& parameter) {
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
            return false;
        field = ASCII::TrimLeft(field.substr(at + 1), BLANKS);
        const size_t end = field.find_first_of("=;\"");
        if (end != NONE && field[end] == '=')
            break;
    }
    const size_t sign = field.find('=');
    parameter.Name = ASCII::Trim(field.substr(0, sign), BLANKS);
    const std::string_view value = ASCII::TrimLeft(field.substr(sign + 1), BLANKS);
    if (!value.starts_with('"')) {
        parameter.Value = value.substr(0, value.find_first_of("; \t\r\n"));
        return true;
    }
    parameter.Value.clear();
    for (size_t i = 1; i < value.size() && value[i] != '"'; ++i) {
        if (value[i] == '\\' && i + 1 < value.size())
            ++i;
        parameter.Value += value[i];
    }
    return true;
}

struct PIECE {
    std::string Text;
    bool Encoded = false;
};

/// The pieces 0, 1, ... of a value, in UTF-8. The first one names the charset of those that are encoded:
/// charset'language'percent.
std::string Joined(const std::map<int, PIECE>& pieces) {
    std::string bytes, charset;
    int next = 0;
    for (const auto& [number, piece] : pieces) {
        if (number != next++)
            break;
        std::string_view text = piece.Text;
        if (!piece.Encoded) {
            bytes += text;
            continue;
        }
        const size_t first = text.find('\''), second = text.find('\'', first + 1);
        if (number == 0 && first != NONE && second != NONE) {
            charset = text.substr(0, first);
            text.remove_prefix(second + 1);
        }
        for (size_t i = 0; i < text.size(); ++i) {
            const int byte = text[i] == '%' ? ASCII::HexByte(text.substr(i + 1)) : -1;
            bytes += byte >= 0 ? static_cast<char>(byte) : text[i];
            i += byte >= 0 ? 2 : 0;
        }
    }
    return charset.empty() ? bytes : InUtf8(bytes, charset);
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
    std::map<int, PIECE> pieces;  // of a value in pieces, by their numbers
    std::string plain;
    bool hasPlain = false;
    PARAMETER parameter;
    while (TakeParameter(field, parameter)) {
        std::string_view key = parameter.Name;
        if (!ASCII::BeginsWith(key, name))
            continue;
        key.remove_prefix(name.size());
        if (key.empty() && !hasPlain) {
            plain = parameter.Value;
            hasPlain = true;
        }
        if (!key.starts_with('*'))
            continue;
        const bool encoded = key.ends_with('*');
        int number = 0;
        if (key == "*" || ASCII::ReadNumber(key.substr(1, key.size() - (encoded ? 2 : 1)), number))
            pieces.try_emplace(number, PIECE{parameter.Value, encoded});
    }
    // The form in pieces comes first: the other one is for programs that do not know it.
    return pieces.contains(0) ? Joined(pieces) : plain;
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
