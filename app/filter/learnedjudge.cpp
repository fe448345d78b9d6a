#include "app/filter/learnedjudge.h"

#include <algorithm>
#include <cmath>

namespace {

// A word that nobody knows stands in the middle, and is believed as one that was seen so often; those near the middle
// tell nothing, and of the others only the most telling ones count, so that no page of words outvotes them.
constexpr double UNKNOWN_BELIEF = 0.5, UNKNOWN_STRENGTH = 0.5;
constexpr double LEAST_DEVIATION = 0.3;
constexpr size_t MOST_TELLING = 15;
// Words of one mail are not independent of each other: their evidence counts for so much of it.
constexpr double INDEPENDENT_PART = 0.5;

// Weights from which on a mail is spam or good, and the points that go with them.
constexpr double SPAM_WEIGHT = 2, GOOD_WEIGHT = -2;
constexpr double POINTS_OF_WEIGHT = 30;
constexpr int SPAM_POINTS = 200, GOOD_POINTS = -300;

/// The logarithm of the probability that chi-square, with twice so many degrees of freedom, is at least twice `half`.
double LogChiSquare(double half, double degrees) {
    // The sum of half^i / i! for i below degrees, times e^-half; begun at its largest term, so that none overflows.
    const int count = std::max(1, static_cast<int>(std::lround(degrees)));
    double term = 0, largest = 0;
    std::vector<double> logs{0};
    for (int i = 1; i < count; ++i) {
        term += std::log(half / i);
        logs.push_back(term);
        largest = std::max(largest, term);
    }
    double sum = 0;
    for (const double one : logs)
        sum += std::exp(one - largest);
    return std::min(0.0, std::log(sum) + largest - half);
}

}  // namespace

LEARNEDVERDICT JudgeWords(const LEARNINGSTORE& store, const std::vector<std::string>& words) {
    LEARNEDVERDICT verdict;
    const auto [good, spam] = store.Mails();
    if (good < LEARNING_FIRST_MAILS || spam < LEARNING_FIRST_MAILS)
        return verdict;
    std::vector<double> beliefs;
    for (const std::string& word : words) {
        const LEARNINGSTORE::COUNTS counts = store.Find(word);
        const double seen = counts.Good + counts.Spam;
        if (seen == 0)
            continue;
        const double inSpam = static_cast<double>(counts.Spam) / spam, inGood = static_cast<double>(counts.Good) / good;
        const double p = std::min(1.0, inSpam / (inSpam + inGood));
        const double belief = (UNKNOWN_STRENGTH * UNKNOWN_BELIEF + seen * p) / (UNKNOWN_STRENGTH + seen);
        if (std::abs(belief - 0.5) >= LEAST_DEVIATION)
            beliefs.push_back(belief);
    }
    if (beliefs.size() > MOST_TELLING) {
        std::ranges::nth_element(beliefs, beliefs.begin() + MOST_TELLING,
                                 [](double a, double b) { return std::abs(a - 0.5) > std::abs(b - 0.5); });
        beliefs.resize(MOST_TELLING);
    }
    verdict.Kind = LEARNEDVERDICT::UNSURE;
    if (beliefs.empty())
        return verdict;
    double forSpam = 0, forGood = 0;
    for (const double belief : beliefs) {
        forSpam -= std::log(1 - belief);
        forGood -= std::log(belief);
    }
    const double part = INDEPENDENT_PART, degrees = static_cast<double>(beliefs.size()) * part;
    verdict.Weight = LogChiSquare(forGood * part, degrees) - LogChiSquare(forSpam * part, degrees);
    verdict.Percent = static_cast<int>(std::lround(100 / (1 + std::exp(-verdict.Weight))));
    if (verdict.Weight >= SPAM_WEIGHT) {
        verdict.Kind = LEARNEDVERDICT::SPAM;
        verdict.Points = std::min(SPAM_POINTS, static_cast<int>(verdict.Weight * POINTS_OF_WEIGHT));
    } else if (verdict.Weight <= GOOD_WEIGHT) {
        verdict.Kind = LEARNEDVERDICT::GOOD;
        verdict.Points = std::max(GOOD_POINTS, static_cast<int>(verdict.Weight * POINTS_OF_WEIGHT));
    }
    return verdict;
}
