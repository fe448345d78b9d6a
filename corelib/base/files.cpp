#include "corelib/base/files.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "corelib/base/filesplatform.h"

namespace FILES {

namespace {

constexpr char TEXT_END = 26;

// CR LF becomes LF, and byte 26 ends the text; in place.
void FromTextForm(STRING& text) {
    char* data = text.Data();
    int length = text.Length();
    if (const void* end = memchr(data, TEXT_END, static_cast<size_t>(length)))
        length = static_cast<int>(static_cast<const char*>(end) - data);
    int out = 0;
    for (int in = 0; in < length; ++in)
        if (data[in] != '\r' || in + 1 >= length || data[in + 1] != '\n')
            data[out++] = data[in];
    text.Truncate(out);
}

// May be longer than a STRING can be.
std::string ToTextForm(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() + static_cast<size_t>(std::count(bytes.begin(), bytes.end(), '\n')));
    for (char c : bytes) {
        if (c == '\n')
            text += '\r';
        text += c;
    }
    return text;
}

}  // namespace

bool ReadAll(const char* path, bool text, STRING& out) {
    STRING content("");
    if (!FILESPLATFORM::ReadBytes(path, content))
        return false;
    if (text)
        FromTextForm(content);
    out = std::move(content);
    return true;
}

bool ReplaceAll(const char* path, std::string_view bytes, bool text) {
    if (!text)
        return FILESPLATFORM::ReplaceBytes(path, bytes);
    return FILESPLATFORM::ReplaceBytes(path, ToTextForm(bytes));
}

bool Copy(const char* from, const char* to) {
    STRING content;
    return ReadAll(from, false, content) && ReplaceAll(to, content.View(), false);
}

}  // namespace FILES
