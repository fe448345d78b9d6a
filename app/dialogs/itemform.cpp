#include "app/dialogs/itemform.h"

#include <algorithm>

#include "app/dialogs/fields.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"

namespace {

constexpr const char* NAMES[] = {"Name",      "Source.Server", "Source.User",
                                 "AltFolder", "SpamFolder",    "TrustedCertificate"};

}  // namespace

bool StoreChanges(STRINGARRAY& record, const STRINGARRAY& before, const STRINGARRAY& after) {
    bool any = false;
    for (int i = 0; i < after.Count(); ++i) {
        const char* key = after.KeyAt(i).Text();
        if (IsPart(key) || !record.Exists(key) || after.Get(key) == before.Get(key))
            continue;
        record.Set(key, after.Get(key));
        any = true;
    }
    return any;
}

bool IsSoundFile(const STRING& path) {
    constexpr int HEAD = 12;
    STRING bytes;
    return FILES::ReadHead(path.Text(), HEAD, bytes) && bytes.Length() == HEAD && bytes.View().starts_with("RIFF") &&
           bytes.View().substr(8).starts_with("WAVE");
}

ITEMFORM::ITEMFORM(const STRINGARRAY& record) : Values(32, 32), Before(0, 8), IsSuccessor(false) {
    const MAILBOXKIND* kind = &MAILACCOUNT::Kind(record);
    IsSuccessor = kind->Successor != -1;
    if (IsSuccessor)
        kind = &KindOf(kind->Successor);
    for (const MAILBOXKIND& other : AllKinds())
        if (other.CanBeNew())
            Kinds.push_back(&other);
    // It can stay what it is.
    if (ASSERTION(kind->Handler, "FALSE") && !kind->CanBeNew())
        Kinds.push_back(kind);

    const auto found = std::ranges::find(Kinds, kind);
    Values.SetNumber("Type.Kind", found == Kinds.end() ? -1 : found - Kinds.begin());
    const MAILADDRESS address = MAILACCOUNT::Address(record);
    Values.Set("Source.Server", address.Server);
    Values.Set("Source.User", address.User);
    Values.Set("Source2", MAILACCOUNT::Password(record));
    const int period = std::max(record.GetNumber("TimingCyclic"), 0);
    Values.SetNumber("TimingCyclic.Minutes", period / 60);
    Values.SetNumber("TimingCyclic.Seconds", period % 60);
    for (const int page : {PAGE_ITEM_GENERAL, PAGE_ITEM_MAILBOX, PAGE_ITEM_MORE})
        for (const FIELD& field : FieldsOf(page))
            if (!Values.Exists(field.Key))
                Values.Set(field.Key, record.Get(field.Key));
    Before = Values;
}

const MAILBOXKIND& ITEMFORM::Kind() const {
    const int index = Values.GetNumber("Type.Kind");
    return index >= 0 ? *Kinds[static_cast<size_t>(index)] : KindOf(-1);
}

bool ITEMFORM::Write(STRINGARRAY& record) const {
    STRINGARRAY values = Values;
    for (const char* name : NAMES)
        if (IsChanged(name))
            values.Set(name, Stripped(values.Get(name)));
    const MAILBOXKIND& kind = Kind();
    if (IsChanged("Security"))
        values.Set("Source.Server",
                   MAILACCOUNT::FollowPort(values.Get("Source.Server"), kind.Type, Before.GetNumber("Security"),
                                           Values.GetNumber("Security")));
    // It was the certificate of the server that stood there.
    if (kind.IsKnown() && IsChanged("Source.Server") && !IsChanged("TrustedCertificate"))
        values.Set("TrustedCertificate", "");
    const bool moved = IsSuccessor || IsChanged("Security") || IsChanged("Type.Kind") || IsChanged("Source.Server") ||
                       IsChanged("Source.User");
    if (kind.IsKnown() && (moved || IsChanged("Source2")))
        MAILACCOUNT::SetAddress(record, {kind.Type, values.Get("Source.User"), values.Get("Source.Server")},
                                values.Get("Source2"));
    values.Set("Source2", Before.Get("Source2"));  // the address has brought it
    StoreChanges(record, Before, values);

    if (IsChanged("TimingCyclic.Minutes") || IsChanged("TimingCyclic.Seconds"))
        record.SetNumber("TimingCyclic",
                         Values.GetNumber("TimingCyclic.Seconds") + Values.GetNumber("TimingCyclic.Minutes") * 60);
    const int period = record.GetNumber("TimingCyclic");
    const bool raised = period > 0 && period < kind.MinSeconds;
    if (raised)
        record.SetNumber("TimingCyclic", kind.MinSeconds);
    return raised;
}
