#include "tests/e2e/nonsense/NonsenseTest.h"

#include <algorithm>
#include <utility>

#include "tests/e2e/own_address.h"

namespace nonsense {
namespace {

using namespace std::chrono_literals;

const std::string kNeighbourAddress = e2e::OwnAddress(0);
const std::string kAddress = e2e::OwnAddress(1);
constexpr auto kLimit = 30s;
constexpr std::int64_t kDisturbedUs = 1'500'000;  // without a new picture; generous for a busy machine

const std::vector<std::string> kEndOfConnection = {"ClosedHandler() - error:", "Websocket Error:"};
const std::vector<std::string> kSmallPhone = {"--size", "320x180", "--fps", "15", "--codec", "vp8"};

}  // namespace

void PictureWatch::OnPicture(const host_runtime::PulledPicture& picture) {
    if (!picture.isPicture || !picture.isNew) return;
    if (lastNewUs != 0) {
        longestGapUs = std::max(longestGapUs.load(), picture.presentationTimeUs - lastNewUs);
    }
    lastNewUs = picture.presentationTimeUs;
    ++newPictures;
}

void NonsenseTest::SetUp() {
    neighbour = std::make_unique<e2e::SimulatedPhone>(kNeighbourAddress, kSmallPhone);
    const auto source = host.Host().Sources().Add(kNeighbourAddress);
    ASSERT_TRUE(source);
    host.Host().Puller().Add(source, neighbourWatch);
    ASSERT_TRUE(host.RunUntil([this] { return neighbourWatch->NewPictures() > 0; }, kLimit))
        << "no picture from the neighbour\n"
        << trace.Text();
}

void NonsenseTest::PlayUntil(NonsensePhone::Script script, const std::function<bool()>& isTraced,
                             Return wayBack) {
    auto phone = std::make_unique<NonsensePhone>(kAddress, std::move(script));
    const auto source = host.Host().Sources().Add(kAddress);
    ASSERT_TRUE(source);
    host.Host().Puller().Add(source, watch);
    EXPECT_TRUE(host.RunUntil([this] { return milestone.IsReached(); }, kLimit))
        << "the script did not come to its end\n"
        << trace.Text();
    EXPECT_TRUE(host.RunUntil(isTraced, kLimit)) << "not in the trace as expected\n" << trace.Text();
    EXPECT_EQ(watch->NewPictures(), 0);

    const std::size_t before = trace.CountOfAny(kEndOfConnection);
    const bool wasVisited = phone->IsVisited();
    phone.reset();
    if (wasVisited) {
        EXPECT_TRUE(
            host.RunUntil([this, before] { return trace.CountOfAny(kEndOfConnection) > before; }, kLimit))
            << "the end of the phone was not noticed\n"
            << trace.Text();
    }
    ExpectPictureFromHonestPhone(*source, wayBack);
    const int pictures = neighbourWatch->NewPictures();
    EXPECT_TRUE(host.RunUntil([this, pictures] { return neighbourWatch->NewPictures() > pictures; }, kLimit));
    EXPECT_LT(neighbourWatch->LongestGapUs(), kDisturbedUs) << "the neighbour was disturbed";
}

void NonsenseTest::ExpectPictureFromHonestPhone(const host_runtime::Source& source, Return wayBack) {
    const e2e::SimulatedPhone honest(kAddress, kSmallPhone);
    if (wayBack == Return::ByOperator) host.Host().Sources().SettingsAccepted(source.Identifier());
    EXPECT_TRUE(host.RunUntil([this] { return watch->NewPictures() > 0; }, kLimit))
        << "no picture from an honest phone afterwards\n"
        << trace.Text();
}

}  // namespace nonsense
