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
[[nodiscard]] int ReadBytes(char* buffer, int bytes);
/// While it lives, keys come one by one as they are pressed, without Enter and without showing; lines can be read all
/// the same, and what ends or stops the program finds the terminal as it was. One at a time; for a terminal only.
class SINGLEKEYS {
 public:
    SINGLEKEYS();
    ~SINGLEKEYS();
    SINGLEKEYS(const SINGLEKEYS&) = delete;
    SINGLEKEYS& operator=(const SINGLEKEYS&) = delete;
};
/// The key that a person has pressed meanwhile, within SINGLEKEYS: its character; 0 for none, for several and for a key
/// that is no character. It never waits, nor takes anything from a line that is being read.
int PressedKey();
/// Drops the keys that were pressed and not asked for.
void ForgetKeys();
/// `stop` is called, on a thread of the platform's or in a signal handler, when the user or the system asks the program
/// to end. It may only set flags.
void OnStop(void (*stop)());

}  // namespace TERMINAL
