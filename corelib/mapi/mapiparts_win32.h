#pragma once

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>
#include <windows.h>
// These need the one above.
#include <objidl.h>
// And these need both.
#include <mapicode.h>
#include <mapidefs.h>
#include <mapitags.h>
#include <mapiutil.h>
#include <mapix.h>

#include "corelib/base/utf8.h"
#include "corelib/base/widepath.h"
#include "corelib/mapi/mapiclass.h"
#include "corelib/system/osys.h"

/// What MAPI's objects and values are held by, for the two files of MAPICLASS.
namespace MAPIPARTS {

template <class INTERFACE>
struct RELEASER {
    void operator()(INTERFACE* object) const { object->Release(); }
};
/// An object of MAPI's, released with its owner.
template <class INTERFACE>
using OBJECT = std::unique_ptr<INTERFACE, RELEASER<INTERFACE>>;

/// What one of MAPI's calls gives, on its way to its owner.
template <class TYPE>
struct FILLED {
    TYPE* Value = nullptr;
    operator TYPE**() { return &Value; }
};

struct LIBRARY {
    ~LIBRARY() {
        if (Module)
            FreeLibrary(Module);
    }
    HMODULE Module = nullptr;
};

/// The directory is what it was when the object goes.
struct DIRECTORYKEEPER {
    ~DIRECTORYKEEPER() {
        if (Directory.NotNull())
            OSYS::SetCurrentDir(Directory.Text());
    }
    const STRING Directory = OSYS::GetCurrentDir();
};

/// Texts in these tags are in the machine's code page.
inline std::string FromAnsi(std::string_view text) {
    return std::string(FromWide(Widen(CP_ACP, text)).View());
}

inline std::string_view TextOf(const SPropValue& value) {
    return PROP_TYPE(value.ulPropTag) == PT_STRING8 && value.Value.lpszA ? std::string_view(value.Value.lpszA)
                                                                         : std::string_view();
}

inline std::string BytesOf(const SPropValue& value) {
    if (PROP_TYPE(value.ulPropTag) != PT_BINARY || !value.Value.bin.lpb)
        return {};
    return std::string(reinterpret_cast<const char*>(value.Value.bin.lpb), value.Value.bin.cb);
}

inline long NumberOf(const SPropValue& value) {
    return PROP_TYPE(value.ulPropTag) == PT_LONG ? value.Value.l : 0;
}

inline ULONG LengthOf(const std::string& id) {
    return static_cast<ULONG>(id.size());
}

inline ENTRYID* EntryOf(const std::string& id) {
    return reinterpret_cast<ENTRYID*>(const_cast<char*>(id.data()));
}

/// Columns of a table.
template <ULONG... TAGS>
struct COLUMNS {
    static constexpr ULONG COUNT = sizeof...(TAGS);
    static SPropTagArray* Array() {
        static struct {
            ULONG Count;
            ULONG Tags[COUNT];
        } array = {COUNT, {TAGS...}};
        return reinterpret_cast<SPropTagArray*>(&array);
    }
};

struct STORE {
    std::string Name, Id;
    bool IsDefault;
};

struct FOLDER {
    size_t Store;
    std::string Name, Id;
};

/// The session, and the inbox that is open in it.
struct SESSION {
    SESSION() = default;
    ~SESSION() {
        CloseInbox();
        if (Session)
            Session->Logoff(0, 0, 0);
        StoresTable.reset();
        Session.reset();
        if (IsInitialized)
            Uninitialize();
    }
    SESSION(const SESSION&) = delete;
    SESSION& operator=(const SESSION&) = delete;

    [[nodiscard]] bool Load(const STRING& path);
    [[nodiscard]] bool LogOn();
    void ReleaseCallback();
    void CloseInbox() {
        ReleaseCallback();
        MDBMainObject.reset();
        Inbox.clear();
    }

    struct BUFFERFREER {
        MAPIFREEBUFFER* Free;
        void operator()(void* buffer) const { Free(buffer); }
    };
    template <class TYPE>
    using BUFFER = std::unique_ptr<TYPE, BUFFERFREER>;
    template <class TYPE>
    BUFFER<TYPE> Own(const FILLED<TYPE>& filled) const {
        return {filled.Value, {FreeBuffer}};
    }

    struct ROWSFREER {
        decltype(&::FreeProws) Free;
        void operator()(SRowSet* rows) const { Free(rows); }
    };
    using ROWS = std::unique_ptr<SRowSet, ROWSFREER>;

    /// All rows of a table in those columns; null, with the step that failed, otherwise.
    template <class WANTED>
    ROWS AllRows(IMAPITable& table, const char*& failed) const {
        failed = "SetColumns";
        FILLED<SRowSet> rows;
        if (table.SetColumns(WANTED::Array(), 0) == S_OK) {
            failed = "HrQueryAllRows";
            if (QueryAllRows(&table, nullptr, nullptr, nullptr, 0, rows) != S_OK)
                rows.Value = nullptr;
        }
        ROWS owned(rows.Value, {FreeRows});
        const bool good = owned && std::all_of(owned->aRow, owned->aRow + owned->cRows,
                                               [](const SRow& row) { return row.cValues >= WANTED::COUNT; });
        return good ? std::move(owned) : ROWS(nullptr, {FreeRows});
    }

    OBJECT<IMsgStore> OpenStore(const STORE& store) const {
        FILLED<IMsgStore> opened;
        if (Session->OpenMsgStore(0, LengthOf(store.Id), EntryOf(store.Id), nullptr, MDB_WRITE, opened) != S_OK)
            return nullptr;
        return OBJECT<IMsgStore>(opened.Value);
    }
    template <class INTERFACE>
    static OBJECT<INTERFACE> OpenEntry(IMsgStore& store, const std::string& id, ULONG flags = 0) {
        FILLED<IUnknown> opened;
        ULONG type = 0;
        if (id.empty() || store.OpenEntry(LengthOf(id), EntryOf(id), nullptr, flags, &type, opened) != S_OK)
            return nullptr;
        return OBJECT<INTERFACE>(static_cast<INTERFACE*>(opened.Value));
    }
    BUFFER<SPropValue> OneProp(IMAPIProp& object, ULONG tag, HRESULT& result) const {
        FILLED<SPropValue> value;
        result = GetOneProp(&object, tag, value);
        BUFFER<SPropValue> owned = Own(value);
        if (result != S_OK)
            owned.reset();
        return owned;
    }

    /// One property of a store, for which it may answer with an error in another tag.
    BUFFER<SPropValue> PropOf(IMsgStore& store, ULONG tag) const {
        SPropTagArray tags = {1, {tag}};
        ULONG count = 0;
        FILLED<SPropValue> value;
        const HRESULT result = store.GetProps(&tags, 0, &count, value);
        BUFFER<SPropValue> owned = Own(value);
        if (FAILED(result) || count == 0)
            owned.reset();
        return owned;
    }

    /// A text of a message, of which `limit` bytes are wanted. Null if it has none; also where it cannot be read, which
    /// `exists` tells from that.
    std::optional<std::string> LongText(IMAPIProp& message, ULONG tag, size_t limit, bool& exists) const {
        HRESULT result;
        const BUFFER<SPropValue> value = OneProp(message, tag, result);
        exists = result != MAPI_E_NOT_FOUND;
        if (value)
            return std::string(TextOf(*value).substr(0, limit));
        // What is too long for a value comes in a stream.
        FILLED<IUnknown> opened;
        if (result != MAPI_E_NOT_ENOUGH_MEMORY || message.OpenProperty(tag, &__uuidof(IStream), 0, 0, opened) != S_OK)
            return {};
        const OBJECT<IStream> stream(static_cast<IStream*>(opened.Value));
        std::string text;
        for (char piece[4096]; text.size() < limit;) {
            ULONG count = 0;
            const size_t room = std::min(sizeof piece, limit - text.size());
            if (FAILED(stream->Read(piece, static_cast<ULONG>(room), &count)) || count == 0)
                break;
            text.append(piece, count);
        }
        return text;
    }

    void TraceOneFolder(size_t storeIndex, IMsgStore& store, const std::string& id, int level);
    MAPIMESSAGE Read(const SPropValue* row, int bytes) const;
    void ReadMore(IMAPIProp& message, const SPropValue* row, int bytes, MAPIMESSAGE& mail) const;

    LIBRARY Module;
    MAPIINITIALIZE* Initialize = nullptr;
    MAPIUNINITIALIZE* Uninitialize = nullptr;
    MAPILOGONEX* LogonEx = nullptr;
    decltype(&::HrAllocAdviseSink) AllocAdviseSink = nullptr;
    decltype(&::FreeProws) FreeRows = nullptr;
    decltype(&::HrQueryAllRows) QueryAllRows = nullptr;
    MAPIALLOCATEBUFFER* AllocateBuffer = nullptr;
    MAPIFREEBUFFER* FreeBuffer = nullptr;
    decltype(&::HrGetOneProp) GetOneProp = nullptr;

    bool IsInitialized = false;
    OBJECT<IMAPISession> Session;
    OBJECT<IMAPITable> StoresTable;
    OBJECT<IMsgStore> MDBMainObject;
    std::string Inbox;
    bool IsUpAndRunning = false;
    ULONG ulAdviseConnection = 0;
    ULONG_PTR Sink = 0;
    std::vector<STORE> Stores;
    std::vector<FOLDER> ContactFolders, MailFolders;
};

}  // namespace MAPIPARTS

struct MAPICLASS::PARTS : MAPIPARTS::SESSION {};
