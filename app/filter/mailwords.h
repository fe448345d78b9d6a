#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "app/filter/decodedview.h"

/// What of a mail is learnt, and looked up in what was: the words of its text and neighbouring pairs of them, the words
/// of its subject, names, addresses and domains of its sender, its list and its program, which fields its header has,
/// and the hosts of its links. UTF-8 in small letters without blanks and control characters, each once, in order of
/// appearance, at most MAILWORDS_MOST of at most MAILWORD_BYTES each; those of the header begin with a letter and ":".
std::vector<std::string> MailWords(const DECODEDVIEW& view);

/// Tells the mail from others, wherever it lies and however much of it is there.
uint64_t MailNumber(const DECODEDVIEW& view);

inline constexpr size_t MAILWORDS_MOST = 3000;
inline constexpr size_t MAILWORD_BYTES = 60;
