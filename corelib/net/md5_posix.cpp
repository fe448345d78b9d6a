#include <openssl/evp.h>

#include "corelib/base/hexdigits.h"
#include "corelib/net/md5.h"

std::string Md5Hex(std::string_view bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_md5(), nullptr) != 1)
        return {};
    return HEX::ToHex({reinterpret_cast<const char*>(digest), length});
}
