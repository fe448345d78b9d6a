#include "app/core/helppages.h"

#include <regex>

#include "corelib/base/files.h"
#include "corelib/system/osys.h"
#include "resources/commands.h"
#include "tests/app/apptest.h"
#include "tests/app/core/coresupport.h"

namespace {

constexpr int ALERT = 2060;

STRING ProgramFolder() {
    return OSYS::FileDirectory(OSYS::ProgramPath().Text());
}

struct LANGUAGEHELP {
    explicit LANGUAGEHELP(std::string_view language, const STRING& folder = ProgramFolder()) {
        STRING unused;
        EXPECT_NE(Texts.Load(ProgramFolder().Text(), language == "german" ? LANGUAGE_GERMAN : LANGUAGE_ENGLISH, unused),
                  0);
        Pages = std::make_unique<HELPPAGES>(Texts, folder);
    }
    LANGUAGELIBRARY Texts;
    std::unique_ptr<HELPPAGES> Pages;
};

/// What the topic's file is called; "index" for the first page.
std::string Topic(const HELPPAGES& pages, int window, int control = 0) {
    const STRING file = pages.FileOf(window, control);
    EXPECT_TRUE(OSYS::FileExists(file.Text())) << Std(file);
    const std::string name = Std(file);
    return name.substr(name.rfind('\\') + 1, name.rfind('.') - name.rfind('\\') - 1);
}

std::vector<std::string> Matches(const std::string& text, const char* pattern) {
    const std::regex form(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), form), end; at != end; ++at)
        found.push_back((*at)[1]);
    return found;
}

/// The files of a language by their names below its folder, with "/".
std::map<std::string, std::string> FilesOf(const std::string& language) {
    const std::string folder = Std(ProgramFolder()) + "\\help\\" + language;
    DYNARRAY<STRING> names(64, 64);
    OSYS::CollectFiles(folder.c_str(), "*", &names, true);
    std::map<std::string, std::string> files;
    for (int i = 0; i < names.Count(); ++i) {
        std::string name = Std(names[i]).substr(folder.size() + 1);
        std::replace(name.begin(), name.end(), '\\', '/');
        if (name.ends_with(".html"))
            files[name] = ReadBytes(names[i]);
    }
    return files;
}

TEST(HelpPages, HaveATopicForEachDialogAndField) {
    const std::string dialogs = ReadBytes(FILES::SystemPath(TW_DOCS "/../resources/dialogs.rc"));
    const std::vector<std::string> numbers = Matches(dialogs, "\\n(?:TW_[A-Z]+\\()?([0-9]{4})(?:\\)|,| DIALOGEX)");
    EXPECT_GT(numbers.size(), 25u);
    for (const char* language : {"english", "german"}) {
        SCOPED_TRACE(std::string(language) + ": docs/help has no place of that number");
        const LANGUAGEHELP help(language);
        const HELPPAGES& pages = *help.Pages;
        for (const std::string& number : numbers)
            EXPECT_EQ(Topic(pages, std::stoi(number)), number);
        for (const int window : {MENU_MAIN, MENU_INBOX_BAR, MENU_TRASHCAN_BAR, ALERT, HELP_TOPIC_INTRODUCTION,
                                 HELP_TOPIC_FILTER, HELP_TOPIC_PROVIDERS, HELP_TOPIC_WELCOME, HELP_TOPIC_QUESTIONS})
            EXPECT_EQ(Topic(pages, window), std::to_string(window));
#define TW_HELP(page, control, text) EXPECT_EQ(Topic(pages, page, control), #page "-" #control);
#include "resources/english/help.inc"
#undef TW_HELP
    }
}

TEST(HelpPages, FallBackToWhatIsAround) {
    const LANGUAGEHELP help("german");
    const HELPPAGES& pages = *help.Pages;
    EXPECT_EQ(Topic(pages, 2031, 601), "2031-201") << "the words in front of a field";
    EXPECT_EQ(Topic(pages, 2031, 803), "2031-203") << "its unit";
    for (const int control : {0, 1, -1, 65535})
        EXPECT_EQ(Topic(pages, 2031, control), "2031");
    EXPECT_EQ(Topic(pages, 7, 201), "index");
    EXPECT_EQ(Topic(pages, 0), "index");

    FAKESTARTER starter;
    EXPECT_EQ(Std(pages.Open(starter, 2031, 203)), "");
    EXPECT_EQ(starter.Take(), "open " + Std(FILES::NativePath(pages.FileOf(2031, 203).Text())));
    const TEMPDIR empty;
    const LANGUAGEHELP none("german", empty.Path());
    STRING told = none.Texts.Get(TEXT_NO_HELP);
    told.Replace("$FILE", empty.Native("help\\german\\index.html").c_str());
    EXPECT_EQ(Std(none.Pages->Open(starter, 2031, 203)), Std(told));
    EXPECT_EQ(starter.Take(), "");
    EXPECT_FALSE(none.Pages->AreThere());
}

TEST(HelpPages, LeadToPlacesAndPicturesThatAreThere) {
    std::map<std::string, std::map<std::string, std::vector<std::string>>> places;
    for (const char* language : {"english", "german"}) {
        const std::map<std::string, std::string> files = FilesOf(language);
        std::map<std::string, std::vector<std::string>>& ids = places[language];
        for (const auto& [name, text] : files)
            ids[name] = Matches(text, " id=\"([^\"]*)\"");
        for (const auto& [name, text] : files) {
            SCOPED_TRACE(std::string(language) + "/" + name);
            const bool page = name.find('/') == name.npos;
            const std::set<std::string> different(ids[name].begin(), ids[name].end());
            EXPECT_EQ(different.size(), ids[name].size()) << "a place stands there twice";
            EXPECT_EQ(Matches(text, "(<h1>)").size(), page ? 1u : 0u);
            EXPECT_TRUE(Matches(text, "(<script|omitted|\\{[0-9a-z-]+\\}|alt=\"\")").empty());
            for (const std::string& link : Matches(text, "(?:href=|src=|url=)\"?([^\"]*)\"")) {
                SCOPED_TRACE(link);
                const size_t mark = link.find('#');
                std::string file = link.substr(0, mark), from = page ? "" : "topic/";
                while (file.starts_with("../") && !from.empty()) {
                    file.erase(0, 3);
                    from.clear();
                }
                const STRING path = OSYS::FilePath(ProgramFolder().Text(), ("help\\" + std::string(language)).c_str());
                EXPECT_TRUE(file.empty() || OSYS::FileExists((path || "\\" || (from + file).c_str()).Text()));
                if (mark == link.npos)
                    continue;
                const std::vector<std::string>& there = ids[file.empty() ? name : file];
                EXPECT_NE(std::find(there.begin(), there.end(), link.substr(mark + 1)), there.end());
            }
        }
    }
    EXPECT_EQ(places["english"], places["german"]) << "the languages differ in pages or places";
    EXPECT_GT(places["english"].size(), 150u);
}

}  // namespace
