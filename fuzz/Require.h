#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the run, so that the fuzzer keeps the input.
inline void require(bool holds, const char* rule) {
    if (holds) return;
    std::fprintf(stderr, "broken rule: %s\n", rule);
    std::abort();
}
