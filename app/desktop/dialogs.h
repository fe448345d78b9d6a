#pragma once

#include "app/desktop/formpage.h"
#include "corelib/base/recordarray.h"

class TIPS;

// The dialogs of the program. Each comes back true on OK, with what the user has changed stored; otherwise all is as it
// was. Another thread may go on reading and writing the record meanwhile: only changed keys are stored.

/// The dialog of an account. Its login can be tried; settings: for the proxy.
[[nodiscard]] bool EditItem(const DIALOGPARTS& parts, STRINGARRAY& record, const STRINGARRAY& settings);

/// The list of mail types, whose table is replaced.
[[nodiscard]] bool EditTypes(const DIALOGPARTS& parts, RECORDARRAY& types);
/// One of them.
[[nodiscard]] bool EditType(const DIALOGPARTS& parts, RECORDARRAY& types, int place);

/// The settings of the program. dialEntries: the machine's dial-up connections, split by "|"; page: the one that shows
/// first.
[[nodiscard]] bool EditOptions(const DIALOGPARTS& parts, STRINGARRAY& state, const STRING& dialEntries,
                               int page = PAGE_OPTIONS_PROGRAM);

/// The settings of the spam filter: what everybody sets, what experts set, or both. canAskDns: the name service can be
/// asked for mail servers.
[[nodiscard]] bool EditSpamSettings(const DIALOGPARTS& parts, STRINGARRAY& state, bool lists, bool expert,
                                    bool canAskDns);

/// Asks for all that a new user has to tell, page by page: settings and the first account, which is added to the items
/// without the keys that an item is completed with. What a page has stored stays, also if a later one is cancelled.
/// True if the user reached the end. dialEntries: as for EditOptions.
[[nodiscard]] bool RunSetup(const DIALOGPARTS& parts, STRINGARRAY& state, RECORDARRAY& items,
                            const STRING& dialEntries);

/// Shows one tip after the other; there is at least one.
void ShowTips(const DIALOGPARTS& parts, TIPS& tips);

/// Asks for another data directory, which the next start takes. product: its name in the store of named values;
/// current: the directory in use.
[[nodiscard]] bool EditDataDir(const DIALOGPARTS& parts, const STRING& product, const STRING& current);
