#include "tests/servers/nameserver.h"

#include <fstream>

#include "corelib/net/mxlookup.h"

NAMESERVER::NAMESERVER(const std::vector<RECORD>& records, const std::vector<const char*>& known)
    : BoundPort(FreePort()) {
    const std::string config = Directory.Native("dnsmasq.conf");
    std::ofstream text(config);
    text << "port=" << BoundPort
         << "\nlisten-address=127.0.0.1\nbind-interfaces\nno-resolv\nno-hosts\nno-poll\npid-file=\n"
         << RunAsSelf("user=", "\ngroup=", "\n");
    for (const RECORD& record : records)
        text << "mx-host=" << record.Domain << "," << record.Host << "," << record.Preference << "\n";
    for (const char* domain : known)
        text << "txt-record=" << domain << ",no mail\n";
    text << "local=/example/\n";
    text.close();
    Process.Start({"dnsmasq", "-k", "-C", config});
    DNSCLIENT client;
    client.Load();
    client.UseServer("127.0.0.1", BoundPort);
    std::vector<DNSRECORD> answer;
    if (!Eventually([&] { return Process.HasEnded() || client.Query(records.at(0).Domain, answer) == 0; }) ||
        Process.HasEnded())
        Trouble = "dnsmasq does not start";
}
