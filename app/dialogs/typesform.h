#pragma once

#include "app/common/texts.h"
#include "corelib/base/recordarray.h"

/// The mail types while they are edited: a copy, in the order of precedence. Places count from 0.
class TYPESFORM {
 public:
    explicit TYPESFORM(const RECORDARRAY& types) : Types(types) {}

    RECORDARRAY Types;

    /// A type of that name at the end, and its place; -1, with the number of a message, if it cannot have that name.
    int Add(const STRING& name, int& message);
    /// Whether the type at that place (-1: a new one) can have the name: 0, or the number of a message.
    static int NameFault(const RECORDARRAY& types, const STRING& name, int place);
    void Delete(int place) { Types.Delete(place); }
    /// By one place, up (-1) or down (1): where the type is afterwards. It stays at the ends.
    int Move(int place, int by);
};
