#include "corelib/net/tlsidentity.h"

std::shared_ptr<const TLSIDENTITY> TLSIDENTITY::Create() {
    return nullptr;
}
