#include "tests/servers/proxyserver.h"

#include <fstream>

PROXYSERVER::PROXYSERVER(bool asks) {
    const std::string config = Directory.Native("proxy.conf");
    std::ofstream(config) << "Port " << Port << "\nListen 127.0.0.1\nAllow 127.0.0.1\nTimeout 60\nMaxClients 20\n"
                          << "ViaProxyName \"testproxy\"\nLogLevel Info\nLogFile \"" << Directory.Native("log")
                          << "\"\n"
                          << RunAsSelf("User ", "\nGroup ", "\n") << (asks ? "BasicAuth p q\n" : "");
    Run({"tinyproxy", "-d", "-c", config}, [this] { return Accepts(Port); });
}
