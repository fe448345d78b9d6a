#pragma once

#include <arpa/inet.h>
#include <memory>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

/// A connection to a port of the loopback address, read and written by the plainest means; over TLS, with the check of
/// the certificate that the library makes by itself, where "tls:" stands in front of the port.
class CONNECTION {
 public:
    explicit CONNECTION(std::string_view port) : Socket(socket(AF_INET, SOCK_STREAM, 0)) {
        const bool secure = port.starts_with(SECURE);
        port.remove_prefix(secure ? SECURE.size() : 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(atoi(std::string(port).c_str())));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        Up = connect(Socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        if (!secure)
            return;
        Context.reset(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
        SSL_CTX_set_default_verify_paths(Context.get());
        SSL_CTX_set_verify(Context.get(), SSL_VERIFY_PEER, nullptr);
        Ssl.reset(SSL_new(Context.get()), SSL_free);
        SSL_set_fd(Ssl.get(), Socket);
        Up = Up && SSL_connect(Ssl.get()) == 1;
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
            const ssize_t n = !Up   ? 0
                              : Ssl ? SSL_read(Ssl.get(), Buffer, sizeof Buffer)
                                    : recv(Socket, Buffer, sizeof Buffer, 0);
            if (n <= 0)
                return false;
            At = 0;
            Fill = static_cast<size_t>(n);
        }
    }
    bool Send(std::string_view bytes) {
        if (Ssl)
            return Up && SSL_write(Ssl.get(), bytes.data(), static_cast<int>(bytes.size())) > 0;
        return send(Socket, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size());
    }

 private:
    static constexpr std::string_view SECURE = "tls:";
    int Socket;
    bool Up;
    std::shared_ptr<SSL_CTX> Context;
    std::shared_ptr<SSL> Ssl;
    char Buffer[8192];
    size_t At = 0;
    size_t Fill = 0;
};
