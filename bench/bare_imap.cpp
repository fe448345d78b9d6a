// The yardstick for ImapGet: the same dialogue by the plainest means, one thread, one blocking socket, a read buffer.
// usage: bare_imap PORT USER PASSWORD BYTES

#include "bench/bareclient.h"
#include "bench/report.h"

namespace {

// Sends a command and adds its reply to `text`; true if the server agrees.
bool Ask(CONNECTION& server, const std::string& command, std::string& text) {
    static int number = 0;
    const std::string tag = "A" + std::to_string(number++) + " ";
    std::string line;
    if (!server.Send(tag + command + "\r\n"))
        return false;
    do {
        if (!server.ReadLine(line))
            return false;
        text += line;
        text += '\n';
    } while (!line.starts_with(tag));
    return line.compare(tag.size(), 3, "OK ") == 0;
}

bool ReadMailbox(const char* port, const char* user, const char* password, const std::string& bytes,
                 std::string& listing) {
    CONNECTION server(port);
    std::string ids;
    if (!server.ReadLine(ids) || !Ask(server, std::string("LOGIN ") + user + " " + password, listing) ||
        !Ask(server, "SELECT INBOX", listing))
        return false;
    ids.clear();
    if (!Ask(server, "SEARCH ALL", ids))
        return false;
    ids.resize(ids.find('\n'));
    for (size_t blank; (blank = ids.rfind(' ')) > 1; ids.resize(blank)) {
        const std::string fetch = "FETCH " + ids.substr(blank + 1);
        if (!Ask(server, fetch + " (RFC822.SIZE)", listing) || !Ask(server, fetch + " (BODY.PEEK[HEADER])", listing) ||
            !Ask(server, fetch + " (BODY.PEEK[HEADER.FIELDS (DATE TO FROM SUBJECT MESSAGE-ID)] FLAGS)", listing) ||
            !Ask(server, fetch + " (UID)", listing) ||
            (bytes != "0" && !Ask(server, fetch + " (BODY.PEEK[1]<0." + bytes + ">)", listing)))
            return false;
    }
    return Ask(server, "LOGOUT", listing);
}

}  // namespace

int main(int argc, char** argv) {
    return MeasureClient(argc, argv, [](char** words) {
        std::string listing;
        const bool ok = ReadMailbox(words[0], words[1], words[2], words[3], listing);
        return ok ? static_cast<long>(listing.size()) : -1;
    });
}
