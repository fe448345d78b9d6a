#pragma once

#include "corelib/base/strings.h"

/// Starts to play a sound file and returns at once; a sound that is still playing ends. Silence if it cannot be played.
void PlaySoundOf(const STRING& file);
