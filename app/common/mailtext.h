#pragma once

#include "corelib/base/strings.h"

/// Replaces text, the value of an address field, by the display part of its first address, without quotes and comments,
/// and fills email with the address itself. Where there is only one of the two, both get it.
void SplitAddress(STRING& text, STRING& email);

/// Decodes encoded words (RFC 2047) in place, without conversion to another charset: Base64 of any charset, and
/// quoted-printable of ISO-8859-1. Other words lose their frame and stay as they are, with "_" made a blank.
void DecodeEncodedWords(STRING& text);

/// Reads the value of a Date field that begins with a weekday: the date as "2026-03-04", the time as "05:06", in the
/// zone in which they were written. What cannot be read is 0.
void ParseDate(const STRING& value, STRING& dateOut, STRING& timeOut);
