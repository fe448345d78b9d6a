#include "app/console/demo/demo.h"

#include "app/console/demo/samplemail.h"
#include "app/core/tarnwick.h"
#include "corelib/base/clock.h"

namespace {

constexpr const char* DEMO_USER = "demo";
constexpr const char* DEMO_PASSWORD = "demo";
constexpr int ARRIVAL_PERIOD_MS = 7000;
constexpr const char* DEMO_CHECK_SECONDS = "5";

}  // namespace

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

void DEMO::AddAccounts(TARNWICK& application) {
    while (application.Items.Count() > 0 && application.RemoveItem(0)) {
    }
    STRINGARRAY item = application.NewItem();
    STRING source;
    source.Format("127.0.0.1:%d|%s", Pop3.Port(), DEMO_USER);
    STRING password(DEMO_PASSWORD);
    password.SetFlags(STRINGFLAG_BINARY);
    item.Set("Name", STRING("Demo (POP3)"));
    item.Set("Source", source);
    item.Set("Source2", password);
    item.Set("TimingCyclic", STRING(DEMO_CHECK_SECONDS));
    application.AddItem(item);
    application.pState.Set("ConnectionType", STRING("0"));
}

void DEMO::DeliverSome(int count) {
    for (int i = 0; i < count; ++i)
        Store.Deliver(ArrivingMail(Arrived++, CLOCK::Seconds()));
}

void DEMO::StartArrivals() {
    hThread = OSYS::CreateThread(ThreadBody, this, nullptr);
}

unsigned DEMO::ThreadBody(void* self) {
    static_cast<DEMO*>(self)->Arrivals();
    return 0;
}

void DEMO::Arrivals() {
    while (!StopArrivals.Wait(ARRIVAL_PERIOD_MS))
        DeliverSome(1);
}
