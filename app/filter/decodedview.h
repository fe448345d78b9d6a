#pragma once

#include <string>
#include <string_view>

/// A mail as its reader sees it, in the bytes in which the word table is written (see LETTERFOLD): lines of its sender,
/// receivers and subject without their codes, and the text without encodings, mark-up and what does not show. Of a mail
/// that was cut off it is what came. Made in linear time; what of it is as in the mail itself needs no second scan.
struct DECODEDVIEW {
    /// A block of a listing, or a whole mail.
    explicit DECODEDVIEW(std::string_view mail);

    std::string Fields;  // of the mail's header, one to a line, as they came
    std::string Header;  // lines that begin "Subject:", "From:", "To:" and "Cc:"
    std::string Body;    // ends with a line of the hosts of links, if there are any; see HtmlText
    bool HeaderDiffers = false, BodyDiffers = false;
    bool HasFalseLetters = false;  // in the header: some only looked like those that stand there now
};

/// The four header fields that are searched, with their ":".
bool IsSearchedField(std::string_view line);
