#include "app/demo/mailstore.h"

#include <algorithm>
#include <utility>

void DEMOSTORE::Deliver(std::string text) {
    std::lock_guard hold(Lock);
    All.push_back(std::make_shared<const DEMOMAIL>(DEMOMAIL{NextNumber++, std::move(text)}));
}

DEMOSTORE::MAILS DEMOSTORE::Mails() const {
    std::lock_guard hold(Lock);
    return All;
}

void DEMOSTORE::Remove(const std::vector<int>& numbers) {
    std::lock_guard hold(Lock);
    std::erase_if(All, [&](const auto& mail) { return std::ranges::find(numbers, mail->Number) != numbers.end(); });
}
