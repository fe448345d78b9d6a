#include <algorithm>
#include <cctype>

#include "app/filter/spamdefinitions.h"
#include "app/filter/wordscanner.h"
#include "app/notify/mailtypes.h"
#include "corelib/base/ascii.h"
#include "corelib/base/recordarray.h"
#include "tests/app/core/coresupport.h"

namespace {

STRING Shipped(const char* name) {
    return OSYS::FilePath(OSYS::FileDirectory(OSYS::ProgramPath().Text()).Ptr(), name);
}

constexpr uint32_t ZONES = SPAMFLAG_FROM | SPAMFLAG_TO | SPAMFLAG_SUBJECT | SPAMFLAG_BODY;

/// The rows of the shipped definitions that are an indication against a mail.
std::vector<SPAMWORD> Grounds(SPAMWORDS& words) {
    STRING text;
    EXPECT_TRUE(text.Load(Shipped("def_spamdef.dat").Text(), "r"));
    words.AddDefinitions(text);
    words.ResolveMarkers();
    std::vector<SPAMWORD> grounds;
    for (int i = 0; i < words.Count(); ++i) {
        if (words[i].Significance > 0) {
            grounds.push_back(words[i]);
        }
    }
    return grounds;
}

bool HitsAt(const SPAMWORD& row, const std::string& text, size_t at) {
    return WORDSEARCH(row.Flags, row.Word.View(), text).FindSpamWord(static_cast<int>(at)) == static_cast<int>(at);
}

/// True if there is a text where `next` begins within `first`, three characters of which they share at least.
bool Overlap(const SPAMWORD& first, const SPAMWORD& next) {
    const std::string_view a = first.Word.View(), b = next.Word.View();
    for (size_t at = 0; at < a.size(); ++at) {
        const size_t shared = std::min(a.size() - at, b.size());
        if (ASCII::Lower(a[at]) != ASCII::Lower(b[0]) || (shared < b.size() && shared < 3)) {
            continue;
        }
        // In one of the two spellings both hit, if they can at all.
        for (const std::string& text :
             {std::string(a).append(b.substr(shared)), std::string(a.substr(0, at)).append(b)}) {
            if (HitsAt(first, text, 0) && HitsAt(next, text, at)) {
                return true;
            }
        }
    }
    return false;
}

TEST(Defaults, MailTypesAreCompleteAndLoadWhole) {
    RECORDARRAY types(8, 8);
    ASSERT_GT(types.LoadAll(Shipped("def_types.ini").Text()), 0);
    std::set<std::string> names;
    for (int i = 0; i < types.Count(); ++i) {
        const int keys = types[i].Count();
        FillTypeDefaults(types[i]);
        EXPECT_EQ(types[i].Count(), keys) << "a key is missing or misspelt in type " << i;
        EXPECT_EQ(keys, 13);
        EXPECT_TRUE(names.insert(Std(types[i].Get("Name"))).second);
        // The look-up masks this word in header lines, so that no keyword that holds it would ever be found there.
        EXPECT_EQ(types[i].Get("Keywords").iPos("delivery"), -1) << i;
    }
}

TEST(Defaults, SpamDefinitionsAreRowsThatCanHit) {
    DYNARRAY<STRING> lines(256, 256);
    ASSERT_GT(lines.LoadLines(Shipped("def_spamdef.dat").Text()), 0);
    std::set<std::string> seen;
    for (int i = 0; i < lines.Count(); ++i) {
        const std::string line = Std(lines[i]);
        if (line.empty() || line[0] == '#' || line[0] == '/') {
            continue;
        }
        const STRING flags = lines[i].Word(0, "|", WORD_NEVERNULL);
        EXPECT_EQ(flags.View().find_first_not_of("TFSBDXM*"), std::string_view::npos) << line;
        EXPECT_NE(flags.View().find_first_of("TFSBDM"), std::string_view::npos) << line;
        const STRING points = lines[i].Word(1, "|", WORD_NEVERNULL);
        EXPECT_EQ(points.View().find_first_not_of("-0123456789/"), std::string_view::npos) << line;
        EXPECT_FALSE(lines[i].Word(3, "|").NotNull()) << line;
        const DYNARRAY<STRING> words(lines[i].Word(2, "|", WORD_NEVERNULL), ";", 16, 16);
        for (int w = 0; w < words.Count(); ++w) {
            STRING word = words[w];
            word.Strip('B', " \t");
            ASSERT_GT(word.Length(), 0) << line;
            // One letter or digit would hit everywhere; one other sign is a trait of a subject.
            EXPECT_FALSE(word.Length() == 1 && isalnum(static_cast<unsigned char>(word[0]))) << line;
            EXPECT_TRUE(seen.insert(Std(flags) + "|" + Std(word)).second) << Std(word) << " stands there twice";
        }
    }
    EXPECT_GT(seen.size(), 100U);
    EXPECT_LT(seen.size(), size_t{SPAMWORDS::ROWS} * 3 / 4) << "the user's own words share the table";
}

TEST(Defaults, NoPhraseIsThreeGrounds) {
    SPAMWORDS words;
    const std::vector<SPAMWORD> grounds = Grounds(words);
    ASSERT_GT(grounds.size(), 100U);
    // A chain of three has a middle, which two others overlap.
    std::vector<int> counts(grounds.size());
    std::vector<std::string> chains(grounds.size());
    const auto add = [&](size_t row, size_t other) {
        counts[row] += grounds[other].Significance;
        chains[row] += Std(grounds[other].Word) + "; ";
    };
    for (size_t row = 0; row < grounds.size(); ++row) {
        add(row, row);
        for (size_t other = 0; other < row; ++other) {
            if ((grounds[row].Flags & grounds[other].Flags & ZONES) != 0 &&
                (Overlap(grounds[row], grounds[other]) || Overlap(grounds[other], grounds[row]))) {
                add(row, other);
                add(other, row);
            }
        }
    }
    for (size_t row = 0; row < grounds.size(); ++row) {
        EXPECT_LT(counts[row], 3) << chains[row];
        for (const char* neutral : {"text/html", "=?", "font", "padding", "customer service", "mailing address"}) {
            EXPECT_EQ(grounds[row].Word.iPos(neutral), -1) << chains[row] << "tells nothing";
        }
    }
}

}  // namespace
