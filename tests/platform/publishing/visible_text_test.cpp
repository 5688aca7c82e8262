#include "statebus/visible_text.h"

#include <gtest/gtest.h>

namespace {

using statebus::quotedText;
using statebus::visibleText;

TEST(VisibleText, LeavesPrintableUtf8Alone) {
    const std::string text = "Äpfel, 映画, \xf0\x9f\x8e\xac \"x\"";
    EXPECT_EQ(visibleText(text), text);
    EXPECT_EQ(visibleText(""), "");
}

TEST(VisibleText, CannotMoveTheCursor) {
    EXPECT_EQ(visibleText("a\x1b[2Jb\r\n\t\x7f"), "a\\x1b[2Jb\\x0d\\n\\t\\x7f");
    EXPECT_EQ(visibleText("\xc2\x9b"), "\\u009b") << "the one-character form of ESC [";
}

TEST(VisibleText, ShowsWhatCannotBeSeen) {
    EXPECT_EQ(visibleText("a\xee\x82\x8a"), "a\\ue08a");
    EXPECT_EQ(visibleText("\xe2\x80\xae"), "\\u202e") << "turns the writing direction";
    EXPECT_EQ(visibleText("\xef\xbb\xbf"), "\\ufeff");
    EXPECT_EQ(visibleText("a\u200Bb\u200E"), "a\\u200bb\\u200e");
    for (const char* joined : {"\u0645\u06CC\u200C\u062E", "\U0001F468\u200D\U0001F469"}) {
        EXPECT_EQ(visibleText(joined), joined) << "joiners make it what it is";
    }
    EXPECT_EQ(visibleText("\xf4\x8f\xbf\xbf"), "\\U0010ffff");
}

TEST(VisibleText, KeepsForeignBytesApart) {
    EXPECT_EQ(visibleText("caf\xe9!"), "caf\\xe9!");
    EXPECT_EQ(visibleText("\xc3"), "\\xc3") << "cut within a character";
    EXPECT_EQ(visibleText("\xc0\xaf"), "\\xc0\\xaf") << "longer than needed";
    EXPECT_EQ(visibleText("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "a surrogate";
    EXPECT_EQ(visibleText("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80") << "beyond the last one";
    EXPECT_EQ(visibleText("\xff"), "\\xff");
}

TEST(VisibleText, IsUnambiguous) {
    EXPECT_EQ(visibleText("\\n"), "\\\\n");
    EXPECT_EQ(quotedText("say \"x\""), "\"say \\\"x\\\"\"");
    EXPECT_NE(visibleText("\\xe9"), visibleText("\xe9"));
    EXPECT_EQ(visibleText(std::string_view("\0", 1)), "\\x00");
}

} // namespace
