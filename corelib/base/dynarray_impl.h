#pragma once

// The operations of DYNARRAY; dynarray.h includes this at its end.

template <class TYPE>
DYNARRAY<TYPE>::DYNARRAY(int initial, int grow)
    : pLock(std::make_unique<CRITSECT>()), MaxItems(std::max(initial, 0)), GrowBy(grow) {
    ASSERTION(pLock != nullptr, "pLock");
    ppItems.resize(static_cast<size_t>(MaxItems));
}

template <class TYPE>
DYNARRAY<TYPE>::DYNARRAY(const STRING& text, const char* separators, int initial, int grow)
    requires std::is_same_v<TYPE, STRING>
    : DYNARRAY(initial, grow) {
    WORDCURSOR words(text, separators);
    std::string_view word;
    while (words.Next(word))
        AddOwned(std::make_unique<STRING>(word));
}

template <class TYPE>
DYNARRAY<TYPE>::DYNARRAY(const DYNARRAY& other) : pLock(std::make_unique<CRITSECT>()) {
    std::lock_guard hold(*other.pLock);
    ppItems.resize(other.ppItems.size());
    ItemCount = other.ItemCount;
    MaxItems = other.MaxItems;
    GrowBy = other.GrowBy;
    for (int i = 0; i < ItemCount; ++i)
        ppItems[i] = std::make_unique<TYPE>(*other.ppItems[i]);
}

template <class TYPE>
DYNARRAY<TYPE>::DYNARRAY(DYNARRAY&& other) noexcept : pLock(std::make_unique<CRITSECT>()) {
    *this = std::move(other);
}

template <class TYPE>
DYNARRAY<TYPE>& DYNARRAY<TYPE>::operator=(const DYNARRAY& other) {
    if (this != &other)
        *this = DYNARRAY(other);
    return *this;
}

template <class TYPE>
DYNARRAY<TYPE>& DYNARRAY<TYPE>::operator=(DYNARRAY&& other) noexcept {
    if (this == &other)
        return *this;
    // The old items go when `former` does, outside the lock.
    DYNARRAY former(0, 0);
    {
        std::lock_guard hold(*pLock);
        former.ppItems = std::move(ppItems);
        ppItems = std::move(other.ppItems);
        ItemCount = other.ItemCount;
        MaxItems = other.MaxItems;
        GrowBy = other.GrowBy;
    }
    other.ppItems.clear();
    other.ItemCount = other.MaxItems = 0;
    return *this;
}

template <class TYPE>
DYNARRAY<TYPE>::~DYNARRAY() = default;

template <class TYPE>
int DYNARRAY<TYPE>::Compare(const TYPE& a, const TYPE& b, int flags) {
    if constexpr (std::is_same_v<TYPE, STRING>) {
        return CompareTexts(a, b, flags);
    } else {
        ASSERTION(false, "FALSE");
        return 0;
    }
}

template <class TYPE>
TYPE& DYNARRAY<TYPE>::SpareItem() {
    static thread_local std::unique_ptr<TYPE> spare;
    // The same object each time: one expression may hold two references to it.
    if (spare)
        *spare = TYPE();
    else
        spare = std::make_unique<TYPE>();
    return *spare;
}

template <class TYPE>
bool DYNARRAY<TYPE>::HasItem(int pos, const char* text) const {
    return ASSERTION(pos >= 0 && pos < ItemCount, text);
}

template <class TYPE>
const TYPE& DYNARRAY<TYPE>::operator[](int i) const {
    std::lock_guard hold(*pLock);
    auto number = [i] {
        STRING info;
        info.Format("i==%d", i);
        return info;
    };
    bool slot = ASSERTION_INFO(i >= 0 && i < MaxItems, "i>=0 && i<this->MaxItems", number().Text());
    bool item = ASSERTION_INFO(i < ItemCount, "i<this->ItemCount", number().Text());
    return slot && item ? *ppItems[i] : SpareItem();
}

template <class TYPE>
TYPE& DYNARRAY<TYPE>::operator[](int i) {
    return const_cast<TYPE&>(std::as_const(*this)[i]);
}

template <class TYPE>
void DYNARRAY<TYPE>::InsertOwned(int pos, std::unique_ptr<TYPE> item) {
    std::lock_guard hold(*pLock);
    auto place = [&] {
        STRING info;
        info.Format("%d/%d", pos, ItemCount);
        return info;
    };
    if (!ASSERTION_INFO(pos >= 0 && pos <= ItemCount, "pos>=0 && pos<=this->ItemCount", place().Text()))
        return;
    if (ItemCount >= MaxItems && GrowBy > 0) {
        MaxItems += GrowBy;
        ppItems.resize(static_cast<size_t>(MaxItems));
    }
    if (!ASSERTION(ItemCount < MaxItems, "this->ItemCount<this->MaxItems"))
        return;
    std::move_backward(ppItems.begin() + pos, ppItems.begin() + ItemCount, ppItems.begin() + ItemCount + 1);
    ppItems[pos] = std::move(item);
    ++ItemCount;
}

template <class TYPE>
void DYNARRAY<TYPE>::Add(const TYPE& item) {
    AddOwned(std::make_unique<TYPE>(item));
}

template <class TYPE>
void DYNARRAY<TYPE>::AddOwned(std::unique_ptr<TYPE> item) {
    std::lock_guard hold(*pLock);
    InsertOwned(ItemCount, std::move(item));
}

template <class TYPE>
void DYNARRAY<TYPE>::Delete(int pos) {
    std::lock_guard hold(*pLock);
    if (!HasItem(pos, "pos>=0 && pos<this->ItemCount"))
        return;
    std::move(ppItems.begin() + pos + 1, ppItems.begin() + ItemCount, ppItems.begin() + pos);
    ppItems[--ItemCount].reset();
}

template <class TYPE>
void DYNARRAY<TYPE>::DeleteAll() {
    std::lock_guard hold(*pLock);
    while (ItemCount > 0)
        ppItems[--ItemCount].reset();
}

template <class TYPE>
void DYNARRAY<TYPE>::Swap(int pos1, int pos2) {
    std::lock_guard hold(*pLock);
    bool first = HasItem(pos1, "pos1>=0 && pos1<this->ItemCount");
    bool second = HasItem(pos2, "pos2>=0 && pos2<this->ItemCount");
    if (first && second)
        std::swap(ppItems[pos1], ppItems[pos2]);
}

template <class TYPE>
int DYNARRAY<TYPE>::Count() const {
    std::lock_guard hold(*pLock);
    return ItemCount;
}

template <class TYPE>
void DYNARRAY<TYPE>::Sort(int flags) {
    std::lock_guard hold(*pLock);
    // A merge sort stays inside the array even when an order of numbers contradicts itself.
    std::stable_sort(ppItems.begin(), ppItems.begin() + ItemCount, [&](const auto& a, const auto& b) {
        int order = Compare(*a, *b, flags);
        return (flags & SORT_DESCENDING) ? order > 0 : order < 0;
    });
}

template <class TYPE>
int DYNARRAY<TYPE>::Find(const char* text, int mode) const
    requires std::is_same_v<TYPE, STRING>
{
    std::lock_guard hold(*pLock);
    for (int i = 0; i < ItemCount; ++i)
        if (TextMatches(*ppItems[i], text, mode))
            return i;
    return -1;
}

template <class TYPE>
int DYNARRAY<TYPE>::LoadLines(const char* filename, bool unescape)
    requires std::is_same_v<TYPE, STRING>
{
    STRING content;
    if (!content.Load(filename, "r"))
        return 0;
    int added = 0;
    std::string_view rest = content.View();
    while (!rest.empty()) {
        size_t end = rest.find('\n');
        auto line = std::make_unique<STRING>(rest.substr(0, end));
        if (unescape)
            *line = line->Unescape();
        AddOwned(std::move(line));
        ++added;
        rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
    }
    return added;
}
