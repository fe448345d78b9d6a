#include "app/demo/webmailpages.h"

#include "app/common/mailtext.h"
#include "corelib/base/ascii.h"
#include "corelib/base/codepage.h"
#include "corelib/base/headerblock.h"

namespace WEBMAILPAGES {

namespace {

constexpr const char* ID_START = "MSG";

struct WORDS {
    const char* HomeTitle;
    const char* InboxTitle;
    const char* Inbox;
    const char* Unread;
    const char* From;
    const char* Subject;
    const char* Size;
    const char* Delete;
    const char* WrongPassword;
};

constexpr WORDS ALL_WORDS[] = {
    {"Home", "Mail", "Inbox", "new", "From", "Subject", "Size", "Delete", "The name or the password is not right."},
    {"Hotmail Startseite", "Nachrichten", "Posteingang", "neu", "Von", "Betreff", "Größe", "Löschen",
     "Der Name oder das Kennwort stimmt nicht."},
    {"Hotmail Accueil", "Messages", "Boîte de réception", "nouveaux", "De", "Objet", "Taille", "Supprimer",
     "Le nom ou le mot de passe est incorrect."},
};

// Text of the code page as HTML. Readers of such pages take a blank for layout unless it stands between two words, as
// they see them; this one is of the text.
std::string Html(std::string_view text) {
    constexpr char HARD_BLANK = '\xa0';
    static constexpr struct {
        char Character;
        const char* Entity;
    } ENTITIES[] = {{'&', "&amp;"},     {'<', "&lt;"},      {'>', "&gt;"},      {'"', "&quot;"},
                    {'\xe4', "&auml;"}, {'\xf6', "&ouml;"}, {'\xfc', "&uuml;"}, {'\xc4', "&Auml;"},
                    {'\xd6', "&Ouml;"}, {'\xdc', "&Uuml;"}, {'\xdf', "&szlig;"}};
    std::string html;
    const auto isWord = [&](size_t i) {
        return i < text.size() && (ASCII::IsLetter(text[i]) || ASCII::IsDigit(text[i]));
    };
    for (size_t i = 0; i < text.size(); ++i) {
        const char* entity = nullptr;
        for (const auto& row : ENTITIES)
            if (row.Character == text[i])
                entity = row.Entity;
        const bool hard = text[i] == ' ' && !(isWord(i - 1) && isWord(i + 1));
        entity ? html += entity : html += hard ? HARD_BLANK : text[i];
    }
    return html;
}

std::string Utf8Html(std::string_view text) {
    return Html(CODEPAGE::FromUtf8(text).View());
}

std::string Page(const std::string& title, const std::string& head, const std::string& body) {
    return "<html>\n<head>\n<title>" + title + "</title>\n" + head + "</head>\n<body bgcolor=\"#ffffff\">\n" + body +
           "</body>\n</html>\n";
}

// A field of the header as a person reads it.
STRING HeaderText(const DEMOMAIL& mail, const char* name) {
    STRING text = ReadHeaderField(mail.Text, name);
    if (!text.NotNull())
        return "";
    const bool utf8 = text.iPos("=?utf-8?") != -1;
    DecodeEncodedWords(text);
    return utf8 ? CODEPAGE::FromUtf8(text.View()) : text;
}

}  // namespace

ENTRY MakeEntry(const DEMOMAIL& mail, bool isNew) {
    STRING from = HeaderText(mail, "From"), address;
    SplitAddress(from, address);
    return {ID_START + std::to_string(mail.Number), Html(from.View()), Html(HeaderText(mail, "Subject").View()),
            std::to_string(mail.Text.size() / 1024 + 1) + "k", isNew};
}

int MailNumber(std::string_view id) {
    const size_t start = std::string_view(ID_START).size();
    return id.starts_with(ID_START) ? atoi(STRING(id.substr(start))) : 0;
}

std::string RefreshPage(const std::string& url) {
    return Page("...", "<meta http-equiv=\"refresh\" content=\"0; url=" + url + "\">\n",
                "<a href=\"" + url + "\">" + url + "</a>\n");
}

std::string WrongPasswordPage(EDITION edition) {
    const WORDS& words = ALL_WORDS[static_cast<int>(edition)];
    return Page(Utf8Html(words.InboxTitle), "", "<h2>" + Utf8Html(words.WrongPassword) + "</h2>\n");
}

std::string HomePage(EDITION edition, const std::string& inboxUrl, int unread) {
    const WORDS& words = ALL_WORDS[static_cast<int>(edition)];
    return Page(words.HomeTitle, "",
                "<table border=0 cellpadding=4>\n<tr>\n<td><a href=\"" + inboxUrl + "\">" + Utf8Html(words.Inbox) +
                    "</a></td>\n<td>" + std::to_string(unread) + " " + words.Unread + "</td>\n</tr>\n</table>\n");
}

std::string InboxPage(EDITION edition, const std::string& mailUrl, const std::vector<ENTRY>& entries) {
    const WORDS& words = ALL_WORDS[static_cast<int>(edition)];
    std::string body = "<form name=\"hmhome\" method=\"POST\" action=\"/cgi-bin/HoTMaiL\">\n";
    for (const char* field :
         {"mbox\" value=\"F000000001", "js", "_HMaction\" value=\"delete", "foo\" value=\"inbox", "page", "nullbox"})
        body += std::string("<input type=\"hidden\" name=\"") + field + "\">\n";
    body +=
        "<table width=\"100%\" border=0 cellspacing=0>\n<tr bgcolor=\"#336699\">\n<td>&nbsp;</td>\n<td>&nbsp;</td>\n";
    for (const char* head : {words.From, words.Subject, words.Size})
        body += "<td><font color=\"#ffffff\"><b>" + Utf8Html(head) + "</b></font></td>\n";
    body += "</tr>\n";
    for (const ENTRY& entry : entries) {
        const char* picture = entry.IsNew ? "newmail.gif" : "spacer.gif";
        body += "<tr bgcolor=\"#eeeecc\">\n<td><input type=\"checkbox\" name=\"" + entry.Id +
                "\"></td>\n<td><img src=\"/i/" + picture + "\" width=14 height=12></td>\n<td><a href=\"" + mailUrl +
                entry.Id + "\">" + entry.From + "</a></td>\n<td>" + entry.Subject + "&nbsp;</td>\n<td align=right>" +
                entry.Size + "</td>\n</tr>\n";
    }
    body += "<tr>\n<td colspan=5><input type=\"submit\" value=\"" + Utf8Html(words.Delete) +
            "\"></td>\n</tr>\n</table>\n</form>\n";
    return Page(Utf8Html(words.InboxTitle), "", body);
}

std::string MailPage(const DEMOMAIL& mail) {
    return Page(Html(HeaderText(mail, "Subject").View()), "",
                "<pre>\n" + Utf8Html(BodyBlock(mail.Text)) + "\n</pre>\n");
}

}  // namespace WEBMAILPAGES
