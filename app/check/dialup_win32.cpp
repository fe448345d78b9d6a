#include <cstring>
#include <mutex>
#include <ras.h>
#include <raserror.h>
#include <vector>
#include <windows.h>

#include "app/check/dialup.h"
#include "corelib/base/trace.h"
#include "corelib/base/widepath.h"

namespace {

// The service is asked in the machine's code page.
STRING FromService(const char* text) {
    return FromWide(Widen(CP_ACP, text));
}

STRING ForService(const STRING& text) {
    return Narrow(CP_ACP, WidePath(text.Text()));
}

}  // namespace

/// The service's library with the entries that we call.
struct WINRAS::SERVICE {
    SERVICE() : Library(LoadLibraryA("RASAPI32")) {
        if (!Library)
            return;
        Complete = Find(EnumEntries, "RasEnumEntriesA") & Find(GetEntryDialParams, "RasGetEntryDialParamsA") &
                   Find(DialEntry, "RasDialA") & Find(HangUpConnection, "RasHangUpA") &
                   Find(GetErrorString, "RasGetErrorStringA") & Find(EnumConnections, "RasEnumConnectionsA") &
                   Find(GetConnectStatus, "RasGetConnectStatusA");
    }
    ~SERVICE() {
        if (Library)
            FreeLibrary(Library);
    }
    SERVICE(const SERVICE&) = delete;
    SERVICE& operator=(const SERVICE&) = delete;

    /// The handle of the connection of that entry, or of the first one for an empty name; null if there is none.
    HRASCONN FindConnection(const STRING& entry) const {
        RASCONNA connections[64] = {};
        connections[0].dwSize = sizeof(RASCONNA);
        DWORD size = sizeof connections;
        DWORD count = 0;
        if (EnumConnections(connections, &size, &count) != 0)
            return nullptr;
        const STRING name = ForService(entry);
        for (DWORD i = 0; i < count; ++i) {
            if (name.Length() == 0 || name == connections[i].szEntryName)
                return connections[i].hrasconn;
        }
        return nullptr;
    }

    HMODULE Library;
    bool Complete = false;
    decltype(&RasEnumEntriesA) EnumEntries = nullptr;
    decltype(&RasGetEntryDialParamsA) GetEntryDialParams = nullptr;
    decltype(&RasDialA) DialEntry = nullptr;
    decltype(&RasHangUpA) HangUpConnection = nullptr;
    decltype(&RasGetErrorStringA) GetErrorString = nullptr;
    decltype(&RasEnumConnectionsA) EnumConnections = nullptr;
    decltype(&RasGetConnectStatusA) GetConnectStatus = nullptr;

 private:
    template <class FUNCTION>
    bool Find(FUNCTION& function, const char* name) const {
        function = reinterpret_cast<FUNCTION>(reinterpret_cast<void*>(GetProcAddress(Library, name)));
        return ASSERTION(function != nullptr, name);
    }
};

WINRAS::WINRAS() = default;
WINRAS::~WINRAS() = default;

/// The service, shared by all objects that use it; null if the machine has none.
const WINRAS::SERVICE* WINRAS::Load() {
    static std::mutex guard;
    static std::weak_ptr<const SERVICE> shared;
    if (!Service) {
        const std::lock_guard hold(guard);
        Service = shared.lock();
        if (!Service) {
            Service = std::make_shared<const SERVICE>();
            shared = Service;
        }
    }
    return Service->Complete ? Service.get() : nullptr;
}

STRING WINRAS::EnumEntries() {
    STRING names("");
    const SERVICE* service = Load();
    if (!service)
        return names;
    std::vector<RASENTRYNAMEA> entries(1);
    DWORD count = 0;
    DWORD result = ERROR_BUFFER_TOO_SMALL;
    // The list may grow between two calls; a second try is enough for one that does not change all the time.
    for (int attempt = 0; attempt < 3 && result == ERROR_BUFFER_TOO_SMALL; ++attempt) {
        DWORD size = static_cast<DWORD>(entries.size() * sizeof(RASENTRYNAMEA));
        entries[0].dwSize = sizeof(RASENTRYNAMEA);
        result = service->EnumEntries(nullptr, nullptr, entries.data(), &size, &count);
        if (result == ERROR_BUFFER_TOO_SMALL)
            entries.resize(size / sizeof(RASENTRYNAMEA) + 1);
    }
    for (DWORD i = 0; result == 0 && i < count && i < entries.size(); ++i) {
        if (i > 0)
            names.Append("|");
        names += FromService(entries[i].szEntryName);
    }
    return names;
}

bool WINRAS::Dial(const STRING& entry, STRING& error) {
    const SERVICE* service = Load();
    if (!service) {
        error = DIALUP_MISSING;
        return false;
    }
    RASDIALPARAMSA parameters = {};
    parameters.dwSize = sizeof parameters;
    strncpy(parameters.szEntryName, ForService(entry).Text(), sizeof parameters.szEntryName - 1);
    BOOL hasPassword = FALSE;
    HRASCONN connection = nullptr;
    DWORD result = service->GetEntryDialParams(nullptr, &parameters, &hasPassword);
    if (result == 0)
        result = service->DialEntry(nullptr, nullptr, &parameters, 0, nullptr, &connection);
    SecureZeroMemory(parameters.szPassword, sizeof parameters.szPassword);
    if (result == 0)
        return true;
    if (connection)
        service->HangUpConnection(connection);
    char text[256] = "";
    if (service->GetErrorString(result, text, sizeof text) == 0)
        error = FromService(text);
    else
        error.Format("%lu", static_cast<unsigned long>(result));
    return false;
}

bool WINRAS::IsConnected(const STRING& entry) {
    const SERVICE* service = Load();
    const HRASCONN connection = service ? service->FindConnection(entry) : nullptr;
    if (!connection)
        return false;
    RASCONNSTATUSA status = {};
    status.dwSize = sizeof status;
    return service->GetConnectStatus(connection, &status) == 0 && status.rasconnstate == RASCS_Connected;
}

bool WINRAS::HangUp(const STRING& entry) {
    const SERVICE* service = Load();
    const HRASCONN connection = service ? service->FindConnection(entry) : nullptr;
    return connection && service->HangUpConnection(connection) == 0;
}
