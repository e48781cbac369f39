// Shows that the stress test finds what it is there to find: the same test, over a copy of one source of ours
// with a fault planted in it, has to be stopped by the sanitizer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/e2e/host/ChildProcess.h"

namespace {

constexpr int kExitCodeOfTheSanitizer = 99;

TEST(PlantedFault, IsReportedByTheSanitizer) {
    e2e::ChildProcess faulty(KESTREL_FAULTY_PROGRAM, {"--seconds", "20"},
                             {"TSAN_OPTIONS=halt_on_error=1:exitcode=99", "ASAN_OPTIONS=exitcode=99"});
    const std::optional<int> exitCode = faulty.WaitForEnd(std::chrono::seconds(120));
    EXPECT_EQ(exitCode, kExitCodeOfTheSanitizer) << faulty.Output();
    EXPECT_THAT(faulty.Errors(), testing::HasSubstr(KESTREL_EXPECTED_REPORT));
    EXPECT_THAT(faulty.Errors(), testing::HasSubstr(KESTREL_FAULTY_CLASS));
}

}  // namespace
