// A line with a protocol info or contentFeatures.dlna.org, then a TimeSeekRange.dlna.org answer.
#include <algorithm>

#include "check.h"
#include "input.h"
#include "metadata/dlna_features.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace player;
    const std::string_view text = fuzz::bytes(data, size);
    const std::size_t end = std::min(text.find('\n'), size);
    const DlnaFeatures features = dlnaFeaturesIn(text.substr(0, end));
    FUZZ_CHECK(features.speeds.size() < allSpeeds().size());
    for (const Speed speed : features.speeds) {
        FUZZ_CHECK(!speed.isNormal());
        FUZZ_CHECK(std::count(features.speeds.begin(), features.speeds.end(), speed) == 1);
    }
    const auto range = timeSeekRangeIn(text.substr(end));
    if (range) {
        // It can be calculated with, and asked for again.
        constexpr std::int64_t kMostMs = std::int64_t{1001} * 366 * 86400 * 1000;
        FUZZ_CHECK(range->fromMs >= 0 && range->fromMs <= kMostMs);
        FUZZ_CHECK(range->wholeMs == -1 ||
                   (range->wholeMs >= range->fromMs && range->wholeMs <= kMostMs));
        const auto again = timeSeekRangeIn(timeSeekRequest(range->fromMs));
        FUZZ_CHECK(again && again->fromMs == range->fromMs);
    }
    return 0;
}
