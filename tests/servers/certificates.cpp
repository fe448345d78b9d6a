#include "tests/servers/certificates.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <unistd.h>

namespace {

constexpr int DAY = 24 * 60 * 60;

CERTIFICATES::KEY NewKey(int rsaBits) {
    EVP_PKEY* key = rsaBits > 0 ? EVP_RSA_gen(static_cast<unsigned>(rsaBits)) : EVP_EC_gen("P-256");
    return {key, EVP_PKEY_free};
}

void Extend(X509* certificate, X509* issuer, int kind, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value);
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

template <class WRITE>
std::string Written(WRITE write) {
    BIO* out = BIO_new(BIO_s_mem());
    write(out);
    char* bytes = nullptr;
    const long count = BIO_get_mem_data(out, &bytes);
    std::string text(bytes, static_cast<size_t>(count));
    BIO_free(out);
    return text;
}

}  // namespace

CERTIFICATES::CERTIFICATE CERTIFICATES::Make(const WANTED& wanted, const KEY& key, const IDENTITY* issuer) {
    CERTIFICATE made(X509_new(), X509_free);
    X509* const bare = made.get();
    X509* const above = issuer ? issuer->Own.get() : bare;
    uint64_t serial = 0;
    RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial);
    X509_set_version(bare, X509_VERSION_3);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(bare), serial);
    X509_gmtime_adj(X509_getm_notBefore(bare), wanted.FromDays * DAY);
    X509_gmtime_adj(X509_getm_notAfter(bare), wanted.UntilDays * DAY);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(bare), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(wanted.Subject), -1, -1, 0);
    X509_set_issuer_name(bare, X509_get_subject_name(above));
    X509_set_pubkey(bare, key.get());
    if (*wanted.Names) {
        Extend(bare, above, NID_subject_alt_name, wanted.Names);
        Extend(bare, above, NID_ext_key_usage, "serverAuth");
    } else {
        Extend(bare, above, NID_basic_constraints, "critical,CA:TRUE");
        Extend(bare, above, NID_key_usage, "critical,keyCertSign,cRLSign");
    }
    Extend(bare, above, NID_subject_key_identifier, "hash");
    X509_sign(bare, (issuer ? issuer->Key : key).get(), EVP_sha256());
    return made;
}

CERTIFICATES::CERTIFICATES() {
    const KEY rsa = NewKey(2048), curve = NewKey(0);
    const auto issuer = [](const std::string& subject, const IDENTITY* above) {
        const KEY key = NewKey(0);
        return IDENTITY{subject, key, Make({subject.c_str(), ""}, key, above), {}};
    };
    // Systems find issuers by their names: what an earlier run that was killed has left behind is none of this one's.
    Ca = issuer("Tests Root " + std::to_string(getpid()) + " of " + std::to_string(time(nullptr)), nullptr);
    const IDENTITY middle = issuer("Tests Intermediate", &Ca), stranger = issuer("Nobody's Root", nullptr);
    constexpr const char* HERE = "DNS:localhost,IP:127.0.0.1";
    constexpr const char* ELSEWHERE = "DNS:other.example";
    const auto add = [&](const char* name, const KEY& key, const WANTED& wanted, const IDENTITY* above,
                         const std::vector<CERTIFICATE>& chain = {}) {
        Made.push_back({name, key, Make(wanted, key, above), chain});
    };
    add("good", rsa, {"localhost", HERE}, &Ca);
    add("ecdsa", curve, {"localhost", HERE}, &Ca);
    add("ip", curve, {"an address", "IP:127.0.0.1"}, &Ca);
    // "localhost", a zero byte and ".evil"
    add("zero", curve, {"localhost", "DER:3011820F6C6F63616C686F7374002E6576696C"}, &Ca);
    add("wildcard", curve, {"some hosts", "DNS:*.test.example"}, &Ca);
    add("chain", curve, {"localhost", HERE}, &middle, {middle.Own});
    add("nochain", curve, {"localhost", HERE}, &middle);
    add("self", curve, {"localhost", HERE}, nullptr);
    add("unknown", curve, {"localhost", HERE}, &stranger, {stranger.Own});
    add("expired", curve, {"localhost", HERE, -20, -10}, &Ca);
    add("future", curve, {"localhost", HERE, 10, 20}, &Ca);
    add("other", curve, {"other.example", ELSEWHERE}, &Ca);
    add("bad", curve, {"other.example", ELSEWHERE, -20, -10}, &stranger);
}

const CERTIFICATES::IDENTITY& CERTIFICATES::Get(const std::string& name) const {
    const auto at = std::find_if(Made.begin(), Made.end(), [&](const IDENTITY& row) { return row.Name == name; });
    return at == Made.end() ? Made.front() : *at;
}

std::string CERTIFICATES::Pem(const CERTIFICATE& certificate) {
    return Written([&](BIO* out) { PEM_write_bio_X509(out, certificate.get()); });
}

std::string CERTIFICATES::Pem(const KEY& key) {
    return Written([&](BIO* out) { PEM_write_bio_PrivateKey(out, key.get(), nullptr, nullptr, 0, nullptr, nullptr); });
}

std::string CERTIFICATES::Der(const CERTIFICATE& certificate) {
    return Written([&](BIO* out) { i2d_X509_bio(out, certificate.get()); });
}

std::string CERTIFICATES::Sha256(const CERTIFICATE& certificate) {
    std::array<unsigned char, 32> digest{};
    X509_digest(certificate.get(), EVP_sha256(), digest.data(), nullptr);
    std::string text;
    for (const unsigned char byte : digest)
        for (const int digit : {byte >> 4, byte & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

std::string CERTIFICATES::ServerPem(const IDENTITY& identity) {
    std::string text = Pem(identity.Own);
    for (const CERTIFICATE& certificate : identity.Chain)
        text += Pem(certificate);
    return text + Pem(identity.Key);
}
