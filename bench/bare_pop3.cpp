// The yardstick for PopGet: the same dialogue by the plainest means, one thread, one blocking socket, a read buffer.
// usage: bare_pop3 PORT USER PASSWORD LINES

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

#include "bench/report.h"

namespace {

class CONNECTION {
 public:
    explicit CONNECTION(int port) : Socket(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        Up = connect(Socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~CONNECTION() { close(Socket); }
    CONNECTION(const CONNECTION&) = delete;
    CONNECTION& operator=(const CONNECTION&) = delete;

    // The next line without its line break; false at the end of the stream.
    bool ReadLine(std::string& line) {
        line.clear();
        for (;;) {
            std::string_view rest(Buffer + At, Fill - At);
            size_t end = rest.find('\n');
            line.append(rest.substr(0, end));
            if (end != rest.npos) {
                At += end + 1;
                if (!line.empty() && line.back() == '\r')
                    line.pop_back();
                return true;
            }
            ssize_t n = Up ? recv(Socket, Buffer, sizeof Buffer, 0) : 0;
            if (n <= 0)
                return false;
            At = 0;
            Fill = static_cast<size_t>(n);
        }
    }
    bool Ask(std::string command, std::string& reply) {
        command += "\r\n";
        return send(Socket, command.data(), command.size(), 0) == static_cast<ssize_t>(command.size()) &&
               ReadLine(reply) && reply.compare(0, 3, "+OK") == 0;
    }

 private:
    int Socket;
    bool Up;
    char Buffer[8192];
    size_t At = 0;
    size_t Fill = 0;
};

bool ReadMailbox(int port, const char* user, const char* password, const char* lines, std::string& listing) {
    CONNECTION server(port);
    std::string line;
    if (!server.ReadLine(line) || !server.Ask(std::string("USER ") + user, line) ||
        !server.Ask(std::string("PASS ") + password, line) || !server.Ask("STAT", line))
        return false;
    listing = line + "\n";
    for (int number = atoi(line.c_str() + 4); number >= 1; --number) {
        std::string n = std::to_string(number);
        if (!server.Ask("LIST " + n, line))
            return false;
        listing += "X-Message-Id: " + line + "\n";
        if (!server.Ask("TOP " + n + " " + lines, line))
            return false;
        do {
            if (!server.ReadLine(line))
                return false;
            listing += line;
            listing += '\n';
        } while (line != ".");
        listing += '\1';
    }
    return server.Ask("QUIT", line);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        fprintf(stderr, "usage: bare_pop3 PORT USER PASSWORD LINES\n");
        return 2;
    }
    COST cost;
    std::string listing;
    bool ok = ReadMailbox(atoi(argv[1]), argv[2], argv[3], argv[4], listing);
    cost.Print(listing.size());
    return ok ? 0 : 1;
}
