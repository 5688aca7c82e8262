#include "options.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include <getopt.h>

namespace push {
namespace {

constexpr double kLongestTimeoutSec = 3600;

const option kLongOptions[] = {
    {"as", required_argument, nullptr, 'a'},
    {"to", required_argument, nullptr, 't'},
    {"list", no_argument, nullptr, 'l'},
    {"timeout", required_argument, nullptr, 'T'},
    {"interface", required_argument, nullptr, 'i'},
    {"port", required_argument, nullptr, 'p'},
    {"keep", no_argument, nullptr, 'k'},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},
    {nullptr, 0, nullptr, 0},
};

bool parseTimeout(const char* text, std::chrono::milliseconds& timeout) {
    char* end = nullptr;
    const double seconds = std::strtod(text, &end);
    if (end == text || *end != '\0' || !std::isfinite(seconds) || seconds <= 0 ||
        seconds > kLongestTimeoutSec) {
        return false;
    }
    timeout = std::chrono::milliseconds(static_cast<long>(seconds * 1000));
    return true;
}

bool parsePort(const char* text, std::uint16_t& port) {
    const char* end = text + std::strlen(text);
    const auto result = std::from_chars(text, end, port);
    return result.ec == std::errc() && result.ptr == end && port != 0;
}

/// A word of a User-Agent: a token as HTTP (RFC 9110) has it.
bool parseControllerName(const std::string& text, std::string& name) {
    constexpr char kMarks[] = "!#$%&'*+-.^_`|~";
    constexpr std::size_t kLongest = 40;
    for (const char character : text) {
        if (!std::isalnum(static_cast<unsigned char>(character)) &&
            std::strchr(kMarks, character) == nullptr) {
            return false;
        }
    }
    name = text;
    return !text.empty() && text.size() <= kLongest;
}

/// "http://..." and the like. A file of such a name is still reached by a path: "./http://...".
bool isAddress(const std::string& text) {
    const std::size_t colon = text.find("://");
    return colon != std::string::npos && colon > 0 &&
           std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon),
                       [](unsigned char letter) { return std::isalpha(letter) != 0; });
}

bool applyOption(int letter, Options& options, std::string& error) {
    switch (letter) {
    case 't':
        error = "--to wants a name"; // an empty one would fit every television
        options.rendererName = optarg;
        return !options.rendererName.empty();
    case 'l':
        options.action = Options::Action::kList;
        return true;
    case 'i':
        error = "--interface wants a name";
        options.interfaceName = optarg;
        return !options.interfaceName.empty();
    case 'k':
        options.keepPhoto = true;
        return true;
    case 'h':
        options.action = Options::Action::kHelp;
        return true;
    case 'V':
        options.action = Options::Action::kVersion;
        return true;
    case 'a':
        error = std::string("--as wants one word of at most 40 plain characters, not \"") + optarg +
                "\"";
        return parseControllerName(optarg, options.controllerName);
    case 'T':
        error = std::string("--timeout wants seconds, not \"") + optarg + "\"";
        return parseTimeout(optarg, options.timeout);
    case 'p':
        error = std::string("--port wants a number from 1 to 65535, not \"") + optarg + "\"";
        return parsePort(optarg, options.port);
    default:
        error.clear(); // getopt has said what is wrong
        return false;
    }
}

} // namespace

bool parseOptions(int argc, char** argv, Options& options, std::string& error) {
    optind = 0; // the next call starts anew, also in a test
    for (int letter = 0;
         (letter = getopt_long(argc, argv, "hi:lt:", kLongOptions, nullptr)) != -1;) {
        if (!applyOption(letter, options, error)) {
            return false;
        }
    }
    error.clear();
    const int files = argc - optind;
    if (files == 1) {
        options.file = argv[optind];
    }
    if (options.action == Options::Action::kPush && files <= 1 && options.file.empty()) {
        error = "which file?";
    } else if (isAddress(options.file)) {
        error = "files of this machine are pushed, no addresses: " + options.file;
    } else if (files > 1 || (options.action == Options::Action::kList && files > 0)) {
        error = options.action == Options::Action::kList ? "--list takes no file"
                                                         : "one file at a time";
    }
    return error.empty();
}

const char* usageText() {
    return "usage: ketra-push FILE [--to NAME] [options]\n"
           "       ketra-push --list [options]\n"
           "\n"
           "Shows a film, a song or a picture of this machine on a television of the home\n"
           "network (any UPnP AV renderer). Ctrl-C stops it there.\n"
           "\n"
           "  -t, --to NAME         the television's name, a part of it, or its uuid;\n"
           "                        not needed when there is only one\n"
           "  -l, --list            show the televisions that answer\n"
           "  -i, --interface NAME  look on this network interface only (also\n"
           "                        from the environment: KETRA_INTERFACE)\n"
           "      --timeout SEC     how long to look for televisions (5)\n"
           "      --as NAME         how this phone is called when the television asks its viewer:\n"
           "                        one word of at most 40 plain characters\n"
           "      --port N          serve the file on this port (any free one)\n"
           "      --keep            a picture: stay until the television stops showing it\n"
           "  -h, --help            this text\n"
           "      --version         the version\n"
           "\n"
           "Ends with 0 when it was shown or played; 2 wrong use, 3 file unusable, 4 nothing\n"
           "found, 5 name unknown, 6 name ambiguous, 7 file cannot be served, 8 refused,\n"
           "9 playback failed, 10 television lost, 130 interrupted.\n";
}

} // namespace push
