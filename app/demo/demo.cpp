#include "app/demo/demo.h"

#include "app/core/tarnwick.h"
#include "app/demo/samplemail.h"
#include "corelib/base/clock.h"

namespace {

constexpr const char* DEMO_NAME = "Demo (POP3)";
constexpr const char* DEMO_USER = "demo";
constexpr const char* DEMO_PASSWORD = "demo";
constexpr const char* DEMO_CHECK_SECONDS = "5";
constexpr int BURST_EVERY = 3;  // arrivals

}  // namespace

DEMOTIMES DemoTimes;

DEMO::DEMO() : Pop3(Store, DEMO_USER, DEMO_PASSWORD) {
    const int64_t now = CLOCK::Seconds();
    for (int i = 0; i < SampleMailCount(); ++i)
        Store.Deliver(SampleMail(i, now));
}

DEMO::~DEMO() {
    StopArrivals.Set();
    if (hThread)
        OSYS::WaitThread(hThread, WAIT_FOREVER);
}

bool DEMO::Start() {
    return Pop3.Start();
}

bool DEMO::AddAccounts(TARNWICK& application) {
    STRING source;
    source.Format("127.0.0.1:%d|%s", Pop3.Port(), DEMO_USER);
    const int count = application.Items.Count();
    if (count > 1 || (count == 1 && !(application.Items[0].Get("Name") == DEMO_NAME)))
        return false;
    if (count == 1) {
        // An earlier run has left it, with what it has seen; only the port is another one.
        application.Items[0].Set("Source", source);
    } else {
        STRINGARRAY item = application.NewItem();
        STRING password(DEMO_PASSWORD);
        password.SetFlags(STRINGFLAG_BINARY);
        item.Set("Name", STRING(DEMO_NAME));
        item.Set("Source", source);
        item.Set("Source2", password);
        item.Set("TimingCyclic", STRING(DEMO_CHECK_SECONDS));
        application.AddItem(item);
    }
    application.pState.Set("ConnectionType", STRING("0"));
    // The senders are invented: nobody is asked for them.
    application.pState.Set("SpamDoDomain", STRING("0"));
    application.pState.Set("SpamDoTrash", STRING("0"));
    return true;
}

void DEMO::DeliverSome(int count) {
    for (int i = 0; i < count; ++i)
        Store.Deliver(ArrivingMail(Arrived++, CLOCK::Seconds()));
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
    while (!StopArrivals.Wait(DemoTimes.ArrivalMs)) {
        DeliverSome(1);
        if (Arrived % BURST_EVERY == 0) {
            for (int i = 0; i < SpamBurstCount(); ++i)
                Store.Deliver(SpamBurstMail(Burst++, CLOCK::Seconds()));
        }
    }
}
