#include "corelib/window/icons.h"

#include <string>

#include "corelib/base/trace.h"
#include "corelib/window/window.h"

namespace {

// The picture of that size, else a larger one made smaller. Plain loading leaves out rows and columns for that, so the
// control library does it where it knows how.
HICON Load(HMODULE module, const wchar_t* name, int pixels) {
    using LOADICON = HRESULT(WINAPI*)(HINSTANCE, const wchar_t*, int, int, HICON*);
    static const auto scaleDown = reinterpret_cast<LOADICON>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"comctl32.dll"), "LoadIconWithScaleDown")));
    HICON icon = nullptr;
    if (scaleDown && SUCCEEDED(scaleDown(module, name, pixels, pixels, &icon)))
        return icon;
    return static_cast<HICON>(LoadImageW(module, name, IMAGE_ICON, pixels, pixels, LR_DEFAULTCOLOR));
}

}  // namespace

ICONHANDLE LoadIconResource(int id, int pixels) {
    for (const HMODULE module : {ResourceModule(), GetModuleHandleW(nullptr)}) {
        if (auto* const icon = Load(module, MAKEINTRESOURCEW(id), pixels))
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
