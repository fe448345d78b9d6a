#include "app/demo/pop3service.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "corelib/base/ascii.h"
#include "corelib/base/strings.h"

namespace {

constexpr int WHOLE_BODY = -1;

std::string Number(size_t n) {
    return std::to_string(n);
}

}  // namespace

POP3SESSION::POP3SESSION(DEMOSTORE& store, std::string user, std::string password)
    : Store(store), User(std::move(user)), Password(std::move(password)) {}

std::string POP3SESSION::Reply(std::string_view line) {
    std::string_view rest = line;
    const std::string_view command = ASCII::Take(rest, ' ');
    if (ASCII::Equal(command, "QUIT")) {
        std::vector<int> numbers;
        for (size_t index : Deleted)
            numbers.push_back(Mails[index]->Number);
        Store.Remove(numbers);
        End();
        return "+OK bye\r\n";
    }
    if (ASCII::Equal(command, "CAPA"))
        return "+OK\r\nUSER\r\nTOP\r\nUIDL\r\n.\r\n";
    if (LoggedIn)
        return Transaction(command, rest);
    if (ASCII::Equal(command, "USER")) {
        UserGood = rest == User;
        return "+OK\r\n";
    }
    if (ASCII::Equal(command, "PASS")) {
        if (!UserGood || rest != Password)
            return "-ERR invalid user or password\r\n";
        LoggedIn = true;
        Mails = Store.Mails();
        return "+OK logged in\r\n";
    }
    return "-ERR unknown command\r\n";
}

std::string POP3SESSION::Transaction(std::string_view command, std::string_view arguments) {
    if (ASCII::Equal(command, "NOOP"))
        return "+OK\r\n";
    if (ASCII::Equal(command, "RSET")) {
        Deleted.clear();
        return "+OK\r\n";
    }
    if (ASCII::Equal(command, "STAT")) {
        size_t bytes = 0;
        for (size_t i = 0; i < Mails.size(); ++i)
            bytes += Deleted.contains(i) ? 0 : Mails[i]->Text.size();
        return "+OK " + Number(Mails.size() - Deleted.size()) + " " + Number(bytes) + "\r\n";
    }
    if (ASCII::Equal(command, "LIST") || ASCII::Equal(command, "UIDL"))
        return Listing(arguments, ASCII::Equal(command, "LIST"));
    const bool top = ASCII::Equal(command, "TOP");
    if (!top && !ASCII::Equal(command, "RETR") && !ASCII::Equal(command, "DELE"))
        return "-ERR unknown command\r\n";
    const int index = Find(ASCII::Take(arguments, ' '));
    if (index == -1)
        return "-ERR no such message\r\n";
    if (ASCII::Equal(command, "DELE")) {
        Deleted.insert(static_cast<size_t>(index));
        return "+OK deleted\r\n";
    }
    return "+OK\r\n" + Text(static_cast<size_t>(index), top ? atoi(STRING(arguments)) : WHOLE_BODY);
}

int POP3SESSION::Find(std::string_view number) const {
    const int index = std::max(atoi(STRING(number)), 0) - 1;
    const bool known = index >= 0 && static_cast<size_t>(index) < Mails.size();
    return known && !Deleted.contains(static_cast<size_t>(index)) ? index : -1;
}

std::string POP3SESSION::Listing(std::string_view number, bool sizes) const {
    const auto entry = [&](size_t i) {
        return Number(i + 1) + " " +
               (sizes ? Number(Mails[i]->Text.size()) : "demo" + std::to_string(Mails[i]->Number)) + "\r\n";
    };
    if (!number.empty()) {
        const int index = Find(number);
        return index == -1 ? "-ERR no such message\r\n" : "+OK " + entry(static_cast<size_t>(index));
    }
    std::string reply = "+OK\r\n";
    for (size_t i = 0; i < Mails.size(); ++i)
        if (!Deleted.contains(i))
            reply += entry(i);
    return reply + ".\r\n";
}

std::string POP3SESSION::Text(size_t index, int bodyLines) const {
    std::string reply;
    std::string_view rest = Mails[index]->Text;
    bool inBody = false;
    while (!rest.empty() && (!inBody || bodyLines != 0)) {
        const size_t end = rest.find("\r\n");
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == rest.npos ? rest.size() : end + 2);
        if (line.starts_with('.'))
            reply += '.';
        reply.append(line).append("\r\n");
        if (inBody && bodyLines > 0)
            --bodyLines;
        inBody = inBody || line.empty();
    }
    return reply + ".\r\n";
}

POP3SERVICE::POP3SERVICE(DEMOSTORE& store, const std::string& user, const std::string& password)
    : DEMOSERVICE([&store, user, password] { return std::make_unique<POP3SESSION>(store, user, password); }) {}
