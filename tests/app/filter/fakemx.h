#pragma once

#include <string>
#include <vector>

#include "corelib/net/mxlookup.h"

/// A name service in which all domains but one have a mail server.
class FAKEMXLOOKUP : public MXLOOKUP {
 public:
    bool GetAddr(const char* name, STRING& bestmx, STRING& /*list*/) override {
        Asked.emplace_back(name);
        bestmx = Best.c_str();
        return Online && std::string(name) != "nowhere.example";
    }
    bool Online = true;
    std::string Best = "mx.example";
    std::vector<std::string> Asked;
};
