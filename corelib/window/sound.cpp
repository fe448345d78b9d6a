#include "corelib/window/sound.h"

// The second needs the first.
// clang-format off
#include <windows.h>
#include <mmsystem.h>
// clang-format on

#include "corelib/window/widetext.h"

void PlaySoundOf(const STRING& file) {
    // The system's sound library brings half a dozen others along, a tenth of the program's start: it comes with the
    // first sound.
    static const auto play = reinterpret_cast<decltype(&PlaySoundW)>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"winmm.dll"), "PlaySoundW")));
    if (play)
        play(WideText(file).c_str(), nullptr, SND_FILENAME | SND_ASYNC | SND_NODEFAULT);
}
