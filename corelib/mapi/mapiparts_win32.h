#pragma once

#include <algorithm>
#include <optional>
#include <set>
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

/// What a call stores in its argument: null if it fails, which may leave anything there. A warning comes with the
/// thing.
template <class TYPE, class CALL>
TYPE* Given(const CALL& call) {
    TYPE* value = nullptr;
    return SUCCEEDED(call(&value)) ? value : nullptr;
}
template <class INTERFACE, class CALL>
OBJECT<INTERFACE> GivenObject(const CALL& call) {
    return OBJECT<INTERFACE>(Given<INTERFACE>(call));
}

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
    static constexpr ULONG TAG[] = {TAGS...};
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
    template <class TYPE, class CALL>
    BUFFER<TYPE> GivenBuffer(const CALL& call) const {
        return {Given<TYPE>(call), {FreeBuffer}};
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
        if (FAILED(table.SetColumns(WANTED::Array(), 0)))
            return ROWS(nullptr, {FreeRows});
        failed = "HrQueryAllRows";
        ROWS rows(Given<SRowSet>([&](SRowSet** to) { return QueryAllRows(&table, nullptr, nullptr, nullptr, 0, to); }),
                  {FreeRows});
        if (rows && !std::all_of(rows->aRow, rows->aRow + rows->cRows,
                                 [](const SRow& row) { return row.lpProps && row.cValues >= WANTED::COUNT; }))
            rows.reset();
        return rows;
    }

    OBJECT<IMsgStore> OpenStore(const STORE& store) const {
        return GivenObject<IMsgStore>([&](IMsgStore** to) {
            return Session->OpenMsgStore(0, LengthOf(store.Id), EntryOf(store.Id), nullptr, MDB_WRITE, to);
        });
    }
    /// Null also for an object of another kind than MAPI_FOLDER, MAPI_MESSAGE.
    template <class INTERFACE, ULONG KIND>
    static OBJECT<INTERFACE> OpenEntry(IMsgStore& store, const std::string& id, ULONG flags = 0) {
        ULONG kind = KIND;
        OBJECT<IUnknown> opened;
        if (!id.empty())
            opened = GivenObject<IUnknown>(
                [&](IUnknown** to) { return store.OpenEntry(LengthOf(id), EntryOf(id), nullptr, flags, &kind, to); });
        return OBJECT<INTERFACE>(kind == KIND ? static_cast<INTERFACE*>(opened.release()) : nullptr);
    }
    static OBJECT<IMAPIFolder> OpenFolder(IMsgStore& store, const std::string& id, ULONG flags = 0) {
        return OpenEntry<IMAPIFolder, MAPI_FOLDER>(store, id, flags);
    }
    BUFFER<SPropValue> OneProp(IMAPIProp& object, ULONG tag, HRESULT& result) const {
        return GivenBuffer<SPropValue>([&](SPropValue** to) { return result = GetOneProp(&object, tag, to); });
    }

    /// One property of a store, for which it may answer with an error in another tag.
    BUFFER<SPropValue> PropOf(IMsgStore& store, ULONG tag) const {
        SPropTagArray tags = {1, {tag}};
        ULONG count = 0;
        BUFFER<SPropValue> value =
            GivenBuffer<SPropValue>([&](SPropValue** to) { return store.GetProps(&tags, 0, &count, to); });
        if (count == 0)
            value.reset();
        return value;
    }

    /// A text of a message, of which `limit` bytes are wanted. Null if it has none; also where it cannot be read, which
    /// `exists` tells from that.
    std::optional<std::string> LongText(IMAPIProp& message, ULONG tag, size_t limit, bool& exists) const {
        HRESULT result;
        const BUFFER<SPropValue> value = OneProp(message, tag, result);
        exists = result != MAPI_E_NOT_FOUND;
        if (value && PROP_TYPE(value->ulPropTag) == PT_STRING8)
            return std::string(TextOf(*value).substr(0, limit));
        // What is too long for a value comes in a stream.
        if (result != MAPI_E_NOT_ENOUGH_MEMORY)
            return {};
        const OBJECT<IUnknown> opened = GivenObject<IUnknown>(
            [&](IUnknown** to) { return message.OpenProperty(tag, &__uuidof(IStream), 0, 0, to); });
        if (!opened)
            return {};
        auto* const stream = static_cast<IStream*>(opened.get());
        std::string text;
        for (char piece[4096]; text.size() < limit;) {
            ULONG count = 0;
            const size_t room = std::min(sizeof piece, limit - text.size());
            if (FAILED(stream->Read(piece, static_cast<ULONG>(room), &count)) || count == 0)
                break;
            text.append(piece, std::min<size_t>(count, room));
        }
        return text;
    }

    /// The look at the folders of one store.
    struct WALK {
        const size_t StoreIndex;
        IMsgStore& Store;
        std::set<std::string> Seen;  // by their ids
        size_t Rows = 0;             // of all that lie below those
    };
    void TraceOneFolder(WALK& walk, const std::string& id, int level);
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
