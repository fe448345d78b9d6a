#include "corelib/net/mxlookup.h"
#include "fuzz/fuzz.h"

// Whatever a name server sends: only a packet with our number and our question is taken for the answer, and a name that
// is read out of one is a name. The seeds are packets; the question for a.example begins each query.
FUZZ_TARGET(bytes) {
    using namespace std::string_literals;
    constexpr size_t LONGEST_NAME = 1024;
    static const std::string QUERY = "\0\7\1\0\0\1\0\0\0\0\0\0\1a\7example\0\0\17\0\1"s;
    // In a block of its size, so that a read past its end is seen.
    const std::vector<char> block(bytes.begin(), bytes.end());
    const std::string_view packet(block.data(), block.size());
    Never(IsDnsAnswer(QUERY, packet) && (packet.substr(0, 2) != QUERY.substr(0, 2) || !(packet[2] & 0x80)));
    std::vector<DNSRECORD> records;
    ReadDnsAnswer(packet, records);
    Never(records.size() > packet.size());
    for (const DNSRECORD& record : records) {
        const std::string_view host = record.Host.View();
        const bool plain = std::all_of(host.begin(), host.end(), [](char c) { return c > ' ' && c < 127; });
        for (const int number : {record.Preference, record.Weight, record.Port})
            Never(number < 0 || number > 65535);
        const bool isService = record.Type == DNSTYPE_SRV;
        Never(host.size() > LONGEST_NAME || !plain || (record.Type != DNSTYPE_MX && !isService && !host.empty()) ||
              (!isService && record.Weight + record.Port != 0));
    }
}
