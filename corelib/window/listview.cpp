#include "corelib/window/listview.h"

#include <algorithm>
#include <string>
#include <utility>
#include <windowsx.h>

#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"
#include "corelib/window/colors.h"
#include "corelib/window/widetext.h"

namespace {

constexpr int COLUMN_BYTES = 255;
constexpr uint32_t INSERT_LEVEL = 7;
constexpr int SMALL_IMAGE = 16;
constexpr int HEAD_WIDTH = 120;
constexpr int HEAD_GAP = 8;
constexpr int TIP_WIDTH = 400;
constexpr int EMPTY_TEXT_MARGIN = 12;
constexpr int HEAD_MARGINS = 36;  // with room for the arrow of the order

int CALLBACK CompareRows(LPARAM left, LPARAM right, LPARAM compare) {
    return (*reinterpret_cast<const LISTVIEW::COMPARE*>(compare))(static_cast<uint32_t>(left),
                                                                  static_cast<uint32_t>(right));
}

}  // namespace

LISTVIEW::LISTVIEW(HWND parent, int id, DWORD style)
    : CONTROL(WC_LISTVIEWW, style | LVS_REPORT | LVS_SHOWSELALWAYS | LVS_SHAREIMAGELISTS | WS_TABSTOP, 0, parent, id) {
    ListView_SetExtendedListViewStyle(hWnd, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP);
    // The look of the system's own lists, where the system has one.
    SetWindowTheme(hWnd, L"Explorer", nullptr);
    Recolored();
}

void LISTVIEW::Recolored() {
    if (!COLORS::IsDark() && !HasColors)
        return;
    HasColors = true;
    // That look marks rows with light colours.
    SetWindowTheme(hWnd, COLORS::IsDark() ? nullptr : L"Explorer", nullptr);
    ListView_SetBkColor(hWnd, COLORS::Of(COLOR::PAPER));
    ListView_SetTextBkColor(hWnd, COLORS::Of(COLOR::PAPER));
    ListView_SetTextColor(hWnd, COLORS::Of(COLOR::TEXT));
}

LRESULT LISTVIEW::DrawRow(NMHDR& notice) {
    auto& draw = reinterpret_cast<NMLVCUSTOMDRAW&>(notice);
    if (!COLORS::IsDark())
        return CDRF_DODEFAULT;
    if (draw.nmcd.dwDrawStage == CDDS_PREPAINT)
        return CDRF_NOTIFYITEMDRAW;
    const HWND list = notice.hwndFrom;
    if (draw.nmcd.dwDrawStage != CDDS_ITEMPREPAINT ||
        !ListView_GetItemState(list, static_cast<int>(draw.nmcd.dwItemSpec), LVIS_SELECTED))
        return CDRF_DODEFAULT;
    // Else the system would take its own.
    draw.nmcd.uItemState &= ~static_cast<UINT>(CDIS_SELECTED);
    draw.clrText = COLORS::Of(COLOR::SELECTED_TEXT);
    draw.clrTextBk = COLORS::Of(GetFocus() == list ? COLOR::SELECTED : COLOR::IDLE);
    return CDRF_NEWFONT;
}

LRESULT LISTVIEW::DrawHead(const NMCUSTOMDRAW& draw) const {
    const HWND header = draw.hdr.hwndFrom;
    RECT area{};
    GetClientRect(header, &area);
    if (draw.dwDrawStage == CDDS_PREPAINT)
        return CDRF_NOTIFYITEMDRAW | CDRF_NOTIFYPOSTPAINT;
    if (draw.dwDrawStage == CDDS_POSTPAINT) {
        if (const int last = Header_GetItemCount(header) - 1; last >= 0) {
            RECT head{};
            Header_GetItemRect(header, Header_OrderToIndex(header, last), &head);
            area.left = head.right;
        }
        FillRect(draw.hdc, &area, COLORS::Brush(COLOR::FACE));
        return CDRF_DODEFAULT;
    }
    if (draw.dwDrawStage != CDDS_ITEMPREPAINT)
        return CDRF_DODEFAULT;
    wchar_t text[COLUMN_BYTES + 1] = L"";
    HDITEMW item{};
    item.mask = HDI_TEXT | HDI_FORMAT;
    item.pszText = text;
    item.cchTextMax = COLUMN_BYTES;
    Header_GetItem(header, draw.dwItemSpec, &item);
    area = draw.rc;
    const int state = SaveDC(draw.hdc), gap = ScalePixels(HEAD_GAP);
    FillRect(draw.hdc, &area, COLORS::Brush(draw.uItemState & CDIS_SELECTED ? COLOR::DOWN : COLOR::FACE));
    const RECT edge = {area.right - ScalePixels(1), area.top, area.right, area.bottom};
    FillRect(draw.hdc, &edge, COLORS::Brush(COLOR::SHINE));
    InflateRect(&area, -gap, 0);
    SetTextColor(draw.hdc, COLORS::Of(COLOR::LABEL));
    SetBkMode(draw.hdc, TRANSPARENT);
    if (item.fmt & (HDF_SORTUP | HDF_SORTDOWN)) {
        const LONG half = gap / 2, middle = (area.top + area.bottom) / 2, rise = item.fmt & HDF_SORTUP ? -half : half;
        const POINT arrow[] = {{area.right - 2 * half, middle - rise / 2},
                               {area.right, middle - rise / 2},
                               {area.right - half, middle + rise / 2}};
        SelectObject(draw.hdc, COLORS::Brush(COLOR::LABEL));
        SelectObject(draw.hdc, GetStockObject(NULL_PEN));
        Polygon(draw.hdc, arrow, static_cast<int>(std::size(arrow)));
        area.right -= 2 * half + gap;
    }
    const UINT side = (item.fmt & HDF_JUSTIFYMASK) == HDF_RIGHT ? DT_RIGHT : DT_LEFT;
    DrawTextW(draw.hdc, text, -1, &area, side | DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
    RestoreDC(draw.hdc, state);
    return CDRF_SKIPDEFAULT;
}

LRESULT LISTVIEW::WinProc(UINT message, WPARAM first, LPARAM second) {
    if (message == WM_KEYDOWN && (first == VK_TAB || first == VK_F6)) {
        PassFocus(GetKeyState(VK_SHIFT) < 0);
        return 0;
    }
    if (message == WM_KEYDOWN && first == 'A' && GetKeyState(VK_CONTROL) < 0 && GetKeyState(VK_MENU) >= 0 &&
        !(GetWindowLongW(hWnd, GWL_STYLE) & LVS_SINGLESEL)) {
        SelectAll(true);
        return 0;
    }
    if (message == WM_NOTIFY && COLORS::IsDark()) {
        const auto& notice = *reinterpret_cast<const NMHDR*>(second);
        if (notice.code == NM_CUSTOMDRAW && notice.hwndFrom == ListView_GetHeader(hWnd))
            return DrawHead(*reinterpret_cast<const NMCUSTOMDRAW*>(second));
    }
    if (Tips && message >= WM_MOUSEFIRST && message <= WM_MOUSELAST)
        FollowPointer(message, first, second);
    // The text is drawn as a whole: twice over itself it would look bold.
    if ((message == WM_SIZE || message == WM_PAINT) && ShowsEmptyText())
        InvalidateRect(hWnd, nullptr, TRUE);
    const LRESULT result = CONTROL::WinProc(message, first, second);
    if (message == WM_PAINT && ShowsEmptyText())
        PaintEmptyText();
    if (message == WM_NOTIFY && ColumnDragged && !SetsWidth) {
        const auto& notice = *reinterpret_cast<const NMHEADERW*>(second);
        const bool changed = notice.hdr.hwndFrom == ListView_GetHeader(hWnd) &&
                             (notice.hdr.code == HDN_ITEMCHANGEDW || notice.hdr.code == HDN_ITEMCHANGEDA);
        if (changed && notice.pitem && (notice.pitem->mask & HDI_WIDTH))
            ColumnDragged(notice.iItem);
    }
    return result;
}

// The system's own tips stand at names only, and not everywhere.
void LISTVIEW::SetRowTip(std::function<STRING(int row)> text) {
    RowTip = std::move(text);
    ListView_SetExtendedListViewStyleEx(hWnd, LVS_EX_LABELTIP, 0);
    Tips = MakeTipWindow(hWnd, TIP_WIDTH);
    wchar_t none[] = L"";
    TOOLINFOW tool{};
    tool.cbSize = TTTOOLINFOW_V1_SIZE;
    tool.hwnd = hWnd;
    tool.lpszText = none;
    SendMessageW(Tips, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void LISTVIEW::FollowPointer(UINT message, WPARAM first, LPARAM second) {
    LVHITTESTINFO hit{};
    hit.pt = {GET_X_LPARAM(second), GET_Y_LPARAM(second)};
    const int row = ListView_SubItemHitTest(hWnd, &hit);
    if (row != TipRow) {
        TipRow = row;
        std::wstring text = row == -1 ? std::wstring() : WideText(RowTip(row));
        TOOLINFOW tool{};
        tool.cbSize = TTTOOLINFOW_V1_SIZE;
        tool.hwnd = hWnd;
        tool.lpszText = text.data();
        if (row != -1)
            ListView_GetItemRect(hWnd, row, &tool.rect, LVIR_BOUNDS);
        SendMessageW(Tips, TTM_POP, 0, 0);
        SendMessageW(Tips, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
        SendMessageW(Tips, TTM_NEWTOOLRECTW, 0, reinterpret_cast<LPARAM>(&tool));
    }
    MSG relayed{};
    relayed.hwnd = hWnd;
    relayed.message = message;
    relayed.wParam = first;
    relayed.lParam = second;
    SendMessageW(Tips, TTM_RELAYEVENT, 0, reinterpret_cast<LPARAM>(&relayed));
}

void LISTVIEW::SetEmptyText(const STRING& text) {
    EmptyText = WideText(text);
    InvalidateRect(hWnd, nullptr, TRUE);
}

void LISTVIEW::PaintEmptyText() const {
    const WINDOWDC dc(hWnd);
    RECT place = ClientRect(), head{};
    GetWindowRect(ListView_GetHeader(hWnd), &head);
    place.top = head.bottom - head.top;
    InflateRect(&place, -ScalePixels(EMPTY_TEXT_MARGIN), -ScalePixels(EMPTY_TEXT_MARGIN));
    const int state = SaveDC(dc);
    SelectObject(dc, Scale().MessageFont());
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, COLORS::Of(COLOR::TEXT));
    DrawTextW(dc, EmptyText.c_str(), -1, &place, DT_CENTER | DT_WORDBREAK | DT_NOPREFIX);
    RestoreDC(dc, state);
}

void LISTVIEW::Rescaled(SCALE before) {
    CONTROL::Rescaled(before);
    if (Images) {
        const IMAGELISTHANDLE former = Images->Rescale(Scale());
        ListView_SetImageList(hWnd, Images->Handle(), LVSIL_SMALL);
    }
    for (int i = 0; i < ColumnCount(); ++i)
        SetColumnWidth(i, Scale().From(before, ColumnWidth(i)));
    if (Tips)
        ScaleTips(Tips, TIP_WIDTH);
}

void LISTVIEW::AddColumns(const STRING& texts) {
    STRING text;
    for (int i = 0; (text = texts.Word(i, "\t")).NotNull(); ++i) {
        std::wstring wide = WideText(text);
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
        column.pszText = wide.data();
        column.cx = ScalePixels(HEAD_WIDTH);
        column.iSubItem = ColumnCount();
        ListView_InsertColumn(hWnd, column.iSubItem, &column);
    }
}

int LISTVIEW::ColumnCount() const {
    return Header_GetItemCount(ListView_GetHeader(hWnd));
}

int LISTVIEW::ColumnWidth(int column) const {
    return ListView_GetColumnWidth(hWnd, column);
}

void LISTVIEW::SetColumnWidth(int column, int pixels) {
    // The control goes through all rows for a width, also for the one that it has.
    if (ColumnWidth(column) == pixels)
        return;
    SetsWidth = true;
    ListView_SetColumnWidth(hWnd, column, pixels);
    SetsWidth = false;
}

void LISTVIEW::FitColumn(int column) {
    SetColumnWidth(column, LVSCW_AUTOSIZE);
    wchar_t text[COLUMN_BYTES + 1] = L"";
    LVCOLUMNW head{};
    head.mask = LVCF_TEXT;
    head.pszText = text;
    head.cchTextMax = COLUMN_BYTES;
    ListView_GetColumn(hWnd, column, &head);
    const int least = ListView_GetStringWidth(hWnd, text) + ScalePixels(HEAD_MARGINS);
    if (ColumnWidth(column) < least)
        SetColumnWidth(column, least);
}

void LISTVIEW::SetSortMark(int column, bool up) {
    const HWND header = ListView_GetHeader(hWnd);
    for (int i = 0; i < ColumnCount(); ++i) {
        HDITEMW item{};
        item.mask = HDI_FORMAT;
        Header_GetItem(header, i, &item);
        item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
        if (i == column)
            item.fmt |= up ? HDF_SORTUP : HDF_SORTDOWN;
        Header_SetItem(header, i, &item);
    }
}

void LISTVIEW::SetImages(const std::vector<int>& icons) {
    Images.emplace(SMALL_IMAGE, Scale());
    for (const int icon : icons)
        Images->Add(icon);
    ListView_SetImageList(hWnd, Images->Handle(), LVSIL_SMALL);
    HasFixedImages = true;
}

int LISTVIEW::ImageIndex(int image) {
    if (image < 0)
        return I_IMAGENONE;
    if (!Images)
        Images.emplace(SMALL_IMAGE, Scale());
    int idx = Images->Place(image);
    if (HasFixedImages) {
        ASSERTION_INFO(idx != -1, "idx!=-1", std::to_string(image).c_str());
        if (idx == -1)
            return I_IMAGENONE;
    } else if (idx == -1) {
        idx = Images->Add(image);
        ListView_SetImageList(hWnd, Images->Handle(), LVSIL_SMALL);
    }
    Images->Need(idx);
    return idx;
}

int LISTVIEW::InsertRecord(int index, int image, const STRING& text, uint32_t value) {
    TraceLevel(INSERT_LEVEL, "LISTVIEW::InsertRecord %d %d %s\n", index, image, text.Text());
    if (ShowsEmptyText())
        InvalidateRect(hWnd, nullptr, TRUE);
    STRING cell;
    int row = -1;
    for (int i = 0; (cell = text.Word(i, "\t", 0)).NotNull(); ++i) {
        cell.Truncate(static_cast<int>(UTF8::Cut(cell.View(), COLUMN_BYTES).size()));
        std::wstring wide = WideText(cell);
        LVITEMW item{};
        item.mask = LVIF_TEXT;
        item.iSubItem = i;
        item.pszText = wide.data();
        if (i == 0) {
            item.mask |= LVIF_IMAGE | LVIF_PARAM;
            item.iItem = index;
            item.iImage = ImageIndex(image);
            item.lParam = static_cast<LPARAM>(value);
            row = ListView_InsertItem(hWnd, &item);
            Trace("LISTVIEW::InsertRecord LVM_INSERT %d %d %d %s returns %d\n", index, i, item.iImage, cell.Text(),
                  row);
            if (!ASSERTION(row != -1, "rc!=-1"))
                return -1;
            continue;
        }
        item.iItem = row;
        const int rc = ListView_SetItem(hWnd, &item);
        Trace("LISTVIEW::InsertRecord LVM_SETITEM  %d %d %s returns %d\n", row, i, cell.Text(), rc);
        ASSERTION_INFO(rc != 0, "rc", ("insert failed for column " + std::to_string(i)).c_str());
    }
    return row;
}

bool LISTVIEW::DeleteRow(int row) {
    const bool deleted = ListView_DeleteItem(hWnd, row) != 0;
    if (ShowsEmptyText())
        InvalidateRect(hWnd, nullptr, TRUE);
    return deleted;
}

void LISTVIEW::DeleteAll() {
    ListView_DeleteAllItems(hWnd);
}

STRING LISTVIEW::GetItemText(int row, int column) const {
    std::wstring text(COLUMN_BYTES + 1, L'\0');
    for (;;) {
        LVITEMW item{};
        item.iSubItem = column;
        item.pszText = text.data();
        item.cchTextMax = static_cast<int>(text.size());
        const auto length =
            static_cast<size_t>(Send(LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item)));
        if (length + 1 < text.size())
            return FromWide(std::wstring_view(text).substr(0, length));
        text.resize(text.size() * 2);
    }
}

void LISTVIEW::SetItemText(int row, int column, const STRING& text) {
    std::wstring wide = WideText(text);
    ListView_SetItemText(hWnd, row, column, wide.data());
}

void LISTVIEW::SetItemImage(int row, int image) {
    LVITEMW item{};
    item.mask = LVIF_IMAGE;
    item.iItem = row;
    item.iImage = ImageIndex(image);
    ListView_SetItem(hWnd, &item);
}

void LISTVIEW::SetRowData(int row, uint32_t value) {
    LVITEMW item{};
    item.mask = LVIF_PARAM;
    item.iItem = row;
    item.lParam = static_cast<LPARAM>(value);
    ListView_SetItem(hWnd, &item);
}

uint32_t LISTVIEW::RowData(int row) const {
    LVITEMW item{};
    item.mask = LVIF_PARAM;
    item.iItem = row;
    return ListView_GetItem(hWnd, &item) ? static_cast<uint32_t>(item.lParam) : 0;
}

int LISTVIEW::FindRow(uint32_t value) const {
    LVFINDINFOW find{};
    find.flags = LVFI_PARAM;
    find.lParam = static_cast<LPARAM>(value);
    return ListView_FindItem(hWnd, -1, &find);
}

int LISTVIEW::RowOf(uint32_t value) const {
    const int n = FindRow(value);
    ASSERTION_INFO(n != -1, "n!=-1", std::to_string(value).c_str());
    return n;
}

void LISTVIEW::Select(int idx, bool selected) {
    if (!ASSERTION(idx != -1, "idx!=-1"))
        return;
    const UINT state = selected ? LVIS_SELECTED | LVIS_FOCUSED : 0;
    ListView_SetItemState(hWnd, idx, state, selected ? state : LVIS_SELECTED);
    if (selected)
        ListView_EnsureVisible(hWnd, idx, FALSE);
}

void LISTVIEW::SelectOnly(int idx) {
    SelectAll(false);
    Select(idx);
}

void LISTVIEW::SelectAll(bool selected) {
    ListView_SetItemState(hWnd, -1, selected ? LVIS_SELECTED : 0, LVIS_SELECTED);
}

void LISTVIEW::SelectRows(const std::vector<int>& rows, int focused) {
    SelectAll(rows.size() > 1 && static_cast<int>(rows.size()) == Count());
    if (SelectedCount() == 0) {
        for (const int row : rows)
            ListView_SetItemState(hWnd, row, LVIS_SELECTED, LVIS_SELECTED);
    }
    if (focused != -1)
        ListView_SetItemState(hWnd, focused, LVIS_FOCUSED, LVIS_FOCUSED);
}

void LISTVIEW::ScrollTo(int row) {
    RECT place{};
    ListView_GetItemRect(hWnd, 0, &place, LVIR_BOUNDS);
    ListView_Scroll(hWnd, 0, (row - TopRow()) * (place.bottom - place.top));
}

void LISTVIEW::Sort(const COMPARE& compare) {
    ListView_SortItems(hWnd, CompareRows, reinterpret_cast<LPARAM>(&compare));
}

void LISTVIEW::SetRedraw(bool redraw) {
    Send(WM_SETREDRAW, redraw);
    if (redraw)
        InvalidateRect(hWnd, nullptr, TRUE);
}
