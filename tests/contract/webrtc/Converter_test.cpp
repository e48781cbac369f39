#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "webrtc/voColorspaceConverter.h"
#include "webrtc/voSize.h"

namespace contract {
namespace {

using vo_webrtc::voColorspaceConverter;
using vo_webrtc::voI420Frame;
using vo_webrtc::voSize;
using vo_webrtc::voVideoFrame;

struct Picture {
    Picture(int pictureWidth, int pictureHeight, int padding)
        : width(pictureWidth),
          height(pictureHeight),
          stride(pictureWidth + padding),
          chromaStride((width + 1) / 2 + padding) {
        std::mt19937 random(static_cast<unsigned int>(width * 31 + height));
        const auto fill = [&random](std::vector<std::uint8_t>& plane, int size) {
            plane.resize(static_cast<std::size_t>(size));
            for (auto& value : plane)
                value = static_cast<std::uint8_t>(random());
        };
        fill(y, stride * height);
        fill(u, chromaStride * ((height + 1) / 2));
        fill(v, chromaStride * ((height + 1) / 2));
    }
    voI420Frame Frame() const {
        return {width, height, y.data(), u.data(), v.data(), stride, chromaStride, chromaStride};
    }

    int width;
    int height;
    int stride;
    int chromaStride;
    std::vector<std::uint8_t> y;
    std::vector<std::uint8_t> u;
    std::vector<std::uint8_t> v;
};

TEST(I420ToUYVY, EqualsTheDefinitionAtEverySize) {
    for (int width = 1; width <= 135; ++width) {
        for (const int height : {1, 2, 3, 8, 9}) {
            const Picture picture(width, height, width % 5);
            const int pairs = (width + 1) / 2;
            const int bytesPerRow = pairs * 4 + 12;
            std::vector<std::uint8_t> out(static_cast<std::size_t>(bytesPerRow * height), 0xEE);
            voVideoFrame target{out.data(), width, height, bytesPerRow};
            ASSERT_EQ(voColorspaceConverter::I420ToUYVY(target, picture.Frame()), 0);
            for (int row = 0; row < height; ++row) {
                const std::uint8_t* line = out.data() + row * bytesPerRow;
                for (int pair = 0; pair < pairs; ++pair) {
                    const int second = std::min(pair * 2 + 1, width - 1);
                    const auto chroma = static_cast<std::size_t>(row / 2 * picture.chromaStride + pair);
                    ASSERT_EQ(line[pair * 4], picture.u[chroma]) << width << " " << row << " " << pair;
                    ASSERT_EQ(line[pair * 4 + 1],
                              picture.y[static_cast<std::size_t>(row * picture.stride + pair * 2)]);
                    ASSERT_EQ(line[pair * 4 + 2], picture.v[chroma]);
                    ASSERT_EQ(line[pair * 4 + 3],
                              picture.y[static_cast<std::size_t>(row * picture.stride + second)]);
                }
                for (int rest = pairs * 4; rest < bytesPerRow; ++rest)
                    ASSERT_EQ(line[rest], 0xEE) << "written beyond the row";
            }
        }
    }
}

// Large pictures may be written in another way, which depends on where they are to lie.
TEST(I420ToUYVY, EqualsTheDefinitionForLargePictures) {
    constexpr std::size_t kAlignment = 64;
    for (const int width : {4096, 4112, 4131}) {
        for (const int beginning : {0, 4}) {
            constexpr int kHeight = 1025;
            const Picture picture(width, kHeight, 3);
            const int pairs = (width + 1) / 2;
            const int bytesPerRow = (pairs * 4 + 32) / 32 * 32;
            const auto size = static_cast<std::size_t>(bytesPerRow) * kHeight + kAlignment;
            std::vector<std::uint8_t> memory(size + kAlignment, 0xEE);
            void* aligned = memory.data();
            std::size_t space = memory.size();
            auto* out = static_cast<std::uint8_t*>(std::align(kAlignment, size, aligned, space)) + beginning;
            voVideoFrame target{out, width, kHeight, bytesPerRow};
            ASSERT_EQ(voColorspaceConverter::I420ToUYVY(target, picture.Frame()), 0);
            std::vector<std::uint8_t> expected(static_cast<std::size_t>(bytesPerRow), 0xEE);
            for (int row = 0; row < kHeight; ++row) {
                const std::uint8_t* y = picture.y.data() + row * picture.stride;
                const int chroma = row / 2 * picture.chromaStride;
                for (int pair = 0; pair < pairs; ++pair) {
                    std::uint8_t* four = expected.data() + pair * 4;
                    four[0] = picture.u[static_cast<std::size_t>(chroma + pair)];
                    four[1] = y[pair * 2];
                    four[2] = picture.v[static_cast<std::size_t>(chroma + pair)];
                    four[3] = y[std::min(pair * 2 + 1, width - 1)];
                }
                const std::uint8_t* line = out + std::ptrdiff_t{row} * bytesPerRow;
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), line)) << width << " " << row;
            }
            EXPECT_EQ(out[std::ptrdiff_t{bytesPerRow} * kHeight], 0xEE) << "written beyond the picture";
        }
    }
}

TEST(I420ToUYVY, RefusesWhatDoesNotFitAndWritesNothing) {
    const Picture picture(8, 4, 0);
    std::vector<std::uint8_t> out(16 * 4, 0xEE);
    const voVideoFrame good{out.data(), 8, 4, 16};
    const auto refuses = [&out](voVideoFrame target, voI420Frame source) {
        return voColorspaceConverter::I420ToUYVY(target, source) == -1 &&
               std::all_of(out.begin(), out.end(), [](std::uint8_t value) { return value == 0xEE; });
    };
    const auto changed = [](auto record, auto change) {
        change(record);
        return record;
    };
    EXPECT_TRUE(refuses(changed(good, [](auto& t) { t.baseAddress = nullptr; }), picture.Frame()));
    EXPECT_TRUE(refuses(changed(good, [](auto& t) { t.width = 6; }), picture.Frame()));
    EXPECT_TRUE(refuses(changed(good, [](auto& t) { t.height = 2; }), picture.Frame()));
    EXPECT_TRUE(refuses(changed(good, [](auto& t) { t.bytesPerRow = 15; }), picture.Frame()));
    EXPECT_TRUE(refuses(changed(good, [](auto& t) { t.bytesPerRow = -16; }), picture.Frame()));
    EXPECT_TRUE(refuses(good, changed(picture.Frame(), [](auto& s) { s.y = nullptr; })));
    EXPECT_TRUE(refuses(good, changed(picture.Frame(), [](auto& s) { s.u = nullptr; })));
    EXPECT_TRUE(refuses(good, changed(picture.Frame(), [](auto& s) { s.v = nullptr; })));
    EXPECT_TRUE(refuses(good, changed(picture.Frame(), [](auto& s) { s.strideY = 7; })));
    EXPECT_TRUE(refuses(good, changed(picture.Frame(), [](auto& s) { s.strideU = 3; })));
    EXPECT_TRUE(refuses(good, changed(picture.Frame(), [](auto& s) { s.strideV = 3; })));
    EXPECT_TRUE(
        refuses({out.data(), 0, 0, 16}, changed(picture.Frame(), [](auto& s) { s.width = s.height = 0; })));
    EXPECT_TRUE(refuses({out.data(), -8, -4, 16}, changed(picture.Frame(), [](auto& s) {
                            s.width = -8;
                            s.height = -4;
                        })));
}

TEST(voSize, ComparesBothSides) {
    EXPECT_TRUE((voSize{640, 480} == voSize{640, 480}));
    EXPECT_TRUE((voSize{640, 480} != voSize{640, 481}));
    EXPECT_TRUE((voSize{641, 480} != voSize{640, 480}));
}

}  // namespace
}  // namespace contract
