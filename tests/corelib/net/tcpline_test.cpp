#include "corelib/net/tcpline.h"

#include "corelib/net/tcpio.h"
#include "tests/servers/scriptedserver.h"
#include "tests/support/testsupport.h"

using namespace PLAY;
using namespace std::string_literals;

namespace {

constexpr int LONG_MS = 20000;

// A device in a call with a server that plays the script.
class CALL {
 public:
    explicit CALL(const SCRIPT& script) : Server(script), Device("", "", "") {
        EXPECT_TRUE(Device.MakeCall(Server.HostPort().c_str()));
    }
    // The next line, or <none> if none comes.
    std::string Line(int size = 1024, int timeoutMs = LONG_MS) {
        std::string buffer(static_cast<size_t>(size), 'x');
        const bool ok = TCP::ReadLine(Device, buffer.data(), size, timeoutMs);
        if (!ok) {
            EXPECT_EQ(buffer, std::string(static_cast<size_t>(size), '\0'));
        }
        return ok ? buffer.c_str() : "<none>";
    }

    SCRIPTEDSERVER Server;
    TCPIPIO Device;
};

}  // namespace

TEST(TcpLine, TakesLineBreaksAndCarriageReturnsOff) {
    const std::string longLine(2000, 'a');
    CALL call(
        {Send("+OK\r\nx\r\r\na\rb\r\n\r\n\nzero\0byte\n"s), Send(longLine + "\r\n"), Drip("slow\r\n"), Send("no end")});
    for (const char* line : {"+OK", "x", "ab", "", "", "zero", "byte"})
        EXPECT_EQ(call.Line(), line);
    EXPECT_EQ(call.Line(), longLine.substr(0, 1023));
    EXPECT_EQ(call.Line(), longLine.substr(1023));
    EXPECT_EQ(call.Line(), "slow");
    EXPECT_EQ(call.Line(1024, 50), "no end");
    EXPECT_EQ(call.Line(1024, 50), "<none>");
    EXPECT_EQ(call.Line(1, 50), "<none>");
    EXPECT_EQ(call.Device.GetInfo("LastError"), "0");
}

TEST(TcpLine, TellsAWholeLineFromAPieceOfOne) {
    CALL call({Send("12345678\r\n.\r\n\r\n."s)});
    const auto read = [&call](int size) {
        char buffer[16];
        bool whole = false;
        TCP::ReadLine(call.Device, buffer, size, 50, &whole);
        return std::string(buffer) + (whole ? " whole" : "");
    };
    EXPECT_EQ(read(5), "1234");
    EXPECT_EQ(read(5), "5678");
    for (const char* line : {" whole", ". whole", " whole", ".", ""})
        EXPECT_EQ(read(5), line);
}

TEST(TcpLine, WriteCommandReadsAReplyOnlyIfItIsAskedTo) {
    CALL call({Expect("NOOP"), Expect("STAT"), Send("+OK 1\r\n"), Expect("QUIT"), Send("+OK bye\r\n")});
    char reply[64] = "untouched";
    EXPECT_TRUE(TCP::WriteCommand(call.Device, "NOOP", nullptr, 0, LONG_MS));
    EXPECT_TRUE(TCP::WriteCommand(call.Device, "STAT", reply, sizeof reply, 0));
    EXPECT_STREQ(reply, "untouched");
    EXPECT_EQ(call.Line(), "+OK 1");
    EXPECT_TRUE(TCP::WriteCommand(call.Device, "QUIT", reply, sizeof reply, LONG_MS));
    EXPECT_STREQ(reply, "+OK bye");
    EXPECT_FALSE(TCP::WriteCommand(call.Device, "more", reply, sizeof reply, 20));
    EXPECT_STREQ(reply, "");
    call.Device.DropCall();
    EXPECT_TRUE(call.Server.Wait());
    EXPECT_EQ(call.Server.Transcript(), "NOOP\r\nSTAT\r\nQUIT\r\nmore\r\n");
}
