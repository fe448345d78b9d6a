#include "app/core/helppages.h"

#include "app/notify/mailprogram.h"
#include "corelib/base/files.h"
#include "corelib/system/osys.h"

namespace {

constexpr const char* SYSTEM_DIRECTORY = "\\usr\\share\\tarnwick";

// Words stand beside their control with a number of their own: in front of it, and after it.
constexpr int WORDS_OFFSETS[] = {0, 400, 600};

}  // namespace

HELPPAGES::HELPPAGES(const TEXTS& texts, const STRING& programDirectory) : Texts(texts) {
    const STRING name = texts.Get(TEXT_HELP_FILE);
    First = OSYS::FilePath(programDirectory.Text(), name.Text());
    const STRING other = OSYS::FilePath(SYSTEM_DIRECTORY, name.Text());
    const bool posix = STRING("/") == FILES::NativePath("\\");
    if (posix && !AreThere() && OSYS::FileExists(other.Text()))
        First = other;
}

bool HELPPAGES::AreThere() const {
    return OSYS::FileExists(First.Text());
}

STRING HELPPAGES::FileOf(int window, int control) const {
    const STRING topics = OSYS::FilePath(OSYS::FileDirectory(First.Text()).Text(), "topic");
    STRING name;
    for (const int offset : WORDS_OFFSETS) {
        name.Format("%d-%d.html", window, control - offset);
        const STRING file = OSYS::FilePath(topics.Text(), name.Text());
        if (control > offset && OSYS::FileExists(file.Text()))
            return file;
    }
    name.Format("%d.html", window);
    const STRING file = OSYS::FilePath(topics.Text(), name.Text());
    return OSYS::FileExists(file.Text()) ? file : First;
}

STRING HELPPAGES::Open(PROGRAMSTARTER& programs, int window, int control) const {
    const STRING file = FILES::NativePath(FileOf(window, control).Text());
    const bool there = AreThere();
    if (there && programs.OpenAddress(file))
        return {};
    STRING fault = Texts.Get(there ? TEXT_HELP_NOT_SHOWN : TEXT_NO_HELP);
    fault.Replace("$FILE", file.Text());
    return fault;
}
