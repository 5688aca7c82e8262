#include "metadata/didl.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <memory>

#include <libxml/parser.h>
#include <libxml/tree.h>

namespace player {
namespace {

constexpr char kDidlNamespace[] = "urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/";
constexpr char kDublinCoreNamespace[] = "http://purl.org/dc/elements/1.1/";
constexpr char kUpnpNamespace[] = "urn:schemas-upnp-org:metadata-1-0/upnp/";

struct DocumentDeleter {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
struct ContextDeleter {
    void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
};
struct TextDeleter {
    void operator()(xmlChar* text) const { xmlFree(text); }
};

using Document = std::unique_ptr<xmlDoc, DocumentDeleter>;

const char* chars(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

bool isElement(const xmlNode* node, const char* nameSpace, const char* name) {
    return node->type == XML_ELEMENT_NODE && std::string_view(chars(node->name)) == name &&
           node->ns != nullptr && node->ns->href != nullptr &&
           std::string_view(chars(node->ns->href)) == nameSpace;
}

std::string contentOf(xmlNode* node) {
    const std::unique_ptr<xmlChar, TextDeleter> text(xmlNodeGetContent(node));
    return text ? chars(text.get()) : "";
}

std::string attribute(xmlNode* node, const char* name) {
    const std::unique_ptr<xmlChar, TextDeleter> text(
        xmlGetNoNsProp(node, reinterpret_cast<const xmlChar*>(name)));
    return text ? chars(text.get()) : "";
}

Document parse(std::string_view text) {
    const std::unique_ptr<xmlParserCtxt, ContextDeleter> context(xmlNewParserCtxt());
    if (!context) {
        return nullptr;
    }
    // No network, no entity substitution, no messages of its own; no recovery.
    return Document(xmlCtxtReadMemory(
        context.get(), text.data(), static_cast<int>(text.size()), nullptr, nullptr,
        XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NOCDATA));
}

xmlNode* firstItem(xmlDoc* document) {
    xmlNode* const root = xmlDocGetRootElement(document);
    if (root == nullptr || !isElement(root, kDidlNamespace, "DIDL-Lite")) {
        return nullptr;
    }
    for (xmlNode* child = root->children; child != nullptr; child = child->next) {
        if (isElement(child, kDidlNamespace, "item")) {
            return child;
        }
    }
    return nullptr;
}

bool isSubtitleType(std::string_view mimeType) {
    constexpr std::array<std::string_view, 11> kTypes = {
        "text/srt",   "text/x-srt", "application/x-subrip", "text/vtt", "text/sub",   "text/ssa",
        "text/x-ssa", "text/ass",   "text/x-ass",           "text/smi", "smi/caption"};
    return std::find(kTypes.begin(), kTypes.end(), mimeType) != kTypes.end();
}

void takeFirst(std::string& target, xmlNode* node) {
    if (target.empty()) {
        target = contentOf(node);
    }
}

} // namespace

std::optional<double> secondsOfDuration(std::string_view text) {
    double seconds = 0;
    for (int part = 0; part < 3; ++part) {
        std::size_t digits = 0;
        unsigned long value = 0;
        while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits]))) {
            value = value * 10 + static_cast<unsigned long>(text[digits] - '0');
            if (++digits > 6) {
                return std::nullopt;
            }
        }
        if (digits == 0 || (part > 0 && (digits != 2 || value > 59))) {
            return std::nullopt;
        }
        seconds = seconds * 60 + static_cast<double>(value);
        text.remove_prefix(digits);
        if (part < 2) {
            if (text.empty() || text.front() != ':') {
                return std::nullopt;
            }
            text.remove_prefix(1);
        }
    }
    if (text.empty()) {
        return seconds;
    }
    if (text.front() != '.' || text.size() < 2) {
        return std::nullopt;
    }
    double scale = 0.1;
    for (const char character : text.substr(1)) {
        if (!std::isdigit(static_cast<unsigned char>(character))) {
            return std::nullopt;
        }
        seconds += scale * (character - '0');
        scale /= 10;
    }
    return seconds;
}

std::optional<DidlItem> readDidl(std::string_view text, const std::string& uri,
                                 std::string* error) {
    if (text.size() > kMaxDidlBytes) {
        *error = "the description is longer than " + std::to_string(kMaxDidlBytes) + " bytes";
        return std::nullopt;
    }
    const Document document = parse(text);
    if (!document) {
        *error = "the description is not well-formed XML";
        return std::nullopt;
    }
    if (document->intSubset != nullptr) {
        // Nobody declares entities in a description but to make its reader unfold them.
        *error = "the description declares a document type";
        return std::nullopt;
    }
    xmlNode* const node = firstItem(document.get());
    if (node == nullptr) {
        *error = "the description is not a DIDL-Lite document with an item";
        return std::nullopt;
    }

    DidlItem item;
    std::string artist;
    std::string creator;
    xmlNode* resource = nullptr;
    for (xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (isElement(child, kDublinCoreNamespace, "title")) {
            takeFirst(item.title, child);
        } else if (isElement(child, kDublinCoreNamespace, "creator")) {
            takeFirst(creator, child);
        } else if (isElement(child, kDublinCoreNamespace, "date")) {
            takeFirst(item.dateIso, child);
        } else if (isElement(child, kUpnpNamespace, "artist")) {
            takeFirst(artist, child);
        } else if (isElement(child, kUpnpNamespace, "album")) {
            takeFirst(item.album, child);
        } else if (isElement(child, kUpnpNamespace, "genre")) {
            takeFirst(item.genre, child);
        } else if (isElement(child, kUpnpNamespace, "albumArtURI")) {
            takeFirst(item.albumArtUri, child);
        } else if (isElement(child, kUpnpNamespace, "class")) {
            item.kind = kindNamedIn(contentOf(child));
        } else if (isElement(child, kDidlNamespace, "res")) {
            if (isSubtitleType(mimeTypeOf(attribute(child, "protocolInfo")))) {
                takeFirst(item.subtitleUri, child);
            } else if (resource == nullptr || contentOf(child) == uri) {
                resource = child;
            }
        }
    }
    item.creator = artist.empty() ? creator : artist;
    if (resource != nullptr) {
        item.protocolInfo = attribute(resource, "protocolInfo");
        const std::optional<double> duration = secondsOfDuration(attribute(resource, "duration"));
        item.durationSec = static_cast<std::uint32_t>(std::lround(duration.value_or(0)));
    }
    return item;
}

} // namespace player
