#include "tv/permission.h"

#include <gtest/gtest.h>

namespace {

using tv::Answer;
using tv::AnswerMode;
using tv::Event;
using tv::Permission;
using tv::RendererScreen;

Event request(long long id) {
    Event event;
    event.code = MM_REQ_TO_AUTH;
    event.details = {{"request", id},
                     {"title", std::string("A film")},
                     {"mime", std::string("video/mp4")},
                     {"controller", std::string("phone")}};
    return event;
}

Event plain(std::uint32_t code) {
    Event event;
    event.code = code;
    return event;
}

TEST(AQuestion, IsLeftToThePersonWhenAsking) {
    Permission permission(AnswerMode::kAsk);
    EXPECT_EQ(permission.onRequest(request(3)), Answer::kNone);
    ASSERT_TRUE(permission.open());
    EXPECT_EQ(permission.open()->request, 3U);
    EXPECT_EQ(permission.open()->text(), "phone wants to play \"A film\" (video/mp4). Allow?");
    permission.answered();
    EXPECT_FALSE(permission.open());
}

TEST(AQuestion, IsAnsweredAsTold) {
    EXPECT_EQ(Permission(AnswerMode::kAllow).onRequest(request(1)), Answer::kAllow);
    EXPECT_EQ(Permission(AnswerMode::kDeny).onRequest(request(1)), Answer::kDeny);
    Permission permission(AnswerMode::kAsk);
    permission.setMode(AnswerMode::kDeny);
    EXPECT_EQ(permission.onRequest(request(1)), Answer::kDeny);
}

TEST(AQuestion, MayKnowLittle) {
    Permission permission(AnswerMode::kAsk);
    permission.onRequest(plain(MM_REQ_TO_AUTH));
    EXPECT_EQ(permission.open()->text(), "Somebody wants to play something. Allow?");
}

TEST(AQuestion, CannotBeTurnedAgainstTheTerminal) {
    tv::Question question;
    question.controller = "\x1b[2J";
    question.title = "a\nb";
    question.mime = "\r";
    EXPECT_EQ(question.text(), "\\x1b[2J wants to play \"a\\nb\" (\\x0d). Allow?");
}

TEST(AQuestion, ClosesWhenTheDaemonNoLongerHoldsIt) {
    Permission permission(AnswerMode::kAsk);
    EXPECT_FALSE(permission.onPending({}, 0));
    permission.onRequest(request(3));
    EXPECT_FALSE(permission.onPending({}, 2)) << "the event may be ahead of the record";
    EXPECT_FALSE(permission.onPending({3, 4}, 4));
    EXPECT_TRUE(permission.open());
    EXPECT_TRUE(permission.onPending({4}, 4));
    EXPECT_FALSE(permission.open());
    EXPECT_FALSE(permission.onPending({}, 4));
}

TEST(AQuestion, ClosesAlsoWhenItWasNeverSeenBeingHeld) {
    Permission permission(AnswerMode::kAsk);
    permission.onRequest(request(3));
    EXPECT_TRUE(permission.onPending({}, 3));
}

class TheRendererScreen : public testing::Test {
protected:
    RendererScreen screen_;
    const RendererScreen::Time start_ = std::chrono::steady_clock::now();
};

TEST_F(TheRendererScreen, IsLeftWhenPlaybackHasEnded) {
    for (const std::uint32_t end : {MM_EXIT_OK, MM_EXIT_FORCE, MM_EXIT_ERROR_FILE}) {
        screen_.onAllowed(start_);
        EXPECT_FALSE(screen_.onEvent(plain(MM_FILE_INIT_BEGIN)));
        EXPECT_FALSE(screen_.onEvent(plain(MM_START_PLAY)));
        EXPECT_FALSE(screen_.onEvent(plain(MM_MEDIA_PAUSE)));
        EXPECT_TRUE(screen_.onEvent(plain(end))) << end;
        EXPECT_FALSE(screen_.onEvent(plain(end))) << "once is enough";
    }
}

TEST_F(TheRendererScreen, StaysForAPhotoThatIsShown) {
    screen_.onAllowed(start_);
    EXPECT_FALSE(screen_.onEvent(plain(MM_FILE_INIT_BEGIN)));
    EXPECT_FALSE(screen_.onEvent(plain(MM_PHOTO_DECODE_DONE)));
    EXPECT_TRUE(screen_.onEvent(plain(MM_EXIT_FORCE)));
}

TEST_F(TheRendererScreen, StaysWhenTheMediaBeforeEndsForTheOneThatWasLetIn) {
    screen_.onAllowed(start_);
    EXPECT_FALSE(screen_.onEvent(plain(MM_EXIT_FORCE)));
    EXPECT_FALSE(screen_.onEvent(plain(MM_FILE_INIT_BEGIN)));
    EXPECT_TRUE(screen_.onEvent(plain(MM_EXIT_OK)));
}

TEST_F(TheRendererScreen, IsLeftWhenTheMediaCannotBeOpened) {
    screen_.onAllowed(start_);
    EXPECT_TRUE(screen_.onEvent(plain(MM_EXIT_ERROR_FILE)));
    EXPECT_FALSE(screen_.deadline());
}

TEST_F(TheRendererScreen, IsLeftWhenTheRendererIsHidden) {
    EXPECT_FALSE(screen_.onHidden()) << "it is not shown";
    screen_.onAllowed(start_);
    EXPECT_TRUE(screen_.onHidden());
    EXPECT_FALSE(screen_.deadline());
    EXPECT_FALSE(screen_.onHidden());
}

TEST_F(TheRendererScreen, IsLeftWhenNothingBegins) {
    screen_.onAllowed(start_);
    ASSERT_TRUE(screen_.deadline());
    EXPECT_FALSE(screen_.onTime(*screen_.deadline() - std::chrono::milliseconds(1)));
    EXPECT_TRUE(screen_.onTime(*screen_.deadline()));
    EXPECT_FALSE(screen_.deadline());
}

TEST_F(TheRendererScreen, HasNoDeadlineOncePlaybackBegan) {
    screen_.onAllowed(start_);
    screen_.onEvent(plain(MM_FILE_INIT_BEGIN));
    EXPECT_FALSE(screen_.deadline());
    EXPECT_FALSE(screen_.onTime(start_ + std::chrono::hours(3)));
}

} // namespace
