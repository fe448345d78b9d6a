#pragma once

#include <string>

#include "app/common/texts.h"

/// A text in UTF-8, with each $1 replaced by `value` (UTF-8 too). Switches in it have the form that is usual on the
/// platform.
std::string ConsoleText(const TEXTS& texts, int id, const std::string& value = {});

/// What a person types to start the program: its name, or what TARNWICK_COMMAND in the environment says, which a script
/// that starts it sets.
std::string CommandName();
