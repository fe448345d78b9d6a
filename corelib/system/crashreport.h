#pragma once

#include "corelib/base/strings.h"

/// What a program leaves of itself that ends by a fault which nobody handles: a bad address, an exception that nobody
/// catches, abort and the like. It goes to assert.log (see FILES::OwnFile): program, kind of fault, and the stack as
/// modules and offsets in them, which packaging/where-crashed turns into lines of the code. Then the program ends as it
/// would have without, but leaves no core.
namespace CRASHREPORT {

enum class NOTICE { Console, Window };  // standard error, or a message box where the platform has one

/// Begins to wait for faults; once is enough. The program's first thread.
void Install(NOTICE notice);
/// Makes ready all that a report takes, as nothing can be looked up in a broken process: the name and version of the
/// program, and the text that tells the user where the report lies, with $FILE for that. While one thread runs.
void Prepare(const STRING& application, const STRING& text);
/// The same once more, when it has become known where logs lie (FILES::SetDataDirectory), if it has been done before.
void Settle();

/// Lives on a thread's stack from its beginning, so that even a stack that has run out is reported. Threads without one
/// report all else.
class THREADGUARD {
 public:
    THREADGUARD();
    ~THREADGUARD();
    THREADGUARD(const THREADGUARD&) = delete;
    THREADGUARD& operator=(const THREADGUARD&) = delete;

 private:
    void* Room;
};

}  // namespace CRASHREPORT
