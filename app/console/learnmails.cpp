#include "app/console/learnmails.h"

#include <memory>

#include "app/common/displaytext.h"
#include "app/console/consoletexts.h"
#include "app/console/scoremails.h"
#include "app/filter/learning.h"
#include "corelib/base/ascii.h"
#include "corelib/base/clock.h"
#include "corelib/system/dirscan.h"

namespace {

constexpr int64_t PROGRESS_SECONDS = 2;

/// A field of a header, or something else?
bool BeginsMail(std::string_view bytes) {
    const size_t name = std::min(bytes.find_first_of(": \t\r\n"), bytes.size());
    return name > 0 && name < bytes.size() && bytes[name] == ':';
}

class TEACHER {
 public:
    TEACHER(TARNWICK& application, CONSOLEFRONTEND& frontEnd, bool isSpam, const std::function<bool()>& stopped)
        : Application(application), FrontEnd(frontEnd), IsSpam(isSpam), Stopped(stopped), Told(CLOCK::Seconds()) {}

    bool ReadFile(const STRING& file) {
        std::unique_ptr<MBOXREADER> reader;
        const bool read = ReadPieces(file, Stopped, [&](std::string_view bytes) {
            if (!reader)
                reader =
                    std::make_unique<MBOXREADER>([this](const std::string& mail) { Take(mail); }, BeginsMail(bytes));
            reader->Put(bytes);
        });
        // A mail that was cut short by a stop or a fault of the file is not learnt.
        if (reader && read && !Stopped())
            reader->End();
        return read;
    }
    void Tell() const {
        const std::string counts = std::to_string(Learnt) + " / " + std::to_string(Mails);
        FrontEnd.Print(ConsoleText(Application.Texts(), IsSpam ? CTEXT_LEARNED_SPAM : CTEXT_LEARNED_GOOD, counts));
    }
    int Count() const { return Mails; }

 private:
    void Take(const std::string& mail) {
        if (Stopped())
            return;
        ++Mails;
        Learnt += Application.Lessons().Learn(mail, IsSpam);
        if (CLOCK::Seconds() - Told >= PROGRESS_SECONDS) {
            Told = CLOCK::Seconds();
            Tell();
        }
    }

    TARNWICK& Application;
    CONSOLEFRONTEND& FrontEnd;
    const bool IsSpam;
    const std::function<bool()>& Stopped;
    int Mails = 0, Learnt = 0;
    int64_t Told;
};

}  // namespace

bool LearnMails(TARNWICK& application, CONSOLEFRONTEND& frontEnd, const STRING& file, bool isSpam,
                const std::function<bool()>& stopped, std::string& message) {
    TEACHER teacher(application, frontEnd, isSpam, stopped);
    bool read = true;
    if (OSYS::FileIsDirectory(file.Text())) {
        DYNARRAY<STRING> files(64, 64);
        for (const char* const folder : {"", "cur", "new"}) {
            const STRING place = *folder ? OSYS::FilePath(file.Text(), folder) : file;
            if (OSYS::FileIsDirectory(place.Text()))
                OSYS::CollectFiles(place.Text(), "*", &files, 0);
        }
        for (int i = 0; i < files.Count() && !stopped(); ++i)
            read = teacher.ReadFile(files[i]) && read;
    } else {
        read = teacher.ReadFile(file);
    }
    if (teacher.Count() > 0)
        teacher.Tell();
    if (stopped() || (read && teacher.Count() > 0))
        return true;
    message =
        ConsoleText(application.Texts(), read ? CTEXT_NO_MAIL_IN_FILE : CTEXT_FILE_UNREADABLE, DISPLAYTEXT::Path(file));
    return false;
}
