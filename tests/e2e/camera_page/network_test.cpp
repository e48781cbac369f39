// A phone that is out of reach for a while, and eight phones at once.
#include <iostream>

#include "tests/e2e/camera_page/StampedPageTest.h"

namespace camera_page {
namespace {

// From another address to a picture; measured: 3.9 s.
constexpr auto kMovedLimit = 10s;
// What comes so soon after it may have been sent before.
constexpr std::int64_t kUnderWayUs = 1'000'000;

using CameraPageNetwork = StampedPageTest;

TEST_F(CameraPageNetwork, AMinuteWithoutANetworkIsMendedWithoutATouch) {
    ASSERT_NO_FATAL_FAILURE(StartStampedPhone("640x360"));
    source = host.Host().Sources().Add(kFirstPhone);
    host.Host().Puller().Add(source, pictures);
    ASSERT_TRUE(host.RunUntil([&] { return pictures->Now().distinct > 30; }, kMediaLimit))
        << phone->Transcript() << gate->Log();
    SetCable(false);
    host.RunFor(60s);
    EXPECT_NE(phone->State(), "live") << phone->Transcript();
    EXPECT_NE(phone->State(), "air");
    const std::int64_t plugged = SteadyNowUs();
    SetCable(true);
    const std::int64_t before = pictures->Now().distinct;
    ASSERT_TRUE(host.RunUntil([&] { return pictures->Now().distinct > before; }, kMediaLimit))
        << phone->Transcript() << gate->Log();
    const double tookMs = static_cast<double>(pictures->Now().lastAtUs - plugged) / 1000;
    std::cout << "a picture " << tookMs << " ms after the network\n";
    EXPECT_LE(tookMs, 15'000);
    EXPECT_TRUE(host.RunUntil([this] { return phone->State() == "live"; }, 10s)) << phone->Transcript();
    EXPECT_EQ(Troubles(*phone), "");
}

TEST_F(CameraPageNetwork, AnotherAddressOfThePhoneIsFollowedWithoutATouch) {
    ASSERT_NO_FATAL_FAILURE(StartAndWatch());
    SetTally(host_runtime::TallyState::Program);
    ASSERT_TRUE(Shows("air")) << Logs();
    for (const char* const address : {"10.78.0.3", "10.78.0.4"}) {
        pictures->BeginAnew();
        ASSERT_NO_FATAL_FAILURE(MovePhonesTo(address));
        const std::int64_t moved = SteadyNowUs();
        const auto isBack = [&] { return pictures->Now().lastAtUs > moved + kUnderWayUs; };
        ASSERT_TRUE(host.RunUntil(isBack, kMovedLimit)) << Logs();
        EXPECT_TRUE(PicturesMove()) << Logs();
        const std::int64_t gapMs = pictures->Now().longestGapUs / 1000;
        std::cout << "a gap of " << gapMs << " ms for another address\n";
        EXPECT_LE(gapMs, kMovedLimit / 1ms);
        EXPECT_TRUE(Shows("air")) << "it is still on air\n" << Logs();
        EXPECT_TRUE(ShowsSentence("")) << Logs();
    }
    SetTally(host_runtime::TallyState::Off);
    EXPECT_TRUE(Shows("live")) << Logs();
    EXPECT_EQ(Troubles(*phone), "");
}

TEST_F(CameraPageNetwork, EightPhonesAtOnce) {
    constexpr std::size_t kPhones = 8;
    std::vector<std::unique_ptr<CameraPhone>> phones;
    std::vector<std::shared_ptr<StampedPictures>> each;
    std::vector<std::shared_ptr<host_runtime::Source>> sources;
    for (std::size_t index = 0; index < kPhones; ++index) {
        phones.push_back(StartPhone({gate->PairUrl(), "", "", "320x180", "", ""}));
        ASSERT_TRUE(phones.back()->WaitForState("waiting", kLaunchLimit))
            << phones.back()->Transcript() << gate->Log();
        each.push_back(std::make_shared<StampedPictures>());
        sources.push_back(host.Host().Sources().Add("127.0.1." + std::to_string(index + 1)));
        ASSERT_TRUE(sources.back());
        host.Host().Puller().Add(sources.back(), each.back());
        ASSERT_TRUE(host.RunUntil([&] { return each.back()->Now().distinct > 0; }, kMediaLimit))
            << phones.back()->Transcript() << gate->Log();
    }
    for (const auto& one : each)
        one->BeginAnew();
    host.RunFor(5s);
    for (std::size_t index = 0; index < kPhones; ++index) {
        const auto now = each[index]->Now();
        std::cout << "phone " << index + 1 << ": " << static_cast<double>(now.distinct) / 5
                  << " pictures per second\n";
        EXPECT_GT(now.distinct, 5) << "phone " << index + 1;
    }
    host.Host().Sources().SetTally(sources[2]->Identifier(), host_runtime::TallyState::Program);
    EXPECT_TRUE(host.RunUntil([&] { return phones[2]->State() == "air"; }, 10s));
    for (std::size_t index = 0; index < kPhones; ++index)
        EXPECT_EQ(phones[index]->State(), index == 2 ? "air" : "live") << "phone " << index + 1;
}

}  // namespace
}  // namespace camera_page
