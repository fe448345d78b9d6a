#include <algorithm>
#include <windows.h>

#include "corelib/base/clock.h"
#include "corelib/base/files.h"
#include "corelib/base/filesplatform.h"
#include "corelib/base/widepath.h"

namespace {

// A file that another program reads cannot be replaced. Virus scanners and indexers do so for a moment, mostly right
// after a change: the replacement is tried again for half a second.
constexpr int REPLACE_TRIES = 21;
constexpr int REPLACE_PAUSE = 25;  // ms

class FILEHOLD {
 public:
    FILEHOLD(const char* path, DWORD access, DWORD share, DWORD disposition, DWORD flags = FILE_ATTRIBUTE_NORMAL)
        : File(CreateFileW(WideFilePath(path).c_str(), access, share, nullptr, disposition, flags, nullptr)) {}
    ~FILEHOLD() { Close(); }
    FILEHOLD(const FILEHOLD&) = delete;
    FILEHOLD& operator=(const FILEHOLD&) = delete;
    HANDLE Get() const { return File; }
    bool IsOpen() const { return File != INVALID_HANDLE_VALUE; }
    bool Close() {
        if (!IsOpen())
            return true;
        bool ok = CloseHandle(File);
        File = INVALID_HANDLE_VALUE;
        return ok;
    }

 private:
    HANDLE File;
};

bool WriteBytes(HANDLE file, std::string_view bytes) {
    DWORD written = 0;
    return WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
           written == bytes.size();
}

bool MoveOver(const char* fromPath, const char* toPath) {
    const std::wstring from = WideFilePath(fromPath), to = WideFilePath(toPath);
    for (int left = REPLACE_TRIES;;) {
        if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
            return true;
        DWORD error = GetLastError();
        bool inUse = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED ||
                     error == ERROR_LOCK_VIOLATION || error == ERROR_USER_MAPPED_FILE;
        if (!inUse || --left == 0)
            return false;
        CLOCK::Sleep(REPLACE_PAUSE);
    }
}

// A file beside another one that only this thread makes.
STRING TemporaryPath(const char* path) {
    STRING beside;
    beside.Format("%s%s%08lx%08lx%s", path, FILESPLATFORM::TEMPORARY_MARK, GetCurrentProcessId(), GetCurrentThreadId(),
                  FILESPLATFORM::TEMPORARY_END);
    return beside;
}

// An existing file or directory, to ask what it is.
FILEHOLD HoldPlace(const char* path) {
    return FILEHOLD(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS);
}

std::wstring FinalPath(const FILEHOLD& file) {
    return GrownText([&file](wchar_t* room, unsigned long size) {
        return GetFinalPathNameByHandleW(file.Get(), room, size, FILE_NAME_NORMALIZED);
    });
}

bool SameNumbers(const FILEHOLD& first, const FILEHOLD& second) {
    BY_HANDLE_FILE_INFORMATION one, other;
    return GetFileInformationByHandle(first.Get(), &one) && GetFileInformationByHandle(second.Get(), &other) &&
           (one.nFileIndexHigh != 0 || one.nFileIndexLow != 0) &&  // a file system may have none
           one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow &&
           one.dwVolumeSerialNumber == other.dwVolumeSerialNumber;
}

}  // namespace

namespace FILES {

STRING NativePath(const char* path) {
    return STRING(path);
}

STRING SystemPath(const char* nativePath) {
    return STRING(nativePath);
}

bool AppendLog(const char* path, std::string_view bytes) {
    FILEHOLD file(path, FILE_APPEND_DATA | FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS,
                  FILE_FLAG_OPEN_REPARSE_POINT);
    return file.IsOpen() && !HandleIsLink(file.Get()) && WriteBytes(file.Get(), bytes) && file.Close();
}

bool Remove(const char* path) {
    return DeleteFileW(WideFilePath(path).c_str());
}

bool Rename(const char* from, const char* to) {
    return MoveFileExW(WideFilePath(from).c_str(), WideFilePath(to).c_str(), MOVEFILE_REPLACE_EXISTING);
}

bool SamePlace(const char* first, const char* second) {
    const FILEHOLD one = HoldPlace(first), other = HoldPlace(second);
    if (!one.IsOpen() || !other.IsOpen())
        return false;
    const std::wstring path = FinalPath(one);
    return SameNumbers(one, other) || (!path.empty() && path == FinalPath(other));
}

bool IsLink(const char* path) {
    const DWORD attributes = GetFileAttributesW(WideFilePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool MakePrivate(const char* path) {
    // A user's folders are his alone from the start.
    return GetFileAttributesW(WideFilePath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool FlushFolder(const char* folder) {
    // Each file that is written whole is renamed through to the disk; there is no flush for a folder.
    const DWORD attributes = GetFileAttributesW(WideFilePath(folder).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

}  // namespace FILES

namespace FILESPLATFORM {

namespace {

// From where the file stands.
bool ReadOn(FILEHOLD& file, int most, std::string& content) {
    char buffer[65536];
    for (;;) {
        DWORD got = 0;
        const size_t left = static_cast<size_t>(most) - content.size();
        if (!ReadFile(file.Get(), buffer, static_cast<DWORD>(std::min(sizeof buffer, left)), &got, nullptr))
            return false;
        if (got == 0)
            return true;
        if (content.size() + got > STRING::MAX_LENGTH)
            return false;
        content.append(buffer, got);
    }
}

}  // namespace

bool ReadBytes(const char* path, int most, std::string& content) {
    FILEHOLD file(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    return file.IsOpen() && ReadOn(file, most, content);
}

bool ReadLastBytes(const char* path, int most, std::string& content) {
    FILEHOLD file(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, OPEN_EXISTING);
    LARGE_INTEGER size;
    if (!file.IsOpen() || !GetFileSizeEx(file.Get(), &size))
        return false;
    size.QuadPart = std::max<LONGLONG>(size.QuadPart - most, 0);
    return SetFilePointerEx(file.Get(), size, nullptr, FILE_BEGIN) && ReadOn(file, most, content);
}

bool ReplaceBytes(const char* path, std::string_view bytes, FILES::LINKS /*links*/) {
    DWORD attributes = GetFileAttributesW(WideFilePath(path).c_str());
    bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)))
        return false;
    const STRING beside = TemporaryPath(path);
    FILEHOLD file(beside.Text(), GENERIC_WRITE, 0, CREATE_ALWAYS);
    if (!file.IsOpen())
        return false;
    bool ok = WriteBytes(file.Get(), bytes) && FlushFileBuffers(file.Get());
    ok = file.Close() && ok;
    ok = ok && MoveOver(beside.Text(), path);
    if (!ok)
        (void)FILES::Remove(beside.Text());  // what is left goes at a later start
    return ok;
}

bool CanMakeFiles(const char* directory) {
    // What the rights say is not all: the volume may be read-only.
    const STRING inside = TemporaryPath((STRING(directory) || "\\try").Text());
    return FILEHOLD(inside.Text(), GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE).IsOpen();
}

}  // namespace FILESPLATFORM
