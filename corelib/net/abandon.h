#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <utility>

#include "corelib/base/stopquestion.h"
#include "corelib/system/osys.h"

/// Calls of AwaitOrAbandon whose threads still run, those that nobody waits for any more among them.
inline std::atomic<int> AbandonableCalls = 0;
/// So many are the most: where the system does not come back, more of the same would only pile up.
inline constexpr int MOST_ABANDONABLE_CALLS = 32;

/// For a call of the system that knows no limit of time: runs `work` in a thread of its own and waits for its result,
/// limitMs at most and until stopAsked says yes, which is asked every lookMs. No result then; the thread goes on by
/// itself. So `work` owns all that it touches, and leaves what the end of the program destroys alone.
template <class RESULT>
std::optional<RESULT> AwaitOrAbandon(std::function<RESULT()> work, const STOPQUESTION& stopAsked, int limitMs,
                                     int lookMs) {
    if (AbandonableCalls >= MOST_ABANDONABLE_CALLS || (stopAsked && stopAsked()))
        return {};
    const auto promise = std::make_shared<std::promise<RESULT>>();
    std::future<RESULT> result = promise->get_future();
    ++AbandonableCalls;
    const bool begun = OSYS::RunAlone([promise, work = std::move(work)] {
        RESULT found = work();
        --AbandonableCalls;
        promise->set_value(std::move(found));
    });
    if (!begun) {
        --AbandonableCalls;
        return {};
    }
    for (int waited = 0; waited < limitMs && !(stopAsked && stopAsked()); waited += lookMs)
        if (result.wait_for(std::chrono::milliseconds(lookMs)) == std::future_status::ready)
            return result.get();
    return {};
}
