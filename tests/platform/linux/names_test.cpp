#include "statebus/names.h"

#include <gtest/gtest.h>

using namespace statebus;

TEST(AStatesName, OnTheBusIsItsTypeAndItsInstance) {
    EXPECT_EQ(busName({"ContentPlayerService", "main"}), "tv.sbus.ContentPlayerService.main");
    EXPECT_EQ(objectPath({"ContentPlayerService", "main"}), "/tv/sbus/ContentPlayerService/main");
    EXPECT_EQ(busName({"MediaRendererService", ""}), "tv.sbus.MediaRendererService");
    EXPECT_EQ(objectPath({"MediaRendererService", ""}), "/tv/sbus/MediaRendererService");
}

TEST(AStatesName, EscapesWhatIsNotLegalOnTheBus) {
    EXPECT_EQ(busName({"SoundService", "7up"}), "tv.sbus.SoundService._37up");
    EXPECT_EQ(busName({"SoundService", "a.b$c"}), "tv.sbus.SoundService.a_2eb_24c");
}

TEST(AStatesName, ComesBackAsItWas) {
    for (const char* instance : {"", "main", "7up", "a.b$c", "_", "a b/c", "\xC3\xA9", "\xFF"}) {
        const StateName name{"SoundService", instance};
        EXPECT_EQ(fromBusName(*busName(name)), name) << instance;
        EXPECT_EQ(fromObjectPath(objectPath(name)), name) << instance;
        EXPECT_EQ(splitFullName(fullName(name)), name) << instance;
    }
}

TEST(AStatesName, IsCutAtTheFirstDollar) {
    EXPECT_EQ(splitFullName("A$b$c"), (StateName{"A", "b$c"}));
    EXPECT_EQ(splitFullName("A$"), (StateName{"A", ""}));
    EXPECT_EQ(splitFullName("A"), (StateName{"A", ""}));
}

TEST(AStatesName, MustFitIntoABusName) {
    EXPECT_EQ(busName({"", "main"}), std::nullopt);
    EXPECT_EQ(busName({"SoundService", std::string(250, 'a')}), std::nullopt);
    EXPECT_NE(busName({"SoundService", std::string(200, 'a')}), std::nullopt);
}

TEST(ABusName, OfSomebodyElseIsNoState) {
    for (const char* name : {"", "tv.sbus", "tv.sbus.", "tv.sbusA", ":1.5", "org.freedesktop.DBus",
                             "tv.sbus.A.b.c", "tv.sbus.A.", "tv.sbus..b"})
        EXPECT_EQ(fromBusName(name), std::nullopt) << name;
    for (const char* path : {"", "/", "/tv/sbus", "/tv/sbus/", "/tv/sbus/A/b/c", "/org/a"})
        EXPECT_EQ(fromObjectPath(path), std::nullopt) << path;
}
