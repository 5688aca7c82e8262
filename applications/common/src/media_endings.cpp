#include "common/media_endings.h"

#include <algorithm>

namespace media_endings {

namespace {

struct Row {
    std::string_view ending;
    std::string_view mimeType;
};
constexpr Row kRows[] = {
    {"3gp", "video/3gpp"},       {"avi", "video/x-msvideo"}, {"flv", "video/x-flv"},
    {"m2ts", "video/mp2t"},      {"m4v", "video/mp4"},       {"mkv", "video/x-matroska"},
    {"mov", "video/quicktime"},  {"mp4", "video/mp4"},       {"mpeg", "video/mpeg"},
    {"mpg", "video/mpeg"},       {"ogv", "video/ogg"},       {"ts", "video/mp2t"},
    {"webm", "video/webm"},      {"wmv", "video/x-ms-wmv"},  {"aac", "audio/aac"},
    {"aiff", "audio/aiff"},      {"flac", "audio/flac"},     {"m3u", "audio/x-mpegurl"},
    {"m3u8", "audio/x-mpegurl"}, {"m4a", "audio/mp4"},       {"mka", "audio/x-matroska"},
    {"mp3", "audio/mpeg"},       {"oga", "audio/ogg"},       {"ogg", "audio/ogg"},
    {"opus", "audio/opus"},      {"wav", "audio/wav"},       {"weba", "audio/webm"},
    {"wma", "audio/x-ms-wma"},   {"bmp", "image/bmp"},       {"gif", "image/gif"},
    {"jpeg", "image/jpeg"},      {"jpg", "image/jpeg"},      {"png", "image/png"},
    {"tif", "image/tiff"},       {"tiff", "image/tiff"},     {"webp", "image/webp"},
};

char lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

} // namespace

std::string endingOf(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1); // npos + 1 is 0
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos) {
        return {};
    }
    std::string ending(name.substr(dot + 1));
    std::transform(ending.begin(), ending.end(), ending.begin(), lower);
    return ending;
}

std::string_view mimeTypeOf(std::string_view ending) {
    const auto* row = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&](const Row& known) { return known.ending == ending; });
    return row == std::end(kRows) ? std::string_view() : row->mimeType;
}

} // namespace media_endings
