// A renderer service that runs: initialised on the platform in memory, connected to one player, one
// sound service and one renderer daemon, both companion processes started (system calls faked).
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DMR/support/access.h"
#include "DMR/support/expected.h"
#include "DMR/support/printed.h"
#include "DMR/support/reports.h"
#include "fake/platform.h"
#include "fake/system_calls.h"

namespace dmrtest {

class Renderer : public testing::Test {
protected:
    using Access = KetraTestAccess;

    void SetUp() override;
    void TearDown() override;

    KetraSrv_DLNADMR& dmr() { return *KetraSrv_DLNADMR::m_pInstance; }
    /// Hands a report to the service as the bus link does.
    void report(const PlayerReport& report);
    void report(const RendererReport& report);

    /// Commands, writes, posted events and system calls since the last call.
    Calls calls();
    /// Standard output since the last call, line numbers masked.
    std::string printed();
    std::vector<fake::PostedEvent> posts() { return fake::postedEvents(); }
    /// Called during every post, while the service is as it is at that moment.
    void onPost(std::function<void()> hook) { onPost_ = std::move(hook); }
    fake::SystemCalls& system() { return *system_; }

    /// While it lives the service has no bus link.
    class WithoutLink {
    public:
        explicit WithoutLink(Renderer& test) : link_(Access::link(test.dmr())), kept_(link_) {
            link_ = nullptr;
        }
        ~WithoutLink() { link_ = kept_; }
        WithoutLink(const WithoutLink&) = delete;
        WithoutLink& operator=(const WithoutLink&) = delete;

    private:
        ConsoleStatusMon*& link_;
        ConsoleStatusMon* kept_;
    };

    /// While it lives the bus link is not connected.
    class WithoutManager {
    public:
        explicit WithoutManager(Renderer& test)
            : manager_(Access::manager(*Access::link(test.dmr()))), kept_(manager_) {
            manager_ = nullptr;
        }
        ~WithoutManager() { manager_ = kept_; }
        WithoutManager(const WithoutManager&) = delete;
        WithoutManager& operator=(const WithoutManager&) = delete;

    private:
        zeSBusManager*& manager_;
        zeSBusManager* kept_;
    };

private:
    std::string show(unsigned long event, unsigned long parameter);

    std::unique_ptr<fake::Session> session_;
    std::unique_ptr<fake::SystemCalls> system_;
    std::unique_ptr<Capture> output_;
    std::function<void()> onPost_;
};

} // namespace dmrtest
