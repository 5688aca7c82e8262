#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/gstreamer_errors.h"
#include "engine/image_type.h"
#include "engine/matroska.h"
#include "engine/mp4_fragments.h"
#include "engine/transport_stream.h"
#include "logic/numbers.h"
#include "logic/play_request.h"
#include "logic/player_error.h"
#include "logic/sound.h"
#include "logic/speed.h"
#include "metadata/didl.h"
#include "metadata/media_info.h"
#include "metadata/protocol_info.h"
#include "support/fake_engine.h"

namespace {

using namespace player;

const std::string kSep = kItemSeparator;

TEST(SpeedTexts, AreExactlyTheOnesThatTheTelevisionKnows) {
    std::string texts;
    for (const Speed speed : allSpeeds()) {
        texts += std::string(speed.text()) + " ";
        EXPECT_EQ(Speed::fromText(speed.text()), speed);
        EXPECT_EQ(Speed::fromRate(speed.rate()), speed);
    }
    EXPECT_EQ(texts, "1 2 4 8 16 32 -2 -4 -8 -16 -32 1/2 1/4 1/8 1/16 1/32 ");
}

TEST(SpeedTexts, StandForTheirRates) {
    EXPECT_EQ(Speed::fromText("1/32")->rate(), 0.03125);
    EXPECT_EQ(Speed::fromText("-32")->rate(), -32);
    EXPECT_TRUE(Speed::fromText("-2")->isBackward());
    EXPECT_FALSE(Speed::fromText("1/2")->isBackward());
}

TEST(SpeedTexts, OfNoKnownSpeedAreRefused) {
    for (const char* text : {"", "0", "3", "64", "1.0", "2/1", "-1", " 2", "2 ", "1/64", "x"}) {
        EXPECT_FALSE(Speed::fromText(text)) << text;
    }
    EXPECT_FALSE(Speed::fromRate(3));
}

TEST(MediaInfoText, HasTheItemsThatAreKnownWithTheirSeparator) {
    MediaFacts facts;
    facts.kind = MediaKind::kVideo;
    facts.width = 1920;
    facts.height = 1080;
    facts.frameRateThousandths = 23976;
    facts.videoCodec = "H.264";
    facts.audioCodec = "AAC";
    facts.seekable = true;
    facts.programs = 1;
    facts.audioTracks = 2;
    facts.audioTrack = 1;
    facts.videoTrack = 0;
    facts.channels = 6;
    facts.sampleRate = 48000;
    facts.bitrate = 192000;
    facts.dateIso = "2019-02-03";
    facts.title = "A";
    facts.album = "B";
    facts.artist = "C";
    EXPECT_EQ(mediaInfoText(facts),
              "MetadataStr=video/image_width:1920" + kSep + "video/image_height:1080" + kSep +
                  "frame-rate:23976" + kSep + "video-codec:Video Codec H.264" + kSep +
                  "audio-codec:Audio Codec AAC" + kSep + "index-existed:1" + kSep +
                  "nb-audio-track:2" + kSep + "nb-program:1" + kSep + "AudioChannel:5.1" + kSep +
                  "sample-rate:48000" + kSep + "bitrate:192000" + kSep + "year:2019" + kSep +
                  "VideoTrackID:0" + kSep + "AudioTrackID:1" + kSep + "title:A" + kSep + "album:B" +
                  kSep + "artist:C");
}

TEST(MediaInfoText, OfAPhotoHasItsTypeAndNoTracks) {
    MediaFacts facts;
    facts.kind = MediaKind::kImage;
    facts.width = 10;
    facts.height = 20;
    facts.imageType = ImageType::kJpegBaseline;
    EXPECT_EQ(mediaInfoText(facts), "MetadataStr=video/image_width:10" + kSep +
                                        "video/image_height:20" + kSep + "image-type:0" + kSep +
                                        "ImageHasDateTime:0");
    facts.imageDateTime = "2021-03-04T05:06:07";
    EXPECT_EQ(mediaInfoText(facts),
              "MetadataStr=video/image_width:10" + kSep + "video/image_height:20" + kSep +
                  "image-type:0" + kSep + "ImageHasDateTime:1" + kSep + "ImageYear:2021" + kSep +
                  "ImageMonth:3" + kSep + "ImageDate:4" + kSep + "ImageHour:5" + kSep +
                  "ImageMinute:6" + kSep + "ImageSecond:7");
}

TEST(MediaInfoText, SaysNothingAboutWhatIsNotKnown) {
    EXPECT_EQ(mediaInfoText(MediaFacts()), "MetadataStr=");
}

TEST(MediaInfoText, LetsNoTitleImitateAnItem) {
    MediaFacts facts;
    facts.kind = MediaKind::kAudio;
    facts.title = "x" + kSep + "artist:Nobody album:None AudioTrackID:9";
    facts.artist = "Real";
    const std::string text = mediaInfoText(facts);
    EXPECT_NE(text.find("title:x artist :Nobody album :None"), std::string::npos) << text;
    EXPECT_NE(text.find(kSep + "artist:Real"), std::string::npos) << text;
    EXPECT_EQ(text.find("artist:"), text.find("artist:Real"));
    EXPECT_EQ(text.find("album:"), std::string::npos);
    EXPECT_EQ(text.find("AudioTrackID:"), std::string::npos);
}

TEST(ProtocolInfo, NamesTheFirstKindThatOccurs) {
    EXPECT_EQ(kindNamedIn("http-get:*:video/mp4:*"), MediaKind::kVideo);
    EXPECT_EQ(kindNamedIn("http-get:*:audio/mpeg:*"), MediaKind::kAudio);
    EXPECT_EQ(kindNamedIn("object.item.imageItem.photo"), MediaKind::kImage);
    EXPECT_EQ(kindNamedIn("image/x audio/y video/z"), MediaKind::kVideo);
    EXPECT_EQ(kindNamedIn("application/ogg"), MediaKind::kUnknown);
}

TEST(ProtocolInfo, IsTakenApart) {
    EXPECT_EQ(mimeTypeOf("http-get:*:audio/mpeg:DLNA.ORG_PN=MP3"), "audio/mpeg");
    EXPECT_EQ(additionalInfoOf("http-get:*:audio/mpeg:DLNA.ORG_PN=MP3;a:b"), "DLNA.ORG_PN=MP3;a:b");
    EXPECT_EQ(additionalInfoOf("http-get:*:audio/mpeg"), "*");
    EXPECT_EQ(mimeTypeOf("nonsense"), "");
    EXPECT_EQ(mimeTypeOf(""), "");
}

TEST(ProtocolInfo, IsMadeFromWhatTheServerSays) {
    EXPECT_EQ(protocolInfoFromAnswer("image/PNG ; q=1", " DLNA.ORG_OP=01 "),
              "http-get:*:image/png:DLNA.ORG_OP=01");
    EXPECT_EQ(protocolInfoFromAnswer("audio/flac", ""), "http-get:*:audio/flac:*");
    EXPECT_EQ(protocolInfoFromAnswer("application/octet-stream", "DLNA.ORG_OP=01"), "");
    EXPECT_EQ(protocolInfoFromAnswer("", ""), "");
    EXPECT_EQ(protocolInfoFromAnswer("video/mp4:x", ""), "");
}

TEST(ProtocolInfo, IsMadeToNameAnotherKind) {
    EXPECT_EQ(
        withKind("http-get:*:application/ogg:DLNA.ORG_PN=X;DLNA.ORG_OP=01", MediaKind::kAudio),
        "http-get:*:audio/ogg:DLNA.ORG_OP=01");
    EXPECT_EQ(withKind("http-get:*:audio/mp4:*", MediaKind::kAudio), "http-get:*:audio/mp4:*");
    EXPECT_EQ(withKind("http-get:*:image/video:*", MediaKind::kAudio), "http-get:*:audio/*:*");
    EXPECT_EQ(withKind("", MediaKind::kImage), "http-get:*:image/*:*");
    EXPECT_EQ(withKind("http-get:*:x/y:*", MediaKind::kUnknown), "http-get:*:x/y:*");
}

std::string didl(const std::string& inside) {
    return R"(<DIDL-Lite xmlns="urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/" )"
           R"(xmlns:dc="http://purl.org/dc/elements/1.1/" )"
           R"(xmlns:upnp="urn:schemas-upnp-org:metadata-1-0/upnp/"><item>)" +
           inside + "</item></DIDL-Lite>";
}

TEST(ADescription, IsReadWithTheResourceThatIsPlayed) {
    std::string error;
    const auto item = readDidl(
        didl("<dc:title>Tr\xC3\xA4ume &amp; so</dc:title><dc:creator>C</dc:creator>"
             "<upnp:artist>A</upnp:artist><upnp:album>L</upnp:album><upnp:genre>G</upnp:genre>"
             "<dc:date>2020-01-02</dc:date><upnp:albumArtURI>http://h/a.jpg</upnp:albumArtURI>"
             "<upnp:class>object.item.audioItem.musicTrack</upnp:class>"
             "<res protocolInfo='http-get:*:audio/x-wav:*'>http://h/1</res>"
             "<res protocolInfo='http-get:*:audio/mpeg:*' duration='0:03:04.6'>http://h/2</res>"),
        "http://h/2", &error);
    ASSERT_TRUE(item) << error;
    EXPECT_EQ(item->title, "Tr\xC3\xA4ume & so");
    EXPECT_EQ(item->creator, "A");
    EXPECT_EQ(item->album, "L");
    EXPECT_EQ(item->genre, "G");
    EXPECT_EQ(item->dateIso, "2020-01-02");
    EXPECT_EQ(item->albumArtUri, "http://h/a.jpg");
    EXPECT_EQ(item->kind, MediaKind::kAudio);
    EXPECT_EQ(item->protocolInfo, "http-get:*:audio/mpeg:*");
    EXPECT_EQ(item->durationSec, 185u);
}

TEST(ADescription, ThatIsNotOneIsRefusedWithAReason) {
    const std::string cases[] = {
        "<DIDL-Lite",
        "<DIDL-Lite/>",
        "",
        "plain text",
        didl("<dc:title>no end"),
        "<!DOCTYPE d [<!ENTITY e SYSTEM 'file:///etc/passwd'>]>" + didl("<dc:title>&e;</dc:title>"),
        didl("") + "more",
        std::string(kMaxDidlBytes + 1, ' '),
    };
    for (const std::string& text : cases) {
        std::string error;
        EXPECT_FALSE(readDidl(text, "http://h/1", &error)) << text.substr(0, 80);
        EXPECT_NE(error, "");
    }
}

TEST(ADuration, IsReadInItsOnlyForm) {
    EXPECT_EQ(secondsOfDuration("1:02:03"), 3723.0);
    EXPECT_EQ(secondsOfDuration("0:00:00.5"), 0.5);
    for (const char* text : {"", "1:2:3", "1:60:00", "01:02", "1:02:03.", "-1:00:00", "1:02:03x"}) {
        EXPECT_FALSE(secondsOfDuration(text)) << text;
    }
}

TEST(ATimeToSeekTo, IsWrittenAsSecondsOrAsADuration) {
    EXPECT_EQ(timeInMs("75"), 75000);
    EXPECT_EQ(timeInMs("75.25"), 75250);
    EXPECT_EQ(timeInMs("0:01:15.5"), 75500);
    for (const char* text : {"", "-1", "1e3", "1.", ":", "99999999999"}) {
        EXPECT_FALSE(timeInMs(text)) << text;
    }
}

TEST(APlayRequest, TakesKindAndTitleFromTheDescription) {
    std::string complaints;
    const PlayRequest request = makePlayRequest(
        "http://h/1",
        didl("<dc:title>T</dc:title><upnp:class>object.item.audioItem</upnp:class>"
             "<res protocolInfo='http-get:*:application/ogg:DLNA.ORG_OP=01'>http://h/1</res>"),
        "", "", &complaints);
    EXPECT_EQ(complaints, "");
    EXPECT_EQ(request.track.title, "T");
    EXPECT_EQ(request.track.protocolInfo, "http-get:*:audio/ogg:DLNA.ORG_OP=01");
    EXPECT_EQ(request.track.mimeType, "audio/ogg");
}

TEST(APlayRequest, LeavesAKindThatNobodyNamesOpen) {
    std::string complaints;
    const PlayRequest request = makePlayRequest(
        "http://h/1",
        didl("<res protocolInfo='http-get:*:application/octet-stream:*'>http://h/1</res>"), "", "",
        &complaints);
    EXPECT_EQ(request.track.protocolInfo, "");
}

TEST(APlayRequest, PlaysATrackOfAContainer) {
    std::string complaints;
    const PlayRequest request = makePlayRequest("http://h/list", "", "http://h/2",
                                                didl("<dc:title>Two</dc:title>"), &complaints);
    EXPECT_EQ(request.media.uri, "http://h/list");
    EXPECT_EQ(request.track.uri, "http://h/2");
    EXPECT_EQ(request.track.title, "Two");
}

TEST(APlayRequest, SurvivesADescriptionThatCannotBeRead) {
    std::string complaints;
    const PlayRequest request = makePlayRequest("http://h/1", "<broken", "", "", &complaints);
    EXPECT_EQ(request.track.uri, "http://h/1");
    EXPECT_EQ(complaints, "the description is not well-formed XML");
}

TEST(AnAddress, IsPlayedOnlyWhenItIsHttp) {
    for (const char* uri : {"http://h/x", "https://h", "HTTP://h:80/"}) {
        EXPECT_TRUE(isSupportedAddress(uri)) << uri;
    }
    for (const char* uri : {"", "file:///etc/passwd", "http:///x", "http:/h", "rtsp://h/x",
                            "httpx://h", "h/x", "ftp://h", "http://"}) {
        EXPECT_FALSE(isSupportedAddress(uri)) << uri;
    }
}

TEST(AnError, FollowsFromTheServersStatus) {
    EXPECT_EQ(errorForHttpStatus(404), PlayerError::kNotFound);
    EXPECT_EQ(errorForHttpStatus(410), PlayerError::kNotFound);
    EXPECT_EQ(errorForHttpStatus(401), PlayerError::kRefused);
    EXPECT_EQ(errorForHttpStatus(403), PlayerError::kRefused);
    EXPECT_EQ(errorForHttpStatus(500), PlayerError::kServerFailed);
    EXPECT_EQ(errorForHttpStatus(503), PlayerError::kServerFailed);
    EXPECT_EQ(errorForHttpStatus(200), PlayerError::kNone);
    EXPECT_EQ(errorForHttpStatus(0), PlayerError::kNone);
}

TEST(AnError, FollowsFromWhatGStreamerReports) {
    struct Case {
        GQuark domain;
        int code;
        unsigned status;
        PlayerError expected;
    };
    const Case cases[] = {
        {GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND, 404, PlayerError::kNotFound},
        {GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_NOT_FOUND, 0, PlayerError::kUnreachable},
        {GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_OPEN_READ, 0, PlayerError::kUnreachable},
        {GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_OPEN_READ, 502, PlayerError::kServerFailed},
        {GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_OPEN_WRITE, 0, PlayerError::kNoOutput},
        {GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_READ, 0, PlayerError::kDamagedMedia},
        {GST_STREAM_ERROR, GST_STREAM_ERROR_TYPE_NOT_FOUND, 0, PlayerError::kUnknownFormat},
        {GST_STREAM_ERROR, GST_STREAM_ERROR_WRONG_TYPE, 0, PlayerError::kUnknownFormat},
        {GST_STREAM_ERROR, GST_STREAM_ERROR_CODEC_NOT_FOUND, 0, PlayerError::kNoDecoder},
        {GST_STREAM_ERROR, GST_STREAM_ERROR_DECODE, 0, PlayerError::kDamagedMedia},
        {GST_STREAM_ERROR, GST_STREAM_ERROR_DEMUX, 0, PlayerError::kDamagedMedia},
        {GST_CORE_ERROR, GST_CORE_ERROR_MISSING_PLUGIN, 0, PlayerError::kNoDecoder},
    };
    for (const Case& one : cases) {
        const GError error{one.domain, one.code, nullptr};
        EXPECT_EQ(playerErrorFor(error, one.status), one.expected) << one.domain << " " << one.code;
    }
}

TEST(APictureFile, SaysItsSizeAtItsBeginning) {
    const auto size = [](const std::string& bytes) {
        const auto found =
            imageSizeOf(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        return found ? std::to_string(found->width) + "x" + std::to_string(found->height) : "?";
    };
    const std::string png("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\1\0\0\0\0\2\3\x08\2\0\0\0", 29);
    EXPECT_EQ(size(png), "65536x515");
    const std::string bmp("BM................\x0a\0\0\0\xff\xff\xff\xff", 26);
    EXPECT_EQ(size(bmp), "10x1"); // a height below zero: from top to bottom
    EXPECT_EQ(size(std::string("GIF89a\x01\x02\x03\x04", 10)), "513x1027");
    const std::string jpeg("\xFF\xD8\xFF\xE1\x00\x04zz\xFF\xC2\x00\x11\x08\x01\x02\xFF\xFF", 17);
    EXPECT_EQ(size(jpeg), "65535x258");
    const std::string webp = "RIFF....WEBP";
    EXPECT_EQ(size(webp + "VP8X........" + std::string("\xff\xff\xff\x01\0\0", 6)), "16777216x2");
    EXPECT_EQ(size(webp + "VP8L....\x2f" + std::string("\xff\xff\xff\x0f.....", 9)), "16384x16384");
    EXPECT_EQ(size(webp + "VP8 .........." + std::string("\x0a\x80\x14\0", 4)), "10x20");
    for (const std::string& whole : {png, bmp, jpeg}) {
        EXPECT_EQ(size(whole.substr(0, whole.size() - 1)), "?");
    }
    EXPECT_EQ(size(""), "?");
    EXPECT_EQ(size(webp), "?");
}

TEST(Didl, NamesTheSubtitlesBesideTheMedia) {
    const std::string text =
        "<DIDL-Lite xmlns='urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/'><item>"
        "<res protocolInfo='http-get:*:text/srt:*'>http://h/1.srt</res>"
        "<res protocolInfo='http-get:*:video/mp4:*'>http://h/1.mp4</res></item></DIDL-Lite>";
    std::string error;
    const auto item = readDidl(text, "http://h/other", &error);
    ASSERT_TRUE(item) << error;
    EXPECT_EQ(item->subtitleUri, "http://h/1.srt");
    EXPECT_EQ(item->protocolInfo, "http-get:*:video/mp4:*");
    std::string complaints;
    EXPECT_EQ(makePlayRequest("http://h/1.mp4", text, "", "", &complaints).subtitleUri,
              "http://h/1.srt");
    std::string local = text;
    local.replace(local.find("http://h/1.srt"), 4, "file");
    EXPECT_EQ(makePlayRequest("http://h/1.mp4", local, "", "", &complaints).subtitleUri, "");
}

/// A packet of a transport stream that carries a piece of the table of programmes.
std::vector<std::uint8_t> tablePacket(bool begins, std::vector<std::uint8_t> payload) {
    std::vector<std::uint8_t> packet = {0x47, static_cast<std::uint8_t>(begins ? 0x40 : 0), 0,
                                        0x10};
    if (begins) {
        packet.push_back(0);
    }
    packet.insert(packet.end(), payload.begin(), payload.end());
    packet.resize(188, 0xFF);
    return packet;
}

/// A table with the network's entry and `programs` others, without its checksum.
std::vector<std::uint8_t> table(unsigned programs) {
    const unsigned length = 5 + 4 * (programs + 1) + 4;
    std::vector<std::uint8_t> bytes = {0,
                                       static_cast<std::uint8_t>(0xB0 | length >> 8),
                                       static_cast<std::uint8_t>(length),
                                       0,
                                       1,
                                       0xC1,
                                       0,
                                       0};
    for (unsigned number = 0; number <= programs; ++number) {
        bytes.insert(bytes.end(), {static_cast<std::uint8_t>(number >> 8),
                                   static_cast<std::uint8_t>(number), 0xE1, 0});
    }
    bytes.resize(3 + length);
    return bytes;
}

std::vector<std::uint8_t> streamOf(const std::vector<std::vector<std::uint8_t>>& packets,
                                   std::size_t before, std::size_t behind) {
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint8_t> other(188, 0xFF); // of another table, and stuffing
    other[0] = 0x47;
    other[1] = 0x1F;
    const auto add = [&](const std::vector<std::uint8_t>& packet) {
        bytes.resize(bytes.size() + before);
        bytes.insert(bytes.end(), packet.begin(), packet.end());
        bytes.resize(bytes.size() + behind);
    };
    add(other);
    for (const auto& packet : packets) {
        add(packet);
        add(other);
    }
    add(other);
    return bytes;
}

std::optional<unsigned> programsOf(const std::vector<std::vector<std::uint8_t>>& packets,
                                   std::size_t before = 0, std::size_t behind = 0) {
    const std::vector<std::uint8_t> bytes = streamOf(packets, before, behind);
    return programsIn(bytes.data(), bytes.size());
}

TEST(ATransportStream, SaysHowManyProgrammesItCarries) {
    EXPECT_EQ(programsOf({tablePacket(true, table(1))}), 1u);
    EXPECT_EQ(programsOf({tablePacket(true, table(7))}, 4), 7u); // a time before each packet
    EXPECT_EQ(programsOf({tablePacket(true, table(2))}, 0, 16), 2u);
    EXPECT_EQ(programsOf({}), std::nullopt);
    EXPECT_EQ(programsIn(nullptr, 0), std::nullopt);
}

TEST(ATransportStream, IsNotTakenForOneOfShorterPacketsThatBeginLater) {
    std::vector<std::uint8_t> bytes = streamOf({tablePacket(true, table(5))}, 4, 0);
    for (const std::size_t place : {150, 150 + 188, 150 + 2 * 188}) {
        ASSERT_NE(place % 192, 4u);
        bytes[place] = 0x47; // what is carried may be anything
    }
    std::optional<unsigned> known;
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        const std::optional<unsigned> programs = programsIn(bytes.data(), size);
        ASSERT_TRUE(!known || programs == known) << size;
        known = programs;
    }
    EXPECT_EQ(known, 5u);
}

TEST(ATransportStream, HasATableThatMayBeLongerThanAPacket) {
    const std::vector<std::uint8_t> whole = table(60);
    const auto part = [&whole](std::size_t from, std::size_t to) {
        return std::vector<std::uint8_t>(whole.begin() + static_cast<long>(from),
                                         whole.begin() + static_cast<long>(to));
    };
    const auto first = tablePacket(true, part(0, 183));
    const auto second = tablePacket(false, part(183, whole.size()));
    EXPECT_EQ(programsOf({first}), std::nullopt);
    EXPECT_EQ(programsOf({first, second}), 60u);
    EXPECT_EQ(programsOf({second, first}), std::nullopt); // it begins somewhere
}

/// What stands between a WebM file's header and its pictures, in a segment without a size.
std::optional<bool> lengthStatedIn(const std::string& parts) {
    const std::string file =
        std::string("\x1A\x45\xDF\xA3\x84\x42\x86\x81\x01\x18\x53\x80\x67\x01", 14) +
        std::string(7, '\xFF') + parts;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(file.data());
    std::optional<bool> known;
    for (std::size_t size = 0; size <= file.size(); ++size) {
        const std::optional<bool> stated = statesLength(bytes, size);
        EXPECT_TRUE(!known || stated == known) << size;
        known = stated;
    }
    return known;
}

TEST(AWebmFile, SaysWhetherItKnowsItsLength) {
    using namespace std::string_literals;
    const std::string scale = "\x2A\xD7\xB1\x83\x0F\x42\x40"s;
    const std::string info = "\x15\x49\xA9\x66"s;
    const std::string space = "\xEC\x40\x02zz"s; // a size in two bytes
    const std::string tracks = "\x16\x54\xAE\x6B\x82zz"s;
    const std::string pictures = "\x1F\x43\xB6\x75\xFF"s;
    const std::string four = "\x44\x89\x84\x45\x7A\x00\x00"s; // 4000
    const std::string eight = "\x44\x89\x88\x40\xAF\x40\x00\x00\x00\x00\x00"s;
    EXPECT_EQ(lengthStatedIn(space + info + "\x8E" + scale + four), true);
    EXPECT_EQ(lengthStatedIn(tracks + info + "\x92" + scale + eight), true);
    EXPECT_EQ(lengthStatedIn(info + "\x87" + scale), false);
    EXPECT_EQ(lengthStatedIn(info + "\x87" + "\x44\x89\x84\0\0\0\0"s), false); // zero
    EXPECT_EQ(lengthStatedIn(info + "\x83" + "\x44\x89\x80"s), false);
    EXPECT_EQ(lengthStatedIn(info + "\x8E" + scale), std::nullopt); // there is more to come
    EXPECT_EQ(lengthStatedIn(pictures + info + "\x87" + scale), std::nullopt);
    EXPECT_EQ(lengthStatedIn("\x00\x00\x00"s), std::nullopt);
    EXPECT_EQ(lengthStatedIn("\xEC\x01\xFF\xFF\xFF\xFF\xFF\xFF\xFE"s), std::nullopt);
    EXPECT_EQ(statesLength(nullptr, 0), std::nullopt);
    const std::uint8_t other[] = {'R', 'I', 'F', 'F', 0, 0, 0, 0};
    EXPECT_EQ(statesLength(other, sizeof other), std::nullopt);
}

std::string box(const char* type, const std::string& contents) {
    return std::string(3, '\0') + static_cast<char>(contents.size() + 8) + type + contents;
}

/// What is known of the whole; less of it may say nothing, but nothing else.
std::optional<bool> fragmented(const std::string& file) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(file.data());
    std::optional<bool> known;
    for (std::size_t size = 0; size <= file.size(); ++size) {
        const std::optional<bool> now = isFragmented(bytes, size);
        EXPECT_TRUE(!known || now == known) << size;
        known = now;
    }
    return known;
}

TEST(AnMp4File, SaysWhetherItComesInPieces) {
    const std::string type = box("ftyp", "isom");
    const std::string track = box("mvhd", "") + box("trak", "mvex");
    const std::string pieces = box("mvex", box("trex", ""));
    EXPECT_EQ(fragmented(type + box("moov", track + pieces)), true);
    EXPECT_EQ(fragmented(box("moov", pieces)), true);
    EXPECT_EQ(fragmented(type + box("free", "x") + box("moov", track)), false);
    EXPECT_EQ(fragmented(type + box("mdat", "x") + box("moov", pieces)), false);
    EXPECT_EQ(fragmented(type + box("moov", track).substr(0, 20)), std::nullopt);
    const std::string longBox = std::string("\0\0\0\1moov\0\0\0\0\0\0\0", 15) +
                                static_cast<char>(16 + pieces.size()) + pieces;
    EXPECT_EQ(fragmented(type + longBox), true);
    EXPECT_EQ(fragmented(type + std::string("\0\0\0\0moov", 8) + pieces), true);
    EXPECT_EQ(fragmented(type + std::string("\0\0\0\7moov", 8) + pieces), std::nullopt);
    EXPECT_EQ(fragmented(box("RIFF", "") + box("moov", pieces)), std::nullopt);
    EXPECT_EQ(isFragmented(nullptr, 0), std::nullopt);
}

TEST(AnMp4File, LacksItsIndexInItsBeginningWhenThePicturesComeFirst) {
    const auto lacks = [](const std::string& file) {
        return isWithoutIndex(reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
    };
    const std::string type = box("ftyp", "isom");
    const std::string pictures = std::string("\x7F\0\0\0mdat", 8) + "pictures";
    EXPECT_TRUE(lacks(type + pictures));
    EXPECT_TRUE(lacks(type + box("free", "") + pictures));
    EXPECT_TRUE(lacks(box("wide", "") + pictures)); // as they were before there were types
    EXPECT_TRUE(lacks(pictures));
    EXPECT_TRUE(lacks(type + box("mdat", "pictures") + box("moov", "")));
    EXPECT_TRUE(lacks(type)) << "as far as it is there";
    EXPECT_FALSE(lacks(type + box("moov", "") + pictures));
    EXPECT_FALSE(lacks(type + box("free", "") + std::string("\x7F\0\0\0moov", 8)));
    EXPECT_FALSE(lacks(box("RIFF", "") + pictures));
    EXPECT_FALSE(lacks(""));
}

TEST(APictureFile, IsRecognisedByItsFirstBytes) {
    std::string png("\x89PNG\r\n\x1a\n", 8);
    png += std::string(21, '\0');
    const auto type = [](const std::string& bytes) {
        return imageTypeOf(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    };
    EXPECT_EQ(type(png), ImageType::kPng);
    png[28] = 1;
    EXPECT_EQ(type(png), ImageType::kPngInterlaced);
    EXPECT_EQ(type("BM...."), ImageType::kBmp);
    const std::string exif("\xFF\xD8\xFF\xE1\x00\x04zz", 8);
    EXPECT_EQ(type(exif + std::string("\xFF\xC0\x00\x11", 4)), ImageType::kJpegBaseline);
    EXPECT_EQ(type(exif + std::string("\xFF\xFF\xC2\x00\x11", 5)), ImageType::kJpegProgressive);
    EXPECT_EQ(type(exif + std::string("\xFF\xDA\x00\x11", 4)), ImageType::kUnknown);
    EXPECT_EQ(type(exif), ImageType::kUnknown);
    EXPECT_EQ(type(""), ImageType::kUnknown);
    EXPECT_EQ(type("GIF89a"), ImageType::kUnknown);
}

class TheSound : public testing::Test {
protected:
    test::FakeEngine engine_;
    int announced_ = 0;
    Sound sound_{engine_, SoundStatus(), [this](const SoundStatus&) {
                     ++announced_;
                 }};
};

TEST_F(TheSound, GoesUpAndDownInStepsOfFiveAndStopsAtTheEnds) {
    EXPECT_EQ(engine_.taken(), "volume 50");
    sound_.up();
    EXPECT_EQ(engine_.taken(), "volume 55");
    EXPECT_TRUE(sound_.write("mMaster.mVolume", "98"));
    sound_.up();
    EXPECT_EQ(sound_.status().volume, 100u);
    EXPECT_TRUE(sound_.write("mMaster.mVolume", "3"));
    sound_.down();
    EXPECT_EQ(sound_.status().volume, 0u);
    EXPECT_EQ(announced_, 5);
}

TEST_F(TheSound, KeepsTheVolumeWhileItIsMute) {
    EXPECT_TRUE(sound_.write("mMaster.mfMute", "1"));
    engine_.taken();
    sound_.down();
    EXPECT_EQ(engine_.taken(), "volume 45 mute");
    EXPECT_TRUE(sound_.write("mMaster.mfMute", "0"));
    EXPECT_EQ(engine_.taken(), "volume 45");
}

TEST_F(TheSound, RefusesWhatItCannotBe) {
    engine_.taken();
    EXPECT_FALSE(sound_.write("mMaster.mVolume", "101"));
    EXPECT_FALSE(sound_.write("mMaster.mVolume", "-1"));
    EXPECT_FALSE(sound_.write("mMaster.mVolume", "loud"));
    EXPECT_FALSE(sound_.write("mMaster.mfMute", "2"));
    EXPECT_FALSE(sound_.write("mMaster.mName", "1"));
    EXPECT_EQ(engine_.taken(), "");
    EXPECT_EQ(announced_, 0);
}

} // namespace
