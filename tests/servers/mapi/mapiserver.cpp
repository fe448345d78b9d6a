#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
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
#include <psapi.h>

#include "tests/servers/mapi/mapiserver.h"

// What the program does not call says so, parameter by parameter as the platform's headers have it.
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#ifdef __clang__
// It takes the headers' methods for such as throw nothing.
#pragma clang diagnostic ignored "-Wmicrosoft-exception-spec"
#endif
#define NOTHING           \
    override {            \
        return Unknown(); \
    }

namespace {

constexpr ULONG STRINGS_CUT = 255, STREAMED_FROM = 4096;

struct FOLDERDATA {
    const char *Store, *Name, *Kind;
    int Parent;
};
/// Their numbers are their ids.
constexpr FOLDERDATA FOLDERS[] = {
    {"Personal", "Top", "", -1},
    {"Personal", "Inbox", "IPF.Note", 0},
    {"Personal", "Deleted Items", "IPF.Note", 0},
    {"Personal", "Junk", "IPF.Note", 0},
    {"Personal", "Old", "IPF.Note", 3},
    {"Personal", "Contacts", "IPF.Contact", 0},
    {"Archive", "Top", "", -1},
    {"Archive", "Junk", "IPF.Note", 6},
    {"Archive", "K\xF6nnte\nsein ", "IPF.Note", 6},
};
constexpr int INBOX = 1, BASKET = 2, OLD = 4;
constexpr const char* STORES[] = {"Personal", "Archive"};

struct LYING {
    STOREDMAIL Mail;
    std::string Id;
    int Folder;
};

struct STATE {
    std::recursive_mutex Guard;
    std::list<LYING> Mails;
    std::map<std::string, LYING*> ById;
    std::string Failing;
    int NextId = 0, LogOns = 0, OpensLeft = -1, Initialized = 0, SessionNow = 0;
    int Calls = 0, FaultAt = -1, Below = 0, NextFolder = 0;
    MAPIFAULT Fault = MAPIFAULT::FAILS;
    bool FaultIsNow = false;
    std::atomic<bool> Blocking = false, Blocked = false;
    bool IsDown = false;
    int Objects = 0, TooMany = 0;
    std::set<void*> Buffers, Rows;
};
STATE State;

// Ends a call that does not work.
#define NEEDS(call)                       \
    if (const auto ending = Ending(call)) \
    return *ending

HRESULT Unknown() {
    return MAPI_E_NO_SUPPORT;
}

bool IsNow(MAPIFAULT fault) {
    return State.FaultIsNow && State.Fault == fault;
}

/// How a call ends that does not work; it leaves the process in another directory, as providers do.
std::optional<HRESULT> Ending(const char* call) {
    constexpr const wchar_t* OTHER_DIRECTORY = L"C:\\windows";
    // Changing it costs Wine more than all the rest.
    wchar_t directory[MAX_PATH];
    if (GetCurrentDirectoryW(MAX_PATH, directory) == 0 || wcscmp(directory, OTHER_DIRECTORY) != 0)
        SetCurrentDirectoryW(OTHER_DIRECTORY);
    const std::lock_guard hold(State.Guard);
    State.FaultIsNow = State.Calls++ == State.FaultAt;
    State.IsDown = State.IsDown || IsNow(MAPIFAULT::SHUTS_DOWN);
    if (IsNow(MAPIFAULT::GIVES_NOTHING))
        return S_OK;
    if (State.IsDown)
        return MAPI_E_NETWORK_ERROR;
    if (State.Failing == call || IsNow(MAPIFAULT::FAILS))
        return MAPI_E_CALL_FAILED;
    return {};
}

/// What one that works comes back with.
HRESULT Done() {
    const std::lock_guard hold(State.Guard);
    return IsNow(MAPIFAULT::WARNS) ? MAPI_W_NO_SERVICE : S_OK;
}

/// An object that is counted. It is never freed, so that a release too many is found, and no crash; only what it holds.
template <class BASE>
struct COUNTED : BASE {
    COUNTED() { ++State.Objects; }
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return ++References; }
    STDMETHODIMP_(ULONG) Release() override {
        const std::lock_guard hold(State.Guard);
        if (References == 0)
            ++State.TooMany;
        else if (--References == 0) {
            --State.Objects;
            Empty();
        }
        return References;
    }
    virtual void Empty() {}
    std::atomic<ULONG> References = 1;
};

void* NewBlock(size_t size, std::set<void*>& kind) {
    const std::lock_guard hold(State.Guard);
    void* block = calloc(1, size + 1);
    kind.insert(block);
    return block;
}

void FreeBlock(void* block, std::set<void*>& kind) {
    const std::lock_guard hold(State.Guard);
    if (!block)
        return;
    if (kind.erase(block) == 0)
        ++State.TooMany;
    else
        free(block);
}

std::string FolderId(int folder, bool lasting) {
    return std::string(lasting ? "L" : "S") + static_cast<char>(folder + 1);
}

/// One below Old, that is another one each time.
std::string NextFolderId() {
    return FolderId(OLD, true) + std::to_string(State.NextFolder++);
}

int FolderOf(ULONG length, const ENTRYID* id) {
    const auto* bytes = reinterpret_cast<const char*>(id);
    const int folder = length >= 2 && (*bytes == 'L' || *bytes == 'S') ? bytes[1] - 1 : -1;
    return folder < static_cast<int>(std::size(FOLDERS)) ? folder : -1;
}

/// A value with its text or bytes, as long as its owner lives.
struct VALUE {
    ULONG Tag;
    std::string Bytes;
    LONG Number = 0;
};
using VALUES = std::vector<VALUE>;

VALUE Missing(ULONG tag, SCODE error = MAPI_E_NOT_FOUND) {
    return {CHANGE_PROP_TYPE(tag, PT_ERROR), "", error};
}

/// A value as no store should have it.
void Spoil(SPropValue& value) {
    const ULONG type = PROP_TYPE(value.ulPropTag);
    if (IsNow(MAPIFAULT::OTHER_TYPES)) {
        value.ulPropTag = CHANGE_PROP_TYPE(value.ulPropTag, (type == PT_LONG ? PT_UNICODE : PT_LONG));
        value.Value.ul = 7;
    }
    if (IsNow(MAPIFAULT::NULL_VALUES) && type == PT_STRING8)
        value.Value.lpszA = nullptr;
    else if (IsNow(MAPIFAULT::NULL_VALUES))
        value.Value.bin = {1000, nullptr};
}

void Put(SPropValue& to, const VALUE& value, char*& room) {
    to.ulPropTag = value.Tag;
    const auto bytes = static_cast<ULONG>(value.Bytes.size());
    memcpy(room, value.Bytes.c_str(), bytes + 1);
    const SYSTEMTIME time = {2026, 3, 2, 3, 5, 6, 7, 0};
    const ULONG type = PROP_TYPE(value.Tag);
    if (type == PT_STRING8)
        to.Value.lpszA = room;
    else if (type == PT_BINARY)
        to.Value.bin = {bytes, reinterpret_cast<BYTE*>(room)};
    else if (type == PT_SYSTIME)
        SystemTimeToFileTime(&time, &to.Value.ft);
    else
        to.Value.l = value.Number;
    room += bytes + 1;
}

/// The values in one block, freed by MAPIFreeBuffer.
SPropValue* Packed(const VALUES& values) {
    size_t size = values.size() * (sizeof(SPropValue) + 1);
    for (const VALUE& value : values)
        size += value.Bytes.size();
    auto* props = static_cast<SPropValue*>(NewBlock(size, State.Buffers));
    char* room = reinterpret_cast<char*>(props + values.size());
    for (size_t i = 0; i < values.size(); ++i) {
        Put(props[i], values[i], room);
        Spoil(props[i]);
    }
    return props;
}

VALUE Chosen(const VALUES& values, ULONG tag) {
    const auto at = std::ranges::find(values, tag, &VALUE::Tag);
    return at == values.end() ? Missing(tag) : *at;
}

VALUE MailValue(const LYING& lying, ULONG tag) {
    const STOREDMAIL& mail = lying.Mail;
    const std::map<ULONG, const std::string*> texts = {
        {PR_SENDER_NAME_A, &mail.SenderName},
        {PR_SENDER_EMAIL_ADDRESS_A, &mail.SenderAddress},
        {PR_DISPLAY_TO_A, &mail.To},
        {PR_SUBJECT_A, &mail.Subject},
        {PR_BODY_A, &mail.Body},
        {PR_TRANSPORT_MESSAGE_HEADERS_A, mail.Transport ? &*mail.Transport : nullptr},
        {PR_ENTRYID, mail.HasId ? &lying.Id : nullptr},
    };
    if (const auto text = texts.find(tag); text != texts.end())
        return text->second ? VALUE{tag, *text->second} : Missing(tag);
    return Chosen({{PR_MESSAGE_SIZE, "", static_cast<LONG>(mail.Body.size())},
                   {PR_MESSAGE_FLAGS, "", mail.IsRead ? LONG{MSGFLAG_READ} : 0},
                   {PR_CREATION_TIME, ""}},
                  tag);
}

VALUE RowValue(const LYING& lying, ULONG tag) {
    VALUE value = MailValue(lying, tag);
    if (tag != PR_ENTRYID && (lying.Mail.RowSaysLess || (tag == PR_BODY_A && value.Bytes.size() > STRINGS_CUT)))
        return Missing(tag, MAPI_E_NOT_ENOUGH_MEMORY);
    if (PROP_TYPE(tag) == PT_STRING8)
        value.Bytes.resize(std::min<size_t>(value.Bytes.size(), STRINGS_CUT));
    return value;
}

VALUE FolderValue(int folder, ULONG tag, const std::string& id) {
    const FOLDERDATA& data = FOLDERS[folder];
    const bool hasFolders =
        (folder == OLD && State.Below != 0) || std::ranges::count(FOLDERS, folder, &FOLDERDATA::Parent) > 0;
    return Chosen({{PR_DISPLAY_NAME_A, data.Name},
                   {PR_ENTRYID, id},
                   {PR_CONTAINER_CLASS_A, data.Kind},
                   {PR_SUBFOLDERS, "", hasFolders}},
                  tag);
}

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
