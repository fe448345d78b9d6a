// A program of this machine that plays the server's side of conversations over TLS, for tests on every platform: those
// for Windows start it from within Wine. tests/servers/tlsserver.h speaks to it.
//
// tlspeer DIRECTORY: writes root.pem and root.der there, then "port"; takes one connection there, and ends with it. A
// line of that connection adds a word and a value to a script; "go" answers with a port that plays it for so many
// callers and the certificate's SHA-256; "over" answers, once that caller's conversation has ended, with what there
// was.

#include <arpa/inet.h>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <sstream>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "corelib/base/hexdigits.h"
#include "tests/servers/certificates.h"

namespace {

using SCRIPT = std::vector<std::pair<std::string, std::string>>;

struct OUTCOME {
    std::string Received;  // in clear or decrypted
    std::string Problem;
    std::string Records;  // after how many bytes each of them was out
};

int Listen(int* port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in here{};
    here.sin_family = AF_INET;
    here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof here;
    if (bind(listener, reinterpret_cast<sockaddr*>(&here), size) != 0 || listen(listener, 8) != 0)
        exit(1);
    getsockname(listener, reinterpret_cast<sockaddr*>(&here), &size);
    *port = ntohs(here.sin_port);
    return listener;
}

// One conversation, played in steps. False from a step ends it.
class CONVERSATION {
 public:
    CONVERSATION(int socket, const CERTIFICATES::IDENTITY& identity, SSL_CTX* context)
        : Socket(socket), Identity(identity), Context(context) {}
    ~CONVERSATION() {
        SSL_free(Ssl);
        close(Socket);
    }
    CONVERSATION(const CONVERSATION&) = delete;
    CONVERSATION& operator=(const CONVERSATION&) = delete;

    void Play(const SCRIPT& script, OUTCOME& outcome) {
        for (const auto& [word, value] : script)
            if (!Step(word, value))
                break;
        outcome = Out;
    }

 private:
    static constexpr size_t NOT_YET = std::string::npos;

    bool Step(const std::string& word, const std::string& value) {
        const int number = atoi(value.c_str());
        const std::string bytes = HEX::FromHex(value);
        const auto set = [](int& what, int to) {
            what = to;
            return true;
        };
        const int version = bytes == "1.2" ? TLS1_2_VERSION : TLS1_3_VERSION;
        const std::map<std::string, std::function<bool()>> words = {
            {"max", [&] { return set(HighestVersion, version); }},
            {"min", [&] { return set(LowestVersion, version); }},
            {"cutafter", [&] { return set(Left, number); }},
            {"flip", [&] { return set(Flipped, number); }},
            {"drip", [&] { return set(DripMicroseconds, number); }},
            {"tls", [&] { return StartTls(); }},
            {"raw", [&] { return PutRaw(bytes); }},
            {"send", [&] { return Put(bytes); }},
            {"big", [&] { return PutBig(static_cast<size_t>(number)); }},
            {"expect", [&] { return Expect(bytes); }},
            {"head", [&] { return TakeTo([&] { return Pending.starts_with("\r\n") ? 2 : After("\r\n\r\n"); }); }},
            {"sink",
             [&] { return TakeTo([&] { return Pending.size() < size_t(number) ? NOT_YET : size_t(number); }); }},
            {"update", [&] { return SSL_key_update(Ssl, SSL_KEY_UPDATE_REQUESTED) == 1 && Shake(); }},
            // The client's answer is noticed with the next that is read.
            {"renegotiate", [&] { return SSL_renegotiate(Ssl), SSL_do_handshake(Ssl), Flush(); }},
            {"notify", [&] { return !Ssl || (SSL_shutdown(Ssl), Flush()); }},
            {"silence", [&] { return !TakeTo([] { return NOT_YET; }); }},
        };
        return words.at(word)();
    }

    bool StartTls() {
        // What came ahead of the handshake is its beginning.
        Ssl = SSL_new(Context);
        SSL_use_certificate(Ssl, Identity.Own.get());
        SSL_use_PrivateKey(Ssl, Identity.Key.get());
        for (const auto& certificate : Identity.Chain)
            SSL_add1_chain_cert(Ssl, certificate.get());
        SSL_set_min_proto_version(Ssl, LowestVersion);
        SSL_set_max_proto_version(Ssl, HighestVersion);
        In = BIO_new(BIO_s_mem());
        Outgoing = BIO_new(BIO_s_mem());
        SSL_set_bio(Ssl, In, Outgoing);
        SSL_set_accept_state(Ssl);
        BIO_write(In, Pending.data(), static_cast<int>(Pending.size()));
        Pending.clear();
        return Shake();
    }

    bool Shake() {
        for (;;) {
            const int rc = SSL_do_handshake(Ssl);
            if (!Flush())
                return false;
            if (rc == 1)
                return true;
            if (SSL_get_error(Ssl, rc) != SSL_ERROR_WANT_READ)
                return Fail("the handshake failed: ");
            if (!Receive())
                return Fail("the client hung up in the handshake");
        }
    }

    bool Fail(const std::string& what) {
        const char* reason = ERR_reason_error_string(ERR_peek_error());
        Out.Problem = what + (reason ? reason : "");
        ERR_clear_error();
        return false;
    }

    bool Receive() {
        char bytes[16384];
        const ssize_t count = recv(Socket, bytes, sizeof bytes, 0);
        if (count > 0 && In)
            BIO_write(In, bytes, static_cast<int>(count));
        else if (count > 0)
            Keep({bytes, static_cast<size_t>(count)});
        return count > 0;
    }
    void Keep(const std::string& bytes) {
        Pending += bytes;
        Out.Received += bytes;
    }
    bool More() {
        if (!Ssl)
            return Receive();
        for (;;) {
            char bytes[16384];
            const int count = SSL_read(Ssl, bytes, sizeof bytes);
            if (!Flush())
                return false;
            if (count > 0) {
                Keep({bytes, static_cast<size_t>(count)});
                return true;
            }
            const int error = SSL_get_error(Ssl, count);
            if (error == SSL_ERROR_ZERO_RETURN)
                return false;
            if (error != SSL_ERROR_WANT_READ)
                return Fail("reading: ");
            if (!Receive())
                return Fail("the client hung up without notice");
        }
    }
    // Where what comes next ends, with its mark.
    size_t After(const std::string& mark) const {
        const size_t at = Pending.find(mark);
        return at == NOT_YET ? at : at + mark.size();
    }
    template <class END>
    bool TakeTo(END end) {
        while (end() == NOT_YET)
            if (!More())
                return false;
        Taken = Pending.substr(0, end());
        Pending.erase(0, Taken.size());
        return true;
    }
    bool Expect(const std::string& start) {
        return TakeTo([this] { return After("\n"); }) &&
               (Taken.starts_with(start) || Fail("expected " + start + ", the client sent " + Taken));
    }

    bool PutBig(size_t size) {
        std::string text;
        while (text.size() < size)
            text += std::to_string(text.size()) + "\n";
        return Put(text.substr(0, size));
    }
    bool Put(const std::string& text) {
        if (!Ssl)
            return PutRaw(text);
        return SSL_write(Ssl, text.data(), static_cast<int>(text.size())) > 0 && Flush();
    }
    // Record by record.
    bool Flush() {
        char* bytes = nullptr;
        const auto count = static_cast<size_t>(BIO_get_mem_data(Outgoing, &bytes));
        const std::string all(bytes, count);
        BIO_reset(Outgoing);
        for (size_t at = 0; at + 5 <= all.size();) {
            const size_t length =
                5 + static_cast<unsigned char>(all[at + 3]) * 256 + static_cast<unsigned char>(all[at + 4]);
            if (!PutRaw(all.substr(at, length)))
                return false;
            at += length;
            Out.Records += std::to_string(Sent) + " ";
        }
        return true;
    }
    bool PutRaw(std::string bytes) {
        const bool cut = Left >= 0 && Left <= static_cast<int>(bytes.size());
        if (cut)
            bytes.resize(static_cast<size_t>(Left));
        if (Flipped >= static_cast<int>(Sent) && Flipped < static_cast<int>(Sent + bytes.size()))
            bytes[static_cast<size_t>(Flipped) - Sent] ^= 0x11;
        Left -= Left >= 0 ? static_cast<int>(bytes.size()) : 0;
        Sent += bytes.size();
        while (!bytes.empty()) {
            const ssize_t count = send(Socket, bytes.data(), DripMicroseconds > 0 ? 1 : bytes.size(), MSG_NOSIGNAL);
            if (count <= 0)
                return false;
            bytes.erase(0, static_cast<size_t>(count));
            if (DripMicroseconds > 0)
                usleep(static_cast<useconds_t>(DripMicroseconds));
        }
        return !cut;
    }

    const int Socket;
    const CERTIFICATES::IDENTITY& Identity;
    SSL_CTX* const Context;
    SSL* Ssl = nullptr;
    BIO* In = nullptr;
    BIO* Outgoing = nullptr;
    int LowestVersion = TLS1_2_VERSION, HighestVersion = TLS1_3_VERSION;
    int Left = -1;
    int Flipped = -1;
    size_t Sent = 0;
    int DripMicroseconds = 0;
    std::string Pending, Taken;
    OUTCOME Out;
};

// All conversations share what makes resumption possible.
SSL_CTX* NewContext() {
    SSL_CTX* context = SSL_CTX_new(TLS_server_method());
    SSL_CTX_set_security_level(context, 0);
    SSL_CTX_set_session_id_context(context, reinterpret_cast<const unsigned char*>("t"), 1);
    SSL_CTX_set_options(context, SSL_OP_ALLOW_CLIENT_RENEGOTIATION);
    return context;
}

void Serve(int control, const CERTIFICATES& certificates) {
    SSL_CTX* context = NewContext();
    std::string all, identity;
    SCRIPT script;
    OUTCOME outcome;
    std::thread player;
    for (char bytes[65536];;) {
        const ssize_t count = recv(control, bytes, sizeof bytes, 0);
        if (count <= 0)
            // What still plays ends with the program.
            _exit(0);
        all.append(bytes, static_cast<size_t>(count));
        for (size_t end; (end = all.find('\n')) != std::string::npos; all.erase(0, end + 1)) {
            const std::string line = all.substr(0, end), word = line.substr(0, line.find(' '));
            const std::string value = line.substr(std::min(word.size() + 1, line.size()));
            std::string answer;
            if (word == "cert") {
                identity = value;
            } else if (word == "go") {
                if (player.joinable())
                    player.detach();
                int port = 0;
                const int listener = Listen(&port);
                const auto& shown = certificates.Get(identity);
                answer = std::to_string(port) + " " + CERTIFICATES::Sha256(shown.Own) + "\n";
                player = std::thread([listener, &shown, context, script, calls = atoi(value.c_str()), &outcome] {
                    for (int i = 0; i < calls; ++i) {
                        const int socket = accept(listener, nullptr, nullptr), flag = 1;
                        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &flag, sizeof flag);
                        CONVERSATION(socket, shown, context).Play(script, outcome);
                    }
                    close(listener);
                });
                script.clear();
            } else if (word == "over") {
                if (player.joinable())
                    player.join();
                answer =
                    HEX::ToHex(outcome.Received) + "," + HEX::ToHex(outcome.Problem) + "," + outcome.Records + "\n";
            } else {
                script.emplace_back(word, value);
            }
            if (!answer.empty() && send(control, answer.data(), answer.size(), MSG_NOSIGNAL) < 0)
                _exit(1);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    const std::string directory = argc > 1 ? argv[1] : ".";
    // Who has started it and never calls is gone.
    alarm(120);
    const CERTIFICATES certificates;
    int port = 0;
    const int listener = Listen(&port);
    std::ofstream(directory + "/root.pem") << CERTIFICATES::Pem(certificates.Root());
    std::ofstream(directory + "/root.der", std::ios::binary) << CERTIFICATES::Der(certificates.Root());
    std::ofstream(directory + "/port.new") << port << "\n";
    std::filesystem::rename(directory + "/port.new", directory + "/port");
    const int control = accept(listener, nullptr, nullptr);
    close(listener);
    alarm(0);
    Serve(control, certificates);
}
