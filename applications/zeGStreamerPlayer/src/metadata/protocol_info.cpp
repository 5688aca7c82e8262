#include "metadata/protocol_info.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>
#include <vector>

namespace player {
namespace {

constexpr std::array kKinds = {
    std::pair{MediaKind::kVideo, "video"},
    std::pair{MediaKind::kAudio, "audio"},
    std::pair{MediaKind::kImage, "image"},
};

constexpr std::size_t kMimeField = 2;
constexpr std::size_t kAdditionalField = 3;

/// A field of a protocol info; the last one takes all that is left. "" when it is missing.
std::string_view field(std::string_view protocolInfo, std::size_t index) {
    for (std::size_t skipped = 0; skipped < index; ++skipped) {
        const std::size_t colon = protocolInfo.find(':');
        if (colon == std::string_view::npos) {
            return {};
        }
        protocolInfo.remove_prefix(colon + 1);
    }
    return index == kAdditionalField ? protocolInfo
                                     : protocolInfo.substr(0, protocolInfo.find(':'));
}

std::string_view trimmed(std::string_view text) {
    const char* const blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The parameters of a fourth field that are true whatever the format is.
std::string withoutProfileName(std::string_view additional) {
    std::string kept;
    while (!additional.empty()) {
        const std::string_view parameter = additional.substr(0, additional.find(';'));
        additional.remove_prefix(std::min(additional.size(), parameter.size() + 1));
        if (parameter.empty() || parameter == "*" || parameter.rfind("DLNA.ORG_PN=", 0) == 0) {
            continue;
        }
        kept += kept.empty() ? "" : ";";
        kept += parameter;
    }
    return kept;
}

} // namespace

const char* wordOf(MediaKind kind) {
    for (const auto& [known, word] : kKinds) {
        if (known == kind) {
            return word;
        }
    }
    return "";
}

MediaKind kindNamedIn(std::string_view text) {
    for (const auto& [kind, word] : kKinds) {
        if (text.find(word) != std::string_view::npos) {
            return kind;
        }
    }
    return MediaKind::kUnknown;
}

std::string mimeTypeOf(std::string_view protocolInfo) {
    return std::string(trimmed(field(protocolInfo, kMimeField)));
}

std::string additionalInfoOf(std::string_view protocolInfo) {
    const std::string_view additional = trimmed(field(protocolInfo, kAdditionalField));
    return additional.empty() ? "*" : std::string(additional);
}

std::string makeProtocolInfo(MediaKind kind, std::string_view mimeType,
                             std::string_view additional) {
    std::string mime(mimeType);
    if (mime.empty()) {
        mime = std::string(wordOf(kind)) + "/*";
    }
    return "http-get:*:" + mime + ":" + (additional.empty() ? "*" : std::string(additional));
}

std::string withKind(std::string_view protocolInfo, MediaKind kind, const std::string& mimeType) {
    if (kind == MediaKind::kUnknown || kindNamedIn(protocolInfo) == kind) {
        return std::string(protocolInfo);
    }
    const std::string mime = mimeTypeOf(protocolInfo);
    const std::size_t slash = mime.find('/');
    const std::string subtype = slash == std::string::npos ? "*" : mime.substr(slash + 1);
    std::string rewritten = makeProtocolInfo(
        kind, mimeType.empty() ? std::string(wordOf(kind)) + "/" + subtype : mimeType,
        withoutProfileName(additionalInfoOf(protocolInfo)));
    if (kindNamedIn(rewritten) != kind) {
        // Something else in the text names another kind and would be found first.
        rewritten = makeProtocolInfo(kind, "", "");
    }
    return rewritten;
}

std::string protocolInfoFromAnswer(std::string_view contentType, std::string_view contentFeatures) {
    std::string mime(trimmed(contentType.substr(0, contentType.find(';'))));
    std::transform(mime.begin(), mime.end(), mime.begin(),
                   [](unsigned char character) { return std::tolower(character); });
    const MediaKind kind = kindNamedIn(mime);
    if (kind == MediaKind::kUnknown || mime.find(':') != std::string::npos) {
        return "";
    }
    return withKind(makeProtocolInfo(kind, mime, trimmed(contentFeatures)), kind);
}

} // namespace player
