#include "engine/sinks.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "process/log.h"

namespace player {
namespace {

GstElement* makeSilentSink(const char* name) {
    GstElement* const sink = gst_element_factory_make("fakesink", name);
    if (sink != nullptr) {
        // Without a clock to follow a film would be over in a moment; the last picture is kept for
        // whoever wants to see the screen.
        g_object_set(sink, "sync", TRUE, "enable-last-sample", TRUE, "qos", TRUE, nullptr);
    }
    return sink;
}

/// The element, if it exists and its device can be opened.
GstElement* makeIfUsable(const std::string& factory, const char* name) {
    GstElement* const sink = gst_element_factory_make(factory.c_str(), name);
    if (sink == nullptr) {
        return nullptr;
    }
    if (g_object_class_find_property(G_OBJECT_GET_CLASS(sink), "sync") != nullptr) {
        g_object_set(sink, "sync", TRUE, nullptr);
    }
    if (gst_element_set_state(sink, GST_STATE_READY) == GST_STATE_CHANGE_FAILURE) {
        gst_element_set_state(sink, GST_STATE_NULL);
        gst_object_unref(gst_object_ref_sink(sink));
        return nullptr;
    }
    gst_element_set_state(sink, GST_STATE_NULL);
    return sink;
}

/// Looking for a sound system takes time and litters the log where there is none.
bool mayHaveSound() {
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    const std::string sockets = runtime == nullptr ? "" : runtime;
    std::error_code ignored;
    return std::getenv("PULSE_SERVER") != nullptr ||
           std::filesystem::exists("/dev/snd/timer", ignored) ||
           std::filesystem::exists("/dev/dsp", ignored) ||
           (!sockets.empty() && (std::filesystem::exists(sockets + "/pulse/native", ignored) ||
                                 std::filesystem::exists(sockets + "/pipewire-0", ignored)));
}

GstElement* makeUsual(const std::vector<const char*>& candidates, const char* name) {
    for (const char* const candidate : candidates) {
        if (GstElement* const sink = makeIfUsable(candidate, name)) {
            return sink;
        }
    }
    return makeSilentSink(name);
}

/// `setting` is the variable in which `asked` was found.
GstElement* make(const char* setting, const std::string& asked,
                 const std::vector<const char*>& candidates, const char* name) {
    if (asked.empty()) {
        return makeUsual(candidates, name);
    }
    if (GstElement* const sink = makeIfUsable(asked, name)) {
        return sink;
    }
    GstElement* const sink = makeUsual(candidates, name);
    const GstElementFactory* const usual =
        sink != nullptr ? gst_element_get_factory(sink) : nullptr;
    logWarning(std::string(setting) + "=" + asked + " cannot be used; " +
               (usual != nullptr ? GST_OBJECT_NAME(usual) : "nothing") + " is used instead");
    return sink;
}

} // namespace

GstElement* makeVideoSink(const Settings& settings) {
    // By name where that is possible: the automatic choice tries what draws through OpenGL first,
    // which takes seconds on a display without it.
    std::vector<const char*> candidates;
    if (settings.waylandDisplay) {
        candidates.push_back("waylandsink");
    }
    if (settings.xDisplay) {
        candidates.insert(candidates.end(), {"xvimagesink", "ximagesink"});
    }
    if (!candidates.empty()) {
        candidates.push_back("autovideosink");
    }
    return make("KETRA_VIDEO_SINK", settings.videoSink, candidates, "picture");
}

GstElement* makeAudioSink(const Settings& settings) {
    std::vector<const char*> candidates;
    if (mayHaveSound()) {
        candidates.push_back("autoaudiosink");
    }
    return make("KETRA_AUDIO_SINK", settings.audioSink, candidates, "sound");
}

} // namespace player
