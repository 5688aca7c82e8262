#include "engine/screen.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include <gst/app/gstappsrc.h>
#include <gst/video/videooverlay.h>

#include "engine/sinks.h"
#include "process/log.h"

namespace player {
namespace {

constexpr char kMedia[] = "ketra-media"; ///< the sink's note of whose it is
constexpr std::size_t kPixelBytes = 4;
constexpr guint kOpaqueBlack = 0xff000000;

struct Canvas {
    int width;
    int height;
    GstOwner<GstBuffer> buffer;
};

Canvas makeCanvas(int width, int height) {
    const std::size_t size =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * kPixelBytes;
    return {width, height, GstOwner<GstBuffer>(gst_buffer_new_allocate(nullptr, size, nullptr))};
}

GstVideoInfo formatOf(const Canvas& canvas) {
    GstVideoInfo info;
    gst_video_info_set_format(&info, GST_VIDEO_FORMAT_BGRx, static_cast<guint>(canvas.width),
                              static_cast<guint>(canvas.height));
    return info;
}

/// The converter wants both sides to have the same rate and kind of lines, which it leaves alone.
GstVideoInfo formatLike(const GstVideoInfo& picture, const Layout& layout) {
    GstVideoInfo info = formatOf({layout.canvasWidth, layout.canvasHeight, nullptr});
    GST_VIDEO_INFO_FPS_N(&info) = GST_VIDEO_INFO_FPS_N(&picture);
    GST_VIDEO_INFO_FPS_D(&info) = GST_VIDEO_INFO_FPS_D(&picture);
    GST_VIDEO_INFO_INTERLACE_MODE(&info) = GST_VIDEO_INFO_INTERLACE_MODE(&picture);
    return info;
}

GstOwner<GstSample> sampleOf(const Canvas& canvas) {
    GstVideoInfo info = formatOf(canvas);
    const GstOwner<GstCaps> caps(gst_video_info_to_caps(&info));
    return GstOwner<GstSample>(gst_sample_new(canvas.buffer.get(), caps.get(), nullptr, nullptr));
}

/// Turns a picture clockwise.
Canvas turned(Canvas from, int quarterTurns) {
    if (quarterTurns == 0) {
        return from;
    }
    const bool sideways = quarterTurns % 2 != 0;
    Canvas to =
        makeCanvas(sideways ? from.height : from.width, sideways ? from.width : from.height);
    GstMapInfo source;
    GstMapInfo target;
    if (!gst_buffer_map(from.buffer.get(), &source, GST_MAP_READ)) {
        return to;
    }
    if (gst_buffer_map(to.buffer.get(), &target, GST_MAP_WRITE)) {
        const auto* const in = reinterpret_cast<const std::uint32_t*>(source.data);
        auto* const out = reinterpret_cast<std::uint32_t*>(target.data);
        // Where the first pixel of the source goes, and how far apart its neighbours come to lie.
        const std::ptrdiff_t width = to.width;
        const std::ptrdiff_t last = width * to.height - 1;
        const std::ptrdiff_t first = quarterTurns == 1   ? width - 1
                                     : quarterTurns == 2 ? last
                                                         : last - (width - 1);
        const std::ptrdiff_t right = quarterTurns == 1 ? width : quarterTurns == 2 ? -1 : -width;
        const std::ptrdiff_t down = quarterTurns == 1 ? -1 : quarterTurns == 2 ? -width : 1;
        for (std::ptrdiff_t y = 0; y < from.height; ++y) {
            for (std::ptrdiff_t x = 0; x < from.width; ++x) {
                out[first + y * down + x * right] = in[y * from.width + x];
            }
        }
        gst_buffer_unmap(to.buffer.get(), &target);
    }
    gst_buffer_unmap(from.buffer.get(), &source);
    return to;
}

/// Pictures may lie in memory as their decoder likes it; otherwise it would copy each.
GstPadProbeReturn answerAllocation(GstPad*, GstPadProbeInfo* info, gpointer) {
    GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
    if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) {
        return GST_PAD_PROBE_OK;
    }
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    return GST_PAD_PROBE_HANDLED;
}

} // namespace

Screen::Screen(const Settings& settings) : settings_(settings), fullScreen_(settings.fullScreen) {
    gst_video_info_init(&format_);
}

Screen::~Screen() {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopOutput();
    if (converter_ != nullptr) {
        gst_video_converter_free(converter_);
    }
}

GstElement* Screen::sinkForNewMedia() {
    GstElement* const sink = gst_element_factory_make("appsink", "picture");
    if (sink == nullptr) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    ++media_;
    pan_ = Pan();
    outputFailed_ = false;
    const GstOwner<GstCaps> raw(gst_caps_new_empty_simple("video/x-raw"));
    g_object_set(sink, "caps", raw.get(), "sync", TRUE, "qos", TRUE, "max-buffers", 1, "drop", TRUE,
                 "enable-last-sample", FALSE, nullptr);
    const GstOwner<GstPad> pad(gst_element_get_static_pad(sink, "sink"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, answerAllocation, nullptr,
                      nullptr);
    g_object_set_data(G_OBJECT(sink), kMedia, GUINT_TO_POINTER(media_));
    GstAppSinkCallbacks callbacks{};
    callbacks.new_preroll = &Screen::onPreroll;
    callbacks.new_sample = &Screen::onSample;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, this, nullptr);
    return sink;
}

void Screen::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++media_;
    if (picture_) {
        picture_.reset();
        render();
    }
}

void Screen::setFullScreen(bool on) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (on == fullScreen_) {
        return;
    }
    fullScreen_ = on;
    if (pipeline_) {
        stopOutput(); // another window has to be opened
        render();
    }
}

void Screen::setView(const View& view) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const int steps = view.zoomSteps - view_.zoomSteps;
    if (view.quarterTurns != view_.quarterTurns) {
        pan_ = Pan();
    } else if (steps != 0) {
        pan_ = zoomed(pan_, steps);
    }
    view_ = view;
    if (picture_) {
        render();
    }
}

void Screen::moveView(int right, int down) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto moved = [](int from, int by) {
        constexpr std::int64_t kFarEnough = 1 << 20; // beyond every edge
        return static_cast<int>(std::clamp(std::int64_t{from} + by, -kFarEnough, kFarEnough));
    };
    pan_ = {moved(pan_.x, right), moved(pan_.y, down)};
    if (picture_) {
        render();
    } else {
        pan_ = Pan();
    }
}

GstSample* Screen::shown() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return composed().release();
}

// Pictures that arrive, on streaming threads.

GstFlowReturn Screen::onPreroll(GstAppSink* sink, gpointer self) {
    static_cast<Screen*>(self)->show(sink, gst_app_sink_pull_preroll(sink));
    return GST_FLOW_OK;
}

GstFlowReturn Screen::onSample(GstAppSink* sink, gpointer self) {
    static_cast<Screen*>(self)->show(sink, gst_app_sink_pull_sample(sink));
    return GST_FLOW_OK;
}

void Screen::show(GstAppSink* sink, GstSample* sample) {
    GstOwner<GstSample> picture(sample);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!picture || GPOINTER_TO_UINT(g_object_get_data(G_OBJECT(sink), kMedia)) != media_) {
        return;
    }
    picture_ = std::move(picture);
    render();
}

// What becomes of them.

void Screen::render() {
    if (picture_ && view_.plain()) {
        // The window scales it; nobody pays for what nobody asked for. All of it is to be seen, so
        // there is nowhere to move.
        pan_ = Pan();
        output(picture_.get());
    } else {
        output(composed().get());
    }
}

/// The screen as it looks now, with nothing but black where there is no picture.
GstOwner<GstSample> Screen::composed() {
    GstVideoInfo format;
    gst_video_info_init(&format);
    std::optional<Layout> layout;
    if (picture_ && gst_video_info_from_caps(&format, gst_sample_get_caps(picture_.get()))) {
        const double pixelRatio =
            GST_VIDEO_INFO_PAR_D(&format) > 0
                ? static_cast<double>(GST_VIDEO_INFO_PAR_N(&format)) / GST_VIDEO_INFO_PAR_D(&format)
                : 1.0;
        layout = layOut(view_,
                        {GST_VIDEO_INFO_WIDTH(&format), GST_VIDEO_INFO_HEIGHT(&format), pixelRatio},
                        settings_.screenWidth, settings_.screenHeight, pan_);
    }
    GstVideoFrame source;
    if (!layout || !prepareConverter(*layout, format) ||
        !gst_video_frame_map(&source, &format, gst_sample_get_buffer(picture_.get()),
                             GST_MAP_READ)) {
        const Canvas black = makeCanvas(settings_.screenWidth, settings_.screenHeight);
        gst_buffer_memset(black.buffer.get(), 0, 0, gst_buffer_get_size(black.buffer.get()));
        return sampleOf(black);
    }
    Canvas canvas = makeCanvas(layout->canvasWidth, layout->canvasHeight);
    GstVideoInfo info = formatLike(format, *layout);
    GstVideoFrame target;
    if (gst_video_frame_map(&target, &info, canvas.buffer.get(), GST_MAP_WRITE)) {
        gst_video_converter_frame(converter_, &source, &target);
        gst_video_frame_unmap(&target);
    }
    gst_video_frame_unmap(&source);
    return sampleOf(turned(std::move(canvas), view_.quarterTurns));
}

bool Screen::prepareConverter(const Layout& layout, const GstVideoInfo& format) {
    if (converter_ != nullptr && layout == layout_ && gst_video_info_is_equal(&format, &format_)) {
        return true;
    }
    if (converter_ != nullptr) {
        gst_video_converter_free(converter_);
    }
    layout_ = layout;
    format_ = format;
    GstVideoInfo from = format;
    GstVideoInfo to = formatLike(format, layout);
    GstStructure* const options = gst_structure_new(
        "options", GST_VIDEO_CONVERTER_OPT_SRC_X, G_TYPE_INT, layout.source.x,
        GST_VIDEO_CONVERTER_OPT_SRC_Y, G_TYPE_INT, layout.source.y,
        GST_VIDEO_CONVERTER_OPT_SRC_WIDTH, G_TYPE_INT, layout.source.width,
        GST_VIDEO_CONVERTER_OPT_SRC_HEIGHT, G_TYPE_INT, layout.source.height,
        GST_VIDEO_CONVERTER_OPT_DEST_X, G_TYPE_INT, layout.target.x, GST_VIDEO_CONVERTER_OPT_DEST_Y,
        G_TYPE_INT, layout.target.y, GST_VIDEO_CONVERTER_OPT_DEST_WIDTH, G_TYPE_INT,
        layout.target.width, GST_VIDEO_CONVERTER_OPT_DEST_HEIGHT, G_TYPE_INT, layout.target.height,
        GST_VIDEO_CONVERTER_OPT_FILL_BORDER, G_TYPE_BOOLEAN, TRUE,
        GST_VIDEO_CONVERTER_OPT_BORDER_ARGB, G_TYPE_UINT, kOpaqueBlack, nullptr);
    converter_ = gst_video_converter_new(&from, &to, options);
    return converter_ != nullptr;
}

// The window.

void Screen::output(GstSample* sample) {
    if (outputFailed_) {
        stopOutput(); // until the next media
        return;
    }
    if (!pipeline_) {
        startOutput();
    }
    if (input_) {
        gst_app_src_push_sample(GST_APP_SRC(input_.get()), sample);
    }
}

void Screen::startOutput() {
    GstElement* const sink = makeVideoSink(settings_);
    if (sink == nullptr) {
        return;
    }
    // When a picture comes it is to be shown: its time was waited for at the end of the media's
    // own pipeline.
    g_object_set(sink, "sync", FALSE, "async", FALSE, "enable-last-sample", FALSE, nullptr);
    pipeline_.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new("screen"))));
    input_.reset(GST_ELEMENT(gst_object_ref_sink(gst_element_factory_make("appsrc", nullptr))));
    GstElement* const convert = gst_element_factory_make("videoconvert", nullptr);
    GstElement* const scale = gst_element_factory_make("videoscale", nullptr);
    GstElement* const size = gst_element_factory_make("capsfilter", nullptr);
    // Their judgement of what comes too late does not know that another media's time begins anew,
    // or that it runs backward: they would leave out whatever lies before the last picture.
    g_object_set(convert, "qos", FALSE, nullptr);
    g_object_set(scale, "qos", FALSE, nullptr);
    openWindow(sink, size);
    gst_app_src_set_leaky_type(GST_APP_SRC(input_.get()), GST_APP_LEAKY_TYPE_DOWNSTREAM);
    g_object_set(input_.get(), "format", GST_FORMAT_TIME, "is-live", TRUE, "max-buffers",
                 guint64{2}, nullptr);
    gst_bin_add_many(GST_BIN(pipeline_.get()), input_.get(), convert, scale, size, sink, nullptr);
    gst_element_link_many(input_.get(), convert, scale, size, sink, nullptr);
    const GstOwner<GstBus> bus(gst_element_get_bus(pipeline_.get()));
    gst_bus_set_sync_handler(bus.get(), &Screen::onOutputMessage, this, nullptr);
    gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
}

/// Gives the sink the whole display, or a window that stays as it is whatever is shown in it. X
/// sinks do not scale, so `size` is told to.
void Screen::openWindow(GstElement* sink, GstElement* size) {
    const bool canFill =
        g_object_class_find_property(G_OBJECT_GET_CLASS(sink), "fullscreen") != nullptr;
    if (fullScreen_ && canFill) {
        g_object_set(sink, "fullscreen", TRUE, nullptr);
        return;
    }
    const WindowSize screen{settings_.screenWidth, settings_.screenHeight};
    WindowSize room = fitted(screen, kUsualRoom);
    if (settings_.xDisplay && GST_IS_VIDEO_OVERLAY(sink) && !canFill) {
        window_ = fullScreen_ ? DisplayWindow::overAll() : DisplayWindow::forScreen(screen);
        if (!window_) {
            return;
        }
        gst_video_overlay_set_window_handle(GST_VIDEO_OVERLAY(sink), window_->handle());
        room = window_->size();
    } else if (!canFill) {
        return; // nobody sees how large it is
    }
    const GstOwner<GstCaps> caps(
        gst_caps_new_simple("video/x-raw", "width", G_TYPE_INT, room.width, "height", G_TYPE_INT,
                            room.height, "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, nullptr));
    g_object_set(size, "caps", caps.get(), nullptr);
}

void Screen::stopOutput() {
    if (pipeline_) {
        gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
    }
    input_.reset();
    pipeline_.reset();
    window_.reset();
}

GstBusSyncReply Screen::onOutputMessage(GstBus*, GstMessage* message, gpointer self) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        GError* rawError = nullptr;
        gst_message_parse_error(message, &rawError, nullptr);
        const GstOwner<GError> error(rawError);
        logWarning(std::string("the picture is not shown any more: ") + error->message);
        static_cast<Screen*>(self)->outputFailed_ = true;
    }
    gst_message_unref(message); // who drops it owns it
    return GST_BUS_DROP;
}

} // namespace player
