// The TV's screen: one picture output for everything that is played, so that a window stays while
// media come and go, and so that what is shown can be zoomed, turned and moved also while nothing
// moves in it.
//
// A media's pipeline ends in a sink that hands its pictures over to here, each when its time has
// come. Any thread; pictures arrive on streaming threads.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>

#include "engine/display_window.h"
#include "engine/gst_handles.h"
#include "engine/view.h"
#include "process/settings.h"

namespace player {

class Screen {
public:
    explicit Screen(const Settings& settings);
    /// Closes the window. Every sink that was handed out must be gone.
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// The sink for a new media, whose pictures replace everything before; a floating reference.
    GstElement* sinkForNewMedia();
    /// Black; pictures of the media before are not shown any more.
    void clear();

    /// Whether the window covers the whole display.
    void setFullScreen(bool on);
    void setView(const View& view);
    /// Moves the view by pixels of the screen, up to the edges of the picture.
    void moveView(int right, int down);

    /// What the screen shows, as large as the screen. The caller owns it.
    GstSample* shown();

private:
    static GstFlowReturn onPreroll(GstAppSink* sink, gpointer self);
    static GstFlowReturn onSample(GstAppSink* sink, gpointer self);
    static GstBusSyncReply onOutputMessage(GstBus* bus, GstMessage* message, gpointer self);
    void show(GstAppSink* sink, GstSample* sample);
    void render();
    GstOwner<GstSample> composed();
    bool prepareConverter(const Layout& layout, const GstVideoInfo& format);
    void output(GstSample* sample);
    void startOutput();
    void openWindow(GstElement* sink, GstElement* size);
    void stopOutput();

    const Settings settings_;
    std::atomic<bool> outputFailed_{false};

    std::mutex mutex_;
    // All below guarded by mutex_.
    unsigned media_ = 0;          ///< counts; a sink of another one is not listened to
    GstOwner<GstSample> picture_; ///< as the media gave it
    View view_;
    bool fullScreen_;
    std::unique_ptr<DisplayWindow> window_; ///< on an X display
    Pan pan_;
    GstOwner<GstElement> pipeline_; ///< from our pictures to the window
    GstOwner<GstElement> input_;
    GstVideoConverter* converter_ = nullptr; ///< for what follows
    Layout layout_;
    GstVideoInfo format_;
};

} // namespace player
