#include "app/core/storedpasswords.h"

#include <utility>

#include "app/mailbox/account.h"
#include "corelib/base/trace.h"
#include "corelib/base/wipe.h"
#include "corelib/system/sealing.h"

STOREDPASSWORDS::~STOREDPASSWORDS() {
    for (auto& [sealed, password] : Opened)
        Wipe(password);
}

void STOREDPASSWORDS::Open(STRINGARRAY& record, const char* key) {
    const STRING sealedKey = STRING(key) || SEALED_SUFFIX;
    const STRING sealed = record.Exists(sealedKey.Text()) ? record.Get(sealedKey.Text()) : STRING("");
    if (sealed.Length() == 0)
        return;
    std::string text;
    STRING trouble;
    if (!SEALING::Open(sealed, text, trouble)) {
        Trace("STOREDPASSWORDS::Open %s: %s\n", key, trouble.Text());
        return;
    }
    STRING password = Secret(STRING(text));
    password.SetFlags(password.GetFlags() | record.Get(key).GetFlags());
    record.Set(key, std::move(password));
    Opened[std::string(sealed.View())] = text;
    Wipe(text);
}

STRINGARRAY STOREDPASSWORDS::ForFile(STRINGARRAY& record, const char* key, bool sealed) {
    const STRING sealedKey = STRING(key) || SEALED_SUFFIX, password = record.Get(key);
    STRING present = record.Exists(sealedKey.Text()) ? record.Get(sealedKey.Text()) : STRING("");
    const auto opened = Opened.find(present.View());
    STRINGARRAY file(4, 4);
    // What nobody could open is kept for a day on which that goes again.
    if (password.Length() == 0 && opened == Opened.end())
        return file;
    if (!sealed || password.Length() == 0) {
        present = "";
    } else if (opened == Opened.end() || opened->second != password.View()) {
        STRING trouble;
        present = SEALING::Seal(password.View(), trouble);
        if (present.Length() > 0)
            Opened[std::string(present.View())] = password.View();
        else
            Trouble = trouble;
        Trace("STOREDPASSWORDS::ForFile %s sealed by %s\n", key, SEALING::Keeper(present).Text());
    }
    const bool locked = record.AllowNewKeys(true);
    record.Delete(sealedKey.Text());
    if (present.Length() > 0)
        record.Set(sealedKey.Text(), present);
    record.AllowNewKeys(!locked);
    if (sealed)
        file.Set(key, "");
    return file;
}

bool STOREDPASSWORDS::CanSeal() {
    return SEALING::Seal("", Trouble).Length() > 0;
}

STRING STOREDPASSWORDS::TakeTrouble() {
    return std::exchange(Trouble, STRING(""));
}
