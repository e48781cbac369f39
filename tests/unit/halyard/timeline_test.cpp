#include "apps/halyard/Timeline.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "apps/halyard/SourceMonitor.h"
#include "tests/unit/halyard/PatternPictures.h"

namespace halyard {
namespace {

class TimelineTest : public testing::Test {
protected:
    TimelineTest() { std::filesystem::create_directories(directory); }
    ~TimelineTest() override { std::filesystem::remove_all(directory); }

    // The words of each line behind its moment.
    std::vector<std::string> Written() const {
        std::ifstream in(file);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back(line.substr(line.find(' ') + 1));
        return lines;
    }

    const std::filesystem::path directory =
        std::filesystem::temp_directory_path() / ("timeline_test." + std::to_string(getpid()));
    const std::filesystem::path file = directory / "timeline";
    const tests::PatternPictures pictures{};
    std::string error;
};

TEST_F(TimelineTest, HasALineForEachNewPictureAndEachChange) {
    SourceMonitor monitor(false, nullptr);
    monitor.WriteTo(Timeline::Open(file, error), "10.0.0.1");
    const auto black = pictures.Empty(720, 480);
    const auto picture = pictures.Picture(640, 360, 1, 0);
    monitor.OnPicture({black.Get(), 0, false, false});
    monitor.OnPicture({picture.Get(), 1, true, true});
    monitor.OnPicture({picture.Get(), 2, true, false});
    monitor.OnPicture({black.Get(), 3, false, false});
    monitor.OnPicture({black.Get(), 4, false, false});
    const auto silence = pictures.Silence();
    const auto sound = pictures.Sound(0, 0);
    for (nxBuffer2* block : {silence.Get(), sound.Get(), sound.Get(), silence.Get()})
        monitor.OnSound({block, 0});
    EXPECT_EQ(Written(), (std::vector<std::string>{"10.0.0.1 picture 640x360 -", "10.0.0.1 colour",
                                                   "10.0.0.1 sound", "10.0.0.1 silence"}));
}

TEST_F(TimelineTest, TellsTheLatencyThatTheProbeRead) {
    SourceMonitor monitor(true, nullptr);
    monitor.WriteTo(Timeline::Open(file, error), "phone");
    const auto picture = pictures.Picture(640, 360, 1, 0);
    monitor.OnPicture({picture.Get(), 0, true, true});
    const std::vector<std::string> lines = Written();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with("phone picture 640x360 ")) << lines[0];
    EXPECT_FALSE(lines[0].ends_with("-")) << lines[0];
}

TEST_F(TimelineTest, AFileThatCannotBeWrittenIsSaid) {
    EXPECT_FALSE(Timeline::Open(directory / "missing" / "file", error));
    EXPECT_NE(error.find("missing"), std::string::npos);
}

}  // namespace
}  // namespace halyard
