#pragma once

#include <memory>
#include <vector>

#include "corelib/base/stringarray.h"
#include "corelib/window/listview.h"

class TARNWICK;

/// The main window's list of items: name and result of the last check. A row's data is the item's handle. Lives on the
/// user-interface thread; listviewMutex covers the rows and the table of items together.
class ITEMLIST {
 public:
    static constexpr int NAME_COLUMN = 0;
    static constexpr int RESULT_COLUMN = 1;

    /// Both outlive it.
    ITEMLIST(HWND owner, TARNWICK& application);
    ITEMLIST(const ITEMLIST&) = delete;
    ITEMLIST& operator=(const ITEMLIST&) = delete;

    HWND Handle() const { return List.hWnd; }
    void Place(int x, int y, int width, int height);
    /// After its list has been: the next Place gives the columns their widths.
    void Rescaled(SCALE before);
    void Focus() { SetFocus(List.hWnd); }

    /// Asks for the list to be filled anew, by a message to the owner. The same items are selected then; or that one
    /// alone, by its handle.
    void FillListview(int select = 0);
    /// Fills it. False if somebody else has had the mutex for a while; it is then asked for again.
    bool FillListviewThread();
    void Sort();

    std::vector<int> SelectedHandles() const;
    void Deselect();
    /// Selects the item's row and no other; nothing without a row.
    void SelectOnly(int handle);
    /// Where a menu for the selected row stands, on the screen.
    POINT MenuPoint() const;

    /// The row's image and name by the item as it is now; nothing without a row.
    void RefreshRow(int handle);
    void SetItemColumn(int handle, int column, const STRING& text);
    /// Takes the item out of list and table; false if it is being checked, or there is none.
    bool RemoveItem(int handle);

    /// mask bit 1: column 0 fits its content; bit 2: column 1 takes the rest, of which some is always left.
    void AutoWidth(int mask);

 private:
    void FitResult();
    /// All that stands in a row, and when its account was last checked.
    STRING RowTip(int row) const;
    void InsertItemIntoListview(int index);
    void RestoreSelection();
    int FindRow(int handle) const;

    HWND Owner;
    TARNWICK& Application;
    LISTVIEW List;
    int NextSelected = 0;  // the handle of the item that is selected at the next filling, or 0
    int NameWidth = 0;     // of the longest name, in pixels
    int DraggedWidth = 0;  // as the user wants it; 0: as the names want it
};

/// Images of the list, by their resource numbers.
enum ITEMIMAGE {
    ITEMIMAGE_EMPTY = 2075,
    ITEMIMAGE_MAIL,
    ITEMIMAGE_CHECKING,
    ITEMIMAGE_LOCKED,
    ITEMIMAGE_FAILED,
    ITEMIMAGE_SUSPENDED
};
/// The image by the item's state; ignoreState: by its last check alone.
ITEMIMAGE ItemImage(const STRINGARRAY& item, bool ignoreState);
