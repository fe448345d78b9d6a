#pragma once

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>

#include "app/filter/decodedview.h"
#include "app/filter/learnedjudge.h"
#include "app/filter/learningstore.h"
#include "corelib/base/stopquestion.h"
#include "corelib/base/stringarray.h"

/// What the filter learns from its user, and the file in which it is kept. Lessons are queued by whoever shows mails,
/// and carried out by the work thread, so that no window waits for them. Any thread.
class LEARNING {
 public:
    /// The settings, which outlive it: without SpamLearn nobody is taught by what he does, and nothing is judged.
    explicit LEARNING(const STRINGARRAY& state) : State(state) {}

    /// What Open found. DAMAGED: the file was set aside under the name `kept`, and learning begins anew. LEFT_ALONE: it
    /// is of a newer version, or cannot be read; nothing is learnt in this run.
    enum class OPENED { GOOD, DAMAGED, LEFT_ALONE };
    OPENED Open(const STRING& file, STRING& kept);
    /// Carries all lessons out, and writes. False if the file could not be written, or was left alone.
    [[nodiscard]] bool Close();

    /// A lesson: header lines, an empty line and the body, or the record of a mail with its Header and Body. Of very
    /// many that wait the last ones are left out.
    void Teach(std::string mail, bool isSpam);
    void Teach(const STRINGARRAY& whole, bool isSpam);
    /// Learns at once, whatever the settings say; false if the mail's last lesson was the same, or nothing is learnt.
    bool Learn(std::string_view mail, bool isSpam);
    /// Carries out what waits, and writes once in a while. Work thread.
    void Work(const STOPQUESTION& stopAsked);

    LEARNEDVERDICT Judge(const DECODEDVIEW& view) const;
    bool IsOn() const { return State.GetNumber("SpamLearn") != 0; }
    LEARNINGSTORE::COUNTS Mails() const;
    /// Another one after each lesson.
    uint64_t Version() const;

 private:
    struct LESSON {
        std::string Mail;
        bool IsSpam;
    };
    bool TakeLesson(LESSON& lesson);
    bool Write();

    const STRINGARRAY& State;
    mutable std::mutex Guard;  // of all below
    LEARNINGSTORE Store;
    STRING File;
    bool LeftAlone = true;  // until a file is opened
    uint64_t Lessons = 0;   // carried out in this run
    uint64_t Written = 0;   // of these
    int64_t WrittenAt = 0;  // seconds
    std::deque<LESSON> Queue;
    size_t QueuedBytes = 0;
};

/// In the data directory.
inline constexpr const char* LEARNED_FILE = "learned.dat";
