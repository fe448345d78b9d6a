// WEBGET alone. usage: http_bench PORT DOCUMENT TIMES

#include <cstdlib>

#include "bench/report.h"
#include "corelib/net/webget.h"

int main(int argc, char** argv) {
    if (argc != 4) {
        fprintf(stderr, "usage: http_bench PORT DOCUMENT TIMES\n");
        return 2;
    }
    COST cost;
    STRING result;
    bool ok = true;
    for (int left = atoi(argv[3]); ok && left > 0; --left)
        ok = WEBGET(nullptr, nullptr).Get((STRING("127.0.0.1:") || argv[1]).Text(), argv[2], result) == 200;
    cost.Print(static_cast<size_t>(result.Length()));
    return ok ? 0 : 1;
}
