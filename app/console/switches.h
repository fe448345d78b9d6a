#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/core/arguments.h"

/// A switch of the console program, in its two forms: "/NAME:value" (also "-NAME:value"), and "--long=value" or
/// "--long value". A value that may be left out has brackets around it, and then follows "--long=" only.
struct SWITCH {
    const char* Name;
    const char* Long;
    const char* Value;  // how it is named: words that "|" splits are all that may be given; null without one
    int Help;           // the text that tells what it does
};

/// Switches that belong together, in the order of the help.
struct SWITCHGROUP {
    int Title;  // text
    std::span<const SWITCH> Switches;
};

/// What is wrong with the words of the command line.
enum class SWITCHFAULT { None, Unknown, NoValue, Superfluous };

/// All switches.
std::span<const SWITCHGROUP> SwitchGroups();
/// One of the forms with its value, as the help shows it: "/NAME[:VALUE]" or "--long=VALUE".
std::string SlashForm(const SWITCH& entry);
std::string LongForm(const SWITCH& entry);

/// The words of a command line (the first is the program's name) with "/" forms for those that begin with "--", and for
/// the values that follow them. What is none of them, or lacks its value, stays as it is.
std::vector<std::string> WithSlashes(const std::vector<std::string>& words);
/// A text of ours in which switches are written as "/NAME": on posix it gets the long forms instead.
std::string WithUsualForms(std::string text);
/// The same for posix, whatever the platform.
std::string WithLongForms(std::string text);

/// Looks at every word; the first that is no switch, lacks its value, or has one that it does not take, goes to `word`.
SWITCHFAULT CheckSwitches(const ARGUMENTS& arguments, std::string& word);
/// The switch that a mistyped word may stand for, in its form without a value; "" if none is like it.
std::string NearestSwitch(std::string_view word);
/// How the switch of that word is written, in the word's own form; "" if it is none.
std::string FormOf(std::string_view word);
/// Whether help is asked for: /HELP, /?, and the forms that are usual elsewhere.
bool HelpWanted(const ARGUMENTS& arguments);
