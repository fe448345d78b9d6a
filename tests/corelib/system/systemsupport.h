#pragma once

#include <cstdlib>
#include <deque>

#include "tests/support/testsupport.h"

/// An environment variable that has a value for the length of a scope; empty counts as unset.
class VARIABLE {
 public:
    VARIABLE(const std::string& name, const std::string& value) : Name(name) {
        const char* former = std::getenv(name.c_str());
        Former = former ? former : "";
        Put(value);
    }
    ~VARIABLE() { Put(Former); }
    VARIABLE(const VARIABLE&) = delete;
    VARIABLE& operator=(const VARIABLE&) = delete;

 private:
    void Put(const std::string& value) {
        // The environment keeps the very bytes that it is given.
        static std::deque<std::string> kept;
        putenv(kept.emplace_back(Name + "=" + value).data());
    }
    std::string Name;
    std::string Former;
};
