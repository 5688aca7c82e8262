#include "renderer/play_speed.h"

#include <algorithm>

namespace vantor {

const std::vector<std::string>& playSpeedTexts() {
    static const std::vector<std::string> texts = {"1",   "2",   "4",    "8",   "16",  "32",
                                                   "-2",  "-4",  "-8",   "-16", "-32", "1/2",
                                                   "1/4", "1/8", "1/16", "1/32"};
    return texts;
}

std::vector<std::string> offeredSpeeds(std::string_view list) {
    constexpr std::string_view separators = ", \t";
    std::vector<std::string> speeds;
    while (true) {
        const std::size_t start = list.find_first_not_of(separators);
        if (start == std::string_view::npos) {
            return speeds.empty() ? playSpeedTexts() : speeds;
        }
        list.remove_prefix(start);
        const std::string_view entry = list.substr(0, list.find_first_of(separators));
        speeds.emplace_back(entry);
        list.remove_prefix(entry.size());
    }
}

bool isSpeedOffered(std::string_view speed, std::string_view list) {
    const std::vector<std::string> offered = offeredSpeeds(list);
    return std::find(offered.begin(), offered.end(), speed) != offered.end();
}

} // namespace vantor
