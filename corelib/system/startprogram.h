#pragma once

#include "corelib/base/strings.h"

/// Starts a program; Windows only. A "*" before the name asks for a minimised start. With arguments the name gets
/// quotes unless it begins with one; without, it is the whole command line. directory: empty for the current one;
/// title: empty for none. wait: comes back when the program has ended. False, with the reason for a person, if it did
/// not start.
[[nodiscard]] bool StartProgram(const STRING& name, const STRING& arguments, const STRING& directory,
                                const STRING& title, bool wait, STRING* error = nullptr);
