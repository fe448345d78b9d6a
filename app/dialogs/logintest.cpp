#include "app/dialogs/logintest.h"

#include <utility>

#include "app/check/trylogin.h"
#include "app/common/frontend.h"
#include "app/mailbox/mailhandling.h"

LOGINTEST::LOGINTEST(const STRINGARRAY& item, const STRINGARRAY& settings, const TEXTS& texts,
                     std::function<void()> done)
    : Item(item), Settings(settings), TextTable(texts), Done(std::move(done)) {
    Thread = OSYS::CreateThread(Body, this, nullptr);
}

LOGINTEST::~LOGINTEST() {
    Stopped = true;
    OSYS::WaitThread(Thread, WAIT_FOREVER);
}

unsigned LOGINTEST::Body(void* test) {
    static_cast<LOGINTEST*>(test)->Run();
    return 0;
}

void LOGINTEST::Run() {
    FRONTEND nobody;  // the account's row tells of checks only
    MAILHANDLING mailboxes(nobody, TextTable, Settings);
    mailboxes.SetStopQuestion([this] { return Stopped.load(); });
    if (TryLogin(Item, mailboxes, TextTable, Said)) {
        STRING text = TextTable.Get(TEXT_LOGIN_WORKS);
        text.Replace("$1", Said.Text());
        Said = text;
    }
    Done();
}
