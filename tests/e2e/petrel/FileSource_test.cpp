// Files as sources, made on the spot by GStreamer.
#include "apps/petrel/FileSource.h"

#include <gmock/gmock.h>
#include <gst/video/video.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using petrel::FileAudioSource;
using petrel::FileVideoSource;
using petrel::GstHandle;
using testing::HasSubstr;

class FileSourceTest : public testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directories(folder); }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::string Path(const std::string& name) const { return folder / name; }
    // Runs a pipeline that ends in the file to its end.
    std::string MakeFile(const std::string& name, const std::string& description) {
        const std::string path = Path(name);
        GstElement* made = gst_parse_launch((description + " ! filesink location=" + path).c_str(), nullptr);
        EXPECT_NE(made, nullptr);
        const GstHandle<GstElement> pipeline(GST_ELEMENT(gst_object_ref_sink(made)));
        gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
        const GstHandle<GstBus> bus(gst_element_get_bus(pipeline.get()));
        GstMessage* end = gst_bus_timed_pop_filtered(
            bus.get(), 20 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
        EXPECT_TRUE(end != nullptr && GST_MESSAGE_TYPE(end) == GST_MESSAGE_EOS);
        if (end != nullptr) gst_message_unref(end);
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
        return path;
    }
    // Half a second of black, half a second of white.
    std::string MakeBlackAndWhite() {
        return MakeFile(
            "black_and_white.mkv",
            "videotestsrc num-buffers=15 pattern=black ! c. videotestsrc num-buffers=15 pattern=white ! c. "
            "concat name=c ! video/x-raw,width=320,height=240,framerate=30/1 ! x264enc ! matroskamux");
    }
    std::string MakeTone() {
        return MakeFile("tone.ogg",
                        "audiotestsrc num-buffers=50 samplesperbuffer=960 freq=440 volume=0.5 ! "
                        "audio/x-raw,rate=48000,channels=1 ! opusenc ! oggmux");
    }
    static int Luma(GstBuffer* picture, int x, int y) {
        GstVideoInfo info;
        gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420, 640, 360);
        GstVideoFrame frame;
        if (!gst_video_frame_map(&frame, &info, picture, GST_MAP_READ)) return -1;
        const auto* luma = static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0));
        const int value = luma[y * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0) + x];
        gst_video_frame_unmap(&frame);
        return value;
    }

    const std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) / ("petrel_files_" + std::to_string(getpid()));
    std::string error;
};

TEST_F(FileSourceTest, VideoIsScaledAndPlayedOverAndOver) {
    const auto source = FileVideoSource::Open(MakeBlackAndWhite(), 640, 360, 30, error);
    ASSERT_NE(source, nullptr) << error;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    int rounds = 0;
    bool wasWhite = true;
    while (rounds < 4 && std::chrono::steady_clock::now() < deadline) {
        const GstHandle<GstBuffer> picture = source->NextPicture(0);
        ASSERT_NE(picture, nullptr);
        const bool isWhite = Luma(picture.get(), 320, 180) > 126;
        if (!isWhite && wasWhite) ++rounds;
        wasWhite = isWhite;
        // The file is narrower than the picture, so there are bars beside it.
        EXPECT_LT(Luma(picture.get(), 10, 180), 40);
    }
    EXPECT_EQ(rounds, 4);
}

TEST_F(FileSourceTest, ASinglePictureStays) {
    const std::string path = MakeFile(
        "white.jpg", "videotestsrc num-buffers=1 pattern=white ! video/x-raw,width=640,height=360 ! jpegenc");
    const auto source = FileVideoSource::Open(path, 640, 360, 30, error);
    ASSERT_NE(source, nullptr) << error;
    for (int index = 0; index < 100; ++index) {
        const GstHandle<GstBuffer> picture = source->NextPicture(0);
        ASSERT_NE(picture, nullptr);
        ASSERT_GT(Luma(picture.get(), 320, 180), 200);
    }
}

TEST_F(FileSourceTest, SoundIsPlayedOverAndOver) {
    const auto source = FileAudioSource::Open(MakeTone(), error);
    ASSERT_NE(source, nullptr) << error;
    std::vector<std::int16_t> block(petrel::kAudioBlockFrames * petrel::kAudioChannels);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    int loudBlocks = 0;  // the file has 50
    while (loudBlocks < 150 && std::chrono::steady_clock::now() < deadline) {
        source->NextBlock(0, block.data());
        int peak = 0;
        for (const std::int16_t sample : block)
            peak = std::max(peak, std::abs(static_cast<int>(sample)));
        if (peak > 10'000) ++loudBlocks;
    }
    EXPECT_EQ(loudBlocks, 150);
}

TEST_F(FileSourceTest, AMissingFileIsSaid) {
    EXPECT_EQ(FileVideoSource::Open(Path("none.mkv"), 640, 360, 30, error), nullptr);
    EXPECT_THAT(error, HasSubstr("none.mkv cannot be read"));
}

TEST_F(FileSourceTest, AFileThatIsNoMediaIsSaid) {
    std::ofstream(Path("text.mkv"))
        << "This is a text and nothing else, again and again, and so on to its end.\n";
    EXPECT_EQ(FileVideoSource::Open(Path("text.mkv"), 640, 360, 30, error), nullptr);
    EXPECT_THAT(error, HasSubstr("text.mkv cannot be"));
}

TEST_F(FileSourceTest, AFileWithoutTheWantedStreamIsSaid) {
    EXPECT_EQ(FileVideoSource::Open(MakeTone(), 640, 360, 30, error), nullptr);
    EXPECT_THAT(error, HasSubstr("there is no video in it"));
    EXPECT_EQ(FileAudioSource::Open(MakeBlackAndWhite(), error), nullptr);
    EXPECT_THAT(error, HasSubstr("there is no audio in it"));
}

}  // namespace
