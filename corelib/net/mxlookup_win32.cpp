#include <atomic>
#include <optional>
#include <string>
#include <windows.h>
// Needs the former.
#include <windns.h>

#include "corelib/net/abandon.h"
#include "corelib/net/mxlookup.h"
#include "corelib/net/tcpio.h"

namespace {

using QUERY = DNS_STATUS(WINAPI*)(PCSTR, WORD, DWORD, PVOID, PDNS_RECORD*, PVOID*);
using FREELIST = void(WINAPI*)(PDNS_RECORD, DNS_FREE_TYPE);

template <class FUNCTION>
FUNCTION Entry(HMODULE library, const char* name) {
    return reinterpret_cast<FUNCTION>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

}  // namespace

struct DNSCLIENT::LIBRARY {
    std::atomic<HMODULE> Module = nullptr;  // set last, asked first
    QUERY Query = nullptr;
    FREELIST FreeList = nullptr;

    ~LIBRARY() {
        if (Module)
            FreeLibrary(Module);
    }
    int Ask(const char* name, int type, std::vector<DNSRECORD>& records) const;
};

DNSCLIENT::DNSCLIENT() : Library(std::make_shared<LIBRARY>()) {}

DNSCLIENT::~DNSCLIENT() = default;

// Found at run time: the oldest systems do not have it.
void DNSCLIENT::Load() {
    if (const HMODULE module = LoadLibraryA("dnsapi")) {
        Library->Query = Entry<QUERY>(module, "DnsQuery_A");
        Library->FreeList = Entry<FREELIST>(module, "DnsRecordListFree");
        Library->Module = module;
    }
}

bool DNSCLIENT::IsLoaded() const {
    return Library->Module != nullptr;
}

bool DNSCLIENT::HasQuery() const {
    return IsLoaded() && Library->Query != nullptr;
}

unsigned DNSCLIENT::LibraryNumber() const {
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(Library->Module.load()));
}

unsigned DNSCLIENT::QueryNumber() const {
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(IsLoaded() ? Library->Query : nullptr));
}

bool DNSCLIENT::UseServer(const char*, int) {
    return false;
}

int DNSCLIENT::LIBRARY::Ask(const char* name, int type, std::vector<DNSRECORD>& records) const {
    PDNS_RECORD list = nullptr;
    const DNS_STATUS status = Query(name, static_cast<WORD>(type), DNS_QUERY_STANDARD, nullptr, &list, nullptr);
    for (const DNS_RECORD* at = list; at && status == 0; at = at->pNext) {
        DNSRECORD record;
        record.Type = at->wType;
        if (record.Type == DNSTYPE_MX) {
            record.Preference = at->Data.MX.wPreference;
            // The names are bytes: it is the call for these.
            record.Host = reinterpret_cast<const char*>(at->Data.MX.pNameExchange);
        } else if (record.Type == DNSTYPE_SRV) {
            record.Preference = at->Data.SRV.wPriority;
            record.Weight = at->Data.SRV.wWeight;
            record.Port = at->Data.SRV.wPort;
            record.Host = reinterpret_cast<const char*>(at->Data.SRV.pNameTarget);
        }
        records.push_back(record);
    }
    if (list && FreeList)
        FreeList(list, DnsFreeRecordList);
    return static_cast<int>(status);
}

int DNSCLIENT::Query(const char* name, std::vector<DNSRECORD>& records, const STOPQUESTION& stopAsked, int type) {
    struct ANSWER {
        int Status;
        std::vector<DNSRECORD> Records;
    };
    const auto ask = [library = Library, given = std::string(name), type] {
        ANSWER answer{};
        answer.Status = library->Ask(given.c_str(), type, answer.Records);
        return answer;
    };
    const std::optional<ANSWER> answer = AwaitOrAbandon<ANSWER>(ask, stopAsked, DnsTimes.AnswerMs, TcpTimes.StopLookMs);
    if (!answer)
        return DNS_NO_ANSWER;
    records.insert(records.end(), answer->Records.begin(), answer->Records.end());
    return answer->Status;
}
