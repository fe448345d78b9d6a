#pragma once

#include <cstdint>

#include "app/common/texts.h"
#include "corelib/base/strings.h"

/// The number with the user's separator between groups of three digits.
STRING FormatNumber(int64_t number);
/// Bytes as whole GB, MB or KB, cut off, such as "1,023 KB"; below 1024 bytes "0 KB".
STRING FormatSize(int64_t bytes);
/// "no mails", "1 mail" or "5 mails" with what stands between the number and the noun, blanks included.
STRING FormatMailCount(const TEXTS& texts, int count, const STRING& between = " ");
/// A time span in words, such as "2 hours, 5 minutes". `precisionMs` is the smallest step that shall show: from 60000
/// on minutes, from 1000 on seconds.
STRING FormatDuration(const TEXTS& texts, int64_t milliseconds, int64_t precisionMs);
