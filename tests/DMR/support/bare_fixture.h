// The platform in memory, faked system calls and caught output, and nothing else: for tests that
// create, initialise and destroy the service or the bus link themselves.
#pragma once

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/access.h"
#include "DMR/support/expected.h"
#include "DMR/support/printed.h"
#include "KetraSrv_DLNA_Common.h"
#include "fake/platform.h"
#include "fake/system_calls.h"

namespace dmrtest {

class Bare : public testing::Test {
protected:
    using Access = KetraTestAccess;

    void SetUp() override {
        session_ = std::make_unique<fake::Session>();
        system_ = std::make_unique<fake::SystemCalls>();
        output_ = std::make_unique<Capture>(1);
        ASSERT_EQ(KetraSrv_DLNADMR::m_pInstance, nullptr);
        ASSERT_EQ(KetraSrv_DLNADMR::m_pid_tDMR_PID, 0);
    }
    void TearDown() override {
        KetraSrv_DLNADMR::m_pid_tDMR_PID = 0;
        output_ = nullptr;
        system_ = nullptr;
        session_ = nullptr;
    }

    /// Everything asked of the platform since the last call.
    Calls calls() {
        const Calls found = fake::Journal::instance().lines();
        fake::Journal::instance().clear();
        return found;
    }
    std::string printed() { return output_->take(); }
    fake::SystemCalls& system() { return *system_; }

private:
    std::unique_ptr<fake::Session> session_;
    std::unique_ptr<fake::SystemCalls> system_;
    std::unique_ptr<Capture> output_;
};

} // namespace dmrtest
