#include "progress.h"

#include <sstream>

#include <gtest/gtest.h>

#include "printable.h"

namespace {

using push::PositionInfo;
using push::Progress;

TEST(TheProgress, IsALinePerStateWhereNobodyWatches) {
    std::ostringstream out;
    {
        Progress progress(out, false);
        progress.show("TRANSITIONING", {"", "NOT_IMPLEMENTED", "NOT_IMPLEMENTED"});
        progress.show("PLAYING", {"", "0:01:00", "0:00:01"});
        progress.show("PLAYING", {"", "0:01:00", "0:00:02"});
        progress.show("PAUSED_PLAYBACK", {"", "0:01:00", "0:00:02"});
        progress.say("Done.");
    }
    EXPECT_EQ(out.str(), "waiting\nplaying 0:00:01 of 0:01:00\npaused 0:00:02 of 0:01:00\nDone.\n");
}

TEST(TheProgress, IsOneRewrittenLineOnATerminal) {
    std::ostringstream out;
    {
        Progress progress(out, true);
        progress.show("PLAYING", {"", "0:01:00", "0:00:01"});
        progress.show("PLAYING", {"", "0:01:00", "0:00:01"});
        progress.show("PLAYING", {"", "0:01:00", "0:00:02"});
        progress.say("Done.");
    }
    EXPECT_EQ(out.str(), "\r\033[Kplaying 0:00:01 of 0:01:00\r\033[Kplaying 0:00:02 of "
                         "0:01:00\nDone.\n");
}

TEST(TheProgress, ShowsNoTimesThatAreNone) {
    std::ostringstream out;
    {
        Progress progress(out, false);
        progress.show("PLAYING", {"", "\033[2J", "0:00:01"});
        progress.show("\033[2J", {"", "", "x"});
        progress.show("TRANSITIONING", {"", "0:00:00", "0:00:00"});
        progress.show("PLAYING", {"", "0:01:00", "0:00:00"});
    }
    EXPECT_EQ(out.str(), "playing 0:00:01\n?[2J\nwaiting\nplaying 0:00:00 of 0:01:00\n");
}

TEST(TextFromTheNetwork, CannotSteerTheTerminal) {
    EXPECT_EQ(push::printable("a\033[2Jb\r\nc\x9D\xC2\x9B"), "a?[2Jb??c\xEF\xBF\xBD?");
    EXPECT_EQ(push::printable("Küche"), "Küche");
}

} // namespace
