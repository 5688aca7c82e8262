// What controllers and playlists say about media: DIDL-Lite, protocol info, M3U, and the order in
// which tracks are played.
#include "renderer/media.h"

#include <gtest/gtest.h>

#include "base/xml.h"
#include "renderer/didl.h"
#include "renderer/play_queue.h"
#include "renderer/playlist.h"
#include "renderer/question.h"

namespace vantor {
namespace {

std::string didl(const std::string& items) {
    return "<DIDL-Lite xmlns=\"urn:schemas-upnp-org:metadata-1-0/DIDL-Lite/\" "
           "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
           "xmlns:upnp=\"urn:schemas-upnp-org:metadata-1-0/upnp/\" "
           "xmlns:sec=\"http://www.sec.co.kr/\" xmlns:pv=\"http://www.pv.com/pvns/\">" +
           items + "</DIDL-Lite>";
}

std::string item(const std::string& title, const std::string& content) {
    return "<item id=\"1\" parentID=\"0\" restricted=\"1\"><dc:title>" + title + "</dc:title>" +
           content + "</item>";
}

std::string res(const std::string& type, const std::string& uri, const std::string& more = "") {
    return "<res protocolInfo=\"http-get:*:" + type + "\" " + more + ">" + uri + "</res>";
}

const std::string kTwoForms =
    didl(item("A &amp; B", res("image/jpeg:*", "http://a/cover.jpg") +
                               res("video/mp4:DLNA.ORG_OP=01", "http://a/film.mp4",
                                   "duration=\"0:01:40.500\" size=\"4000\"") +
                               res("video/x-exotic:*", "http://a/film.xyz")));

TEST(DidlLite, SaysWhatThereIsAndHowToGetIt) {
    const auto items = readDidl(kTwoForms);
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].title, "A & B");
    ASSERT_EQ(items[0].resources.size(), 3u);
    const MediaResource& film = items[0].resources[1];
    EXPECT_EQ(film.uri, "http://a/film.mp4");
    EXPECT_EQ(film.mimeType, "video/mp4");
    EXPECT_EQ(film.durationSec, 100u);
    EXPECT_EQ(film.sizeBytes, 4000u);
    EXPECT_EQ(items[0].didl, kTwoForms) << "a single item stays as it came";
}

TEST(DidlLite, IsNotReadWhenItIsNotOneWellFormedDocument) {
    for (const char* text : {"", "NOT_IMPLEMENTED", "<DIDL-Lite>", "<a/>",
                             "<DIDL-Lite><item>&</item></DIDL-Lite>", "<!DOCTYPE a><DIDL-Lite/>"}) {
        EXPECT_TRUE(readDidl(text).empty()) << text;
    }
}

TEST(DidlLite, MayUsePrefixesThatNobodyDeclared) {
    const auto items = readDidl("<DIDL-Lite><item><dc:title>T</dc:title><sec:CaptionInfo>"
                                "http://a/t.srt</sec:CaptionInfo></item></DIDL-Lite>");
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].title, "T");
    EXPECT_EQ(items[0].subtitleUri, "http://a/t.srt");
}

TEST(DidlLite, HasNoMoreItemsThanABound) {
    std::string many;
    for (std::size_t number = 0; number < kMostItems + 5; ++number) {
        many += "<item/>";
    }
    EXPECT_EQ(readDidl(didl(many)).size(), kMostItems);
}

TEST(DidlLite, RepeatsLittleOfWhatStandsAroundTheItems) {
    const std::string ballast(31 * 1024, 'x');
    std::string items;
    for (int number = 0; number < 900; ++number) {
        items += "<item/>";
    }
    for (const std::string& root :
         {"<DIDL-Lite about=\"" + ballast + "\">", "<DIDL-Lite xmlns:a=\"" + ballast + "\">"}) {
        const std::string text = root + items + "</DIDL-Lite>";
        std::size_t sum = 0;
        for (const MediaItem& item : readDidl(text)) {
            sum += item.didl.size();
        }
        EXPECT_GT(sum, 0u);
        EXPECT_LE(sum, 4 * text.size() + 512 * 1024) << root.substr(0, 20);
    }
    EXPECT_EQ(readDidl("<DIDL-Lite about=\"" + ballast + "\">" + items + "</DIDL-Lite>").size(),
              900u);
}

TEST(Subtitles, AreFoundInTheirUsualForms) {
    const std::string film = res("video/mp4:*", "http://a/film.mp4");
    for (const std::string& form :
         {std::string("<sec:CaptionInfo sec:type=\"srt\">http://a/t.srt</sec:CaptionInfo>"),
          std::string("<sec:CaptionInfoEx sec:type=\"srt\"> http://a/t.srt\n</sec:CaptionInfoEx>"),
          res("video/mp4:*", "http://a/film.mp4",
              "pv:subtitleFileType=\"SRT\" pv:subtitleFileUri=\"http://a/t.srt\""),
          std::string("<pv:subtitleFileUri>http://a/t.srt</pv:subtitleFileUri>"),
          res("text/srt:*", "http://a/t.srt"), res("application/x-subrip:*", "http://a/t.srt"),
          res("text/x-subrip:*", "http://a/t.srt"),
          res("application/x-sami:*", "http://a/t.srt")}) {
        const auto items = readDidl(didl(item("T", film + form)));
        ASSERT_EQ(items.size(), 1u);
        EXPECT_EQ(items[0].subtitleUri, "http://a/t.srt") << form;
        for (const MediaResource& resource : items[0].resources) {
            EXPECT_EQ(resource.uri, "http://a/film.mp4") << "a subtitle is no media";
        }
        const auto again = readDidl(items[0].didl);
        ASSERT_EQ(again.size(), 1u);
        EXPECT_NE(items[0].didl.find(">http://a/t.srt</res>"), std::string::npos)
            << "the player finds it as a resource: " << items[0].didl;
    }
}

TEST(Subtitles, LeadNowhereButToHttp) {
    const auto items =
        readDidl(didl(item("T", "<sec:CaptionInfo>file:///etc/passwd</sec:CaptionInfo>"
                                "<sec:CaptionInfoEx>http://a/t.srt</sec:CaptionInfoEx>")));
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].subtitleUri, "http://a/t.srt");
}

TEST(TheQuestion, NamesTheMediaAsItsDescriptionDoes) {
    const Media media = describeMedia("http://a/film.mp4", kTwoForms, "");
    EXPECT_EQ(questionTitle(media), "A & B");
    EXPECT_EQ(questionMimeType(media), "video/mp4");
}

TEST(TheQuestion, NamesTheAddressWhereNothingIsSaid) {
    struct Row {
        const char* uri;
        const char* title;
        const char* mimeType;
    };
    for (const Row& row :
         {Row{"http://a/b/My%20song.MP3?x=1.jpg", "My song.MP3", "audio/mpeg"},
          Row{"http://a/photo.jpeg", "photo.jpeg", "image/jpeg"},
          Row{"http://media.mp4?x=/a.jpg", "media.mp4", "application/octet-stream"},
          Row{"http://media.mp4/", "media.mp4", "application/octet-stream"},
          Row{"http://media.mp4/radio.d/one", "one", "application/octet-stream"},
          Row{"http://a/list.m3u8", "list.m3u8", "audio/x-mpegurl"},
          Row{"http://a/stream", "stream", "application/octet-stream"},
          Row{"http://a.b/", "a.b", "application/octet-stream"},
          Row{"http://a/%0A", "http://a/%0A", "application/octet-stream"},
          Row{"http://a/\xE2\x80\xA8", "http://a/", "application/octet-stream"},
          Row{"http://a/%FFx%1B[2J.mkv", "\xEF\xBF\xBDx [2J.mkv", "video/x-matroska"},
          Row{"dlna-playcontainer://uuid%3A1?cid=0", "folder", "application/octet-stream"}}) {
        const Media media = describeMedia(row.uri, "", "");
        EXPECT_EQ(questionTitle(media), row.title);
        EXPECT_EQ(questionMimeType(media), row.mimeType) << row.uri;
    }
}

TEST(TheQuestion, IsOneLineWhateverADescriptionSays) {
    const Media media = describeMedia(
        "http://a/film.mp4",
        didl(item("A\n&#x9b;31mB\xC2\x85", res("video/x&#10;y:*", "http://a/film.mp4"))), "");
    EXPECT_EQ(questionTitle(media), "A  31mB");
    EXPECT_EQ(questionMimeType(media), "video/x y");
}

TEST(TheQuestion, KeepsWhatJoinsLettersAndPictures) {
    const auto titled = [](const std::string& title) {
        return questionTitle(describeMedia(
            "http://a/f.mp4", didl(item(title, res("video/mp4:*", "http://a/f.mp4"))), ""));
    };
    const std::string persian = "\u0645\u06CC\u200C\u062E\u0648\u0627\u0647\u0645";
    const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
    EXPECT_EQ(titled(persian), persian);
    EXPECT_EQ(titled(family), family);
    EXPECT_EQ(titled("gnp\u202E4pm"), "gnp 4pm") << "nothing is read in another direction";
    EXPECT_EQ(titled("\u200D \u200C"), "f.mp4") << "nothing would be seen of it";
}

TEST(AProtocolInfo, TellsTypeAndParameters) {
    EXPECT_EQ(mimeTypeOf("http-get:*:Audio/L16;rate=44100;channels=2:DLNA.ORG_PN=LPCM"),
              "audio/l16");
    EXPECT_EQ(mimeTypeOf("http-get:*:*:*"), "");
    EXPECT_EQ(mimeTypeOf("nonsense"), "");
    const char* info = "http-get:*:video/mp4:DLNA.ORG_PN=X;DLNA.ORG_OP=11;DLNA.ORG_PS=2\\,4";
    EXPECT_EQ(dlnaParameter(info, "DLNA.ORG_OP"), "11");
    EXPECT_EQ(dlnaParameter(info, "DLNA.ORG_PS"), "2\\,4");
    EXPECT_EQ(dlnaParameter(info, "DLNA.ORG_CI"), "");
    EXPECT_EQ(dlnaParameter("DLNA.ORG_OP=11", "DLNA.ORG_OP"), "") << "not in the fourth field";
}

TEST(AMediasResource, IsTheNamedOneWhenItCanBePlayed) {
    const Media media = describeMedia("http://a/film.mp4", kTwoForms, "");
    ASSERT_EQ(media.tracks.size(), 1u);
    EXPECT_EQ(media.tracks[0].uri, "http://a/film.mp4");
    EXPECT_EQ(media.tracks[0].info.mimeType, "video/mp4");
    EXPECT_EQ(media.tracks[0].info.title, "A & B");
    EXPECT_EQ(media.tracks[0].metadata, kTwoForms);
}

TEST(AMediasResource, IsAnotherOfItsKindWhenThePlayerLacksTheFormat) {
    const std::string formats = "http-get:*:image/jpeg:*,http-get:*:video/mp4:*";
    EXPECT_EQ(describeMedia("http://a/film.xyz", kTwoForms, formats).tracks[0].uri,
              "http://a/film.mp4")
        << "and not the film's cover";
    EXPECT_EQ(describeMedia("http://a/film.xyz", kTwoForms, "").tracks[0].uri, "http://a/film.xyz");
    const Media only =
        describeMedia("http://a/film.xyz",
                      didl(item("T", res("video/x-exotic:*", "http://a/film.xyz"))), formats);
    EXPECT_EQ(only.tracks[0].uri, "http://a/film.xyz") << "the player has the last word";
}

TEST(AMediasResource, OfAListIsWhatTheItemIsAbout) {
    const auto chosen = [](const std::string& upnpClass, const std::string& resources) {
        const std::string one =
            item("One", "<upnp:class>" + upnpClass + "</upnp:class>" + resources);
        return describeMedia("http://a/list", didl(one + one), "").tracks[0].uri;
    };
    const std::string cover = res("image/jpeg:DLNA.ORG_PN=JPEG_TN", "http://a/small.jpg");
    const std::string photo = res("image/jpeg:DLNA.ORG_PN=JPEG_LRG", "http://a/large.jpg");
    const std::string made = res("video/mp4:DLNA.ORG_PN=X;DLNA.ORG_CI=1", "http://a/made.mp4");
    const std::string film = res("video/mp4:DLNA.ORG_CI=0", "http://a/film.mp4");
    EXPECT_EQ(chosen("object.item.videoItem.movie", cover + made + film), "http://a/film.mp4");
    EXPECT_EQ(chosen("object.item.videoItem", cover + made), "http://a/made.mp4");
    EXPECT_EQ(chosen("object.item.imageItem.photo", cover + photo), "http://a/large.jpg");
    EXPECT_EQ(chosen("object.item.imageItem.photo", cover), "http://a/small.jpg");
    EXPECT_EQ(chosen("object.item.audioItem.musicTrack",
                     photo + res("audio/mpeg:*", "http://a/song.mp3")),
              "http://a/song.mp3");
    EXPECT_EQ(chosen("object.item", film + photo), "http://a/film.mp4") << "the first of equals";
}

TEST(AMediasResource, IsTheOneThatWasNamedAlthoughAnotherIsBetter) {
    const std::string both = item("One", "<upnp:class>object.item.videoItem</upnp:class>" +
                                             res("video/mp4:DLNA.ORG_CI=0", "http://a/film.mp4") +
                                             res("video/mp4:DLNA.ORG_CI=1", "http://a/made.mp4"));
    EXPECT_EQ(describeMedia("http://a/made.mp4", didl(both), "").tracks[0].uri,
              "http://a/made.mp4");
}

TEST(ADescriptionOfAStranger, IsReadWithoutTheDocumentsOfItsTracks) {
    const std::string list = didl(item("One", res("audio/mpeg:*", "http://a/1.mp3")) +
                                  item("Two", res("audio/mpeg:*", "http://a/2.mp3")));
    const Media media = describeMedia("http://a/2.mp3", list, "", Detail::names);
    ASSERT_EQ(media.tracks.size(), 2u);
    EXPECT_EQ(media.start, 1u);
    EXPECT_EQ(media.tracks[1].info.title, "Two");
    EXPECT_EQ(media.tracks[1].metadata, "");
    EXPECT_EQ(describeMedia("http://a/film.mp4", kTwoForms, "", Detail::names).tracks[0].metadata,
              kTwoForms)
        << "that is no work";
}

TEST(AMediasResource, DescribesAnAddressThatTheDescriptionDoesNotName) {
    const Media media = describeMedia("http://proxy/1", kTwoForms, "");
    EXPECT_EQ(media.tracks[0].uri, "http://proxy/1");
    EXPECT_EQ(media.tracks[0].info.title, "A & B");
}

TEST(ADescriptionOfSeveralItems, IsAPlaylistThatBeginsAtTheNamedOne) {
    const std::string list =
        didl(item("One", res("audio/mpeg:*", "http://a/1.mp3")) + "<container id=\"c\">" +
             item("Two", res("audio/mpeg:*", "http://a/2.mp3")) + "</container>" +
             item("None", res("audio/mpeg:*", "file:///3.mp3")) +
             item("Three", res("audio/mpeg:*", "http://a/3.mp3")));
    const Media media = describeMedia("http://a/2.mp3", list, "");
    ASSERT_EQ(media.tracks.size(), 3u);
    EXPECT_EQ(media.start, 1u);
    EXPECT_EQ(media.tracks[2].info.title, "Three");
    const auto alone = readDidl(media.tracks[1].metadata);
    ASSERT_EQ(alone.size(), 1u) << media.tracks[1].metadata;
    EXPECT_EQ(alone[0].title, "Two");
    EXPECT_EQ(describeMedia("http://a/list", list, "").start, 0u);
}

TEST(AnM3uPlaylist, NamesItsTracksInOrder) {
    const auto tracks = readPlaylist("\xEF\xBB\xBF#EXTM3U\r\n#EXTINF:123,A & B\r\nmusic/My Song.mp3"
                                     "\r\n\r\n# nothing\r\nhttp://b/2.mp3\nfile:///etc/passwd\n"
                                     "again.m3u\n/3.mp3",
                                     "http://a/lists/l.m3u", "");
    ASSERT_EQ(tracks.size(), 3u);
    EXPECT_EQ(tracks[0].uri, "http://a/lists/music/My%20Song.mp3");
    EXPECT_EQ(tracks[0].info.title, "A & B");
    EXPECT_EQ(tracks[0].info.durationSec, 123u);
    EXPECT_NE(parseStrictXml(tracks[0].metadata), nullptr);
    EXPECT_EQ(tracks[1].uri, "http://b/2.mp3");
    EXPECT_EQ(tracks[2].uri, "http://a/3.mp3");
}

TEST(AnM3uPlaylist, KeepsLettersThatShareBytesWithAByteOrderMark) {
    const auto tracks = readPlaylist("\xEF\xBB\xBF#EXTM3U\n#EXTINF:5,Men\xC3\xBB\r\nhttp://a/1\n"
                                     "\xEF\xBD\x81.mp3\n",
                                     "http://a/l.m3u", "");
    ASSERT_EQ(tracks.size(), 2u);
    EXPECT_EQ(tracks[0].info.title, "Men\xC3\xBB");
    EXPECT_EQ(tracks[1].info.title, "\xEF\xBD\x81.mp3");
    const auto only = readPlaylist("\xEF\xBB\xBFhttp://a/1.mp3\n", "http://a/l.m3u", "");
    ASSERT_EQ(only.size(), 1u);
    EXPECT_EQ(only[0].uri, "http://a/1.mp3");
}

TEST(AnM3uPlaylist, CallsTracksThatItDoesNotNameByTheirFiles) {
    const auto tracks =
        readPlaylist("#EXTINF:5,\nmusic/My Song.mp3\nhttp://b/A%26B%20%C3%B6.mp3?c=d/e"
                     "\nB%F6se.mp3\n#EXTINF:5\n4.mp3\n",
                     "http://a/l.m3u", "");
    ASSERT_EQ(tracks.size(), 4u);
    EXPECT_EQ(tracks[0].info.title, "My Song.mp3");
    EXPECT_EQ(tracks[1].info.title, "A&B \xC3\xB6.mp3");
    EXPECT_EQ(tracks[2].info.title, "B\xC3\xB6se.mp3");
    EXPECT_EQ(tracks[3].info.title, "4.mp3");
    for (const Track& track : tracks) {
        const auto items = readDidl(track.metadata);
        ASSERT_EQ(items.size(), 1u) << track.metadata;
        EXPECT_EQ(items[0].title, track.info.title);
    }
}

TEST(AnM3uPlaylist, MayBeInAnotherEncoding) {
    const auto tracks = readPlaylist("#EXTINF:1,B\xF6se\nhttp://a/1.mp3", "http://a/l.m3u", "");
    ASSERT_EQ(tracks.size(), 1u);
    EXPECT_EQ(tracks[0].info.title, "B\xC3\xB6se");
}

TEST(APlaylistFile, NamesNothingWhenItIsNone) {
    for (const char* text :
         {"", " \n", "#EXTM3U\n#EXT-X-VERSION:3\n#EXTINF:9,\n1.ts", "<html><body/></html>",
          "<DIDL-Lite/>", "<DIDL-Lite><item/></DIDL-Lite>", "l.m3u\n"}) {
        EXPECT_TRUE(readPlaylist(text, "http://a/l.m3u", "").empty()) << text;
    }
}

TEST(APlaylistFile, MayBeDidlLite) {
    const std::string list = didl(item("One", res("audio/mpeg:*", "http://a/1.mp3")) +
                                  item("Two", res("audio/mpeg:*", "http://a/2.mp3")));
    const auto tracks = readPlaylist("\n" + list, "http://a/list.xml", "");
    ASSERT_EQ(tracks.size(), 2u);
    EXPECT_EQ(tracks[1].info.title, "Two");
    const auto only = readPlaylist(didl(item("One", res("audio/mpeg:*", "http://a/1.mp3"))),
                                   "http://a/list.xml", "");
    ASSERT_EQ(only.size(), 1u);
    EXPECT_EQ(only[0].uri, "http://a/1.mp3");
}

TEST(APlaylistFile, IsKnownByItsTypeElseByItsEnding) {
    const auto track = [](const std::string& uri, const std::string& type,
                          const std::string& profile = "*") {
        Track result;
        result.uri = uri;
        result.info.mimeType = type;
        result.info.protocolInfo = "http-get:*:" + type + ":" + profile;
        return result;
    };
    EXPECT_TRUE(isPlaylist(track("http://a/x", "audio/x-mpegurl")));
    EXPECT_TRUE(isPlaylist(track("http://a/x", "text/xml", "DLNA.ORG_PN=DIDL_S")));
    EXPECT_TRUE(isPlaylist(track("http://a/X.M3U?a=b", "")));
    EXPECT_FALSE(isPlaylist(track("http://a/x.m3u", "audio/mpeg")));
    EXPECT_FALSE(isPlaylist(track("http://a/film.mp4?list=x.m3u", "")));
}

Media list(std::size_t count, const std::string& uri = "http://a/list") {
    Media media;
    media.uri = uri;
    for (std::size_t number = 1; number <= count; ++number) {
        media.tracks.push_back({"http://a/" + std::to_string(number), "", {}, ""});
    }
    return media;
}

TEST(APlayQueue, GoesThroughItsTracksAndThenToTheNextMedia) {
    PlayQueue queue;
    EXPECT_FALSE(queue.toNext());
    EXPECT_FALSE(queue.toFollowing());
    queue.load(list(2));
    queue.setNext(list(1, "http://a/next"));
    EXPECT_FALSE(queue.toPrevious());
    EXPECT_TRUE(queue.toFollowing());
    EXPECT_EQ(queue.trackNumber(), 2u);
    EXPECT_TRUE(queue.toFollowing());
    EXPECT_EQ(queue.media().uri, "http://a/next");
    EXPECT_FALSE(queue.next());
    EXPECT_FALSE(queue.toFollowing());
    EXPECT_FALSE(queue.toNext());
    EXPECT_EQ(queue.media().uri, "http://a/next");
}

TEST(APlayQueue, RepeatsAsItsModeSays) {
    PlayQueue queue;
    queue.load(list(2));
    queue.setMode(PlayMode::repeatOne);
    EXPECT_TRUE(queue.toFollowing());
    EXPECT_EQ(queue.trackNumber(), 1u);
    EXPECT_TRUE(queue.toNext()) << "who asks for the next one gets it";
    EXPECT_FALSE(queue.toNext());
    queue.setMode(PlayMode::repeatAll);
    EXPECT_TRUE(queue.toFollowing());
    EXPECT_EQ(queue.trackNumber(), 1u);
    EXPECT_TRUE(queue.toPrevious());
    EXPECT_EQ(queue.trackNumber(), 2u);
    queue.load(list(1));
    EXPECT_EQ(queue.mode(), PlayMode::repeatAll);
    EXPECT_FALSE(queue.toNext());
    EXPECT_TRUE(queue.toFollowing()) << "the only track, again";
}

TEST(APlayMode, IsKnownByItsText) {
    for (const std::string& text : playModeTexts()) {
        ASSERT_TRUE(playModeOf(text));
        EXPECT_EQ(playModeText(*playModeOf(text)), text);
    }
    EXPECT_FALSE(playModeOf("SHUFFLE"));
}

} // namespace
} // namespace vantor
