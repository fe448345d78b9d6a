// PopGet alone, with nobody who watches it. usage: pop3_bench [tls:]PORT USER PASSWORD LINES

#include <cstdlib>
#include <string_view>

#include "app/mailbox/pop3.h"
#include "bench/report.h"
#include "bench/unwatched.h"

int main(int argc, char** argv) {
    return MeasureClient(argc, argv, [](char** words) {
        UNWATCHED row;
        STRING listing;
        const std::string_view port = words[0], secure = "tls:";
        const bool isSecure = port.starts_with(secure);
        MAILBOXCALL call =
            row.Call(STRING("127.0.0.1:") || words[0] + (isSecure ? secure.size() : 0), words[1], words[2]);
        if (isSecure)
            call.Security.Kind = SECURITY_TLS;
        const bool ok = PopGet(call, atoi(words[3]), listing);
        return ok ? static_cast<long>(listing.Length()) : -1;
    });
}
