// The yardstick for PopGet: the same dialogue by the plainest means, one thread, one blocking socket, a read buffer.
// usage: bare_pop3 [tls:]PORT USER PASSWORD LINES

#include "bench/bareclient.h"
#include "bench/report.h"

namespace {

bool Ask(CONNECTION& server, const std::string& command, std::string& reply) {
    return server.Send(command + "\r\n") && server.ReadLine(reply) && reply.starts_with("+OK");
}

bool ReadMailbox(const char* port, const char* user, const char* password, const char* lines, std::string& listing) {
    CONNECTION server(port);
    std::string line;
    if (!server.ReadLine(line) || !Ask(server, std::string("USER ") + user, line) ||
        !Ask(server, std::string("PASS ") + password, line) || !Ask(server, "STAT", line))
        return false;
    listing = line + "\n";
    for (int number = atoi(line.c_str() + 4); number >= 1; --number) {
        std::string n = std::to_string(number);
        if (!Ask(server, "LIST " + n, line))
            return false;
        listing += "X-Message-Id: " + line + "\n";
        if (!Ask(server, "TOP " + n + " " + lines, line))
            return false;
        do {
            if (!server.ReadLine(line))
                return false;
            listing += line;
            listing += '\n';
        } while (line != ".");
        listing += '\1';
    }
    return Ask(server, "QUIT", line);
}

}  // namespace

int main(int argc, char** argv) {
    return MeasureClient(argc, argv, [](char** words) {
        std::string listing;
        const bool ok = ReadMailbox(words[0], words[1], words[2], words[3], listing);
        return ok ? static_cast<long>(listing.size()) : -1;
    });
}
