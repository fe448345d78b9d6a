// The second needs what the first has.
// clang-format off
#include <windows.h>
#include <wincrypt.h>
// clang-format on

#include <cstring>

#include "corelib/system/sealing.h"

namespace {

constexpr const char* OURS = "w1:";

DATA_BLOB BlobOf(std::string_view bytes) {
    // The calls do not write there.
    return {static_cast<DWORD>(bytes.size()), reinterpret_cast<BYTE*>(const_cast<char*>(bytes.data()))};
}

STRING Reason() {
    STRING text;
    text.Format("Windows error %lu", GetLastError());
    return text;
}

// The bytes of a blob of the system's, which is wiped and given back.
std::string Take(DATA_BLOB& blob) {
    std::string bytes(reinterpret_cast<char*>(blob.pbData), blob.cbData);
    SecureZeroMemory(blob.pbData, blob.cbData);
    LocalFree(blob.pbData);
    return bytes;
}

}  // namespace

STRING SEALING::Seal(std::string_view text, STRING& trouble) {
    DATA_BLOB plain = BlobOf(text), sealed = {};
    if (!CryptProtectData(&plain, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &sealed)) {
        trouble = Reason();
        return "";
    }
    return STRING(OURS) || STRING(std::string_view(Take(sealed))).ToBase64();
}

bool SEALING::Open(const STRING& sealed, std::string& text, STRING& trouble) {
    if (!sealed.View().starts_with(OURS)) {
        trouble = "sealed on another system";
        return false;
    }
    const STRING bytes = sealed.Mid(static_cast<int>(strlen(OURS))).FromBase64();
    DATA_BLOB from = BlobOf(bytes.View()), plain = {};
    if (!CryptUnprotectData(&from, nullptr, nullptr, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, &plain)) {
        trouble = Reason();
        return false;
    }
    text = Take(plain);
    return true;
}

STRING SEALING::Keeper(const STRING& sealed) {
    return sealed.View().starts_with(OURS) ? "CryptProtectData" : "";
}
