// PopGet alone, with nobody who watches it. usage: pop3_bench [fast:][tls:]PORT USER PASSWORD LINES

#include <cstdlib>
#include <string_view>

#include "app/mailbox/pop3.h"
#include "bench/report.h"
#include "bench/unwatched.h"

int main(int argc, char** argv) {
    return MeasureClient(argc, argv, [](char** words) {
        UNWATCHED row;
        STRING listing;
        std::string_view port = words[0];
        const auto has = [&port](std::string_view word) {
            const bool there = port.starts_with(word);
            port.remove_prefix(there ? word.size() : 0);
            return there;
        };
        row.Item.SetNumber("FastCheck", has("fast:") ? 1 : 0);
        const bool isSecure = has("tls:");
        MAILBOXCALL call = row.Call(STRING("127.0.0.1:") || STRING(port), words[1], words[2]);
        if (isSecure)
            call.Security.Kind = SECURITY_TLS;
        const bool ok = PopGet(call, atoi(words[3]), listing);
        return ok ? static_cast<long>(listing.Length()) : -1;
    });
}
