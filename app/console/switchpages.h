#pragma once

#include <string>

#include "app/common/texts.h"

/// What tells of the switches, made of their table: so it cannot tell of others. All of it is UTF-8.

/// The switches in their groups, a paragraph each within so many columns (60 at least): first the form that is usual on
/// the platform, at the end the other one in brackets.
std::string HelpText(const TEXTS& texts, int columns);
/// The same in the language of man pages, with both forms in front.
std::string ManOptions(const TEXTS& texts);

/// A script for bash that completes the long forms, and values that are files, directories or words of a list.
std::string BashCompletion();
