#include "didl.h"

#include <string>

#include <gtest/gtest.h>
#include <libgupnp-av/gupnp-av.h>
#include <libxml/parser.h>

#include "glib_handles.h"

namespace {

using push::didlOf;
using push::MediaFile;
using push::MediaKind;

constexpr char kUri[] = "http://192.0.2.7:4711/0123456789abcdef.mp4";

MediaFile aFilm() {
    MediaFile film;
    film.kind = MediaKind::kVideo;
    film.type = {"video/mp4", "mp4"};
    film.size = 5000000000;
    film.durationMillis = 3723004;
    film.width = 1280;
    film.height = 720;
    film.title = "Holiday";
    return film;
}

/// The text as a renderer's strict parser reads it.
class ReadBack {
public:
    explicit ReadBack(const std::string& text)
        : document_(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING)) {}
    ~ReadBack() { xmlFreeDoc(document_); }
    ReadBack(const ReadBack&) = delete;
    ReadBack& operator=(const ReadBack&) = delete;

    bool isWellFormed() const { return document_ != nullptr; }
    std::string text(const char* element) const {
        const xmlNode* node = find(xmlDocGetRootElement(document_), element);
        return node != nullptr ? take(xmlNodeGetContent(node)) : "(missing)";
    }
    std::string attribute(const char* element, const char* name) const {
        const xmlNode* node = find(xmlDocGetRootElement(document_), element);
        return node != nullptr ? take(xmlGetProp(node, reinterpret_cast<const xmlChar*>(name)))
                               : "(missing)";
    }

private:
    static std::string take(xmlChar* text) {
        std::string copy = text != nullptr ? reinterpret_cast<const char*>(text) : "(null)";
        xmlFree(text);
        return copy;
    }
    static const xmlNode* find(const xmlNode* node, const std::string& name) {
        for (; node != nullptr; node = node->next) {
            if (node->type == XML_ELEMENT_NODE &&
                name == reinterpret_cast<const char*>(node->name)) {
                return node;
            }
            if (const xmlNode* inside = find(node->children, name)) {
                return inside;
            }
        }
        return nullptr;
    }

    xmlDoc* document_;
};

TEST(TheDescriptionOfAFilm, NamesAddressSizeDurationResolutionAndClass) {
    const ReadBack didl(didlOf(aFilm(), kUri));
    ASSERT_TRUE(didl.isWellFormed());
    EXPECT_EQ(didl.text("title"), "Holiday");
    EXPECT_EQ(didl.text("class"), "object.item.videoItem");
    EXPECT_EQ(didl.text("res"), kUri);
    EXPECT_EQ(didl.attribute("res", "size"), "5000000000");
    EXPECT_EQ(didl.attribute("res", "duration"), "1:02:03.004");
    EXPECT_EQ(didl.attribute("res", "resolution"), "1280x720");
    EXPECT_EQ(didl.attribute("res", "protocolInfo"),
              "http-get:*:video/mp4:DLNA.ORG_OP=01;DLNA.ORG_CI=0;DLNA.ORG_FLAGS="
              "01700000000000000000000000000000");
}

TEST(TheDescriptionOfASong, NamesArtistAndAlbumAndNoResolution) {
    MediaFile song = aFilm();
    song.kind = MediaKind::kMusic;
    song.type = {"audio/mpeg", "mp3"};
    song.width = song.height = 0;
    song.artist = "The <Testers>";
    song.album = "Tones & Tunes";
    const ReadBack didl(didlOf(song, kUri));
    ASSERT_TRUE(didl.isWellFormed());
    EXPECT_EQ(didl.text("class"), "object.item.audioItem.musicTrack");
    EXPECT_EQ(didl.text("artist"), "The <Testers>");
    EXPECT_EQ(didl.text("creator"), "The <Testers>");
    EXPECT_EQ(didl.text("album"), "Tones & Tunes");
    EXPECT_EQ(didl.attribute("res", "resolution"), "(null)");
}

TEST(TheDescriptionOfAPhoto, IsSentInteractivelyAndHasNoDuration) {
    MediaFile photo = aFilm();
    photo.kind = MediaKind::kPhoto;
    photo.type = {"image/jpeg", "jpg"};
    photo.durationMillis.reset();
    const ReadBack didl(didlOf(photo, kUri));
    ASSERT_TRUE(didl.isWellFormed());
    EXPECT_EQ(didl.text("class"), "object.item.imageItem.photo");
    EXPECT_EQ(didl.attribute("res", "duration"), "(null)");
    EXPECT_EQ(didl.attribute("res", "protocolInfo"),
              "http-get:*:image/jpeg:DLNA.ORG_OP=01;DLNA.ORG_CI=0;DLNA.ORG_FLAGS="
              "00f00000000000000000000000000000");
}

TEST(ATitle, ArrivesAsItIsHoweverMuchItLooksLikeMarkup) {
    for (const std::string title :
         {"</dc:title><upnp:class>x", "]]> & &amp; &#0; <!DOCTYPE a>", "\"quotes\" 'and' more",
          "Ünïcødé \xF0\x9F\x8E\xAC \xE6\x98\xA0\xE7\x94\xBB", "%s%n${x}`id`"}) {
        MediaFile film = aFilm();
        film.title = title;
        const ReadBack didl(didlOf(film, kUri));
        ASSERT_TRUE(didl.isWellFormed()) << title;
        EXPECT_EQ(didl.text("title"), title);
        EXPECT_EQ(didl.text("class"), "object.item.videoItem") << title;
    }
}

TEST(ATitle, LosesOnlyWhatXmlCannotCarry) {
    MediaFile film = aFilm();
    film.title = std::string("a\x01"
                             "b\x1B[2J\xFF\xC3(\xEF\xBF\xBE"
                             "c\nd");
    const std::string text = didlOf(film, kUri);
    const ReadBack didl(text);
    ASSERT_TRUE(didl.isWellFormed()) << text;
    EXPECT_EQ(didl.text("title"), "a\xEF\xBF\xBD"
                                  "b\xEF\xBF\xBD[2J\xEF\xBF\xBD\xEF\xBF\xBD("
                                  "\xEF\xBF\xBD"
                                  "c d");
}

TEST(TheContentFeatures, AreTheFourthFieldOfTheProtocolInfo) {
    const MediaFile film = aFilm();
    EXPECT_EQ("http-get:*:video/mp4:" + push::contentFeaturesOf(film), push::protocolInfoOf(film));
}

TEST(TheDescription, IsReadByAnotherParser) {
    const push::ObjectPtr<GUPnPDIDLLiteParser> parser(gupnp_didl_lite_parser_new());
    std::string title;
    g_signal_connect(parser.get(), "item-available",
                     G_CALLBACK(+[](GUPnPDIDLLiteParser*, GUPnPDIDLLiteItem* item, gpointer out) {
                         *static_cast<std::string*>(out) =
                             gupnp_didl_lite_object_get_title(GUPNP_DIDL_LITE_OBJECT(item));
                     }),
                     &title);
    push::ErrorHolder error;
    EXPECT_TRUE(
        gupnp_didl_lite_parser_parse_didl(parser.get(), didlOf(aFilm(), kUri).c_str(), error.out()))
        << error.text();
    EXPECT_EQ(title, "Holiday");
}

TEST(ADuration, IsWrittenInHoursMinutesSecondsAndThousandths) {
    EXPECT_EQ(push::formatDuration(0), "0:00:00.000");
    EXPECT_EQ(push::formatDuration(59999), "0:00:59.999");
    EXPECT_EQ(push::formatDuration(360000000), "100:00:00.000");
}

} // namespace
