#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "corelib/base/stopquestion.h"
#include "corelib/mapi/mapiclass.h"
#include "corelib/system/osys.h"

/// How long the program waits for MAPI, and how much it takes. Tests shrink it.
struct MAPITIMES {
    int LogOnMs = 5000;              // a check, for a log-on that may be asking the user for something
    int RetryMs = 60000;             // at least, between a log-on and the next one
    int CallMs = 600000;             // what a check asks for; then the session counts as lost
    int LogOffMs = 2000;             // the end of the program
    int LookMs = 20;                 // between two questions whether the program is to end
    int64_t ListingBytes = 1 << 30;  // no text is read after the mail that passes this; half more ends the listing
};
extern const MAPITIMES& MapiTimes;

/// The program's one MAPI session, in a thread of its own, which logs on, does what it is given, and handles MAPI's
/// messages and windows meanwhile. MAPI knows no limits of time: what takes too long is left to that thread. A session
/// that was up and cannot list its inbox any more is made anew for the next piece of work.
class MAPISTORE {
 public:
    /// changed: called when a log-on is over, and when the inbox has changed by somebody else; in any thread, and not
    /// after End.
    explicit MAPISTORE(std::function<void()> changed = {});
    /// Ends it.
    ~MAPISTORE();
    MAPISTORE(const MAPISTORE&) = delete;
    MAPISTORE& operator=(const MAPISTORE&) = delete;

    /// Another library than the system's MAPI32 (see MAPICLASS). Before Begin.
    void SetLibrary(const STRING& path);
    /// Begins to log on, unless that has been done. Begin and End belong to one thread.
    void Begin();
    /// Logs off.
    void End();
    /// The mail folders by their names (see MAPICLASS), once it is logged on. Any thread.
    std::vector<STRING> FolderNames() const;

    /// Has its thread do a piece of work on the open inbox, and waits: what came of it, where it has failed or taken
    /// too long false. Nothing without a session or an inbox. The work owns all that it touches: it may go on when
    /// nobody waits any more, and is told so by its question. Other threads.
    using WORK = std::function<bool(MAPICLASS& mapi, const STOPQUESTION& stopAsked)>;
    enum KIND {
        LISTS,   // if it fails, the session is lost
        CHANGES  // which is no news
    };
    std::optional<bool> Do(KIND kind, WORK work, const STOPQUESTION& stopAsked);

 private:
    struct SHARED;
    static unsigned Body(void* shared);

    const std::shared_ptr<SHARED> Shared;
    OSYS::THREADHANDLE Thread;
};
