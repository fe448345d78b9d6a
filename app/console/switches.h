#pragma once

#include <string>

#include "app/core/arguments.h"

/// A switch of the console program. It begins with "/" or "-"; with a value, "/NAME:value".
struct SWITCH {
    const char* Name;
    const char* Form;  // as the help shows it; a form with ":" needs a value
};

/// What is wrong with the words of the command line.
enum class SWITCHFAULT { None, Unknown, NoValue };

/// All switches, in the order of the help; `count` gets their number.
const SWITCH* AllSwitches(int& count);
/// Looks at every word; the first that is no switch, or lacks its value, goes to `word`.
SWITCHFAULT CheckSwitches(const ARGUMENTS& arguments, std::string& word);
/// Whether help is asked for: /HELP, /?, and the forms that are usual elsewhere.
bool HelpWanted(const ARGUMENTS& arguments);
