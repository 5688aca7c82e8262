// The first bytes of a photo, a transport stream, a Matroska or an MP4 film, looked at before any
// decoder.
#include "check.h"
#include "engine/image_type.h"
#include "engine/matroska.h"
#include "engine/mp4_fragments.h"
#include "engine/transport_stream.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace player;
    const ImageType type = imageTypeOf(data, size);
    FUZZ_CHECK(type >= ImageType::kUnknown && type <= ImageType::kPngInterlaced);
    (void)imageSizeOf(data, size);
    const auto programs = programsIn(data, size);
    FUZZ_CHECK(!programs || *programs <= 1024);
    // What is known stays known when more arrives.
    const auto early = programsIn(data, size / 2);
    FUZZ_CHECK(!early || programs == early);
    const auto length = statesLength(data, size);
    const auto earlyLength = statesLength(data, size / 2);
    FUZZ_CHECK(!earlyLength || length == earlyLength);
    const auto pieces = isFragmented(data, size);
    const auto earlyPieces = isFragmented(data, size / 2);
    FUZZ_CHECK(!earlyPieces || pieces == earlyPieces);
    // An index that comes in pieces is one.
    FUZZ_CHECK(!isWithoutIndex(data, size) || !pieces.value_or(false));
    return 0;
}
