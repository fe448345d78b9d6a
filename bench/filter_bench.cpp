// Times the spam filter over the mails of a mbox file, for bench/filter.sh.
// usage: filter_bench MBOX DEFINITIONS DIRECTORY
// Scans every mail whole, and writes the words and the text that it searched into the directory, for the baseline. One
// line a figure: name, value.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "app/filter/spamfilter.h"
#include "app/filter/spamvariables.h"
#include "corelib/base/files.h"
#include "corelib/system/osys.h"
#include "fuzz/filtertexts.h"

namespace {

constexpr int ROUNDS = 7;
constexpr int ROWS = 1000;

class NOMXLOOKUP : public MXLOOKUP {
 public:
    bool GetAddr(const char* /*name*/, STRING& /*bestmx*/, STRING& /*list*/) override { return false; }
};

/// The best of some rounds, in ms.
template <class WORK>
double Best(WORK work) {
    double best = 1e9;
    for (int i = 0; i < ROUNDS; ++i) {
        OSYS::ReleaseFreeMemory();  // as after every check
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count());
    }
    return best;
}

std::string ReadFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> Mails(const std::string& mbox) {
    std::vector<std::string> mails;
    const std::string separator = "\nFrom ";
    size_t at = 0;
    while (at < mbox.size()) {
        const size_t begin = std::min(mbox.find('\n', at), mbox.size() - 1) + 1;
        const size_t end = std::min(mbox.find(separator, begin), mbox.size());
        mails.push_back(mbox.substr(begin, end - begin));
        at = end + 1;
    }
    return mails;
}

STRING Listing(const std::vector<std::string>& mails, size_t count) {
    std::string text = std::to_string(count) + " msgs|0 unread|0 bytes\n";
    for (size_t i = 0; i < count; ++i)
        text += mails[i % std::min<size_t>(mails.size(), 1000)].substr(0, 4000) + "\1";
    return STRING(std::string_view(text));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        fprintf(stderr, "usage: filter_bench MBOX DEFINITIONS DIRECTORY\n");
        return 2;
    }
    const std::vector<std::string> mails = Mails(ReadFile(argv[1]));
    std::filesystem::current_path(argv[3]);

    // The shipped definitions, and as many words again as make up the number.
    std::string definitions = ReadFile(argv[2]);
    SPAMWORDS shipped;
    shipped.AddDefinitions(STRING(std::string_view(definitions)));
    for (int i = shipped.Count(); i < ROWS; ++i)
        definitions += "B|5|filler " + std::to_string(i * 7919 % 1000) + " phrase\n";
    std::ofstream("definitions", std::ios::binary) << definitions;

    FILTERSTATE settings;
    settings.State.Set("SpamBadDynaWords", "");
    settings.State.Set("SpamFilename", FILES::SystemPath((std::string(argv[3]) + "/definitions").c_str()));
    FRONTEND nobody;
    NOMXLOOKUP mx;
    SPAMFILTER filter(settings.State, settings.Texts, nobody, mx);
    const double load = Best([&] { filter.LoadSpamDefinitions(); });

    SPAMWORDS words;
    words.AddDefinitions(STRING(std::string_view(definitions)));
    words.ResolveMarkers();
    std::ofstream list("words", std::ios::binary);
    for (int i = 0; i < words.Count(); ++i)
        if (words[i].Word.Length() > 0)
            list << words[i].Word.View() << "\n";
    std::ofstream text("text", std::ios::binary);
    size_t bytes = 0;
    for (const std::string& mail : mails) {
        text << mail;
        bytes += mail.size();
    }
    text.close();
    const int rows = words.Count();
    STRINGARRAY vars;
    LoadSpamVariables(vars, nullptr);
    const SPAMTABLE table(std::move(words), std::move(vars));
    const auto scan = [&](bool decoded) {
        WORDSCANNER scanner(table, settings.State, settings.Texts);
        int64_t sum = 0;
        for (const std::string& mail : mails) {
            if (decoded) {
                const DECODEDVIEW view(mail);
                scanner.Scan(mail, &view);
            } else {
                scanner.Scan(mail);
            }
            sum += scanner.TotalPoints;
        }
        return sum;
    };
    const double scanning = Best([&] { scan(false); });
    const double decoding = Best([&] {
        for (const std::string& mail : mails)
            DECODEDVIEW view(mail);
    });
    const double both = Best([&] { scan(true); });

    STRINGARRAY item;
    for (const char* key : {"Type", "DoSpamFilter", "@Handle"})
        item.Set(key, "1");
    const STRING small = Listing(mails, 1000);
    const STRING large = Listing(mails, 10000);
    const double smallTime = Best([&] { filter.SpamFilter(item, small); });
    const double largeTime = Best([&] { filter.SpamFilter(item, large); });

    printf("rows %d\nmails %zu\nbytes %zu\nload_ms %.2f\nscan_ms %.1f\nscan_mb_per_s %.0f\nper_mail_ms %.4f\n", rows,
           mails.size(), bytes, load, scanning, static_cast<double>(bytes) / scanning / 1000,
           scanning / static_cast<double>(mails.size()));
    printf("decode_ms %.1f\nboth_views_ms %.1f\nboth_views_mb_per_s %.0f\nboth_views_ratio %.2f\n", decoding, both,
           static_cast<double>(bytes) / both / 1000, both / scanning);
    printf("listing_1000_ms %.1f\nlisting_10000_ms %.1f\nlisting_ratio %.1f\n", smallTime, largeTime,
           largeTime / smallTime);
    return 0;
}
