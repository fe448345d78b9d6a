#include <dirent.h>
#include <sys/stat.h>

#include "corelib/base/ascii.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/dirscan.h"
#include "corelib/system/osys.h"

struct DIRSCAN::FINDDATA {
    STRING Directory;  // in the system's form
    STRING Pattern;
    DIR* Find = nullptr;
    unsigned Attributes = 0;
};

namespace {

constexpr unsigned NORMAL_ATTRIBUTE = 128;

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
    pResult->Directory = split == -1 ? STRING(".") : split == 0 ? STRING("\\") : text.Left(split);
    pResult->Pattern = text.Mid(split + 1);
    // Every name, with a dot or without one.
    if (pResult->Pattern == "*.*")
        pResult->Pattern = "*";
    pResult->Find = opendir(FILES::NativePath(pResult->Directory.Text()).Text());
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
        bool directory = OSYS::FileIsDirectory(OSYS::FilePath(pResult->Directory.Text(), entry->d_name).Text());
        pResult->Attributes = directory ? DIRECTORY_ATTRIBUTE : NORMAL_ATTRIBUTE;
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
