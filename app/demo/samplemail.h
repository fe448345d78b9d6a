#pragma once

#include <cstdint>
#include <string>

/// The demo's mails: invented people and firms, good mail and spam, English and German. `now` is in seconds since 1970;
/// the dates lie before it.
int SampleMailCount();
std::string SampleMail(int index, int64_t now);

/// A mail that arrives while the demo runs; number counts up from 0 and the texts repeat after a while.
std::string ArrivingMail(int number, int64_t now);
/// Spam of which a few mails come at once, again and again.
int SpamBurstCount();
std::string SpamBurstMail(int number, int64_t now);
