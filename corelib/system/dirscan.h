#pragma once

#include <memory>

#include "corelib/base/strings.h"

/// A walk over the entries of a directory that match a pattern: a directory, `\` and a name with `*` and `?` (compared
/// without regard to case). "." and ".." are delivered where the platform does.
class DIRSCAN {
 public:
    /// Sets name to the first match, or null.
    DIRSCAN(const char* pattern, STRING& name);
    ~DIRSCAN();
    DIRSCAN(const DIRSCAN&) = delete;
    DIRSCAN& operator=(const DIRSCAN&) = delete;
    /// Sets the name to the next match, or null; true if there is one.
    bool Next();
    /// Whether the present match is a directory.
    bool IsDirectory() const { return (Attributes() & DIRECTORY_ATTRIBUTE) != 0; }
    /// Whether it leads to another place, as a symbolic link or a junction does. A link to a directory is both.
    bool IsLink() const { return (Attributes() & LINK_ATTRIBUTE) != 0; }
    /// The platform's attribute bits of the present match (16: directory, 1024: link).
    unsigned Attributes() const;
    void Close();
    static constexpr unsigned DIRECTORY_ATTRIBUTE = 16;
    static constexpr unsigned LINK_ATTRIBUTE = 1024;

 private:
    struct FINDDATA;
    std::unique_ptr<FINDDATA> pResult;
    STRING& Name;
};
