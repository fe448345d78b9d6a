// Mailbox files: however the pieces fall in which a file comes, the mails are the same, each is bounded, and no byte of
// one mail changes the others.

#include "app/console/scoremails.h"
#include "app/mailbox/pop3.h"
#include "fuzz/fuzz.h"

namespace {

constexpr size_t MAIL_MAX = (4 << 20) + POP_LINE;
constexpr std::string_view MARK = "X-Mark: before and behind\n\nbody\n";

std::vector<std::string> Read(std::string_view file, size_t piece) {
    std::vector<std::string> mails;
    MBOXREADER reader([&](const std::string& mail) { mails.push_back(mail); });
    for (; !file.empty(); file.remove_prefix(std::min(piece, file.size())))
        reader.Put(file.substr(0, piece));
    reader.End();
    return mails;
}

}  // namespace

FUZZ_TARGET(bytes) {
    if (bytes.empty())
        return;
    const std::string file(bytes.substr(1));
    const std::vector<std::string> mails = Read(file, file.size());
    Never(Read(file, size_t{static_cast<unsigned char>(bytes[0])} + 1) != mails);
    for (const std::string& mail : mails)
        Never(mail.size() > MAIL_MAX || mail.find('\r') != mail.npos || mail.find('\0') != mail.npos);
    // Between two mails, the file adds its own and takes nothing.
    const std::string envelope = "From x@y Thu Jan  1 00:00:00 1970\n", mark(MARK);
    const std::vector<std::string> all =
        Read(envelope + mark + "\n" + envelope + file + "\n\n" + envelope + mark, POP_LINE);
    Never(all.size() < 3 || all.front() != mark || all.back() != mark);
}
