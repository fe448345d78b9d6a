#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include "corelib/net/mxlookup.h"
#include "corelib/net/sockets.h"
#include "tests/support/stopsoon.h"
#include "tests/support/testsupport.h"
#include "tests/support/times.h"

namespace {

using namespace std::string_literals;

// A record of the name that was asked for.
std::string Mx(int preference, const std::string& host) {
    const std::string data = std::string{0, static_cast<char>(preference)} + host;
    return "\xc0\x0c\x00\x0f\x00\x01\x00\x00\x00\x00\x00"s + static_cast<char>(data.size()) + data;
}
const std::string HOST = "\x02mx\xc0\x0c"s;

// What a name server makes of a query: its header's flags, and records after the question.
struct REPLY {
    unsigned char Flags[2] = {0x81, 0x80};
    std::vector<std::string> Records;
    bool OtherId = false;
    bool OtherQuestion = false;

    std::string To(std::string query) const {
        query[2] = static_cast<char>(Flags[0]);
        query[3] = static_cast<char>(Flags[1]);
        query[7] = static_cast<char>(Records.size());
        query[0] = static_cast<char>(query[0] ^ (OtherId ? 1 : 0));
        query[13] = static_cast<char>(query[13] ^ (OtherQuestion ? 1 : 0));
        for (const std::string& record : Records)
            query += record;
        return query;
    }
};

// A name server on one port of both kinds. It sends all its packets for each query; what it says over a connection is
// one text, and nothing more comes.
class ODDNAMESERVER {
 public:
    ODDNAMESERVER(std::vector<REPLY> packets, std::vector<REPLY> whole)
        : Packets(std::move(packets)), Whole(std::move(whole)) {
        sockaddr_in here{};
        do {
            Stream = std::make_unique<HELDSOCKET>(SOCKETS::Open());
            EXPECT_EQ(SOCKETS::Listen(Stream->Number, SOCKETS::LOOPBACK, 0, 5, &Port), SOCKETS::LISTENERROR::None);
            here.sin_family = AF_INET;
            here.sin_port = htons(Port);
            here.sin_addr.s_addr = htonl(SOCKETS::LOOPBACK);
            Datagram = std::make_unique<HELDSOCKET>(socket(AF_INET, SOCK_DGRAM, 0));
        } while (bind(Number(*Datagram), reinterpret_cast<sockaddr*>(&here), sizeof here) != 0);
        Thread = std::thread([this] { Serve(); });
    }
    ~ODDNAMESERVER() {
        Ending = true;
        Thread.join();
    }
    uint16_t Port = 0;
    std::atomic<int> Asked = 0;

 private:
    static int Number(const HELDSOCKET& socket) { return static_cast<int>(socket.Number); }
    void Serve() {
        std::vector<std::unique_ptr<HELDSOCKET>> calls;
        while (!Ending) {
            pollfd looks[] = {{Number(*Datagram), POLLIN, 0}, {Number(*Stream), POLLIN, 0}};
            poll(looks, 2, 5);
            char query[512];
            if (looks[0].revents != 0) {
                sockaddr_in from{};
                socklen_t size = sizeof from;
                const ssize_t length =
                    recvfrom(looks[0].fd, query, sizeof query, 0, reinterpret_cast<sockaddr*>(&from), &size);
                ++Asked;
                for (const REPLY& reply : Packets) {
                    const std::string packet = reply.To({query, static_cast<size_t>(length)});
                    sendto(looks[0].fd, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&from), size);
                }
            }
            if (looks[1].revents == 0)
                continue;
            calls.push_back(std::make_unique<HELDSOCKET>(SOCKETS::Accept(Stream->Number, nullptr)));
            const int length = Whole.empty() ? 0 : SOCKETS::Recv(calls.back()->Number, query, sizeof query);
            for (const REPLY& reply : Whole) {
                const std::string message = reply.To({query + 2, static_cast<size_t>(length - 2)});
                std::string text{static_cast<char>(message.size() >> 8), static_cast<char>(message.size())};
                text += message;
                SOCKETS::Send(calls.back()->Number, text.data(), static_cast<int>(text.size()));
            }
        }
    }

    const std::vector<REPLY> Packets, Whole;
    std::unique_ptr<HELDSOCKET> Stream, Datagram;
    std::atomic<bool> Ending = false;
    std::thread Thread;
};

class DnsExchange : public testing::Test {
 protected:
    DnsExchange() {
        SHRINKABLE::DnsTimes = {300, 50};
        STRING unused;
        Lookup.GetAddr(nullptr, unused, unused);
    }
    ~DnsExchange() override { SHRINKABLE::DnsTimes = {}; }
    std::string Ask(uint16_t port) {
        EXPECT_TRUE(Lookup.Client().UseServer("127.0.0.1", port));
        STRING best, list;
        const bool found = Lookup.GetAddr("a.example", best, list);
        EXPECT_TRUE(found || best.Length() == 0);
        return std::string(found ? "yes " : "no ") + Std(best) + (Lookup.IsSilent() ? "silent" : "");
    }
    SYSTEMMXLOOKUP Lookup;
};

TEST_F(DnsExchange, EndsHoweverTheServerAnswers) {
    const REPLY good{{0x81, 0x80}, {Mx(5, HOST)}}, none{{0x81, 0x80}, {}}, cut{{0x83, 0x80}, {}},
        refusal{{0x81, 0x85}, {}}, unknown{{0x81, 0x83}, {}};
    REPLY otherId = good, otherQuestion = good, query = good, cutWithRecords = good;
    otherId.OtherId = otherQuestion.OtherQuestion = true;
    query.Flags[0] = 0x01;
    cutWithRecords.Flags[0] = 0x83;
    const std::tuple<std::vector<REPLY>, std::vector<REPLY>, const char*, bool> CASES[] = {
        {{good}, {}, "yes mx.a.example", false},
        {{none}, {}, "no ", false},
        {{unknown}, {}, "no ", false},
        {{refusal}, {}, "no ", false},
        {{}, {}, "no silent", true},
        {{otherId, otherQuestion, query}, {}, "no silent", true},
        {{otherId, otherQuestion, query, good}, {}, "yes mx.a.example", false},
        {{cut}, {}, "no silent", true},
        {{cutWithRecords}, {}, "yes mx.a.example", true},
        {{cut}, {good}, "yes mx.a.example", false},
        {{cut}, {otherId}, "no silent", false},
        {{cut}, {none}, "no ", false},
        // A domain that takes no mail says so.
        {{{{0x81, 0x80}, {Mx(0, "\0"s)}}}, {}, "no ", false},
        {{{{0x81, 0x80}, {Mx(0, "\0"s), Mx(7, HOST)}}}, {}, "yes mx.a.example", false},
    };
    int number = 0;
    for (const auto& [datagrams, stream, result, waits] : CASES) {
        SCOPED_TRACE("case " + std::to_string(number++));
        const ODDNAMESERVER server(datagrams, stream);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Ask(server.Port), result);
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_LT(took, std::chrono::seconds(2));
        EXPECT_EQ(took >= std::chrono::milliseconds(290), waits);
        EXPECT_GT(server.Asked, datagrams.empty() ? 1 : 0) << "a silent one is asked again";
    }
    const uint16_t nobody = ODDNAMESERVER({}, {}).Port;
    EXPECT_EQ(Ask(nobody), "no silent");
}

TEST_F(DnsExchange, EndsWhenItIsToldTo) {
    SHRINKABLE::DnsTimes.AnswerMs = 60000;
    const REPLY cut{{0x83, 0x80}, {}};
    for (const std::vector<REPLY>& packets : {std::vector<REPLY>{}, std::vector<REPLY>{cut}}) {
        const ODDNAMESERVER server(packets, {});
        const STOPSOON stop;
        Lookup.SetStopQuestion(stop.Question());
        EXPECT_EQ(Ask(server.Port), "no silent");
        EXPECT_STOPPED(stop);
    }
}

}  // namespace
