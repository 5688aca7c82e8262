// player_bench [--write | push | play | many]: what the player costs beside a bare playbin3 that
// plays the same film from the same server in the same run, in turn: from the order until the first
// picture is on the screen, a seek, a zoom step; playing; then many pushes in a row. A word asks
// for one of these parts alone. With --write the table goes into docs/player-performance.md as
// well.

#include <sys/utsname.h>

#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "contestants.h"
#include "figures.h"
#include "film_server.h"
#include "support/private_bus.h"
#include "support/temporary_folder.h"

namespace {

using namespace bench;
using std::chrono::milliseconds;

constexpr int kRounds = 7;        ///< of what is over in a moment
constexpr int kFilmsPlayed = 5;   ///< from beginning to end
constexpr int kPushes = 500;      ///< in a row
constexpr int kPushesBefore = 20; ///< until everything that stays has been made
constexpr double kFrameMs = 40;   ///< the film has 25 a second
constexpr double kGrowthMiB = 1;  ///< what a heap breathes
constexpr milliseconds kRest{300};
constexpr unsigned kSeeks[] = {7, 2, 5}; ///< on a key frame, and in the middle between two
constexpr int kWhite = 200;              ///< the film's edge is brighter, the rest is not

constexpr Limit kSooner{Limit::kRatio, 1.15};
constexpr Limit kCheaper{Limit::kRatio, 1.05};

double sinceMs(std::int64_t then, std::int64_t now) {
    return static_cast<double>(now - then) / 1e6;
}

void rest() {
    std::this_thread::sleep_for(kRest);
}

/// From an order until a picture that fits is shown, in milliseconds.
double untilShown(Contestant& contestant, const std::function<void()>& order,
                  const std::function<bool(const Shown&)>& fits) {
    const std::uint64_t old = contestant.pictures().count();
    const std::int64_t began = nowNs();
    order();
    const auto shown = contestant.pictures().wait(old, fits);
    if (!shown) {
        throw std::runtime_error("no picture comes");
    }
    return sinceMs(began, shown->atNs);
}

bool isOfFilm(const Shown& shown) {
    return shown.mediaNs >= 0;
}

/// A picture of the second that was asked for. The film's times begin some pictures after 0, since
/// some of them are decoded before they are shown.
bool isOfSecond(const Shown& shown, unsigned second) {
    const double at = static_cast<double>(shown.mediaNs) / 1e9;
    return at >= second && at < second + 0.5;
}

struct Result {
    Figures firstPicture;
    Figures playing;
    Figures seek;
    Figures processor;
    Figures memory;
    Figures workersMemory;
    Figures zoomMs;
    Figures zoomFrames;
};

void pushAndSeek(Contestant& contestant, const std::string& film, Result& result) {
    const std::int64_t began = nowNs();
    result.firstPicture.add(untilShown(
        contestant, [&] { contestant.push(film); }, isOfFilm));
    contestant.waitUntilPlaying();
    result.playing.add(sinceMs(began, nowNs()));
    for (const unsigned second : kSeeks) {
        rest();
        result.seek.add(untilShown(
            contestant, [&] { contestant.seek(second); },
            [second](const Shown& shown) { return isOfSecond(shown, second); }));
    }
}

void zoom(ThePlayer& player, Result& result) {
    for (const bool in : {true, false}) {
        rest();
        const double time = untilShown(
            player, [&] { player.zoom(in ? "Zoomx2" : "Zoomx1"); },
            [in](const Shown& shown) { return (shown.corner < kWhite) == in; });
        result.zoomMs.add(time);
        result.zoomFrames.add(time / kFrameMs);
    }
}

/// The film from the order to its end, in processes that have played nothing before.
template <class Who>
void playThrough(const std::string& folder, const std::string& film, Result& result) {
    Who contestant(folder);
    const Processes processes = contestant.processes();
    const double before = processorSeconds(processes);
    const std::int64_t began = nowNs();
    contestant.push(film);
    contestant.waitUntilPlaying();
    std::this_thread::sleep_for(std::chrono::seconds(5));
    result.memory.add(memoryMiB(processes));
    result.workersMemory.add(memoryMiB({processes.back()}));
    contestant.waitUntilEnded();
    const double took = sinceMs(began, nowNs()) / 1000;
    result.processor.add((processorSeconds(processes) - before) / took * 100);
}

/// What a player holds at rest, before and after many pushes.
struct Held {
    double memory;
    int descriptors;
    int threads;
};

Held held(ThePlayer& player) {
    player.stop();
    // Threads that GStreamer keeps for later are given up within 15 seconds.
    std::this_thread::sleep_for(std::chrono::seconds(17));
    const Processes processes = player.processes();
    return {ownMemoryMiB(processes), descriptors(processes), threads(processes)};
}

void pushTimes(ThePlayer& player, const std::string& film, int times) {
    for (int push = 0; push < times; ++push) {
        (void)untilShown(
            player, [&] { player.push(film); }, isOfFilm);
    }
}

std::string machine() {
    utsname system{};
    uname(&system);
    std::ifstream cpus("/proc/cpuinfo");
    std::string model = "unknown processor";
    for (std::string line; std::getline(cpus, line);) {
        if (line.rfind("model name", 0) == 0) {
            model = line.substr(line.find(':') + 2);
            break;
        }
    }
    double load = 0;
    std::ifstream("/proc/loadavg") >> load;
    char text[256];
    std::snprintf(text, sizeof text, "%u x %s, Linux %s; load at the beginning %.1f",
                  std::thread::hardware_concurrency(), model.c_str(), system.release, load);
    return text;
}

/// The three parts of the benchmark; each adds its rows.
void measurePushes(const std::string& folder, const std::string& film, Table& table) {
    Result bare;
    Result ours;
    Result ignored; // plug-ins are loaded
    BarePlaybin playbin(folder);
    ThePlayer player(folder);
    for (int round = 0; round <= kRounds; ++round) {
        std::fprintf(stderr, "\rpush, seek, zoom: round %d of %d ", round, kRounds);
        pushAndSeek(playbin, film, round == 0 ? ignored : bare);
        playbin.stop();
        rest();
        pushAndSeek(player, film, round == 0 ? ignored : ours);
        zoom(player, round == 0 ? ignored : ours);
        player.stop();
        rest();
    }
    table.add("push until the first picture, ms", 1, bare.firstPicture, ours.firstPicture, kSooner);
    table.add("push until it is said to play, ms", 1, bare.playing, ours.playing, {});
    table.add("seek until the new picture, ms", 1, bare.seek, ours.seek, kSooner);
    table.add("zoom step until it is on the screen, ms", 1, {}, ours.zoomMs, {});
    table.add("the same in frames", 2, {}, ours.zoomFrames, {Limit::kMost, 2});
}

void measurePlaying(const std::string& folder, const std::string& film, Table& table) {
    Result bare;
    Result ours;
    for (int round = 1; round <= kFilmsPlayed; ++round) {
        std::fprintf(stderr, "\rplaying: round %d of %d          ", round, kFilmsPlayed);
        playThrough<BarePlaybin>(folder, film, bare);
        playThrough<ThePlayer>(folder, film, ours);
    }
    table.add("processor while playing, % of one", 2, bare.processor, ours.processor, kCheaper);
    table.add("memory while playing, MiB", 1, bare.memory, ours.memory, kCheaper);
    table.add("the same without the process on the bus", 1, bare.memory, ours.workersMemory, {});
}

void measureMany(const std::string& folder, const std::string& film, Table& table) {
    std::fprintf(stderr, "\r%d pushes                        ", kPushes);
    ThePlayer player(folder);
    pushTimes(player, film, kPushesBefore);
    const Held before = held(player);
    pushTimes(player, film, kPushes);
    const Held after = held(player);
    const auto grown = [&table](const char* what, int decimals, double by, double limit) {
        Figures figure;
        figure.add(by);
        table.add(what + (" more after " + std::to_string(kPushes) + " pushes"), decimals, {},
                  figure, {Limit::kMost, limit});
    };
    grown("MiB of memory", 1, after.memory - before.memory, kGrowthMiB);
    grown("descriptors", 0, after.descriptors - before.descriptors, 0);
    grown("threads", 0, after.threads - before.threads, 0);
}

std::string measure(const std::string& part) {
    std::string text = "\nMachine: " + machine() + ".\n\n";
    const test::TemporaryFolder folder;
    const testing_support::PrivateBus bus;
    const FilmServer server(PLAYER_BENCH_FILM);
    Table table;
    if (part.empty() || part == "push") {
        measurePushes(folder.path(), server.address(), table);
    }
    if (part.empty() || part == "play") {
        measurePlaying(folder.path(), server.address(), table);
    }
    if (part.empty() || part == "many") {
        measureMany(folder.path(), server.address(), table);
    }
    std::fprintf(stderr, "\r                                  \r");
    return text + table.text();
}

} // namespace

int main(int argc, char** argv) {
    const std::string argument = argc == 2 ? argv[1] : "";
    const bool write = argument == "--write";
    if (argc > 2 ||
        (argc == 2 && !write && argument != "push" && argument != "play" && argument != "many")) {
        std::fprintf(stderr, "usage: player_bench [--write | push | play | many]\n");
        return 2;
    }
    try {
        const std::string text = measure(write ? "" : argument);
        std::fputs(text.c_str(), stdout);
        if (write) {
            rewrite(PLAYER_BENCH_DOCUMENT, text + "\n");
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\nplayer_bench: %s\n", error.what());
        return 1;
    }
}
