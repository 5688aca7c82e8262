#include "sbus/states.h"

#include <gtest/gtest.h>

namespace {

using sbus::resolve;
using sbus::splitName;
using Kind = sbus::Resolution::Kind;

TEST(SbusStateNames, AreSplitAtTheFirstDollar) {
    EXPECT_EQ(splitName("MediaRendererService").instance, "");
    EXPECT_EQ(splitName("ContentPlayerService$main").type, "ContentPlayerService");
    EXPECT_EQ(splitName("ContentPlayerService$a$b").instance, "a$b");
}

TEST(SbusStateNames, KnowTheThreeStates) {
    EXPECT_NE(sbus::findState("SoundService"), nullptr);
    EXPECT_EQ(sbus::findState("SoundChannel"), nullptr) << "a nested record is no state";
    EXPECT_EQ(sbus::findState(""), nullptr);
}

TEST(SbusStateNames, AFullNameMeansThatInstance) {
    const auto found = resolve("SoundService$b", {"SoundService$a", "SoundService$b"});
    EXPECT_EQ(found.kind, Kind::kFound);
    EXPECT_EQ(found.fullName, "SoundService$b");
}

TEST(SbusStateNames, ATypeNameMeansItsOnlyInstance) {
    const auto found = resolve("SoundService", {"ContentPlayerService$main", "SoundService$main"});
    EXPECT_EQ(found.kind, Kind::kFound);
    EXPECT_EQ(found.fullName, "SoundService$main");
}

TEST(SbusStateNames, ATypeNameMeansTheInstanceWithoutAName) {
    const auto found = resolve("SoundService", {"SoundService", "SoundService$main"});
    EXPECT_EQ(found.kind, Kind::kFound);
    EXPECT_EQ(found.fullName, "SoundService");
}

TEST(SbusStateNames, SeveralInstancesAreAmbiguousAndListed) {
    const auto found = resolve("SoundService", {"SoundService$a", "SoundService$b"});
    EXPECT_EQ(found.kind, Kind::kAmbiguous);
    EXPECT_EQ(found.candidates, (std::vector<std::string>{"SoundService$a", "SoundService$b"}));
}

TEST(SbusStateNames, WhatIsNotThereIsNotFound) {
    EXPECT_EQ(resolve("SoundService", {}).kind, Kind::kNone);
    EXPECT_EQ(resolve("Sound", {"SoundService$main"}).kind, Kind::kNone);
    EXPECT_EQ(resolve("SoundService$x", {"SoundService$main"}).kind, Kind::kNone);
}

} // namespace
