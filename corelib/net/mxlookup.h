#pragma once

#include "corelib/base/strings.h"

/// Asks for the mail servers of a domain (MX records, RFC 1035 and RFC 5321 section 5).
class MXLOOKUP {
 public:
    virtual ~MXLOOKUP() = default;
    /// True if the name has a mail server. bestmx is the host of the lowest preference below 999, the first of equals;
    /// list gets a line "MX:preference|host" for each record, in their order. Both are emptied first. With a null name
    /// it only makes sure that the name service can be used, and tells whether it can.
    virtual bool GetAddr(const char* name, STRING& bestmx, STRING& list) = 0;
};
