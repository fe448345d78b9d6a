#pragma once

#include <initializer_list>
#include <string>

#include "corelib/base/strings.h"

/// The block of a listing with mail `number`, from "Sender <number>".
inline std::string Block(int number, const std::string& subject, int points, int kiloBytes, const char* more = "") {
    const std::string n = std::to_string(number);
    return "X-SpamPoints: " + std::to_string(points) + "\nX-Size: " + std::to_string(kiloBytes * 1024) +
           "\nX-Message-Id: " + n + "|id" + n + "\nMessage-Id: <" + n + "@x>\nFrom: Sender " + n + " <s" + n +
           "@example.org>\nSubject: " + subject + "\n" + more + "\nBody " + n + "\n";
}

/// A listing of such blocks.
inline STRING ListingOf(std::initializer_list<std::string> mails) {
    std::string listing = std::to_string(mails.size()) + " msgs|0 unread|0 bytes\n";
    for (const std::string& mail : mails)
        listing += mail + '\1';
    return STRING(std::string_view(listing));
}
