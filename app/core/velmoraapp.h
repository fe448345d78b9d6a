#pragma once

#include "app/common/frontend.h"
#include "app/common/texts.h"
#include "app/core/arguments.h"

/// Exit code of a program that found no language library.
inline constexpr int EXIT_NO_LANGUAGE = 99;

/// What any program of this family has: the place that it was started from, the command line and the language library.
class VELMORAAPP {
 public:
    /// Makes the program's directory the current one, reads commandline.ini there and opens the trace log if the words
    /// ask for it.
    explicit VELMORAAPP(ARGUMENTS arguments);
    /// Closes the trace log.
    ~VELMORAAPP();
    VELMORAAPP(const VELMORAAPP&) = delete;
    VELMORAAPP& operator=(const VELMORAAPP&) = delete;

    /// Loads the language library and traces the start banner. 0, or the exit code after the front end has shown why.
    [[nodiscard]] int Start(FRONTEND& frontEnd);

    const ARGUMENTS& Arguments() const { return Args; }
    const TEXTS& Texts() const { return Library; }
    /// The file of the language library.
    const STRING& LibraryPath() const { return Path; }
    /// The language in use: LANGUAGE_GERMAN, LANGUAGE_ENGLISH, or another number that is shown in English.
    int Language() const { return LanguageId; }
    /// The directory that the program was started from.
    const STRING& WorkDir() const { return gWorkDir; }
    /// The argument "MIN".
    bool StartMinimized() const { return Minimized; }

 private:
    void TraceBanner() const;

    ARGUMENTS Args;
    LANGUAGELIBRARY Library;
    STRING gWorkDir;
    STRING Path;
    int LanguageId;
    bool Minimized = false;
};

/// The language that the words ask for ("GER", "ENGL" or a number after /LANG:), else the user's.
int LanguageFromArguments(const ARGUMENTS& arguments);
/// Date and time of the build.
const char* BuildStamp();
/// The directory of the program file; in a development layout the one above its build folder.
STRING ProgramDirectory(const STRING& programPath);
/// What stands first in the title of the program's window: name and version.
STRING ProgramTitle(const TEXTS& texts);
