#pragma once

#include <memory>
#include <openssl/ssl.h>
#include <string>
#include <vector>

/// Certificates for tests, made anew by each program that asks. Posix only.
class CERTIFICATES {
 public:
    using KEY = std::shared_ptr<EVP_PKEY>;
    using CERTIFICATE = std::shared_ptr<X509>;
    struct IDENTITY {
        std::string Name;
        KEY Key;
        CERTIFICATE Own;
        std::vector<CERTIFICATE> Chain;  // what the server shows besides
    };

    CERTIFICATES();
    /// The certificate that all but "self" and "unknown" lead to.
    const CERTIFICATE& Root() const { return Ca.Own; }
    /// By name, "good" for one that there is not:
    /// good, ecdsa, ip, zero (its name goes on after a zero byte), wildcard (*.test.example), chain (with its
    /// intermediate), nochain (without), self, unknown,
    /// expired, future, other (another name), bad (expired, another name, unknown issuer)
    const IDENTITY& Get(const std::string& name) const;

    static std::string Pem(const CERTIFICATE& certificate);
    static std::string Pem(const KEY& key);
    static std::string Der(const CERTIFICATE& certificate);
    static std::string Sha256(const CERTIFICATE& certificate);
    /// Key and chain as a server is given them, in one file; and the root.
    static std::string ServerPem(const IDENTITY& identity);

 private:
    struct WANTED {
        const char* Subject;
        const char* Names;  // as OpenSSL writes them; empty: it issues others
        int FromDays = -1;
        int UntilDays = 30;
    };
    static CERTIFICATE Make(const WANTED& wanted, const KEY& key, const IDENTITY* issuer);
    IDENTITY Ca;
    std::vector<IDENTITY> Made;
};
