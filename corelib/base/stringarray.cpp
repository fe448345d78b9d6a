#include "corelib/base/stringarray.h"

#include <algorithm>
#include <cinttypes>
#include <numeric>

#include "corelib/base/ascii.h"

namespace {

constexpr std::string_view BINARY_BEGIN = "={{";
constexpr std::string_view BINARY_END = "}}";

// The order of the keys; a null key counts as the text that a null text reads as.
int CompareKeys(const STRING& a, const char* b) {
    return stricmp(a.Ptr(), b, false);
}

std::unique_ptr<STRING> ReadValue(std::string_view text) {
    bool binary = text.size() >= BINARY_BEGIN.size() + BINARY_END.size() && text.starts_with(BINARY_BEGIN) &&
                  text.ends_with(BINARY_END);
    if (binary) {
        text.remove_prefix(BINARY_BEGIN.size());
        text.remove_suffix(BINARY_END.size());
        auto value = std::make_unique<STRING>(STRING(text).FromBase64());
        value->SetFlags(value->GetFlags() | STRINGFLAG_BINARY);
        return value;
    }
    if (text.find('\\') == text.npos)
        return std::make_unique<STRING>(text);
    return std::make_unique<STRING>(STRING(text).Unescape());
}

}  // namespace

STRINGARRAY::STRINGARRAY(int initial, int grow) : Keys(initial, grow), Values(initial, grow) {}

STRINGARRAY::STRINGARRAY(const STRING& text, int initial, int grow) : STRINGARRAY(initial, grow) {
    std::string_view rest = text.View();
    for (int number = 1; !rest.empty(); ++number) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (line.empty())
            continue;
        size_t split = line.find('=');
        if (split == line.npos) {
            Trace("STRINGARRAY line %d of %d bytes has no '=' and is passed over\n", number,
                  static_cast<int>(line.size()));
            continue;
        }
        Keys.AddOwned(std::make_unique<STRING>(line.substr(0, split)));
        Values.AddOwned(ReadValue(line.substr(split + 1)));
    }
    Sort();
}

STRINGARRAY::STRINGARRAY(const STRINGARRAY& other) : Keys(0, 0), Values(0, 0) {
    std::lock_guard hold(*other.Keys.pLock);
    Keys = other.Keys;
    Values = other.Values;
    LockTable = other.LockTable;
}

STRINGARRAY::STRINGARRAY(STRINGARRAY&& other) noexcept = default;

STRINGARRAY& STRINGARRAY::operator=(const STRINGARRAY& other) {
    if (this != &other)
        *this = STRINGARRAY(other);
    return *this;
}

STRINGARRAY& STRINGARRAY::operator=(STRINGARRAY&& other) noexcept {
    if (this == &other)
        return *this;
    std::lock_guard hold(*Keys.pLock);
    Keys = std::move(other.Keys);
    Values = std::move(other.Values);
    LockTable = other.LockTable;
    return *this;
}

// The first position whose key does not sort before `key`: where it stands, or where it belongs.
int STRINGARRAY::LowerBound(const char* key) const {
    int low = 0, high = Keys.ItemCount;
    while (low < high) {
        int middle = low + (high - low) / 2;
        if (CompareKeys(*Keys.ppItems[middle], key) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

bool STRINGARRAY::IsAt(int position, const char* key) const {
    return position < Keys.ItemCount && CompareKeys(*Keys.ppItems[position], key) == 0;
}

int STRINGARRAY::Find(const char* key) const {
    std::lock_guard hold(*Keys.pLock);
    int position = LowerBound(key);
    return IsAt(position, key) ? position : -1;
}

DYNARRAY<STRING> STRINGARRAY::GetKeys() const {
    return Keys;
}

bool STRINGARRAY::AllowNewKeys(bool flag) {
    std::lock_guard hold(*Keys.pLock);
    return std::exchange(LockTable, !flag);
}

bool STRINGARRAY::IsLocked() const {
    std::lock_guard hold(*Keys.pLock);
    return LockTable;
}

STRING& STRINGARRAY::operator[](const char* key) {
    std::lock_guard hold(*Keys.pLock);
    int position = LowerBound(key);
    if (!IsAt(position, key)) {
        ASSERTION_INFO(!LockTable, "!this->LockTable", key);
        // A key does not grow any more, and records are many.
        auto newKey = std::make_unique<STRING>(16);
        newKey->Append(key);
        Keys.InsertOwned(position, std::move(newKey));
        Values.InsertOwned(position, std::make_unique<STRING>());
        // A full table that may not grow has no place for the key, and what stands there is another's value.
        if (!IsAt(position, key))
            return DYNARRAY<STRING>::SpareItem();
    }
    return Values[position];
}

const STRING& STRINGARRAY::operator[](const char* key) const {
    std::lock_guard hold(*Keys.pLock);
    int rcidx = Find(key);
    ASSERTION_INFO(rcidx != -1, "rcidx!=-1", key);
    return Values[rcidx];
}

STRING STRINGARRAY::Get(const char* key) const {
    std::lock_guard hold(*Keys.pLock);
    return (*this)[key];
}

int STRINGARRAY::GetNumber(const char* key) const {
    std::lock_guard hold(*Keys.pLock);
    return atoi((*this)[key]);
}

void STRINGARRAY::Set(const char* key, const STRING& value) {
    std::lock_guard hold(*Keys.pLock);
    (*this)[key] = value;
}

void STRINGARRAY::Set(const char* key, STRING&& value) {
    std::lock_guard hold(*Keys.pLock);
    (*this)[key] = std::move(value);
}

void STRINGARRAY::Look(const char* key, const std::function<void(const STRING&)>& look) const {
    std::lock_guard hold(*Keys.pLock);
    look((*this)[key]);
}

void STRINGARRAY::Change(const char* key, const std::function<STRING(const STRING&)>& change) {
    std::lock_guard hold(*Keys.pLock);
    STRING& value = (*this)[key];
    value = change(value);
}

void STRINGARRAY::SetNumber(const char* key, int64_t value) {
    STRING text;
    text.Format("%" PRId64, value);
    Set(key, text);
}

bool STRINGARRAY::Delete(const char* key) {
    std::lock_guard hold(*Keys.pLock);
    std::lock_guard holdValues(*Values.pLock);
    for (int i = 0; i < Keys.ItemCount; ++i) {
        if (stricmp(Keys.ppItems[i]->Ptr(), key, true) == 0) {
            Keys.Delete(i);
            Values.Delete(i);
            return true;
        }
    }
    return false;
}

void STRINGARRAY::Sort() {
    std::lock_guard hold(*Keys.pLock);
    std::lock_guard holdValues(*Values.pLock);
    auto before = [this](int a, int b) { return CompareKeys(*Keys.ppItems[a], Keys.ppItems[b]->Ptr()) < 0; };
    int count = Keys.ItemCount;
    // Files are written in key order, so there is mostly nothing to do.
    int i = 1;
    while (i < count && !before(i, i - 1))
        ++i;
    if (i >= count)
        return;
    std::vector<int> order(static_cast<size_t>(count));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), before);
    auto arrange = [&](DYNARRAY<STRING>& array) {
        std::vector<std::unique_ptr<STRING>> sorted(array.ppItems.size());
        for (int k = 0; k < count; ++k)
            sorted[k] = std::move(array.ppItems[order[k]]);
        array.ppItems = std::move(sorted);
    };
    arrange(Keys);
    arrange(Values);
}

STRING STRINGARRAY::AsText(const STRINGARRAY* instead) const {
    std::lock_guard hold(*Keys.pLock);
    STRING result("");
    for (int i = 0; i < Keys.ItemCount; ++i) {
        const int other = instead ? instead->Find(Keys.ppItems[i]->Text()) : -1;
        const STRING& value = other != -1 ? instead->ValueAt(other) : *Values.ppItems[i];
        result += *Keys.ppItems[i];
        result.AppendBytes("=", 1);
        if (value.GetFlags() & STRINGFLAG_BINARY) {
            result.AppendBytes(BINARY_BEGIN);
            result += value.ToBase64();
            result.AppendBytes(BINARY_END);
        } else {
            result += value.Escape("={}");
        }
        result.AppendBytes("\n", 1);
    }
    return result;
}

bool STRINGARRAY::Save(const char* filename, const STRINGARRAY* instead) const {
    return AsText(instead).Save(filename, "w");
}

bool STRINGARRAY::Load(const char* filename) {
    STRING text;
    if (!text.Load(filename, "r"))
        return false;
    *this = STRINGARRAY(text, 64, 64);
    return true;
}
