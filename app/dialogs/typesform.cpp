#include "app/dialogs/typesform.h"

#include "app/dialogs/fields.h"
#include "app/notify/mailtypes.h"
#include "corelib/base/trace.h"

int TYPESFORM::NameFault(const RECORDARRAY& types, const STRING& name, int place) {
    const STRING stripped = Stripped(name);
    if (stripped.Length() == 0)
        return TEXT_TYPE_NO_NAME;
    const int other = types.FindRecord("Name", stripped.Text());
    return other == -1 || other == place ? 0 : TEXT_TYPE_EXISTS;
}

int TYPESFORM::Add(const STRING& name, int& message) {
    message = NameFault(Types, name, -1);
    if (message != 0)
        return -1;
    auto record = std::make_unique<STRINGARRAY>(64, 64);
    record->Set("Name", Stripped(name));
    // White, or what is shown in its own colours would be black on black until the user has chosen some.
    record->Set("Color", "16777215");
    FillTypeDefaults(*record);
    Types.AddOwned(std::move(record));
    return Types.Count() - 1;
}

int TYPESFORM::Move(int place, int by) {
    const int other = place + by;
    if (place < 0 || other < 0 || other >= Types.Count())
        return place;
    const STRING name = Types[place].Get("Name");
    Types.Swap(place, other);
    ASSERTION(name == Types[other].Get("Name"), "name==tmp[\"Name\"]");
    return other;
}
