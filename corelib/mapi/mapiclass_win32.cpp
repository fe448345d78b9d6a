#include "corelib/base/trace.h"
#include "corelib/mapi/mapiparts_win32.h"

using namespace MAPIPARTS;

namespace {

/// Folders lie in each other no deeper, unless the store is broken.
constexpr int MOST_LEVELS = 64;

/// A name, for a line of a list.
std::string OneLine(std::string text) {
    std::ranges::replace_if(text, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return text;
}

using STORECOLUMNS = COLUMNS<PR_DISPLAY_NAME_A, PR_ENTRYID, PR_RESOURCE_FLAGS>;
using FOLDERCOLUMNS = COLUMNS<PR_DISPLAY_NAME_A, PR_ENTRYID, PR_CONTAINER_CLASS_A, PR_SUBFOLDERS>;

}  // namespace

// ---- log-on ----

bool SESSION::Load(const STRING& path) {
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

bool SESSION::LogOn() {
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

void SESSION::TraceOneFolder(size_t storeIndex, IMsgStore& store, const std::string& id, int level) {
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
