// The second needs what the first has.
// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include "corelib/base/hexdigits.h"
#include "corelib/net/md5.h"

std::string Md5Hex(std::string_view bytes) {
    constexpr ULONG DIGEST_BYTES = 16;
    UCHAR digest[DIGEST_BYTES];
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;
    if (BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_MD5_ALGORITHM, nullptr, 0) < 0)
        return {};
    // The call does not write there.
    auto* data = reinterpret_cast<PUCHAR>(const_cast<char*>(bytes.data()));
    const bool good = BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0) >= 0 &&
                      BCryptHashData(hash, data, static_cast<ULONG>(bytes.size()), 0) >= 0 &&
                      BCryptFinishHash(hash, digest, DIGEST_BYTES, 0) >= 0;
    if (hash)
        BCryptDestroyHash(hash);
    BCryptCloseAlgorithmProvider(algorithm, 0);
    return good ? HEX::ToHex({reinterpret_cast<const char*>(digest), DIGEST_BYTES}) : std::string();
}
