#include <set>

#include "app/mailbox/imap.h"
#include "bench/unwatched.h"
#include "corelib/base/ascii.h"
#include "fuzz/saidserver.h"

namespace {

// Holds what the client says against what it was told.
class WATCHINGSERVER : public SAIDSERVER {
 public:
    WATCHINGSERVER(std::string_view words, const STRING& ids) : SAIDSERVER(words) {
        WORDCURSOR lines(ids, "\n");
        for (std::string_view id; lines.Next(id);)
            Asked.insert(std::string(id.substr(std::min(id.find_first_not_of('0'), id.size()))));
    }
    int DevWrite(const char* buffer, int length) override {
        std::string_view line(buffer, static_cast<size_t>(length));
        Never(line.find_first_of(std::string_view("\r\n\0", 3)) != line.size() - 2 || !line.ends_with("\r\n"));
        line.remove_suffix(2);
        TakeWord(line);
        std::string word = TakeWord(line);
        if (word == "UID") {
            word += " " + TakeWord(line);
            const std::string ids = TakeWord(line);
            for (size_t at = 0; at <= ids.size();) {
                const size_t end = std::min(ids.find(',', at), ids.size());
                Check(word, ids.substr(at, end - at));
                at = end + 1;
            }
            Never((word == "UID FETCH" && line != "(UID)") || (word == "UID STORE" && line != "+FLAGS (\\Deleted)"));
        }
        for (const char* known : {"LOGIN", "CAPABILITY", "SELECT", "UID FETCH", "UID COPY", "UID STORE", "UID EXPUNGE",
                                  "EXPUNGE", "LOGOUT"})
            if (word == known)
                return 1;
        abort();
    }

 private:
    static std::string TakeWord(std::string_view& rest) { return std::string(ASCII::Take(rest, ' ')); }
    // Each step is one for an id that was asked for, and that has taken the step before.
    void Check(const std::string& word, const std::string& id) {
        Never(!Asked.contains(id) || !ASCII::IsNumber(id));
        if (word == "UID FETCH")
            Last = id;
        else if (word == "UID EXPUNGE" ? !Marked.contains(id) : id != Last)
            abort();
        if (word == "UID STORE")
            Marked.insert(id);
    }

    std::set<std::string> Asked, Marked;
    std::string Last;
};

}  // namespace

// Whatever an IMAP server says, and whatever ids and names there are, a disposal ends, each command is one line, and
// only mails that were asked for are copied, marked and expunged. The first lines are ids ("|" between them), folder,
// user and password; the server says the rest.
FUZZ_TARGET(bytes) {
    SHRINKABLE::ImapTimes.LineMs = 4;
    SHRINKABLE::ImapTimes.PauseMs = 0;
    std::string_view rest = bytes;
    STRING words[4];
    for (STRING& word : words) {
        word = STRING(rest.substr(0, rest.find('\n')));
        word.Replace("|", "\n");
        rest.remove_prefix(std::min(static_cast<size_t>(word.Length()) + 1, rest.size()));
    }
    UNWATCHED row;
    row.Item.Set("DoAltFolder", words[1].Length() % 2 ? "1" : "0");
    row.Item.Set("AltFolder", words[2]);
    row.Item.Set("UidValidity", words[1].Length() % 3 ? "" : "7");
    WATCHINGSERVER server(rest, words[0]);
    STRING error;
    (void)ImapDispose(server, row.Call("", words[2], words[3]), words[0], words[1].Length() ? &words[1] : nullptr,
                      error);
}
