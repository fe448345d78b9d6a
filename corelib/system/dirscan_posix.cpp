#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/dirscan.h"

struct DIRSCAN::FINDDATA {
    STRING Pattern;
    DIR* Find = nullptr;
    unsigned Attributes = 0;
};

namespace {

constexpr unsigned NORMAL_ATTRIBUTE = 128;

unsigned AttributesOf(int directory, const char* name) {
    struct stat status{};
    unsigned attributes = 0;
    if (fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode)) {
        attributes = DIRSCAN::LINK_ATTRIBUTE;
        if (fstatat(directory, name, &status, 0) != 0)
            return attributes;
    }
    if (S_ISDIR(status.st_mode))
        attributes |= DIRSCAN::DIRECTORY_ATTRIBUTE;
    return attributes ? attributes : NORMAL_ATTRIBUTE;
}

// `*` and `?`, without regard to case. Steps back to the last `*` only, so the time stays bounded.
bool Matches(const char* pattern, const char* name) {
    const char *star = nullptr, *behindStar = nullptr;
    while (*name) {
        if (*pattern == '*') {
            star = ++pattern;
            behindStar = name;
        } else if (*pattern == '?' || ASCII::Lower(*pattern) == ASCII::Lower(*name)) {
            ++pattern;
            ++name;
        } else if (star) {
            pattern = star;
            name = ++behindStar;
        } else {
            return false;
        }
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == 0;
}

}  // namespace

DIRSCAN::DIRSCAN(const char* pattern, STRING& name) : pResult(std::make_unique<FINDDATA>()), Name(name) {
    ASSERTION(pResult != nullptr, "this->pResult");
    STRING text(pattern);
    int split = -1;
    for (int i = 0; i < text.Length(); ++i)
        if (text[i] == '\\')
            split = i;
    STRING directory = split == -1 ? STRING(".") : split == 0 ? STRING("\\") : text.Left(split);
    pResult->Pattern = text.Mid(split + 1);
    // Every name, with a dot or without one.
    if (pResult->Pattern == "*.*")
        pResult->Pattern = "*";
    pResult->Find = opendir(FILES::NativePath(directory.Text()).Text());
    Next();
}

DIRSCAN::~DIRSCAN() {
    Close();
}

bool DIRSCAN::Next() {
    while (pResult->Find) {
        const dirent* entry = readdir(pResult->Find);
        if (!entry)
            break;
        if (!Matches(pResult->Pattern.Text(), entry->d_name))
            continue;
        Name = STRING(entry->d_name);
        pResult->Attributes = AttributesOf(dirfd(pResult->Find), entry->d_name);
        return true;
    }
    Name = STRING();
    return false;
}

unsigned DIRSCAN::Attributes() const {
    return pResult->Attributes;
}

void DIRSCAN::Close() {
    if (pResult->Find)
        closedir(pResult->Find);
    pResult->Find = nullptr;
}
