// The second needs the first.
// clang-format off
#include <windows.h>
#include <wincrypt.h>
// clang-format on

#include "corelib/base/widepath.h"
#include "tests/servers/tlspeerstart.h"

struct PEERPROCESS::PARTS {
    PROCESS_INFORMATION Process{};
    std::string Root;
};

namespace {

// The user's trusted roots; what changes there is kept when it closes.
class ROOTS {
 public:
    ~ROOTS() { CertCloseStore(Store, 0); }
    const HCERTSTORE Store = CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
};

}  // namespace

PEERPROCESS::PEERPROCESS() : Parts(std::make_unique<PARTS>()) {}

// It ends with the connection that tells it what to do.
PEERPROCESS::~PEERPROCESS() {
    const CERT_CONTEXT* root = CertCreateCertificateContext(
        X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(Parts->Root.data()), static_cast<DWORD>(Parts->Root.size()));
    const ROOTS roots;
    if (const CERT_CONTEXT* kept =
            root ? CertFindCertificateInStore(roots.Store, X509_ASN_ENCODING, 0, CERT_FIND_EXISTING, root, nullptr)
                 : nullptr)
        CertDeleteCertificateFromStore(kept);
    CertFreeCertificateContext(root);
}

void PEERPROCESS::Start(const std::string& directory) {
    using UNIXNAME = char*(CDECL*)(const wchar_t*);
    const auto unixName = reinterpret_cast<UNIXNAME>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name")));
    ASSERT_NE(unixName, nullptr) << "the peer is a program for the machine under Wine";
    char* const native = unixName(Widen(CP_UTF8, directory).c_str());
    std::wstring command = L"\"Z:" + Widen(CP_UTF8, TLSPEER) + L"\" \"" + Widen(CP_UTF8, native) + L"\"";
    HeapFree(GetProcessHeap(), 0, native);
    STARTUPINFOW how{};
    how.cb = sizeof how;
    EXPECT_TRUE(CreateProcessW((L"Z:" + Widen(CP_UTF8, TLSPEER)).c_str(), command.data(), nullptr, nullptr, FALSE, 0,
                               nullptr, nullptr, &how, &Parts->Process))
        << GetLastError();
}

void PEERPROCESS::TrustRoot(const TEMPDIR& directory) {
    Parts->Root = ReadBytes(directory.File("root.der"));
    const ROOTS roots;
    EXPECT_TRUE(CertAddEncodedCertificateToStore(
        roots.Store, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(Parts->Root.data()),
        static_cast<DWORD>(Parts->Root.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr))
        << GetLastError();
}
