#include "tests/servers/proxyserver.h"

#include <fstream>

PROXYSERVER::PROXYSERVER(bool asks) : Port(FreePort()) {
    const std::string config = Directory.Native("proxy.conf");
    std::ofstream(config) << "Port " << Port << "\nListen 127.0.0.1\nAllow 127.0.0.1\nTimeout 60\nMaxClients 20\n"
                          << "ViaProxyName \"testproxy\"\nLogLevel Info\nLogFile \"" << Directory.Native("log")
                          << "\"\n"
                          << RunAsSelf("User ", "\nGroup ", "\n") << (asks ? "BasicAuth p q\n" : "");
    Process.Start({"tinyproxy", "-d", "-c", config});
    if (!Eventually([this] { return Process.HasEnded() || Accepts(Port); }) || Process.HasEnded())
        Trouble = "tinyproxy does not start: " + ReadBytes(Directory.File("log"));
}
