#pragma once

#include <string>
#include <vector>

#include "app/common/frontend.h"
#include "corelib/net/mxlookup.h"
#include "tests/support/testsupport.h"

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

/// Keeps the progress texts.
class STATUSFRONTEND : public FRONTEND {
 public:
    void SetItemStatus(int handle, const STRING& text) override {
        Statuses.push_back(std::to_string(handle) + " " + Std(text));
    }
    std::vector<std::string> Statuses;
};
