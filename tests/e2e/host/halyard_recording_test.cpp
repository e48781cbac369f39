// What halyard records, decoded again.
#include <algorithm>
#include <cmath>

#include "apps/halyard/Recorder.h"
#include "tests/e2e/host/HalyardTest.h"
#include "tests/e2e/host/HeldUp.h"
#include "tests/e2e/host/RecordedFile.h"
#include "tests/e2e/host/SimulatedPhone.h"
#include "tests/unit/halyard/PatternPictures.h"

namespace e2e {
namespace {

class HalyardRecording : public HalyardTest {
protected:
    std::filesystem::path Takes() const { return directory / "takes"; }

    Ended Record(const std::string& address, const std::string& seconds) const {
        return Run(Fake({"--source", address, "--duration", seconds, "--record", Takes(), "--quiet"}));
    }
};

// How much later than the picture the sound is in the file, compared with how both were made: one value per
// beep. A beep at the very beginning cannot be told from sound that was on already.
std::vector<double> SoundDelaysMs(const RecordedFile& recorded) {
    constexpr std::int64_t kMarginUs = 500'000;
    std::vector<double> delays;
    for (const std::int64_t beepUs : recorded.BeepTimes()) {
        const auto picture = std::find_if(recorded.pictures.begin(), recorded.pictures.end(),
                                          [beepUs](const auto& later) { return later.timeUs >= beepUs; });
        if (beepUs < kMarginUs || picture == recorded.pictures.end()) continue;
        // When the picture was made, and the beep nearest to that.
        const auto madeUs = static_cast<double>(picture->stamp->senderTimeUs) + fakes::kPatternAgeUs;
        const double beepMadeUs =
            std::round((madeUs - fakes::kBeepAfterFlashUs) / 1e6) * 1e6 + fakes::kBeepAfterFlashUs;
        const double apart = static_cast<double>(beepUs - picture->timeUs);
        delays.push_back((apart - (beepMadeUs - madeUs)) / 1000.0);
    }
    return delays;
}

TEST_F(HalyardRecording, HoldsPictureAndSoundOfASourceInTime) {
    constexpr int kMostTakes = 3;
    constexpr std::size_t kFewestPictures = 110;
    RecordedFile recorded;
    double heldUpMs = 0;
    // A machine with other work leaves pictures out, so the best take counts, and what it did to a thread
    // that only waits is not held against the recording.
    for (int take = 0; take < kMostTakes && recorded.pictures.size() < kFewestPictures; ++take) {
        std::filesystem::remove_all(Takes());
        const HeldUp heldUp;
        // Pulled often, so that the times of the pulls are close to those at which the pictures were made.
        const Ended ended = Run(
            Fake({"--source", "640x360", "--duration", "4", "--fps", "120", "--record", Takes(), "--quiet"}));
        EXPECT_EQ(ended.exitCode, 0) << ended.errors;
        heldUpMs = heldUp.LongestMs();
        recorded = Decode(Takes() / "640x360.mkv");
        ASSERT_EQ(recorded.problem, "");
    }
    ASSERT_GE(recorded.pictures.size(), kFewestPictures);
    EXPECT_LE(recorded.pictures.size(), 125U);
    EXPECT_EQ(recorded.pictures.front().timeUs, 0) << "from the first picture on";

    // The first one may be of any age when the pulling begins; the others are new.
    const RecordedPicture& second = recorded.pictures[1];
    ASSERT_TRUE(second.stamp);
    for (std::size_t index = 1; index < recorded.pictures.size(); ++index) {
        const RecordedPicture& picture = recorded.pictures[index];
        ASSERT_TRUE(picture.stamp) << picture.timeUs;
        ASSERT_EQ(picture.width, 640);
        ASSERT_EQ(picture.height, 360);
        const auto shown = static_cast<double>(picture.timeUs - second.timeUs);
        const auto sent = static_cast<double>(picture.stamp->senderTimeUs - second.stamp->senderTimeUs);
        ASSERT_NEAR(shown, sent, 12'000.0 + heldUpMs * 1000) << "times are those of the pulls";
    }
    EXPECT_NEAR(static_cast<double>(recorded.left.size()) / 48'000.0, 4.0, 0.3);
    const std::vector<double> delays = SoundDelaysMs(recorded);
    ASSERT_GE(delays.size(), 2U);
    for (const double delay : delays)
        EXPECT_NEAR(delay, -4.0, 8.0 + heldUpMs) << "a picture is up to 8.3 ms old when it is pulled";
}

TEST_F(HalyardRecording, TakesPicturesWithOddSides) {
    ASSERT_EQ(Record("641x361", "1.5").exitCode, 0);
    const RecordedFile recorded = Decode(Takes() / "641x361.mkv");
    ASSERT_EQ(recorded.problem, "");
    ASSERT_GE(recorded.pictures.size(), 30U);
    EXPECT_EQ(recorded.pictures[0].width, 642);
    EXPECT_EQ(recorded.pictures[0].height, 362);
}

TEST_F(HalyardRecording, KeepsTheSizeOfTheFirstPicture) {
    ASSERT_EQ(Record("resizing-640x360", "3.5").exitCode, 0);
    const RecordedFile recorded = Decode(Takes() / "resizing-640x360.mkv");
    ASSERT_EQ(recorded.problem, "");
    ASSERT_GE(recorded.pictures.size(), 90U);
    const int width = recorded.pictures.front().width;
    const int height = recorded.pictures.front().height;
    EXPECT_TRUE((width == 640 && height == 360) || (width == 320 && height == 240));
    for (const RecordedPicture& picture : recorded.pictures) {
        EXPECT_EQ(picture.width, width);
        EXPECT_EQ(picture.height, height);
    }
}

TEST_F(HalyardRecording, NeverReplacesAnEarlierOne) {
    ASSERT_EQ(Record("320x180", "0.6").exitCode, 0);
    const std::string before = tests::ReadText(Takes() / "320x180.mkv");
    ASSERT_EQ(Record("320x180", "0.6").exitCode, 0);
    EXPECT_EQ(tests::ReadText(Takes() / "320x180.mkv"), before);
    EXPECT_EQ(Decode(Takes() / "320x180-2.mkv").problem, "");
}

TEST_F(HalyardRecording, LeavesNoFileOfASourceWithoutPictures) {
    EXPECT_EQ(Record("black", "0.6").exitCode, 1);
    EXPECT_TRUE(std::filesystem::is_empty(Takes()));
}

TEST_F(HalyardRecording, OfAPhoneHoldsItsPictureAndSound) {
    SimulatedPhone phone("127.0.15.2", {"--size", "640x360"});
    const Ended ended = Run(Real({"--source", phone.Address(), "--duration", "7", "--record", Takes()}));
    EXPECT_EQ(ended.exitCode, 0) << ended.errors;
    const RecordedFile recorded = Decode(Takes() / (phone.Address() + ".mkv"));
    ASSERT_EQ(recorded.problem, "");
    ASSERT_GE(recorded.pictures.size(), 90U);
    const auto stamped = std::count_if(recorded.pictures.begin(), recorded.pictures.end(),
                                       [](const RecordedPicture& picture) { return picture.stamp; });
    EXPECT_GE(stamped, static_cast<std::ptrdiff_t>(recorded.pictures.size()) - 2)
        << "the stamps survive being coded twice";
    EXPECT_GE(recorded.BeepTimes().size(), 2U);
}

TEST_F(HalyardRecording, AFullDiskEndsTheRecordingAndNotTheProgram) {
    // A limit on the size of files stands for the full disk.
    std::vector<std::string> words = Fake(
        {"--source", "640x360", "--duration", "3", "--record", Takes(), "--report", ReportFile(), "--quiet"});
    words.insert(words.begin(), {"--fsize=20000", HALYARD_PROGRAM});
    ChildProcess process("/usr/bin/prlimit", words);
    const Ended ended = WaitForEnd(process);
    EXPECT_EQ(ended.exitCode, 1) << ended.errors;
    EXPECT_NE(ended.errors.find("recording failed"), std::string::npos) << ended.errors;
    EXPECT_GE(ended.report["sources"][0]["distinctPictures"].get<int>(), 80) << "the program went on";
}

TEST(Recorder, LeavesOutAndCountsWhatComesTooFast) {
    const tests::TemporaryDirectory directory;
    const tests::PatternPictures pictures{};
    constexpr int kSent = 400;
    halyard::Recorder recorder(directory.Path(), "fast");
    for (int index = 0; index < kSent; ++index) {
        const auto picture = pictures.Picture(320, 180, static_cast<std::uint32_t>(index), 0);
        recorder.OnPicture({picture.Get(), 1'000'000 + index * 33'333, true, true});
    }
    const auto sound = pictures.Sound(1'000'000, 0);
    recorder.OnSound({sound.Get(), 1'000'000});
    recorder.Finish();
    EXPECT_EQ(recorder.Failure(), "");
    const RecordedFile recorded = Decode(recorder.File());
    ASSERT_EQ(recorded.problem, "");
    EXPECT_GT(recorder.DroppedPictures(), 0);
    EXPECT_EQ(static_cast<std::int64_t>(recorded.pictures.size()) + recorder.DroppedPictures(), kSent);
}

TEST(Recorder, WritesAStandingPictureAgainSoThatTheSoundGoesOn) {
    const tests::TemporaryDirectory directory;
    const tests::PatternPictures pictures{};
    halyard::Recorder recorder(directory.Path(), "still");
    const auto picture = pictures.Picture(320, 180, 1, 0);
    for (int index = 0; index < 60; ++index) {
        const std::int64_t timeUs = 1'000'000 + index * 33'333;
        recorder.OnPicture({picture.Get(), timeUs, true, index == 0});
        const auto sound = pictures.Sound(timeUs, 0);
        recorder.OnSound({sound.Get(), timeUs});
    }
    recorder.Finish();
    EXPECT_EQ(recorder.Failure(), "");
    EXPECT_EQ(recorder.DroppedSounds(), 0);
    const RecordedFile recorded = Decode(recorder.File());
    ASSERT_EQ(recorded.problem, "");
    EXPECT_GE(recorded.pictures.size(), 7U);
    EXPECT_LE(recorded.pictures.size(), 9U);
    EXPECT_NEAR(static_cast<double>(recorded.left.size()) / 48'000.0, 2.0, 0.1);
}

TEST(Recorder, SaysWhereItCannotWrite) {
    const tests::PatternPictures pictures{};
    halyard::Recorder recorder("/nowhere/at/all", "phone");
    const auto picture = pictures.Picture(320, 180, 1, 0);
    recorder.OnPicture({picture.Get(), 0, true, true});
    recorder.Finish();
    EXPECT_NE(recorder.Failure().find("/nowhere/at/all"), std::string::npos) << recorder.Failure();
}

}  // namespace
}  // namespace e2e
