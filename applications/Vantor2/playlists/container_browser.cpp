#include "playlists/container_browser.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <utility>

#include "base/xml.h"
#include "common/text.h"
#include "renderer/didl.h"

namespace vantor {

namespace {

// Servers tell as few as ten children at once, whatever they are asked for; one that tells fewer
// gets no more than so many questions.
constexpr std::size_t kMostPieces = 100;
// What is asked for at once: with long descriptions still well below the longest answer.
constexpr std::size_t kPiece = 100;
// Those in front of the item that is played first, for who goes back.
constexpr std::size_t kBefore = 50;
// All pieces together: as long as a playlist may be, and as many items.
constexpr std::size_t kLongestDidl = 1024 * 1024;

std::string textOf(const xmlNode* parent, std::string_view name) {
    for (xmlNode* node = firstElement(parent); node != nullptr; node = elementFrom(node->next)) {
        if (nodeName(node) == name) {
            const std::string value = nodeText(node);
            return std::string(text::trimmed(value, " \t\r\n"));
        }
    }
    return "";
}

// The first element inside `node` for which fits() is true, at any depth.
template <class Fits> xmlNode* findInside(const xmlNode* node, const Fits& fits) {
    for (xmlNode* child = firstElement(node); child != nullptr; child = elementFrom(child->next)) {
        if (fits(child)) {
            return child;
        }
        if (xmlNode* found = findInside(child, fits)) {
            return found;
        }
    }
    return nullptr;
}

bool hasItem(const std::string& didl) {
    const XmlDocument document = parseStrictXml(didl);
    return document && findInside(xmlDocGetRootElement(document.get()), [](const xmlNode* node) {
                           return nodeName(node) == "item";
                       }) != nullptr;
}

bool isOnSameHost(const std::string& left, const std::string& right) {
    GUri* one = g_uri_parse(left.c_str(), G_URI_FLAGS_NONE, nullptr);
    GUri* other = g_uri_parse(right.c_str(), G_URI_FLAGS_NONE, nullptr);
    const bool same = one != nullptr && other != nullptr && g_uri_get_host(one) != nullptr &&
                      g_uri_get_host(other) != nullptr &&
                      std::string_view(g_uri_get_host(one)) == g_uri_get_host(other) &&
                      g_uri_get_scheme(one) == std::string("http");
    g_clear_pointer(&one, g_uri_unref);
    g_clear_pointer(&other, g_uri_unref);
    return same;
}

std::string browseBody(const ContainerAddress& address, const std::string& serviceType,
                       std::size_t first, std::size_t count) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
           "s:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\"><s:Body>"
           "<u:Browse xmlns:u=\"" +
           escapeXml(serviceType) + "\"><ObjectID>" + escapeXml(address.containerId) +
           "</ObjectID><BrowseFlag>BrowseDirectChildren</BrowseFlag><Filter>*</Filter>"
           "<StartingIndex>" +
           std::to_string(first) + "</StartingIndex><RequestedCount>" + std::to_string(count) +
           "</RequestedCount><SortCriteria>" + escapeXml(address.sortCriteria) +
           "</SortCriteria></u:Browse></s:Body></s:Envelope>\n";
}

} // namespace

ContainerBrowser::ContainerBrowser(OwnAddresses ownAddresses, std::chrono::milliseconds longest)
    : search_(std::move(ownAddresses)), longest_(longest), limit_([this] {
          transfer_.giveUp();
          finish();
      }) {}

void ContainerBrowser::browse(const ContainerAddress& address, Done done) {
    giveUp();
    address_ = address;
    done_ = std::move(done);
    search_.find(address.udn, [this](const std::optional<std::string>& location) {
        if (location) {
            describe(*location);
        } else {
            finish();
        }
    });
}

void ContainerBrowser::giveUp() {
    search_.giveUp();
    transfer_.giveUp();
    limit_.stop();
    pieces_.clear();
    leftOut_.clear();
    skipped_ = 0;
    next_ = 0;
    done_ = nullptr;
}

void ContainerBrowser::describe(const std::string& location) {
    transfer_.start(GObjectPtr<SoupMessage>(soup_message_new("GET", location.c_str())),
                    [this, location](const std::optional<std::string>& description) {
                        const auto service =
                            description ? findService(*description, location, address_.serviceId)
                                        : std::nullopt;
                        if (!service) {
                            finish();
                            return;
                        }
                        service_ = *service;
                        limit_.start(longest_);
                        ask();
                    });
}

void ContainerBrowser::ask() {
    GObjectPtr<SoupMessage> message(soup_message_new("POST", service_.control.c_str()));
    if (message) {
        const std::string body =
            browseBody(address_, service_.type, next_,
                       std::min(kPiece, kMostItems - std::min(kMostItems, next_ - skipped_)));
        soup_message_headers_append(soup_message_get_request_headers(message.get()), "SOAPACTION",
                                    ("\"" + service_.type + "#Browse\"").c_str());
        GBytes* bytes = g_bytes_new(body.data(), body.size());
        soup_message_set_request_body_from_bytes(message.get(), "text/xml; charset=\"utf-8\"",
                                                 bytes);
        g_bytes_unref(bytes);
    }
    transfer_.start(std::move(message),
                    [this](const std::optional<std::string>& answer) { answered(answer); });
}

void ContainerBrowser::answered(const std::optional<std::string>& answer) {
    const auto piece = answer ? browseAnswer(*answer) : std::nullopt;
    std::size_t length = piece ? piece->didl.size() : 0;
    for (const std::string& earlier : pieces_) {
        length += earlier.size();
    }
    // A server that tells the same again and again does not know where it was asked to begin.
    const bool news = piece && (pieces_.empty() || piece->didl != pieces_.back());
    if (!news) {
        finish();
        return;
    }
    const bool tooLong = length > kLongestDidl;
    if (!tooLong) {
        pieces_.push_back(piece->didl);
        next_ += piece->returned;
    }
    const bool more = piece->returned > 0 && (piece->total == 0 || next_ < piece->total);
    const bool full = tooLong || next_ - skipped_ >= kMostItems || pieces_.size() >= kMostPieces;
    if (more && (skipToNamed(piece->total, full) || !full)) {
        ask();
    } else {
        finish();
    }
}

// Leaves out what stands far before the item that is played first, when that cannot be reached from
// the start.
bool ContainerBrowser::skipToNamed(std::size_t total, bool full) {
    const std::size_t named = address_.firstIndex;
    const bool isThere = total == 0 || named < total;
    const bool reachable = named < next_ || (named < kMostItems && !full);
    if (skipped_ != 0 || named <= kBefore || !isThere || reachable) {
        return false;
    }
    leftOut_ = std::exchange(pieces_, {});
    skipped_ = next_ = named - kBefore;
    return true;
}

// Servers that do not know how much they have are asked beyond their end, and some refuse what
// stands far behind.
void ContainerBrowser::takeBackLeftOut() {
    const bool skippedInVain =
        skipped_ != 0 && std::none_of(pieces_.begin(), pieces_.end(), hasItem);
    if (skippedInVain) {
        pieces_ = std::move(leftOut_);
        skipped_ = 0;
    }
    leftOut_.clear();
}

void ContainerBrowser::finish() {
    limit_.stop();
    takeBackLeftOut();
    const Done done = std::exchange(done_, nullptr);
    const std::vector<std::string> pieces = std::exchange(pieces_, {});
    if (done) {
        done(pieces.empty() ? std::nullopt
                            : std::optional<FetchedPlaylist>({joinedDidl(pieces), skipped_}));
    }
}

std::optional<FoundService> findService(const std::string& description, const std::string& location,
                                        const std::string& serviceId) {
    const XmlDocument document = parseStrictXml(description);
    if (!document) {
        return std::nullopt;
    }
    const xmlNode* root = xmlDocGetRootElement(document.get());
    const xmlNode* service = findInside(root, [&](const xmlNode* node) {
        return nodeName(node) == "service" && textOf(node, "serviceId") == serviceId;
    });
    if (service == nullptr) {
        return std::nullopt;
    }
    const std::string stated = textOf(root, "URLBase");
    const GText control(g_uri_resolve_relative((stated.empty() ? location : stated).c_str(),
                                               textOf(service, "controlURL").c_str(),
                                               G_URI_FLAGS_NONE, nullptr));
    FoundService found{control ? control.get() : "", textOf(service, "serviceType")};
    // A type goes into a header.
    const bool sound = found.type.rfind("urn:", 0) == 0 &&
                       found.type.find_first_of(" \t\r\n\"") == std::string::npos;
    return sound && isOnSameHost(found.control, location) ? std::optional<FoundService>(found)
                                                          : std::nullopt;
}

std::optional<BrowseAnswer> browseAnswer(const std::string& text) {
    const XmlDocument document = parseStrictXml(text);
    const xmlNode* response =
        document
            ? findInside(xmlDocGetRootElement(document.get()),
                         [](const xmlNode* node) { return nodeName(node) == "BrowseResponse"; })
            : nullptr;
    const auto has = [&](std::string_view name) {
        return findInside(response, [&](const xmlNode* node) { return nodeName(node) == name; });
    };
    const xmlNode* result = response != nullptr ? has("Result") : nullptr;
    if (result == nullptr) {
        return std::nullopt;
    }
    const auto number = [&](std::string_view name) {
        const std::string digits = textOf(response, name);
        std::uint32_t value = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return std::size_t{value};
    };
    return BrowseAnswer{nodeText(result), std::min(number("NumberReturned"), kMostItems),
                        number("TotalMatches")};
}

std::string joinedDidl(const std::vector<std::string>& documents) {
    if (documents.size() == 1) {
        return documents.front();
    }
    XmlDocument whole;
    for (const std::string& text : documents) {
        XmlDocument piece = parseStrictXml(text);
        if (!piece) {
            continue;
        }
        if (!whole) {
            whole = std::move(piece);
            continue;
        }
        xmlNode* root = xmlDocGetRootElement(whole.get());
        for (xmlNode* node = firstElement(xmlDocGetRootElement(piece.get())); node != nullptr;
             node = elementFrom(node->next)) {
            xmlAddChild(root, xmlDocCopyNode(node, whole.get(), 1));
        }
        xmlReconciliateNs(whole.get(), root);
    }
    return whole ? documentText(whole.get()) : std::string();
}

} // namespace vantor
