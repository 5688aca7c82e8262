// What a faulty player or daemon can hand over: texts and arrays that end where they end, fields
// without a value, numbers at their edges. Nothing is read that is not there, and what cannot be
// used changes nothing.
#include <climits>
#include <csignal>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DMR/support/guarded.h"
#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"

namespace {

using dmrtest::Calls;
using dmrtest::GuardedMemory;
using dmrtest::PlayerReport;
using dmrtest::post;
using dmrtest::RendererReport;

class BadInput : public dmrtest::Renderer {
protected:
    void player(const ContentPlayerService& record) {
        KetraSrv_DLNADMR::ContentPlayerServiceEventCallback(&record, &dmr());
    }
    void renderer(const MediaRendererService& record) {
        KetraSrv_DLNADMR::MediaRendererServiceEventCallback(&record, &dmr());
    }
    ConsoleStatusMon& link() { return *Access::link(dmr()); }
    GuardedMemory guarded_;
};

using GuardedMemoryDeathTest = BadInput;
using ATextOfAPlayer = BadInput;
using ATextOfARequest = BadInput;
using TheRequests = BadInput;
using AState = BadInput;
using ARequestId = BadInput;
using AMissingText = BadInput;

TEST_F(GuardedMemoryDeathTest, KillsWhoReadsAByteTooFar) {
    const volatile char* const text = guarded_("text");
    EXPECT_EQ(text[4], '\0');
    EXPECT_EXIT((void)text[5], [](int status) { return status != 0; }, "");
}

TEST_F(ATextOfAPlayer, IsReadToItsEndAndNoFurther) {
    const std::string longText(5000, 'x');
    const std::vector<std::string> profiles = {
        "video",
        "vide",
        "audio;DLNA.ORG_O",
        "image;DLNA.ORG_OP",
        "video;DLNA.ORG_OP=",
        "video;DLNA.ORG_OP=1",
        "video;DLNA.ORG_OP= -",
        longText + "video",
    };
    const std::vector<std::string> infos = {"",
                                            "M",
                                            "MetadataStr",
                                            "MetadataStr=",
                                            "xMetadataStr=",
                                            "MetadataStr=title:",
                                            "MetadataStr=title:\xEE",
                                            "MetadataStr=title:\xEE\x82",
                                            "MetadataStr=image-type:",
                                            "MetadataStr=frame-rate:" + longText,
                                            longText + "MetadataStr="};
    const std::vector<std::string> speeds = {"", "-", "1", "1/", "1/3", longText};
    std::string answer;
    for (int state = -1; state <= 6; ++state) {
        for (const std::string& profile : profiles) {
            for (const std::string& info : infos) {
                PlayerReport report(state);
                report.record.mTrack.mDLNAProfile = guarded_(profile);
                report.record.mTrack.mTitle = guarded_(info);
                report.record.mInfoStr = guarded_(info);
                report.record.mPlayback.mSpeed = guarded_(speeds[info.size() % speeds.size()]);
                const auto* const record = static_cast<const ContentPlayerService*>(
                    guarded_.copy(&report.record, sizeof report.record));
                player(*record);
                for (int item = 4; item <= 49; ++item) {
                    dmr().MediaPlayer_GetMetaData(static_cast<EN_INFO_METADATA>(item), answer);
                }
                dmr().MediaPlayer_GetAudioTrackIndex();
            }
        }
    }
    EXPECT_EQ(Access::playerState(dmr()), 5u) << "the last state there is";
}

TEST_F(ATextOfARequest, IsReadToItsEndAndNoFurther) {
    std::uint32_t id = 0;
    for (const char* const text :
         {"", "v", "video", "video/mp4", "a text that is no type at all"}) {
        MediaRendererAuthorizationRequest request{};
        request.mRequestId = ++id;
        request.mState = kRequestRequested;
        request.mControllerId = guarded_(text);
        request.mMediaMimeType = guarded_(text);
        request.mMediaTitle = guarded_(text);
        MediaRendererService record{};
        record.mFriendlyName = guarded_(text);
        record.mAuthorizationRequestsCount = 1;
        record.mAuthorizationRequests = guarded_.array(std::vector{request});
        renderer(record);
        EXPECT_EQ(Access::request(dmr()).m_u32RequestId, id);
        EXPECT_EQ(Access::request(dmr()).m_strDMC, text);
        EXPECT_EQ(Access::friendlyName(dmr()), text);
    }
}

TEST_F(TheRequests, AreReadUpToTheirCountAndNoFurther) {
    for (const std::uint16_t count : {1, 2, 1000, 65535}) {
        MediaRendererAuthorizationRequest request{};
        request.mRequestId = count;
        request.mControllerId = guarded_("phone");
        request.mMediaMimeType = guarded_("video/mp4");
        request.mMediaTitle = guarded_("A Film");
        MediaRendererService record{};
        record.mAuthorizationRequestsCount = count;
        record.mAuthorizationRequests =
            guarded_.array(std::vector<MediaRendererAuthorizationRequest>(count, request));
        renderer(record);
        EXPECT_EQ(Access::request(dmr()).m_u32RequestId, count);
        link().DumpMediaRendererService(&record);
        const std::string last = "     " + std::to_string(count - 1) + ":\n";
        EXPECT_NE(fake::consoleOutput().find(last), std::string::npos);
        fake::clearConsole();
    }
}

TEST_F(AState, ThatThereIsNotChangesNothing) {
    Access::playerState(dmr()) = 4;
    Access::trickMode(dmr()) = MM_TRICK_NORMAL;
    Access::positionSec(dmr()) = 7;
    Access::zoom(dmr()) = MM_ZOOM_X4;
    for (const std::int32_t state : {INT_MIN, -1, 0, 6, 255, 65536 + 4, INT_MAX}) {
        report(PlayerReport(state).error(1).position(9).info("MetadataStr=title:x").title("x"));
        EXPECT_EQ(printed(), dmrtest::trace("ContentPlayerServiceEventCallback",
                                            "???mState = " + std::to_string(state)));
        EXPECT_EQ(calls(), Calls());
        EXPECT_EQ(Access::playerState(dmr()), 4u);
        EXPECT_EQ(Access::positionSec(dmr()), 7u);
        EXPECT_EQ(Access::zoom(dmr()), MM_ZOOM_X4);
        EXPECT_EQ(Access::mediaInfo(dmr()), "");
    }
}

TEST_F(ARequestId, OfThirtyTwoBitsGoesThroughUnchanged) {
    for (const std::uint32_t id : {1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
        report(RendererReport().request(id, "phone", "A Film", "video/mp4"));
        EXPECT_EQ(calls(),
                  Calls({post(0x20002006, 16, std::to_string(id) + " A Film video/mp4 phone")}));
        dmr().DMR_MNG_refuseDMRSrv();
        EXPECT_EQ(calls(), Calls({dmrtest::daemonCommand("deny_operation", id)}));
    }
}

TEST_F(AMissingText, OfAPlayerIsMissedByNobody) {
    for (int state = 1; state <= 5; ++state) {
        ContentPlayerService record{};
        record.mState = state;
        player(record);
        EXPECT_EQ(Access::playerState(dmr()), static_cast<U32>(state));
        EXPECT_EQ(Access::trickMode(dmr()), static_cast<U32>(MM_TRICK_NUM));
        EXPECT_EQ(Access::mediaInfo(dmr()), "");
    }
}

TEST_F(AMissingText, OfARequestIsReadAsAnEmptyOne) {
    MediaRendererAuthorizationRequest request{};
    request.mRequestId = 7;
    MediaRendererService record{};
    record.mPlayerControlAuthorization = EN_DMR_ASKDEFAULTDENIED;
    record.mAuthorizationRequestsCount = 1;
    record.mAuthorizationRequests = &request;
    Access::friendlyName(dmr()) = "TV";
    renderer(record);
    EXPECT_EQ(calls(), Calls({post(0x20002006, 16, "7   ")}));
    EXPECT_EQ(Access::friendlyName(dmr()), "");
}

} // namespace
