#include "statebus/message.h"

#include <gtest/gtest.h>

using namespace statebus;

// Only what needs no connection; whole messages are tested against a bus.

TEST(ABusText, IsUtf8) {
    for (const char* text : {"", "plain", "caf\xC3\xA9", "\xE2\x82\xAC", "\xEE\x82\x8A",
                             "\xF0\x9F\x8E\xAC", "\xF4\x8F\xBF\xBD"})
        EXPECT_TRUE(isBusText(text)) << text;
}

TEST(ABusText, IsNothingElse) {
    const char* const texts[] = {
        "caf\xE9",          // Latin-1
        "\x80",             // continuation alone
        "\xC3",             // cut off
        "\xE2\x82",         // cut off
        "\xC0\x80",         // overlong
        "\xE0\x80\x80",     // overlong
        "\xED\xA0\x80",     // surrogate
        "\xF4\x90\x80\x80", // beyond Unicode
        "\xF8\x88\x80\x80\x80",
        "\xEF\xBF\xBE", // noncharacter
        "\xEF\xB7\x90", // noncharacter
        "\xFF",
    };
    for (const char* text : texts)
        EXPECT_FALSE(isBusText(text)) << text;
    EXPECT_FALSE(isBusText(std::string_view("a\0b", 3)));
}
