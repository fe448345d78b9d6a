#pragma once

#include <string>
#include <vector>

#include "corelib/base/strings.h"

/// The tips of the day, which lie beside the program, one a line, and the places that the user's store of named values
/// keeps of them: TipOfDayLast, the number of the one that was shown last, TipOfDayCount, how many there were then,
/// TipOfDayStyle, 0 if they come on demand only, and TipOfDayDate.
class TIPS {
 public:
    /// Lines that are empty or begin with "#" are none. A file that is not there gives no tips, of a long one the first
    /// hundreds count. product: its name in the store.
    TIPS(const STRING& file, const STRING& product);

    int Count() const { return static_cast<int>(Lines.size()); }
    /// The tip after the last one, round at the end, in UTF-8; first those that the file has got since then. Its place
    /// is kept. Null without tips.
    STRING Next();
    /// Whether a tip is to come by itself now: the user wants that, there was none today, and there are tips.
    bool IsDue() const;
    bool ComesByItself() const;
    void SetComesByItself(bool comes);

 private:
    const STRING Product;
    std::vector<std::string> Lines;
};
