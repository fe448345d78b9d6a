#include "app/reading/htmltext.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <unordered_set>

#include "app/reading/htmlentities.h"
#include "app/reading/htmlsight.h"
#include "corelib/base/ascii.h"

namespace {

constexpr size_t NONE = std::string_view::npos;
constexpr size_t CHARSET_WITHIN = 4096;  // bytes in which a page tells its charset

/// What a tag does to the text.
enum class EFFECT { None, Unseen, NewLine, Block, Paragraph, Item, Cell, Preformatted };
struct TAG {
    uint64_t Name;
    EFFECT Effect;
};
// A block is a line of its own; a paragraph has an empty one in front.
constexpr auto TAGS = [] {
    std::array tags{
        TAG{HtmlName("address"), EFFECT::Block},
        TAG{HtmlName("applet"), EFFECT::Unseen},
        TAG{HtmlName("article"), EFFECT::Block},
        TAG{HtmlName("aside"), EFFECT::Block},
        TAG{HtmlName("blockquote"), EFFECT::Paragraph},
        TAG{HtmlName("body"), EFFECT::Block},
        TAG{HtmlName("br"), EFFECT::NewLine},
        TAG{HtmlName("caption"), EFFECT::Block},
        TAG{HtmlName("center"), EFFECT::Block},
        TAG{HtmlName("dd"), EFFECT::Block},
        TAG{HtmlName("div"), EFFECT::Block},
        TAG{HtmlName("dl"), EFFECT::Paragraph},
        TAG{HtmlName("dt"), EFFECT::Block},
        TAG{HtmlName("fieldset"), EFFECT::Paragraph},
        TAG{HtmlName("figure"), EFFECT::Block},
        TAG{HtmlName("footer"), EFFECT::Block},
        TAG{HtmlName("form"), EFFECT::Block},
        TAG{HtmlName("h1"), EFFECT::Paragraph},
        TAG{HtmlName("h2"), EFFECT::Paragraph},
        TAG{HtmlName("h3"), EFFECT::Paragraph},
        TAG{HtmlName("h4"), EFFECT::Paragraph},
        TAG{HtmlName("h5"), EFFECT::Paragraph},
        TAG{HtmlName("h6"), EFFECT::Paragraph},
        TAG{HtmlName("header"), EFFECT::Block},
        TAG{HtmlName("hr"), EFFECT::Block},
        TAG{HtmlName("li"), EFFECT::Item},
        TAG{HtmlName("main"), EFFECT::Block},
        TAG{HtmlName("nav"), EFFECT::Block},
        TAG{HtmlName("object"), EFFECT::Unseen},
        TAG{HtmlName("ol"), EFFECT::Paragraph},
        TAG{HtmlName("option"), EFFECT::Block},
        TAG{HtmlName("p"), EFFECT::Paragraph},
        TAG{HtmlName("pre"), EFFECT::Preformatted},
        TAG{HtmlName("script"), EFFECT::Unseen},
        TAG{HtmlName("section"), EFFECT::Block},
        TAG{HtmlName("select"), EFFECT::Unseen},
        TAG{HtmlName("style"), EFFECT::Unseen},
        TAG{HtmlName("svg"), EFFECT::Unseen},
        TAG{HtmlName("table"), EFFECT::Paragraph},
        TAG{HtmlName("tbody"), EFFECT::Block},
        TAG{HtmlName("td"), EFFECT::Cell},
        TAG{HtmlName("template"), EFFECT::Unseen},
        TAG{HtmlName("tfoot"), EFFECT::Block},
        TAG{HtmlName("th"), EFFECT::Cell},
        TAG{HtmlName("thead"), EFFECT::Block},
        TAG{HtmlName("title"), EFFECT::Unseen},
        TAG{HtmlName("tr"), EFFECT::Block},
        TAG{HtmlName("ul"), EFFECT::Paragraph},
    };
    std::ranges::sort(tags, {}, &TAG::Name);
    return tags;
}();

EFFECT EffectOf(uint64_t name) {
    const auto* const tag = std::ranges::lower_bound(TAGS, name, {}, &TAG::Name);
    return tag != TAGS.end() && tag->Name == name ? tag->Effect : EFFECT::None;
}

/// What a browser shows of these is seldom meant for a reader, but may be.
bool IsShownBySome(uint64_t name) {
    return name == HtmlName("object") || name == HtmlName("applet") || name == HtmlName("select");
}

using BYTES = std::array<bool, 256>;
constexpr BYTES MakeBytes(std::string_view members) {
    BYTES bytes{};
    for (const char c : members)
        bytes[static_cast<unsigned char>(c)] = true;
    return bytes;
}
constexpr BYTES STOPS = MakeBytes("<& \t\r\n\f");  // at which a run of plain text ends
constexpr BYTES TAG_STOPS = MakeBytes("\"'>");
constexpr bool Is(const BYTES& bytes, char c) {
    return bytes[static_cast<unsigned char>(c)];
}

/// The plain text at the beginning, with the single blanks in it.
size_t PlainText(std::string_view text) {
    size_t at = 1;
    while (at < text.size() &&
           (!Is(STOPS, text[at]) || (text[at] == ' ' && at + 1 < text.size() && !Is(STOPS, text[at + 1]))))
        ++at;
    return at;
}

/// Puts the text together: line ends and blanks come only when something follows them.
class LINES {
 public:
    void Character(std::string_view utf8) {
        Settle();
        Text += utf8;
    }
    void Blank() { Gap = Gap || !Text.empty(); }
    /// At least so many line ends.
    void Break(int count) { Ends = std::max(Ends, count); }
    void NewLine() {
        if (Text.empty() && Ends == 0)
            return;
        ++Ends;
    }
    std::string Take() {
        if (!Text.empty())
            Text += '\n';
        return std::move(Text);
    }

 private:
    void Settle() {
        if (Ends > 0 && !Text.empty())
            Text.append(static_cast<size_t>(std::min(Ends, MOST_ENDS)), '\n');
        else if (Gap && !Text.empty())
            Text += ' ';
        Ends = 0;
        Gap = false;
    }

    static constexpr int MOST_ENDS = 2;
    std::string Text;
    int Ends = 0;
    bool Gap = false;
};

struct TAGPARTS {
    uint64_t Name = 0;
    std::string_view Letters;  // the name as it stands there
    bool IsEnd = false;
    std::string_view Attributes;
};

/// Cuts the tag at the text's beginning off. A tag that never ends takes all.
TAGPARTS TakeTag(std::string_view& text) {
    TAGPARTS tag;
    tag.IsEnd = text.size() > 1 && text[1] == '/';
    size_t at = tag.IsEnd ? 2 : 1;
    for (const size_t first = at; at < text.size() && ASCII::IsLetterOrDigit(text[at]); ++at) {
        if (at - first < sizeof tag.Name)
            tag.Name = tag.Name << 8 | ASCII::Lower(text[at]);
        tag.Letters = text.substr(first, at + 1 - first);
    }
    const size_t begin = at;
    for (; at < text.size() && text[at] != '>'; ++at) {
        if (!Is(TAG_STOPS, text[at]))
            continue;
        // A quote opens a value after "=" alone.
        size_t before = at;
        while (before > begin && ASCII::IsSpace(text[before - 1]))
            --before;
        if (before == begin || text[before - 1] != '=')
            continue;
        at = std::min(text.find(text[at], at + 1), text.size() - 1);
    }
    tag.Attributes = text.substr(begin, at - begin);
    text.remove_prefix(std::min(at + 1, text.size()));
    return tag;
}

/// The hosts that a page's links lead to, each once.
class HOSTS {
 public:
    void Take(uint64_t tag, std::string_view attributes) {
        if (tag != HtmlName("a") && tag != HtmlName("area") && tag != HtmlName("img") && tag != HtmlName("form"))
            return;
        HTMLATTRIBUTES walk(attributes);
        for (std::string_view name, value; walk.Next(name, value);) {
            if (ASCII::Equal(name, "href") || ASCII::Equal(name, "src") || ASCII::Equal(name, "action"))
                TakeLink(value);
        }
    }
    const std::string& Line() const { return Text; }

 private:
    void TakeLink(std::string_view link) {
        constexpr size_t LINK_BYTES = 600;
        std::string plain;
        for (link = link.substr(0, LINK_BYTES); !link.empty();) {
            if (link[0] == '&') {
                TakeEntity(link, plain);
            } else {
                if (!ASCII::IsSpace(link[0]))
                    plain += link[0];
                link.remove_prefix(1);
            }
        }
        const std::string_view all = plain;
        const size_t start = all.find("//");
        if (start == NONE || all.substr(0, start).find_first_of("/?#") != NONE)
            return;
        std::string_view host = all.substr(start + 2);
        host = host.substr(0, host.find_first_of("/?#\\"));
        host.remove_prefix(host.rfind('@') + 1);
        host = host.substr(0, host.find(':'));
        if (!host.empty() && Known.size() < MOST && Known.insert(ASCII::Lower(host)).second)
            Text.append(Text.empty() ? "" : " ").append(host);
    }

    static constexpr size_t MOST = 200;
    std::unordered_set<std::string> Known;
    std::string Text;
};

/// Cuts all up to and with `mark` off, or all if there is none.
void SkipPast(std::string_view& text, std::string_view mark) {
    const size_t at = ASCII::Find(text, mark);
    text.remove_prefix(at == NONE ? text.size() : at + mark.size());
}

/// "--!>" ends a comment as well, as it does for browsers.
void SkipComment(std::string_view& text) {
    for (size_t at = text.find("--", 2); at != NONE; at = text.find("--", at + 1)) {
        const std::string_view after = text.substr(at + 2);
        if (after.starts_with('>') || after.starts_with("!>")) {
            text = after.substr(after.find('>') + 1);
            return;
        }
    }
    text = {};
}

bool BeginsTag(std::string_view text) {
    return text.size() > 1 &&
           (ASCII::IsLetter(text[1]) || (text[1] == '/' && text.size() > 2 && ASCII::IsLetter(text[2])));
}

}  // namespace

std::string HtmlText(std::string_view html, READBY reader) {
    LINES lines;
    HTMLSIGHT sight;
    HOSTS hosts;
    const bool isFilter = reader == READBY::Filter;
    int preformatted = 0;
    while (!html.empty()) {
        const char c = html.front();
        if (c == '<' && html.starts_with("<!--")) {
            SkipComment(html);
        } else if (c == '<' && html.size() > 1 && (html[1] == '!' || html[1] == '?')) {
            SkipPast(html, ">");
        } else if (c == '<' && BeginsTag(html)) {
            const TAGPARTS tag = TakeTag(html);
            const EFFECT effect = EffectOf(tag.Name);
            if (effect == EFFECT::Unseen && !(isFilter && IsShownBySome(tag.Name))) {
                if (!tag.IsEnd) {
                    SkipPast(html, "</" + std::string(tag.Letters));
                    SkipPast(html, ">");
                }
                if (tag.Name == HtmlName("style"))
                    sight.SeesStyleSheet();
                continue;
            }
            if (isFilter && tag.IsEnd) {
                sight.End(tag.Name);
            } else if (isFilter) {
                sight.Begin(tag.Name, tag.Attributes);
                if (!sight.IsHidden())
                    hosts.Take(tag.Name, tag.Attributes);
            }
            if (effect == EFFECT::NewLine)
                lines.NewLine();
            else if (effect == EFFECT::Paragraph || effect == EFFECT::Preformatted)
                lines.Break(2);
            else if (effect == EFFECT::Block || effect == EFFECT::Item)
                lines.Break(1);
            else if (effect == EFFECT::Cell)
                lines.Blank();
            if (effect == EFFECT::Item && !tag.IsEnd && !sight.IsHidden())
                lines.Character("- ");
            if (effect == EFFECT::Preformatted)
                preformatted = tag.IsEnd ? 0 : 1;
        } else if (c == '&') {
            std::string character;
            TakeEntity(html, character);
            if (!sight.IsHidden())
                character == " " ? lines.Blank() : lines.Character(character);
        } else if (Is(STOPS, c) && c != '<') {
            if (preformatted > 0 && c == '\n')
                lines.NewLine();
            else if (preformatted > 0 && c != '\r' && !sight.IsHidden())
                lines.Character({&c, 1});
            else
                lines.Blank();
            html.remove_prefix(1);
        } else {
            const size_t plain = PlainText(html);
            if (!sight.IsHidden())
                lines.Character(html.substr(0, plain));
            html.remove_prefix(plain);
        }
    }
    if (!hosts.Line().empty()) {
        lines.Break(1);
        lines.Character(hosts.Line());
    }
    return lines.Take();
}

std::string_view HtmlCharset(std::string_view html) {
    html = html.substr(0, CHARSET_WITHIN);
    for (size_t at = ASCII::Find(html, "<meta"); at != NONE; at = ASCII::Find(html, "<meta", at + 1)) {
        std::string_view tag = html.substr(at);
        tag = tag.substr(0, tag.find('>'));
        const size_t mark = ASCII::Find(tag, "charset=");
        if (mark == NONE)
            continue;
        std::string_view name = ASCII::TrimLeft(tag.substr(mark + 8), "\"' ");
        return name.substr(0, name.find_first_of("\"' />;"));
    }
    return {};
}
