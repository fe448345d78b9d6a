#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

/// A connection to a port of the loopback address, read and written by the plainest means.
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

    /// The next line without its line break; false at the end of the stream.
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
    bool Send(std::string_view bytes) {
        return send(Socket, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size());
    }

 private:
    int Socket;
    bool Up;
    char Buffer[8192];
    size_t At = 0;
    size_t Fill = 0;
};
