#include "media_file.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gst/gst.h>
#include <gtest/gtest.h>

#include "glib_handles.h"

namespace {

namespace fs = std::filesystem;

/// Makes small media of its own in a folder that is gone with the test.
class AFile : public testing::Test {
protected:
    static void SetUpTestSuite() { gst_init(nullptr, nullptr); }

    void SetUp() override {
        char name[] = "push-media-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        folder_ = name;
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string path(const std::string& name) const { return (folder_ / name).string(); }

    /// Runs a pipeline until it ends; "LOCATION" stands for the file.
    std::string make(const std::string& name, std::string pipeline) {
        pipeline.replace(pipeline.find("LOCATION"), 8, "\"" + path(name) + "\"");
        push::ErrorHolder error;
        GstElement* element = gst_parse_launch(pipeline.c_str(), error.out());
        EXPECT_EQ(error.get(), nullptr) << error.text();
        gst_element_set_state(element, GST_STATE_PLAYING);
        GstBus* bus = gst_element_get_bus(element);
        GstMessage* message = gst_bus_timed_pop_filtered(
            bus, 20 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
        EXPECT_TRUE(message != nullptr && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) << pipeline;
        gst_message_unref(message);
        gst_object_unref(bus);
        gst_element_set_state(element, GST_STATE_NULL);
        gst_object_unref(element);
        return path(name);
    }

    fs::path folder_;
};

TEST_F(AFile, ThatIsAFilmIsDescribedWithSizeAndDuration) {
    const std::string film =
        make("My film.mkv", "videotestsrc num-buffers=50 ! video/x-raw,width=320,height=240,"
                            "framerate=25/1 ! vp8enc deadline=1 ! mux. audiotestsrc "
                            "num-buffers=80 ! vorbisenc ! mux. matroskamux name=mux ! "
                            "filesink location=LOCATION");
    std::string error;
    const auto file = push::describeMedia(film, error);
    ASSERT_TRUE(file) << error;
    EXPECT_EQ(file->kind, push::MediaKind::kVideo);
    EXPECT_EQ(file->type.mime, "video/x-matroska");
    EXPECT_EQ(file->title, "My film");
    EXPECT_EQ(file->width, 320U);
    EXPECT_EQ(file->height, 240U);
    EXPECT_EQ(file->size, fs::file_size(film));
    ASSERT_TRUE(file->durationMillis);
    EXPECT_NEAR(static_cast<double>(*file->durationMillis), 2000, 100);
}

TEST_F(AFile, ThatIsASongIsDescribedByItsTags) {
    const std::string song =
        make("track01.mp3", "audiotestsrc num-buffers=100 ! lamemp3enc ! taginject "
                            "tags=\"title=\\\"Für <Elise>\\\",artist=\\\"A & B\\\","
                            "album=Tests\" ! id3v2mux ! filesink location=LOCATION");
    std::string error;
    const auto file = push::describeMedia(song, error);
    ASSERT_TRUE(file) << error;
    EXPECT_EQ(file->kind, push::MediaKind::kMusic);
    EXPECT_EQ(file->type.mime, "audio/mpeg");
    EXPECT_EQ(file->title, "Für <Elise>");
    EXPECT_EQ(file->artist, "A & B");
    EXPECT_EQ(file->album, "Tests");
    EXPECT_EQ(file->width, 0U);
}

TEST_F(AFile, ThatIsAPhotoIsDescribedWithItsSizeAndNoDuration) {
    for (const auto& [name, encoder, mime] : {std::tuple{"a.jpg", "jpegenc", "image/jpeg"},
                                              std::tuple{"b.png", "pngenc", "image/png"}}) {
        const std::string photo =
            make(name, std::string("videotestsrc num-buffers=1 ! video/x-raw,width=640,height=480 "
                                   "! videoconvert ! ") +
                           encoder + " ! filesink location=LOCATION");
        std::string error;
        const auto file = push::describeMedia(photo, error);
        ASSERT_TRUE(file) << error;
        EXPECT_EQ(file->kind, push::MediaKind::kPhoto) << name;
        EXPECT_EQ(file->type.mime, mime);
        EXPECT_EQ(file->width, 640U);
        EXPECT_FALSE(file->durationMillis) << name;
    }
}

TEST_F(AFile, ThatIsNoMediaIsRefusedWithASentence) {
    std::ofstream(path("notes.txt")) << "just words, many of them\n";
    std::ofstream(path("broken.mp4"), std::ios::binary) << std::string(5000, '\xA5');
    for (const char* name : {"notes.txt", "broken.mp4"}) {
        std::string error;
        EXPECT_FALSE(push::describeMedia(path(name), error)) << name;
        EXPECT_NE(error.find("is not a film, a song or a picture"), std::string::npos) << error;
    }
}

TEST_F(AFile, ThatIsMissingEmptyOrAFolderIsRefusedWithASentence) {
    std::ofstream(path("empty.mp4")).flush();
    std::string error;
    EXPECT_FALSE(push::describeMedia(path("none.mp4"), error));
    EXPECT_EQ(error, path("none.mp4") + ": No such file or directory");
    error.clear();
    EXPECT_FALSE(push::describeMedia(path("empty.mp4"), error));
    EXPECT_EQ(error, path("empty.mp4") + " is empty");
    error.clear();
    EXPECT_FALSE(push::describeMedia(folder_.string(), error));
    EXPECT_EQ(error, folder_.string() + " is not a file");
}

TEST(ATitleFromAPath, IsTheNameWithoutFoldersAndEnding) {
    EXPECT_EQ(push::titleFromPath("/a/b/My film.final.mp4"), "My film.final");
    EXPECT_EQ(push::titleFromPath("film"), "film");
    EXPECT_EQ(push::titleFromPath("a.b/film"), "film");
    EXPECT_EQ(push::titleFromPath("/a/.hidden"), ".hidden");
}

TEST_F(AFile, ThatIsAMovingPictureIsAPhoto) {
    const std::string picture(
        "\x21\xf9\x04\x04\x0a\0\0\0\x2c\0\0\0\0\x01\0\x01\0\0\x02\x02\x44\x01\0", 23);
    const std::string gif =
        std::string("GIF89a\x01\0\x01\0\x80\0\0\xff\0\0\0\0\xff", 19) + picture + picture + ";";
    std::ofstream(path("moving.gif"), std::ios::binary) << gif;
    std::string error;
    const auto file = push::describeMedia(path("moving.gif"), error);
    ASSERT_TRUE(file) << error;
    EXPECT_EQ(file->kind, push::MediaKind::kPhoto);
    EXPECT_EQ(file->type.mime, "image/gif");
    EXPECT_FALSE(file->durationMillis);
    EXPECT_EQ(file->width, 1U);
}

} // namespace
