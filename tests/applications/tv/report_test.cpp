#include "tv/report.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using tv::Event;
using tv::Format;
using tv::MediaKind;

Event request() {
    Event event;
    event.code = 16;
    event.name = "MM_REQ_TO_AUTH";
    event.media = MediaKind::kMovie;
    event.details = {
        {"request", 3LL}, {"title", std::string("Say \"x\"\n\x1b[2J")}, {"seek", true}};
    return event;
}

TEST(AnEventLine, IsPlainForPeople) {
    EXPECT_EQ(tv::eventLine(request(), Format::kPlain),
              "event 16 MM_REQ_TO_AUTH movie request=3 title=\"Say \\\"x\\\"\\n\\x1b[2J\" "
              "seek=yes\n");
}

TEST(AnEventLine, IsOneJsonObjectForPrograms) {
    EXPECT_EQ(tv::eventLine(request(), Format::kJson),
              "{\"line\":\"event\",\"code\":16,\"name\":\"MM_REQ_TO_AUTH\",\"media\":\"movie\","
              "\"request\":3,\"title\":\"Say \\\"x\\\"\\n\\u001b[2J\",\"seek\":true}\n");
}

TEST(AnEventLine, StaysJsonWhenATextIsNot) {
    Event event = request();
    event.details = {{"title", std::string("caf\xe9")}};
    const auto object = nlohmann::json::parse(tv::eventLine(event, Format::kJson));
    EXPECT_EQ(object["title"], "caf\xef\xbf\xbd");
}

TEST(AnEventLine, IsANoticeToPeopleWhenThePlayerEndsWithTheTelevision) {
    Event event;
    event.code = 2;
    event.name = "MM_EXIT_ERROR_FILE";
    event.details = {{"error", 120LL}, {"meaning", std::string("player process lost")}};
    EXPECT_EQ(tv::eventLine(event, Format::kPlain),
              "event 2 MM_EXIT_ERROR_FILE none error=120 meaning=\"player process lost\"\n");
    tv::markEndOfPlayer(event);
    EXPECT_EQ(tv::eventLine(event, Format::kPlain),
              "notice the player ended with the television\n");
    EXPECT_EQ(nlohmann::json::parse(tv::eventLine(event, Format::kJson))["error"], 120);
}

TEST(OtherLines, SayWhatTheyAre) {
    EXPECT_EQ(tv::noticeLine("shutting down", Format::kPlain), "notice shutting down\n");
    EXPECT_EQ(tv::problemLine("gone", Format::kJson), "{\"line\":\"problem\",\"text\":\"gone\"}\n");
    EXPECT_EQ(tv::replyLine("seek 10", true, "to 0:10", Format::kPlain),
              "reply seek 10 ok: to 0:10\n");
    EXPECT_EQ(tv::replyLine("rename \x1b[2J", true, "", Format::kPlain),
              "reply rename \\x1b[2J ok\n");
    EXPECT_EQ(tv::replyLine("pause", false, "it is not playing", Format::kJson),
              "{\"line\":\"reply\",\"command\":\"pause\",\"ok\":false,"
              "\"text\":\"it is not playing\"}\n");
    EXPECT_EQ(tv::readyLine("A \"b\"", Format::kPlain), "ready name=\"A \\\"b\\\"\"\n");
}

TEST(AStatusReport, HasEveryFieldInBothForms) {
    tv::Status status;
    status.state = MM_STATE_PLAYING;
    status.media = MediaKind::kMusic;
    status.title = "Song";
    status.position = 5;
    status.speed = MM_TRICK_NORMAL;
    status.name = "TV";
    status.visible = true;
    EXPECT_EQ(tv::statusReport(status, Format::kPlain),
              "status playing music title=\"Song\" position=5 duration=- speed=1x visible=yes "
              "name=\"TV\"\n");
    EXPECT_EQ(tv::statusReport(status, Format::kJson),
              "{\"line\":\"status\",\"state\":\"playing\",\"media\":\"music\",\"title\":\"Song\","
              "\"position\":5,\"duration\":null,\"speed\":\"1x\",\"visible\":true,"
              "\"name\":\"TV\"}\n");
}

class AReport : public testing::Test {
protected:
    AReport() { EXPECT_EQ(pipe2(ends_, O_CLOEXEC | O_NONBLOCK), 0); }
    ~AReport() override {
        close(ends_[0]);
        close(ends_[1]);
    }
    std::string written() {
        char buffer[4096];
        const ssize_t count = read(ends_[0], buffer, sizeof buffer);
        return count > 0 ? std::string(buffer, static_cast<std::size_t>(count)) : "";
    }
    int ends_[2] = {-1, -1};
};

TEST_F(AReport, WritesEachLineAtOnce) {
    tv::Report report(ends_[1], Format::kPlain);
    report.event(request());
    EXPECT_EQ(written().find("event 16 "), 0U);
    report.notice("next");
    EXPECT_EQ(written(), "notice next\n");
}

TEST_F(AReport, HasNoStatusLineOutsideATerminal) {
    tv::Report report(ends_[1], Format::kPlain);
    EXPECT_FALSE(report.hasStatusLine());
    report.setStatusLine("playing");
    EXPECT_EQ(written(), "");
}

TEST_F(AReport, KeepsWordsForPeopleOutOfJson) {
    tv::Report report(ends_[1], Format::kJson);
    report.text("The keyboard is the remote control\n");
    EXPECT_EQ(written(), "");
}

} // namespace
