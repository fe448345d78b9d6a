#include "tests/servers/tlsserver.h"

#include <sstream>

#include "corelib/net/sockets.h"
#include "tests/servers/tlspeerstart.h"

namespace {

// The program and the connection that tells it what to play.
class PEER {
 public:
    PEER() {
        Process.Start(Directory.Native());
        std::string port;
        EXPECT_TRUE(Eventually([&] {
            port = ReadBytes(Directory.File("port"));
            return !port.empty();
        })) << "the peer does not start";
        Process.TrustRoot(Directory);
        EXPECT_TRUE(SOCKETS::Connect(Control.Number, SOCKETS::LOOPBACK, static_cast<uint16_t>(atoi(port.c_str()))));
    }
    void Tell(const std::string& line) const {
        EXPECT_EQ(SOCKETS::Send(Control.Number, line.data(), static_cast<int>(line.size())),
                  static_cast<int>(line.size()));
    }
    std::string Answer() {
        size_t end;
        char bytes[65536];
        while ((end = Said.find('\n')) == std::string::npos) {
            const int count = SOCKETS::Recv(Control.Number, bytes, sizeof bytes);
            if (count <= 0) {
                ADD_FAILURE() << "the peer has gone";
                return "";
            }
            Said.append(bytes, static_cast<size_t>(count));
        }
        const std::string line = Said.substr(0, end);
        Said.erase(0, end + 1);
        return line;
    }

 private:
    TEMPDIR Directory;
    PEERPROCESS Process;
    const bool HasSockets = SOCKETS::Startup();
    HELDSOCKET Control{SOCKETS::Open()};
    std::string Said;
};

PEER& Peer() {
    static PEER peer;
    return peer;
}

}  // namespace

TLSSERVER::TLSSERVER(const std::string& certificate, const std::vector<TLSSTEP>& script, int calls) {
    std::string lines = "cert " + certificate + "\n";
    for (const auto& [word, value] : script)
        lines += word + " " + value + "\n";
    Peer().Tell(lines + "go " + std::to_string(calls) + "\n");
    const STRING answer = Peer().Answer().c_str();
    Port = answer.Word(0, " ", WORD_NEVERNULL);
    Digest = answer.Word(1, " ", WORD_NEVERNULL);
}

STRING TLSSERVER::HostPort(const char* host) const {
    return STRING(host) || ":" || Port;
}

TLSSERVER::OUTCOME TLSSERVER::Over() const {
    Peer().Tell("over\n");
    std::istringstream answer(Peer().Answer());
    std::string received, problem;
    std::getline(std::getline(answer, received, ','), problem, ',');
    OUTCOME outcome{HEX::FromHex(received), HEX::FromHex(problem), {}};
    for (int record; answer >> record;)
        outcome.Records.push_back(record);
    return outcome;
}
