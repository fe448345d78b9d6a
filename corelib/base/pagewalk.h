#pragma once

#include <cstddef>

#include "corelib/base/trace.h"

/// How a page of several is left.
enum class PAGEEND { NEXT, BACK, CANCEL, NOTHING_TO_ASK };

/// Goes through pages that are filled in one after the other, free of any window.
class PAGEWALK {
 public:
    explicit PAGEWALK(size_t count) : Count(count), Over(count == 0) {}

    /// From 0.
    size_t Page() const { return At; }
    bool IsFirst() const { return At == 0; }
    bool IsLast() const { return At + 1 >= Count; }
    bool IsOver() const { return Over; }
    /// Once it is over: true if nobody has cancelled.
    bool HasReachedEnd() const { return ReachedEnd; }

    /// The page on show is left. One that has nothing to ask is passed over in the direction of before.
    void Leave(PAGEEND end) {
        if (end == PAGEEND::NOTHING_TO_ASK)
            end = IsLast() ? PAGEEND::CANCEL : Direction;
        if (end == PAGEEND::BACK) {
            Direction = end;
            if (ASSERTION(At > 0, "FALSE"))
                --At;
        } else if (IsLast()) {
            // Nothing is left to be cancelled there.
            Over = ReachedEnd = true;
        } else if (end == PAGEEND::NEXT) {
            Direction = end;
            ++At;
        } else {
            Over = true;
        }
    }
    /// The program ends: wherever that is, nothing has come to its end.
    void BreakOff() { Over = true; }

 private:
    const size_t Count;
    size_t At = 0;
    PAGEEND Direction = PAGEEND::NEXT;
    bool Over;
    bool ReachedEnd = false;
};
