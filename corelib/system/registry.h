#pragma once

#include <cstdint>

#include "corelib/base/strings.h"

/// Roots of the store.
inline constexpr intptr_t ROOT_LOCAL_MACHINE = 0;
inline constexpr intptr_t ROOT_CURRENT_USER = 1;

/// How the second constructor opens a key.
inline constexpr int REGISTRY_READ = 256;
inline constexpr int REGISTRY_WRITE = 257;
inline constexpr int REGISTRY_CREATE = 258;

/// A key of the store of named values: the registry on Windows, one file per key path under the user's configuration
/// directory elsewhere (TARNWICK_REGISTRY names another directory). Traces at level 2.
class REGISTRY {
 public:
    /// Opens or creates Software\company\product below root (0 local machine, 1 current user); a failure is an
    /// assertion.
    REGISTRY(const char* company, const char* product, intptr_t root);
    /// Opens key\subkey below root (subkey may be null); a failed open leaves the object closed, without an assertion.
    REGISTRY(intptr_t root, const char* key, const char* subkey, int mode);
    ~REGISTRY();
    REGISTRY(const REGISTRY&) = delete;
    REGISTRY& operator=(const REGISTRY&) = delete;
    bool IsOpen() const { return hkApp != 0; }
    void Close();

    /// A binary value; true on success.
    [[nodiscard]] bool Write(const char* value, const void* bytes, int length);
    /// A text value, without its terminator; true on success.
    [[nodiscard]] bool Write(const char* value, const char* text);
    /// Reads at most size bytes of a binary value; size becomes the count, 0 on failure. True on success.
    [[nodiscard]] bool Read(const char* value, void* buffer, int* size);
    /// A text value of at most 8192 bytes of UTF-8, without a terminator that it may hold; null if absent.
    STRING Read(const char* value);
    /// True on success.
    bool Delete(const char* value);
    /// Stores all value names, joined by "|"; their number comes back.
    int EnumValues(STRING* names);

 private:
    intptr_t hkApp = 0;
};

/// The text value of key\subkey of the user, or of the machine if he has none; empty without either.
STRING RegistryText(const char* key, const char* subkey, const char* value);
