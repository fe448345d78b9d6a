#include <fcntl.h>
#include <memory>
#include <mutex>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <sys/stat.h>
#include <unistd.h>

#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/hexdigits.h"
#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"
#include "corelib/system/keyring_posix.h"
#include "corelib/system/osys.h"
#include "corelib/system/sealing.h"

namespace {

constexpr size_t KEY_BYTES = 32, NONCE_BYTES = 12, TAG_BYTES = 16;
constexpr const char *BY_KEYRING = "s1:", *BY_FILE = "k1:";
constexpr size_t MARK_BYTES = 3;

using CIPHER = std::unique_ptr<EVP_CIPHER_CTX, decltype([](EVP_CIPHER_CTX* p) { EVP_CIPHER_CTX_free(p); })>;

std::mutex Looking;  // into the keyring, and of what it has said
std::string OfKeyring;
STRING KeyringTrouble("");  // is not met twice in a run: each time may take as long as somebody's patience

/// A key for as long as it is needed.
struct KEY {
    std::string Bytes;
    ~KEY() { Wipe(Bytes); }
    const unsigned char* Raw() const { return reinterpret_cast<const unsigned char*>(Bytes.data()); }
};

unsigned char* Raw(std::string& text, size_t at = 0) {
    return reinterpret_cast<unsigned char*>(text.data() + at);
}

/// False for anything but a key.
bool ReadKey(std::string_view digits, std::string& bytes) {
    bytes = HEX::FromHex(ASCII::Trim(digits, " \t\r\n"));
    return bytes.size() == KEY_BYTES;
}

bool MakeKey(std::string& bytes) {
    bytes.resize(KEY_BYTES);
    return RAND_bytes(Raw(bytes), KEY_BYTES) == 1;
}

STRING KeyFile() {
    return OSYS::FilePath(OSYS::ProgramConfigDirectory().Text(), "passwords.key");
}

/// True if there is a key in the file; `trouble` says what else there is.
bool ReadKeyFile(std::string& bytes, STRING& trouble) {
    const STRING path = KeyFile();
    STRING text = Secret("");
    struct stat about;
    if (stat(FILES::NativePath(path.Text()).Text(), &about) != 0) {
        trouble = STRING("the key file ") || FILES::NativePath(path.Text()) || " is missing";
        return false;
    }
    // Others may know it by now; but nobody gets his passwords back from a program that refuses.
    if ((about.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        const bool mended = FILES::MakePrivate(path.Text());
        Trace("SEALING: others could read %s, mended= %d\n", path.Text(), static_cast<int>(mended));
    }
    if (FILES::ReadHead(path.Text(), 1024, text) && ReadKey(text.View(), bytes))
        return true;
    trouble = STRING("the key file ") || FILES::NativePath(path.Text()) || " is damaged";
    return false;
}

/// Writes a new key where no file is; that of another program which was faster counts.
bool MakeKeyFile(std::string& bytes, STRING& trouble) {
    const STRING path = KeyFile();
    const STRING native = FILES::NativePath(path.Text());
    struct stat about;
    if (stat(native.Text(), &about) == 0) {
        // Another program may have made it since nobody found one here.
        STRING ignored;
        if (ReadKeyFile(bytes, ignored))
            return true;
        // What lies there is no key. It may still be worth a look.
        const bool moved = FILES::Rename(path.Text(), (path || ".bad").Text());
        Trace("SEALING: %s kept as .bad, ok= %d\n", path.Text(), static_cast<int>(moved));
    }
    (void)OSYS::MakeDirectories(OSYS::ProgramConfigDirectory().Text());  // the file is what counts
    std::string key;
    if (!MakeKey(key))
        return false;
    const std::string beside = std::string(native.View()) + "." + std::to_string(getpid());
    const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    std::string text = HEX::ToHex(key) + "\n";
    const bool written =
        file != -1 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()) && fsync(file) == 0;
    if (file != -1)
        close(file);
    Wipe(text);
    Wipe(key);
    // A link is made at once or not at all, and over nobody's file.
    const bool linked = written && link(beside.c_str(), native.Text()) == 0;
    unlink(beside.c_str());
    if (!linked && stat(native.Text(), &about) != 0) {
        trouble = STRING("the key file ") || native || " cannot be written";
        return false;
    }
    return ReadKeyFile(bytes, trouble);
}

/// The same for the keyring. make: where it has none, it gets one.
bool ReadKeyring(std::string& bytes, bool make, STRING& trouble) {
    const std::lock_guard lock(Looking);
    trouble = KeyringTrouble;
    if (OfKeyring.empty() && trouble.Length() == 0) {
        std::string text;
        const KEYRING::ANSWER answer = KEYRING::Look(text, trouble);
        bool good = answer == KEYRING::ANSWER::FOUND && ReadKey(text, OfKeyring);
        if (answer == KEYRING::ANSWER::ABSENT && make && MakeKey(OfKeyring))
            good = KEYRING::Keep(text = HEX::ToHex(OfKeyring), trouble);
        Wipe(text);
        if (!good)
            Wipe(OfKeyring);
        if (!good && trouble.Length() == 0)
            trouble = answer == KEYRING::ANSWER::NO_KEYRING ? "there is no keyring in this session"
                                                            : "the keyring does not have the key";
        // One that is only empty may get a key yet.
        if (!good && (make || answer != KEYRING::ANSWER::ABSENT))
            KeyringTrouble = trouble;
    }
    bytes = OfKeyring;
    return !bytes.empty();
}

/// The key for what is sealed from now on, and who keeps it: the file where one has been made, else the keyring where
/// there is one.
bool FindForSealing(std::string& bytes, const char*& keeper, STRING& trouble) {
    STRING ignored;
    keeper = BY_FILE;
    if (ReadKeyFile(bytes, ignored))
        return true;
    keeper = BY_KEYRING;
    if (ReadKeyring(bytes, true, ignored))
        return true;
    keeper = BY_FILE;
    return MakeKeyFile(bytes, trouble);
}

}  // namespace

STRING SEALING::Seal(std::string_view text, STRING& trouble) {
    KEY key;
    const char* keeper = nullptr;
    if (!FindForSealing(key.Bytes, keeper, trouble))
        return "";
    std::string sealed(NONCE_BYTES + text.size() + TAG_BYTES, '\0');
    const CIPHER cipher(EVP_CIPHER_CTX_new());
    int count = 0, rest = 0;
    const bool good =
        cipher && RAND_bytes(Raw(sealed), NONCE_BYTES) == 1 &&
        EVP_EncryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.Raw(), Raw(sealed)) == 1 &&
        EVP_EncryptUpdate(cipher.get(), Raw(sealed, NONCE_BYTES), &count,
                          reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size())) == 1 &&
        EVP_EncryptFinal_ex(cipher.get(), Raw(sealed, NONCE_BYTES), &rest) == 1 &&
        EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, TAG_BYTES, Raw(sealed, NONCE_BYTES + text.size())) == 1;
    if (!good)
        trouble = "the cipher fails";
    return good ? STRING(keeper) || STRING(std::string_view(sealed)).ToBase64() : STRING("");
}

bool SEALING::Open(const STRING& sealed, std::string& text, STRING& trouble) {
    const std::string_view mark = sealed.View().substr(0, MARK_BYTES);
    if (mark != BY_FILE && mark != BY_KEYRING) {
        trouble = "sealed on another system";
        return false;
    }
    KEY key;
    if (!(mark == BY_FILE ? ReadKeyFile(key.Bytes, trouble) : ReadKeyring(key.Bytes, false, trouble)))
        return false;
    std::string bytes(sealed.Mid(MARK_BYTES).FromBase64().View());
    trouble = "sealed with another key, or damaged";
    if (bytes.size() < NONCE_BYTES + TAG_BYTES)
        return false;
    std::string plain(bytes.size() - NONCE_BYTES - TAG_BYTES, '\0');
    const CIPHER cipher(EVP_CIPHER_CTX_new());
    int count = 0, rest = 0;
    const bool good =
        cipher && EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.Raw(), Raw(bytes)) == 1 &&
        EVP_DecryptUpdate(cipher.get(), Raw(plain), &count, Raw(bytes, NONCE_BYTES), static_cast<int>(plain.size())) ==
            1 &&
        EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_SET_TAG, TAG_BYTES, Raw(bytes, bytes.size() - TAG_BYTES)) == 1 &&
        EVP_DecryptFinal_ex(cipher.get(), Raw(plain), &rest) == 1;
    if (good) {
        text = plain;
        trouble = "";
    }
    Wipe(plain);
    return good;
}

STRING SEALING::Keeper(const STRING& sealed) {
    const std::string_view mark = sealed.View().substr(0, MARK_BYTES);
    return mark == BY_KEYRING ? STRING("Secret Service")
           : mark == BY_FILE  ? FILES::NativePath(KeyFile().Text())
                              : STRING("");
}
