#include "tv/options.h"

#include <gtest/gtest.h>

namespace {

using tv::AnswerMode;
using tv::Options;
using tv::parseOptions;

Options accepted(const std::vector<std::string>& arguments) {
    auto parsed = parseOptions(arguments);
    if (const auto* problem = std::get_if<std::string>(&parsed)) {
        ADD_FAILURE() << *problem;
        return {};
    }
    return std::get<Options>(parsed);
}

std::string refused(const std::vector<std::string>& arguments) {
    auto parsed = parseOptions(arguments);
    const auto* problem = std::get_if<std::string>(&parsed);
    return problem != nullptr ? *problem : "accepted";
}

TEST(TheCommandLine, AsksWhenNothingIsSaid) {
    const Options options = accepted({});
    EXPECT_EQ(options.answer, AnswerMode::kAsk);
    EXPECT_FALSE(options.json);
    EXPECT_EQ(options.script, "");
    EXPECT_EQ(options.patience.count(), 10);
}

TEST(TheCommandLine, TakesEveryOption) {
    const Options options = accepted(
        {"--deny", "--json", "--script", "-", "--trace", "t.log", "--patience", "3", "--allow"});
    EXPECT_EQ(options.answer, AnswerMode::kAllow) << "the last one holds";
    EXPECT_TRUE(options.json);
    EXPECT_EQ(options.script, "-");
    EXPECT_EQ(options.trace, "t.log");
    EXPECT_EQ(options.patience.count(), 3);
    EXPECT_TRUE(accepted({"--help"}).help);
    EXPECT_TRUE(accepted({"--version"}).version);
    EXPECT_TRUE(accepted({"--verbose"}).verbose);
}

TEST(TheCommandLine, SaysWhatIsWrong) {
    EXPECT_EQ(refused({"--jason"}), "unknown option: --jason");
    EXPECT_EQ(refused({"film.mp4"}), "unknown option: film.mp4");
    EXPECT_EQ(refused({"--script"}), "--script needs a value");
    EXPECT_EQ(refused({"--trace", ""}), "not a value for --trace: ");
    for (const char* value : {"0", "x", "-1", "3601", "1s", ""})
        EXPECT_EQ(refused({"--patience", value}),
                  std::string("not a value for --patience: ") + value);
    EXPECT_EQ(refused({"--verbose", "--trace", "t"}), "--verbose and --trace exclude each other");
}

TEST(TheHelp, NamesEveryOptionKeyAndCommand) {
    const std::string help = tv::helpText();
    for (const char* word : {"--ask", "--allow", "--deny", "--script", "--json", "--trace",
                             "--verbose", "--patience", "space", "snapshot", "wait EVENT"})
        EXPECT_NE(help.find(word), std::string::npos) << word;
}

} // namespace
