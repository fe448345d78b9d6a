// The store of named values without a registry: one table file for each key path, below the user's configuration
// directory. Both roots lie there, as there is no place that all users may write.

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "corelib/base/files.h"
#include "corelib/base/stringarray.h"
#include "corelib/base/trace.h"
#include "corelib/system/osys.h"
#include "corelib/system/registry.h"

namespace {

constexpr uint32_t REGISTRY_LEVEL = 2;
constexpr int TEXT_MAX = 8192;
// Error numbers of the trace, those that a registry gives.
constexpr int NO_SUCH_VALUE = 2;
constexpr int WRITE_FAILED = 5;

struct STOREKEY {
    STRING File;
    bool Writable;
};

// A change reads the file, and writes it back: one at a time.
std::mutex Changing;

STOREKEY* Key(intptr_t key) {
    return std::bit_cast<STOREKEY*>(key);
}

STRING StoreDirectory() {
    const char* const chosen = getenv("TARNWICK_REGISTRY");
    const STRING directory = OSYS::ProgramConfigDirectory();
    return chosen && *chosen ? directory : OSYS::FilePath(directory.Text(), "registry");
}

// Parts of a key path, and the names of values, are of no case in a registry. The path makes one file name, each path
// its own.
STRING KeyFile(intptr_t root, STRING path) {
    path.ToLower();
    STRING name("");
    for (char c : path.View()) {
        if (c == '\\')
            name.Append("+");
        else if (c == '+' || c == '%' || c == '/' || static_cast<unsigned char>(c) < ' ')
            name.AppendFormat("%%%02x", c);
        else
            name.AppendBytes(&c, 1);
    }
    STRING directory = OSYS::FilePath(StoreDirectory().Text(), root == ROOT_LOCAL_MACHINE ? "machine" : "user");
    return OSYS::FilePath(directory.Text(), (name || ".ini").Text());
}

bool LoadTable(intptr_t key, STRINGARRAY& table) {
    return key && table.Load(Key(key)->File.Text());
}

// Applies `change`, which may refuse, to the table. One that cannot be read is left alone: its other values would go.
template <class CHANGE>
bool ChangeTable(intptr_t key, CHANGE change) {
    std::lock_guard hold(Changing);
    STRINGARRAY table;
    return key && Key(key)->Writable && LoadTable(key, table) && change(table) && table.Save(Key(key)->File.Text());
}

// "=", a line break and a leading "[" may stand in a value's name, but not in a table's key.
STRING TableKey(const char* value) {
    return STRING(value).Escape("=[");
}

intptr_t OpenKey(intptr_t root, const STRING& path, int mode) {
    std::lock_guard hold(Changing);  // two that create the same key make one file
    STRING file = KeyFile(root, path);
    if (!OSYS::FileExists(file.Text())) {
        if (mode != REGISTRY_CREATE || !OSYS::MakeDirectories(OSYS::FileDirectory(file.Text()).Text()) ||
            !STRINGARRAY().Save(file.Text()))
            return 0;
    }
    return reinterpret_cast<intptr_t>(std::make_unique<STOREKEY>(STOREKEY{file, mode != REGISTRY_READ}).release());
}

bool Store(intptr_t key, const char* value, const STRING& data) {
    return ChangeTable(key, [&](STRINGARRAY& table) {
        table[TableKey(value).Text()] = data;
        return true;
    });
}

STRING Fetch(intptr_t key, const char* value) {
    STRINGARRAY table;
    STRING name = TableKey(value);
    return LoadTable(key, table) && table.Exists(name.Text()) ? table.Get(name.Text()) : STRING();
}

}  // namespace

REGISTRY::REGISTRY(const char* company, const char* product, intptr_t root) {
    hkApp = OpenKey(root, STRING("Software\\") || company || "\\" || product, REGISTRY_CREATE);
    auto info = [&] {
        STRING text;
        text.Format("%s/%s/%08x", company, product, static_cast<uint32_t>(root));
        return text;
    };
    ASSERTION_INFO(hkApp != 0, "this->hkApp!=NULL", info().Text());
}

REGISTRY::REGISTRY(intptr_t root, const char* key, const char* subkey, int mode) {
    STRING path(key);
    if (subkey && *subkey)
        path = path || "\\" || subkey;
    if (ASSERTION(mode >= REGISTRY_READ && mode <= REGISTRY_CREATE, "FALSE"))
        hkApp = OpenKey(root, path, mode);
}

REGISTRY::~REGISTRY() {
    Close();
}

void REGISTRY::Close() {
    std::unique_ptr<STOREKEY> gone(Key(hkApp));
    hkApp = 0;
}

bool REGISTRY::Write(const char* value, const void* bytes, int length) {
    STRING data(std::string_view(static_cast<const char*>(bytes), static_cast<size_t>(std::max(length, 0))));
    data.SetFlags(STRINGFLAG_BINARY);
    bool ok = Store(hkApp, value, data);
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Write binary value= %s, error=%08x\n", value, ok ? 0 : WRITE_FAILED);
    return ok;
}

bool REGISTRY::Write(const char* value, const char* text) {
    bool ok = Store(hkApp, value, STRING(text));
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Write String value= %s; data=%s, error=%08x\n", value, text,
               ok ? 0 : WRITE_FAILED);
    return ok;
}

bool REGISTRY::Read(const char* value, void* buffer, int* size) {
    STRING data = Fetch(hkApp, value);
    const bool ok = data.NotNull() && data.Length() <= *size;
    *size = ok ? data.Length() : 0;
    if (ok)
        memcpy(buffer, data.Ptr(), static_cast<size_t>(*size));
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Read key=%s, ok=%d, error=%d\n", value, ok, ok ? 0 : NO_SUCH_VALUE);
    return ok;
}

STRING REGISTRY::Read(const char* value) {
    STRING data = Fetch(hkApp, value);
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::Read key=%s, ok=%d, error=%d\n", value, 0,
               data.NotNull() ? 0 : NO_SUCH_VALUE);
    if (data.Length() > TEXT_MAX)
        return STRING();
    data.ChopLast('\0');
    data.SetFlags(0);
    return data;
}

bool REGISTRY::Delete(const char* value) {
    bool ok = ChangeTable(hkApp, [&](STRINGARRAY& table) { return table.Delete(TableKey(value).Text()); });
    TraceLevel(REGISTRY_LEVEL, "REGISTRY::delete value= %s, error=%d\n", value, ok ? 0 : NO_SUCH_VALUE);
    return ok;
}

int REGISTRY::EnumValues(STRING* names) {
    STRINGARRAY table;
    LoadTable(hkApp, table);
    STRING joined("");
    int count = table.Count();
    for (int i = 0; i < count; ++i) {
        if (i)
            joined.Append("|");
        joined += table.KeyAt(i).Unescape();
    }
    *names = joined;
    return count;
}
