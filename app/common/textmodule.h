#pragma once

#include "app/common/texts.h"

/// The platform's half of a language library: one open file of texts.
struct LANGUAGELIBRARY::MODULE {
    /// What stands after "english" and "german" in the file's name.
    static const char* const Extension;

    MODULE() = default;
    ~MODULE();
    MODULE(const MODULE&) = delete;
    MODULE& operator=(const MODULE&) = delete;

    [[nodiscard]] bool Open(const char* path);
    /// Stores the text in UTF-8; false if there is none of that number.
    [[nodiscard]] bool Find(int id, STRING& text) const;

    void* Handle = nullptr;
    const void* Table = nullptr;
};
