#pragma once

#include <string>

#include "app/common/texts.h"

/// A text in UTF-8, with $1 replaced by `value` (UTF-8 too).
std::string ConsoleText(const TEXTS& texts, int id, const std::string& value = {});
