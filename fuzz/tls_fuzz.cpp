#include "corelib/net/tlsio.h"
#include "fuzz/fuzz.h"

// Whatever a server sends in place of a handshake: it never leads to a conversation, as there is nobody who could have
// proved anything. The first byte tells in what pieces the others come. The seeds are what servers send first.
FUZZ_TARGET(bytes) {
    if (bytes.empty())
        return;
    const std::unique_ptr<TLSSESSION> session = TLSSESSION::Create({"localhost", ""}, "localhost:1");
    Never(session->State() != TLSSESSION::STATE::SHAKING || session->OutgoingBytes() == 0);
    std::string plain;
    const size_t piece = bytes[0] == 0 ? bytes.size() : static_cast<unsigned char>(bytes[0]);
    std::string_view rest = bytes.substr(1);
    while (!rest.empty()) {
        session->Take(rest.substr(0, piece), plain);
        rest.remove_prefix(std::min(piece, rest.size()));
    }
    Never(session->State() == TLSSESSION::STATE::UP || session->State() == TLSSESSION::STATE::CLOSED || !plain.empty());
    Never(session->Give("x") ||
          (session->State() == TLSSESSION::STATE::FAILED && session->Report().Failure.Length() == 0));
}
