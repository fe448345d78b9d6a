// Measures what learning is worth, for bench/learning.sh.
// usage: learning_bench GOOD_MBOX SPAM_MBOX DATADIR OUTPUT
// Five folds, near-duplicates always in the same one: each is judged by what was learnt from the other four, and by the
// lists. Writes a line for each mail into OUTPUT/scores (kind, fold, total points and indications by the lists, whether
// they found an exception, weight, points) and mailbox files of the folds for other programs: foldN.good and
// foldN.spam.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include "app/console/scoremails.h"
#include "app/filter/learnedjudge.h"
#include "app/filter/mailwords.h"
#include "app/filter/spamvariables.h"
#include "app/filter/wordscanner.h"
#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "fuzz/filtertexts.h"

namespace {

constexpr size_t FOLDS = 5;
constexpr size_t BINS = 32, BAND = 4,
                 ALIKE = 22;   // of a sketch: all, those looked up together, and equal ones of alike mails
constexpr size_t SHINGLE = 4;  // words

struct MAIL {
    bool IsSpam = false;
    size_t Fold = 0;
    std::string Text;
    std::vector<std::string> Words;
    std::array<uint64_t, BINS> Sketch;
};

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// One permutation, the least hash of each bin.
std::array<uint64_t, BINS> MakeSketch(const std::string& text) {
    std::array<uint64_t, BINS> sketch;
    sketch.fill(~uint64_t{0});
    std::vector<uint64_t> words;
    std::string word;
    for (const char c : text + " ") {
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c < 0) {
            word += static_cast<char>(c | 0x20);
        } else if (!word.empty()) {
            words.push_back(std::hash<std::string>()(word));
            word.clear();
        }
    }
    for (size_t i = 0; i + SHINGLE <= words.size(); ++i) {
        uint64_t hash = 0;
        for (size_t k = 0; k < SHINGLE; ++k)
            hash = (hash ^ words[i + k]) * 0x9E3779B97F4A7C15;
        hash ^= hash >> 29;
        uint64_t& least = sketch[hash % BINS];
        least = std::min(least, hash);
    }
    return sketch;
}

/// Mails that are alike come into the same fold.
void MakeFolds(std::vector<MAIL>& mails) {
    std::vector<size_t> head(mails.size());
    std::iota(head.begin(), head.end(), size_t{0});
    const auto find = [&head](size_t i) {
        while (head[i] != i)
            i = head[i] = head[head[i]];
        return i;
    };
    for (size_t band = 0; band + BAND <= BINS; ++band) {
        std::map<std::vector<uint64_t>, std::vector<size_t>> same;
        for (size_t i = 0; i < mails.size(); ++i) {
            const auto* const begin = mails[i].Sketch.begin() + band;
            if (std::find(begin, begin + BAND, ~uint64_t{0}) == begin + BAND)
                same[{begin, begin + BAND}].push_back(i);
        }
        for (const auto& [key, group] : same) {
            for (size_t k = 1; k < group.size(); ++k) {
                const MAIL &a = mails[group[0]], &b = mails[group[k]];
                size_t equal = 0;
                for (size_t bin = 0; bin < BINS; ++bin)
                    equal += a.Sketch[bin] == b.Sketch[bin];
                if (equal >= ALIKE)
                    head[find(group[k])] = find(group[0]);
            }
        }
    }
    for (size_t i = 0; i < mails.size(); ++i)
        mails[i].Fold = find(i) * 0x9E3779B97F4A7C15 >> 33;
    for (MAIL& mail : mails)
        mail.Fold %= FOLDS;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        fprintf(stderr, "usage: learning_bench GOOD_MBOX SPAM_MBOX DATADIR OUTPUT\n");
        return 2;
    }
    const std::string output = argv[4], data = argv[3];
    std::vector<MAIL> mails;
    for (const bool isSpam : {false, true}) {
        MBOXREADER reader([&](const std::string& text) { mails.push_back({isSpam, 0, text, {}, {}}); });
        reader.Put(ReadFile(argv[isSpam ? 2 : 1]));
        reader.End();
    }
    const auto start = std::chrono::steady_clock::now();
    for (MAIL& mail : mails) {
        const DECODEDVIEW view(mail.Text);
        mail.Words = MailWords(view);
        mail.Sketch = MakeSketch(view.Body);
    }
    const auto since = [](std::chrono::steady_clock::time_point begin) {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
    };
    printf("words_ms_a_mail %.3f\n", since(start) / static_cast<double>(mails.size()));
    MakeFolds(mails);

    FILTERSTATE settings;
    settings.State.Set("SpamMyEmail", "zzzz");
    settings.State.Set("SpamBadDynaWords", "merchant; credit card\r\nincome; APR\r\nBusiness Proposal");
    settings.State.Set("SpamFilename", FILES::SystemPath((data + "/def_spamdef.dat").c_str()));
    settings.State.Set("SpamBadSenders", FILES::SystemPath((data + "/def_badsenders.dat").c_str()));
    settings.State.Set("SpamDistrLists", "0");
    STRINGARRAY vars;
    LoadSpamVariables(vars, nullptr);
    SPAMWORDS rows;
    LoadSpamWords(rows, settings.State, vars);
    const SPAMTABLE table(std::move(rows), std::move(vars));
    WORDSCANNER scanner(table, settings.State, settings.Texts);
    std::ofstream scores(output + "/scores");
    for (size_t fold = 0; fold < FOLDS; ++fold) {
        std::ofstream good(output + "/fold" + std::to_string(fold) + ".good", std::ios::binary);
        std::ofstream spam(output + "/fold" + std::to_string(fold) + ".spam", std::ios::binary);
        LEARNINGSTORE store;
        for (size_t i = 0; i < mails.size(); ++i) {
            // In turn, as mail comes.
            const MAIL& mail = mails[i * 7919 % mails.size()];
            if (mail.Fold != fold)
                store.Learn(mail.Words, i + 1, mail.IsSpam, 1);
        }
        const std::string text = store.Text();
        const auto load = std::chrono::steady_clock::now();
        LEARNINGSTORE again;
        again.Read(text);
        printf("fold %zu: words %zu, bytes %zu, load_ms %.1f\n", fold, store.Words(), text.size(), since(load));
        for (const MAIL& mail : mails) {
            if (mail.Fold != fold)
                continue;
            const DECODEDVIEW view(mail.Text);
            scanner.Scan(mail.Text, &view);
            const LEARNEDVERDICT verdict = JudgeWords(again, mail.Words);
            scores << (mail.IsSpam ? "spam" : "good") << ' ' << fold << ' ' << scanner.TotalPoints << ' '
                   << scanner.Significant << ' ' << scanner.Exceptions << ' ' << verdict.Weight << ' ' << verdict.Points
                   << '\n';
            std::ofstream& box = mail.IsSpam ? spam : good;
            box << "From corpus@localhost Thu Jan  1 00:00:00 1970\n";
            for (std::string_view rest = mail.Text; !rest.empty();) {
                const std::string_view line = ASCII::Take(rest, '\n');
                box << (line.substr(std::min(line.find_first_not_of('>'), line.size())).starts_with("From ") ? ">" : "")
                    << line << '\n';
            }
            box << '\n';
        }
    }
    return 0;
}
