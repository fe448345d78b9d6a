#include <algorithm>
#include <array>
#include <ctime>
#include <deque>
#include <memory>
#include <mutex>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include "corelib/base/hexdigits.h"
#include "corelib/net/tlsidentity.h"
#include "corelib/net/tlsio.h"

namespace {

template <auto FREE>
struct FREES {
    template <class THING>
    void operator()(THING* thing) const {
        FREE(thing);
    }
};
using CONTEXTREF = std::unique_ptr<SSL_CTX, FREES<SSL_CTX_free>>;
using SSLREF = std::unique_ptr<SSL, FREES<SSL_free>>;
using SESSIONREF = std::unique_ptr<SSL_SESSION, FREES<SSL_SESSION_free>>;

// Sessions that can be resumed, the newest last. Each is for one peer, name and trust: what was accepted for one
// account is not accepted for another by being resumed there.
class KEPTSESSIONS {
 public:
    void Keep(const STRING& key, SSL_SESSION* session) {
        std::lock_guard hold(Guard);
        Forget(key);
        if (Kept.size() >= MOST)
            Kept.pop_front();
        Kept.push_back({key, SESSIONREF(session)});
    }
    // One that the server gives for one use only is gone from here then.
    SESSIONREF Get(const STRING& key) {
        std::lock_guard hold(Guard);
        const auto at = Find(key);
        if (at == Kept.end())
            return nullptr;
        SESSIONREF session;
        const bool isOld = time(nullptr) - SSL_SESSION_get_time(at->Session.get()) > SECONDS;
        if (!isOld && SSL_SESSION_get_protocol_version(at->Session.get()) < TLS1_3_VERSION) {
            SSL_SESSION_up_ref(at->Session.get());
            session.reset(at->Session.get());
            return session;
        }
        if (!isOld)
            session = std::move(at->Session);
        Kept.erase(at);
        return session;
    }

 private:
    static constexpr size_t MOST = 64;
    static constexpr int64_t SECONDS = 3600;
    struct ROW {
        STRING Key;
        SESSIONREF Session;
    };
    std::deque<ROW>::iterator Find(const STRING& key) {
        return std::find_if(Kept.begin(), Kept.end(), [&](const ROW& row) { return row.Key == key; });
    }
    void Forget(const STRING& key) {
        if (const auto at = Find(key); at != Kept.end())
            Kept.erase(at);
    }

    std::mutex Guard;
    std::deque<ROW> Kept;
};

KEPTSESSIONS& Sessions() {
    static KEPTSESSIONS sessions;
    return sessions;
}

STRING Utf8Of(const ASN1_STRING* text) {
    unsigned char* bytes = nullptr;
    const int length = ASN1_STRING_to_UTF8(&bytes, text);
    STRING shown(length < 0 ? "?" : TLS::ShownText({reinterpret_cast<char*>(bytes), static_cast<size_t>(length)}));
    OPENSSL_free(bytes);
    return shown;
}

// The one part of a name that a person knows somebody by.
STRING PersonsName(const X509_NAME* name) {
    for (const int part : {NID_commonName, NID_organizationName, NID_organizationalUnitName}) {
        const int at = X509_NAME_get_index_by_NID(name, part, -1);
        if (at >= 0)
            return Utf8Of(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, at)));
    }
    return "";
}

// A server's certificate needs no subject besides its names.
STRING FirstName(const X509* certificate) {
    auto* names = static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr));
    STRING first("");
    for (int i = 0; i < sk_GENERAL_NAME_num(names) && first.Length() == 0; ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, i);
        if (name->type == GEN_DNS)
            first = Utf8Of(name->d.dNSName);
    }
    GENERAL_NAMES_free(names);
    return first;
}

STRING Day(const ASN1_TIME* time) {
    tm parts{};
    STRING day("");
    if (ASN1_TIME_to_tm(time, &parts) == 1)
        day.Format("%04d-%02d-%02d", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday);
    return day;
}

STRING Sha256Of(const X509* certificate) {
    std::array<unsigned char, 32> digest{};
    unsigned length = 0;
    X509_digest(certificate, EVP_sha256(), digest.data(), &length);
    return STRING(std::string_view(HEX::ToHex({reinterpret_cast<char*>(digest.data()), digest.size()})));
}

void Describe(X509* certificate, TLSREPORT& report) {
    report.Sha256 = Sha256Of(certificate);
    report.Subject = PersonsName(X509_get_subject_name(certificate));
    if (report.Subject.Length() == 0)
        report.Subject = FirstName(certificate);
    report.Issuer = PersonsName(X509_get_issuer_name(certificate));
    report.ValidFrom = Day(X509_get0_notBefore(certificate));
    report.ValidUntil = Day(X509_get0_notAfter(certificate));
}

TLSFAULT FaultOf(int error) {
    switch (error) {
        case X509_V_ERR_CERT_HAS_EXPIRED:
            return TLSFAULT_EXPIRED;
        case X509_V_ERR_CERT_NOT_YET_VALID:
            return TLSFAULT_NOT_YET_VALID;
        case X509_V_ERR_HOSTNAME_MISMATCH:
        case X509_V_ERR_IP_ADDRESS_MISMATCH:
            return TLSFAULT_OTHER_NAME;
        case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
            return TLSFAULT_SELF_SIGNED;
        case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
        case X509_V_ERR_CERT_UNTRUSTED:
            return TLSFAULT_UNKNOWN_ISSUER;
        case X509_V_ERR_CERT_REVOKED:
            return TLSFAULT_REVOKED;
        case X509_V_ERR_EE_KEY_TOO_SMALL:
        case X509_V_ERR_CA_KEY_TOO_SMALL:
        case X509_V_ERR_CA_MD_TOO_WEAK:
            return TLSFAULT_WEAK;
        default:
            return TLSFAULT_OTHER;
    }
}

using KEYREF = std::unique_ptr<EVP_PKEY, FREES<EVP_PKEY_free>>;
using CERTIFICATEREF = std::unique_ptr<X509, FREES<X509_free>>;

class OPENSSLSESSION final : public TLSSESSION {
 public:
    /// The server's side.
    OPENSSLSESSION(X509* certificate, EVP_PKEY* key) {
        ERR_clear_error();
        Context.reset(SSL_CTX_new(TLS_server_method()));
        if (!Context || SSL_CTX_set_min_proto_version(Context.get(), TLS1_2_VERSION) != 1 ||
            SSL_CTX_use_certificate(Context.get(), certificate) != 1 ||
            SSL_CTX_use_PrivateKey(Context.get(), key) != 1 || !MakeSsl()) {
            Fail();
            return;
        }
        SSL_set_accept_state(Ssl.get());
    }
    OPENSSLSESSION(const TLSWISH& wish, const STRING& peer)
        : Trusted(wish.Trusted), SessionKey(peer || "\n" || wish.ServerName || "\n" || wish.Trusted) {
        ERR_clear_error();
        if (!Prepare(wish.ServerName))
            Fail();
    }

    ~OPENSSLSESSION() override {
        // Else the library would take it for broken off, and its session for one not to be resumed.
        if (Ssl && Present != STATE::FAILED)
            SSL_set_shutdown(Ssl.get(), SSL_SENT_SHUTDOWN | SSL_RECEIVED_SHUTDOWN);
    }
    OPENSSLSESSION(const OPENSSLSESSION&) = delete;
    OPENSSLSESSION& operator=(const OPENSSLSESSION&) = delete;

    STATE Take(std::string_view bytes, std::string& plain) override {
        if (Present != STATE::SHAKING && Present != STATE::UP)
            return Present;
        ERR_clear_error();
        size_t written = 0;
        if (!bytes.empty() && BIO_write_ex(FromPeer, bytes.data(), bytes.size(), &written) != 1) {
            Fail();
            return Present;
        }
        if (Present == STATE::SHAKING)
            Shake();
        while (Present == STATE::UP) {
            size_t count = 0;
            const int rc = SSL_read_ex(Ssl.get(), Record.data(), Record.size(), &count);
            if (rc != 1) {
                JudgeOutcome(rc);
                break;
            }
            plain.append(Record.data(), count);
        }
        TakeFromSsl();
        return Present;
    }

    bool Give(std::string_view plain) override {
        if (Present != STATE::UP)
            return false;
        ERR_clear_error();
        size_t written = 0;
        if (!plain.empty() && SSL_write_ex(Ssl.get(), plain.data(), plain.size(), &written) != 1)
            Fail();
        TakeFromSsl();
        return Present == STATE::UP;
    }

    void Close() override {
        if (Present != STATE::UP)
            return;
        ERR_clear_error();
        SSL_shutdown(Ssl.get());
        TakeFromSsl();
    }

 private:
    bool Prepare(STRING name) {
        Context.reset(SSL_CTX_new(TLS_client_method()));
        if (!Context || SSL_CTX_set_min_proto_version(Context.get(), TLS1_2_VERSION) != 1)
            return false;
        // SSL_CERT_FILE and SSL_CERT_DIR stand in place of the system's own store.
        SSL_CTX_set_default_verify_paths(Context.get());
        ERR_clear_error();
        SSL_CTX_set_options(Context.get(), SSL_OP_NO_RENEGOTIATION);
        SSL_CTX_set_verify(Context.get(), SSL_VERIFY_PEER, nullptr);
        SSL_CTX_set_cert_verify_callback(Context.get(), Verify, this);
        SSL_CTX_set_session_cache_mode(Context.get(), SSL_SESS_CACHE_CLIENT | SSL_SESS_CACHE_NO_INTERNAL);
        SSL_CTX_sess_set_new_cb(Context.get(), KeepSession);
        if (!MakeSsl())
            return false;
        SSL_set_app_data(Ssl.get(), this);
        name.ChopLast('.');
        X509_VERIFY_PARAM* check = SSL_get0_param(Ssl.get());
        X509_VERIFY_PARAM_set_hostflags(check,
                                        X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS | X509_CHECK_FLAG_NEVER_CHECK_SUBJECT);
        if (TLS::IsAddress(name) ? X509_VERIFY_PARAM_set1_ip_asc(check, name.Text()) != 1
                                 : name.Length() == 0 || X509_VERIFY_PARAM_set1_host(check, name.Text(), 0) != 1 ||
                                       SSL_set_tlsext_host_name(Ssl.get(), name.Text()) != 1)
            return false;
        if (const SESSIONREF kept = Sessions().Get(SessionKey))
            SSL_set_session(Ssl.get(), kept.get());
        SSL_set_connect_state(Ssl.get());
        Shake();
        TakeFromSsl();
        return true;
    }

    bool MakeSsl() {
        Ssl.reset(SSL_new(Context.get()));
        FromPeer = BIO_new(BIO_s_mem());
        ToPeer = BIO_new(BIO_s_mem());
        if (!Ssl || !FromPeer || !ToPeer)
            return false;
        SSL_set_bio(Ssl.get(), FromPeer, ToPeer);
        return true;
    }

    void Shake() {
        const int rc = SSL_do_handshake(Ssl.get());
        if (rc != 1) {
            JudgeOutcome(rc);
            return;
        }
        Present = STATE::UP;
        Told.Protocol = SSL_get_version(Ssl.get());
        Told.Cipher = SSL_get_cipher_name(Ssl.get());
        Told.Resumed = SSL_session_reused(Ssl.get()) == 1;
        // A conversation that goes on from an earlier one shows no certificate again.
        if (X509* shown = SSL_get0_peer_certificate(Ssl.get()); shown && Told.Resumed)
            Describe(shown, Told);
    }

    // What a call that did not succeed means.
    void JudgeOutcome(int rc) {
        switch (SSL_get_error(Ssl.get(), rc)) {
            case SSL_ERROR_WANT_READ:
            case SSL_ERROR_WANT_WRITE:
                break;
            case SSL_ERROR_ZERO_RETURN:
                Present = STATE::CLOSED;
                break;
            default:
                Fail();
        }
    }

    void Fail() {
        const char* reason = ERR_reason_error_string(ERR_peek_error());
        Break(reason ? reason : "internal error");
        ERR_clear_error();
    }

    void TakeFromSsl() {
        char* bytes = nullptr;
        const long count = ToPeer ? BIO_get_mem_data(ToPeer, &bytes) : 0;
        if (count <= 0)
            return;
        Outgoing.append(bytes, static_cast<size_t>(count));
        BIO_reset(ToPeer);
    }

    static OPENSSLSESSION* Of(SSL* ssl) { return static_cast<OPENSSLSESSION*>(SSL_get_app_data(ssl)); }

    static int KeepSession(SSL* ssl, SSL_SESSION* session) {
        Sessions().Keep(Of(ssl)->SessionKey, session);
        return 1;
    }

    // In place of the library's own check: that one ends at the first fault, a person wants to hear of them all.
    static int Verify(X509_STORE_CTX* check, void* self) {
        return static_cast<OPENSSLSESSION*>(self)->IsGood(check) ? 1 : 0;
    }
    bool IsGood(X509_STORE_CTX* check) {
        Describe(X509_STORE_CTX_get0_cert(check), Told);
        X509_STORE_CTX_set_verify_cb(check, [](int good, X509_STORE_CTX* at) {
            if (good != 1)
                Of(static_cast<SSL*>(X509_STORE_CTX_get_ex_data(at, SSL_get_ex_data_X509_STORE_CTX_idx())))->Note(at);
            return 1;
        });
        if (X509_verify_cert(check) != 1 && Told.Faults == TLSFAULT_NONE)
            Told.Faults = TLSFAULT_OTHER;
        Told.Accepted = TLS::SameSha256(Trusted, Told.Sha256);
        if (Told.Faults == TLSFAULT_NONE || Told.Accepted) {
            X509_STORE_CTX_set_error(check, X509_V_OK);
            return true;
        }
        // The alert for the server is made of it.
        X509_STORE_CTX_set_error(check, FirstError);
        return false;
    }
    void Note(X509_STORE_CTX* at) {
        const int error = X509_STORE_CTX_get_error(at);
        const TLSFAULT fault = FaultOf(error);
        if (Told.Faults == TLSFAULT_NONE)
            FirstError = error;
        if (fault == TLSFAULT_UNKNOWN_ISSUER && !(Told.Faults & fault))
            if (const X509* last = X509_STORE_CTX_get_current_cert(at))
                Told.UnknownIssuer = PersonsName(X509_get_issuer_name(last));
        Told.Faults |= fault;
    }

    const STRING Trusted;
    const STRING SessionKey;
    CONTEXTREF Context;
    SSLREF Ssl;
    BIO* FromPeer = nullptr;  // these two belong to Ssl
    BIO* ToPeer = nullptr;
    int FirstError = X509_V_ERR_UNSPECIFIED;
    std::array<char, 16384> Record;
};

class OPENSSLIDENTITY final : public TLSIDENTITY {
 public:
    OPENSSLIDENTITY() : Key(EVP_EC_gen("P-256")), Certificate(X509_new()) {
        if (IsUsable() && Sign())
            Digest = Sha256Of(Certificate.get());
    }
    std::unique_ptr<TLSSESSION> Serve() const override {
        return std::make_unique<OPENSSLSESSION>(Certificate.get(), Key.get());
    }

 private:
    bool IsUsable() const { return Key && Certificate; }
    bool Sign() {
        constexpr long SECONDS = 30L * 24 * 3600;
        X509* const made = Certificate.get();
        X509_set_version(made, X509_VERSION_3);
        ASN1_INTEGER_set_int64(X509_get_serialNumber(made), time(nullptr));
        X509_gmtime_adj(X509_getm_notBefore(made), -SECONDS);
        X509_gmtime_adj(X509_getm_notAfter(made), SECONDS);
        X509_NAME* const name = X509_get_subject_name(made);
        const auto* text = reinterpret_cast<const unsigned char*>("127.0.0.1");
        X509_NAME_add_entry_by_NID(name, NID_commonName, MBSTRING_ASC, text, -1, -1, 0);
        X509_set_issuer_name(made, name);
        X509_set_pubkey(made, Key.get());
        const std::unique_ptr<X509_EXTENSION, FREES<X509_EXTENSION_free>> names(
            X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1"));
        return names && X509_add_ext(made, names.get(), -1) == 1 && X509_sign(made, Key.get(), EVP_sha256()) > 0;
    }

    const KEYREF Key;
    const CERTIFICATEREF Certificate;
};

}  // namespace

std::shared_ptr<const TLSIDENTITY> TLSIDENTITY::Create() {
    auto made = std::make_shared<const OPENSSLIDENTITY>();
    ERR_clear_error();
    return made->Sha256().Length() > 0 ? made : nullptr;
}

std::unique_ptr<TLSSESSION> TLSSESSION::Create(const TLSWISH& wish, const STRING& peer) {
    return std::make_unique<OPENSSLSESSION>(wish, peer);
}
