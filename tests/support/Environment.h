#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <stdlib.h>

/// An environment variable for the length of a scope.
class Environment {
public:
    Environment(const char* name, const std::string& value) : name_(name) {
        if (const char* before = getenv(name)) before_ = before;
        setenv(name, value.c_str(), 1);
    }
    ~Environment() { before_ ? setenv(name_, before_->c_str(), 1) : unsetenv(name_); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    const char* name_;
    std::optional<std::string> before_;
};

/// How many threads operations are to use: KP_TEST_JOBS, which a second run of some tests sets, else 1.
inline std::size_t jobsOfTests() {
    const char* jobs = getenv("KP_TEST_JOBS");
    return jobs == nullptr ? 1 : std::stoul(jobs);
}
