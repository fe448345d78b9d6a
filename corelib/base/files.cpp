#include "corelib/base/files.h"

#include <algorithm>
#include <cstring>

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

STRING ToTextForm(std::string_view bytes) {
    STRING text("");
    auto lines = std::count(bytes.begin(), bytes.end(), '\n');
    text.Make(static_cast<int>(bytes.size()) + static_cast<int>(lines), nullptr);
    char* out = text.Data();
    for (char c : bytes) {
        if (c == '\n')
            *out++ = '\r';
        *out++ = c;
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
    return FILESPLATFORM::ReplaceBytes(path, ToTextForm(bytes).View());
}

bool Copy(const char* from, const char* to) {
    STRING content;
    return ReadAll(from, false, content) && ReplaceAll(to, content.View(), false);
}

}  // namespace FILES
