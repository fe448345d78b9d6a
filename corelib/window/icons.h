#pragma once

#include "corelib/window/gdi.h"

/// The icon of that number from the resource module, else from the program, drawn for that many pixels. Null if there
/// is none.
ICONHANDLE LoadIconResource(int id, int pixels);

/// An empty list of images, of pixels at 96 dots per inch and as sharp as this display is.
IMAGELISTHANDLE MakeImageList(int pixels);
/// Appends an icon in the list's size; an empty image where there is no such icon, so that the places stay right.
void AddIcon(HIMAGELIST images, int id);
