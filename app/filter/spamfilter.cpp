#include "app/filter/spamfilter.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "app/filter/decodedview.h"
#include "app/filter/senderchecks.h"
#include "app/filter/spamvariables.h"
#include "app/mailbox/account.h"
#include "app/mailbox/knownmails.h"
#include "app/mailbox/listing.h"
#include "corelib/base/trace.h"

namespace {

// The reports of all mails of a listing. After it mails get none, and their points all the same.
constexpr size_t REPORTS_BYTES = 1 << 29;

// The first line and the blocks of a listing, with a header on top of each block, in the listing's own memory as far as
// that goes.
STRING WithHeaders(STRING listing, const STRING& line, const std::vector<std::string_view>& blocks,
                   const std::vector<std::string>& headers) {
    if (blocks.empty())
        return line || "\n";
    size_t bytes = static_cast<size_t>(line.Length()) + 1;
    for (size_t i = 0; i < blocks.size(); ++i)
        bytes += headers[i].size() + blocks[i].size() + (i > 0);
    const char* const before = listing.View().data();
    // A line that ends at a zero byte stands for more.
    const bool grows = blocks[0].data() - before == line.Length() + 1;
    STRING beside;
    STRING& result = grows ? listing : beside;
    result.Make(static_cast<int>(bytes), nullptr);
    const char* const from = listing.View().data();
    char* const begin = result.Data();
    if (!begin)
        return {};
    char* at = begin + bytes;
    // From the last to the first: none is moved to where another one still stands.
    for (size_t i = blocks.size(); i-- > 0;) {
        at -= blocks[i].size();
        memmove(at, from + (blocks[i].data() - before), blocks[i].size());
        at -= headers[i].size();
        headers[i].copy(at, headers[i].size());
        if (i > 0)
            *--at = LISTING::BLOCK_END;
    }
    *--at = '\n';
    line.View().copy(begin, static_cast<size_t>(line.Length()));
    return std::move(result);
}

}  // namespace

int SPAMFILTER::LoadSpamDefinitions() {
    return LoadTable()->Words.Count();
}

std::shared_ptr<const SPAMTABLE> SPAMFILTER::LoadTable() {
    // A variables' file that cannot be read leaves the values of the load before.
    const std::shared_ptr<const SPAMTABLE> before = Table();
    STRINGARRAY vars = before ? before->Vars : STRINGARRAY();
    LoadSpamVariables(vars, State.Get("SpamVarsFile").Text());
    SPAMWORDS words;
    LoadSpamWords(words, State, vars);
    auto table = std::make_shared<const SPAMTABLE>(std::move(words), std::move(vars));
    const std::lock_guard hold(Guard);
    LatestTable = table;
    return table;
}

std::shared_ptr<const SPAMTABLE> SPAMFILTER::Table() {
    const std::lock_guard hold(Guard);
    return LatestTable;
}

bool SPAMFILTER::IsFiltered(const STRINGARRAY& item) const {
    return State.GetNumber("SpamFilterDisabled") == 0 && MAILACCOUNT::Kind(item).IsFiltered &&
           item.GetNumber("DoSpamFilter") != 0;
}

// FNV-1a over all that a verdict may depend on beside the mail. Without a table no mail is scored.
STRING SPAMFILTER::BasisOf(const SPAMTABLE* table) const {
    uint64_t hash = 0xcbf29ce484222325;
    const auto add = [&hash](std::string_view text) {
        for (const char c : text)
            hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
        hash = (hash ^ 0xff) * 0x100000001b3;
    };
    if (table) {
        for (int i = 0; i < table->Words.Count(); ++i) {
            const SPAMWORD& row = table->Words[i];
            add(row.Word.View());
            add(std::to_string(row.Flags) + " " + std::to_string(row.Points) + " " + std::to_string(row.Significance));
        }
        add(table->Vars.AsText().View());
        const DYNARRAY<STRING> keys = State.GetKeys();
        for (int i = 0; i < keys.Count(); ++i) {
            if (!keys[i].View().starts_with("Spam"))
                continue;
            add(keys[i].View());
            add(State.Get(keys[i].Text()).View());
        }
        if (Lessons && Lessons->IsOn())
            add(std::to_string(Lessons->Version()));
        // Reports are in the user's language.
        add(Texts.Get(TEXT_RESULT).View());
    }
    return STRING(std::string_view(std::to_string(hash)));
}

// The filter's lines on top of each mail that the last listing had, too; empty for the others.
std::vector<std::string> SPAMFILTER::KnownVerdicts(const STRINGARRAY& item) const {
    if (!item.Exists("@VerdictBasis") || !(item.Get("@VerdictBasis") == LatestBasis))
        return {};
    const std::vector<int> places = NEXTLISTING::Places(item);
    std::vector<std::string> verdicts(places.size());
    if (places.empty())
        return verdicts;
    const STRING unasked = Texts.Get(TEXT_NO_NAME_SERVICE);
    item.Look("@FileStore", [&](const STRING& last) {
        std::vector<std::string_view> lines;
        LISTING::BLOCKCURSOR cursor(last);
        for (std::string_view block; cursor.Next(block);) {
            const std::string_view verdict = LISTING::TakeVerdict(block);
            // Without a name service there was no more than half a verdict.
            lines.push_back(verdict.find(unasked.View()) == verdict.npos ? verdict : std::string_view());
        }
        for (size_t i = 0; i < places.size(); ++i)
            if (places[i] >= 0 && static_cast<size_t>(places[i]) < lines.size())
                verdicts[i] = lines[static_cast<size_t>(places[i])];
    });
    return verdicts;
}

STRING SPAMFILTER::SpamFilter(const STRINGARRAY& item, STRING listing) {
    Trace("TARNWICK::SpamFilter\n");
    std::shared_ptr<const SPAMTABLE> table;
    std::unique_ptr<WORDSCANNER> scanner;
    if (IsFiltered(item)) {
        table = LoadTable();
        scanner = std::make_unique<WORDSCANNER>(*table, State, Texts, false, StopAsked);
    }
    LatestBasis = BasisOf(table.get());
    std::vector<std::string> known = KnownVerdicts(item);
    MXMEMORY mx(Mx);
    const LISTING::SUMMARY summary = LISTING::ReadSummary(listing);
    const int handle = item.GetNumber("@Handle");
    const STRING progress = Texts.Get(TEXT_SCORING);

    // The headers of all mails first, so that the new listing is made in one piece and of its true size.
    std::vector<std::string> headers;
    std::vector<std::string_view> blocks;
    int64_t sum = 0;
    size_t reports = 0;
    LISTING::BLOCKCURSOR walk(listing);
    for (std::string_view block; walk.Next(block);) {
        SPAMSCORE score;
        std::string header;
        if (blocks.size() < known.size())
            header = std::move(known[blocks.size()]);
        const bool isKnown = !header.empty();
        if (isKnown) {
            reports += header.size();
            score.Result = atoi(STRING(std::string_view(header).substr(header.rfind(':') + 1)));
        } else if (scanner) {
            STRING status = progress;
            status.AppendFormat(" %d/%d", static_cast<int>(blocks.size()) + 1, summary.Count);
            FrontEnd.SetItemStatus(handle, status);
            std::string report;
            score = Score(*table, *scanner, mx, block, &report, handle, status);
            std::replace(report.begin(), report.end(), '\n', REASON_LINE_END);
            reports += report.size();
            if (reports <= REPORTS_BYTES)
                header = LISTING::REASON_HEADER + (": " + report + "\n");
        }
        sum += score.Result;
        if (!isKnown)
            header += LISTING::POINTS_HEADER + (": " + std::to_string(score.Result) + "\n");
        headers.push_back(std::move(header));
        blocks.push_back(block);
        if (IsStopped())
            return LISTING::ErrorText("Stopped");
    }
    STRING result = WithHeaders(std::move(listing), summary.Line, blocks, headers);
    Trace("TARNWICK::SpamFilter done, total msgs %d, total points %d\n", scanner ? static_cast<int>(blocks.size()) : 0,
          static_cast<int>(sum));
    return result;
}

SPAMSCORE SPAMFILTER::SpamFilterMessage(const char* message, STRING* report, int handle, const STRING& status,
                                        MXMEMORY* memory) {
    if (!ASSERTION(message, "msg!=NULL"))
        return {};
    std::shared_ptr<const SPAMTABLE> table = Table();
    if (!table)
        table = LoadTable();
    WORDSCANNER scanner(*table, State, Texts, false, StopAsked);
    MXMEMORY own(Mx);
    std::string text;
    const SPAMSCORE score =
        Score(*table, scanner, memory ? *memory : own, message, report ? &text : nullptr, handle, status);
    if (report)
        *report = STRING(std::string_view(text));
    return score;
}

SPAMSCORE SPAMFILTER::Score(const SPAMTABLE& table, WORDSCANNER& scanner, MXMEMORY& mx, std::string_view message,
                            std::string* report, int handle, const STRING& status) {
    std::optional<DECODEDVIEW> view;
    const bool decodes = State.GetNumber("SpamDecode") != 0, learns = Lessons && Lessons->IsOn();
    if (decodes || learns)
        view.emplace(message);
    scanner.Scan(message, decodes ? &*view : nullptr);
    if (IsStopped())
        return {};
    if (learns)
        CountLearned(scanner, *view);
    const bool suspect = scanner.Exceptions == 0 && scanner.Significant >= State.GetNumber("SpamMinWords");
    if (suspect) {
        int significance = scanner.LastSignificance;
        STRING reason;
        const int points = SpamFrom({State, table.Vars, Texts, FrontEnd, mx, StopAsked}, scanner.FromValue,
                                    scanner.TotalPoints, significance, reason, handle, status);
        if (points != 0)
            scanner.Count(points, significance);
        scanner.Details += SpamReportLine(points, significance, reason.View(), {});
    }
    const SPAMSCORE score{suspect ? scanner.TotalPoints : 0, scanner.TotalPoints, scanner.Significant,
                          scanner.Exceptions};
    if (report)
        *report = Report(scanner, score);
    // The line reads like one of the mail types; whoever evaluates traces knows it so.
    Trace("TARNWICK::GetTypeIndex returns typendx= %d\n", score.Result);
    return score;
}

// What was learnt is one ground beside others: alone it makes no mail a spam, whatever the user has set.
void SPAMFILTER::CountLearned(WORDSCANNER& scanner, const DECODEDVIEW& view) const {
    const LEARNEDVERDICT verdict = Lessons->Judge(view);
    if (verdict.Kind == LEARNEDVERDICT::SILENT)
        return;
    // Against a mail it counts beside another ground alone, however few the user wants.
    const bool against = verdict.Points > 0, beside = scanner.Significant > 0;
    const int points = against && !beside ? 0 : verdict.Points, significance = against && beside ? 1 : 0;
    scanner.Count(points, significance);
    const STRING remark = Texts.Part(TEXT_LEARNED, verdict.Kind);
    scanner.Details += SpamReportLine(points, significance, Texts.Part(TEXT_LEARNED, 0).View(),
                                      std::string(remark.View()) + ", " + std::to_string(verdict.Percent) + " %");
}

std::string SPAMFILTER::Report(const WORDSCANNER& scanner, const SPAMSCORE& score) const {
    const auto text = [this](int id) { return std::string(Texts.Get(id).View()); };
    const bool tooFew = score.Significant < State.GetNumber("SpamMinWords");
    std::string report = text(TEXT_SUBJECT) + " " + std::string(scanner.SubjectLine.View()) + "\n\n" + scanner.Details;
    report += "\n\n    " + std::to_string(score.TotalPoints) + text(TEXT_POINTS);
    report += "    " + (tooFew ? text(TEXT_ONLY) : "") + std::to_string(score.Significant) + text(TEXT_INDICATIONS);
    if (tooFew)
        report += text(TEXT_TOO_FEW) + std::string(State.Get("SpamMinWords").View()) + text(TEXT_TOO_FEW_END);
    report += "\n    " + std::to_string(score.Exceptions) + text(TEXT_EXCEPTIONS);
    if (score.Exceptions != 0)
        report += text(TEXT_HAS_EXCEPTIONS);
    return report + "\n\n" + text(TEXT_RESULT) + std::to_string(score.Result) + "\n\n\n";
}
