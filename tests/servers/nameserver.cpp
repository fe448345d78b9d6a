#include "tests/servers/nameserver.h"

#include <fstream>

NAMESERVER::NAMESERVER(const std::vector<RECORD>& records, const std::vector<const char*>& known,
                       const std::vector<SERVICE>& services) {
    const std::string config = Directory.Native("dnsmasq.conf");
    std::ofstream text(config);
    text << "port=" << Port << "\nlisten-address=127.0.0.1\nbind-interfaces\nno-resolv\nno-hosts\nno-poll\npid-file=\n"
         << RunAsSelf("user=", "\ngroup=", "\n");
    for (const RECORD& record : records)
        text << "mx-host=" << record.Domain << "," << record.Host << "," << record.Preference << "\n";
    for (const char* domain : known)
        text << "txt-record=" << domain << ",no mail\n";
    for (SERVICE service : services)
        text << "srv-host=" << service << "\n";
    text << "local=/example/\n";
    text.close();
    DNSCLIENT client;
    client.Load();
    Serves(client);
    std::vector<DNSRECORD> answer;
    Run({"dnsmasq", "-k", "-C", config}, [&] { return client.Query(records.at(0).Domain, answer) == 0; });
}
