// A race on purpose: a variable without a lock, written by a thread of ours and by a callback that
// a library runs. ThreadSanitizer has to report it, or it would report none of the player's.
//   planted_race glib | gstreamer
#include <gst/gst.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <thread>

namespace {

int counter = 0;
// Relaxed: orders the two writes in time, and nothing for the sanitizer.
std::atomic<bool> firstIsWritten{false};

void waitForTheFirst() {
    while (!firstIsWritten.load(std::memory_order_relaxed))
        std::this_thread::yield();
}

gboolean writeInGlib(void* loop) {
    waitForTheFirst();
    ++counter;
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_REMOVE;
}

void raceWithGlib() {
    std::thread other([] {
        ++counter;
        firstIsWritten.store(true, std::memory_order_relaxed);
    });
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    g_timeout_add(1, writeInGlib, loop);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    other.join();
}

void writeInGstreamer(GstElement*, GstBuffer*, GstPad*, void*) {
    ++counter;
    firstIsWritten.store(true, std::memory_order_relaxed);
}

void raceWithGstreamer() {
    gst_init(nullptr, nullptr);
    GstElement* const pipeline = gst_pipeline_new(nullptr);
    GstElement* const source = gst_element_factory_make("fakesrc", nullptr);
    GstElement* const sink = gst_element_factory_make("fakesink", nullptr);
    g_object_set(source, "num-buffers", 1, nullptr);
    g_object_set(sink, "signal-handoffs", TRUE, nullptr);
    g_signal_connect(sink, "handoff", G_CALLBACK(writeInGstreamer), nullptr);
    gst_bin_add_many(GST_BIN(pipeline), source, sink, nullptr);
    gst_element_link(source, sink);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    waitForTheFirst();
    ++counter;
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
}

} // namespace

int main(int count, char** words) {
    if (count == 2 && std::strcmp(words[1], "glib") == 0)
        raceWithGlib();
    else if (count == 2 && std::strcmp(words[1], "gstreamer") == 0)
        raceWithGstreamer();
    else
        return 2;
    std::printf("written %d times\n", counter);
    return 0;
}
