#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "app/demo/demoservice.h"
#include "app/demo/mailstore.h"
#include "corelib/base/stringarray.h"

class TARNWICK;

/// Adds the demo's own data directory to the words that a program was started with, if they ask for the demo and name
/// no directory: it leaves the user's own data alone.
void AddDemoDirectory(std::vector<std::string>& words);

/// The built-in demo: mailboxes full of sample mail, the servers that show them, and accounts that watch these.
/// Outlives the application that has its accounts.
class DEMO {
 public:
    explicit DEMO(int arrivalMs = 7000);
    ~DEMO();
    DEMO(const DEMO&) = delete;
    DEMO& operator=(const DEMO&) = delete;

    /// Starts the servers; false if they find no port.
    [[nodiscard]] bool Start();
    /// Points the demo's accounts among the application's items at the servers, and adds those that are missing. Before
    /// the work thread.
    /// False, and nothing has changed, if there are accounts that are not the demo's.
    [[nodiscard]] bool AddAccounts(TARNWICK& application);
    /// Puts a few more mails into the mailboxes, in turn.
    void DeliverSome(int count);
    /// From now on a mail arrives every arrivalMs, and a burst of spam now and then, which goes to the trash.
    void StartArrivals(TARNWICK& application);

 private:
    struct MAILBOX;

    /// The application's mailboxes, and they alone, reach the web through this.
    void UseProxy(TARNWICK& application, const STRING& proxy);
    /// The mailbox whose turn it is.
    DEMOSTORE& NextStore();
    static unsigned ThreadBody(void* self);
    void Arrivals();

    const int ArrivalMs;
    std::vector<std::unique_ptr<MAILBOX>> Mailboxes;
    STRINGARRAY Settings;
    std::atomic<int> Turn = 0;
    std::atomic<int> Arrived = 0;
    int Burst = 0;  // spam mails so far
    EVENTSEM StopArrivals{false};
    OSYS::THREADHANDLE hThread;
};
