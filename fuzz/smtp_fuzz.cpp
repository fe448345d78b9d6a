#include "app/filter/smtpverify.h"
#include "corelib/net/email.h"
#include "fuzz/saidserver.h"

// Whatever a mail server says, both dialogues end; the verification never sends a mail, and the message goes out only
// after a reply that asks for it.
FUZZ_TARGET(said) {
    {
        SAIDSERVER server(said);
        int code = -1;
        bool greeted = false;
        const bool answered = VerifyDialogue(server, "c@x.example", code, greeted, {1, 1, 1, 1, 100});
        const bool asked = server.Heard.find("\r\nRCPT TO: ") != std::string::npos;
        Never(answered != asked || server.Heard.find("DATA") != std::string::npos || (code != 0 && !asked) ||
              (asked && !server.Heard.ends_with("QUIT\r\n")) || (!greeted && !server.Heard.empty()));
    }
    SAIDSERVER server(said);
    STRING last;
    const EMAIL mail("a@b", "c@d", "", "", "", EMAILTIMES{1, 1});
    const bool sent = mail.Converse(server, "the message", last);
    const bool written = server.Heard.find("\r\nDATA\r\nthe message\r\n.\r\nQUIT\r\n") != std::string::npos;
    Never(sent != written || last.Length() > 255);
}
