#pragma once

#include <bitset>
#include <cstdint>
#include <string_view>
#include <vector>

/// A tag's name in lower case as a number: by its first eight letters, which are enough to tell tags apart.
constexpr uint64_t HtmlName(std::string_view name) {
    uint64_t packed = 0;
    for (const char c : name.substr(0, 8))
        packed = packed << 8 | static_cast<unsigned char>(c);
    return packed;
}

/// Takes the attributes of a tag apart, one after the other; a value is as it stands there, with its entities.
class HTMLATTRIBUTES {
 public:
    /// What stands between the tag's name and its end.
    explicit HTMLATTRIBUTES(std::string_view text) : Rest(text) {}
    bool Next(std::string_view& name, std::string_view& value);

 private:
    std::string_view Rest;
};

/// Follows the elements of a page and says whether text at this place shows: not where an element, or one around it, is
/// not displayed, has letters of no size or of the colour of its background. What a page says in its style sheets is
/// not known; colours of elements with a class are nobody's guess then.
class HTMLSIGHT {
 public:
    HTMLSIGHT() : Open{{}} {}
    /// Names as from HtmlName. What an element that has no end tag says holds for nothing.
    void Begin(uint64_t name, std::string_view attributes);
    void End(uint64_t name);
    void SeesStyleSheet() { HasStyleSheet = true; }
    bool IsHidden() const { return Hidden; }

 private:
    static constexpr uint32_t UNKNOWN = 0xFFFFFFFF, UNCHANGED = 0xFFFFFFFE;
    struct ELEMENT {
        uint64_t Name = 0;
        bool Gone = false;       // with all that it holds
        bool Invisible = false;  // unless something in it is visible again
        bool Tiny = false;       // unless something in it has a size again
        uint32_t Colour = 0, Ground = 0xFFFFFF;
        bool Shows() const;
    };
    static uint32_t ReadColour(std::string_view value);
    /// What an element says of itself, from which it may be gone.
    struct HIDINGS {
        bool None = false, Clear = false, Cut = false;
        std::bitset<4> Low;
    };
    static void Apply(ELEMENT& element, std::string_view property, std::string_view value, HIDINGS& hidings);
    static void ApplyStyle(ELEMENT& element, std::string_view style, HIDINGS& hidings);
    void CloseImplied(uint64_t name);
    void Pop(size_t to);

    std::vector<ELEMENT> Open;  // the page itself first
    bool Hidden = false;
    bool HasStyleSheet = false;
    bool IsLost = false;  // an end tag's element was not found: nothing counts as hidden from then on
};
