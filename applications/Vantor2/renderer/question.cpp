#include "renderer/question.h"

#include <algorithm>
#include <string_view>

#include <glib.h>

#include "base/glib_handles.h"
#include "common/address_title.h"
#include "common/text.h"
#include "renderer/container_address.h"

namespace vantor {

namespace {

// Of a media of which nothing is known; the TV has to call it something.
constexpr const char* kUnknownType = "application/octet-stream";
constexpr const char* kFolder = "folder";

struct EndingRow {
    std::string_view ending;
    const char* mimeType;
};
constexpr EndingRow kEndings[] = {
    {".3gp", "video/3gpp"},      {".avi", "video/x-msvideo"}, {".flv", "video/x-flv"},
    {".m2ts", "video/mp2t"},     {".m4v", "video/mp4"},       {".mkv", "video/x-matroska"},
    {".mov", "video/quicktime"}, {".mp4", "video/mp4"},       {".mpeg", "video/mpeg"},
    {".mpg", "video/mpeg"},      {".ogv", "video/ogg"},       {".ts", "video/mp2t"},
    {".webm", "video/webm"},     {".wmv", "video/x-ms-wmv"},  {".aac", "audio/aac"},
    {".flac", "audio/flac"},     {".m3u", "audio/x-mpegurl"}, {".m3u8", "audio/x-mpegurl"},
    {".m4a", "audio/mp4"},       {".mp3", "audio/mpeg"},      {".oga", "audio/ogg"},
    {".ogg", "audio/ogg"},       {".opus", "audio/opus"},     {".wav", "audio/wav"},
    {".wma", "audio/x-ms-wma"},  {".bmp", "image/bmp"},       {".gif", "image/gif"},
    {".jpeg", "image/jpeg"},     {".jpg", "image/jpeg"},      {".png", "image/png"},
    {".tif", "image/tiff"},      {".tiff", "image/tiff"},     {".webp", "image/webp"},
};

// What cannot be printed, or separates lines, becomes a blank.
std::string printable(const std::string& text) {
    const GText valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    std::string line;
    for (const char* at = valid.get(); *at != '\0'; at = g_utf8_next_char(at)) {
        const gunichar character = g_utf8_get_char(at);
        if (g_unichar_isprint(character) && !g_unichar_isspace(character)) {
            line.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
        } else {
            line += ' ';
        }
    }
    return std::string(text::trimmed(line));
}

const char* typeOfEnding(const std::string& uri) {
    std::string path = uri.substr(0, uri.find_first_of("?#"));
    std::transform(path.begin(), path.end(), path.begin(), g_ascii_tolower);
    const std::size_t dot = path.rfind('.');
    const std::string_view ending =
        dot == std::string::npos ? std::string_view() : std::string_view(path).substr(dot);
    const auto* row = std::find_if(std::begin(kEndings), std::end(kEndings),
                                   [&](const EndingRow& known) { return known.ending == ending; });
    return row == std::end(kEndings) ? kUnknownType : row->mimeType;
}

} // namespace

std::string questionTitle(const Media& media) {
    const std::string given = printable(media.tracks[media.start].info.title);
    if (!given.empty()) {
        return given;
    }
    if (isContainerAddress(media.uri)) {
        return kFolder;
    }
    const std::string named = printable(text::titleFromAddress(media.uri));
    return named.empty() ? printable(media.uri) : named;
}

std::string questionMimeType(const Media& media) {
    const Track& track = media.tracks[media.start];
    const std::string given = printable(track.info.mimeType);
    return given.empty() ? typeOfEnding(track.uri) : given;
}

} // namespace vantor
