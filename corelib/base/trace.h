#pragma once

#include <cstdint>

#include "corelib/base/printflike.h"
#include "corelib/base/strings.h"

/// Writes a line to the trace log, with the prefix "[%04d.%02d:%03x] " (seconds, hundredths, thread). Lines end with
/// "\n" in `fmt`. True if a log or debug output is on. A text without "%" is taken as it stands; text that comes
/// from outside is always an argument. Any thread.
bool Trace(const char* fmt, ...) PRINTF_LIKE(1, 2);
/// The same, but only if the level mask allows it: the low 4 bits of the mask are at least those of `level`, and for a
/// level of 16 or more the mask has one of its upper bits.
bool TraceLevel(uint32_t level, const char* fmt, ...) PRINTF_LIKE(2, 3);
/// True if a line of that level would be written: for callers whose line is costly to make.
bool TraceWanted(uint32_t level);

/// Takes one command line argument; true if it was one of the options /LOGIT, /LOGIT:name, /LOGITHARD, /LOGITHARD:name,
/// /LOGDEBUG, /LOGDBG, /LOG:number, /LOGITCLOSE, /NOASSERT (any case). Only while one thread runs.
bool LogOption(const char* arg);
/// Called once the data directory is known (FILES::SetDataDirectory): a log without a name that could not be made in
/// the current directory is tried there, with the lines so far. Gives the name of a log that was asked for and is not
/// written, null if all is well: none can be made, or what stands there is a link, through which none is written.
STRING SettleLog();

/// The file that the trace goes to; null if it goes to none.
STRING LogFile();

/// Name for the heads of assert.log and of the assertion box; initially "Velmora Application".
void SetApplicationName(const char* name);
/// 7 makes assertion texts German, all else English.
void SetTraceLanguage(int language);
/// Asks a person whether to go on after a failed assertion; true is yes. Without one set, the program goes on.
using ASSERTQUESTION = bool (*)(const char* title, const char* text);
void SetAssertQuestion(ASSERTQUESTION ask);

/// Reports a failed assertion: trace line, assert.log (see FILES::OwnFile), and the question unless `quiet` is
/// set or /NOASSERT was given. True if the program is to go on, which is the rule: the code after an assertion must
/// survive.
bool Assert(bool condition, const char* text, const char* file, int line, const char* info, bool quiet);
/// How many assertions have failed in this process.
int AssertCount();

/// An assertion with the text that its report shows, and with further information (a zero-terminated text, made only
/// when the assertion fails). Each gives the condition as a bool.
#define ASSERTION(condition, text) ASSERTION_INFO(condition, text, nullptr)
#define ASSERTION_INFO(condition, text, info) \
    ((condition) ? true : (Assert(false, text, __FILE_NAME__, __LINE__, info, false), false))
#define ASSERTION_QUIET(condition, text, info) \
    ((condition) ? true : (Assert(false, text, __FILE_NAME__, __LINE__, info, true), false))
