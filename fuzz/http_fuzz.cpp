#include "corelib/net/tcpline.h"
#include "corelib/net/webget.h"
#include "fuzz/saidserver.h"

namespace {

int CancelWhenDue(void* left, int kind, int) {
    return kind == WEBGET::CANCEL && --*static_cast<int*>(left) == 0;
}

}  // namespace

// Whatever a web server says, reading ends; what was read is what it said, as far as it was wanted, and what it is
// turned into stays within its bound. The first byte chooses when the callback cancels.
FUZZ_TARGET(bytes) {
    constexpr size_t MOST = 32768;
    if (bytes.empty())
        return;
    SHRINKABLE::WebTimes.AnswerMs = 4;
    SHRINKABLE::WebTimes.ReadMs = 1;
    SHRINKABLE::WebTimes.DecodedBytes = MOST;
    const std::string_view words = bytes.substr(1, MOST);
    int asksLeft = static_cast<unsigned char>(bytes[0]);

    SAIDSERVER server(words, true);
    char line[64];
    TCP::ReadLine(server, line, sizeof line, SHRINKABLE::WebTimes.AnswerMs);
    STRING result = "";
    WEBGET(CancelWhenDue, &asksLeft).ReadData(server, result);
    std::string_view read = result.View();
    for (const std::string_view mark : {"TCPIO 999 Timeout\r\n", "TCPIO 998 Canceled\r\n"})
        if (read.starts_with(mark))
            read.remove_prefix(mark.size());
    Never(words.find(read) == words.npos);
    const auto room = static_cast<size_t>(result.Length()) + MOST;
    WEBGET::Beautify(result);
    Never(result.View().size() > room);
}
