#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "app/console/consolefrontend.h"
#include "app/core/tarnwick.h"

/// Takes a mailbox file apart that comes in pieces of any size: mails after lines that begin "From ", with one ">"
/// taken off lines of the form ">From " (and ">>From " ...). A mail is cut as a check of a POP3 mailbox cuts it: the
/// header, the first body lines, long lines in pieces. So memory does not grow with the file.
class MBOXREADER {
 public:
    /// `take` gets each mail, complete. oneMail: the file is a mail itself, without such lines.
    explicit MBOXREADER(std::function<void(const std::string& mail)> take, bool oneMail = false)
        : Take(std::move(take)), OneMail(oneMail), InMail(oneMail) {}
    void Put(std::string_view bytes);
    /// The file ends here.
    void End();

 private:
    void PutLine();
    void EndMail();

    std::function<void(const std::string&)> Take;
    const bool OneMail;
    std::string Line;
    std::string Mail;
    bool BeginsLine = true;       // Line holds the start of a line, not a later piece
    bool BehindEmptyLine = true;  // where a mail may begin
    bool InMail;
    bool InHeader = true;
    int BodyLines = 0;
};

/// Reads bytes of a file ("-": standard input) until its end or a stop; false after an error.
bool ReadPieces(const STRING& file, const std::function<bool()>& stopped,
                const std::function<void(std::string_view)>& take);

/// Scores each mail of a mbox file ("-": standard input) by the lists and settings of the application and prints a line
/// for it: result, points, indications, exceptions and message id, split by tabs; with reasons, the report below it.
/// Without network the sender checks stay off. When it is stopped, the mail that it reads then is left out. False, with
/// a message for the user, if the file cannot be read or holds no mail.
[[nodiscard]] bool ScoreMails(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const TEXTS& texts, const STRING& file,
                              bool network, bool reasons, const std::function<bool()>& stopped, std::string& message);
