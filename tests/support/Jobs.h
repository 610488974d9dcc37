#pragma once

#include <cstddef>
#include <cstdlib>
#include <string>

/// How many threads operations are to use: KP_TEST_JOBS, which a second run of some tests sets, else 1.
inline std::size_t jobsOfTests() {
    const char* jobs = std::getenv("KP_TEST_JOBS");
    return jobs == nullptr ? 1 : std::stoul(jobs);
}
