#include "corelib/base/files.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <mutex>
#include <string>

#include "corelib/base/ascii.h"
#include "corelib/base/filesplatform.h"
#include "corelib/base/wipe.h"

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

bool Replace(const char* path, std::string_view bytes, bool text, LINKS links) {
    if (!text)
        return FILESPLATFORM::ReplaceBytes(path, bytes, links);
    return FILESPLATFORM::ReplaceBytes(path, ToTextForm(bytes), links);
}

// The data directory if what the program writes beside itself goes there; empty otherwise. Never destroyed: the last
// assertions may fail while everything else has gone.
struct OTHERFOLDER {
    std::mutex Mutex;
    std::string Path;
};
OTHERFOLDER& OtherFolder() {
    static auto* folder = new OTHERFOLDER;
    return *folder;
}

}  // namespace

bool ReadHead(const char* path, int bytes, STRING& out) {
    // Not piece by piece into a STRING, which grows in small steps.
    std::string content;
    if (!FILESPLATFORM::ReadBytes(path, bytes, content))
        return false;
    const bool isSecret = (out.GetFlags() & STRINGFLAG_SECRET) != 0;
    out = isSecret ? Secret(STRING(content)) : STRING(content);
    if (isSecret)
        Wipe(content);
    return true;
}

bool ReadTail(const char* path, int bytes, STRING& out) {
    std::string content;
    if (!FILESPLATFORM::ReadLastBytes(path, bytes, content))
        return false;
    out = STRING(std::string_view(content));
    return true;
}

bool ReadAll(const char* path, bool text, STRING& out) {
    if (!ReadHead(path, INT_MAX, out))
        return false;
    if (text)
        FromTextForm(out);
    return true;
}

bool ReplaceAll(const char* path, std::string_view bytes, bool text) {
    return Replace(path, bytes, text, LINKS::Follow);
}

bool Copy(const char* from, const char* to, LINKS links) {
    const bool linkGoes = links == LINKS::Replace && IsLink(to);
    if (!linkGoes && SamePlace(from, to))
        return false;
    STRING content;
    return ReadAll(from, false, content) && Replace(to, content.View(), false, links);
}

bool ReplaceLog(const char* path, std::string_view bytes, bool text) {
    // One that is laid meanwhile is replaced.
    return !IsLink(path) && Replace(path, bytes, text, LINKS::Replace);
}

bool IsLeftover(std::string_view name) {
    const std::string_view mark = FILESPLATFORM::TEMPORARY_MARK, end = FILESPLATFORM::TEMPORARY_END;
    const size_t at = name.rfind(mark);
    if (at == 0 || at == name.npos || !name.ends_with(end))
        return false;
    name.remove_prefix(at + mark.size());
    name.remove_suffix(std::min(name.size(), end.size()));
    const bool length =
        std::ranges::find(FILESPLATFORM::TEMPORARY_LENGTHS, name.size()) != std::end(FILESPLATFORM::TEMPORARY_LENGTHS);
    return length && std::ranges::all_of(name, ASCII::IsLetterOrDigit);
}

void SetDataDirectory(const char* directory) {
    const bool beside = FILESPLATFORM::CanMakeFiles(".");
    const std::lock_guard hold(OtherFolder().Mutex);
    OtherFolder().Path = beside ? "" : directory;
}

STRING OwnFile(const char* name) {
    const std::lock_guard hold(OtherFolder().Mutex);
    const std::string& folder = OtherFolder().Path;
    return folder.empty() ? STRING(name) : STRING(std::string_view(folder + "\\" + name));
}

}  // namespace FILES
