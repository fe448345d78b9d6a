#include "corelib/base/strings.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <utility>

#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/largeblock.h"
#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"

namespace {

constexpr int POOL_BLOCK = 96;
constexpr int POOL_MAX = 127;
constexpr int FORMAT_BUFFER = 2048;
constexpr int MAX_LENGTH = STRING::MAX_LENGTH;

// Never destroyed: strings with static lifetime may be freed after everything else.
struct BLOCKPOOL {
    std::mutex Lock;
    char* Blocks[POOL_MAX];
    int Count = 0;
    std::atomic<bool> Closed = false;
};

BLOCKPOOL& Pool() {
    static auto* pool = new BLOCKPOOL;
    return *pool;
}

int FormatInto(char* buffer, const char* fmt, va_list args) {
    int count = vsnprintf(buffer, FORMAT_BUFFER, fmt, args);
    ASSERTION(count >= 0 && count < FORMAT_BUFFER - 1, "rc<sizeof(buf)-1");
    return std::clamp(count, 0, FORMAT_BUFFER - 1);
}

// A size as a length; 0 if no STRING can be so long.
int AsLength(size_t size) {
    return ASSERTION(size <= MAX_LENGTH, "this->BufLen>=(l+1)") ? static_cast<int>(size) : 0;
}

STRING Join(std::string_view left, std::string_view right) {
    left = left.substr(0, MAX_LENGTH);
    if (!ASSERTION(right.size() <= MAX_LENGTH - left.size(), "this->BufLen>=(l+1)"))
        right = right.substr(0, MAX_LENGTH - left.size());
    STRING result;
    int total = static_cast<int>(left.size() + right.size());
    result.Make(total, nullptr);
    if (!left.empty())
        memcpy(result.Data(), left.data(), left.size());
    if (!right.empty())
        memcpy(result.Data() + left.size(), right.data(), right.size());
    result.Data()[total] = 0;
    return result;
}

void Release(char* block, int size, uint32_t flags) {
    if (block && (flags & STRINGFLAG_SECRET))
        Wipe(block, static_cast<size_t>(size));
    FreeBlock(block, size);
}

STRING AsSecretAs(STRING text, uint32_t flags) {
    text.SetFlags(text.GetFlags() | (flags & STRINGFLAG_SECRET));
    return text;
}

}  // namespace

void Wipe(char* bytes, size_t count) {
    // A loop over volatile bytes is left in.
    for (volatile char* at = bytes; count > 0; --count)
        *at++ = 0;
}

void Wipe(std::string& text) {
    text.resize(text.capacity());
    Wipe(text.data(), text.size());
    text.clear();
}

const char* FailOnNull(const char* p, const char* tag) {
    if (p)
        return p;
    static std::atomic<int> kept = 0;
    if (const char* value = getenv("VELMORAFAILONNULL"))
        kept = static_cast<int>(strtol(value, nullptr, 10));
    int mode = kept;
    const char* result = (mode & 1) ? nullptr : "<NULL>";
    if (mode & 2)
        ASSERTION_INFO(result != nullptr, "p!=NULL", tag ? tag : "<none>");
    return result;
}

int stricmp(const char* p1, const char* p2, bool nullaware) {
    if (nullaware) {
        if (!p1 || !p2)
            return p1 == p2 ? 0 : 1;
    } else {
        p1 = FailOnNull(p1, "stricmp p1");
        p2 = FailOnNull(p2, "stricmp p2");
        // Only the mode that lets NULL through comes here with one.
        if (!p1 || !p2)
            return p1 == p2 ? 0 : 1;
    }
    for (;; ++p1, ++p2) {
        unsigned char a = ASCII::Lower(*p1), b = ASCII::Lower(*p2);
        if (a != b)
            return a < b ? -1 : 1;
        if (!a)
            return 0;
    }
}

char* AllocBlock(int& size) {
    if (size >= LARGEBLOCK::LEAST)
        return LARGEBLOCK::Alloc(size);
    if (size == POOL_BLOCK) {
        BLOCKPOOL& pool = Pool();
        if (!pool.Closed) {
            std::lock_guard hold(pool.Lock);
            if (pool.Count > 0) {
                char* ptr = pool.Blocks[--pool.Count];
                ASSERTION(ptr != nullptr, "ptr");
                return ptr;
            }
        }
    }
    return new char[static_cast<size_t>(size)];
}

void FreeBlock(char* block, int size) {
    if (!block)
        return;
    if (size >= LARGEBLOCK::LEAST) {
        LARGEBLOCK::Free(block, size);
        return;
    }
    if (size == POOL_BLOCK) {
        BLOCKPOOL& pool = Pool();
        if (!pool.Closed) {
            std::lock_guard hold(pool.Lock);
            if (!pool.Closed && pool.Count < POOL_MAX) {
                pool.Blocks[pool.Count++] = block;
                return;
            }
        }
    }
    delete[] block;
}

void ClosePool() {
    BLOCKPOOL& pool = Pool();
    std::lock_guard hold(pool.Lock);
    pool.Closed = true;
    while (pool.Count > 0)
        delete[] pool.Blocks[--pool.Count];
}

STRING::STRING(const char* text) {
    if (text)
        Make(AsLength(strlen(text)), text);
}

STRING::STRING(std::string_view text) {
    static const char nothing = 0;
    Make(AsLength(text.size()), text.data() ? text.data() : &nothing);
}

STRING::STRING(const STRING& other) : BlockSize(other.BlockSize), Flags(other.Flags) {
    if (other.Buffer)
        Make(other.StrLen, other.Buffer);
}

STRING::STRING(STRING&& other) noexcept
    : Buffer(std::exchange(other.Buffer, nullptr)),
      StrLen(std::exchange(other.StrLen, 0)),
      BufLen(std::exchange(other.BufLen, 0)),
      BlockSize(other.BlockSize),
      Flags(other.Flags) {}

STRING::~STRING() {
    Release(Buffer, BufLen, Flags);
}

STRING& STRING::operator=(const STRING& other) {
    if (this == &other)
        return *this;
    if (other.Buffer) {
        Make(other.StrLen, other.Buffer);
    } else {
        Release(std::exchange(Buffer, nullptr), BufLen, Flags);
        StrLen = BufLen = 0;
    }
    Flags = other.Flags;
    return *this;
}

STRING& STRING::operator=(STRING&& other) noexcept {
    if (this == &other)
        return *this;
    Release(Buffer, BufLen, Flags);
    Buffer = std::exchange(other.Buffer, nullptr);
    StrLen = std::exchange(other.StrLen, 0);
    BufLen = std::exchange(other.BufLen, 0);
    Flags = other.Flags;
    return *this;
}

void STRING::Make(int l, const char* text) {
    if (l < 0 || !ASSERTION(l <= MAX_LENGTH, "this->BufLen>=(l+1)"))
        return;
    int need = l + 1;
    int oldLength = Length();
    char* former = nullptr;  // lives until text is copied, which may lie in it
    int formerSize = BufLen;
    if (BufLen < need) {
        int64_t wanted = (int64_t{need} / BlockSize + 1) * BlockSize;
        int newSize = static_cast<int>(std::min<int64_t>(wanted, std::numeric_limits<int32_t>::max()));
        char* block = AllocBlock(newSize);
        ASSERTION(block != nullptr, "buffer");
        int keep = std::min(newSize, oldLength);
        if (keep > 0)
            memcpy(block, Buffer, static_cast<size_t>(keep));
        // What the text is copied to need not be touched twice, nor what may be much.
        const int filled = text ? l : keep;
        if (newSize < LARGEBLOCK::LEAST)
            memset(block + filled, 0, static_cast<size_t>(newSize - filled));
        former = std::exchange(Buffer, block);
        BufLen = newSize;
        // Each growth copies the whole text, so larger texts grow in larger steps; small ones, of which there are
        // thousands, waste little.
        if (Flags & STRINGFLAG_DYNABLOCK) {
            int step = std::min(newSize / 2, 0x20000);
            if (step >= 4096 && step < 0x20000)
                step = (step + 1023) / 1024 * 1024;
            if (step != BlockSize) {
                BlockSize = step;
                Trace("STRING::Make STRINGFLAG_DYNABLOCK new blocksize %d\n", BlockSize);
            }
        } else if (newSize >= 32768) {
            Flags |= STRINGFLAG_DYNABLOCK;
            BlockSize = 16382;
            Trace("STRING::Make Upgrade String to STRINGFLAG_DYNABLOCK\n");
        } else if (newSize >= 8192) {
            BlockSize = 4096;
        } else if (newSize >= 4096) {
            BlockSize = 2048;
        } else if (newSize >= 1024) {
            BlockSize = 1024;
        }
    }
    if (text) {
        ASSERTION(BufLen >= need, "this->BufLen>=(l+1)");
        memmove(Buffer, text, static_cast<size_t>(l));
        if (oldLength > l)
            memset(Buffer + l, 0, static_cast<size_t>(oldLength - l));
    }
    StrLen = l;
    Buffer[l] = 0;
    Release(former, formerSize, Flags);
}

STRING STRING::Right(int n) const {
    n = std::max(n, 0);
    int length = Buffer ? static_cast<int>(strlen(Buffer)) : 0;
    return Mid(std::max(0, length - n), n);
}

STRING STRING::Mid(int start, int len) const {
    int length = Length();
    if (start < 0)
        start = 0;
    if (start >= length || (len < 0 && len != -1))
        return STRING("");
    int room = length - start;
    return AsSecretAs(
        STRING(std::string_view(Buffer + start, static_cast<size_t>(len == -1 ? room : std::min(len, room)))), Flags);
}

STRING STRING::UpTo(int start, const char* chars) const {
    std::string_view text = View();
    if (start < 0 || start >= Length())
        return STRING("");
    size_t end = text.find_first_of(chars, static_cast<size_t>(start));
    return STRING(
        text.substr(static_cast<size_t>(start), end == text.npos ? text.npos : end - static_cast<size_t>(start)));
}

void STRING::Append(const char* text, int length) {
    const char* op1 = FailOnNull(text, "STRING::Append op1");
    if (!op1)
        return;
    if (length == -1)
        length = AsLength(strlen(op1));
    else if (!text)
        length = std::min(length, static_cast<int>(strlen(op1)));  // the caller's length is not of what stands in
    AppendBytes(op1, length);
}

void STRING::AppendBytes(std::string_view bytes) {
    AppendBytes(bytes.data(), AsLength(bytes.size()));
}

void STRING::AppendBytes(const char* bytes, int n) {
    if (n < 0)
        return;
    int old = Length();
    if (n > MAX_LENGTH - old) {
        ASSERTION(false, "this->BufLen>=(l+1)");
        return;
    }
    if (n > 0 && Buffer && bytes >= Buffer && bytes < Buffer + BufLen) {
        // A piece of the string itself: growing may move it.
        STRING copy{std::string_view(bytes, static_cast<size_t>(n))};
        Make(old + n, nullptr);
        memcpy(Buffer + old, copy.Buffer, static_cast<size_t>(n));
        return;
    }
    Make(old + n, nullptr);
    if (n > 0)
        memcpy(Buffer + old, bytes, static_cast<size_t>(n));
}

STRING& STRING::operator+=(const STRING& other) {
    Flags |= other.Flags & STRINGFLAG_SECRET;
    if (other.Buffer)
        AppendBytes(other.Buffer, other.StrLen);
    return *this;
}

void STRING::Truncate(int newlength) {
    if (!ASSERTION(newlength >= 0, "newlength>=0"))
        return;
    if (newlength >= Length())
        return;
    memset(Buffer + newlength, 0, static_cast<size_t>(StrLen - newlength));
    StrLen = newlength;
}

void STRING::DeleteLeft(int howmany) {
    if (!ASSERTION(howmany >= 0, "howmany>=0") || howmany == 0)
        return;
    if (howmany >= Length()) {
        Truncate(0);
        return;
    }
    memmove(Buffer, Buffer + howmany, static_cast<size_t>(StrLen - howmany) + 1);
    StrLen -= howmany;
}

void STRING::DeleteRight(int howmany) {
    if (ASSERTION(howmany >= 0, "howmany>=0"))
        Truncate(howmany >= Length() ? 0 : StrLen - howmany);
}

void STRING::InsertChars(int howmany, int pos, char ch) {
    if (!ASSERTION(howmany >= 0, "howmany>=0") || pos < 0 || pos >= Length() || howmany > MAX_LENGTH - StrLen)
        return;
    int old = StrLen;
    Make(old + howmany, nullptr);
    memmove(Buffer + pos + howmany, Buffer + pos, static_cast<size_t>(old - pos));
    memset(Buffer + pos, ch, static_cast<size_t>(howmany));
}

void STRING::Insert(const char* text, int pos) {
    if (!ASSERTION(text == nullptr || text != Buffer, "text!=this->Buffer"))
        return;
    if (pos == Length()) {
        Append(text);
    } else if (pos >= 0 && pos < Length()) {
        // A copy: the text may lie in this string.
        const STRING piece(FailOnNull(text, "STRING::Insert"));
        int n = piece.Length();
        if (n == 0 || n > MAX_LENGTH - StrLen)
            return;
        InsertChars(n, pos, ' ');
        memcpy(Buffer + pos, piece.Buffer, static_cast<size_t>(n));
    }
}

bool STRING::ChopLast(char ch) {
    if (Length() < 1 || Buffer[StrLen - 1] != ch)
        return false;
    Truncate(StrLen - 1);
    return true;
}

bool STRING::ChopFirst(char ch) {
    if (Length() < 1 || Buffer[0] != ch)
        return false;
    DeleteLeft(1);
    return true;
}

int STRING::Format(const char* fmt, ...) {
    char buffer[FORMAT_BUFFER];
    va_list args;
    va_start(args, fmt);
    int count = FormatInto(buffer, fmt, args);
    va_end(args);
    Make(count, buffer);
    return count;
}

int STRING::AppendFormat(const char* fmt, ...) {
    char buffer[FORMAT_BUFFER];
    va_list args;
    va_start(args, fmt);
    int count = FormatInto(buffer, fmt, args);
    va_end(args);
    AppendBytes(buffer, count);
    return count;
}

bool STRING::Save(const char* filename, const char* mode) const {
    const char* text = FailOnNull(Buffer, "STRING::Save");
    std::string_view bytes(text ? text : "", Buffer ? static_cast<size_t>(StrLen) : 0);
    return FILES::ReplaceAll(filename, bytes, !strchr(mode, 'b'));
}

bool STRING::Load(const char* filename, const char* mode) {
    uint32_t binary = Flags & STRINGFLAG_BINARY;
    if (!FILES::ReadAll(filename, !strchr(mode, 'b'), *this))
        return false;
    Flags |= binary;
    return true;
}

char STRING::operator[](int i) const {
    if (!ASSERTION(i >= 0 && i <= Length(), "i>=0 && i<=this->StrLen") || !Buffer)
        return 0;
    return Buffer[i];
}

char& STRING::operator[](int i) {
    static thread_local char spare;
    if (!ASSERTION(i >= 0 && i < Length(), "i>=0 && i<this->StrLen")) {
        spare = 0;
        return spare;
    }
    return Buffer[i];
}

STRING operator||(const STRING& left, const STRING& right) {
    if (right.NotNull())
        return AsSecretAs(Join(left.View(), right.View().substr(0, strlen(right.Ptr()))),
                          left.GetFlags() | right.GetFlags());
    return left || static_cast<const char*>(nullptr);
}

STRING operator||(const STRING& left, const char* right) {
    right = FailOnNull(right, "STR::op2||");
    return AsSecretAs(Join(left.View(), right ? std::string_view(right) : std::string_view()), left.GetFlags());
}

STRING operator||(const char* left, const STRING& right) {
    left = FailOnNull(left, "STR::op1||");
    const char* second = FailOnNull(right.Ptr(), "STR::op2||");
    return AsSecretAs(Join(left ? std::string_view(left) : std::string_view(),
                           second ? std::string_view(second) : std::string_view()),
                      right.GetFlags());
}
