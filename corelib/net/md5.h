#pragma once

#include <string>
#include <string_view>

/// MD5 (RFC 1321) as lower-case hexadecimal, from the system's library; empty where that refuses it. Old protocols ask
/// for it; it protects nothing.
std::string Md5Hex(std::string_view bytes);
