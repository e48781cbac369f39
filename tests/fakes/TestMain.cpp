#include "tests/fakes/TestMain.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace tests {
namespace {

class LeakCheck : public testing::EmptyTestEventListener {
public:
    explicit LeakCheck(std::vector<LivingCount> toWatch) : counts(std::move(toWatch)) {}

    void OnTestEnd(const testing::TestInfo&) override {
        for (const LivingCount& count : counts) {
            EXPECT_EQ(count.alive(), 0) << "objects left behind: " << count.name;
        }
    }

private:
    std::vector<LivingCount> counts;
};

}  // namespace

int RunAllTests(int argc, char** argv, std::vector<LivingCount> counts) {
    testing::InitGoogleMock(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck(std::move(counts)));
    return RUN_ALL_TESTS();
}

}  // namespace tests
