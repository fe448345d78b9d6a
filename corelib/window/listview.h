#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "corelib/window/controls.h"
#include "corelib/window/icons.h"

/// A list of rows with columns, each row with a number of its own. Rows and columns count from 0. One thread at a time,
/// which the callers see to; it need not be the window's own.
class LISTVIEW : public CONTROL {
 public:
    /// Makes the list as a child window; style adds to the report style (LVS_SINGLESEL ...).
    LISTVIEW(HWND parent, int id, DWORD style = 0);
    /// Binds to one that is there.
    explicit LISTVIEW(HWND window) : CONTROL(window) {}

    /// In a window that is no dialog Tab and F6 leave the list all the same. Ctrl+A selects all rows, where several can
    /// be.
    LRESULT WinProc(UINT message, WPARAM first, LPARAM second) override;

    /// Adds columns with the texts as their heads, which are split by tabs.
    void AddColumns(const STRING& texts);
    int ColumnCount() const;
    /// In pixels.
    int ColumnWidth(int column) const;
    void SetColumnWidth(int column, int pixels);
    /// As wide as the texts in it, its head included.
    void FitColumn(int column);
    /// Marks the column's head with an arrow (up: smallest first), and no other.
    void SetSortMark(int column, bool up);

    /// Called when the user has made a column wider or narrower.
    void OnColumnDragged(std::function<void(int column)> call) { ColumnDragged = std::move(call); }
    /// What a tip tells while the pointer rests on a row; with an empty text there is none.
    void SetRowTip(std::function<STRING(int row)> text);

    /// The icons of those resource numbers, and no others, are the rows' images.
    void SetImages(const std::vector<int>& icons);
    /// What stands in the list while it has no rows; empty for nothing.
    void SetEmptyText(const STRING& text);

    /// A new row before `index` (at the end if there are fewer); image: an icon's resource number, -1 for none; text:
    /// the columns' values, at most 255 bytes each, joined by tabs; value: the row's number. The row's place, or -1.
    int InsertRecord(int index, int image, const STRING& text, uint32_t value = 0);
    bool DeleteRow(int row);
    void DeleteAll();
    int Count() const { return ListView_GetItemCount(hWnd); }
    STRING GetItemText(int row, int column) const;
    void SetItemText(int row, int column, const STRING& text);
    void SetItemImage(int row, int image);

    /// The number that goes with a row; and the first row that has it, -1 if there is none.
    void SetRowData(int row, uint32_t value);
    uint32_t RowData(int row) const;
    int FindRow(uint32_t value) const;
    /// The same where the row must exist.
    int RowOf(uint32_t value) const;

    // Of a list whose owner has the rows' data (LVS_OWNERDATA) and is asked for what is drawn, by LVN_GETDISPINFO.
    /// How many rows there are. The list stays where it is scrolled to.
    void SetRowCount(int rows) { ListView_SetItemCountEx(hWnd, rows, LVSICF_NOSCROLL); }
    /// An icon's place for the answer.
    int ImageIndex(int image);
    /// Draws all rows that can be seen anew.
    void RedrawRows() { InvalidateRect(hWnd, nullptr, FALSE); }

    int SelectedCount() const { return static_cast<int>(ListView_GetSelectedCount(hWnd)); }
    int FirstSelected() const { return NextSelected(-1); }
    /// The next one after `row`, -1 if there is none.
    int NextSelected(int row) const { return ListView_GetNextItem(hWnd, row, LVNI_SELECTED); }
    /// Selects or not, and leaves the other rows; a selected one also gets the focus and is scrolled into view.
    void Select(int idx, bool selected = true);
    void SelectOnly(int idx);
    void SelectAll(bool selected);
    /// These rows and no others; `focused` gets the focus (-1: none). Nothing is scrolled.
    void SelectRows(const std::vector<int>& rows, int focused);
    int FocusedRow() const { return ListView_GetNextItem(hWnd, -1, LVNI_FOCUSED); }
    /// The rows that can be seen; the first one, and how many fit in as a whole.
    int TopRow() const { return ListView_GetTopIndex(hWnd); }
    int RowsPerPage() const { return ListView_GetCountPerPage(hWnd); }
    /// Scrolls so that the row is the first one, as far as there are rows below.
    void ScrollTo(int row);

    /// Below 0, 0 or above 0 for the numbers of two rows.
    using COMPARE = std::function<int(uint32_t, uint32_t)>;
    void Sort(const COMPARE& compare);

    /// Off while many rows change.
    void SetRedraw(bool redraw);

    /// The answer to a list's NM_CUSTOMDRAW, which comes to the window that it is in: gives the rows their colours.
    static LRESULT DrawRow(NMHDR& notice);

    /// Whether the images were given as a fixed set; if not, icons are taken in as rows name them.
    bool HasFixedImages = false;

 private:
    void Rescaled(SCALE before) override;
    void Recolored() override;
    LRESULT DrawHead(const NMCUSTOMDRAW& draw) const;
    bool ShowsEmptyText() const { return !EmptyText.empty() && Count() == 0; }
    void PaintEmptyText() const;

    void FollowPointer(UINT message, WPARAM first, LPARAM second);

    std::function<void(int)> ColumnDragged;
    bool SetsWidth = false;  // itself
    std::function<STRING(int)> RowTip;
    HWND Tips = nullptr;  // goes with the window that the list is in
    int TipRow = -1;
    std::optional<ICONIMAGES> Images;
    bool HasColors = false;  // of its own, in place of the system's
    std::wstring EmptyText;
};
