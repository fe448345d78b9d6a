#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Makes unreadable what nobody but the user should read: texts that are known to be private, and all that looks like
/// an address, a login in a web address, the name or number of a machine, or a code. What has been taken out stands as
/// "<address 1>"; the same text always has the same number, so that whoever reads it can still follow. One thread.
class REDACTION {
 public:
    /// What a text is. Where two overlap, the first of these gives the name.
    enum KIND : int { PASSWORD, LOGIN, ADDRESS, ACCOUNT, USER, DIRECTORY, NAME, SERVER, CODE };

    /// From now on this text is taken out wherever it stands, in any case, also percent-encoded, with escapes, in code
    /// page 1252 or as part of Base64. Texts of less than five bytes only as words. Blanks around it do not count.
    /// Of a USER that is an address, what stands in front of the "@" is taken out alone, too.
    void Hide(std::string_view text, KIND kind);
    /// The same for a server, "host" or "host:port": that of a large provider, or of this machine, stays readable.
    void HideServer(std::string_view server);

    /// One line as it may be shown. codes: long runs of letters and digits are taken out, too.
    std::string Clean(std::string_view line, bool codes = true);

 private:
    struct SPAN {
        size_t Begin, End;
        KIND Kind;
        std::string Identity;  // that of its number; empty: it needs none
    };
    struct SECRET {
        std::string Text;  // in lower case
        KIND Kind;
        std::string Identity;
    };

    void Add(std::string_view form, const SECRET& secret);
    void FindSecrets(std::string_view line, std::vector<SPAN>& spans) const;
    std::string Shown(const SPAN& span);

    std::vector<SECRET> Secrets;
    std::unordered_map<std::string, std::vector<size_t>> ByStart;  // the longer ones, by their first bytes
    std::vector<size_t> Short;
    std::map<std::string, int> Numbers[CODE + 1];
};
