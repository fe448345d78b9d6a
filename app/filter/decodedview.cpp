#include "app/filter/decodedview.h"

#include <algorithm>

#include "app/reading/headerwords.h"
#include "app/reading/letterfold.h"
#include "app/reading/mimetext.h"
#include "app/reading/shownmail.h"
#include "corelib/base/ascii.h"
#include "corelib/base/headerblock.h"

namespace {

constexpr size_t LINE_BYTES = 100'000;  // of a field that are decoded

std::string SearchedLines(std::string_view header) {
    std::string lines;
    while (!header.empty()) {
        const std::string_view line = ASCII::Take(header, '\n');
        if (IsSearchedField(line))
            lines.append(line).push_back('\n');
    }
    return lines;
}

}  // namespace

bool IsSearchedField(std::string_view line) {
    return ASCII::BeginsWith(line, "Subject:") || ASCII::BeginsWith(line, "From:") || ASCII::BeginsWith(line, "To:") ||
           ASCII::BeginsWith(line, "Cc:");
}

DECODEDVIEW::DECODEDVIEW(std::string_view mail) {
    mail = mail.substr(0, mail.find('\0'));
    const std::string_view header = HeaderBlock(mail), body = BodyBlock(mail.substr(header.size()));
    SHOWNMAIL::SOURCE source(header, body);
    const std::string charset = HeaderParameter(ReadHeaderField(source.Fields, "Content-Type").View(), "charset");
    const std::string fields = SearchedLines(source.IsOwnHeader ? source.Fields : JoinedFields(header));
    for (std::string_view rest = fields; !rest.empty();) {
        const std::string words = HeaderWords(ASCII::Take(rest, '\n').substr(0, LINE_BYTES), charset);
        std::string line = LETTERFOLD::Folded(words, &HasFalseLetters);
        std::ranges::replace(line, '\n', ' ');
        Header += line + "\n";
    }
    HeaderDiffers = Header != SearchedLines(header);
    Body = LETTERFOLD::Folded(source.Text(READBY::Filter));
    BodyDiffers = Body != source.Body;
    Fields = std::move(source.Fields);
}
