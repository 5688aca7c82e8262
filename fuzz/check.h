// What a fuzz target says when an input made its subject do something that it must never do. The
// fuzzer sees the abort and keeps the input.
#pragma once

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(aCondition)                                                                     \
    ((aCondition) ? (void)0                                                                        \
                  : (std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #aCondition), \
                     std::abort()))
