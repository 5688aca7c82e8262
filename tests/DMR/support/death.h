// Statements that end the process, and every byte that they leave behind.
//
// Standard output goes where standard error goes, to a file: what was not flushed before the end is
// missing, as it would be on a pipe. A faked exit or execv writes the journal of platform calls
// behind what was printed; the journal is empty when the statement begins.
#pragma once

#include <csignal>
#include <cstdio>

#include <gtest/gtest.h>

#include "DMR/support/printed.h"
#include "fake/journal.h"

/// The statement is killed by SIGABRT after printing exactly `expected` (line numbers masked).
#define EXPECT_ABORTS(statement, expected)                                                         \
    DMRTEST_EXPECT_END(statement, testing::KilledBySignal(SIGABRT), expected)

/// The statement ends the process with `status` after printing exactly `expected`.
#define EXPECT_ENDS(statement, status, expected)                                                   \
    DMRTEST_EXPECT_END(statement, testing::ExitedWithCode(status), expected)

#define DMRTEST_EXPECT_END(statement, predicate, expected)                                         \
    do {                                                                                           \
        std::fflush(nullptr);                                                                      \
        EXPECT_EXIT(                                                                               \
            {                                                                                      \
                fake::Journal::instance().clear();                                                 \
                dmrtest::printToStandardError();                                                   \
                statement;                                                                         \
            },                                                                                     \
            predicate, dmrtest::prints(expected));                                                 \
    } while (false)
