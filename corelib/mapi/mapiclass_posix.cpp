// There is no MAPI on this platform.
#include "corelib/base/trace.h"
#include "corelib/mapi/mapiclass.h"

struct MAPICLASS::PARTS {};

MAPICLASS::MAPICLASS(const STRING&) {
    Trace("MAPICLASS::Constructor\n");
}

MAPICLASS::~MAPICLASS() {
    Trace("MAPICLASS::~Constructor\n");
    Trace("MAPICLASS::~Constructor done\n");
}

bool MAPICLASS::IsUpAndRunning() const {
    return false;
}

int MAPICLASS::QueryHowManyMsgStores() const {
    return 0;
}

void MAPICLASS::TraceAllFolders() {}

int MAPICLASS::QueryHowManyMailFolders() const {
    return 0;
}

STRING MAPICLASS::GetMailFolderName(int) const {
    return {};
}

bool MAPICLASS::OpenInboxFolder() {
    return false;
}

bool MAPICLASS::IsInboxOpen() const {
    return false;
}

void MAPICLASS::CloseInboxFolder() {}

bool MAPICLASS::SetInboxCallback(void (*)(void*), void*) {
    return false;
}

void MAPICLASS::ReleaseInboxCallback() {}

bool MAPICLASS::GetInboxMessages(int, const std::function<int(const MAPIMESSAGE&)>&) {
    return false;
}

bool MAPICLASS::MoveInboxMessage(const std::string&, int) {
    return false;
}
