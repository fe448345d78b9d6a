#include "app/filter/mxmemory.h"

namespace {

constexpr int MOST_SILENT = 3;

}  // namespace

bool MXMEMORY::GetAddr(const char* name, STRING& bestmx, STRING& list) {
    if (!name)
        return Source.GetAddr(name, bestmx, list);
    STRING key = name;
    key.ToLower();
    const std::string domain(key.View());
    auto known = Answers.find(domain);
    if (known == Answers.end() && !SourceSilent) {
        ANSWER answer{};
        answer.Found = Source.GetAddr(name, answer.BestMx, answer.List);
        answer.Silent = Source.IsSilent();
        // The first name is one that everybody knows. After others there may be a dead server of a sender's own, who
        // shall not keep the rest from being looked up; but no more than a few of these.
        SourceSilent = answer.Silent && (Answers.empty() || ++SilentNames >= MOST_SILENT);
        known = Answers.emplace(domain, std::move(answer)).first;
    }
    const bool asked = known != Answers.end();
    Silent = !asked || known->second.Silent;
    bestmx = asked ? known->second.BestMx : STRING("");
    list = asked ? known->second.List : STRING("");
    return asked && known->second.Found;
}
