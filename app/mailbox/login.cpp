#include "app/mailbox/login.h"

#include <algorithm>

#include "corelib/base/ascii.h"
#include "corelib/base/wipe.h"
#include "corelib/net/md5.h"
#include "corelib/net/tcpline.h"

namespace LOGIN {

MECHANISM Best(std::string_view words, std::string_view prefix) {
    for (const MECHANISM mechanism : {MECHANISM::PLAIN, MECHANISM::LOGIN})
        if (HoldsWord(words, std::string(prefix) + Name(mechanism)))
            return mechanism;
    return MECHANISM::NONE;
}

const char* Name(MECHANISM mechanism) {
    return mechanism == MECHANISM::PLAIN ? "PLAIN" : mechanism == MECHANISM::LOGIN ? "LOGIN" : "";
}

std::vector<STRING> Answers(MECHANISM mechanism, const STRING& user, const STRING& password) {
    const STRING plain = Secret(password);
    if (mechanism == MECHANISM::LOGIN)
        return {user.ToBase64(), plain.ToBase64()};
    STRING message = Secret(STRING(std::string_view("\0", 1)));
    message.AppendBytes(user.View());
    message.AppendBytes("", 1);
    message += plain;
    return {message.ToBase64()};
}

STRING WithoutPassword(const STRING& said, const STRING& user, const STRING& password) {
    std::vector<STRING> secrets{Secret(password)};
    for (const MECHANISM mechanism : {MECHANISM::PLAIN, MECHANISM::LOGIN})
        secrets.push_back(Answers(mechanism, user, password).back());
    return TCP::WithoutSecrets(said, secrets);
}

std::string_view TimeStamp(std::string_view greeting) {
    const size_t open = greeting.find('<'), close = greeting.find('>', std::min(open, greeting.size()));
    if (close == greeting.npos)
        return {};
    const std::string_view stamp = greeting.substr(open, close + 1 - open);
    return stamp.find('@') != stamp.npos && stamp.find(' ') == stamp.npos ? stamp : std::string_view();
}

std::string ApopDigest(std::string_view timeStamp, const STRING& password) {
    STRING text = Secret(STRING(timeStamp));
    text += password;
    return Md5Hex(text.View());
}

bool HoldsWord(std::string_view words, std::string_view word) {
    while (!words.empty())
        if (ASCII::Equal(ASCII::Take(words, ' '), word))
            return true;
    return false;
}

bool HasOtherLetters(const STRING& text) {
    return std::ranges::any_of(text.View(), [](char c) { return (c & 0x80) != 0; });
}

}  // namespace LOGIN
