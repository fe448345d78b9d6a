#include <cstdlib>
#include <fstream>
#include <sstream>

#include "app/check/items.h"
#include "app/core/settings.h"
#include "app/dialogs/fields.h"
#include "app/notify/mailtypes.h"
#include "corelib/base/files.h"
#include "corelib/system/osys.h"
#include "tests/support/testsupport.h"

namespace {

struct PAGE {
    int Number;
    const char* Picture = nullptr;
    int Titles = 0, Part = 0;  // of a page; 0: a dialog
};
constexpr PAGE PAGES[] = {{DIALOG_ITEM},
                          {PAGE_ITEM_GENERAL, "item-1", TEXT_ITEM_PAGES, 0},
                          {PAGE_ITEM_MAILBOX, "item-2", TEXT_ITEM_PAGES, 1},
                          {PAGE_ITEM_MORE, "item-3", TEXT_ITEM_PAGES, 2},
                          {DIALOG_OPTIONS},
                          {PAGE_OPTIONS_PROGRAM, "options-1", TEXT_OPTION_PAGES, 0},
                          {PAGE_OPTIONS_NOTICE, "options-2", TEXT_OPTION_PAGES, 1},
                          {PAGE_OPTIONS_POPUP, "options-3", TEXT_OPTION_PAGES, 2},
                          {PAGE_OPTIONS_MAILPROGRAM, "options-4", TEXT_OPTION_PAGES, 3},
                          {PAGE_OPTIONS_CONNECTION, "options-5", TEXT_OPTION_PAGES, 4},
                          {DIALOG_SPAM},
                          {PAGE_SPAM_POINTS, "spam-expert-1", TEXT_SPAM_PAGES, 3},
                          {PAGE_SPAM_WORDS, "spam-2", TEXT_SPAM_PAGES, 2},
                          {PAGE_SPAM_INTERESTS, "spam-3", TEXT_SPAM_PAGES, 1},
                          {PAGE_SPAM_RECIPIENTS, "spam-4", TEXT_SPAM_PAGES, 6},
                          {PAGE_SPAM_SENDERS, "spam-expert-2", TEXT_SPAM_PAGES, 5},
                          {PAGE_SPAM_FILES, "spam-expert-3", TEXT_SPAM_PAGES, 7},
                          {PAGE_SPAM_SENDING, "spam-expert-4", TEXT_SPAM_PAGES, 4},
                          {DIALOG_TYPES, "types"},
                          {DIALOG_TYPE, "type"},
                          {DIALOG_DATADIR}};

constexpr const char* HEAD =
    "# The settings\n\n"
    "What the dialogs offer, page by page. The words are those that show when the mouse rests on a field; the file "
    "that\n"
    "holds a value, and those that no dialog has, stand in [files.md](files.md). This page is made by "
    "`docs/make-settings`\n"
    "of the same lists as the dialogs are.\n";

/// The words of the dialogs by the name of their macro, without "&" and what leads on.
std::map<std::string, std::string> Words() {
    std::map<std::string, std::string> words;
    std::istringstream text(ReadBytes(FILES::SystemPath(TW_WORDS)));
    for (std::string line; std::getline(text, line);) {
        const size_t name = line.find("WORDS_"), quote = line.find('"');
        if (name == line.npos || quote == line.npos)
            continue;
        std::string word = line.substr(quote + 1, line.rfind('"') - quote - 1);
        std::erase(word, '&');
        while (!word.empty() && (word.back() == ':' || word.back() == '.'))
            word.pop_back();
        words[line.substr(name, quote - name - 1)] = word;
    }
    return words;
}

std::string Values(const FIELD& field, const TEXTS& texts) {
    switch (field.Kind) {
        case FIELDKIND::EDIT:
            return "up to " + std::to_string(field.High) + " characters";
        case FIELDKIND::NUMBER:
            return std::to_string(field.Low) + " to " + std::to_string(field.High);
        case FIELDKIND::LIST: {
            std::string all = Std(texts.Get(field.Low != 0 ? field.Low : TEXT_KINDS));
            for (size_t at = 0; (at = all.find('|', at)) != all.npos;)
                all.replace(at, 1, ", ");
            return all;
        }
        case FIELDKIND::COLOR:
            return "a colour";
        case FIELDKIND::FONT:
            return "a font";
        case FIELDKIND::RADIO:
            return "chosen: " + std::to_string(field.Low);
        case FIELDKIND::TEXTLIST:
            return "one of them";
        default:
            return "yes or no";
    }
}

std::string Made(const TEXTS& texts) {
    std::map<std::string, std::string> words = Words();
    std::string all = HEAD;
    std::set<int> told;
    for (const PAGE& page : PAGES) {
        const std::string number = std::to_string(page.Number);
        all += page.Titles != 0 ? "\n### " + Std(texts.Part(page.Titles, page.Part)) + "\n\n"
                                : "\n## " + words["WORDS_" + number] + "\n\n";
        if (page.Picture)
            all += std::string("![](dialogs/dialog-") + page.Picture + ".png)\n\n";
        if (FieldsOf(page.Number).empty())
            continue;
        all += "| field | what it is for | values | key |\n| --- | --- | --- | --- |\n";
        for (const FIELD& field : FieldsOf(page.Number)) {
            const std::string word = words["WORDS_" + number + "_" + std::to_string(field.Control)];
            const std::string help = Std(HelpOf(texts, page.Number, field.Control)), key = field.Key;
            EXPECT_FALSE(word.empty() && field.Kind != FIELDKIND::NUMBER) << number << " " << field.Control;
            EXPECT_FALSE(help.empty()) << number << " " << field.Control;
            all += "| " + word + " | " + help + " | " + Values(field, texts) + " | `" + key.substr(0, key.find('.')) +
                   "` |\n";
        }
        told.insert(page.Number);
    }
    for (const FIELD& field : AllFields())
        EXPECT_TRUE(told.contains(field.Page)) << field.Page << " is not in the list of pages above";
    while (all.find("\n\n\n") != all.npos)
        all.erase(all.find("\n\n\n"), 1);
    return all;
}

TEST(SettingsDocs, AreMadeOfTheDialogs) {
    const STRING directory = OSYS::FileDirectory(OSYS::ProgramPath().Text());
    LANGUAGELIBRARY english;
    STRING path;
    ASSERT_EQ(english.Load(directory.Text(), LANGUAGE_ENGLISH, path), LANGUAGE_ENGLISH);
    const std::string made = Made(english);
    if (getenv("TARNWICK_MAKE_DOCS"))
        std::ofstream(TW_DOCS "/settings.md", std::ios::binary) << made;
    EXPECT_EQ(ReadBytes(FILES::SystemPath(TW_DOCS "/settings.md")), made) << "docs/make-settings makes it anew";
}

TEST(Fields, AreKeysOfTheirRecord) {
    STRINGARRAY state(8, 8), item(64, 64), type(16, 16);
    for (const SETTING& setting : SETTINGS)
        state.Set(setting.Key, setting.Default);
    int handle = FIRST_ITEM_HANDLE;
    FixItem(item, state, handle);
    FillTypeDefaults(type);
    for (const FIELD& field : AllFields()) {
        const STRINGARRAY& record = field.Page / 10 == DIALOG_ITEM / 10 ? item
                                    : field.Page == DIALOG_TYPE         ? type
                                                                        : state;
        const STRING key = STRING(field.Key).Word(0, ".", WORD_NEVERNULL);
        EXPECT_TRUE(field.Page == DIALOG_DATADIR || record.Exists(key.Text())) << field.Page << " " << Std(key);
    }
}

}  // namespace
