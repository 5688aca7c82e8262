// XML as strangers send it and as we write it: parsing that refuses instead of repairing, and
// escaping. Pure functions; any thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <libxml/tree.h>

namespace vantor {

struct XmlFreeDocument {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using XmlDocument = std::unique_ptr<xmlDoc, XmlFreeDocument>;

/// Parses a whole document. Null when it is not well formed, holds a NUL, a document type or an
/// entity definition, nests deeper than libxml2's own limit (256), or begins with anything but '<'
/// (behind a UTF-8 byte order mark and blanks), which shuts out the encodings whose bytes hide
/// those.
XmlDocument parseStrictXml(std::string_view text);

/// The next element at or after `node` among its siblings; null when there is none.
xmlNode* elementFrom(xmlNode* node);
/// The first element inside `node`.
xmlNode* firstElement(const xmlNode* node);
std::string_view nodeName(const xmlNode* node);
/// The namespace's address; empty when there is none.
std::string_view nodeNamespace(const xmlNode* node);
/// All text inside.
std::string nodeText(const xmlNode* node);

/// The document's root element as XML.
std::string documentText(xmlDoc* document);

/// Text for element content. Characters that XML 1.0 cannot carry and bytes that are not UTF-8
/// become U+FFFD.
std::string escapeXml(std::string_view text);
/// The same for attributes in double quotes, where line ends would otherwise become blanks.
std::string escapeXmlAttribute(std::string_view text);

} // namespace vantor
