#include "options.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using push::Options;

struct Parsed {
    bool isFine = false;
    Options options;
    std::string error;
};

Parsed parse(std::vector<std::string> words) {
    words.insert(words.begin(), "ketra-push");
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    Parsed parsed;
    parsed.isFine = push::parseOptions(static_cast<int>(words.size()), argv.data(), parsed.options,
                                       parsed.error);
    return parsed;
}

TEST(TheCommandLine, TakesAFileAndTheNameOfATelevisionInAnyOrder) {
    for (const auto& words : {std::vector<std::string>{"a film.mp4", "--to", "Living Room"},
                              std::vector<std::string>{"--to=Living Room", "a film.mp4"}}) {
        const Parsed parsed = parse(words);
        EXPECT_TRUE(parsed.isFine) << parsed.error;
        EXPECT_EQ(parsed.options.action, Options::Action::kPush);
        EXPECT_EQ(parsed.options.file, "a film.mp4");
        EXPECT_EQ(parsed.options.rendererName, "Living Room");
    }
}

TEST(TheCommandLine, KnowsItsOtherOptions) {
    const Parsed parsed = parse({"x", "--timeout", "2.5", "--interface", "eth7", "--port", "8080",
                                 "--keep", "--as", "Anna's-phone"});
    EXPECT_TRUE(parsed.isFine) << parsed.error;
    EXPECT_EQ(parsed.options.timeout.count(), 2500);
    EXPECT_EQ(parsed.options.interfaceName, "eth7");
    EXPECT_EQ(parsed.options.port, 8080);
    EXPECT_TRUE(parsed.options.keepPhoto);
    EXPECT_EQ(parsed.options.controllerName, "Anna's-phone");
    EXPECT_EQ(parse({"x"}).options.controllerName, "ketra-push");
    EXPECT_EQ(parse({"--list"}).options.action, Options::Action::kList);
    EXPECT_EQ(parse({"--help"}).options.action, Options::Action::kHelp);
    EXPECT_EQ(parse({"--version"}).options.action, Options::Action::kVersion);
}

TEST(TheCommandLine, SaysWhatIsWrongWithIt) {
    EXPECT_EQ(parse({}).error, "which file?");
    EXPECT_EQ(parse({"a", "b"}).error, "one file at a time");
    EXPECT_EQ(parse({"--list", "a"}).error, "--list takes no file");
    for (const char* seconds : {"0", "-1", "soon", "5s", "nan", "inf", "1e9", ""}) {
        const Parsed parsed = parse({"a", "--timeout", seconds});
        EXPECT_FALSE(parsed.isFine) << seconds;
        EXPECT_NE(parsed.error.find("--timeout wants seconds"), std::string::npos) << seconds;
    }
    for (const char* port : {"0", "-1", "65536", "80x", "http", ""}) {
        const Parsed parsed = parse({"a", "--port", port});
        EXPECT_FALSE(parsed.isFine) << port;
        EXPECT_NE(parsed.error.find("--port wants a number"), std::string::npos) << port;
    }
    for (const char* name : {"", "two words", "a(b)", "x\n", "Zoë", "slash/ed"}) {
        const Parsed parsed = parse({"a", "--as", name});
        EXPECT_FALSE(parsed.isFine) << name;
        EXPECT_NE(parsed.error.find("--as wants one word"), std::string::npos) << name;
    }
    EXPECT_EQ(parse({"a", "--to", ""}).error, "--to wants a name");
    EXPECT_EQ(parse({"a", "--to="}).error, "--to wants a name");
    EXPECT_EQ(parse({"a", "-i", ""}).error, "--interface wants a name");
    EXPECT_EQ(parse({""}).error, "which file?");
    for (const char* address :
         {"http://host/a.mp4", "HTTPS://host/a", "ftp://host/a", "file:///a.mp4"}) {
        EXPECT_EQ(parse({address}).error,
                  std::string("files of this machine are pushed, no addresses: ") + address);
    }
    EXPECT_TRUE(parse({"./http://host/a.mp4"}).isFine);
    EXPECT_TRUE(parse({"a: the film.mp4"}).isFine);
    EXPECT_FALSE(parse({"a", "--no-such-option"}).isFine);
    EXPECT_FALSE(parse({"a", "--to"}).isFine);
}

TEST(TheCommandLine, TakesAFileWhoseNameLooksLikeAnOptionBehindTwoDashes) {
    EXPECT_EQ(parse({"--", "--list"}).options.file, "--list");
}

} // namespace
