#pragma once

#include "corelib/window/dataitems.h"

// What push buttons of data dialogs do. Each takes the value that the button holds and gives back the new one.

/// Asks for a folder, beginning with the first "|"-part of the edit field `Control`, which gets the answer.
STRING PushFolder(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog);
/// Has the shell open the value; and the text of `Control`, in the present directory.
STRING PushOpenValue(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog);
STRING PushOpenText(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog);
/// Plays the sound file that the text of `Control` names.
STRING PushPlay(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog);
/// Asks for an existing file of the kinds in `Texts` ("Programs|*.exe", one a line), beginning with the text of
/// `Control`, which gets the answer.
STRING PushFile(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog);
/// Asks for a colour: decimal, 0x00BBGGRR.
STRING PushColor(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog);
/// Asks for a font: see FontValue; empty is the system's.
STRING PushFont(const STRING& value, const PUSHARGUMENT& argument, DATADIALOG& dialog);
