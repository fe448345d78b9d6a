#pragma once

#include <cstdint>
#include <string_view>

#include "corelib/base/printflike.h"

/// Bits of the flags of a STRING. BINARY: a STRINGARRAY writes this value as Base64. DYNABLOCK: the buffer grows by
/// half its size from now on; only Make sets it.
inline constexpr uint32_t STRINGFLAG_BINARY = 1;
inline constexpr uint32_t STRINGFLAG_DYNABLOCK = 2;

/// For the flags of Word and Line: a missing word comes back empty and not null.
inline constexpr uint32_t WORD_NEVERNULL = 0x10000;

/// The gate through which a text that may be null passes on its way to a library function. A pointer that is set comes
/// back as it is; NULL becomes the text "<NULL>", or stays NULL if the environment variable VELMORAFAILONNULL says so
/// (bit 1: stay NULL, bit 2: and assert). `tag` names the place for the assertion.
const char* FailOnNull(const char* p, const char* tag);

/// Compares without regard to the case of ASCII letters, as unsigned bytes. nullaware: two NULLs are equal, exactly
/// one gives 1. Otherwise NULL goes through FailOnNull. Below 0, 0 or above 0.
int stricmp(const char* p1, const char* p2, bool nullaware);

/// The 96-byte blocks of string buffers come from a pool of at most 127 blocks, very large ones from the system (see
/// LARGEBLOCK), which then have more bytes than `size` has asked for; other sizes from the heap.
char* AllocBlock(int& size);
void FreeBlock(char* block, int size);

/// Frees the pool for good, at the very end of the program. Strings may still be freed and made afterwards.
void ClosePool();

/// A counted, growable byte string that can also be null. Null ("there is no such thing": no buffer, NotNull() false)
/// and empty (a buffer with a zero byte) are different. The text is always followed by a zero byte. Lengths are bytes
/// and at most 2^31-2. A STRING has no lock: one thread at a time.
class STRING {
 public:
    /// The longest text, in bytes. A longer one is a failed assertion, and is left out.
    static constexpr int MAX_LENGTH = 0x7ffffffe;

    /// A null string that grows in steps of 96 bytes.
    STRING() = default;
    /// A null string that grows in steps of blockSize bytes (above 0).
    explicit STRING(int blockSize) : BlockSize(blockSize) {}
    /// A copy of the zero-terminated text; NULL gives a null string.
    STRING(const char* text);
    /// A copy of the bytes, zero bytes included; never null.
    explicit STRING(std::string_view text);
    /// Copies block size, flags and text.
    STRING(const STRING& other);
    STRING(STRING&& other) noexcept;
    ~STRING();

    /// Copies text and flags, but not the block size; a null source releases the buffer.
    STRING& operator=(const STRING& other);
    STRING& operator=(STRING&& other) noexcept;
    STRING& operator=(const char* text) { return *this = STRING(text); }

    bool NotNull() const { return Buffer != nullptr; }
    /// Bytes of the text; 0 for a null string.
    int Length() const { return Buffer ? StrLen : 0; }
    /// The zero-terminated text, or NULL for a null string. Valid until the string changes.
    const char* Ptr() const { return Buffer; }
    /// The zero-terminated text; "<NULL>" for a null string.
    const char* Text() const { return FailOnNull(Buffer, "Text"); }
    /// All bytes; empty for a null string. Valid until the string changes.
    std::string_view View() const { return Buffer ? std::string_view(Buffer, StrLen) : std::string_view(); }
    /// The bytes for writing; NULL for a null string. Use after Make.
    char* Data() { return Buffer; }

    int GetBufLen() const { return BufLen; }
    int GetBlockSize() const { return BlockSize; }
    uint32_t GetFlags() const { return Flags; }
    void SetFlags(uint32_t flags) { Flags = flags; }

    /// Makes room for l bytes and a terminator, and sets the length to l. With `text` the l bytes are copied from it,
    /// without it the buffer keeps its content and the caller fills the bytes. A negative l does nothing at all.
    void Make(int l, const char* text);

    /// Pieces: always new, never null strings. Right and the forms with a search need a string that is not null.
    STRING Left(int n) const { return Mid(0, n); }
    STRING Right(int n) const;
    STRING Mid(int start, int len = -1) const;
    STRING UpTo(int start, const char* chars) const;

    /// Appends `length` bytes, or up to the zero byte for -1; NULL appends "<NULL>".
    void Append(const char* text, int length = -1);
    /// Appends n bytes; a null string becomes non-null, even with n 0.
    void AppendBytes(const char* bytes, int n);
    void AppendBytes(std::string_view bytes);
    /// Appends the bytes of other; a null other adds nothing.
    STRING& operator+=(const STRING& other);

    void Truncate(int newlength);
    void DeleteLeft(int howmany);
    void DeleteRight(int howmany);
    void InsertChars(int howmany, int pos, char ch);
    void Insert(const char* text, int pos);

    /// Searches: the offset, or -1. iPos does not regard the case of ASCII letters and passes zero bytes.
    int Pos(char ch) const;
    int Pos(const char* str, int start = 0) const;
    int iPos(const char* str, int start = 0) const;
    /// The same, storing the offset (also -1) if `position` is set; true if found.
    bool Pos(const char* str, int* position) const;
    bool iPos(const char* str, int* position) const;

    /// In place, ASCII letters only, up to the first zero byte.
    void ToLower();
    void ToUpper();

    /// Replaces every `from` by `to`; what was put in is not searched again. An empty `from` does nothing.
    void Replace(const char* from, const char* to, bool casesensitive = true);
    /// Removes bytes that occur in `chars` at the left ('L'), the right ('R') or both ends ('B').
    void Strip(char how, const char* chars);
    /// Removes the last (first) byte if it is ch; true if it was.
    bool ChopLast(char ch);
    bool ChopFirst(char ch);

    /// printf into the string, at most 2047 bytes; the count comes back.
    int Format(const char* fmt, ...) PRINTF_LIKE(2, 3);
    int AppendFormat(const char* fmt, ...) PRINTF_LIKE(2, 3);

    /// The n-th word (from 0) between any bytes of `separators`; null if there are fewer. With the low 16 bits of flags
    /// not 0 the word runs to the end of the text. Counts from the start at each call: loops over long texts use
    /// WORDCURSOR.
    STRING Word(int n, const char* separators, uint32_t flags = 0) const;
    STRING Line(int n, uint32_t flags = 0) const { return Word(n, "\n", flags); }

    /// Backslash forms of all bytes outside 32..127, of backslash and of the bytes in `chars`; and back.
    STRING Escape(const char* chars) const;
    STRING Unescape() const;
    /// Base64 (RFC 4648 alphabet), with breaklines in lines of 76 characters; and back, passing over other bytes.
    STRING ToBase64(bool breaklines = false) const;
    STRING FromBase64() const;
    /// CRC-32 by the reflected table with start value 0 and no final inversion.
    uint32_t Crc() const;

    /// Writes the text to a file, replacing it whole; mode "w" turns "\n" into CR LF, "wb" does not. False on failure,
    /// and an existing file is then as it was.
    [[nodiscard]] bool Save(const char* filename, const char* mode) const;
    /// Reads a whole file; mode "r" turns CR LF into "\n" and ends at byte 26, "rb" does not. False on failure, and the
    /// string is then unchanged.
    [[nodiscard]] bool Load(const char* filename, const char* mode);

    /// The byte at i; reading may touch the terminator, writing may not. A bad index is a failed assertion and gives a
    /// zero byte.
    char operator[](int i) const;
    char& operator[](int i);

 private:
    char* Buffer = nullptr;
    int32_t StrLen = 0;
    int32_t BufLen = 0;
    int32_t BlockSize = 96;
    uint32_t Flags = 0;
};

/// Concatenation. A null left operand adds nothing, a null right operand adds "<NULL>".
STRING operator||(const STRING& left, const STRING& right);
STRING operator||(const STRING& left, const char* right);
STRING operator||(const char* left, const STRING& right);

/// Byte for byte; a null string equals an empty one here (ask NotNull() for the difference).
inline bool operator==(const STRING& left, std::string_view right) {
    return left.View() == right;
}
inline bool operator==(const STRING& left, const char* right) {
    return left.View() == right;
}
inline bool operator==(const STRING& left, const STRING& right) {
    return left.View() == right.View();
}

/// Decimal number at the start of the text, 0 without one (a null string too); stays at the ends of the type's range.
int atoi(const STRING& text);
int64_t atoi64(const STRING& text);

/// Gives the same pieces as Word(0), Word(1), ... with flags 0, in linear time. The text must outlive the cursor. Like
/// Word it ends at the first zero byte.
class WORDCURSOR {
 public:
    WORDCURSOR(const STRING& text, const char* separators);
    /// Stores the next piece; false when Word would give null.
    bool Next(std::string_view& piece);

 private:
    const char* At;
    const char* Separators;
};
