#pragma once

#include <memory>

#include "corelib/base/strings.h"

/// The dial-up connections of the machine, by the names of their phone book entries.
class DIALUP {
 public:
    virtual ~DIALUP() = default;
    /// All entries, joined by "|"; empty if there are none.
    virtual STRING EnumEntries() = 0;
    /// Dials with the stored parameters of the entry and waits for the outcome. On false `error` says why.
    [[nodiscard]] virtual bool Dial(const STRING& entry, STRING& error) = 0;
    /// True if the entry is connected; an empty name asks for the first connection, whichever it is.
    virtual bool IsConnected(const STRING& entry) = 0;
    /// Ends the connection of the entry; false if there is none.
    [[nodiscard]] virtual bool HangUp(const STRING& entry) = 0;
};

/// Why Dial fails on a machine without a dial-up service.
inline constexpr const char* DIALUP_MISSING = "Dial-Up Not Installed.";

/// The platform's remote access service. It is loaded at the first operation, so that a machine without it runs the
/// program as well, and unloaded with the last object that has used it; without it there are no entries and no
/// connections, and Dial fails with DIALUP_MISSING. One object is used by one thread at a time.
class WINRAS : public DIALUP {
 public:
    WINRAS();
    ~WINRAS() override;
    WINRAS(const WINRAS&) = delete;
    WINRAS& operator=(const WINRAS&) = delete;

    STRING EnumEntries() override;
    bool Dial(const STRING& entry, STRING& error) override;
    bool IsConnected(const STRING& entry) override;
    bool HangUp(const STRING& entry) override;

 private:
    struct SERVICE;
    const SERVICE* Load();
    std::shared_ptr<const SERVICE> Service;  // null until the first operation
};
