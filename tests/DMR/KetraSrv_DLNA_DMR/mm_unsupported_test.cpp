// What a renderer does not have: every operation in its group, with its whole text.
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/death.h"
#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"
#include "DMR/support/unsupported.h"

namespace {

using dmrtest::Calls;
using dmrtest::kHarmless;
using dmrtest::kReported;
using dmrtest::kUnreported;
using Operation = dmrtest::UnsupportedOperation;

std::string reportOf(const Operation& operation) {
    return "[func:" + std::string(operation.name) + "] Error: DLNA DMR no this function !!\n";
}

std::string assertionOf(const Operation& operation) {
    return dmrtest::assertion("DMR/src/KetraSrv_DLNA_DMR",
                              "virtual " + std::string(operation.result) + " KetraSrv_DLNADMR::" +
                                  operation.name + "(" + operation.arguments + ")");
}

using ARenderer = dmrtest::Renderer;
using ARendererDeathTest = dmrtest::Renderer;

TEST_F(ARenderer, ReportsAHarmlessOperationAndSaysFalse) {
    for (const Operation& operation : kHarmless) {
        EXPECT_EQ(operation.call(dmr()), FALSE) << operation.name;
        EXPECT_EQ(printed(), reportOf(operation));
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(ARendererDeathTest, ReportsAnOperationOfOtherServicesAndAborts) {
    for (const Operation& operation : kReported) {
        SCOPED_TRACE(operation.name);
        EXPECT_ABORTS(operation.call(dmr()), reportOf(operation) + assertionOf(operation));
    }
}

TEST_F(ARendererDeathTest, AbortsWithoutAReportWhereAPlaylistIsMeant) {
    for (const Operation& operation : kUnreported) {
        SCOPED_TRACE(operation.name);
        EXPECT_ABORTS(operation.call(dmr()), assertionOf(operation));
    }
}

TEST_F(ARenderer, AnswersItsTwoSpareOperationsWithFalse) {
    EXPECT_EQ(dmr().MM_Interface_Extra1(), FALSE);
    EXPECT_EQ(dmr().MM_Interface_Extra2(), FALSE);
    EXPECT_EQ(printed(), "");
}

} // namespace
