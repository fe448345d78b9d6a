#pragma once

#include <string_view>

#include "app/mailbox/listing.h"
#include "corelib/mapi/mapiclass.h"

/// Appends the block of a message of the local store, with its text unless `bytes` is 0. Nothing that a mail holds
/// ends its block or makes a line of it that says something else.
void AppendMapiBlock(LISTING::WRITER& listing, const MAPIMESSAGE& mail, int bytes);
