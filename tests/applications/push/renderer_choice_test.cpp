#include "renderer_choice.h"

#include <gtest/gtest.h>

namespace {

using push::Choice;
using push::chooseRenderer;
using push::RendererName;

const std::vector<RendererName> kHouse = {
    {"Living Room", "uuid:11111111-aaaa"}, {"Living Room Left", "uuid:22222222-bbbb"},
    {"Küche", "uuid:33333333-cccc"},       {"Bedroom", "uuid:44444444-dddd"},
    {"Bedroom", "uuid:55555555-eeee"},
};

using Indexes = std::vector<std::size_t>;

TEST(AChoice, IsNoneWhereNothingAnswered) {
    EXPECT_EQ(chooseRenderer({}, "").kind, Choice::Kind::kNone);
    EXPECT_EQ(chooseRenderer({}, "Living Room").kind, Choice::Kind::kNone);
}

TEST(AChoice, IsTheOnlyRendererWhenNoNameIsGiven) {
    const Choice choice = chooseRenderer({kHouse[2]}, "");
    EXPECT_EQ(choice.kind, Choice::Kind::kOne);
    EXPECT_EQ(choice.candidates, Indexes{0});
    EXPECT_FALSE(choice.isCertain);
}

TEST(AChoice, IsAmbiguousWhenNoNameIsGivenAndSeveralAnswered) {
    const Choice choice = chooseRenderer(kHouse, "");
    EXPECT_EQ(choice.kind, Choice::Kind::kAmbiguous);
    EXPECT_EQ(choice.candidates.size(), kHouse.size());
}

TEST(AChoice, PrefersTheWholeNameToAPart) {
    EXPECT_EQ(chooseRenderer(kHouse, "Living Room").candidates, Indexes{0});
    EXPECT_EQ(chooseRenderer(kHouse, "living room").candidates, Indexes{0});
}

TEST(AChoice, TakesAPartOfANameInLettersOfEitherCase) {
    EXPECT_EQ(chooseRenderer(kHouse, "left").candidates, Indexes{1});
    EXPECT_EQ(chooseRenderer(kHouse, "KÜCH").candidates, Indexes{2});
    EXPECT_EQ(chooseRenderer(kHouse, "living").candidates, (Indexes{0, 1}));
}

TEST(AChoice, IsAmbiguousBetweenTwoOfTheSameName) {
    const Choice choice = chooseRenderer(kHouse, "Bedroom");
    EXPECT_EQ(choice.kind, Choice::Kind::kAmbiguous);
    EXPECT_EQ(choice.candidates, (Indexes{3, 4}));
}

TEST(AChoice, IsCertainByUuidOnly) {
    for (const char* uuid : {"uuid:55555555-eeee", "55555555-EEEE"}) {
        const Choice choice = chooseRenderer(kHouse, uuid);
        EXPECT_EQ(choice.candidates, Indexes{4}) << uuid;
        EXPECT_TRUE(choice.isCertain) << uuid;
    }
}

TEST(AChoice, IsUnknownWhenNoNameFits) {
    EXPECT_EQ(chooseRenderer(kHouse, "Garage").kind, Choice::Kind::kUnknown);
    EXPECT_EQ(chooseRenderer(kHouse, "\xFF\xFE").kind, Choice::Kind::kUnknown);
}

} // namespace
