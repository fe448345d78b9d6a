#include "app/console/trash.h"

#include <algorithm>

#include "app/common/displaytext.h"
#include "app/console/consoletexts.h"
#include "app/console/mailtable.h"
#include "app/console/session.h"
#include "app/inbox/trashmails.h"

std::string TrashTable(TARNWICK& application, int columns) {
    TRASHMAILS trash(application);
    trash.Load();
    std::string title = DISPLAYTEXT::Safe(trash.Title().View()) + "\n";
    if (trash.Count() == 0)
        return title;
    std::vector<NAMEDMAIL> mails;
    for (int i = 0; i < trash.Count(); ++i)
        mails.push_back({DISPLAYTEXT::Safe(trash.Mail(i)["X-TrashId"].View()), &trash.Mail(i)});
    // Ids are numbers that count up.
    std::ranges::sort(mails, {}, [](const NAMEDMAIL& mail) { return std::pair(mail.Name.size(), mail.Name); });
    return title + MailRows(mails, application.Texts(), columns);
}

int RestoreMails(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const std::vector<STRING>& ids,
                 const STOPQUESTION& stopAsked) {
    const TEXTS& texts = application.Texts();
    TRASHMAILS trash(application);
    trash.Load();
    std::vector<int> mails;
    for (const STRING& id : ids) {
        mails.push_back(trash.FindId(id.View()));
        if (mails.back() == -1) {
            frontEnd.PrintError(ConsoleText(texts, CTEXT_NO_SUCH_COPY, DISPLAYTEXT::Safe(id.View())));
            return EXIT_NO_START;
        }
    }
    for (const int mail : mails) {
        STRING error;
        if (!TRASHMAILS::SendOn(application.Lessons(), trash.Whole(mail), application.pState, texts, stopAsked,
                                error)) {
            frontEnd.PrintError(DISPLAYTEXT::Safe((texts.Get(TEXT_NOT_SENT_ON) || error).View()));
            frontEnd.PrintError(ConsoleText(texts, CTEXT_SEND_ON_PLACE, DISPLAYTEXT::Path(application.DataDir())));
            return EXIT_CHECK_FAILED;
        }
        STRING sent = texts.Get(TEXT_SENT_ON);
        sent.Replace("$EMAIL", application.pState.Get("SpamSmtpTo").Text());
        frontEnd.Print(DISPLAYTEXT::Safe(sent.View()));
    }
    return EXIT_GOOD;
}
