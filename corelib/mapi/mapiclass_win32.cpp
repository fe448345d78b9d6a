#include "corelib/base/ascii.h"
#include "corelib/base/trace.h"
#include "corelib/mapi/mapiparts_win32.h"

using namespace MAPIPARTS;

namespace {

/// Folders lie in each other no deeper, and nobody chooses among more of them, unless the store is broken.
constexpr int MOST_LEVELS = 64;
constexpr size_t MOST_FOLDERS = 4096;

/// A name, for a line of a list, as a person can enter it.
std::string OneLine(std::string text) {
    std::ranges::replace_if(text, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return std::string(ASCII::Trim(text, " "));
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
    ROWS rows(nullptr, {FreeRows});
    if (SUCCEEDED(Initialize(nullptr))) {
        IsInitialized = true;
        failed = "MAPILogonEx";
        Session = GivenObject<IMAPISession>(
            [&](IMAPISession** to) { return LogonEx(0, nullptr, nullptr, MAPI_USE_DEFAULT | MAPI_ALLOW_OTHERS, to); });
    }
    if (Session) {
        failed = "GetMsgStoresTable";
        StoresTable = GivenObject<IMAPITable>([&](IMAPITable** to) { return Session->GetMsgStoresTable(0, to); });
    }
    if (StoresTable)
        rows = AllRows<STORECOLUMNS>(*StoresTable, failed);
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
        else if (ASSERTION(lpspva->ulPropTag == PR_IPM_SUBTREE_ENTRYID,
                           "lpspva[0].ulPropTag==PR_IPM_SUBTREE_ENTRYID")) {
            const std::string top = BytesOf(*lpspva);
            PARTS::WALK walk = {i, *store, {top}, 0};
            Parts->TraceOneFolder(walk, top, 0);
        }
    }
}

void SESSION::TraceOneFolder(WALK& walk, const std::string& id, int level) {
    const auto fail = [](const char* failed) { Trace("MAPICLASS::QueryAndTraceOneFolder %s failed\n", failed); };
    const OBJECT<IMAPIFolder> folder = OpenFolder(walk.Store, id);
    if (!folder)
        return fail("OpenEntry");
    const auto hierarchy = GivenObject<IMAPITable>([&](IMAPITable** to) { return folder->GetHierarchyTable(0, to); });
    if (!hierarchy)
        return fail("GetHierarchyTable");
    const char* failed;
    const ROWS rows = AllRows<FOLDERCOLUMNS>(*hierarchy, failed);
    if (!rows)
        return fail(failed);
    walk.Rows += rows->cRows;
    for (ULONG i = 0; i < rows->cRows && walk.Seen.size() < MOST_FOLDERS; ++i) {
        const SPropValue* row = rows->aRow[i].lpProps;
        // The id in a table may be good for a while only.
        std::string lasting = BytesOf(row[1]);
        const OBJECT<IMAPIFolder> below = OpenFolder(walk.Store, lasting);
        HRESULT result = S_OK;
        if (below)
            if (const BUFFER<SPropValue> own = OneProp(*below, PR_ENTRYID, result); own && !BytesOf(*own).empty())
                lasting = BytesOf(*own);
        if (!below || FAILED(result)) {
            fail(below ? "HrGetOneProp" : "OpenEntry");
            continue;
        }
        // Folders of a broken store may lie in themselves.
        if (!walk.Seen.insert(lasting).second)
            continue;
        const std::string_view kind = TextOf(row[2]);
        if (kind == "IPF.Note" || kind == "IPF.Contact")
            (kind == "IPF.Note" ? MailFolders : ContactFolders)
                .push_back({walk.StoreIndex, OneLine(FromAnsi(TextOf(row[0]))), lasting});
        if (PROP_TYPE(row[3].ulPropTag) == PT_BOOLEAN && row[3].Value.b && level < MOST_LEVELS &&
            walk.Rows < MOST_FOLDERS)
            TraceOneFolder(walk, lasting, level + 1);
    }
}
