#include "DMR/support/renderer_fixture.h"

#include "fake/bus.h"

namespace dmrtest {

namespace {

const unsigned long kEvents[] = {0, 1, 2, 5, 6, 14, 15, 16, 94, 97, 98, 99};

} // namespace

void Renderer::SetUp() {
    session_ = std::make_unique<fake::Session>();
    system_ = std::make_unique<fake::SystemCalls>();
    output_ = std::make_unique<Capture>(1);
    ASSERT_EQ(KetraSrv_DLNADMR::m_pInstance, nullptr) << "an earlier test left its service behind";
    ASSERT_EQ(KetraSrv_DLNADMR::m_pid_tDMR_PID, 0);
    ASSERT_EQ(KetraSrv_DLNADMR::GetInstance()->MM_Interface_Init(nullptr), TRUE);
    fake::Bus::instance().appear(statebus::Record(ContentPlayerServiceTemplate), "main");
    fake::Bus::instance().appear(statebus::Record(SoundServiceTemplate), "main");
    fake::Bus::instance().appear("MediaRendererService");
    for (const unsigned long event : kEvents) {
        fake::inspectEvent(event, [=](unsigned long parameter) { return show(event, parameter); });
    }
    fake::clearConsole();
    fake::Journal::instance().clear();
    output_->take();
}

void Renderer::TearDown() {
    if (KetraSrv_DLNADMR::m_pInstance) {
        onPost_ = nullptr;
        fake::clearFailures();
        system_ = nullptr;
        system_ = std::make_unique<fake::SystemCalls>();
        Access::playerState(dmr()) = 1;
        Access::visible(dmr()) = 0;
        KetraSrv_DLNADMR::DestroyInstance();
    }
    KetraSrv_DLNADMR::m_pid_tDMR_PID = 0;
    output_ = nullptr;
    system_ = nullptr;
    session_ = nullptr;
}

void Renderer::report(const PlayerReport& report) {
    KetraSrv_DLNADMR::ContentPlayerServiceEventCallback(&report.record, &dmr());
}

void Renderer::report(const RendererReport& report) {
    KetraSrv_DLNADMR::MediaRendererServiceEventCallback(&report.record, &dmr());
}

Calls Renderer::calls() {
    using fake::Kind;
    const Calls found =
        fake::Journal::instance().lines({Kind::kCommand, Kind::kWrite, Kind::kPost, Kind::kSystem});
    fake::Journal::instance().clear();
    return found;
}

std::string Renderer::printed() {
    return output_->take();
}

std::string Renderer::show(unsigned long event, unsigned long parameter) {
    if (onPost_) {
        onPost_();
    }
    const auto isAt = [parameter](const void* address) {
        return parameter == reinterpret_cast<unsigned long>(address);
    };
    if (event == 16 && isAt(&Access::request(dmr()))) {
        const DMRAuthRequest& request = Access::request(dmr());
        return std::to_string(request.m_u32RequestId) + " " + request.m_strTitle + " " +
               request.m_strMIME + " " + request.m_strDMC;
    }
    if (isAt(&Access::movieInfo(dmr()))) {
        return "movie-info";
    }
    if (isAt(&Access::musicInfo(dmr()))) {
        return "music-info";
    }
    if (isAt(&Access::photoMetadata(dmr()))) {
        return "photo-text";
    }
    if (isAt(&Access::fileInit(dmr()))) {
        return "file-init";
    }
    return std::to_string(parameter);
}

} // namespace dmrtest
