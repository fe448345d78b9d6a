#include "app/demo/demo.h"

#include <algorithm>

#include "app/core/tarnwick.h"
#include "app/demo/imapservice.h"
#include "app/demo/pop3service.h"
#include "app/demo/samplemail.h"
#include "app/demo/webmailservice.h"
#include "app/mailbox/account.h"
#include "app/mailbox/mailhandling.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"

namespace {

constexpr const char* DEMO_DIRECTORY = "Velmora\\Tarnwick Demo";
constexpr const char* DEMO_USER = "demo";
constexpr const char* DEMO_PASSWORD = "demo";
constexpr const char* DEMO_CHECK_SECONDS = "5";
constexpr const char* DEMO_PUSH_SECONDS = "3600";  // whose server tells by itself what arrives
constexpr int BURST_EVERY = 3;                     // arrivals

template <class SERVICE>
std::unique_ptr<DEMOSERVICE> Serve(DEMOSTORE& store) {
    return std::make_unique<SERVICE>(store, DEMO_USER, DEMO_PASSWORD);
}

// The kinds of mailbox that the demo shows.
struct KIND {
    const char* Name;  // of the account
    int Type;
    std::unique_ptr<DEMOSERVICE> (*Serve)(DEMOSTORE& store);
    int Every;  // which of the sample mails it has: each of them, every second one ...
    int Seen;   // how many of these have been seen
};
constexpr KIND KINDS[] = {
    {"Demo (POP3)", ITEMTYPE_POP3, Serve<POP3SERVICE>, 1, 0},
    {"Demo (IMAP)", ITEMTYPE_IMAP, Serve<IMAPSERVICE>, 3, 12},
    {"Demo (web mail)", ITEMTYPE_HOTMAIL, Serve<WEBMAILSERVICE>, 5, 6},
};

bool AnyBegins(const std::vector<std::string>& words, std::string_view name) {
    for (size_t i = 1; i < words.size(); ++i)
        if (words[i].size() > 1 && ASCII::BeginsWith(std::string_view(words[i]).substr(1), name))
            return true;
    return false;
}

}  // namespace

void AddDemoDirectory(std::vector<std::string>& words) {
    if (AnyBegins(words, "DEMO") && !AnyBegins(words, "WORKDIR"))
        words.emplace_back(
            (STRING("/WORKDIR:") || OSYS::FilePath(GetWin32SystemPath(5).Text(), DEMO_DIRECTORY)).Text());
}

struct DEMO::MAILBOX {
    explicit MAILBOX(const KIND& kind) : Kind(kind), Service(kind.Serve(Store)) {
        const int64_t now = CLOCK::Seconds();
        for (int i = 0; i < SampleMailCount(); i += kind.Every)
            Store.Deliver(SampleMail(i, now), "", i / kind.Every < kind.Seen);
    }

    // Web mail goes through a proxy in clear.
    void Protect(const std::shared_ptr<const TLSIDENTITY>& identity) {
        if (identity && KindOf(Kind.Type).HasServer()) {
            Service->SetIdentity(identity);
            Certificate = identity->Sha256();
        }
    }
    void StoreAddress(STRINGARRAY& item, const STRING& server) const {
        MAILACCOUNT::SetAddress(item, {Kind.Type, DEMO_USER, server}, DEMO_PASSWORD);
        MAILACCOUNT::SetSecurity(item, Certificate.Length() > 0 ? SECURITY_TLS : SECURITY_NONE);
        MAILACCOUNT::SetTrustedCertificate(item, Certificate);
        item.Set("Push", STRING("1"));
    }

    const KIND& Kind;
    DEMOSTORE Store;
    std::unique_ptr<DEMOSERVICE> Service;
    STRING Certificate = "";
};

DEMO::DEMO(int arrivalMs) : ArrivalMs(arrivalMs) {
    const std::shared_ptr<const TLSIDENTITY> identity = TLSIDENTITY::Create();
    for (const KIND& kind : KINDS) {
        Mailboxes.push_back(std::make_unique<MAILBOX>(kind));
        Mailboxes.back()->Protect(identity);
    }
}

DEMO::~DEMO() {
    StopArrivals.Set();
    if (hThread)
        OSYS::WaitThread(hThread, WAIT_FOREVER);
}

bool DEMO::Start() {
    return std::ranges::all_of(Mailboxes, [](const auto& mailbox) { return mailbox->Service->Start(); });
}

bool DEMO::AddAccounts(TARNWICK& application) {
    const auto find = [&](const char* name) {
        int i = 0;
        while (i < application.Items.Count() && !(application.Items[i].Get("Name") == name))
            ++i;
        return i;
    };
    const int ours = static_cast<int>(
        std::ranges::count_if(KINDS, [&](const KIND& kind) { return find(kind.Name) < application.Items.Count(); }));
    if (ours != application.Items.Count())
        return false;
    for (const auto& mailbox : Mailboxes) {
        STRING server;
        server.Format("127.0.0.1:%d", mailbox->Service->Port());
        if (!KindOf(mailbox->Kind.Type).HasServer())
            UseProxy(application, server);
        if (const int known = find(mailbox->Kind.Name); known < application.Items.Count()) {
            // An earlier run has left it, with what it has seen; only port and certificate are others.
            mailbox->StoreAddress(application.Items[known], server);
            continue;
        }
        STRINGARRAY item = application.NewItem();
        item.Set("Name", STRING(mailbox->Kind.Name));
        mailbox->StoreAddress(item, server);
        item.Set("TimingCyclic", STRING(KindOf(mailbox->Kind.Type).CanPush ? DEMO_PUSH_SECONDS : DEMO_CHECK_SECONDS));
        // The demo goes on with the items in memory.
        (void)application.AddItem(item);
    }
    application.pState.Set("ConnectionType", STRING("0"));
    // The senders are invented: nobody is asked for them.
    application.pState.Set("SpamDoDomain", STRING("0"));
    application.pState.Set("SpamDoTrash", STRING("0"));
    return true;
}

// The user's own settings keep the proxy that they have.
void DEMO::UseProxy(TARNWICK& application, const STRING& proxy) {
    Settings = application.pState;
    Settings.Set("DoHttpProxy", STRING("1"));
    Settings.Set("HttpProxy", proxy);
    application.Mailboxes().SetSettings(Settings);
}

DEMOSTORE& DEMO::NextStore() {
    return Mailboxes[static_cast<size_t>(Turn++) % Mailboxes.size()]->Store;
}

void DEMO::DeliverSome(int count) {
    for (int i = 0; i < count; ++i)
        NextStore().Deliver(ArrivingMail(Arrived++, CLOCK::Seconds()));
}

void DEMO::StartArrivals(TARNWICK& application) {
    // Who watches is to see what becomes of spam.
    application.pState.Set("SpamDoTrash", STRING("1"));
    hThread = OSYS::CreateThread(ThreadBody, this, nullptr);
}

unsigned DEMO::ThreadBody(void* self) {
    static_cast<DEMO*>(self)->Arrivals();
    return 0;
}

void DEMO::Arrivals() {
    while (!StopArrivals.Wait(ArrivalMs)) {
        DeliverSome(1);
        if (Arrived % BURST_EVERY == 0) {
            DEMOSTORE& store = NextStore();
            for (int i = 0; i < SpamBurstCount(); ++i)
                store.Deliver(SpamBurstMail(Burst++, CLOCK::Seconds()));
        }
    }
}
