#include <algorithm>
#include <cstring>
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

#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"
#include "corelib/base/utf8.h"
#include "corelib/base/widepath.h"
#include "corelib/mapi/mapiclass.h"
#include "corelib/system/osys.h"

namespace {

/// A store gives no more of a text in the row of a table.
constexpr size_t ROW_TEXT = 255;
/// More of a header, or of a body of any length, is nothing that a mail needs.
constexpr size_t HEADER_BYTES = 65536, BODY_BYTES = 16 << 20;
/// Bytes of an entry id: its flags, and whose it is.
constexpr size_t SHORTEST_ID = 8;
/// Folders lie in each other no deeper, unless the store is broken.
constexpr int MOST_LEVELS = 64;

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
std::string FromAnsi(std::string_view text) {
    return std::string(FromWide(Widen(CP_ACP, text)).View());
}

/// A name, for a line of a list.
std::string OneLine(std::string text) {
    std::ranges::replace_if(text, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return text;
}

std::string_view TextOf(const SPropValue& value) {
    return PROP_TYPE(value.ulPropTag) == PT_STRING8 && value.Value.lpszA ? std::string_view(value.Value.lpszA)
                                                                         : std::string_view();
}

std::string BytesOf(const SPropValue& value) {
    if (PROP_TYPE(value.ulPropTag) != PT_BINARY || !value.Value.bin.lpb)
        return {};
    return std::string(reinterpret_cast<const char*>(value.Value.bin.lpb), value.Value.bin.cb);
}

long NumberOf(const SPropValue& value) {
    return PROP_TYPE(value.ulPropTag) == PT_LONG ? value.Value.l : 0;
}

ULONG LengthOf(const std::string& id) {
    return static_cast<ULONG>(id.size());
}

ENTRYID* EntryOf(const std::string& id) {
    return reinterpret_cast<ENTRYID*>(const_cast<char*>(id.data()));
}

std::string ToHex(std::string_view bytes) {
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char c : bytes)
        for (const int shift : {4, 0})
            text += "0123456789abcdef"[static_cast<unsigned char>(c) >> shift & 15];
    return text;
}

/// Empty if it is none.
std::string FromHex(std::string_view text) {
    std::string bytes;
    for (; text.size() >= 2; text.remove_prefix(2)) {
        const int byte = ASCII::HexByte(text);
        if (byte < 0)
            return {};
        bytes += static_cast<char>(byte);
    }
    return text.empty() ? bytes : std::string();
}

std::string DateOf(const SPropValue& value) {
    static constexpr const char* DAYS[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    SYSTEMTIME time;
    if (PROP_TYPE(value.ulPropTag) != PT_SYSTIME || !FileTimeToSystemTime(&value.Value.ft, &time))
        return {};
    STRING text;
    text.Format("%s, %02d %s %02d %02d:%02d:%02d +0000", DAYS[time.wDayOfWeek], time.wDay, MONTHS[time.wMonth - 1],
                time.wYear, time.wHour, time.wMinute, time.wSecond);
    return std::string(text.View());
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

using STORECOLUMNS = COLUMNS<PR_DISPLAY_NAME_A, PR_ENTRYID, PR_RESOURCE_FLAGS>;
using FOLDERCOLUMNS = COLUMNS<PR_DISPLAY_NAME_A, PR_ENTRYID, PR_CONTAINER_CLASS_A, PR_SUBFOLDERS>;
using INBOXCOLUMNS = COLUMNS<PR_SENDER_NAME_A, PR_CREATION_TIME, PR_SENDER_EMAIL_ADDRESS_A, PR_DISPLAY_TO_A,
                             PR_SUBJECT_A, PR_BODY_A, PR_MESSAGE_SIZE, PR_MESSAGE_FLAGS, PR_ENTRYID>;
enum INBOXCOLUMN {
    SENDER_NAME,
    CREATION_TIME,
    SENDER_ADDRESS,
    DISPLAY_TO,
    SUBJECT,
    BODY,
    SIZE_COLUMN,
    FLAGS_COLUMN,
    ENTRY_ID
};

/// Whom the sink tells. A provider may call one in a thread of its own even after it has given it back: the number by
/// which it was known stands for nobody then. All lives as long as the process.
class SINKTARGET {
 public:
    static ULONG_PTR Set(void (*function)(void*), void* context) {
        const HOLD hold;
        Function = function;
        Context = context;
        return ++Number;
    }
    /// Waits for a call that is under way.
    static void Clear(ULONG_PTR number) {
        const HOLD hold;
        if (number == Number)
            Function = nullptr;
    }
    static void Tell(ULONG_PTR number) {
        const HOLD hold;
        if (number == Number && Function)
            Function(Context);
    }

 private:
    static inline SRWLOCK Guard = SRWLOCK_INIT;
    struct HOLD {
        HOLD() { AcquireSRWLockExclusive(&Guard); }
        ~HOLD() { ReleaseSRWLockExclusive(&Guard); }
        HOLD(const HOLD&) = delete;
        HOLD& operator=(const HOLD&) = delete;
    };
    static inline ULONG_PTR Number = 0;
    static inline void* Context = nullptr;
    static inline void (*Function)(void*) = nullptr;
};

struct STORE {
    std::string Name, Id;
    bool IsDefault;
};

struct FOLDER {
    size_t Store;
    std::string Name, Id;
};

}  // namespace

struct MAPICLASS::PARTS {
    PARTS() = default;
    ~PARTS() {
        CloseInbox();
        if (Session)
            Session->Logoff(0, 0, 0);
        StoresTable.reset();
        Session.reset();
        if (IsInitialized)
            Uninitialize();
    }
    PARTS(const PARTS&) = delete;
    PARTS& operator=(const PARTS&) = delete;

    [[nodiscard]] bool Load(const STRING& path);
    [[nodiscard]] bool LogOn();
    void ReleaseCallback() {
        SINKTARGET::Clear(Sink);
        if (MDBMainObject && ulAdviseConnection != 0)
            MDBMainObject->Unadvise(std::exchange(ulAdviseConnection, 0));
    }
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

// ---- log-on ----

bool MAPICLASS::PARTS::Load(const STRING& path) {
    // From the system's folder, not from the program's, which may be one for downloads.
    const std::wstring name =
        path.NotNull() ? WidePath(path.Ptr()) : GrownText([](wchar_t* room, DWORD size) {
                                                    return size_t{GetSystemDirectoryW(room, size)};
                                                }) + L"\\MAPI32.DLL";
    Module.Module = LoadLibraryW(name.c_str());
    if (!Module.Module) {
        Trace("MAPICLASS::Constructor LoadLibrary failed\n");
        return false;
    }
    bool all = true;
    // Libraries of 32 bits export decorated names, those of 64 bits plain ones.
    const auto find = [&](auto*& function, const char* decorated, const char* plain) {
        void* found = nullptr;
        for (const char* exported : {decorated, plain})
            if (!found && exported)
                found = reinterpret_cast<void*>(GetProcAddress(Module.Module, exported));
        function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(found);
        all = all && found;
    };
    find(Initialize, nullptr, "MAPIInitialize");
    find(Uninitialize, nullptr, "MAPIUninitialize");
    find(LogonEx, nullptr, "MAPILogonEx");
    find(AllocAdviseSink, "HrAllocAdviseSink@12", "HrAllocAdviseSink");
    find(FreeRows, "FreeProws@4", "FreeProws");
    find(QueryAllRows, "HrQueryAllRows@24", "HrQueryAllRows");
    find(AllocateBuffer, "MAPIAllocateBuffer@8", "MAPIAllocateBuffer");
    find(FreeBuffer, "MAPIFreeBuffer@4", "MAPIFreeBuffer");
    find(GetOneProp, "HrGetOneProp@12", "HrGetOneProp");
    return all;
}

bool MAPICLASS::PARTS::LogOn() {
    const char* failed = "MAPIInitiatlize";
    FILLED<IMAPISession> session;
    FILLED<IMAPITable> table;
    ROWS rows(nullptr, {FreeRows});
    if (Initialize(nullptr) == S_OK) {
        IsInitialized = true;
        failed = "MAPILogonEx";
        if (LogonEx(0, nullptr, nullptr, MAPI_USE_DEFAULT | MAPI_ALLOW_OTHERS, session) == S_OK) {
            Session.reset(session.Value);
            failed = "GetMsgStoresTable";
            if (Session->GetMsgStoresTable(0, table) == S_OK) {
                StoresTable.reset(table.Value);
                rows = AllRows<STORECOLUMNS>(*StoresTable, failed);
            }
        }
    }
    if (!rows) {
        Trace("MAPICLASS::Constructor %s failed\n", failed);
        return false;
    }
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* row = rows->aRow[i].lpProps;
        Stores.push_back(
            {OneLine(FromAnsi(TextOf(row[0]))), BytesOf(row[1]), (NumberOf(row[2]) & STATUS_DEFAULT_STORE) != 0});
        Trace("MAPICLASS::Contructor New MDB added: %s, IsDefault=%ld\n", Stores.back().Name.c_str(),
              long{Stores.back().IsDefault});
    }
    return true;
}

MAPICLASS::MAPICLASS(const STRING& library) : Parts(std::make_unique<PARTS>()) {
    Trace("MAPICLASS::Constructor\n");
    const DIRECTORYKEEPER keep;
    Parts->IsUpAndRunning = Parts->Load(library) && Parts->LogOn();
    if (Parts->IsUpAndRunning)
        Trace("MAPICLASS::Constructor done\n");
}

MAPICLASS::~MAPICLASS() {
    Trace("MAPICLASS::~Constructor\n");
    {
        const DIRECTORYKEEPER keep;
        const_cast<std::unique_ptr<PARTS>&>(Parts).reset();
    }
    Trace("MAPICLASS::~Constructor done\n");
}

bool MAPICLASS::IsUpAndRunning() const {
    return Parts->IsUpAndRunning;
}

int MAPICLASS::QueryHowManyMsgStores() const {
    return static_cast<int>(Parts->Stores.size());
}

// ---- folders ----

int MAPICLASS::QueryHowManyMailFolders() const {
    return static_cast<int>(Parts->MailFolders.size());
}

STRING MAPICLASS::GetMailFolderName(int index) const {
    if (index < 0 || index >= QueryHowManyMailFolders())
        return {};
    const FOLDER& folder = Parts->MailFolders[static_cast<size_t>(index)];
    return STRING(std::string_view(Parts->Stores[folder.Store].Name + " - " + folder.Name));
}

void MAPICLASS::TraceAllFolders() {
    if (!ASSERTION(this->IsUpAndRunning(), "this->IsUpAndRunning()"))
        return;
    const DIRECTORYKEEPER keep;
    Parts->MailFolders.clear();
    Parts->ContactFolders.clear();
    for (size_t i = 0; i < Parts->Stores.size(); ++i) {
        const OBJECT<IMsgStore> store = Parts->OpenStore(Parts->Stores[i]);
        if (!store) {
            Trace("MAPICLASS::TraceAllFolders OpenMsgStore failed\n");
            continue;
        }
        const PARTS::BUFFER<SPropValue> lpspva = Parts->PropOf(*store, PR_IPM_SUBTREE_ENTRYID);
        if (!lpspva)
            Trace("MAPICLASS::TraceAllFolders GetProps failed\n");
        else if (ASSERTION(lpspva->ulPropTag == PR_IPM_SUBTREE_ENTRYID, "lpspva[0].ulPropTag==PR_IPM_SUBTREE_ENTRYID"))
            Parts->TraceOneFolder(i, *store, BytesOf(*lpspva), 0);
    }
}

void MAPICLASS::PARTS::TraceOneFolder(size_t storeIndex, IMsgStore& store, const std::string& id, int level) {
    const auto fail = [](const char* failed) { Trace("MAPICLASS::QueryAndTraceOneFolder %s failed\n", failed); };
    const OBJECT<IMAPIFolder> folder = OpenEntry<IMAPIFolder>(store, id);
    if (!folder)
        return fail("OpenEntry");
    FILLED<IMAPITable> table;
    if (folder->GetHierarchyTable(0, table) != S_OK)
        return fail("GetHierarchyTable");
    const OBJECT<IMAPITable> hierarchy(table.Value);
    const char* failed;
    const ROWS rows = AllRows<FOLDERCOLUMNS>(*hierarchy, failed);
    if (!rows)
        return fail(failed);
    for (ULONG i = 0; i < rows->cRows; ++i) {
        const SPropValue* row = rows->aRow[i].lpProps;
        // The id in a table may be good for a while only.
        std::string lasting = BytesOf(row[1]);
        const OBJECT<IMAPIFolder> below = OpenEntry<IMAPIFolder>(store, lasting);
        HRESULT result = S_OK;
        if (below)
            if (const BUFFER<SPropValue> own = OneProp(*below, PR_ENTRYID, result))
                lasting = BytesOf(*own);
        if (!below || result != S_OK) {
            fail(below ? "HrGetOneProp" : "OpenEntry");
            continue;
        }
        const std::string_view kind = TextOf(row[2]);
        if (kind == "IPF.Note" || kind == "IPF.Contact")
            (kind == "IPF.Note" ? MailFolders : ContactFolders)
                .push_back({storeIndex, OneLine(FromAnsi(TextOf(row[0]))), lasting});
        if (PROP_TYPE(row[3].ulPropTag) == PT_BOOLEAN && row[3].Value.b && level < MOST_LEVELS)
            TraceOneFolder(storeIndex, store, lasting, level + 1);
    }
}

// ---- the inbox ----

bool MAPICLASS::OpenInboxFolder() {
    if (!ASSERTION(this->IsUpAndRunning(), "this->IsUpAndRunning()") ||
        !ASSERTION(!Parts->MDBMainObject, "this->MDBMainObject==NULL"))
        return false;
    const DIRECTORYKEEPER keep;
    const auto found = std::ranges::find_if(Parts->Stores, &STORE::IsDefault);
    if (found == Parts->Stores.end())
        return false;
    OBJECT<IMsgStore> store = Parts->OpenStore(*found);
    if (!store) {
        Trace("MAPICLASS::OpenInboxFolder OpenMsgStore failed\n");
        return false;
    }
    ULONG length = 0;
    FILLED<ENTRYID> id;
    char kind[] = "IPM.Note";
    const HRESULT result = store->GetReceiveFolder(reinterpret_cast<LPTSTR>(kind), 0, &length, id, nullptr);
    const PARTS::BUFFER<ENTRYID> owned = Parts->Own(id);
    if (result != S_OK || !owned || length == 0) {
        Trace("MAPICLASS::OpenInboxFolder GetReceiveFolder failed\n");
        return false;
    }
    Parts->Inbox.assign(reinterpret_cast<const char*>(owned.get()), length);
    Parts->MDBMainObject = std::move(store);
    return true;
}

bool MAPICLASS::IsInboxOpen() const {
    return Parts->MDBMainObject != nullptr;
}

void MAPICLASS::CloseInboxFolder() {
    const DIRECTORYKEEPER keep;
    Parts->CloseInbox();
}

bool MAPICLASS::SetInboxCallback(void (*function)(void* context), void* context) {
    if (!ASSERTION(this->IsUpAndRunning(), "this->IsUpAndRunning()") ||
        !ASSERTION(Parts->MDBMainObject != nullptr, "this->MDBMainObject!=NULL") ||
        !ASSERTION(Parts->ulAdviseConnection == 0, "this->ulAdviseConnection==0"))
        return false;
    const DIRECTORYKEEPER keep;
    Parts->Sink = SINKTARGET::Set(function, context);
    FILLED<IMAPIAdviseSink> filled;
    const LPNOTIFCALLBACK call = [](void* number, ULONG, NOTIFICATION*) -> LONG {
        SINKTARGET::Tell(reinterpret_cast<ULONG_PTR>(number));
        return 0;
    };
    if (Parts->AllocAdviseSink(call, reinterpret_cast<void*>(Parts->Sink), filled) != S_OK) {
        Trace("MAPICLASS::SetInboxCallback HrAllocAdviceSink failed\n");
        return false;
    }
    const OBJECT<IMAPIAdviseSink> sink(filled.Value);
    ULONG connection = 0;
    if (Parts->MDBMainObject->Advise(LengthOf(Parts->Inbox), EntryOf(Parts->Inbox), fnevObjectModified, sink.get(),
                                     &connection) != S_OK) {
        Trace("MAPICLASS::SetInboxCallback Advise failed\n");
        return false;
    }
    Parts->ulAdviseConnection = connection;
    Trace("MAPICLASS::Callback ulAdviseConnection=%ld\n", static_cast<long>(connection));
    return true;
}

void MAPICLASS::ReleaseInboxCallback() {
    const DIRECTORYKEEPER keep;
    Parts->ReleaseCallback();
}

bool MAPICLASS::GetInboxMessages(int bytes, const std::function<bool(const MAPIMESSAGE&)>& take) {
    Trace("MAPICLASS::GetInboxMessages\n");
    if (!ASSERTION(this->IsUpAndRunning(), "this->IsUpAndRunning()") ||
        !ASSERTION(Parts->MDBMainObject != nullptr, "this->MDBMainObject!=NULL"))
        return false;
    const DIRECTORYKEEPER keep;
    const char* failed = "OpenEntry";
    PARTS::ROWS rows(nullptr, {Parts->FreeRows});
    {
        FILLED<IMAPITable> table;
        const OBJECT<IMAPIFolder> inbox = PARTS::OpenEntry<IMAPIFolder>(*Parts->MDBMainObject, Parts->Inbox);
        if (inbox) {
            failed = "GetContentsTable";
            if (inbox->GetContentsTable(0, table) == S_OK) {
                const OBJECT<IMAPITable> contents(table.Value);
                rows = Parts->AllRows<INBOXCOLUMNS>(*contents, failed);
            }
        }
    }
    if (!rows) {
        Trace("MAPICLASS::GetInboxMessages %s failed\n", failed);
        return false;
    }
    for (ULONG i = 0; i < rows->cRows; ++i)
        if (!take(Parts->Read(rows->aRow[i].lpProps, bytes)))
            break;
    Trace("MAPICLASS::GetInboxMessages done\n");
    return true;
}

MAPIMESSAGE MAPICLASS::PARTS::Read(const SPropValue* row, int bytes) const {
    MAPIMESSAGE mail;
    mail.SenderName = FromAnsi(TextOf(row[SENDER_NAME]));
    mail.SenderAddress = FromAnsi(TextOf(row[SENDER_ADDRESS]));
    mail.DisplayTo = FromAnsi(TextOf(row[DISPLAY_TO]));
    mail.Subject = FromAnsi(TextOf(row[SUBJECT]));
    mail.Body = TextOf(row[BODY]);
    mail.Date = DateOf(row[CREATION_TIME]);
    mail.Size = static_cast<uint32_t>(NumberOf(row[SIZE_COLUMN]));
    mail.IsRead = (NumberOf(row[FLAGS_COLUMN]) & MSGFLAG_READ) != 0;
    const std::string id = BytesOf(row[ENTRY_ID]);
    mail.Id = ToHex(id);
    if (bytes == NO_TEXTS)
        return mail;
    // It may have gone since the table was read: the row is what there is of it then.
    if (const OBJECT<IMAPIProp> message = OpenEntry<IMAPIProp>(*MDBMainObject, id))
        ReadMore(*message, row, bytes, mail);
    else
        mail.Body.clear();
    mail.Body = FromAnsi(mail.Body);
    if (bytes >= 0)
        mail.Body = UTF8::Cut(mail.Body, static_cast<size_t>(bytes));
    return mail;
}

void MAPICLASS::PARTS::ReadMore(IMAPIProp& message, const SPropValue* row, int bytes, MAPIMESSAGE& mail) const {
    HRESULT result;
    // What the table could not say.
    const auto isMissing = [&](INBOXCOLUMN column) { return PROP_TYPE(row[column].ulPropTag) == PT_ERROR; };
    const std::pair<INBOXCOLUMN, std::string*> texts[] = {{SENDER_NAME, &mail.SenderName},
                                                          {SENDER_ADDRESS, &mail.SenderAddress},
                                                          {DISPLAY_TO, &mail.DisplayTo},
                                                          {SUBJECT, &mail.Subject}};
    bool exists;
    for (const auto& [column, text] : texts)
        if (isMissing(column) || TextOf(row[column]).size() >= ROW_TEXT)
            if (const auto whole = LongText(message, INBOXCOLUMNS::Array()->aulPropTag[column], HEADER_BYTES, exists))
                *text = FromAnsi(*whole);
    if (isMissing(CREATION_TIME))
        if (const BUFFER<SPropValue> value = OneProp(message, PR_CREATION_TIME, result))
            mail.Date = DateOf(*value);
    if (isMissing(SIZE_COLUMN))
        if (const BUFFER<SPropValue> value = OneProp(message, PR_MESSAGE_SIZE, result))
            mail.Size = static_cast<uint32_t>(NumberOf(*value));
    if (isMissing(FLAGS_COLUMN))
        if (const BUFFER<SPropValue> value = OneProp(message, PR_MESSAGE_FLAGS, result))
            mail.IsRead = (NumberOf(*value) & MSGFLAG_READ) != 0;
    if (bytes != 0)
        if (auto body = LongText(message, PR_BODY_A, bytes < 0 ? BODY_BYTES : static_cast<size_t>(bytes), exists))
            mail.Body = std::move(*body);
    const auto transport = LongText(message, PR_TRANSPORT_MESSAGE_HEADERS_A, HEADER_BYTES, exists);
    // One that cannot be read makes no local mail of a stranger's.
    mail.IsLocal = !exists;
    if (transport)
        mail.Transport = UTF8::IsValid(*transport) ? *transport : FromAnsi(*transport);
}

bool MAPICLASS::MoveInboxMessage(const std::string& id, int folder) {
    Trace("MAPICLASS::MoveInboxMessage\n");
    if (!ASSERTION(this->IsUpAndRunning(), "this->IsUpAndRunning()") ||
        !ASSERTION(Parts->MDBMainObject != nullptr, "this->MDBMainObject!=NULL"))
        return false;
    const DIRECTORYKEEPER keep;
    const auto fail = [](const char* failed) {
        Trace("MAPICLASS::MoveInboxMessage %s failed\n", failed);
        return false;
    };
    const std::string entry = FromHex(id);
    // A mail without an id of its own goes by a number here, which is shorter than any.
    if (entry.size() < SHORTEST_ID)
        return false;
    const OBJECT<IMAPIFolder> inbox = PARTS::OpenEntry<IMAPIFolder>(*Parts->MDBMainObject, Parts->Inbox, MAPI_MODIFY);
    if (!inbox)
        return fail("OpenEntry");
    OBJECT<IMsgStore> other;
    OBJECT<IMAPIFolder> target;
    if (folder == WASTEBASKET) {
        const PARTS::BUFFER<SPropValue> basket = Parts->PropOf(*Parts->MDBMainObject, PR_IPM_WASTEBASKET_ENTRYID);
        if (!basket)
            return fail("Wastebasket GetProps");
        if (basket->ulPropTag != PR_IPM_WASTEBASKET_ENTRYID)
            return false;
        target = PARTS::OpenEntry<IMAPIFolder>(*Parts->MDBMainObject, BytesOf(*basket), MAPI_MODIFY);
        if (!target)
            return fail("Wastebasket OpenEntry");
    } else {
        Trace("MAPICLASS::GetMailFolderId idx=%d\n", folder);
        if (folder < 0 || folder >= QueryHowManyMailFolders())
            return fail("Normalfolder OpenEntry");
        const FOLDER& named = Parts->MailFolders[static_cast<size_t>(folder)];
        Trace("MAPICLASS::GetMailFolderId result len=%d\n", static_cast<int>(named.Id.size()));
        const STORE& home = Parts->Stores[named.Store];
        if (!home.IsDefault)
            other = Parts->OpenStore(home);
        if (home.IsDefault || other)
            target = PARTS::OpenEntry<IMAPIFolder>(other ? *other : *Parts->MDBMainObject, named.Id, MAPI_MODIFY);
        if (!target)
            return fail("Normalfolder OpenEntry");
    }
    FILLED<void> filled;
    if (Parts->AllocateBuffer(LengthOf(entry), filled) != S_OK)
        return false;
    const PARTS::BUFFER<void> bytes = Parts->Own(filled);
    memcpy(bytes.get(), entry.data(), entry.size());
    SBinary message = {LengthOf(entry), static_cast<BYTE*>(bytes.get())};
    ENTRYLIST list = {1, &message};
    const bool moved = inbox->CopyMessages(&list, nullptr, target.get(), 0, nullptr, MESSAGE_MOVE) == S_OK;
    Trace("MAPICLASS::MoveInboxMessage done\n");
    return moved;
}
