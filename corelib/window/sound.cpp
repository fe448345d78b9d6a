#include "corelib/window/sound.h"

#include "corelib/window/latefunction.h"
#include "corelib/window/widetext.h"
// Needs windows.h, which a header of ours has brought.
#include <mmsystem.h>

void PlaySoundOf(const STRING& file) {
    static auto* const play = LateFunction<decltype(PlaySoundW)>(L"winmm.dll", "PlaySoundW");
    if (play)
        play(WidePath(file.Ptr()).c_str(), nullptr, SND_FILENAME | SND_ASYNC | SND_NODEFAULT);
}
