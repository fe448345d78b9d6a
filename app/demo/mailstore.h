#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// A mail of the demo's mailbox: its text with CR LF line ends, and a number that it keeps.
struct DEMOMAIL {
    int Number;
    std::string Text;
};

/// The demo's mailbox, which the demo's servers show. Any thread.
class DEMOSTORE {
 public:
    using MAILS = std::vector<std::shared_ptr<const DEMOMAIL>>;

    void Deliver(std::string text);
    /// The mails as they are now, oldest first.
    MAILS Mails() const;
    /// Takes the mails with these numbers out.
    void Remove(const std::vector<int>& numbers);

 private:
    mutable std::mutex Lock;
    MAILS All;
    int NextNumber = 1;
};
