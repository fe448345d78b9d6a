#include "corelib/net/gunzip.h"

#include <algorithm>
#include <zlib.h>

std::string Gunzip(std::string_view data, int64_t limit) {
    constexpr int GZIP_ONLY = 16 + MAX_WBITS;
    constexpr size_t PIECE_BYTES = 65536;
    const size_t most = static_cast<size_t>(std::max<int64_t>(limit, 0));
    if (!data.starts_with("\x1f\x8b"))
        return std::string(data.substr(0, most));

    std::string text;
    z_stream stream{};
    if (inflateInit2(&stream, GZIP_ONLY) != Z_OK)
        return text;
    // zlib's interface is older than const.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    std::string piece(PIECE_BYTES, '\0');
    int state = Z_OK;
    while (state == Z_OK && text.size() < most) {
        const size_t room = std::min(PIECE_BYTES, most - text.size());
        stream.next_out = reinterpret_cast<Bytef*>(piece.data());
        stream.avail_out = static_cast<uInt>(room);
        state = inflate(&stream, Z_NO_FLUSH);
        text.append(piece, 0, room - stream.avail_out);
        // What stands after a member is another one, or of no interest.
        if (state == Z_STREAM_END && stream.avail_in >= 2 && stream.next_in[0] == 0x1f && stream.next_in[1] == 0x8b)
            state = inflateReset(&stream);
    }
    inflateEnd(&stream);
    return text;
}
