#include "renderer/play_speed.h"

namespace vantor {

const std::vector<std::string>& playSpeedTexts() {
    static const std::vector<std::string> texts = {"1",   "2",   "4",    "8",   "16",  "32",
                                                   "-2",  "-4",  "-8",   "-16", "-32", "1/2",
                                                   "1/4", "1/8", "1/16", "1/32"};
    return texts;
}

bool isSpeedOffered(std::string_view speed, std::string_view list) {
    constexpr std::string_view separators = ", \t";
    bool any = false;
    while (true) {
        const std::size_t start = list.find_first_not_of(separators);
        if (start == std::string_view::npos) {
            return !any;
        }
        list.remove_prefix(start);
        const std::string_view entry = list.substr(0, list.find_first_of(separators));
        if (entry == speed) {
            return true;
        }
        any = true;
        list.remove_prefix(entry.size());
    }
}

} // namespace vantor
