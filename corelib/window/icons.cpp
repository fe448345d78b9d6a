#include "corelib/window/icons.h"

#include <algorithm>
#include <string>
#include <utility>

#include "corelib/base/trace.h"
#include "corelib/window/window.h"

ICONHANDLE LoadIconResource(int id, int pixels) {
    return LoadIconOf(ResourceModule(), id, pixels);
}

ICONHANDLE LoadIconOf(HMODULE module, int id, int pixels) {
    using LOADICON = HRESULT(WINAPI*)(HINSTANCE, const wchar_t*, int, int, HICON*);
    static const auto scaleDown = reinterpret_cast<LOADICON>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"comctl32.dll"), "LoadIconWithScaleDown")));
    const auto* const name = MAKEINTRESOURCEW(id);
    HICON icon = nullptr;
    // The picture of that size, else a larger one made smaller. Plain loading leaves out rows and columns for that, so
    // the control library does it where it knows how.
    if (!scaleDown || FAILED(scaleDown(module, name, pixels, pixels, &icon)))
        icon = static_cast<HICON>(LoadImageW(module, name, IMAGE_ICON, pixels, pixels, LR_DEFAULTCOLOR));
    return ICONHANDLE(icon);
}

ICONIMAGES::ICONIMAGES(int pixels, SCALE scale) : Pixels(pixels) {
    Rescale(scale);
}

IMAGELISTHANDLE ICONIMAGES::Rescale(SCALE scale) {
    const int size = scale.Pixels(Pixels);
    IMAGELISTHANDLE former(ImageList_Create(size, size, ILC_COLOR32 | ILC_MASK, 8, 8));
    ASSERTION(former != nullptr, "imgids");
    former.swap(Images);
    ImageList_SetImageCount(Images.get(), static_cast<UINT>(Icons.size()));
    for (size_t place = 0; place < Icons.size(); ++place)
        if (std::exchange(Icons[place].Made, false))
            Need(static_cast<int>(place));
    return former;
}

int ICONIMAGES::Place(int id) const {
    const auto found = std::ranges::find(Icons, id, &ICON::Id);
    return found == Icons.end() ? -1 : static_cast<int>(found - Icons.begin());
}

int ICONIMAGES::Add(int id) {
    Icons.push_back({id, false});
    ImageList_SetImageCount(Images.get(), static_cast<UINT>(Icons.size()));
    return static_cast<int>(Icons.size()) - 1;
}

void ICONIMAGES::Need(int place) {
    ICON& wanted = Icons[static_cast<size_t>(place)];
    if (wanted.Made)
        return;
    wanted.Made = true;
    int width = 0, height = 0;
    ImageList_GetIconSize(Images.get(), &width, &height);
    const ICONHANDLE icon = LoadIconResource(wanted.Id, width);
    // Without a question to the user: a program without its pictures would ask dozens.
    if (ASSERTION_QUIET(icon != nullptr, "hbm", std::to_string(wanted.Id).c_str()))
        ImageList_ReplaceIcon(Images.get(), place, icon.get());
}

void ICONIMAGES::Draw(int place, HDC dc, int x, int y) {
    Need(place);
    ImageList_Draw(Images.get(), place, dc, x, y, ILD_TRANSPARENT);
}
