#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "corelib/net/mxlookup.h"

// Whatever a name server sends: only a packet with our number and our question is taken for the answer, and a name that
// is read out of one is a name. The seeds are packets; the question for a.example begins each query.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace std::string_literals;
    constexpr size_t LONGEST_NAME = 1024;
    static const std::string QUERY = "\0\7\1\0\0\1\0\0\0\0\0\0\1a\7example\0\0\17\0\1"s;
    // In a block of its size, so that a read past its end is seen.
    const std::vector<char> block(data, data + size);
    const std::string_view packet(block.data(), block.size());
    if (IsDnsAnswer(QUERY, packet) && (packet.substr(0, 2) != QUERY.substr(0, 2) || !(data[2] & 0x80)))
        abort();
    std::vector<DNSRECORD> records;
    ReadDnsAnswer(packet, records);
    if (records.size() > size)
        abort();
    for (const DNSRECORD& record : records) {
        const std::string_view host = record.Host.View();
        const bool plain = std::all_of(host.begin(), host.end(), [](char c) { return c > ' ' && c < 127; });
        for (const int number : {record.Preference, record.Weight, record.Port})
            if (number < 0 || number > 65535)
                abort();
        const bool isService = record.Type == DNSTYPE_SRV;
        if (host.size() > LONGEST_NAME || !plain || (record.Type != DNSTYPE_MX && !isService && !host.empty()) ||
            (!isService && record.Weight + record.Port != 0))
            abort();
    }
    return 0;
}
