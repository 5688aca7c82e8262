#include "common/media_endings.h"

#include <gtest/gtest.h>

namespace {

TEST(AnEnding, IsThatOfTheLastPartOfAPath) {
    EXPECT_EQ(media_endings::endingOf("/films/a.b/My Film.MP4"), "mp4");
    EXPECT_EQ(media_endings::endingOf("song.flac"), "flac");
    EXPECT_EQ(media_endings::endingOf("/films.mkv/film"), "");
    EXPECT_EQ(media_endings::endingOf("/films.mkv/"), "");
    EXPECT_EQ(media_endings::endingOf("film."), "");
    EXPECT_EQ(media_endings::endingOf(""), "");
}

TEST(AnEnding, TellsTheTypeWhereItIsKnown) {
    EXPECT_EQ(media_endings::mimeTypeOf("mkv"), "video/x-matroska");
    EXPECT_EQ(media_endings::mimeTypeOf("mp3"), "audio/mpeg");
    EXPECT_EQ(media_endings::mimeTypeOf("jpeg"), "image/jpeg");
    EXPECT_EQ(media_endings::mimeTypeOf("mp"), "");
    EXPECT_EQ(media_endings::mimeTypeOf(""), "");
}

} // namespace
