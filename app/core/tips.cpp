#include "app/core/tips.h"

#include <algorithm>

#include "app/core/datadir.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/base/codepage.h"
#include "corelib/base/utf8.h"
#include "corelib/system/osys.h"
#include "corelib/system/registry.h"

namespace {

constexpr int FILE_BYTES = 256 * 1024;
constexpr size_t MOST_TIPS = 500, TIP_BYTES = 2000;

constexpr const char* VALUE_LAST = "TipOfDayLast";
constexpr const char* VALUE_COUNT = "TipOfDayCount";
constexpr const char* VALUE_STYLE = "TipOfDayStyle";
constexpr const char* VALUE_DATE = "TipOfDayDate";

std::string ReadStart(const STRING& name) {
    std::string bytes(FILE_BYTES, '\0');
    OSYS::FILEHANDLE file = OSYS::OpenFile(name.Text(), "r");
    const int length = file.IsOpen() ? file.Read(bytes.data(), FILE_BYTES) : 0;
    bytes.resize(static_cast<size_t>(std::max(length, 0)));
    return bytes;
}

int Number(REGISTRY& store, const char* value, int otherwise = 0) {
    const STRING text = store.Read(value);
    return text.NotNull() ? atoi(text) : otherwise;
}

STRING Today() {
    return CLOCK::DateIso(CLOCK::Local());
}

}  // namespace

TIPS::TIPS(const STRING& file, const STRING& product) : Product(product) {
    const std::string bytes = ReadStart(file);
    std::string_view rest = bytes;
    if (rest.starts_with(UTF8::MARK))
        rest.remove_prefix(UTF8::MARK.size());
    while (!rest.empty() && Lines.size() < MOST_TIPS) {
        std::string line(ASCII::Take(rest, '\n'));
        std::replace_if(line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
        const std::string_view tip = ASCII::Trim(line, " ");
        if (!tip.empty() && tip[0] != '#')
            Lines.emplace_back(CODEPAGE::ToUtf8(STRING(UTF8::Cut(tip, TIP_BYTES))).View());
    }
}

STRING TIPS::Next() {
    if (Lines.empty())
        return {};
    REGISTRY store(COMPANY, Product.Text(), ROOT_CURRENT_USER);
    const int count = Count(), before = Number(store, VALUE_COUNT);
    int last = Number(store, VALUE_LAST);
    if (before > 0 && before < count && last <= before)
        last = before;
    if (last < 0 || last >= count)
        last = 0;
    // Where nothing can be kept, the same tip comes again.
    (void)store.Write(VALUE_LAST, std::to_string(last + 1).c_str());
    (void)store.Write(VALUE_COUNT, std::to_string(count).c_str());
    (void)store.Write(VALUE_DATE, Today().Text());
    return STRING(std::string_view(Lines[static_cast<size_t>(last)]));
}

bool TIPS::IsDue() const {
    REGISTRY store(COMPANY, Product.Text(), ROOT_CURRENT_USER);
    return Count() > 0 && Number(store, VALUE_STYLE, 1) != 0 && store.Read(VALUE_DATE) != Today();
}

bool TIPS::ComesByItself() const {
    REGISTRY store(COMPANY, Product.Text(), ROOT_CURRENT_USER);
    return Number(store, VALUE_STYLE, 1) != 0;
}

void TIPS::SetComesByItself(bool comes) {
    REGISTRY store(COMPANY, Product.Text(), ROOT_CURRENT_USER);
    (void)store.Write(VALUE_STYLE, comes ? "1" : "0");
}
