#pragma once

#include "tests/servers/serverprocess.h"

/// A private nginx on loopback. Its folders:
///   /          documents as they are, with their length; names in ".gif" are pictures, all others text/html
///   /stored/   the same documents in gzip form, with the length of that
///   /stream/   the same, compressed while they are sent, without a length
///   /private/  the same for the user "me" with the password "secret"
/// and besides /moved, a redirect to /there.
/// Runs as whoever runs the test. Posix only.
class NGINX : public LOCALSERVER {
 public:
    NGINX();
    /// Puts a document into all folders. `name` without a folder.
    void Put(const std::string& name, std::string_view text);

 private:
    std::string Configuration() const;
};
