// What the player is compared with: a playbin3 in a process of its own and nothing around it. Told
// what to do in lines: "open URI", "seek SECONDS", "close"; says "ready", "playing", "ended",
// "closed", or "failed" and ends.

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include <unistd.h>

#include <glib-unix.h>
#include <gst/gst.h>

namespace {

class BarePlaybin {
public:
    explicit BarePlaybin(const char* videoSink) : videoSink_(videoSink) {}

    int run() {
        g_unix_fd_add(STDIN_FILENO, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onInput, this);
        say("ready");
        g_main_loop_run(loop_);
        close();
        return EXIT_SUCCESS;
    }

private:
    static void say(const char* word) {
        std::puts(word);
        std::fflush(stdout);
    }

    static gboolean onInput(int, GIOCondition, gpointer self) {
        static_cast<BarePlaybin*>(self)->carryOut();
        return G_SOURCE_CONTINUE;
    }

    void carryOut() {
        std::string line;
        if (!std::getline(std::cin, line)) {
            g_main_loop_quit(loop_);
        } else if (line.rfind("open ", 0) == 0) {
            open(line.substr(5));
        } else if (line.rfind("seek ", 0) == 0) {
            seek(std::stoll(line.substr(5)) * static_cast<gint64>(GST_SECOND));
        } else if (line == "close") {
            close();
            say("closed");
        }
    }

    GstElement* makeSink(const char* factory) {
        GstElement* const sink = gst_element_factory_make(factory, nullptr);
        if (sink == nullptr) {
            fail("no sink");
        }
        g_object_set(sink, "sync", TRUE, nullptr);
        return sink;
    }

    void open(const std::string& uri) {
        close();
        playbin_ = gst_element_factory_make("playbin3", nullptr);
        if (playbin_ == nullptr) {
            fail("no playbin3");
        }
        gst_object_ref_sink(playbin_);
        g_object_set(playbin_, "uri", uri.c_str(), "video-sink", makeSink(videoSink_), "audio-sink",
                     makeSink("fakesink"), nullptr);
        GstBus* const bus = gst_element_get_bus(playbin_);
        watch_ = gst_bus_add_watch(bus, onMessage, this);
        gst_object_unref(bus);
        gst_element_set_state(playbin_, GST_STATE_PLAYING);
    }

    void seek(gint64 position) {
        if (!gst_element_seek_simple(
                playbin_, GST_FORMAT_TIME,
                static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE),
                position)) {
            fail("seek refused");
        }
    }

    void close() {
        if (playbin_ != nullptr) {
            gst_element_set_state(playbin_, GST_STATE_NULL);
            g_source_remove(watch_);
            gst_object_unref(playbin_);
            playbin_ = nullptr;
        }
    }

    [[noreturn]] static void fail(const char* why) {
        std::fprintf(stderr, "bare_playbin: %s\n", why);
        say("failed");
        std::_Exit(EXIT_FAILURE);
    }

    static gboolean onMessage(GstBus*, GstMessage* message, gpointer data) {
        auto* const self = static_cast<BarePlaybin*>(data);
        GstState now = GST_STATE_VOID_PENDING;
        switch (GST_MESSAGE_TYPE(message)) {
        case GST_MESSAGE_ERROR:
            fail("the pipeline fails");
        case GST_MESSAGE_EOS:
            say("ended");
            break;
        case GST_MESSAGE_STATE_CHANGED:
            gst_message_parse_state_changed(message, nullptr, &now, nullptr);
            if (GST_MESSAGE_SRC(message) == GST_OBJECT(self->playbin_) &&
                now == GST_STATE_PLAYING) {
                say("playing");
            }
            break;
        default:
            break;
        }
        return G_SOURCE_CONTINUE;
    }

    const char* const videoSink_;
    GMainLoop* const loop_ = g_main_loop_new(nullptr, FALSE);
    GstElement* playbin_ = nullptr;
    unsigned watch_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    gst_init(&argc, &argv);
    std::ios::sync_with_stdio(false);
    return BarePlaybin(argc > 1 ? argv[1] : "fakesink").run();
}
