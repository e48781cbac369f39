#include "apps/halyard/InputReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <vector>

#include "tests/fakes/WrittenLines.h"

namespace halyard {
namespace {

class InputReaderTest : public testing::Test {
protected:
    InputReaderTest() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
    ~InputReaderTest() override {
        EndInput();
        close(ends[0]);
    }
    void Write(std::string_view text) {
        EXPECT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    void EndInput() {
        if (ends[1] >= 0) close(ends[1]);
        ends[1] = -1;
    }
    InputReader::Receiver Receiver() {
        return [this](std::string piece) { received.Write(std::move(piece)); };
    }

    int ends[2] = {-1, -1};
    tests::WrittenLines received;
};

using Pieces = std::vector<std::string>;

TEST_F(InputReaderTest, PassesOnWhatComesAndThenTheEnd) {
    InputReader reader(ends[0], Receiver());
    Write("one");
    EXPECT_EQ(received.WaitForLines(1), (Pieces{"one"}));
    reader.ReadOn();
    Write("two");
    EXPECT_EQ(received.WaitForLines(2), (Pieces{"one", "two"}));
    reader.ReadOn();
    EndInput();
    EXPECT_EQ(received.WaitForLines(3), (Pieces{"one", "two", ""}));
}

TEST_F(InputReaderTest, ReadsNoFurtherThanItIsToldTo) {
    {
        InputReader reader(ends[0], Receiver());
        Write("one");
        received.WaitForLines(1);
        Write("two");
    }
    EXPECT_EQ(received.WaitForLines(1), (Pieces{"one"}));
    char rest[8] = {};
    EXPECT_EQ(read(ends[0], rest, sizeof rest), 3) << "the rest is still in the pipe";
}

TEST_F(InputReaderTest, EndsWhileNothingComes) {
    InputReader reader(ends[0], Receiver());
}

TEST_F(InputReaderTest, AClosedDescriptorIsAtItsEnd) {
    constexpr int kNeverOpened = 1'000'000;
    InputReader reader(kNeverOpened, Receiver());
    EXPECT_EQ(received.WaitForLines(1), (Pieces{""}));
}

TEST_F(InputReaderTest, AFileIsReadToItsEnd) {
    char name[] = "/tmp/halyard-input-XXXXXX";
    const int file = mkstemp(name);
    unlink(name);
    ASSERT_EQ(write(file, "text", 4), 4);
    lseek(file, 0, SEEK_SET);
    {
        InputReader reader(file, Receiver());
        received.WaitForLines(1);
        reader.ReadOn();
        EXPECT_EQ(received.WaitForLines(2), (Pieces{"text", ""}));
    }
    close(file);
}

}  // namespace
}  // namespace halyard
