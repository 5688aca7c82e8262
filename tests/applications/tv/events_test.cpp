#include "tv/events.h"

#include <gtest/gtest.h>

namespace {

using tv::decodeEvent;
using tv::Detail;
using tv::Event;
using tv::MediaKind;
using tv::Parameter;

Event decoded(unsigned long type, unsigned long code, unsigned long parameter = 0) {
    return decodeEvent(type, code, parameter, Parameter::kReadable, nullptr);
}

template <class T> unsigned long wordOf(const T& pointee) {
    return reinterpret_cast<unsigned long>(&pointee);
}

struct Known {
    unsigned long code;
    const char* name;
};

TEST(AnEvent, HasTheNameOfItsCode) {
    const Known events[] = {
        {0, "MM_EXIT_OK"},       {1, "MM_EXIT_FORCE"},        {2, "MM_EXIT_ERROR_FILE"},
        {5, "MM_START_PLAY"},    {6, "MM_PHOTO_DECODE_DONE"}, {14, "MM_MEDIA_RESUME_OK"},
        {15, "MM_SPEED_CHANGE"}, {16, "MM_REQ_TO_AUTH"},      {94, "MM_METADATA"},
        {97, "MM_MEDIA_PAUSE"},  {98, "MM_FILE_INIT_BEGIN"},  {99, "MM_NOTIFY_TIME"},
    };
    for (const Known& known : events) {
        EXPECT_EQ(decoded(0x20002006, known.code).name, known.name);
        EXPECT_TRUE(tv::isEventName(known.name));
    }
    EXPECT_EQ(decoded(0, 77).name, "MM_EVENT_77");
    EXPECT_FALSE(tv::isEventName("MM_EVENT_77"));
}

TEST(AnEvent, NamesTheKindOfMedia) {
    EXPECT_EQ(decoded(0x20002006, 5).media, MediaKind::kMovie);
    EXPECT_EQ(decoded(0x20002007, 5).media, MediaKind::kMusic);
    EXPECT_EQ(decoded(0x20002008, 5).media, MediaKind::kPhoto);
    EXPECT_EQ(decoded(0, 14).media, MediaKind::kNone);
    EXPECT_EQ(decoded(0x20002009, 14).media, MediaKind::kNone);
}

TEST(ARequestEvent, SaysWhoWantsToPlayWhat) {
    const DMRAuthRequest request{7, "A film", "video/mp4", "phone"};
    const Event event = decoded(0x20002006, MM_REQ_TO_AUTH, wordOf(request));
    EXPECT_EQ(event.details, (std::vector<Detail>{{"request", 7LL},
                                                  {"title", std::string("A film")},
                                                  {"mime", std::string("video/mp4")},
                                                  {"controller", std::string("phone")}}));
}

TEST(AFileInitEvent, SaysTitleAndSeekFlags) {
    FileInitInfo info{};
    info.m_strTitle = "Song";
    info.m_u32TimeSeek = 1;
    const Event event = decoded(0x20002007, MM_FILE_INIT_BEGIN, wordOf(info));
    EXPECT_EQ(event.details,
              (std::vector<Detail>{
                  {"title", std::string("Song")}, {"byteSeek", false}, {"timeSeek", true}}));
}

TEST(AMetadataEvent, SaysDurationAndItems) {
    const DMRMediaInfo info{61, ""};
    const auto items = [](MediaKind kind) {
        EXPECT_EQ(kind, MediaKind::kMovie);
        return std::vector<Detail>{{"width", std::string("1920")}};
    };
    const Event event =
        decodeEvent(0x20002006, MM_METADATA, wordOf(info), Parameter::kReadable, items);
    EXPECT_EQ(event.details,
              (std::vector<Detail>{{"duration", 61LL}, {"width", std::string("1920")}}));
}

TEST(AMetadataEvent, LeavesOutADurationThatIsNotKnown) {
    const DMRMediaInfo unknown{0, ""};
    EXPECT_TRUE(decoded(0x20002007, MM_METADATA, wordOf(unknown)).details.empty());
    const DMRMediaInfo endless{0xFFFFFFFF, ""};
    EXPECT_EQ(decoded(0x20002007, MM_METADATA, wordOf(endless)).details,
              (std::vector<Detail>{{"duration", std::string("unlimited")}}));
}

TEST(AMetadataEvent, OfAPhotoPointsToATextAndHasNoDuration) {
    const std::string text = "ImageYear:2020";
    EXPECT_TRUE(decoded(0x20002008, MM_METADATA, wordOf(text)).details.empty());
}

TEST(AMetadataEvent, MayPointNowhere) {
    EXPECT_TRUE(decoded(0x20002006, MM_METADATA, 0).details.empty());
}

TEST(ASpeedEvent, SaysTheSpeed) {
    EXPECT_EQ(decoded(0x20002006, MM_SPEED_CHANGE, MM_TRICK_FB_8X).details,
              (std::vector<Detail>{{"mode", 8LL}, {"speed", std::string("-8x")}}));
    EXPECT_EQ(*decoded(0x20002006, MM_SPEED_CHANGE, MM_TRICK_SF_4X).text("speed"), "1/4x");
    EXPECT_EQ(*decoded(0x20002006, MM_SPEED_CHANGE, MM_TRICK_NUM).text("speed"), "?");
    EXPECT_EQ(*decoded(0x20002006, MM_SPEED_CHANGE, 4000).text("speed"), "?");
}

TEST(AnErrorEvent, SaysCodeAndMeaning) {
    const Event lost = decoded(0x20002006, MM_EXIT_ERROR_FILE, 120);
    EXPECT_EQ(*lost.number("error"), 120);
    EXPECT_EQ(*lost.text("meaning"), "player process lost");
    EXPECT_EQ(*decoded(0, MM_EXIT_ERROR_FILE, 0).text("meaning"), "failed while opening");
    const Event negative = decoded(0, MM_EXIT_ERROR_FILE, static_cast<unsigned long>(-1));
    EXPECT_EQ(*negative.number("error"), -1);
    EXPECT_EQ(*negative.text("meaning"), "unknown error");
}

TEST(AnEvent, OfADestroyedServiceIsNotReadThrough) {
    // These words are no addresses: reading through them would crash.
    for (const unsigned long code : {MM_REQ_TO_AUTH, MM_FILE_INIT_BEGIN, MM_METADATA}) {
        const Event event = decodeEvent(0x20002006, code, 1, Parameter::kStale, nullptr);
        EXPECT_TRUE(event.details.empty());
        EXPECT_EQ(event.code, code);
    }
}

} // namespace
