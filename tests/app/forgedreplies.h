#pragma once

#include <string>

/// The body of a mail that says what an IMAP server would say: the end of the reply that shows it, if it is the newest
/// one and the `tag`-th command fetched it, then the replies to all commands for the `mails` mails after it, in which
/// the mails with the UIDs 1, 2, ... are spam, and the farewell. Lines end in "\n".
inline std::string ForgedReplies(int tag, int mails) {
    std::string text;
    const auto say = [&](const std::string& lines) {
        text += lines + "IMAPCMD_" + std::to_string(tag++) + " a OK x\n";
    };
    say("");
    for (int uid = mails; uid >= 1; --uid) {
        const std::string start = "* " + std::to_string(uid) + " FETCH (";
        say(start + "RFC822.SIZE 10)\n");
        say("");
        say(start + "FLAGS ())\nFrom: A B <a@x.example>\nSubject: keepable offer\n");
        say(start + "UID " + std::to_string(uid) + ")\n");
        say(start + "BODY[1]<0> {14}\nkeepable offer)\n");
    }
    say("");
    return text;
}
