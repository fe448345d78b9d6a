#pragma once

#include <string>
#include <string_view>

/// The platform's terminal. Texts are UTF-8.
namespace TERMINAL {

/// To be called once, before anything else: makes the terminal take UTF-8.
void Prepare();
/// Whether a person sees standard output, or types standard input.
bool OutputIsTerminal();
bool InputIsTerminal();
/// Columns of the terminal that shows standard output; 80 if unknown.
int Columns();
/// Writes to standard output or standard error, at once.
void Write(std::string_view text);
void WriteError(std::string_view text);
/// A line from standard input without its end; false at its end. hidden: what is typed does not show.
bool ReadLine(std::string& line, bool hidden);
/// Bytes of standard input as they come, at most `bytes`: their number, 0 at its end, -1 on error.
int ReadBytes(char* buffer, int bytes);
/// What a person has typed meanwhile, if only one key: its character, 0 for nothing. Where a terminal gives whole lines
/// only, the first character of the line.
int PressedKey();
/// `stop` is called, on a thread of the platform's or in a signal handler, when the user or the system asks the program
/// to end. It may only set flags.
void OnStop(void (*stop)());

}  // namespace TERMINAL
