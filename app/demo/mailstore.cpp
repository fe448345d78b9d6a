#include "app/demo/mailstore.h"

#include <algorithm>
#include <iterator>
#include <utility>

void DEMOSTORE::Deliver(std::string text, std::string folder, bool seen) {
    std::lock_guard hold(Lock);
    if (seen)
        Seen.insert(NextNumber);
    All.push_back(std::make_shared<const DEMOMAIL>(DEMOMAIL{NextNumber++, std::move(text), std::move(folder)}));
}

DEMOSTORE::MAILS DEMOSTORE::Mails(std::string_view folder) const {
    std::lock_guard hold(Lock);
    MAILS mails;
    std::ranges::copy_if(All, std::back_inserter(mails), [&](const auto& mail) { return mail->Folder == folder; });
    return mails;
}

void DEMOSTORE::Remove(const std::vector<int>& numbers) {
    std::lock_guard hold(Lock);
    std::erase_if(All, [&](const auto& mail) { return std::ranges::find(numbers, mail->Number) != numbers.end(); });
}

bool DEMOSTORE::IsSeen(int number) const {
    std::lock_guard hold(Lock);
    return Seen.contains(number);
}

void DEMOSTORE::SetSeen(int number, bool seen) {
    std::lock_guard hold(Lock);
    if (seen)
        Seen.insert(number);
    else
        Seen.erase(number);
}
