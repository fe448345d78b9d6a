#pragma once

#include <string>
#include <string_view>

#include "tests/servers/serverprocess.h"
#include "tests/support/testsupport.h"

/// A private nginx on loopback, as long as the object lives. Its folders:
///   /          documents as they are, with their length; names in ".gif" are pictures, all others text/html
///   /stored/   the same documents in gzip form, with the length of that
///   /stream/   the same, compressed while they are sent, without a length
///   /private/  the same for the user "me" with the password "secret"
/// and besides /moved, a redirect to /there, and /form, which answers a form with its length, its type and itself.
/// Runs as whoever runs the test. Posix only.
class NGINX {
 public:
    NGINX();
    NGINX(const NGINX&) = delete;
    NGINX& operator=(const NGINX&) = delete;

    /// Empty if it is up; else why not.
    const std::string& Problem() const { return Trouble; }
    /// "127.0.0.1:port".
    std::string HostPort() const { return "127.0.0.1:" + std::to_string(Port); }
    /// Puts a document into all folders. `name` without a folder.
    void Put(const std::string& name, std::string_view text);

 private:
    std::string Configuration() const;

    TEMPDIR Directory;
    std::string Trouble;
    int Port = 0;
    SERVERPROCESS Process;
};
