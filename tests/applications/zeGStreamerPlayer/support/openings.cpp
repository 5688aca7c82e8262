#include "support/openings.h"

#include <map>
#include <mutex>
#include <stdexcept>

#include <gst/base/gstbasesrc.h>

#include "engine/gst_handles.h"

namespace test {
namespace {

std::mutex gMutex;
std::map<std::string, unsigned> gOpenings; // guarded by gMutex
decltype(GstBaseSrcClass::start) gStart = nullptr;

gboolean start(GstBaseSrc* source) {
    char* address = nullptr;
    g_object_get(source, "location", &address, nullptr);
    const player::GstOwner<char> owner(address);
    {
        const std::lock_guard<std::mutex> lock(gMutex);
        ++gOpenings[address == nullptr ? "" : address];
    }
    return gStart(source);
}

} // namespace

void countOpenings() {
    gst_init(nullptr, nullptr);
    const player::GstOwner<GstElement> source(gst_element_factory_make("souphttpsrc", nullptr));
    if (!source) {
        throw std::runtime_error("GStreamer has no HTTP source");
    }
    auto* const sources = GST_BASE_SRC_GET_CLASS(source.get());
    if (sources->start != start) {
        gStart = sources->start;
        sources->start = start;
    }
    const std::lock_guard<std::mutex> lock(gMutex);
    gOpenings.clear();
}

unsigned openingsOf(const std::string& address) {
    const std::lock_guard<std::mutex> lock(gMutex);
    const auto found = gOpenings.find(address);
    return found == gOpenings.end() ? 0 : found->second;
}

} // namespace test
