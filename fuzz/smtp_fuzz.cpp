#include "app/filter/smtpverify.h"
#include "corelib/net/email.h"
#include "corelib/net/tcpio.h"
#include "fuzz/fuzz.h"
#include "fuzz/saidserver.h"
#include "tests/support/times.h"

namespace {

// Remembers what was written to it.
class SMTPSERVER : public SAIDSERVER {
 public:
    using SAIDSERVER::SAIDSERVER;
    int DevWrite(const char* buffer, int length) override {
        Written.append(buffer, static_cast<size_t>(length));
        return 1;
    }
    std::string Written;
};

}  // namespace

// Whatever a mail server says, both dialogues end; the verification never sends a mail, and the message goes out only
// after a reply that asks for it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    SHRINKABLE::TcpTimes.ReadFailedMs = 1;
    {
        SMTPSERVER server(data, size);
        int code = -1;
        bool greeted = false;
        const bool answered = VerifyDialogue(server, "c@x.example", code, greeted, {1, 1, 1, 1, 100});
        const bool asked = server.Written.find("\r\nRCPT TO: ") != std::string::npos;
        Never(answered != asked || server.Written.find("DATA") != std::string::npos || (code != 0 && !asked) ||
              (asked && !server.Written.ends_with("QUIT\r\n")) || (!greeted && !server.Written.empty()));
    }
    SMTPSERVER server(data, size);
    STRING last;
    const EMAIL mail("a@b", "c@d", "", "", "", EMAILTIMES{1, 1});
    const bool sent = mail.Converse(server, "the message", last);
    const bool written = server.Written.find("\r\nDATA\r\nthe message\r\n.\r\nQUIT\r\n") != std::string::npos;
    Never(sent != written || last.Length() > 255);
    return 0;
}
