#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// A mail of the demo's mailbox: its text with CR LF line ends, a number that it keeps, and its folder ("" is the
/// inbox).
struct DEMOMAIL {
    int Number;
    std::string Text;
    std::string Folder;
};

/// The demo's mailbox, which the demo's servers show. Any thread.
class DEMOSTORE {
 public:
    using MAILS = std::vector<std::shared_ptr<const DEMOMAIL>>;

    void Deliver(std::string text, std::string folder = {}, bool seen = false);
    /// The mails of a folder as they are now, oldest first.
    MAILS Mails(std::string_view folder = {}) const;
    /// Takes the mails with these numbers out.
    void Remove(const std::vector<int>& numbers);
    /// Whether somebody has seen the mail.
    bool IsSeen(int number) const;
    void SetSeen(int number, bool seen);

 private:
    mutable std::mutex Lock;
    MAILS All;
    std::set<int> Seen;
    int NextNumber = 1;
};
