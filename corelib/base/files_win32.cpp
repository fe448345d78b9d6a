#include <climits>
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
    FILEHOLD(const char* path, DWORD access, DWORD share, DWORD disposition)
        : File(CreateFileW(WideFilePath(path).c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL,
                           nullptr)) {}
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

}  // namespace

namespace FILES {

STRING NativePath(const char* path) {
    return STRING(path);
}

STRING SystemPath(const char* nativePath) {
    return STRING(nativePath);
}

bool AppendBytes(const char* path, std::string_view bytes) {
    FILEHOLD file(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS);
    return file.IsOpen() && WriteBytes(file.Get(), bytes) && file.Close();
}

bool Remove(const char* path) {
    return DeleteFileW(WideFilePath(path).c_str());
}

bool Rename(const char* from, const char* to) {
    return MoveFileExW(WideFilePath(from).c_str(), WideFilePath(to).c_str(), MOVEFILE_REPLACE_EXISTING);
}

}  // namespace FILES

namespace FILESPLATFORM {

bool ReadBytes(const char* path, STRING& content) {
    FILEHOLD file(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    if (!file.IsOpen())
        return false;
    char buffer[65536];
    for (;;) {
        DWORD got = 0;
        if (!ReadFile(file.Get(), buffer, sizeof buffer, &got, nullptr))
            return false;
        if (got == 0)
            return true;
        if (content.Length() > INT_MAX - 1 - static_cast<int>(got))
            return false;
        content.AppendBytes(buffer, static_cast<int>(got));
    }
}

bool ReplaceBytes(const char* path, std::string_view bytes) {
    DWORD attributes = GetFileAttributesW(WideFilePath(path).c_str());
    bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)))
        return false;
    STRING beside;
    beside.Format("%s.%lx-%lx", path, GetCurrentProcessId(), GetCurrentThreadId());
    FILEHOLD file(beside.Text(), GENERIC_WRITE, 0, CREATE_ALWAYS);
    if (!file.IsOpen())
        return false;
    bool ok = WriteBytes(file.Get(), bytes) && FlushFileBuffers(file.Get());
    ok = file.Close() && ok;
    ok = ok && MoveOver(beside.Text(), path);
    if (!ok)
        FILES::Remove(beside.Text());
    return ok;
}

}  // namespace FILESPLATFORM
