#include "app/desktop/itemlist.h"

#include <algorithm>
#include <map>
#include <utility>

#include "app/check/persontext.h"
#include "app/core/tarnwick.h"
#include "app/desktop/windowids.h"
#include "app/mailbox/account.h"
#include "corelib/base/trace.h"

namespace {

constexpr int MUTEX_MS = 100;  // the window does not hang behind somebody else
constexpr int LIST_ID = 1;
constexpr int WIDTH_NAME = 1;
constexpr int WIDTH_RESULT = 2;
constexpr int RESULT_WIDTH = 120;  // at 96 dots per inch

}  // namespace

ITEMIMAGE ItemImage(const STRINGARRAY& item, bool ignoreState) {
    if (!ignoreState) {
        if (item.GetNumber("@Locked") != 0)
            return ITEMIMAGE_LOCKED;
        if (item.GetNumber("@InUpdate") != 0)
            return ITEMIMAGE_CHECKING;
        if (item.GetNumber("UpdateSuspended") != 0)
            return ITEMIMAGE_SUSPENDED;
    }
    const MAILCOUNTS counts = MAILACCOUNT::Counts(item);
    if (counts.Failed)
        return ITEMIMAGE_FAILED;
    return counts.Total < 1 ? ITEMIMAGE_EMPTY : ITEMIMAGE_MAIL;
}

ITEMLIST::ITEMLIST(HWND owner, TARNWICK& application) : Owner(owner), Application(application), List(owner, LIST_ID) {
    STRING heads = Application.Texts().Get(TEXT_COLUMNS);
    heads.Replace("|", "\t");
    List.AddColumns(heads);
    List.SetEmptyText(Application.Texts().Get(TEXT_EMPTY));
    // Why a check has failed is often longer than its column.
    List.SetRowTip([this](int row) { return RowTip(row); });
    List.OnColumnDragged([this](int column) {
        if (column == NAME_COLUMN)
            DraggedWidth = List.ColumnWidth(NAME_COLUMN);
        FitResult();
    });
    List.SetImages(
        {ITEMIMAGE_EMPTY, ITEMIMAGE_MAIL, ITEMIMAGE_CHECKING, ITEMIMAGE_LOCKED, ITEMIMAGE_FAILED, ITEMIMAGE_SUSPENDED});
}

void ITEMLIST::Place(int x, int y, int width, int height) {
    List.Move(x, y, width, height);
    AutoWidth(WIDTH_RESULT);
}

void ITEMLIST::Rescaled(SCALE before) {
    for (int* const width : {&NameWidth, &DraggedWidth})
        *width = List.Scale().From(before, *width);
}

void ITEMLIST::FillListview(int select) {
    Trace("TARNWICK::FillListview\n");
    if (select != 0)
        NextSelected = select;
    PostMessageW(Owner, WM__FILLLIST, 0, 0);
    Trace("TARNWICK::~FillListview\n");
}

bool ITEMLIST::FillListviewThread() {
    Trace("TARNWICK::FillListviewThread\n");
    if (!Application.listviewMutex.Request(MUTEX_MS)) {
        Trace("TARNWICK::FillListview listview-busy try later\n");
        FillListview();
        return false;
    }
    Trace("TARNWICK::FillListview obtained listview-mux\n");
    const int next = std::exchange(NextSelected, 0);
    const std::vector<int> selected = next != 0 ? std::vector<int>{next} : SelectedHandles();
    List.SetRedraw(false);
    List.DeleteAll();
    for (int i = 0; i < Application.Items.Count(); ++i)
        Application.Items[i].Set("@Showing", "0");
    for (int i = 0; i < Application.Items.Count(); ++i)
        InsertItemIntoListview(i);
    Sort();
    AutoWidth(WIDTH_NAME | WIDTH_RESULT);
    List.SetRedraw(true);
    // A scroll bar comes with the drawing, and takes room.
    FitResult();
    Application.listviewMutex.Release();
    if (selected.empty())
        RestoreSelection();
    for (const int handle : selected)
        if (const int row = FindRow(handle); row != -1)
            List.Select(row, true);
    Trace("TARNWICK::~FillListviewThread\n");
    return true;
}

void ITEMLIST::InsertItemIntoListview(int index) {
    Trace("TARNWICK::InsertItemIntoListview\n");
    STRINGARRAY& item = Application.Items[index];
    List.InsertRecord(index, ItemImage(item, false),
                      item.Get("Name") || "\t" || PersonText(item.Get("LastValue"), item, Application.Texts()),
                      static_cast<uint32_t>(item.GetNumber("@Handle")));
    item.Set("@Showing", "1");
    Trace("TARNWICK::~InsertItemIntoListview\n");
}

void ITEMLIST::RestoreSelection() {
    const int count = Application.Items.Count();
    int index = Application.pState.GetNumber("LastSelectedRecord");
    if (count == 1 || index == -1 || index >= count)
        index = 0;
    if (index < 0)
        return;
    const int row = count > 0 ? FindRow(Application.Items[index].GetNumber("@Handle")) : -1;
    if (row != -1)
        List.Select(row);
    Application.pState.Set("LastSelectedRecord", "-1");
}

// By name, whichever column was chosen.
void ITEMLIST::Sort() {
    const int sign = Application.pState.GetNumber("LastSortOrder") == 1 ? -1 : 1;
    // The names are looked up once: each comparison would walk the table.
    std::map<uint32_t, STRING> names;
    for (int i = 0; i < Application.Items.Count(); ++i)
        names[static_cast<uint32_t>(Application.Items[i].GetNumber("@Handle"))] = Application.Items[i].Get("Name");
    List.Sort([&](uint32_t handle1, uint32_t handle2) {
        const auto num1 = names.find(handle1), num2 = names.find(handle2);
        if (!ASSERTION(num1 != names.end() && num2 != names.end(), "num1!=-1 && num2!=-1"))
            return 0;
        const int order = stricmp(num1->second.Text(), num2->second.Text(), false);
        return sign * order;
    });
    List.SetSortMark(NAME_COLUMN, sign > 0);
}

std::vector<int> ITEMLIST::SelectedHandles() const {
    std::vector<int> handles;
    for (int row = List.FirstSelected(); row != -1; row = List.NextSelected(row))
        handles.push_back(static_cast<int>(List.RowData(row)));
    return handles;
}

void ITEMLIST::Deselect() {
    List.SelectAll(false);
}

void ITEMLIST::SelectOnly(int handle) {
    const int row = FindRow(handle);
    if (row != -1)
        List.SelectOnly(row);
}

POINT ITEMLIST::MenuPoint() const {
    RECT place{};
    ListView_GetItemRect(List.hWnd, List.FirstSelected(), &place, LVIR_LABEL);
    POINT point = {place.left, place.bottom};
    ClientToScreen(List.hWnd, &point);
    return point;
}

int ITEMLIST::FindRow(int handle) const {
    return List.FindRow(static_cast<uint32_t>(handle));
}

void ITEMLIST::RefreshRow(int handle) {
    const MUTEXHOLD hold(Application.listviewMutex);
    const int row = FindRow(handle);
    const STRINGARRAY* item = Application.FindItem(handle);
    if (row == -1 || !item)
        return;
    List.SetItemImage(row, ItemImage(*item, false));
    List.SetItemText(row, NAME_COLUMN, item->Get("Name"));
}

void ITEMLIST::SetItemColumn(int handle, int column, const STRING& text) {
    const MUTEXHOLD hold(Application.listviewMutex);
    const int row = FindRow(handle);
    if (row != -1)
        List.SetItemText(row, column, text);
}

STRING ITEMLIST::RowTip(int row) const {
    STRING text = List.GetItemText(row, NAME_COLUMN) || ": " || List.GetItemText(row, RESULT_COLUMN);
    const STRINGARRAY* const item = Application.FindItem(static_cast<int>(List.RowData(row)));
    if (const int security = item ? MAILACCOUNT::Security(*item).Kind : static_cast<int>(SECURITY_NONE);
        security != SECURITY_NONE)
        text += STRING("\n") || Application.Texts().Get(TEXT_PROTECTED) ||
                Application.Texts().Part(TEXT_SECURITIES, security);
    if (item && Application.IsToldOfNews(item->GetNumber("@Handle")))
        text += STRING("\n") || Application.Texts().Get(TEXT_TOLD_OF_NEWS);
    const STRING checked = item ? item->Get("LastRefreshString") : STRING();
    if (checked.Length() > 0)
        text +=
            "\n" || Application.Texts().Get(TEXT_COLUMNS).Word(RESULT_COLUMN, "|", WORD_NEVERNULL) || ": " || checked;
    return text;
}

bool ITEMLIST::RemoveItem(int handle) {
    if (!Application.RemoveItem(Application.FindHandle(handle)))
        return false;
    const MUTEXHOLD hold(Application.listviewMutex);
    const int row = FindRow(handle);
    if (row != -1)
        List.DeleteRow(row);
    return true;
}

void ITEMLIST::AutoWidth(int mask) {
    Trace("TARNWICK::AutoWidth\n");
    if ((mask & WIDTH_NAME) && DraggedWidth == 0) {
        List.FitColumn(NAME_COLUMN);
        NameWidth = List.ColumnWidth(NAME_COLUMN);
    }
    if (mask & WIDTH_RESULT)
        FitResult();
    Trace("TARNWICK::~AutoWidth\n");
}

void ITEMLIST::FitResult() {
    const int result = List.ScalePixels(RESULT_WIDTH);
    // Columns that were too wide have brought scroll bars, which go with that.
    for (int width = -1, i = 0; i < 2 && width != List.ClientRect().right; ++i) {
        width = static_cast<int>(List.ClientRect().right);
        // The longest names are cut before there is no room for results; a tip shows them whole.
        const int name = std::min(DraggedWidth > 0 ? DraggedWidth : NameWidth, width / 2);
        List.SetColumnWidth(NAME_COLUMN, name);
        List.SetColumnWidth(RESULT_COLUMN, std::max(width - name, result / 2));
    }
}
