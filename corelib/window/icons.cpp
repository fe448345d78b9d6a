#include "corelib/window/icons.h"

#include <string>

#include "corelib/base/trace.h"
#include "corelib/window/window.h"

ICONHANDLE LoadIconResource(int id, int pixels) {
    for (const HMODULE module : {ResourceModule(), GetModuleHandleW(nullptr)}) {
        auto* const icon =
            static_cast<HICON>(LoadImageW(module, MAKEINTRESOURCEW(id), IMAGE_ICON, pixels, pixels, LR_DEFAULTCOLOR));
        if (icon)
            return ICONHANDLE(icon);
    }
    return nullptr;
}

IMAGELISTHANDLE MakeImageList(int pixels) {
    const int size = ScalePixels(pixels);
    IMAGELISTHANDLE images(ImageList_Create(size, size, ILC_COLOR32 | ILC_MASK, 8, 8));
    ASSERTION(images != nullptr, "imgids");
    return images;
}

void AddIcon(HIMAGELIST images, int id) {
    int width = 0, height = 0;
    ImageList_GetIconSize(images, &width, &height);
    const ICONHANDLE icon = LoadIconResource(id, width);
    // Without a question to the user: a program without its pictures would ask dozens.
    if (ASSERTION_QUIET(icon != nullptr, "hbm", std::to_string(id).c_str()))
        ImageList_ReplaceIcon(images, -1, icon.get());
    else
        ImageList_SetImageCount(images, static_cast<UINT>(ImageList_GetImageCount(images)) + 1);
}
