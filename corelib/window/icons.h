#pragma once

#include <vector>

#include "corelib/window/gdi.h"
#include "corelib/window/scale.h"

/// The icon of that number, drawn for that many pixels, from the resource module; or from another one. Null if there is
/// none.
ICONHANDLE LoadIconResource(int id, int pixels);
ICONHANDLE LoadIconOf(HMODULE module, int id, int pixels);

/// Icons as images of one size, pixels at 96 dots per inch and as sharp as their screen is. Each is made when it is
/// first needed, as some never are.
class ICONIMAGES {
 public:
    ICONIMAGES(int pixels, SCALE scale);
    /// Makes those that there are anew for another scale. The list so far comes back, for whom a control uses it yet.
    IMAGELISTHANDLE Rescale(SCALE scale);
    HIMAGELIST Handle() const { return Images.get(); }
    /// The place of the icon with that number, -1 if it was never added.
    int Place(int id) const;
    /// Adds an icon and gives its place.
    int Add(int id);
    /// Sees to it that the image is there; it is empty where there is no such icon.
    void Need(int place);
    void Draw(int place, HDC dc, int x, int y);

 private:
    struct ICON {
        int Id;
        bool Made;
    };
    const int Pixels;
    IMAGELISTHANDLE Images;
    std::vector<ICON> Icons;
};
