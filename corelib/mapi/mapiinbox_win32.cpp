// What MAPICLASS does with the inbox.
#include <cstring>

#include "corelib/base/ascii.h"
#include "corelib/base/hexdigits.h"
#include "corelib/base/trace.h"
#include "corelib/mapi/mapiparts_win32.h"

using namespace MAPIPARTS;

namespace {

/// A store gives no more of a text in the row of a table.
constexpr size_t ROW_TEXT = 255;
/// More of a header, or of a body of any length, is nothing that a mail needs.
constexpr size_t HEADER_BYTES = 65536, BODY_BYTES = 16 << 20;
/// Bytes of an entry id: its flags, and whose it is.
constexpr size_t SHORTEST_ID = 8;

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

}  // namespace

void SESSION::ReleaseCallback() {
    SINKTARGET::Clear(Sink);
    if (MDBMainObject && ulAdviseConnection != 0)
        MDBMainObject->Unadvise(std::exchange(ulAdviseConnection, 0));
}

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
    char kind[] = "IPM.Note";
    const PARTS::BUFFER<ENTRYID> id = Parts->GivenBuffer<ENTRYID>(
        [&](ENTRYID** to) { return store->GetReceiveFolder(reinterpret_cast<LPTSTR>(kind), 0, &length, to, nullptr); });
    if (!id || length == 0) {
        Trace("MAPICLASS::OpenInboxFolder GetReceiveFolder failed\n");
        return false;
    }
    Parts->Inbox.assign(reinterpret_cast<const char*>(id.get()), length);
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
    const LPNOTIFCALLBACK call = [](void* number, ULONG, NOTIFICATION*) -> LONG {
        SINKTARGET::Tell(reinterpret_cast<ULONG_PTR>(number));
        return 0;
    };
    const auto sink = GivenObject<IMAPIAdviseSink>(
        [&](IMAPIAdviseSink** to) { return Parts->AllocAdviseSink(call, reinterpret_cast<void*>(Parts->Sink), to); });
    if (!sink) {
        Trace("MAPICLASS::SetInboxCallback HrAllocAdviceSink failed\n");
        return false;
    }
    ULONG connection = 0;
    if (FAILED(Parts->MDBMainObject->Advise(LengthOf(Parts->Inbox), EntryOf(Parts->Inbox), fnevObjectModified,
                                            sink.get(), &connection))) {
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

bool MAPICLASS::GetInboxMessages(int bytes, const std::function<int(const MAPIMESSAGE&)>& take) {
    Trace("MAPICLASS::GetInboxMessages\n");
    if (!ASSERTION(this->IsUpAndRunning(), "this->IsUpAndRunning()") ||
        !ASSERTION(Parts->MDBMainObject != nullptr, "this->MDBMainObject!=NULL"))
        return false;
    const DIRECTORYKEEPER keep;
    const char* failed = "OpenEntry";
    PARTS::ROWS rows(nullptr, {Parts->FreeRows});
    if (const auto inbox = PARTS::OpenFolder(*Parts->MDBMainObject, Parts->Inbox)) {
        failed = "GetContentsTable";
        if (const auto contents =
                GivenObject<IMAPITable>([&](IMAPITable** to) { return inbox->GetContentsTable(0, to); }))
            rows = Parts->AllRows<INBOXCOLUMNS>(*contents, failed);
    }
    if (!rows) {
        Trace("MAPICLASS::GetInboxMessages %s failed\n", failed);
        return false;
    }
    for (ULONG i = 0; i < rows->cRows && bytes != NO_MORE; ++i)
        bytes = take(Parts->Read(rows->aRow[i].lpProps, bytes));
    Trace("MAPICLASS::GetInboxMessages done\n");
    return true;
}

MAPIMESSAGE SESSION::Read(const SPropValue* row, int bytes) const {
    MAPIMESSAGE mail;
    const auto text = [&](INBOXCOLUMN column) { return FromAnsi(TextOf(row[column]).substr(0, HEADER_BYTES)); };
    mail.SenderName = text(SENDER_NAME);
    mail.SenderAddress = text(SENDER_ADDRESS);
    mail.DisplayTo = text(DISPLAY_TO);
    mail.Subject = text(SUBJECT);
    mail.Body = TextOf(row[BODY]).substr(0, BODY_BYTES);
    mail.Date = DateOf(row[CREATION_TIME]);
    mail.Size = static_cast<uint32_t>(NumberOf(row[SIZE_COLUMN]));
    mail.IsRead = (NumberOf(row[FLAGS_COLUMN]) & MSGFLAG_READ) != 0;
    const std::string id = BytesOf(row[ENTRY_ID]);
    mail.Id = HEX::ToHex(id);
    if (bytes == MAPICLASS::NO_TEXTS)
        return mail;
    // It may have gone since the table was read: the row is what there is of it then.
    if (const auto message = OpenEntry<IMAPIProp, MAPI_MESSAGE>(*MDBMainObject, id))
        ReadMore(*message, row, bytes, mail);
    else
        mail.Body.clear();
    mail.Body = FromAnsi(mail.Body);
    if (bytes >= 0)
        mail.Body = UTF8::Cut(mail.Body, static_cast<size_t>(bytes));
    return mail;
}

void SESSION::ReadMore(IMAPIProp& message, const SPropValue* row, int bytes, MAPIMESSAGE& mail) const {
    HRESULT result;
    // What the table could not say.
    const auto isMissing = [&](INBOXCOLUMN column) {
        return PROP_TYPE(row[column].ulPropTag) != PROP_TYPE(INBOXCOLUMNS::TAG[column]);
    };
    const std::pair<INBOXCOLUMN, std::string*> texts[] = {{SENDER_NAME, &mail.SenderName},
                                                          {SENDER_ADDRESS, &mail.SenderAddress},
                                                          {DISPLAY_TO, &mail.DisplayTo},
                                                          {SUBJECT, &mail.Subject}};
    bool exists;
    for (const auto& [column, text] : texts)
        if (isMissing(column) || TextOf(row[column]).size() >= ROW_TEXT)
            if (const auto whole = LongText(message, INBOXCOLUMNS::TAG[column], HEADER_BYTES, exists))
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
    const std::string entry = HEX::FromHex(id);
    // A mail without an id of its own goes by a number here, which is shorter than any.
    if (entry.size() < SHORTEST_ID)
        return false;
    const auto inbox = PARTS::OpenFolder(*Parts->MDBMainObject, Parts->Inbox, MAPI_MODIFY);
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
        target = PARTS::OpenFolder(*Parts->MDBMainObject, BytesOf(*basket), MAPI_MODIFY);
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
            target = PARTS::OpenFolder(other ? *other : *Parts->MDBMainObject, named.Id, MAPI_MODIFY);
        if (!target)
            return fail("Normalfolder OpenEntry");
    }
    const PARTS::BUFFER<void> bytes =
        Parts->GivenBuffer<void>([&](void** to) { return Parts->AllocateBuffer(LengthOf(entry), to); });
    if (!bytes)
        return false;
    memcpy(bytes.get(), entry.data(), entry.size());
    SBinary message = {LengthOf(entry), static_cast<BYTE*>(bytes.get())};
    ENTRYLIST list = {1, &message};
    const bool moved = inbox->CopyMessages(&list, nullptr, target.get(), 0, nullptr, MESSAGE_MOVE) == S_OK;
    Trace("MAPICLASS::MoveInboxMessage done\n");
    return moved;
}
