#include "app/filter/learning.h"

#include <utility>

#include "app/filter/mailwords.h"
#include "corelib/base/clock.h"
#include "corelib/base/files.h"
#include "corelib/base/trace.h"
#include "corelib/system/osys.h"

namespace {

constexpr size_t QUEUE_BYTES = 64 << 20;
constexpr int64_t WRITE_SECONDS = 60;  // between two times; a run that is killed loses no more lessons than these
constexpr int64_t DAY_SECONDS = 86400;
constexpr const char* DAMAGED_SUFFIX = ".bad";

}  // namespace

LEARNING::OPENED LEARNING::Open(const STRING& file, STRING& kept) {
    const std::lock_guard hold(Guard);
    File = file;
    LeftAlone = false;
    STRING text;
    if (!OSYS::FileExists(file.Text()))
        return OPENED::GOOD;
    const LEARNINGSTORE::READ read =
        FILES::ReadAll(file.Text(), true, text) ? Store.Read(text.View()) : LEARNINGSTORE::READ::NEWER;
    if (read == LEARNINGSTORE::READ::GOOD)
        return OPENED::GOOD;
    if (read == LEARNINGSTORE::READ::DAMAGED) {
        kept = file || DAMAGED_SUFFIX;
        (void)FILES::Remove(kept.Text());  // there is one at times only
        if (FILES::Rename(file.Text(), kept.Text()))
            return OPENED::DAMAGED;
    }
    LeftAlone = true;
    return OPENED::LEFT_ALONE;
}

bool LEARNING::Close() {
    Work({});
    const std::lock_guard hold(Guard);
    return Write() && !LeftAlone;
}

bool LEARNING::Write() {
    if (LeftAlone || Written == Lessons)
        return true;
    // Also after a failure: a full disk is not tried twice a second.
    WrittenAt = CLOCK::Seconds();
    const bool ok = FILES::ReplaceAll(File.Text(), Store.Text(), true);
    Trace("LEARNING::Write %d words, ok= %d\n", static_cast<int>(Store.Words()), ok);
    if (ok)
        Written = Lessons;
    return ok;
}

void LEARNING::Teach(std::string mail, bool isSpam) {
    if (!IsOn())
        return;
    const std::lock_guard hold(Guard);
    if (LeftAlone || QueuedBytes + mail.size() > QUEUE_BYTES) {
        Trace("LEARNING::Teach a lesson is left out\n");
        return;
    }
    QueuedBytes += mail.size();
    Queue.push_back({std::move(mail), isSpam});
}

void LEARNING::Teach(const STRINGARRAY& whole, bool isSpam) {
    std::string mail(whole["Header"].View());
    if (!mail.ends_with('\n'))
        mail += '\n';
    Teach(mail.append("\n").append(whole["Body"].View()), isSpam);
}

bool LEARNING::Learn(std::string_view mail, bool isSpam) {
    const DECODEDVIEW view(mail);
    const std::vector<std::string> words = MailWords(view);
    const std::lock_guard hold(Guard);
    if (LeftAlone ||
        !Store.Learn(words, MailNumber(view), isSpam, static_cast<uint32_t>(CLOCK::Seconds() / DAY_SECONDS)))
        return false;
    ++Lessons;
    return true;
}

bool LEARNING::TakeLesson(LESSON& lesson) {
    const std::lock_guard hold(Guard);
    if (Queue.empty())
        return false;
    lesson = std::move(Queue.front());
    Queue.pop_front();
    QueuedBytes -= lesson.Mail.size();
    return true;
}

void LEARNING::Work(const STOPQUESTION& stopAsked) {
    LESSON lesson;
    while (!(stopAsked && stopAsked()) && TakeLesson(lesson))
        Learn(lesson.Mail, lesson.IsSpam);
    const std::lock_guard hold(Guard);
    if (Written != Lessons && CLOCK::Seconds() - WrittenAt >= WRITE_SECONDS)
        (void)Write();  // the next time tries again
}

LEARNEDVERDICT LEARNING::Judge(const DECODEDVIEW& view) const {
    const LEARNINGSTORE::COUNTS mails = Mails();
    if (mails.Good < LEARNING_FIRST_MAILS || mails.Spam < LEARNING_FIRST_MAILS)
        return {};
    const std::vector<std::string> words = MailWords(view);
    const std::lock_guard hold(Guard);
    return JudgeWords(Store, words);
}

LEARNINGSTORE::COUNTS LEARNING::Mails() const {
    const std::lock_guard hold(Guard);
    return Store.Mails();
}

uint64_t LEARNING::Version() const {
    const std::lock_guard hold(Guard);
    return Lessons;
}
