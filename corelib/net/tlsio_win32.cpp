#define SECURITY_WIN32
#define SCHANNEL_USE_BLACKLISTS
// Each of these needs what stands above it. Theirs is not the only STRING.
// clang-format off
#include <windows.h>
#define STRING SYSTEM_STRING
#include <subauth.h>
#include <wincrypt.h>
#include <sspi.h>
#include <schannel.h>
#include <bcrypt.h>
#undef STRING
// clang-format on
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>

#include "corelib/base/hexdigits.h"
#include "corelib/base/widepath.h"
#include "corelib/net/tlsio.h"

namespace {

using CERTIFICATEREF = std::shared_ptr<const CERT_CONTEXT>;

// wininet.h has them, with much else.
constexpr DWORD SECURITY_FLAG_IGNORE_CERT_CN_INVALID = 0x1000;
constexpr DWORD SECURITY_FLAG_IGNORE_REVOCATION = 0x80;
// The kind of a record that says how the other side is, or that it ends.
constexpr char ALERT_RECORD = 21;

constexpr DWORD PROTOCOLS = SP_PROT_TLS1_2_CLIENT | SP_PROT_TLS1_3_CLIENT;
constexpr DWORD CONTEXT_FLAGS = ISC_REQ_SEQUENCE_DETECT | ISC_REQ_REPLAY_DETECT | ISC_REQ_CONFIDENTIALITY |
                                ISC_REQ_ALLOCATE_MEMORY | ISC_REQ_STREAM | ISC_REQ_MANUAL_CRED_VALIDATION |
                                ISC_REQ_USE_SUPPLIED_CREDS;
// More than any record or handshake of a server needs.
constexpr size_t MOST_WAITING_BYTES = 256 * 1024;

// One for all conversations: the system resumes sessions of the same credentials only.
class CREDENTIALS {
 public:
    CREDENTIALS() {
        constexpr DWORD FLAGS = SCH_CRED_MANUAL_CRED_VALIDATION | SCH_CRED_NO_DEFAULT_CREDS | SCH_USE_STRONG_CRYPTO;
        TLS_PARAMETERS versions{};
        versions.grbitDisabledProtocols = ~PROTOCOLS;
        SCH_CREDENTIALS wanted{};
        wanted.dwVersion = SCH_CREDENTIALS_VERSION;
        wanted.dwFlags = FLAGS;
        wanted.cTlsParameters = 1;
        wanted.pTlsParameters = &versions;
        Acquire(&wanted);
        if (Good)
            return;
        // Systems before version 1.3 of TLS know the older form only.
        SCHANNEL_CRED older{};
        older.dwVersion = SCHANNEL_CRED_VERSION;
        older.dwFlags = FLAGS;
        older.grbitEnabledProtocols = SP_PROT_TLS1_2_CLIENT;
        Acquire(&older);
    }

    CredHandle Handle{};
    bool Good = false;

 private:
    void Acquire(void* wanted) {
        std::wstring package = UNISP_NAME_W;
        TimeStamp expiry;
        Good = AcquireCredentialsHandleW(nullptr, package.data(), SECPKG_CRED_OUTBOUND, nullptr, wanted, nullptr,
                                         nullptr, &Handle, &expiry) == SEC_E_OK;
    }
};

CREDENTIALS& Credentials() {
    // Never given back: threads may still use it as the program ends.
    static auto* credentials = new CREDENTIALS;
    return *credentials;
}

STRING PersonsName(const CERT_CONTEXT* certificate, DWORD flags) {
    const auto ask = [&](wchar_t* room, DWORD size) {
        return CertGetNameStringW(certificate, CERT_NAME_SIMPLE_DISPLAY_TYPE, flags, nullptr, room, size);
    };
    std::wstring name(ask(nullptr, 0), L'\0');
    name.resize(ask(name.data(), static_cast<DWORD>(name.size())));
    return TLS::ShownText(FromWide(name.c_str()).View());
}

STRING Day(const FILETIME& time) {
    SYSTEMTIME parts{};
    STRING day("");
    if (FileTimeToSystemTime(&time, &parts))
        day.Format("%04d-%02d-%02d", parts.wYear, parts.wMonth, parts.wDay);
    return day;
}

STRING Sha256Of(const CERT_CONTEXT* certificate) {
    std::array<UCHAR, 32> digest{};
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;
    const bool good = BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0) == 0 &&
                      BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0) == 0 &&
                      BCryptHashData(hash, certificate->pbCertEncoded, certificate->cbCertEncoded, 0) == 0 &&
                      BCryptFinishHash(hash, digest.data(), static_cast<ULONG>(digest.size()), 0) == 0;
    if (hash)
        BCryptDestroyHash(hash);
    if (algorithm)
        BCryptCloseAlgorithmProvider(algorithm, 0);
    return good ? STRING(std::string_view(HEX::ToHex({reinterpret_cast<char*>(digest.data()), digest.size()})))
                : STRING("");
}

// The system's own comparison takes the subject's name where there are no others, and does not know addresses
// everywhere.
bool HasName(const CERT_CONTEXT* certificate, const STRING& wanted) {
    const CERT_EXTENSION* extension = CertFindExtension(szOID_SUBJECT_ALT_NAME2, certificate->pCertInfo->cExtension,
                                                        certificate->pCertInfo->rgExtension);
    CERT_ALT_NAME_INFO* names = nullptr;
    DWORD size = sizeof names;
    if (!extension || !CryptDecodeObjectEx(X509_ASN_ENCODING, X509_ALTERNATE_NAME, extension->Value.pbData,
                                           extension->Value.cbData, CRYPT_DECODE_ALLOC_FLAG, nullptr, &names, &size))
        return false;
    const bool found = std::any_of(names->rgAltEntry, names->rgAltEntry + names->cAltEntry, [&](const auto& name) {
        if (name.dwAltNameChoice == CERT_ALT_NAME_IP_ADDRESS)
            return TLS::IsAddress(wanted, {reinterpret_cast<char*>(name.IPAddress.pbData), name.IPAddress.cbData});
        return name.dwAltNameChoice == CERT_ALT_NAME_DNS_NAME &&
               TLS::NameMatches(FromWide(name.pwszDNSName).View(), wanted);
    });
    LocalFree(names);
    return found;
}

uint32_t TimeFaults(const CERT_SIMPLE_CHAIN& chain) {
    uint32_t faults = TLSFAULT_NONE;
    for (DWORD i = 0; i < chain.cElement; ++i) {
        const LONG when = CertVerifyTimeValidity(nullptr, chain.rgpElement[i]->pCertContext->pCertInfo);
        faults |= when > 0 ? TLSFAULT_EXPIRED : when < 0 ? TLSFAULT_NOT_YET_VALID : TLSFAULT_NONE;
    }
    return faults ? faults : TLSFAULT_OTHER;
}

// What the system says of the chain, in our words.
TLSVERDICT VerdictOf(const CERT_CHAIN_CONTEXT* whole) {
    TLSVERDICT verdict;
    const CERT_SIMPLE_CHAIN& chain = *whole->rgpChain[0];
    // That nothing is known of a revocation is the usual case.
    DWORD status = whole->TrustStatus.dwErrorStatus &
                   ~static_cast<DWORD>(CERT_TRUST_REVOCATION_STATUS_UNKNOWN | CERT_TRUST_IS_OFFLINE_REVOCATION);
    const auto took = [&](DWORD bits) {
        const bool has = (status & bits) != 0;
        status &= ~bits;
        return has;
    };
    if (took(CERT_TRUST_IS_NOT_TIME_VALID))
        verdict.Faults |= TimeFaults(chain);
    if (took(CERT_TRUST_IS_UNTRUSTED_ROOT | CERT_TRUST_IS_PARTIAL_CHAIN)) {
        const bool itsOwn =
            chain.cElement == 1 && (chain.rgpElement[0]->TrustStatus.dwInfoStatus & CERT_TRUST_IS_SELF_SIGNED);
        verdict.Faults |= itsOwn ? TLSFAULT_SELF_SIGNED : TLSFAULT_UNKNOWN_ISSUER;
        if (!itsOwn)
            verdict.UnknownIssuer =
                PersonsName(chain.rgpElement[chain.cElement - 1]->pCertContext, CERT_NAME_ISSUER_FLAG);
    }
    if (took(CERT_TRUST_IS_REVOKED))
        verdict.Faults |= TLSFAULT_REVOKED;
    if (took(CERT_TRUST_HAS_WEAK_SIGNATURE))
        verdict.Faults |= TLSFAULT_WEAK;
    if (status != CERT_TRUST_NO_ERROR)
        verdict.Faults |= TLSFAULT_OTHER;
    return verdict;
}

TLSVERDICT Verify(const CERTIFICATEREF& certificate, const STRING& name) {
    std::string usage = szOID_PKIX_KP_SERVER_AUTH;
    std::array<char*, 1> usages{usage.data()};
    CERT_CHAIN_PARA wanted{};
    wanted.cbSize = sizeof wanted;
    wanted.RequestedUsage.dwType = USAGE_MATCH_TYPE_AND;
    wanted.RequestedUsage.Usage = {static_cast<DWORD>(usages.size()), usages.data()};
    const CERT_CHAIN_CONTEXT* whole = nullptr;
    TLSVERDICT verdict{TLSFAULT_OTHER, ""};
    // Lists of revoked certificates are used as far as the system has them.
    if (CertGetCertificateChain(nullptr, certificate.get(), nullptr, certificate->hCertStore, &wanted,
                                CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT | CERT_CHAIN_REVOCATION_CHECK_CACHE_ONLY,
                                nullptr, &whole)) {
        verdict = VerdictOf(whole);
        // What this system holds against certificates of servers besides; names are compared below.
        SSL_EXTRA_CERT_CHAIN_POLICY_PARA server{};
        server.cbSize = sizeof server;
        server.dwAuthType = AUTHTYPE_SERVER;
        server.fdwChecks = SECURITY_FLAG_IGNORE_CERT_CN_INVALID | SECURITY_FLAG_IGNORE_REVOCATION;
        CERT_CHAIN_POLICY_PARA policy{};
        policy.cbSize = sizeof policy;
        policy.dwFlags = CERT_CHAIN_POLICY_IGNORE_ALL_REV_UNKNOWN_FLAGS;
        policy.pvExtraPolicyPara = &server;
        CERT_CHAIN_POLICY_STATUS told{};
        told.cbSize = sizeof told;
        const bool asked = CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_SSL, whole, &policy, &told);
        if (verdict.Faults == TLSFAULT_NONE && (!asked || told.dwError != 0))
            verdict.Faults = TLSFAULT_OTHER;
        CertFreeCertificateChain(whole);
    }
    if (!HasName(certificate.get(), name))
        verdict.Faults |= TLSFAULT_OTHER_NAME;
    return verdict;
}

class SCHANNELSESSION final : public TLSSESSION {
 public:
    SCHANNELSESSION(const TLSWISH& wish) : Trusted(wish.Trusted), Name(wish.ServerName) {
        Name.ChopLast('.');
        WideName = Widen(CP_UTF8, Name.View());
        if (Credentials().Good && Name.Length() > 0)
            Shake();
        else
            Break("internal error");
    }
    ~SCHANNELSESSION() override {
        if (HasContext)
            DeleteSecurityContext(&Context);
    }
    SCHANNELSESSION(const SCHANNELSESSION&) = delete;
    SCHANNELSESSION& operator=(const SCHANNELSESSION&) = delete;

    STATE Take(std::string_view bytes, std::string& plain) override {
        if (Present == STATE::CLOSED || Present == STATE::FAILED)
            return Present;
        Waiting += bytes;
        if (Waiting.size() > MOST_WAITING_BYTES)
            Break("too much");
        if (Present == STATE::SHAKING && !Waiting.empty())
            Shake();
        if (Present == STATE::UP)
            Decrypt(plain);
        return Present;
    }

    bool Give(std::string_view plain) override {
        for (; Present == STATE::UP && !plain.empty();
             plain.remove_prefix(std::min<size_t>(plain.size(), Sizes.cbMaximumMessage)))
            Encrypt(plain.substr(0, Sizes.cbMaximumMessage));
        return Present == STATE::UP;
    }

    void Close() override {
        if (Present != STATE::UP)
            return;
        DWORD notice = SCHANNEL_SHUTDOWN;
        SecBuffer token{sizeof notice, SECBUFFER_TOKEN, &notice};
        SecBufferDesc tokens{SECBUFFER_VERSION, 1, &token};
        if (ApplyControlToken(&Context, &tokens) == SEC_E_OK)
            Ask(nullptr);
    }

    std::function<TLSVERDICT()> Check() override {
        return [certificate = Certificate, name = Name] { return Verify(certificate, name); };
    }

    void Judge(const TLSVERDICT& verdict) override {
        Told.Faults = verdict.Faults;
        Told.UnknownIssuer = verdict.UnknownIssuer;
        Told.Accepted = TLS::SameSha256(Trusted, Told.Sha256);
        Present = STATE::UP;
        if (Told.Faults == TLSFAULT_NONE || Told.Accepted)
            return;
        Close();
        Break("the certificate is not trusted");
    }

 private:
    // One step of the handshake; what it has to say goes out.
    SECURITY_STATUS Ask(SecBufferDesc* in) {
        SecBuffer out{0, SECBUFFER_TOKEN, nullptr};
        SecBufferDesc outs{SECBUFFER_VERSION, 1, &out};
        ULONG flags = 0;
        const SECURITY_STATUS status =
            InitializeSecurityContextW(&Credentials().Handle, HasContext ? &Context : nullptr, WideName.data(),
                                       CONTEXT_FLAGS, 0, 0, in, 0, &Context, &outs, &flags, nullptr);
        HasContext |= SUCCEEDED(status);
        if (out.pvBuffer) {
            Outgoing.append(static_cast<char*>(out.pvBuffer), out.cbBuffer);
            FreeContextBuffer(out.pvBuffer);
        }
        return status;
    }

    // The first handshake, or what version 1.3 has to say after it.
    void Shake() {
        for (;;) {
            SecBuffer ins[] = {{static_cast<ULONG>(Waiting.size()), SECBUFFER_TOKEN, Waiting.data()},
                               {0, SECBUFFER_EMPTY, nullptr}};
            SecBufferDesc in{SECBUFFER_VERSION, 2, ins};
            const bool isFirst = !HasContext;
            const SECURITY_STATUS status = Ask(isFirst ? nullptr : &in);
            if (status == SEC_E_INCOMPLETE_MESSAGE)
                return;
            // The server would take a certificate of ours: it gets none.
            if (status == SEC_I_INCOMPLETE_CREDENTIALS && !std::exchange(HasNoCertificate, true))
                continue;
            if (status != SEC_E_OK && status != SEC_I_CONTINUE_NEEDED) {
                Fail(status);
                return;
            }
            // The beginning of the next record may have come along.
            const size_t left = ins[1].BufferType == SECBUFFER_EXTRA ? ins[1].cbBuffer : 0;
            Waiting.erase(0, Waiting.size() - std::min(left, Waiting.size()));
            if (status == SEC_E_OK) {
                ShakesAgain = false;
                if (Present == STATE::SHAKING)
                    Introduce();
                return;
            }
            if (Waiting.empty())
                return;
        }
    }

    // Who is at the other end, and what was agreed on.
    void Introduce() {
        const CERT_CONTEXT* certificate = nullptr;
        if (QueryContextAttributesW(&Context, SECPKG_ATTR_REMOTE_CERT_CONTEXT, &certificate) != SEC_E_OK ||
            QueryContextAttributesW(&Context, SECPKG_ATTR_STREAM_SIZES, &Sizes) != SEC_E_OK) {
            Break("the server shows no certificate");
            return;
        }
        Certificate.reset(certificate, CertFreeCertificateContext);
        Told.Sha256 = Sha256Of(certificate);
        Told.Subject = PersonsName(certificate, 0);
        Told.Issuer = PersonsName(certificate, CERT_NAME_ISSUER_FLAG);
        Told.ValidFrom = Day(certificate->pCertInfo->NotBefore);
        Told.ValidUntil = Day(certificate->pCertInfo->NotAfter);
        SecPkgContext_ConnectionInfo connection{};
        QueryContextAttributesW(&Context, SECPKG_ATTR_CONNECTION_INFO, &connection);
        IsNew = (connection.dwProtocol & SP_PROT_TLS1_3_CLIENT) != 0;
        Told.Protocol = IsNew ? "TLSv1.3" : "TLSv1.2";
        SecPkgContext_CipherInfo cipher{};
        cipher.dwVersion = SECPKGCONTEXT_CIPHERINFO_V1;
        if (QueryContextAttributesW(&Context, SECPKG_ATTR_CIPHER_INFO, &cipher) == SEC_E_OK)
            Told.Cipher = FromWide(cipher.szCipherSuite);
        SecPkgContext_SessionInfo session{};
        if (QueryContextAttributesW(&Context, SECPKG_ATTR_SESSION_INFO, &session) == SEC_E_OK)
            Told.Resumed = (session.dwFlags & SSL_SESSION_RECONNECT) != 0;
        Present = STATE::CHECKING;
    }

    void Decrypt(std::string& plain) {
        size_t at = 0;
        while (Present == STATE::UP && at < Waiting.size()) {
            if (ShakesAgain) {
                Waiting.erase(0, at);
                at = 0;
                Shake();
                if (ShakesAgain)
                    break;
                continue;
            }
            SecBuffer parts[4] = {{static_cast<ULONG>(Waiting.size() - at), SECBUFFER_DATA, Waiting.data() + at},
                                  {0, SECBUFFER_EMPTY, nullptr},
                                  {0, SECBUFFER_EMPTY, nullptr},
                                  {0, SECBUFFER_EMPTY, nullptr}};
            SecBufferDesc record{SECBUFFER_VERSION, 4, parts};
            const bool isAlert = Waiting[at] == ALERT_RECORD;
            const SECURITY_STATUS status = DecryptMessage(&Context, &record, 0, nullptr);
            if (status == SEC_E_INCOMPLETE_MESSAGE)
                break;
            // A request for a new handshake is one in the old version only; in the new one it is a ticket or new keys,
            // which go where the handshake went.
            if (status == SEC_I_RENEGOTIATE && !IsNew) {
                Break("the server asks for a new handshake");
                break;
            }
            if (status != SEC_E_OK && status != SEC_I_CONTEXT_EXPIRED && status != SEC_I_RENEGOTIATE) {
                Fail(status);
                break;
            }
            size_t left = 0;
            for (const SecBuffer& part : parts) {
                if (part.BufferType == SECBUFFER_DATA && part.cbBuffer > 0)
                    plain.append(static_cast<char*>(part.pvBuffer), part.cbBuffer);
                else if (part.BufferType == SECBUFFER_EXTRA)
                    left = part.cbBuffer;
            }
            at = Waiting.size() - std::min(left, Waiting.size());
            ShakesAgain = status == SEC_I_RENEGOTIATE && left > 0;
            // Wine does not tell the notice of the end from other success; other alerts are errors there.
            if (status == SEC_I_CONTEXT_EXPIRED || (status == SEC_E_OK && isAlert))
                Present = STATE::CLOSED;
        }
        Waiting.erase(0, at);
    }

    void Encrypt(std::string_view piece) {
        const size_t start = Outgoing.size();
        Outgoing.resize(start + Sizes.cbHeader);
        Outgoing += piece;
        Outgoing.resize(Outgoing.size() + Sizes.cbTrailer);
        char* const header = Outgoing.data() + start;
        char* const data = header + Sizes.cbHeader;
        SecBuffer parts[] = {{Sizes.cbHeader, SECBUFFER_STREAM_HEADER, header},
                             {static_cast<ULONG>(piece.size()), SECBUFFER_DATA, data},
                             {Sizes.cbTrailer, SECBUFFER_STREAM_TRAILER, data + piece.size()},
                             {0, SECBUFFER_EMPTY, nullptr}};
        SecBufferDesc record{SECBUFFER_VERSION, 4, parts};
        const SECURITY_STATUS status = EncryptMessage(&Context, 0, &record, 0);
        Outgoing.resize(start + (status == SEC_E_OK ? parts[0].cbBuffer + parts[1].cbBuffer + parts[2].cbBuffer : 0));
        if (status != SEC_E_OK)
            Fail(status);
    }

    void Fail(SECURITY_STATUS status) {
        wchar_t words[256] = L"";
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
                       nullptr, static_cast<DWORD>(status), 0, words, 256, nullptr);
        STRING reason;
        reason.Format("%s(0x%08lx)", FromWide(words).Text(), static_cast<unsigned long>(status));
        Break(reason.Text());
    }

    const STRING Trusted;
    STRING Name;
    std::wstring WideName;
    CtxtHandle Context{};
    bool HasContext = false;
    bool HasNoCertificate = false;
    bool IsNew = false;        // TLS 1.3
    bool ShakesAgain = false;  // what waits belongs to the handshake
    std::string Waiting;       // bytes of records that are not whole yet
    SecPkgContext_StreamSizes Sizes{};
    CERTIFICATEREF Certificate;
};

}  // namespace

std::unique_ptr<TLSSESSION> TLSSESSION::Create(const TLSWISH& wish, const STRING&) {
    return std::make_unique<SCHANNELSESSION>(wish);
}
