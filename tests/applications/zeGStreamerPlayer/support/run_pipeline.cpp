#include "support/run_pipeline.h"

#include "engine/gst_handles.h"

namespace test {

using player::GstOwner;

testing::AssertionResult runPipeline(const std::string& description,
                                     const std::function<void(GstTagSetter*)>& tag) {
    const auto failure = [&description](const GError* error) {
        return testing::AssertionFailure()
               << description << ": " << (error == nullptr ? "it does not end" : error->message);
    };
    gst_init(nullptr, nullptr);
    GError* rawError = nullptr;
    const GstOwner<GstElement> pipeline(gst_parse_launch(description.c_str(), &rawError));
    const GstOwner<GError> mistake(rawError);
    if (mistake) {
        return failure(mistake.get());
    }
    if (tag) {
        const GstOwner<GstElement> tags(gst_bin_get_by_name(GST_BIN(pipeline.get()), "tags"));
        tag(GST_TAG_SETTER(tags.get()));
    }
    const GstOwner<GstBus> bus(gst_element_get_bus(pipeline.get()));
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    const GstOwner<GstMessage> end(gst_bus_timed_pop_filtered(
        bus.get(), 60 * GST_SECOND,
        static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    if (end && GST_MESSAGE_TYPE(end.get()) == GST_MESSAGE_EOS) {
        return testing::AssertionSuccess();
    }
    rawError = nullptr;
    if (end) {
        gst_message_parse_error(end.get(), &rawError, nullptr);
    }
    const GstOwner<GError> error(rawError);
    return failure(error.get());
}

} // namespace test
