// The media-info string: cutting an item out of it and formatting the value. Written by the player
// from tags of files that anybody may have made.
//
// Input: everything is the string; every item is asked for.
#include "KetraSrv_DLNA_DMR/media_info.h"

#include <algorithm>
#include <string>

#include "check.h"
#include "input.h"

namespace {

constexpr std::string_view kSeparator = "\xEE\x82\x8A";
constexpr char kUntouched[] = "untouched";
constexpr int kLastItem = 60; // behind the last one that there is

bool isOneOf(std::string_view answer, std::initializer_list<std::string_view> texts) {
    return std::find(texts.begin(), texts.end(), answer) != texts.end();
}

/// The value occurs in the string and holds no separator.
bool isCut(std::string_view info, std::string_view answer) {
    return info.find(answer) != std::string_view::npos &&
           answer.find(kSeparator) == std::string_view::npos;
}

void checkAnswer(std::string_view info, EN_INFO_METADATA item, const std::string& answer) {
    switch (item) {
    case E_INFO_IMAGE_TYPE:
        FUZZ_CHECK(isOneOf(answer, {"JPEG,Baseline", "JPEG,Progressive", "BMP",
                                    "PNG,non-interlaced", "PNG,interlaced", "Unknown"}));
        break;
    case E_INFO_INDEX_EXISTED:
    case E_INFO_IMAGE_HAS_DATETIME:
        FUZZ_CHECK(isOneOf(answer, {"Yes", "No"}));
        break;
    case E_INFO_FRAME_RATE: {
        // Three decimals; without the point and the zeros put in front it is the value.
        FUZZ_CHECK(answer.size() >= 5 && answer[answer.size() - 4] == '.');
        std::string digits = answer;
        digits.erase(digits.size() - 4, 1);
        while (!isCut(info, digits)) {
            FUZZ_CHECK(!digits.empty() && digits[0] == '0');
            digits.erase(0, 1);
        }
        break;
    }
    case E_INFO_ITEM_14:
        FUZZ_CHECK(answer == "---");
        break;
    default:
        FUZZ_CHECK(isCut(info, answer));
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string info(fuzz::bytes(data, size));
    for (int number = -1; number <= kLastItem; ++number) {
        const auto item = static_cast<EN_INFO_METADATA>(number);
        std::string answer = kUntouched;
        const bool known = mediainfo::answer(info, item, answer);
        if (known) {
            checkAnswer(info, item, answer);
        } else {
            FUZZ_CHECK(isOneOf(answer, {"---", "Unknown"}));
        }
    }
    for (const char* key : {"VideoTrackID:", "AudioTrackID:"}) {
        const U32 track = mediainfo::number(info, key);
        FUZZ_CHECK(info.find(key) != std::string::npos || track == static_cast<U32>(-1));
    }
    return 0;
}
