// Who may control the renderer: the viewer's policy, and what becomes of a controller's request.
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/printed.h"
#include "DMR/support/renderer_fixture.h"
#include "DMR/support/reports.h"

namespace {

using dmrtest::Calls;
using dmrtest::daemonCommand;
using dmrtest::daemonWrite;
using dmrtest::RendererReport;
using dmrtest::trace;

const auto kUnnamed = static_cast<EN_DMR_AUTH_STATE>(2);

std::string logged(const std::string& message) {
    return trace("MediaRendererServiceEventCallback", message);
}
/// The policy as it is written to the daemon.
std::string written(const std::string& policy) {
    return daemonWrite("mPlayerControlAuthorization", policy);
}
std::string changed(const std::string& word, int policy) {
    return trace("ChangeAuthState", word) +
           trace("ChangeAuthState", "AuthState change to " + std::to_string(policy) + "\n");
}
std::string later(const std::string& word, int policy) {
    return (word.empty() ? "" : trace("ChangeAuthState", word)) +
           trace("ChangeAuthState", "AuthState will change to " + std::to_string(policy) +
                                        " later (after DMR launched done)\n");
}
/// The request's event, with what it showed when it was posted.
std::string asked(const std::string& type, const std::string& shown) {
    return "PostEvent(all, " + type + ", 16, {" + shown + "})";
}
std::string authorized(unsigned long id) {
    return daemonCommand("authorize_operation", id);
}
/// What follows the classification of a request, when the viewer is asked.
std::string end(const std::string& controller) {
    return ">CurReq.DMC=" + controller + "\n>mControllerId=" + controller + "\n";
}

class APolicy : public dmrtest::Renderer {};

TEST_F(APolicy, IsToAskOnAFreshService) {
    EXPECT_EQ(dmr().GetCurrentAuthState(), EN_DMR_ASKDEFAULTDENIED);
    EXPECT_EQ(printed(), trace("GetCurrentAuthState", "eAuthState=3"));
}

TEST_F(APolicy, OfEveryValueIsWrittenAndStored) {
    const struct {
        EN_DMR_AUTH_STATE policy;
        EN_DMR_AUTH_STATE stored;
        const char* text;
        const char* word;
    } rows[] = {{EN_DMR_AUTH, EN_DMR_AUTH, "0", "EN_DMR_AUTH"},
                {EN_DMR_DENIED, EN_DMR_DENIED, "1", "EN_DMR_DENIED"},
                {kUnnamed, EN_DMR_ASKDEFAULTDENIED, "3", "EN_DMR_ASKDEFAULTDENIED"},
                {EN_DMR_ASKDEFAULTDENIED, EN_DMR_ASKDEFAULTDENIED, "3", "EN_DMR_ASKDEFAULTDENIED"}};
    for (const auto& row : rows) {
        EXPECT_EQ(dmr().ChangeAuthState(row.policy), row.stored);
        EXPECT_EQ(printed(), changed(row.word, row.stored));
        EXPECT_EQ(calls(), Calls({written(row.text)}));
        EXPECT_EQ(dmr().GetCurrentAuthState(), row.stored);
        EXPECT_EQ(printed(),
                  trace("GetCurrentAuthState", "eAuthState=" + std::to_string(row.stored)));
    }
}

TEST_F(APolicy, OutOfRangeIsLoggedAndChangesNothing) {
    dmr().ChangeAuthState(EN_DMR_DENIED);
    printed();
    calls();
    for (const int bad : {4, -1, 1000, -2147483647 - 1}) {
        EXPECT_EQ(dmr().ChangeAuthState(static_cast<EN_DMR_AUTH_STATE>(bad)), EN_DMR_DENIED);
        EXPECT_EQ(printed(), trace("ChangeAuthState", "setState=" + std::to_string(bad)));
        EXPECT_EQ(calls(), Calls());
    }
}

TEST_F(APolicy, CountsAsWrittenEvenIfTheDaemonRefusesIt) {
    fake::failAlways(fake::Failable::kSetValue);
    EXPECT_EQ(dmr().ChangeAuthState(EN_DMR_AUTH), EN_DMR_AUTH);
    EXPECT_EQ(printed(), changed("EN_DMR_AUTH", 0));
}

TEST_F(APolicy, WithoutAConnectionIsStoredForLater) {
    const WithoutManager without(*this);
    EXPECT_EQ(dmr().ChangeAuthState(EN_DMR_DENIED), EN_DMR_DENIED);
    EXPECT_EQ(printed(), later("EN_DMR_DENIED", 1));
    EXPECT_EQ(dmr().ChangeAuthState(kUnnamed), EN_DMR_ASKDEFAULTDENIED);
    EXPECT_EQ(printed(), later("EN_DMR_ASKDEFAULTDENIED", 3));
    EXPECT_EQ(calls(), Calls());
}

TEST_F(APolicy, WithoutALinkIsStoredAsItIs) {
    const WithoutLink without(*this);
    EXPECT_EQ(dmr().ChangeAuthState(kUnnamed), kUnnamed);
    EXPECT_EQ(Access::policy(dmr()), kUnnamed);
    EXPECT_EQ(printed(), later("", 2));
    EXPECT_EQ(dmr().ChangeAuthState(EN_DMR_AUTH), EN_DMR_AUTH);
    EXPECT_EQ(printed(), later("", 0));
    EXPECT_EQ(calls(), Calls());
}

// The viewer's answer

class AnAnswer : public dmrtest::Renderer {};

TEST_F(AnAnswer, ThatAdmitsSendsTheRequestsIdAndOpensTheRenderersScreen) {
    Access::request(dmr()).m_u32RequestId = 4294967295u;
    dmr().DMR_MNG_authorizeDMRSrv();
    EXPECT_EQ(printed(), trace("DMR_MNG_authorizeDMRSrv"));
    EXPECT_EQ(calls(), Calls({authorized(4294967295ul)}));
    EXPECT_EQ(Access::inRendererUI(dmr()), 1);
}

TEST_F(AnAnswer, ThatRefusesSendsTheRequestsIdAndLeavesTheScreenAlone) {
    for (const BOOL inUI : {BOOL{0}, BOOL{1}}) {
        Access::inRendererUI(dmr()) = inUI;
        Access::request(dmr()).m_u32RequestId = 7;
        dmr().DMR_MNG_refuseDMRSrv();
        EXPECT_EQ(printed(), trace("DMR_MNG_refuseDMRSrv"));
        EXPECT_EQ(calls(), Calls({daemonCommand("deny_operation", 7ul)}));
        EXPECT_EQ(Access::inRendererUI(dmr()), inUI);
    }
}

TEST_F(AnAnswer, BeforeAnyRequestNamesRequestZero) {
    dmr().DMR_MNG_refuseDMRSrv();
    EXPECT_EQ(calls(), Calls({daemonCommand("deny_operation", 0ul)}));
}

TEST_F(AnAnswer, WithoutALinkDoesNothing) {
    const WithoutLink without(*this);
    dmr().DMR_MNG_authorizeDMRSrv();
    dmr().DMR_MNG_refuseDMRSrv();
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(Access::inRendererUI(dmr()), 0);
}

TEST_F(AnAnswer, WithoutAConnectionStillOpensTheScreen) {
    const WithoutManager without(*this);
    dmr().DMR_MNG_authorizeDMRSrv();
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(Access::inRendererUI(dmr()), 1);
}

TEST_F(AnAnswer, IsFollowedByLeavingTheScreenSilently) {
    Access::inRendererUI(dmr()) = 1;
    dmr().LeaveDMRUI();
    EXPECT_EQ(Access::inRendererUI(dmr()), 0);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

// Name, policy and visibility in the daemon's report

class ARendererReport : public dmrtest::Renderer {};

TEST_F(ARendererReport, ThatIsNullIsLogged) {
    KetraSrv_DLNADMR::MediaRendererServiceEventCallback(nullptr, &dmr());
    EXPECT_EQ(printed(), logged("MediaRendererServiceEventCallback: pService == NULL\n"));
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARendererReport, WithANewNameIsPrintedAndRemembered) {
    report(RendererReport().name("TV"));
    EXPECT_EQ(printed(), "FriendName= pService->mFriendlyName=TV\n");
    report(RendererReport().name("TV"));
    EXPECT_EQ(printed(), "");
    report(RendererReport().name("Other"));
    EXPECT_EQ(printed(), "FriendName=TV pService->mFriendlyName=Other\n");
    std::string name;
    dmr().DMR_GetDeviceName(name);
    EXPECT_EQ(name, "Other");
    EXPECT_EQ(printed(), trace("DMR_GetDeviceName"));
}

TEST_F(ARendererReport, InAnotherRoleOnlyBringsTheName) {
    for (const int role : {0, 1, 3}) {
        Access::role(dmr()) = static_cast<EN_DLNA_DEV>(role);
        Access::friendlyName(dmr()) = "";
        report(RendererReport().name("TV").policy(0).visible().request(7, "c", "t", "video/mp4"));
        EXPECT_EQ(printed(), "FriendName= pService->mFriendlyName=TV\n");
        EXPECT_EQ(calls(), Calls());
        EXPECT_EQ(Access::visible(dmr()), 0);
        EXPECT_EQ(Access::request(dmr()).m_u32RequestId, 0u);
    }
}

TEST_F(ARendererReport, WithAnotherPolicyIsAnsweredWithOurs) {
    for (const std::int16_t theirs : {0, 1, 2, -1, 32767}) {
        report(RendererReport().policy(theirs));
        EXPECT_EQ(printed(), "Original State = " + std::to_string(theirs) + " change to 3\n" +
                                 changed("EN_DMR_ASKDEFAULTDENIED", 3));
        EXPECT_EQ(calls(), Calls({written("3")}));
    }
    report(RendererReport().policy(3));
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARendererReport, BringsAPolicyThatHadToWait) {
    {
        const WithoutManager without(*this);
        dmr().ChangeAuthState(EN_DMR_DENIED);
        printed();
    }
    report(RendererReport().policy(3));
    EXPECT_EQ(printed(), "Original State = 3 change to 1\n" + changed("EN_DMR_DENIED", 1));
    EXPECT_EQ(calls(), Calls({written("1")}));
}

TEST_F(ARendererReport, IsVisibleForExactlyOne) {
    for (const std::int16_t flag : {1, 0, 2, -1, 256}) {
        Access::visible(dmr()) = flag == 1 ? 0 : 1;
        report(RendererReport().visible(flag));
        EXPECT_EQ(dmr().DMR_MNG_Get_DMRVisibleFlag(), flag == 1 ? 1 : 0) << flag;
    }
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARendererReport, AfterARenameRestoresAVisibleRenderer) {
    Access::renaming(dmr()) = 1;
    Access::savedVisible(dmr()) = 1;
    report(RendererReport().visible());
    EXPECT_EQ(Access::visible(dmr()), 1);
    EXPECT_EQ(Access::renaming(dmr()), 0);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARendererReport, AfterARenameHidesARendererThatWasHidden) {
    Access::renaming(dmr()) = 1;
    Access::savedVisible(dmr()) = 0;
    report(RendererReport().visible());
    EXPECT_EQ(Access::visible(dmr()), 0);
    EXPECT_EQ(Access::renaming(dmr()), 0);
    EXPECT_EQ(printed(), trace("DMR_MNG_set_DMR_Hide"));
    EXPECT_EQ(calls(), Calls({daemonWrite("mfVisible", "0")}));
    report(RendererReport().visible());
    EXPECT_EQ(Access::visible(dmr()), 1) << "only the first visible report belongs to the rename";
}

TEST_F(ARendererReport, ThatIsInvisibleDoesNotEndARename) {
    Access::renaming(dmr()) = 1;
    Access::savedVisible(dmr()) = 1;
    Access::visible(dmr()) = 1;
    report(RendererReport());
    EXPECT_EQ(Access::visible(dmr()), 0);
    EXPECT_EQ(Access::renaming(dmr()), 1);
}

// Requests

class ARequest : public dmrtest::Renderer {
protected:
    DMRAuthRequest& current() { return Access::request(dmr()); }
};

TEST_F(ARequest, IsStoredAndPutToTheViewer) {
    report(RendererReport().request(7, "phone", "A Film", "video/mp4"));
    EXPECT_EQ(printed(), logged("mAuthorizationRequestsCount=1") + logged("mRequestId: 7") +
                             logged("ReqfromDMC: phone") + logged("Title: A Film") +
                             logged("MIME: video/mp4") +
                             logged("PostEvent:MM_REQ_TO_AUTH, title=A Film") + end("phone"));
    EXPECT_EQ(calls(), Calls({asked("0x20002006", "7 A Film video/mp4 phone")}));
    EXPECT_EQ(current().m_u32RequestId, 7u);
    EXPECT_EQ(current().m_strTitle, "A Film");
    EXPECT_EQ(current().m_strMIME, "video/mp4");
    EXPECT_EQ(current().m_strDMC, "phone");
}

TEST_F(ARequest, IsHandedOutByTheAddressOfTheServicesOwn) {
    report(RendererReport().request(7, "phone", "A Film", "video/mp4"));
    ASSERT_EQ(posts().size(), 1u);
    EXPECT_EQ(posts().front().parameter, reinterpret_cast<unsigned long>(&current()));
}

TEST_F(ARequest, IsClassifiedByTheLastOfThreeWordsInItsType) {
    const struct {
        const char* mime;
        U32 type;
    } rows[] = {{"video/mp4", 0x20002006},   {"audio/mpeg", 0x20002007},
                {"image/jpeg", 0x20002008},  {"video/x-audio", 0x20002007},
                {"audio video", 0x20002007}, {"image audio video", 0x20002008},
                {"x-image", 0x20002008},     {"application/octet-stream", 0x20002099},
                {"VIDEO/mp4", 0x20002099},   {" ", 0x20002099}};
    std::uint32_t id = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mime);
        Access::mediaType(dmr()) = 0x20002099;
        report(RendererReport().request(++id, "c", "t", row.mime));
        EXPECT_EQ(Access::mediaType(dmr()), row.type);
        ASSERT_FALSE(posts().empty());
        EXPECT_EQ(posts().back().type, row.type);
    }
}

TEST_F(ARequest, WithoutTitleOrTypeIsAVideoAndIsPutToTheViewerWithTheOldTexts) {
    report(RendererReport().request(1, "first", "Song", "audio/mpeg"));
    printed();
    calls();
    const struct {
        const char* title;
        const char* mime;
    } rows[] = {{"", "audio/mpeg"}, {"New", ""}, {"", ""}};
    std::uint32_t id = 1;
    for (const auto& row : rows) {
        Access::mediaType(dmr()) = 0x20002008;
        const std::string number = std::to_string(++id);
        report(RendererReport().request(id, "second", row.title, row.mime));
        EXPECT_EQ(printed(), logged("mAuthorizationRequestsCount=1") +
                                 logged("mRequestId: " + number) + logged("ReqfromDMC: second") +
                                 logged("ReqMIME contains no MIME\n") +
                                 logged("PostEvent:MM_REQ_TO_AUTH, title=Song") + end("second"));
        EXPECT_EQ(calls(), Calls({asked("0x20002006", number + " Song audio/mpeg second")}));
    }
}

TEST_F(ARequest, ReportedTwiceIsPutToTheViewerOnce) {
    report(RendererReport().request(7, "phone", "A Film", "video/mp4"));
    printed();
    calls();
    report(RendererReport().request(7, "other", "B", "image/jpeg", kRequestPostponed));
    EXPECT_EQ(printed(), logged("mAuthorizationRequestsCount=1"));
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(current().m_strTitle, "A Film");
}

TEST_F(ARequest, IsTheFirstOfTheList) {
    report(RendererReport().request(7, "a", "t", "video/mp4").request(8, "b", "u", "image/png"));
    EXPECT_EQ(current().m_u32RequestId, 7u);
    EXPECT_EQ(posts().size(), 1u);
    EXPECT_NE(printed().find("mAuthorizationRequestsCount=2"), std::string::npos);
}

TEST_F(ARequest, InAnyStateOfItsOwnIsPutToTheViewer) {
    std::uint32_t id = 0;
    for (const std::uint16_t state : {0, 1, 2, 3, 4, 5}) {
        report(RendererReport().request(++id, "a", "t", "video/mp4", state));
        EXPECT_EQ(calls().size(), 1u) << state;
    }
}

TEST_F(ARequest, WithoutAnIdIsNoRequest) {
    Access::inRendererUI(dmr()) = 1;
    report(RendererReport().request(0, "a", "t", "video/mp4"));
    EXPECT_EQ(printed(), logged("mAuthorizationRequestsCount=1"));
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ARequest, OfALargeIdIsWrittenInThirtyTwoBits) {
    for (const std::uint32_t id : {2147483648u, 4294967295u}) {
        report(RendererReport().request(id, "a", "t", "video/mp4"));
        EXPECT_NE(printed().find(logged("mRequestId: " + std::to_string(id))), std::string::npos);
        EXPECT_EQ(current().m_u32RequestId, id);
    }
}

TEST_F(ARequest, ThatIsCountedButMissingChangesNothing) {
    RendererReport counted;
    counted.record.mAuthorizationRequestsCount = 2;
    report(counted);
    EXPECT_EQ(calls(), Calls());
    EXPECT_EQ(current().m_u32RequestId, 0u);
}

TEST_F(ARequest, UnderAnotherPolicyIsRecordedButNotPutToTheViewer) {
    std::uint32_t id = 0;
    for (const auto policy : {EN_DMR_AUTH, EN_DMR_DENIED}) {
        Access::policy(dmr()) = policy;
        report(RendererReport()
                   .policy(static_cast<std::int16_t>(policy))
                   .request(++id, "phone", "A Film", "video/mp4"));
        EXPECT_EQ(printed(), logged("mAuthorizationRequestsCount=1") +
                                 logged("mRequestId: " + std::to_string(id)) +
                                 logged("ReqfromDMC: phone") + logged("Title: A Film") +
                                 logged("MIME: video/mp4") +
                                 ">>>eAuthState=" + std::to_string(policy) + "\n" + end("phone"));
        EXPECT_EQ(calls(), Calls());
        EXPECT_EQ(current().m_u32RequestId, id);
    }
}

TEST_F(ARequest, WhileTheRenderersScreenIsUpIsAdmittedEveryTime) {
    Access::inRendererUI(dmr()) = 1;
    current().m_strTitle = "old";
    for (int round = 0; round < 2; ++round) {
        report(RendererReport().request(7, "phone", "A Film", "video/mp4"));
        EXPECT_EQ(printed(), logged("mAuthorizationRequestsCount=1") + logged("mRequestId: 7") +
                                 trace("DMR_MNG_authorizeDMRSrv"));
        EXPECT_EQ(calls(), Calls({authorized(7)}));
        EXPECT_EQ(current().m_u32RequestId, 7u);
        EXPECT_EQ(current().m_strTitle, "old");
        EXPECT_EQ(current().m_strDMC, "");
    }
}

TEST_F(ARequest, AfterTheScreenWasLeftIsPutToTheViewerOnlyIfItIsNew) {
    Access::inRendererUI(dmr()) = 1;
    report(RendererReport().request(7, "phone", "A Film", "video/mp4"));
    dmr().LeaveDMRUI();
    calls();
    report(RendererReport().request(7, "phone", "A Film", "video/mp4"));
    EXPECT_EQ(calls(), Calls());
    report(RendererReport().request(8, "phone", "A Film", "video/mp4"));
    EXPECT_EQ(calls().size(), 1u);
}

TEST_F(ARequest, WithNullTextsIsAVideoFromNobody) {
    RendererReport bare;
    bare.request(7, "", "", "");
    bare.firstRequest().mMediaTitle = nullptr;
    bare.firstRequest().mMediaMimeType = nullptr;
    bare.firstRequest().mControllerId = nullptr;
    bare.record.mFriendlyName = nullptr;
    report(bare);
    EXPECT_EQ(Access::mediaType(dmr()), 0x20002006u);
    EXPECT_EQ(current().m_strDMC, "");
    EXPECT_EQ(calls(), Calls({asked("0x20002006", "7   ")}));
}

TEST_F(ARequest, ComesAfterNamePolicyAndVisibility) {
    Access::renaming(dmr()) = 1;
    report(RendererReport().name("TV").policy(0).visible().request(7, "phone", "F", "video/mp4"));
    EXPECT_EQ(printed(), "FriendName= pService->mFriendlyName=TV\n"
                         "Original State = 0 change to 3\n" +
                             changed("EN_DMR_ASKDEFAULTDENIED", 3) + trace("DMR_MNG_set_DMR_Hide") +
                             logged("mAuthorizationRequestsCount=1") + logged("mRequestId: 7") +
                             logged("ReqfromDMC: phone") + logged("Title: F") +
                             logged("MIME: video/mp4") +
                             logged("PostEvent:MM_REQ_TO_AUTH, title=F") + end("phone"));
    EXPECT_EQ(calls(), Calls({written("3"), daemonWrite("mfVisible", "0"),
                              asked("0x20002006", "7 F video/mp4 phone")}));
}

} // namespace
