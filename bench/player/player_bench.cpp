// What the player's engine adds to a bare playbin3 that plays the same film from a server in
// the same run: until the first picture, a seek, playing, many films in a row.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "engine/gst_handles.h"
#include "engine/gstreamer_engine.h"
#include "support/media_server.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::seconds;

constexpr int kRounds = 15;
constexpr int kFilmsInARow = 500;
constexpr seconds kPlaying{5};

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto inSeconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime);
}

double residentMiB() {
    std::ifstream file("/proc/self/statm");
    long all = 0;
    long resident = 0;
    file >> all >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

/// Something that plays: each call returns when what it orders has been done.
class Contestant {
public:
    virtual ~Contestant() = default;
    virtual void open(const std::string& uri) = 0;
    virtual void seek(std::int64_t positionMs) = 0;
    virtual void play(seconds howLong) = 0;
    virtual void close() = 0;
};

class BarePlaybin final : public Contestant {
public:
    void open(const std::string& uri) override {
        playbin_.reset(
            GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("playbin3", nullptr))));
        GstElement* const picture = gst_element_factory_make("fakesink", nullptr);
        GstElement* const sound = gst_element_factory_make("fakesink", nullptr);
        g_object_set(picture, "sync", TRUE, nullptr);
        g_object_set(sound, "sync", TRUE, nullptr);
        g_object_set(playbin_.get(), "uri", uri.c_str(), "video-sink", picture, "audio-sink", sound,
                     nullptr);
        gst_element_set_state(playbin_.get(), GST_STATE_PAUSED);
        waitUntilDone();
    }
    void seek(std::int64_t positionMs) override {
        gst_element_seek_simple(
            playbin_.get(), GST_FORMAT_TIME,
            static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE),
            positionMs * static_cast<gint64>(GST_MSECOND));
        waitUntilDone();
    }
    void play(seconds howLong) override {
        gst_element_set_state(playbin_.get(), GST_STATE_PLAYING);
        g_usleep(static_cast<gulong>(std::chrono::microseconds(howLong).count()));
    }
    void close() override {
        gst_element_set_state(playbin_.get(), GST_STATE_NULL);
        playbin_.reset();
    }

private:
    void waitUntilDone() {
        const player::GstOwner<GstBus> bus(gst_element_get_bus(playbin_.get()));
        const player::GstOwner<GstMessage> message(gst_bus_timed_pop_filtered(
            bus.get(), 20 * GST_SECOND,
            static_cast<GstMessageType>(GST_MESSAGE_ASYNC_DONE | GST_MESSAGE_ERROR)));
        if (!message || GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR) {
            std::fprintf(stderr, "the bare pipeline fails\n");
            std::exit(1);
        }
    }

    player::GstOwner<GstElement> playbin_;
};

class ThePlayersEngine final : public Contestant {
public:
    void open(const std::string& uri) override {
        engine_.open(++session_, {uri, ""});
        waitFor<player::EngineOpened>();
    }
    void seek(std::int64_t positionMs) override {
        engine_.seek(session_, positionMs);
        waitFor<player::EngineMoved>();
    }
    void play(seconds howLong) override {
        engine_.play(session_);
        const auto end = Clock::now() + howLong;
        runUntil([end] { return Clock::now() >= end; });
    }
    void close() override {
        bool closed = false;
        engine_.close(session_);
        engine_.ping([&closed] { closed = true; });
        runUntil([&closed] { return closed; });
    }

private:
    static player::Settings settings() {
        player::Settings settings;
        settings.videoSink = "fakesink";
        settings.audioSink = "fakesink";
        settings.downloadDir = PLAYER_BENCH_FOLDER;
        return settings;
    }

    void onEvent(const player::EngineEvent& event) {
        if (event.session != session_) {
            return;
        }
        last_ = event.what.index();
        if (std::holds_alternative<player::EngineFailed>(event.what)) {
            std::fprintf(stderr, "the engine fails\n");
            std::exit(1);
        }
    }

    template <class What> void waitFor() {
        const std::size_t wanted = decltype(player::EngineEvent::what)(What{}).index();
        last_ = std::variant_npos;
        runUntil([this, wanted] { return last_ == wanted; });
    }

    static void runUntil(const std::function<bool()>& holds) {
        const unsigned wakeUp = g_timeout_add(
            100, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
        while (!holds()) {
            g_main_context_iteration(nullptr, TRUE);
        }
        g_source_remove(wakeUp);
    }

    player::TaskQueue queue_{nullptr};
    std::size_t last_ = std::variant_npos;
    player::Session session_ = 0;
    player::GStreamerEngine engine_{settings(), queue_, [this](const player::EngineEvent& event) {
                                        onEvent(event);
                                    }};
};

struct Result {
    std::vector<double> open;
    std::vector<double> seek;
    double processor = 0;
    double memory = 0;
    double growth = 0;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

double timed(const std::function<void()>& action) {
    const auto began = Clock::now();
    action();
    return milliseconds(Clock::now() - began);
}

/// One round of each in turn, so that a busy moment of the machine meets both.
void runRounds(Contestant& one, Result& ofOne, Contestant& other, Result& ofOther,
               const std::string& uri) {
    for (int round = 0; round < kRounds; ++round) {
        for (const auto& [contestant, result] :
             {std::pair<Contestant*, Result*>{&one, &ofOne}, {&other, &ofOther}}) {
            result->open.push_back(timed([&] { contestant->open(uri); }));
            result->seek.push_back(timed([&] { contestant->seek(3000 + round * 200); }));
            contestant->close();
        }
    }
}

void runLong(Contestant& contestant, Result& result, const std::string& uri) {
    contestant.open(uri);
    const double before = processorSeconds();
    contestant.play(kPlaying);
    result.processor = (processorSeconds() - before) / static_cast<double>(kPlaying.count());
    result.memory = residentMiB();
    contestant.close();
    const double atFirst = residentMiB();
    for (int film = 0; film < kFilmsInARow; ++film) {
        contestant.open(uri);
        contestant.close();
    }
    result.growth = residentMiB() - atFirst;
}

void print(const char* what, const char* unit, double bare, double ours) {
    std::printf("%-28s %10.2f %10.2f %s  x %.2f\n", what, bare, ours, unit,
                bare == 0 ? 0 : ours / bare);
}

/// The long run in a process of its own, whose memory nobody else has used.
template <class Who> void runLongAlone(Result& result) {
    int ends[2];
    if (pipe(ends) != 0) {
        std::exit(1);
    }
    const pid_t child = fork();
    if (child == 0) {
        gst_init(nullptr, nullptr);
        test::MediaServer server(PLAYER_BENCH_FOLDER);
        Who contestant;
        runLong(contestant, result, server.address("/good/film.mp4"));
        const double numbers[] = {result.processor, result.memory, result.growth};
        const ssize_t written = write(ends[1], numbers, sizeof numbers);
        std::_Exit(written == sizeof numbers ? 0 : 1);
    }
    double numbers[3] = {};
    close(ends[1]);
    if (read(ends[0], numbers, sizeof numbers) != sizeof numbers) {
        std::exit(1);
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    result.processor = numbers[0];
    result.memory = numbers[1];
    result.growth = numbers[2];
}

} // namespace

int main() {
    Result ofBare;
    Result ofOurs;
    // Before this process has threads.
    runLongAlone<BarePlaybin>(ofBare);
    runLongAlone<ThePlayersEngine>(ofOurs);
    gst_init(nullptr, nullptr);
    test::MediaServer server(PLAYER_BENCH_FOLDER);
    BarePlaybin bare;
    ThePlayersEngine ours;
    runRounds(bare, ofBare, ours, ofOurs, server.address("/good/film.mp4"));
    std::printf("%-28s %10s %10s\n", "1920x1080, over HTTP", "playbin3", "player");
    print("push until first picture", "ms", median(ofBare.open), median(ofOurs.open));
    print("seek until new picture", "ms", median(ofBare.seek), median(ofOurs.seek));
    print("processor while playing", "of one", ofBare.processor, ofOurs.processor);
    print("memory while playing", "MiB", ofBare.memory, ofOurs.memory);
    std::printf("%-28s %10.2f %10.2f MiB\n", "growth over 500 films", ofBare.growth, ofOurs.growth);
    return 0;
}
