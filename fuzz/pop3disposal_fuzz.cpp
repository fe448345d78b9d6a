#include "app/mailbox/pop3.h"
#include "bench/unwatched.h"
#include "corelib/base/ascii.h"
#include "fuzz/saidserver.h"

namespace {

constexpr const char* IDS = "3|300\n1|120\n12|5000000000\n";

// The reply to a command that asks for a mail, in the words in which a server may say it.
bool Agrees(std::string_view reply, const std::string& number, const std::string& size) {
    std::vector<std::string> words(1);
    for (const char ch : reply) {
        if (ch == ' ' || ch == '\t')
            words.emplace_back();
        else if (ch != '\r')
            words.back() += ch;
        if (words.back().empty() && words.size() > 1 && words[words.size() - 2].empty())
            words.pop_back();
    }
    const auto value = [&](size_t i) {
        const size_t digits = i < words.size() ? words[i].find_first_not_of('0') : std::string::npos;
        return digits == std::string::npos ? std::string() : words[i].substr(digits);
    };
    return value(1) == number && value(2) == size;
}

}  // namespace

// Whatever a server says, a mail is deleted only if it was asked for, and if the line before says that it has its size.
FUZZ_TARGET(said) {
    SHRINKABLE::PopTimes.GreetingMs = SHRINKABLE::PopTimes.ReplyMs = 4;
    UNWATCHED row;
    SAIDSERVER server(said);
    STRING error;
    const bool ok = PopErase(server, row.Call("", "", ""), IDS, error);

    const auto linesOf = [](std::string_view rest) {
        std::vector<std::string> lines;
        while (!rest.empty())
            lines.emplace_back(ASCII::Take(rest, '\n'));
        return lines;
    };
    const std::vector<std::string> lines = linesOf(said), commands = linesOf(server.Heard);
    Never(ok && !server.Heard.ends_with("QUIT\r\n"));
    for (size_t i = 0; i < commands.size(); ++i) {
        if (!commands[i].starts_with("DELE "))
            continue;
        const std::string number = commands[i].substr(5, commands[i].size() - 6);
        const std::string wanted = "\n" + number + "|";
        const std::string ids = std::string("\n") + IDS;
        const size_t at = ids.find(wanted);
        Never(at == ids.npos || commands[i - 1] != "LIST " + number + "\r");
        const size_t start = at + wanted.size();
        // The greeting comes first: the reply to a command is the line after as many.
        Never(!Agrees(lines.at(i), number, ids.substr(start, ids.find('\n', start) - start)));
    }
}
