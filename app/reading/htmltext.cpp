#include "app/reading/htmltext.h"

#include <algorithm>
#include <iterator>

#include "app/reading/htmlentities.h"
#include "corelib/base/ascii.h"

namespace {

constexpr size_t NONE = std::string_view::npos;
constexpr std::string_view BLANKS = " \t\r\n\f";
constexpr size_t CHARSET_WITHIN = 4096;  // bytes in which a page tells its charset

constexpr std::string_view UNSEEN[] = {"script", "style", "title", "template", "object", "applet", "select", "svg"};
// A line of their own; the second row with an empty one in front.
constexpr std::string_view BLOCKS[] = {"div",   "li",     "tr",      "dt",      "dd",     "address", "center", "hr",
                                       "form",  "option", "section", "article", "header", "footer",  "nav",    "main",
                                       "aside", "figure", "tbody",   "thead",   "tfoot",  "caption", "body"};
constexpr std::string_view PARAGRAPHS[] = {"p",  "h1", "h2", "h3",    "h4",         "h5",  "h6",
                                           "ul", "ol", "dl", "table", "blockquote", "pre", "fieldset"};

template <class LIST>
bool In(const LIST& list, std::string_view name) {
    return std::ranges::find(list, name) != std::end(list);
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

/// Cuts the tag at the text's beginning off; gives its name in lower case, with the "/" of an end tag. A tag that never
/// ends takes all.
std::string TakeTag(std::string_view& text) {
    const bool end = text.size() > 1 && text[1] == '/';
    size_t at = end ? 2 : 1;
    while (at < text.size() && (ASCII::IsLetterOrDigit(text[at])))
        ++at;
    std::string name = (end ? "/" : "") + ASCII::Lower(text.substr(end ? 2 : 1, at - (end ? 2 : 1)));
    char quote = 0;
    for (char before = 0; at < text.size(); before = BLANKS.find(text[at]) == NONE ? text[at] : before, ++at) {
        const char c = text[at];
        if (quote != 0)
            quote = c == quote ? '\0' : quote;
        else if ((c == '"' || c == '\'') && before == '=')
            quote = c;
        else if (c == '>')
            break;
    }
    text.remove_prefix(std::min(at + 1, text.size()));
    return name;
}

/// Cuts all up to and with `mark` off, or all if there is none.
void SkipPast(std::string_view& text, std::string_view mark) {
    const size_t at = ASCII::Find(text, mark);
    text.remove_prefix(at == NONE ? text.size() : at + mark.size());
}

bool BeginsTag(std::string_view text) {
    return text.size() > 1 &&
           (ASCII::IsLetter(text[1]) || (text[1] == '/' && text.size() > 2 && ASCII::IsLetter(text[2])));
}

}  // namespace

std::string HtmlText(std::string_view html) {
    LINES lines;
    int preformatted = 0;
    while (!html.empty()) {
        const char c = html.front();
        if (c == '<' && html.starts_with("<!--")) {
            SkipPast(html, "-->");
        } else if (c == '<' && html.size() > 1 && (html[1] == '!' || html[1] == '?')) {
            SkipPast(html, ">");
        } else if (c == '<' && BeginsTag(html)) {
            const std::string tag = TakeTag(html);
            const std::string_view name = std::string_view(tag).substr(tag.starts_with('/') ? 1 : 0);
            if (!tag.starts_with('/') && In(UNSEEN, name)) {
                SkipPast(html, "</" + tag);
                SkipPast(html, ">");
            } else if (name == "br") {
                lines.NewLine();
            } else if (In(PARAGRAPHS, name)) {
                lines.Break(2);
            } else if (In(BLOCKS, name)) {
                lines.Break(1);
            } else if (name == "td" || name == "th") {
                lines.Blank();
            }
            if (tag == "li")
                lines.Character("- ");
            preformatted = std::clamp(preformatted + (tag == "pre" ? 1 : tag == "/pre" ? -1 : 0), 0, 1);
        } else if (c == '&') {
            std::string character;
            TakeEntity(html, character);
            character == " " ? lines.Blank() : lines.Character(character);
        } else if (BLANKS.find(c) != NONE) {
            if (preformatted > 0 && c == '\n')
                lines.NewLine();
            else if (preformatted > 0 && c != '\r')
                lines.Character({&c, 1});
            else
                lines.Blank();
            html.remove_prefix(1);
        } else {
            const size_t plain = std::min(html.find_first_of("<& \t\r\n\f", 1), html.size());
            lines.Character(html.substr(0, plain));
            html.remove_prefix(plain);
        }
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
