#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fake/platform.h"

namespace {

using Lines = std::vector<std::string>;

class TheFakeMiddleware : public testing::Test {
protected:
    fake::Session session;
    KetraSrv service;
};

TEST_F(TheFakeMiddleware, CopiesWhatAParameterShowsWhenItIsPosted) {
    std::string title = "first";
    fake::inspectEvent(16, [](unsigned long parameter) {
        return "title=" + *reinterpret_cast<std::string*>(parameter);
    });
    service.PostEvent(nullptr, 0x20002006, 16, reinterpret_cast<unsigned long>(&title));
    title = "second";
    service.PostEvent(nullptr, 0x20002006, 5, 0);
    EXPECT_EQ(fake::Journal::instance().lines(),
              (Lines{"PostEvent(all, 0x20002006, 16, {title=first})",
                     "PostEvent(all, 0x20002006, 5, 0)"}));
    ASSERT_EQ(fake::postedEvents().size(), 2U);
    EXPECT_EQ(fake::postedEvents()[0].shown, "title=first");
    EXPECT_EQ(fake::postedEvents()[1].event, 5U);
}

TEST_F(TheFakeMiddleware, TakesNoEventWhenToldToFail) {
    fake::failNext(fake::Failable::kPostEvent);
    EXPECT_EQ(service.PostEvent(nullptr, 1, 2, 3), FALSE);
    EXPECT_EQ(service.PostEvent(nullptr, 1, 2, 3), TRUE);
    EXPECT_EQ(fake::postedEvents().size(), 1U);
}

} // namespace
