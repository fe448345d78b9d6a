#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// A folder of mail on the disk as servers keep it (maildir), seen past the server. Posix only.
class MAILDIR {
 public:
    /// What is put into it belongs to this user and group.
    MAILDIR(std::string path, uid_t owner, gid_t group) : Path(std::move(path)), Owner(owner), Group(group) {}

    /// Makes it, empty.
    void Create() const;
    /// Puts a mail into it, after those that are there. Lines of `text` end in "\n"; flags as in the file's name, in
    /// alphabetical order: S is seen. Without flags nobody has looked at it yet.
    void Deliver(std::string_view text, const std::string& flags = "") const;
    /// The texts as they lie on the disk, and the flags, in the order of delivery.
    std::vector<std::string> Texts() const;
    std::vector<std::string> Flags() const;

 private:
    void GiveToOwner(const std::string& path) const;
    std::vector<std::string> Files() const;

    std::string Path;
    uid_t Owner;
    gid_t Group;
};
