// Pictures that are coded once and sent again and again.
#include "apps/petrel/CodedLoop.h"

#include <gtest/gtest.h>

#include "apps/petrel/PatternSource.h"

namespace {

using petrel::CodedLoop;
using petrel::VideoCodec;

constexpr int kRate = 10;

petrel::SimulateOptions SmallOptions(VideoCodec codec) {
    petrel::SimulateOptions options;
    options.width = 256;
    options.height = 144;
    options.framesPerSecond = kRate;
    options.codec = codec;
    options.encodeOnce = true;
    return options;
}

bool IsKey(const CodedLoop::Picture& picture) {
    return !GST_BUFFER_FLAG_IS_SET(picture.unit.get(), GST_BUFFER_FLAG_DELTA_UNIT);
}

class CodedLoopTest : public testing::TestWithParam<VideoCodec> {
protected:
    void SetUp() override {
        const petrel::SimulateOptions options = SmallOptions(GetParam());
        petrel::PatternSource pattern(options.width, options.height, 0, petrel::StampedTime::Asked);
        std::string error;
        loop = CodedLoop::Encode(options, pattern, error);
        ASSERT_NE(loop, nullptr) << error;
    }

    std::unique_ptr<CodedLoop> loop;
};

TEST_P(CodedLoopTest, HasAKeyPictureEveryTwoSecondsForClientsWhoseWishItCannotHear) {
    for (int number = 0; number < CodedLoop::kSeconds * kRate; number += 2 * kRate)
        EXPECT_TRUE(IsKey(loop->At(number))) << number;
    EXPECT_FALSE(IsKey(loop->At(1)));
}

TEST_P(CodedLoopTest, BeginsAnewAfterItsLength) {
    constexpr int kLength = CodedLoop::kSeconds * kRate;
    for (int number = 0; number < kLength; ++number) {
        EXPECT_EQ(loop->At(number).unit.get(), loop->At(number + 3 * kLength).unit.get());
        if (number > 0) {
            EXPECT_NE(loop->At(number).unit.get(), loop->At(number - 1).unit.get()) << number;
        }
    }
}

TEST_P(CodedLoopTest, SaysWhatItIsOnceForAllPictures) {
    EXPECT_EQ(loop->At(0).caps.get(), loop->At(CodedLoop::kSeconds * kRate - 1).caps.get());
}

INSTANTIATE_TEST_SUITE_P(Codecs, CodedLoopTest,
                         testing::Values(VideoCodec::H264, VideoCodec::Vp8, VideoCodec::Vp9),
                         [](const auto& codec) { return std::string(petrel::EncodingName(codec.param)); });

class NoPictures : public petrel::VideoSource {
public:
    petrel::GstHandle<GstBuffer> NextPicture(std::int64_t) override { return nullptr; }
};

TEST(CodedLoop, OfASourceWithoutPicturesIsRefused) {
    NoPictures none;
    std::string error;
    EXPECT_EQ(CodedLoop::Encode(SmallOptions(VideoCodec::H264), none, error), nullptr);
    EXPECT_EQ(error, "there is no picture to be coded");
}

}  // namespace
