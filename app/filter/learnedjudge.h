#pragma once

#include <string>
#include <vector>

#include "app/filter/learningstore.h"

/// What the learnt words say of a mail, by Robinson's degree of belief in each word and Fisher's method for all.
struct LEARNEDVERDICT {
    enum KIND { SILENT, GOOD, UNSURE, SPAM };
    KIND Kind = SILENT;  // SILENT: too little was learnt yet
    int Points = 0;      // below zero for a good mail, above for spam, else 0
    int Percent = 50;    // how sure it is that this is spam, 0 to 100
    double Weight = 0;   // the same without bounds: 0 in the middle
};

/// So many mails of each kind are learnt before anything is said.
inline constexpr uint32_t LEARNING_FIRST_MAILS = 50;

/// words: those of MailWords.
LEARNEDVERDICT JudgeWords(const LEARNINGSTORE& store, const std::vector<std::string>& words);
