#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "corelib/net/mxlookup.h"

/// A name service in which all domains but one have a mail server, and which says nothing about names that begin with
/// "silent.".
class FAKEMXLOOKUP : public MXLOOKUP {
 public:
    bool GetAddr(const char* name, STRING& bestmx, STRING& /*list*/) override {
        Asked.emplace_back(name);
        Silent = std::string_view(name).starts_with("silent.");
        const bool found = Online && !Silent && std::string(name) != "nowhere.example";
        bestmx = found ? Best.c_str() : "";
        return found;
    }
    bool IsSilent() const override { return Silent; }
    bool Online = true;
    bool Silent = false;
    std::string Best = "mx.example";
    std::vector<std::string> Asked;
};
