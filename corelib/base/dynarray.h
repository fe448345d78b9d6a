#pragma once

#include <algorithm>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>
#include <vector>

#include "corelib/base/locks.h"
#include "corelib/base/strings.h"
#include "corelib/base/trace.h"

/// For Sort and Compare: numbers by their atoi value; the other way round.
inline constexpr int SORT_NUMERIC = 1;
inline constexpr int SORT_DESCENDING = 8;

/// The order of two texts: their atoi values with SORT_NUMERIC, else byte by byte. And the match that Find asks for.
int CompareTexts(const STRING& a, const STRING& b, int flags);
bool TextMatches(const STRING& item, const char* text, int mode);

/// A growing array of pointers to owned items with a re-entrant lock of its own, held during each operation and not
/// between two. Items are copied in. A bad index is a failed assertion, after which the operation does nothing, or
/// gives a reference to a spare item.
template <class TYPE>
class DYNARRAY {
 public:
    /// `initial` slots at once, `grow` more whenever they are full. A grow of 0 makes the array refuse to grow (an
    /// assertion).
    DYNARRAY(int initial, int grow);
    /// Splits text at any byte of separators: one item for each Word.
    DYNARRAY(const STRING& text, const char* separators, int initial, int grow)
    requires std::is_same_v<TYPE, STRING>;
    DYNARRAY(const DYNARRAY& other);
    DYNARRAY(DYNARRAY&& other) noexcept;
    DYNARRAY& operator=(const DYNARRAY& other);
    DYNARRAY& operator=(DYNARRAY&& other) noexcept;
    virtual ~DYNARRAY();

    /// Order of two items for Sort: below 0, 0, above 0.
    virtual int Compare(const TYPE& a, const TYPE& b, int flags);

    /// The item at i. The reference is not protected by the lock: for arrays that one thread owns.
    TYPE& operator[](int i);
    const TYPE& operator[](int i) const;
    /// Stores a copy of item at pos, 0..Count(), shifting the rest up.
    void Insert(int pos, const TYPE& item) { InsertOwned(pos, std::make_unique<TYPE>(item)); }
    void Add(const TYPE& item);
    /// The same without a copy: the array takes the item over.
    void InsertOwned(int pos, std::unique_ptr<TYPE> item);
    void AddOwned(std::unique_ptr<TYPE> item);
    void Delete(int pos);
    void DeleteAll();
    void Swap(int pos1, int pos2);
    int Count() const;
    /// Sorts by Compare, negated with SORT_DESCENDING. Not stable by contract.
    void Sort(int flags);

    /// First item that equals text (mode 0), begins with it (1), contains it (2), all without regard to case, or has
    /// the same atoi value (3); -1 if none.
    int Find(const char* text, int mode) const
        requires std::is_same_v<TYPE, STRING>;
    /// Adds each line of a text file as an item, after Unescape if asked. The number of lines; 0 if the
    /// file cannot be read.
    [[nodiscard]] int LoadLines(const char* filename, bool unescape = false)
        requires std::is_same_v<TYPE, STRING>;

    int GetMaxItems() const { return MaxItems; }
    int GetGrowBy() const { return GrowBy; }

 protected:
    // Whether pos names an item; if not, the assertion `text` has failed.
    bool HasItem(int pos, const char* text) const;
    // Stands in where there is no item, emptied at each call. Never the same for two threads.
    static TYPE& SpareItem();

    std::unique_ptr<CRITSECT> pLock;
    std::vector<std::unique_ptr<TYPE>> ppItems;  // MaxItems slots, those after ItemCount are empty
    int ItemCount = 0;
    int MaxItems = 0;
    int GrowBy = 0;

    // Keeps two of these in step, under both locks.
    friend class STRINGARRAY;
};

#include "corelib/base/dynarray_impl.h"
