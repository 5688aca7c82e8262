// Measures one start of one renderer and prints what it found, a line each: "NAME NUMBER..".
//
// renderer_probe alone|play|endure TV_NETWORK FILM PICTURES PROCESSES -- COMMAND..
//     Runs on the controller's host. COMMAND is the renderer, PICTURES the file to which its video
//     sink tells what it shows, PROCESSES (comma-separated, may be "") what belongs to the renderer
//     beside itself. "play" prints "ready" when the renderer is there and waits for a line.
//     compare.py says what the figures mean.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

#include "event_ear.h"
#include "http_client.h"
#include "media_server.h"
#include "process_cost.h"
#include "renderer.h"

namespace {

using namespace bench;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr unsigned kSearches = 15;
constexpr unsigned kDescriptions = 200;
constexpr unsigned kPolls = 3000;
constexpr unsigned kConnections = 8;
constexpr seconds kFlood{1};
// Renderers announce themselves several times, and open what they need later.
constexpr milliseconds kSettling{1500};
constexpr seconds kIdle{7};
constexpr unsigned kFilms = 4;
constexpr milliseconds kPlayPatience{5000};
constexpr milliseconds kQuiet{500}; // longer than anybody gathers events for

constexpr unsigned kManyPolls = 100000;
constexpr unsigned kManySubscriptions = 10000;
constexpr unsigned kManyConnections = 2000;
constexpr unsigned kSubscriptionsAtOnce = 16;
constexpr milliseconds kEventPatience{5000};
constexpr seconds kAftermath{8}; // what is kept for a while is not lost

struct Asked {
    std::string network;
    std::string film;
    std::string pictures;
    std::vector<int> processes;
    std::vector<std::string> command;
};

template <class... Numbers> void tell(const char* name, Numbers... numbers) {
    std::cout << name;
    ((std::cout << ' ' << numbers), ...);
    std::cout << std::endl;
}

double at(std::vector<double>& sorted, double share) {
    std::sort(sorted.begin(), sorted.end());
    return sorted[static_cast<std::size_t>(share * static_cast<double>(sorted.size() - 1))];
}

void expectOk(const Connection& connection, const std::string& what) {
    if (connection.status() != 200) {
        throw std::runtime_error(what + ": " + std::string(connection.answer()));
    }
}

std::vector<double> repeat(Connection& connection, const std::string& request, unsigned times,
                           bool anew) {
    std::vector<double> taken;
    for (unsigned call = 0; call < times; ++call) {
        const auto begun = Clock::now();
        connection.ask(request);
        taken.push_back(bench::milliseconds(Clock::now() - begun));
        expectOk(connection, request);
        if (anew) {
            connection.close();
        }
    }
    return taken;
}

// Polls over several connections, each as fast as it is answered, until `enough(so far)`.
template <class Enough> unsigned flood(const Renderer& renderer, Enough enough) {
    const std::string poll = renderer.call("GetTransportInfo");
    std::vector<std::unique_ptr<Connection>> connections;
    std::vector<pollfd> ready(kConnections);
    for (unsigned index = 0; index < kConnections; ++index) {
        connections.push_back(std::make_unique<Connection>(renderer.address()));
        connections.back()->begin(poll);
    }
    unsigned answered = 0;
    while (!enough(answered)) {
        for (unsigned index = 0; index < kConnections; ++index) {
            ready[index] = {connections[index]->descriptor(), POLLIN, 0};
        }
        if (::poll(ready.data(), ready.size(), 10000) <= 0) {
            throw std::runtime_error("polls are not answered any more");
        }
        for (unsigned index = 0; index < kConnections; ++index) {
            if (ready[index].revents != 0 && connections[index]->more()) {
                expectOk(*connections[index], "poll");
                ++answered;
                connections[index]->begin(poll);
            }
        }
    }
    return answered;
}

void measureIdle(int process) {
    std::this_thread::sleep_for(kSettling);
    const double time = processorTime(process);
    const auto switches = contextSwitches(process);
    const auto begun = Clock::now();
    std::this_thread::sleep_for(kIdle);
    const double window = bench::milliseconds(Clock::now() - begun);
    tell("idle_cpu", (processorTime(process) - time) / window * 100);
    tell("idle_switches",
         static_cast<double>(switchesBetween(switches, contextSwitches(process))) / window * 1000);
    tell("memory_idle", proportionalMemory(process));
}

void measureAlone(const Asked& asked) {
    const Started started(asked.network, asked.command);
    tell("announced", started.announced());
    tell("found", started.found());
    measureIdle(started.process());
    std::vector<double> searches = searchTimes(kSearches);
    tell("answered", at(searches, 0.5));

    const Renderer renderer(started.location());
    Connection connection(renderer.address());
    std::vector<double> described = repeat(connection, renderer.describe(), kDescriptions, true);
    tell("description", at(described, 0.5));

    const std::string poll = renderer.call("GetTransportInfo");
    repeat(connection, poll, 100, false);
    std::vector<double> polls = repeat(connection, poll, kPolls, false);
    tell("poll_p50", at(polls, 0.5));
    tell("poll_p99", at(polls, 0.99));
    tell("kept", connection.isKept() ? 1 : 0);
    connection.close();
    const auto begun = Clock::now();
    const unsigned answered =
        flood(renderer, [&](unsigned) { return Clock::now() - begun >= kFlood; });
    tell("polls_per_second", answered / (bench::milliseconds(Clock::now() - begun) / 1000));
}

// When the first picture after `begun` was shown, in milliseconds since then; 0: not yet.
double firstPicture(const std::string& file, Clock::time_point begun) {
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        const Clock::time_point when{Clock::duration(std::atoll(line.c_str()))};
        if (when > begun) {
            return bench::milliseconds(when - begun);
        }
    }
    return 0;
}

double waitForPicture(const std::string& file, Clock::time_point begun) {
    while (Clock::now() - begun < kPlayPatience) {
        const double shown = firstPicture(file, begun);
        if (shown != 0) {
            return shown;
        }
        std::this_thread::sleep_for(milliseconds(2));
    }
    throw std::runtime_error("no picture was shown");
}

std::string describedFilm(const std::string& address) {
    return "<DIDL-Lite xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\" "
           "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
           "xmlns:upnp=\"urn:schemas-upnp-org:metadata-1-0/upnp/\">"
           "<item id=\"1\" parentID=\"0\" restricted=\"1\"><dc:title>Bars</dc:title>"
           "<upnp:class>object.item.videoItem</upnp:class>"
           "<res protocolInfo=\"http-get:*:video/mp4:*\">" +
           address + "</res></item></DIDL-Lite>";
}

void subscribe(Connection& connection, const Renderer& renderer, const EventEar& ear) {
    connection.ask(renderer.subscribe(ear.address()));
    expectOk(connection, "SUBSCRIBE");
    if (!ear.waitForCount(1, kEventPatience)) {
        throw std::runtime_error("the first event did not come");
    }
}

double memoryOfAll(const Asked& asked, int process) {
    return std::accumulate(asked.processes.begin(), asked.processes.end(),
                           proportionalMemory(process),
                           [](double sum, int other) { return sum + proportionalMemory(other); });
}

void measurePlaying(const Asked& asked) {
    const MediaServer server(asked.film, "video/mp4");
    EventEar ear;
    const Started started(asked.network, asked.command);
    const Renderer renderer(started.location());
    std::cout << "ready" << std::endl;
    std::cin.get();

    Connection connection(renderer.address());
    subscribe(connection, renderer, ear);
    std::this_thread::sleep_for(kSettling);
    tell("memory_all_idle", memoryOfAll(asked, started.process()));
    const std::string set = renderer.call(
        "SetAVTransportURI", {{"CurrentURI", server.address()},
                              {"CurrentURIMetaData", describedFilm(server.address())}});
    const std::string play = renderer.call("Play", {{"Speed", "1"}});
    for (unsigned film = 0; film < kFilms; ++film) {
        const std::size_t before = ear.count();
        const auto begun = Clock::now();
        connection.ask(set);
        const double answered = bench::milliseconds(Clock::now() - begun);
        expectOk(connection, "SetAVTransportURI");
        connection.ask(play);
        expectOk(connection, "Play");
        const double evented = bench::milliseconds(
            ear.wait(
                before, [](const auto& event) { return saysState(event, "PLAYING"); },
                kPlayPatience) -
            begun);
        const double shown = waitForPicture(asked.pictures, begun);
        if (film == 0) {
            tell("first_playing", std::max(evented, shown));
        } else {
            tell("set", answered);
            tell("evented", evented);
            tell("picture", shown);
            tell("playing", std::max(evented, shown));
        }
        std::this_thread::sleep_for(kQuiet);
        if (film + 1 == kFilms) {
            tell("memory_all_playing", memoryOfAll(asked, started.process()));
        }
        const std::size_t playing = ear.count();
        connection.ask(renderer.call("Stop"));
        expectOk(connection, "Stop");
        ear.wait(
            playing, [](const auto& event) { return saysState(event, "STOPPED"); }, kPlayPatience);
        std::this_thread::sleep_for(kQuiet);
    }
}

// Subscriptions that come, hear their first event and go, some at once.
void subscribeAndGo(const Renderer& renderer, EventEar& ear, unsigned times) {
    Connection connection(renderer.address());
    for (unsigned begun = 0; begun < times; begun += kSubscriptionsAtOnce) {
        const std::size_t before = ear.count();
        std::vector<std::string> all;
        for (unsigned index = 0; index < kSubscriptionsAtOnce; ++index) {
            const std::string_view answer = connection.ask(renderer.subscribe(ear.address()));
            expectOk(connection, "SUBSCRIBE");
            all.push_back(headerOf(answer, "SID"));
        }
        if (!ear.waitForCount(before + all.size(), kEventPatience)) {
            throw std::runtime_error("first events are missing after " + std::to_string(begun) +
                                     " subscriptions");
        }
        for (const std::string& sid : all) {
            connection.ask(renderer.unsubscribe(sid));
            expectOk(connection, "UNSUBSCRIBE");
        }
    }
}

void connectAndGo(const Renderer& renderer, unsigned times) {
    const std::string poll = renderer.call("GetTransportInfo");
    for (unsigned index = 0; index < times; ++index) {
        Connection connection(renderer.address());
        connection.ask(poll);
    }
}

void measureEndurance(const Asked& asked) {
    const Started started(asked.network, asked.command);
    const Renderer renderer(started.location());
    EventEar ear;
    ear.keepTexts(false);
    // What a renderer sets up once does not count.
    flood(renderer, [](unsigned answered) { return answered >= 2000; });
    subscribeAndGo(renderer, ear, 10 * kSubscriptionsAtOnce);
    connectAndGo(renderer, 100);
    std::this_thread::sleep_for(kAftermath);
    const auto look = [&](const char* when) {
        std::this_thread::sleep_for(kAftermath);
        tell(when, openDescriptors(started.process()), ownMemory(started.process()));
    };
    const auto attempt = [&](const char* name, auto work) {
        try {
            work();
            look(name);
        } catch (const std::runtime_error& error) {
            std::cout << name << " failed " << error.what() << std::endl;
        }
    };
    look("before");
    attempt("after_polls",
            [&] { flood(renderer, [](unsigned answered) { return answered >= kManyPolls; }); });
    attempt("after_subscriptions", [&] { subscribeAndGo(renderer, ear, kManySubscriptions); });
    attempt("after_connections", [&] { connectAndGo(renderer, kManyConnections); });
}

Asked read(int count, char** words) {
    if (count < 8 || std::strcmp(words[6], "--") != 0) {
        throw std::runtime_error("usage: renderer_probe alone|play|endure TV_NETWORK FILM PICTURES "
                                 "PROCESSES -- COMMAND..");
    }
    Asked asked{words[2], words[3], words[4], {}, {words + 7, words + count}};
    std::istringstream processes(words[5]);
    for (std::string number; std::getline(processes, number, ',');) {
        asked.processes.push_back(std::atoi(number.c_str()));
    }
    return asked;
}

} // namespace

int main(int count, char** words) {
    try {
        const Asked asked = read(count, words);
        const std::string what = words[1];
        if (what == "alone") {
            measureAlone(asked);
        } else if (what == "play") {
            measurePlaying(asked);
        } else if (what == "endure") {
            measureEndurance(asked);
        } else {
            throw std::runtime_error("no such measurement: " + what);
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "renderer_probe: %s\n", error.what());
        return 1;
    }
}
