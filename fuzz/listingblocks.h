#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/mailbox/listing.h"

/// The blocks of a listing, without their end bytes.
inline std::vector<std::string> Blocks(const STRING& listing) {
    std::vector<std::string> blocks;
    LISTING::BLOCKCURSOR cursor(listing);
    for (std::string_view block; cursor.Next(block);)
        blocks.emplace_back(block);
    return blocks;
}
