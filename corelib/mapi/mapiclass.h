#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "corelib/base/strings.h"

/// A message of the inbox. Texts are UTF-8, and hold whatever their sender has put into them.
struct MAPIMESSAGE {
    std::string Id;  // its entry id in lower-case hexadecimal; empty: it has none, and cannot be moved
    std::string SenderName, SenderAddress, DisplayTo, Subject;
    std::string Date;  // of its creation, as in a mail's header; empty if the store does not tell
    std::string Body;
    std::string Transport;  // the header with which it came
    bool IsLocal = false;   // it came without any, from this very machine
    bool IsRead = false;
    uint32_t Size = 0;
};

/// The default profile's message stores (Extended MAPI), and the inbox of the default one. The object can be alive
/// without running: then there is no MAPI, no profile or no log-on, and nothing else may be called. One thread makes,
/// uses and destroys it, and handles its messages meanwhile (see MAPIWAIT). MAPI may show windows of its own, and take
/// its time. The current directory, which MAPI's providers change, is what it was after each operation.
class MAPICLASS {
 public:
    /// Logs on. library: the path of what stands in for the system's MAPI32; null: that one.
    explicit MAPICLASS(const STRING& library = {});
    /// Logs off.
    ~MAPICLASS();
    MAPICLASS(const MAPICLASS&) = delete;
    MAPICLASS& operator=(const MAPICLASS&) = delete;

    bool IsUpAndRunning() const;
    int QueryHowManyMsgStores() const;
    /// The folders that hold mail, once they have been looked for by TraceAllFolders.
    void TraceAllFolders();
    int QueryHowManyMailFolders() const;
    /// Store name, " - ", folder name, on one line in UTF-8; null for an index that there is none of.
    STRING GetMailFolderName(int index) const;

    /// Opens the default store and finds its inbox. False if there is none.
    [[nodiscard]] bool OpenInboxFolder();
    bool IsInboxOpen() const;
    void CloseInboxFolder();
    /// From now on `function` is called when the inbox changes, in whatever thread the store likes.
    bool SetInboxCallback(void (*function)(void* context), void* context);
    void ReleaseInboxCallback();

    /// Hands over the messages of the open inbox one by one, with at most `bytes` bytes of a body; -1: all that there
    /// is room for. NO_TEXTS does not open the message: there is neither a body nor a header then, only what the table
    /// has. `take` gives the bytes of the next one, or NO_MORE. False if the inbox cannot be listed.
    static constexpr int NO_TEXTS = -2, NO_MORE = -3;
    [[nodiscard]] bool GetInboxMessages(int bytes, const std::function<int(const MAPIMESSAGE&)>& take);
    /// Moves the message with that Id into a folder that holds mail, or into the wastebasket.
    static constexpr int WASTEBASKET = -1;
    [[nodiscard]] bool MoveInboxMessage(const std::string& id, int folder);

 private:
    struct PARTS;
    const std::unique_ptr<PARTS> Parts;
};
