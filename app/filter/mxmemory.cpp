#include "app/filter/mxmemory.h"

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
        answer.Silent = SourceSilent = Source.IsSilent();
        known = Answers.emplace(domain, std::move(answer)).first;
    }
    Asked = known != Answers.end();
    Silent = !Asked || known->second.Silent;
    bestmx = Asked ? known->second.BestMx : STRING("");
    list = Asked ? known->second.List : STRING("");
    return Asked && known->second.Found;
}
