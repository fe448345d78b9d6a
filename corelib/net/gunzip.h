#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Decodes gzip data (RFC 1952), all members of it. Data that is not gzip comes back as it is; damaged or cut data
/// gives what can be had of it. At most `limit` bytes.
std::string Gunzip(std::string_view data, int64_t limit);
