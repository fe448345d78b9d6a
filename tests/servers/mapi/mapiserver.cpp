#include <condition_variable>
#include <functional>
#include <thread>

#include "tests/servers/mapi/mapivalues.h"

// What the program does not call says so, parameter by parameter as the platform's headers have it.
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define NOTHING           \
    override {            \
        return Unknown(); \
    }

namespace {

struct NOTABLE : IMAPITable {
    MAPI_IMAPITABLE_METHODS(NOTHING)
};
struct TABLE : COUNTED<NOTABLE> {
    using ROW = std::function<VALUE(ULONG)>;
    explicit TABLE(std::vector<ROW> rows) : Rows(std::move(rows)) {}
    STDMETHODIMP SetColumns(SPropTagArray* columns, ULONG) override {
        Columns.assign(columns->aulPropTag, columns->aulPropTag + columns->cValues);
        NEEDS("SetColumns");
        return Done();
    }
    HRESULT All(SRowSet** filled) const {
        NEEDS("HrQueryAllRows");
        auto* set = static_cast<SRowSet*>(NewBlock(sizeof(SRowSet) + Rows.size() * sizeof(SRow), State.Rows));
        for (const ROW& row : Rows) {
            VALUES values;
            for (const ULONG tag : Columns)
                values.push_back(row(tag));
            // One column more is none that anybody has asked for.
            if (IsNow(MAPIFAULT::OTHER_WIDTHS))
                set->cRows % 2 == 0 ? values.push_back({PR_ENTRYID, "x"}) : values.pop_back();
            SPropValue* const props = Packed(values);
            set->aRow[set->cRows++] = {0, static_cast<ULONG>(values.size()), props};
        }
        *filled = set;
        return Done();
    }
    void Empty() override {
        std::exchange(Rows, {});
        std::exchange(Columns, {});
    }
    std::vector<ROW> Rows;
    std::vector<ULONG> Columns;
};

struct NOSTREAM : IStream {
    HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) NOTHING HRESULT STDMETHODCALLTYPE
        Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) NOTHING HRESULT STDMETHODCALLTYPE
        SetSize(ULARGE_INTEGER) NOTHING HRESULT STDMETHODCALLTYPE
        CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) NOTHING HRESULT STDMETHODCALLTYPE
        Commit(DWORD) NOTHING HRESULT STDMETHODCALLTYPE Revert() NOTHING HRESULT STDMETHODCALLTYPE
        LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) NOTHING HRESULT STDMETHODCALLTYPE
        UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) NOTHING HRESULT STDMETHODCALLTYPE
        Stat(STATSTG*, DWORD) NOTHING HRESULT STDMETHODCALLTYPE Clone(IStream**) NOTHING
};
struct STREAM : COUNTED<NOSTREAM> {
    explicit STREAM(std::string text) : Text(std::move(text)) {}
    HRESULT STDMETHODCALLTYPE Read(void* to, ULONG size, ULONG* count) override {
        NEEDS("Read");
        // In pieces of its own choice.
        *count = static_cast<ULONG>(Text.copy(static_cast<char*>(to), std::min<size_t>(size, 1000), At));
        At += *count;
        if (IsNow(MAPIFAULT::OTHER_WIDTHS))
            *count += 1000000;
        return Done();
    }
    std::string Text;
    size_t At = 0;
};

struct NOPROPS : IMAPIProp {
    MAPI_IMAPIPROP_METHODS(NOTHING)
};
struct MESSAGE : COUNTED<NOPROPS> {
    explicit MESSAGE(const LYING& lying) : Lying(lying) {}
    STDMETHODIMP OpenProperty(ULONG tag, LPCIID, ULONG, ULONG, IUnknown** stream) override {
        NEEDS("OpenProperty");
        *stream = new STREAM(MailValue(Lying, tag).Bytes);
        return Done();
    }
    const LYING& Lying;
};

struct NOFOLDER : IMAPIFolder {
    MAPI_IMAPIPROP_METHODS(NOTHING)
    MAPI_IMAPICONTAINER_METHODS(NOTHING)
    MAPI_IMAPIFOLDER_METHODS(NOTHING)
};

/// Tells the sinks, each time in a thread of its own.
class TELLER {
 public:
    ULONG Install(IMAPIAdviseSink* sink) {
        const std::lock_guard hold(Guard);
        sink->AddRef();
        Sinks[++Next] = sink;
        return Next;
    }
    void Remove(ULONG connection) {
        std::unique_lock hold(Guard);
        if (!Sinks.contains(connection))
            return;
        IMAPIAdviseSink* const sink = Sinks.extract(connection).mapped();
        Quiet.wait(hold, [this] { return Telling == 0; });
        if (KeepsSinks)
            Kept.push_back(sink);
        else
            sink->Release();
    }
    /// Sinks that are given back are kept; and told, once that is over.
    void Keep(bool keep) {
        KeepsSinks = keep;
        NOTIFICATION notification = {};
        for (IMAPIAdviseSink* const sink : std::exchange(Kept, {})) {
            sink->OnNotify(1, &notification);
            sink->Release();
        }
    }
    int Count() {
        const std::lock_guard hold(Guard);
        return static_cast<int>(Sinks.size());
    }
    void Tell(bool await) {
        std::unique_lock hold(Guard);
        if (Sinks.empty())
            return;
        ++Telling;
        std::thread([this, sinks = Sinks] {
            NOTIFICATION notification = {};
            notification.ulEventType = fnevObjectModified;
            for (const auto& [connection, sink] : sinks)
                sink->OnNotify(1, &notification);
            const std::lock_guard told(Guard);
            --Telling;
            Quiet.notify_all();
        }).detach();
        Quiet.wait(hold, [&] { return !await || Telling == 0; });
    }

 private:
    std::mutex Guard;
    std::condition_variable Quiet;
    std::map<ULONG, IMAPIAdviseSink*> Sinks;
    std::vector<IMAPIAdviseSink*> Kept;
    bool KeepsSinks = false;
    ULONG Next = 0;
    int Telling = 0;
};
TELLER Teller;

struct FOLDEROBJECT : COUNTED<NOFOLDER> {
    FOLDEROBJECT(int folder, std::string id) : Folder(folder), Id(std::move(id)) {}
    STDMETHODIMP GetContentsTable(ULONG, IMAPITable** table) override {
        NEEDS("GetContentsTable");
        const std::lock_guard hold(State.Guard);
        std::vector<TABLE::ROW> rows;
        for (const LYING& lying : State.Mails)
            if (lying.Folder == Folder)
                rows.push_back([&lying](ULONG tag) { return RowValue(lying, tag); });
        *table = new TABLE(std::move(rows));
        return Done();
    }
    STDMETHODIMP GetHierarchyTable(ULONG, IMAPITable** table) override {
        NEEDS("GetHierarchyTable");
        std::vector<TABLE::ROW> rows;
        for (int i = 0; i < static_cast<int>(std::size(FOLDERS)); ++i)
            if (FOLDERS[i].Parent == Folder)
                rows.push_back([i](ULONG tag) { return FolderValue(i, tag, FolderId(i, false)); });
        for (int i = 0; Folder == OLD && i < std::abs(State.Below); ++i)
            rows.push_back(
                [id = State.Below > 0 ? NextFolderId() : Id](ULONG tag) { return FolderValue(OLD, tag, id); });
        *table = new TABLE(std::move(rows));
        return Done();
    }
    STDMETHODIMP CopyMessages(ENTRYLIST* list, LPCIID, void* target, ULONG, IMAPIProgress*, ULONG flags) override {
        NEEDS("CopyMessages");
        {
            const std::lock_guard hold(State.Guard);
            const auto found = State.ById.find(std::string(reinterpret_cast<char*>(list->lpbin->lpb), list->lpbin->cb));
            if (list->cValues != 1 || flags != MESSAGE_MOVE || found == State.ById.end() ||
                found->second->Folder != Folder)
                return MAPI_W_PARTIAL_COMPLETION;
            found->second->Folder = static_cast<FOLDEROBJECT*>(static_cast<NOFOLDER*>(target))->Folder;
        }
        Teller.Tell(true);
        return S_OK;
    }
    void Empty() override { std::exchange(Id, {}); }
    const int Folder;
    std::string Id;
};

struct NOSTORE : IMsgStore {
    MAPI_IMAPIPROP_METHODS(NOTHING)
    MAPI_IMSGSTORE_METHODS(NOTHING)
};
struct STOREOBJECT : COUNTED<NOSTORE> {
    STOREOBJECT(int store, int session) : Store(store), OfSession(session) {}
    STDMETHODIMP GetProps(SPropTagArray* tags, ULONG, ULONG* count, SPropValue** values) override {
        NEEDS("GetProps");
        const ULONG tag = tags->aulPropTag[0];
        VALUE value = Missing(tag);
        if (tag == PR_IPM_SUBTREE_ENTRYID)
            value = {tag, FolderId(Store == 0 ? 0 : 6, true)};
        if (tag == PR_IPM_WASTEBASKET_ENTRYID && Store == 0 && State.Failing != "wastebasket")
            value = {tag, FolderId(BASKET, true)};
        *count = 1;
        *values = Packed({value});
        return PROP_TYPE(value.Tag) == PT_ERROR ? MAPI_W_ERRORS_RETURNED : S_OK;
    }
    STDMETHODIMP GetReceiveFolder(LPTSTR, ULONG, ULONG* length, ENTRYID** id, LPTSTR*) override {
        NEEDS("GetReceiveFolder");
        *length = 2;
        *id = static_cast<ENTRYID*>(NewBlock(2, State.Buffers));
        memcpy(*id, FolderId(INBOX, true).data(), 2);
        return Done();
    }
    STDMETHODIMP Advise(ULONG length, ENTRYID* id, ULONG mask, IMAPIAdviseSink* sink, ULONG* connection) override {
        if (FolderOf(length, id) != INBOX || mask != fnevObjectModified)
            return MAPI_E_INVALID_PARAMETER;
        NEEDS("Advise");
        *connection = Teller.Install(sink);
        return Done();
    }
    STDMETHODIMP Unadvise(ULONG connection) override {
        Teller.Remove(connection);
        return S_OK;
    }
    STDMETHODIMP OpenEntry(ULONG length, ENTRYID* id, LPCIID, ULONG, ULONG* type, IUnknown** object) override {
        NEEDS("OpenEntry");
        const std::lock_guard hold(State.Guard);
        if (OfSession != State.SessionNow)
            return MAPI_E_END_OF_SESSION;
        const int folder = FolderOf(length, id);
        if (folder >= 0) {
            if (std::strcmp(FOLDERS[folder].Store, STORES[Store]) != 0)
                return MAPI_E_NOT_FOUND;
            *type = MAPI_FOLDER;
            const std::string bytes(reinterpret_cast<char*>(id), length);
            *object = new FOLDEROBJECT(folder, length == 2 ? FolderId(folder, true) : bytes);
            return Done();
        }
        if (State.OpensLeft >= 0 && State.OpensLeft-- == 0) {
            State.IsDown = true;
            ++State.SessionNow;
        }
        const auto found = State.ById.find(std::string(reinterpret_cast<char*>(id), length));
        if (State.IsDown || found == State.ById.end() || found->second->Mail.Vanishes)
            return MAPI_E_NOT_FOUND;
        *type = MAPI_MESSAGE;
        *object = new MESSAGE(*found->second);
        return Done();
    }
    const int Store, OfSession;
};

struct NOSESSION : IMAPISession {
    MAPI_IMAPISESSION_METHODS(NOTHING)
};
struct SESSION : COUNTED<NOSESSION> {
    SESSION() : Number(++State.SessionNow) {}
    STDMETHODIMP GetMsgStoresTable(ULONG, IMAPITable** table) override {
        NEEDS("GetMsgStoresTable");
        std::vector<TABLE::ROW> rows;
        for (int i : {1, 0})
            rows.push_back([i](ULONG tag) -> VALUE {
                const LONG flags = i == 0 ? LONG{STATUS_DEFAULT_STORE | STATUS_NO_PRIMARY_IDENTITY} : 0;
                const std::string id = std::string("M") + static_cast<char>(i);
                return Chosen({{PR_DISPLAY_NAME_A, STORES[i]}, {PR_ENTRYID, id}, {tag, "", flags}}, tag);
            });
        *table = new TABLE(std::move(rows));
        return Done();
    }
    STDMETHODIMP OpenMsgStore(ULONG_PTR, ULONG length, ENTRYID* id, LPCIID, ULONG flags, IMsgStore** store) override {
        NEEDS("OpenMsgStore");
        const auto* bytes = reinterpret_cast<const char*>(id);
        if (length != 2 || *bytes != 'M' || flags != MDB_WRITE)
            return MAPI_E_INVALID_ENTRYID;
        *store = new STOREOBJECT(bytes[1], Number);
        return Done();
    }
    STDMETHODIMP Logoff(ULONG_PTR, ULONG, ULONG) override { return S_OK; }
    const int Number;
};

struct NOSINK : IMAPIAdviseSink {};
struct SINK : COUNTED<NOSINK> {
    SINK(LPNOTIFCALLBACK function, void* context) : Function(function), Context(context) {}
    STDMETHODIMP_(ULONG) OnNotify(ULONG count, NOTIFICATION* notifications) override {
        return static_cast<ULONG>(Function(Context, count, notifications));
    }
    const LPNOTIFCALLBACK Function;
    void* const Context;
};

struct SERVER : MAPISERVER {
    void Reset() override {
        const std::lock_guard hold(State.Guard);
        State.ById.clear();
        State.Mails.clear();
        State.Failing.clear();
        State.LogOns = State.Objects = State.TooMany = State.Initialized = 0;
        State.OpensLeft = State.FaultAt = -1;
        State.Below = 0;
        State.IsDown = false;
        State.Buffers.clear();
        State.Rows.clear();
    }
    void Add(const STOREDMAIL& mail) override {
        {
            const std::lock_guard hold(State.Guard);
            std::string id = "mail";
            for (int shift = 24; shift >= 0; shift -= 8)
                id += static_cast<char>(State.NextId >> shift);
            ++State.NextId;
            State.Mails.push_back({mail, id, INBOX});
            State.ById[id] = &State.Mails.back();
        }
        Teller.Tell(false);
    }
    int Count(const char* folder) override {
        const std::lock_guard hold(State.Guard);
        return static_cast<int>(std::ranges::count_if(State.Mails, [&](const LYING& lying) {
            const FOLDERDATA& data = FOLDERS[lying.Folder];
            return std::string(data.Store) + "/" + data.Name == folder;
        }));
    }
    int Sinks() override { return Teller.Count(); }
    void BlockLogOn(bool block) override { State.Blocking = block; }
    bool IsBlocked() override { return State.Blocked; }
    int LogOns() override { return State.LogOns; }
    void Fail(const char* call) override {
        const std::lock_guard hold(State.Guard);
        State.Failing = call ? call : "";
        State.IsDown = false;
    }
    void ShutDownAfter(int opened) override {
        const std::lock_guard hold(State.Guard);
        State.OpensLeft = opened;
        State.IsDown = false;
    }
    void FaultAt(int call, MAPIFAULT fault) override {
        const std::lock_guard hold(State.Guard);
        State.FaultAt = call;
        State.Fault = fault;
        State.Calls = 0;
    }
    int Calls() override { return State.Calls; }
    void FoldersBelow(int folders) override { State.Below = folders; }
    void TellLate(bool late) override { Teller.Keep(late); }
    std::string Leftovers() override {
        const std::lock_guard hold(State.Guard);
        const std::pair<const char*, int> counts[] = {{"objects", State.Objects},
                                                      {"buffers", static_cast<int>(State.Buffers.size())},
                                                      {"row sets", static_cast<int>(State.Rows.size())},
                                                      {"releases too many", State.TooMany},
                                                      {"initializations", State.Initialized},
                                                      {"sinks", Teller.Count()}};
        std::string text;
        for (const auto& [what, count] : counts)
            if (count != 0)
                text += std::to_string(count) + " " + what + " ";
        return text;
    }
    size_t MemoryInUse() override {
        PROCESS_MEMORY_COUNTERS counters = {};
        K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
        return counters.PagefileUsage;
    }
};
SERVER Server;

}  // namespace

extern "C" {

MAPISERVER* TestStore() {
    return &Server;
}

HRESULT WINAPI MAPIInitialize(void*) {
    if (const auto ending = Ending("MAPIInitialize"); ending && FAILED(*ending))
        return *ending;
    ++State.Initialized;
    return Done();
}

void WINAPI MAPIUninitialize() {
    --State.Initialized;
}

HRESULT WINAPI MAPILogonEx(ULONG_PTR, LPTSTR, LPTSTR, ULONG flags, IMAPISession** session) {
    while (State.Blocking) {
        State.Blocked = true;
        Sleep(1);
    }
    State.Blocked = false;
    NEEDS("MAPILogonEx");
    if (flags != 0x48)
        return MAPI_E_INVALID_PARAMETER;
    const std::lock_guard hold(State.Guard);
    ++State.LogOns;
    *session = new SESSION;
    return Done();
}

SCODE WINAPI MAPIAllocateBuffer(ULONG size, void** buffer) {
    NEEDS("MAPIAllocateBuffer");
    *buffer = NewBlock(size, State.Buffers);
    return Done();
}

ULONG WINAPI MAPIFreeBuffer(void* buffer) {
    FreeBlock(buffer, State.Buffers);
    return 0;
}

void WINAPI FreeProws(SRowSet* rows) {
    if (!rows)
        return;
    {
        const std::lock_guard hold(State.Guard);
        if (!State.Rows.contains(rows)) {
            ++State.TooMany;
            return;
        }
    }
    for (ULONG i = 0; i < rows->cRows; ++i)
        FreeBlock(rows->aRow[i].lpProps, State.Buffers);
    FreeBlock(rows, State.Rows);
}

HRESULT WINAPI HrQueryAllRows(IMAPITable* table, SPropTagArray*, SRestriction*, SSortOrderSet*, LONG, SRowSet** rows) {
    return static_cast<TABLE*>(table)->All(rows);
}

HRESULT WINAPI HrGetOneProp(IMAPIProp* object, ULONG tag, SPropValue** value) {
    NEEDS("HrGetOneProp");
    const auto* const folder = dynamic_cast<FOLDEROBJECT*>(object);
    const VALUE found =
        folder ? FolderValue(folder->Folder, tag, folder->Id) : MailValue(dynamic_cast<MESSAGE*>(object)->Lying, tag);
    if (PROP_TYPE(found.Tag) == PT_ERROR)
        return found.Number;
    if (found.Bytes.size() > STREAMED_FROM)
        return MAPI_E_NOT_ENOUGH_MEMORY;
    *value = Packed({found});
    return Done();
}

HRESULT WINAPI HrAllocAdviseSink(LPNOTIFCALLBACK function, void* context, IMAPIAdviseSink** sink) {
    NEEDS("HrAllocAdviseSink");
    *sink = new SINK(function, context);
    return Done();
}
}
