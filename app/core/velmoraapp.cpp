#include "app/core/velmoraapp.h"

#include <utility>

#include "app/core/settings.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/crashreport.h"
#include "corelib/system/osys.h"

namespace {

const char* SystemName() {
    if (STRING("/") == FILES::NativePath("\\")) {
        return "<unknown>\n";  // none of the family
    }
    switch (OSYS::GetOsType()) {
        case 0:
            return "Windows 95/98\n";
        case 1:
            return "Windows NT4\n";
        case 2:
            return "Windows 2000\n";
        default:
            return "<unknown>\n";
    }
}

}  // namespace

int LanguageFromArguments(const ARGUMENTS& arguments) {
    const STRING value = arguments.GetArgValue("LANG", 0);
    if (!value.NotNull()) {
        return OSYS::UserLanguage();
    }
    if (stricmp(value.Ptr(), "GER", false) == 0) {
        return LANGUAGE_GERMAN;
    }
    return stricmp(value.Ptr(), "ENGL", false) == 0 ? LANGUAGE_ENGLISH : atoi(value);
}

STRING ProgramDirectory(const STRING& programPath) {
    STRING directory = OSYS::FileDirectory(programPath.NotNull() ? programPath.Ptr() : "");
    if (OSYS::FileExists((directory || "\\..\\main.cpp").Ptr())) {
        for (const char* folder : {"\\Debug", "\\Debug2", "\\Release", "\\Release2"}) {
            const int length = STRING(folder).Length();
            if (directory.Length() > length && stricmp(directory.Right(length).Ptr(), folder, false) == 0) {
                directory.DeleteRight(length);
                break;
            }
        }
    }
    return directory;
}

STRING ProgramTitle(const TEXTS& texts) {
    return texts.Get(TEXT_TITLE) || " V" || PROGRAM_VERSION || PROGRAM_VERSION_SUFFIX;
}

const char* BuildStamp() {
    return TARNWICK_BUILD_STAMP;
}

VELMORAAPP::VELMORAAPP(ARGUMENTS arguments)
    : Args(std::move(arguments)), gWorkDir(ProgramDirectory(OSYS::ProgramPath())) {
    OSYS::SetCurrentDir(gWorkDir.Text());
    Args.ApplyLogOptions();
    Args.AddFile();
    Args.ApplyLogOptions();
    Trace("APP::WinMain instance=%08x parm=%s\n", 0U, Args.CommandLine().Text());
    LanguageId = LanguageFromArguments(Args);
}

VELMORAAPP::~VELMORAAPP() {
    LogOption("/LOGITCLOSE");
}

int VELMORAAPP::Start(FRONTEND& frontEnd) {
    LanguageId = Library.Load(gWorkDir.Text(), LanguageId, Path);
    if (LanguageId == 0) {
        frontEnd.ShowMessage("Velmora Application", STRING("DLL not found:\r") || FILES::NativePath(Path.Text()));
        return EXIT_NO_LANGUAGE;
    }
    SetTraceLanguage(LanguageId);
    const STRING name = Library.Get(TEXT_PRODUCT) || " " || PROGRAM_VERSION || PROGRAM_VERSION_SUFFIX;
    SetApplicationName(name.Text());
    CRASHREPORT::Prepare(name, Library.Get(TEXT_CRASHED));
    TraceBanner();
    Minimized = Args.TestArg("MIN");
    return 0;
}

void VELMORAAPP::TraceBanner() const {
    Trace("%s Version %s%s\n", Library.Get(TEXT_PRODUCT).Text(), PROGRAM_VERSION, PROGRAM_VERSION_SUFFIX);
    Trace("Started %s %s\n", OSYS::DateText().Text(), OSYS::TimeText().Text());
    Trace("Compiled %s\n", TARNWICK_BUILD_STAMP);
    Trace("Current Directory: %s (exe directory)\n", OSYS::GetCurrentDir().Text());
    Trace("Working Directory: %s (gWorkDir, program started from here)\n", gWorkDir.Text());
    Trace("Running under \n");
    Trace("%s", SystemName());
}
