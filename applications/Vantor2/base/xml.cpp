#include "base/xml.h"

#include <cstddef>

#include <glib.h>
#include <libxml/parser.h>

namespace vantor {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

std::string_view asView(const xmlChar* text) {
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

// The document from its first '<'; empty when anything but a byte order mark and blanks stands
// before it. (Some controllers send blank lines before the XML declaration.)
std::string_view fromFirstTag(std::string_view text) {
    if (text.substr(0, 3) == "\xEF\xBB\xBF") {
        text.remove_prefix(3);
    }
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    return start != std::string_view::npos && text[start] == '<' ? text.substr(start)
                                                                 : std::string_view();
}

bool isXmlCharacter(gunichar character) {
    return character == '\t' || character == '\n' || character == '\r' ||
           (character >= 0x20 && character <= 0xD7FF) ||
           (character >= 0xE000 && character <= 0xFFFD) || character >= 0x10000;
}

void appendEscaped(std::string& out, std::string_view character) {
    switch (character.front()) {
    case '&':
        out += "&amp;";
        break;
    case '<':
        out += "&lt;";
        break;
    case '>':
        out += "&gt;";
        break;
    case '"':
        out += "&quot;";
        break;
    case '\r':
        out += "&#13;"; // a parser would make a line feed of it
        break;
    default:
        out += character;
    }
}

} // namespace

XmlDocument parseStrictXml(std::string_view text) {
    text = fromFirstTag(text);
    if (text.empty() || text.size() > static_cast<std::size_t>(G_MAXINT) ||
        text.find('\0') != std::string_view::npos ||
        text.find("<!DOCTYPE") != std::string_view::npos ||
        text.find("<!ENTITY") != std::string_view::npos) {
        return nullptr;
    }
    XmlDocument document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                       XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    // An encoding may still have hidden a document type from the search above.
    if (!document || document->intSubset != nullptr || document->extSubset != nullptr ||
        xmlDocGetRootElement(document.get()) == nullptr) {
        return nullptr;
    }
    return document;
}

xmlNode* elementFrom(xmlNode* node) {
    while (node != nullptr && node->type != XML_ELEMENT_NODE) {
        node = node->next;
    }
    return node;
}

xmlNode* firstElement(const xmlNode* node) {
    return elementFrom(node->children);
}

std::string_view nodeName(const xmlNode* node) {
    return asView(node->name);
}

std::string_view nodeNamespace(const xmlNode* node) {
    return node->ns == nullptr ? std::string_view() : asView(node->ns->href);
}

std::string nodeText(const xmlNode* node) {
    xmlChar* content = xmlNodeGetContent(node);
    std::string text(asView(content));
    xmlFree(content);
    return text;
}

std::string documentText(xmlDoc* document) {
    xmlBuffer* buffer = xmlBufferCreate();
    xmlNodeDump(buffer, document, xmlDocGetRootElement(document), 0, 0);
    std::string text(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
                     static_cast<std::size_t>(xmlBufferLength(buffer)));
    xmlBufferFree(buffer);
    return text;
}

std::string escapeXml(std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 8);
    std::size_t at = 0;
    while (at < text.size()) {
        const gunichar character =
            g_utf8_get_char_validated(text.data() + at, static_cast<gssize>(text.size() - at));
        if (character == static_cast<gunichar>(-1) || character == static_cast<gunichar>(-2)) {
            out += kReplacement;
            ++at;
            continue;
        }
        const auto length = static_cast<std::size_t>(g_unichar_to_utf8(character, nullptr));
        if (isXmlCharacter(character)) {
            appendEscaped(out, text.substr(at, length));
        } else {
            out += kReplacement;
        }
        at += length;
    }
    return out;
}

std::string escapeXmlAttribute(std::string_view text) {
    std::string out;
    for (const char character : escapeXml(text)) {
        switch (character) {
        case '\n':
            out += "&#10;";
            break;
        case '\t':
            out += "&#9;";
            break;
        default:
            out += character;
        }
    }
    return out;
}

} // namespace vantor
