#include "renderer/didl.h"

#include <algorithm>
#include <charconv>

#include <glib.h>

#include "base/time_text.h"
#include "base/xml.h"
#include "common/text.h"
#include "renderer/media_info.h"

namespace vantor {

namespace {

// The name without a prefix; controllers use prefixes that they forget to declare.
std::string_view localName(const xmlNode* node) {
    const std::string_view name = nodeName(node);
    const std::size_t colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string attribute(const xmlNode* node, std::string_view wanted) {
    for (const xmlAttr* entry = node->properties; entry != nullptr; entry = entry->next) {
        const auto* name = reinterpret_cast<const xmlNode*>(entry); // begins with the same members
        if (localName(name) == wanted) {
            return nodeText(name);
        }
    }
    return "";
}

std::string trimmedText(const xmlNode* node) {
    const std::string text = nodeText(node);
    return std::string(text::trimmed(text, " \t\r\n"));
}

// The last one is an attribute of the media's resource, which some controllers write like the
// others.
bool isSubtitleElement(std::string_view name) {
    return name == "CaptionInfo" || name == "CaptionInfoEx" || name == "subtitleFileUri";
}

bool isSubtitleType(const std::string& mimeType) {
    static constexpr const char* kTypes[] = {"application/ttml+xml",
                                             "application/x-ass",
                                             "application/x-sami",
                                             "application/x-ssa",
                                             "application/x-subrip",
                                             "smi/caption",
                                             "text/ass",
                                             "text/smi",
                                             "text/srt",
                                             "text/ssa",
                                             "text/sub",
                                             "text/ttml",
                                             "text/vtt",
                                             "text/webvtt",
                                             "text/x-ass",
                                             "text/x-sami",
                                             "text/x-srt",
                                             "text/x-ssa",
                                             "text/x-subrip"};
    return std::find(std::begin(kTypes), std::end(kTypes), mimeType) != std::end(kTypes);
}

MediaResource readResource(const xmlNode* node) {
    MediaResource resource;
    resource.uri = trimmedText(node);
    resource.protocolInfo = attribute(node, "protocolInfo");
    resource.mimeType = mimeTypeOf(resource.protocolInfo);
    resource.durationSec = parseTime(attribute(node, "duration")).value_or(0);
    const std::string size = attribute(node, "size");
    std::from_chars(size.data(), size.data() + size.size(), resource.sizeBytes);
    return resource;
}

struct Subtitle {
    std::string uri;
    bool isResource = false;
};

void consider(Subtitle& subtitle, const std::string& uri, bool isResource) {
    if (subtitle.uri.empty() && isPlayableAddress(uri)) {
        subtitle = {uri, isResource};
    }
}

// The namespaces of the document it came from around the item.
std::string documentOf(xmlNode* root, xmlNode* item, const Subtitle& subtitle) {
    const XmlDocument document(xmlNewDoc(BAD_CAST "1.0"));
    xmlNode* newRoot = xmlNewDocNode(document.get(), nullptr, root->name, nullptr);
    newRoot->nsDef = xmlCopyNamespaceList(root->nsDef);
    xmlDocSetRootElement(document.get(), newRoot);
    if (root->ns != nullptr) {
        newRoot->ns = xmlSearchNs(document.get(), newRoot, root->ns->prefix);
    }
    xmlNode* newItem = xmlAddChild(newRoot, xmlDocCopyNode(item, document.get(), 1));
    if (!subtitle.uri.empty() && !subtitle.isResource) {
        xmlNode* resource =
            xmlNewTextChild(newItem, newItem->ns, BAD_CAST "res", BAD_CAST subtitle.uri.c_str());
        xmlNewProp(resource, BAD_CAST "protocolInfo", BAD_CAST "http-get:*:text/srt:*");
    }
    xmlReconciliateNs(document.get(), newRoot);
    return documentText(document.get());
}

MediaItem readItem(xmlNode* root, xmlNode* item, DidlDetail detail) {
    MediaItem read;
    read.id = attribute(item, "id");
    Subtitle subtitle;
    for (xmlNode* node = firstElement(item); node != nullptr; node = elementFrom(node->next)) {
        const std::string_view name = localName(node);
        if (name == "title" && read.title.empty()) {
            read.title = trimmedText(node);
        } else if (name == "class") {
            read.upnpClass = trimmedText(node);
        } else if (isSubtitleElement(name)) {
            consider(subtitle, trimmedText(node), false);
        } else if (name == "res") {
            MediaResource resource = readResource(node);
            consider(subtitle, attribute(node, "subtitleFileUri"), false);
            if (isSubtitleType(resource.mimeType)) {
                consider(subtitle, resource.uri, true);
            } else {
                read.resources.push_back(std::move(resource));
            }
        }
    }
    read.subtitleUri = subtitle.uri;
    const bool alone = firstElement(root) == item && elementFrom(item->next) == nullptr;
    const bool asItCame = alone && (subtitle.uri.empty() || subtitle.isResource);
    if (!asItCame && (alone || detail == DidlDetail::documents)) {
        read.didl = documentOf(root, item, subtitle);
    }
    return read;
}

// For the documents of all items together; the constant is what some items with little in them
// need.
std::size_t roomFor(std::string_view text) {
    return 4 * text.size() + std::size_t{512} * 1024;
}

struct Collection {
    DidlDetail detail;
    std::vector<MediaItem> items;
    std::size_t room;
    bool full = false;
};

void collect(xmlNode* root, xmlNode* parent, Collection& collection) {
    for (xmlNode* node = firstElement(parent); node != nullptr && !collection.full;
         node = elementFrom(node->next)) {
        if (localName(node) == "item") {
            MediaItem item = readItem(root, node, collection.detail);
            collection.full = item.didl.size() > collection.room;
            if (!collection.full) {
                collection.room -= item.didl.size();
                collection.items.push_back(std::move(item));
                collection.full = collection.items.size() == kMostItems;
            }
        } else if (localName(node) == "container") {
            collect(root, node, collection); // as deep as the parser lets a document be
        }
    }
}

} // namespace

std::vector<MediaItem> readDidl(std::string_view text, DidlDetail detail) {
    Collection collection{detail, {}, roomFor(text)};
    const XmlDocument document = parseStrictXml(text);
    if (document) {
        xmlNode* root = xmlDocGetRootElement(document.get());
        collect(root, root, collection);
    }
    std::vector<MediaItem>& items = collection.items;
    if (items.size() == 1 && items.front().didl.empty()) {
        items.front().didl = text; // byte by byte as it came
    }
    return std::move(items);
}

std::string mimeTypeOf(std::string_view protocolInfo) {
    text::takeEntry(protocolInfo, ':');
    text::takeEntry(protocolInfo, ':');
    std::string_view field = text::takeEntry(protocolInfo, ':');
    std::string type(text::takeEntry(field, ';'));
    std::transform(type.begin(), type.end(), type.begin(), g_ascii_tolower);
    return type == "*" ? std::string() : type;
}

std::string_view dlnaParameter(std::string_view protocolInfo, std::string_view name) {
    for (int field = 0; field < 3; ++field) {
        text::takeEntry(protocolInfo, ':');
    }
    while (!protocolInfo.empty()) {
        std::string_view value = text::takeEntry(protocolInfo, ';');
        if (text::takeEntry(value, '=') == name) {
            return value;
        }
    }
    return {};
}

} // namespace vantor
