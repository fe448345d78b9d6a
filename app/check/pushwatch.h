#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "app/mailbox/account.h"
#include "corelib/system/osys.h"

/// Pauses of the watching for news.
struct PUSHTIMES {
    int64_t RenewMs = 1500000;      // servers may hang up after half an hour without a word
    int BackOffMs = 5000;           // after the first failure, and twice as long after each further one
    int MostBackOffMs = 600000;     // up to this; at once after one that the next call would meet again
    int64_t WellMs = 60000;         // what has lasted so long was no failure
    int64_t UnableSeconds = 14400;  // a server that tells nothing is asked again after these
    int SettleMs = 100;             // what comes together is told once
    int GapMs = 1000;               // between two tellings,
    int MostGapMs = 60000;          // up to this while there are only marks to tell of, again and again,
    int MostMailGapMs = 15000;      // and to this after many tellings of mail without a rest
    int RoomMs = 1000;              // for a connection to go that is in somebody's way
    int RoomPauseMs = 300;          // for its server to notice
    int MostWatched = 500;          // and half of what the system lets the program open: checks need the rest
};

/// Which folder is watched, and how to get there.
struct PUSHTARGET {
    int Handle = 0;  // of the item
    MAILADDRESS Address;
    STRING Password;
    MAILSECURITY Security;
    STRING Folder;  // empty for the inbox

    bool operator==(const PUSHTARGET& other) const;
};

/// The target of an item that wants to be told of news and can be logged in to; nothing for another one.
std::optional<PUSHTARGET> PushTargetOf(const STRINGARRAY& item);

/// Lets servers tell of news: for each account that is watched a thread holds a connection on which its server says as
/// it happens that the folder has changed. Nothing is read over it. What cannot be had is tried again, less and less
/// often; the checks by the clock go on meanwhile.
class PUSHWATCH {
 public:
    /// news: something has changed in the folder of the item with that handle. active: the server has begun, or ceased,
    /// to tell. Any thread, none of them after End; may be empty.
    explicit PUSHWATCH(std::function<void(int handle)> news, std::function<void(int handle, bool active)> active = {},
                       const PUSHTIMES& times = {});
    /// Ends it.
    ~PUSHWATCH();
    PUSHWATCH(const PUSHWATCH&) = delete;
    PUSHWATCH& operator=(const PUSHWATCH&) = delete;

    /// Watches these from now on, the first of them if they are too many, and no others. A target that has changed is
    /// called anew at once. Does not wait. One thread.
    void Watch(const std::vector<PUSHTARGET>& targets);
    /// The machine has slept, or the network may be another one: all connections are tried at once. Any thread.
    void Renew();
    /// The server of that item has just answered a check: a connection to it that was lost is tried at once. Any
    /// thread.
    void Reached(int handle);
    /// The call of an item was turned away as its server has connections enough: gives up one of those that are held
    /// here, if there is one to that server, for a while. True if there is room now. Not the thread of Watch's
    /// callbacks.
    bool MakeRoom(int handle, const MAILADDRESS& address);
    /// Whether the server of that item tells of news at the moment. Any thread.
    bool IsActive(int handle) const;
    /// Begins to end, without waiting; nothing is watched any more then. Any thread.
    void Stop();
    /// Ends it, and waits for that.
    void End();

 private:
    struct SHARED;
    class WATCHER;

    WATCHER* Find(int handle) const;

    const std::shared_ptr<SHARED> Shared;
    mutable std::mutex Guard;  // of what follows
    std::vector<std::shared_ptr<WATCHER>> Watchers;
    bool Stopped = false;
};
