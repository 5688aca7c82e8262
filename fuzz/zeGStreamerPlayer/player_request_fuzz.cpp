// A line with an address or a server's Content-Type, then a description or the other headers of its
// answer: contentFeatures.dlna.org and the subtitle file of CaptionInfo.sec.
#include <string>

#include "check.h"
#include "common/address_title.h"
#include "input.h"
#include "logic/play_request.h"
#include "metadata/didl.h"
#include "metadata/protocol_info.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace player;
    const std::string_view input = fuzz::bytes(data, size);
    const std::size_t end = input.find('\n');
    const std::string line(input.substr(0, end));
    const std::string rest(end == std::string_view::npos ? "" : input.substr(end + 1));

    std::string complaints;
    for (const bool ofTrack : {false, true}) {
        const PlayRequest request =
            ofTrack ? makePlayRequest("http://192.0.2.1/a", "", line, rest, &complaints)
                    : makePlayRequest(line, rest, "", "", &complaints);
        FUZZ_CHECK(request.subtitleUri.empty() || isSupportedAddress(request.subtitleUri));
        for (const MediaDescription* media : {&request.media, &request.track}) {
            FUZZ_CHECK(media->protocolInfo.empty() ||
                       kindNamedIn(media->protocolInfo) != MediaKind::kUnknown);
        }
    }
    FUZZ_CHECK(text::titleFromAddress(line).size() <= line.size());
    const std::string answered = protocolInfoFromAnswer(line, rest);
    FUZZ_CHECK(answered.empty() || kindNamedIn(answered) != MediaKind::kUnknown);
    for (const MediaKind kind : {MediaKind::kVideo, MediaKind::kAudio, MediaKind::kImage}) {
        FUZZ_CHECK(kindNamedIn(withKind(rest, kind)) != MediaKind::kUnknown);
    }
    const auto seconds = secondsOfDuration(line);
    FUZZ_CHECK(!seconds || *seconds >= 0);
    return 0;
}
