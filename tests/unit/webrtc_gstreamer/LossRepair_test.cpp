#include "webrtc_gstreamer/LossRepair.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace webrtc_gstreamer {
namespace {

using Numbers = std::vector<std::uint16_t>;

constexpr std::int64_t kMs = 1000;
constexpr std::int64_t kToleranceUs = LossRepair::kShortestToleranceUs;

class LossRepairTest : public testing::Test {
protected:
    void Come(std::initializer_list<int> numbers) {
        for (const int number : numbers)
            repair.Arrived(static_cast<std::uint16_t>(number), false, nowUs);
    }
    // The last packet of a picture.
    void End(int number) { repair.Arrived(static_cast<std::uint16_t>(number), true, nowUs); }
    Numbers AskedAfter(std::int64_t us) {
        nowUs += us;
        return repair.Due(nowUs);
    }
    // Moments from now on at which this packet, and no other, is asked for.
    std::vector<std::int64_t> Requests(int number, std::int64_t forUs) {
        std::vector<std::int64_t> moments;
        const std::int64_t beganUs = nowUs;
        while (const auto dueUs = repair.NextDueUs()) {
            if (*dueUs > beganUs + forUs) break;
            nowUs = std::max(nowUs, *dueUs);
            const Numbers asked = repair.Due(nowUs);
            if (asked.empty()) continue;
            EXPECT_EQ(asked, Numbers{static_cast<std::uint16_t>(number)});
            moments.push_back(nowUs - beganUs);
        }
        nowUs = beganUs + forUs;
        return moments;
    }

    // Loses so many packets behind `number`, the last that came: each is asked for, and none comes in time.
    void AskInVain(int& number) {
        for (int lost = 0; lost < LossRepair::kMostInVain; ++lost) {
            number += 2;
            Come({number});
            ASSERT_EQ(AskedAfter(kToleranceUs), Numbers{static_cast<std::uint16_t>(number - 1)});
            ASSERT_TRUE(AskedAfter(LossRepair::kBudgetUs).empty());
        }
    }

    std::int64_t nowUs = 50'000'000;
    LossRepair repair;
};

TEST_F(LossRepairTest, WhatComesInOrderIsNotAskedFor) {
    Come({10, 11, 12});
    End(13);
    EXPECT_FALSE(repair.NextDueUs());
    EXPECT_TRUE(AskedAfter(100 * kMs).empty());
}

TEST_F(LossRepairTest, AGapIsAskedForAfterAMoment) {
    Come({10, 13});
    EXPECT_EQ(repair.NextDueUs(), nowUs + kToleranceUs);
    EXPECT_TRUE(AskedAfter(kToleranceUs - 1).empty());
    EXPECT_EQ(AskedAfter(1), (Numbers{11, 12}));
}

TEST_F(LossRepairTest, NumbersGoOnBehindTheirLast) {
    Come({65534, 1});
    EXPECT_EQ(AskedAfter(kToleranceUs), (Numbers{65535, 0}));
    Come({0, 65535});
    EXPECT_FALSE(repair.NextDueUs());
}

TEST_F(LossRepairTest, APacketThatComesInThatMomentIsNotAskedFor) {
    Come({10, 12});
    nowUs += kToleranceUs - 1;
    Come({11});
    EXPECT_FALSE(repair.NextDueUs());
}

TEST_F(LossRepairTest, AsksAgainUntilAnAnswerWouldComeTooLate) {
    Come({10, 12});
    std::vector<std::int64_t> expected;
    for (std::int64_t us = kToleranceUs; us < LossRepair::kBudgetUs; us += LossRepair::kAskAgainUs)
        expected.push_back(us);
    EXPECT_EQ(Requests(11, 200 * kMs), expected);
    EXPECT_FALSE(repair.NextDueUs());
}

TEST_F(LossRepairTest, AnAnswerEndsTheRequests) {
    Come({10, 12});
    EXPECT_EQ(AskedAfter(kToleranceUs), Numbers{11});
    nowUs += 4 * kMs;
    Come({11});
    EXPECT_FALSE(repair.NextDueUs());
}

TEST_F(LossRepairTest, DoesNotAskAgainBeforeAnAnswerCanBeHere) {
    Come({10, 12});
    ASSERT_EQ(AskedAfter(kToleranceUs), Numbers{11});
    nowUs += 40 * kMs;
    Come({11});
    Come({14});
    EXPECT_EQ(Requests(13, 200 * kMs), (std::vector<std::int64_t>{3 * kMs, 46 * kMs}));
}

TEST_F(LossRepairTest, DoesNotAskWhereEveryAnswerComesTooLateUntilThatIsForgotten) {
    Come({10, 12});
    ASSERT_EQ(AskedAfter(kToleranceUs), Numbers{11});
    nowUs += LossRepair::kBudgetUs;
    Come({11});
    Come({14});
    EXPECT_TRUE(Requests(13, 200 * kMs).empty());
    nowUs += LossRepair::kMemoryUs;
    Come({15});
    nowUs += LossRepair::kMemoryUs;
    Come({16, 18});
    EXPECT_EQ(AskedAfter(kToleranceUs), Numbers{17});
}

TEST_F(LossRepairTest, WaitsHalfAsLongAgainAsPacketsCameLateLately) {
    Come({10, 12});
    nowUs += 2 * kMs + 800;
    Come({11});
    EXPECT_EQ(repair.ToleranceUs(), 4'200);
    Come({14});
    nowUs += 4 * kMs;
    Come({13});
    EXPECT_EQ(repair.ToleranceUs(), 6 * kMs);
    nowUs += LossRepair::kMemoryUs;
    Come({15});
    EXPECT_EQ(repair.ToleranceUs(), 6 * kMs);
    nowUs += LossRepair::kMemoryUs;
    Come({16});
    EXPECT_EQ(repair.ToleranceUs(), kToleranceUs);
}

TEST_F(LossRepairTest, ADoubledPacketIsNoLateOne) {
    Come({10, 11, 12});
    nowUs += 20 * kMs;
    Come({11});
    EXPECT_EQ(repair.ToleranceUs(), kToleranceUs);
}

TEST_F(LossRepairTest, APacketThatComesMoreOftenThanItWasAskedForHadOnlyBeenLate) {
    Come({10, 12});
    ASSERT_EQ(AskedAfter(kToleranceUs), Numbers{11});
    nowUs += 5 * kMs;
    Come({11});
    EXPECT_EQ(repair.ToleranceUs(), kToleranceUs) << "it may be the answer";
    nowUs += 5 * kMs;
    Come({11});
    EXPECT_EQ(repair.ToleranceUs(), 12 * kMs);
}

TEST_F(LossRepairTest, NeverWaitsSoLongThatNoTimeIsLeftForTheRepair) {
    for (int round = 0; round < 20; ++round) {
        Come({round * 2, round * 2 + 2});
        nowUs += repair.ToleranceUs() - 1;
        Come({round * 2 + 1});
    }
    EXPECT_EQ(repair.ToleranceUs(), LossRepair::kLongestToleranceUs);
}

TEST_F(LossRepairTest, APictureThatStopsBeforeItsLastPacketIsAskedForItsNextOne) {
    End(10);
    Come({11, 12});
    EXPECT_EQ(repair.NextDueUs(), nowUs + LossRepair::kShortestSilenceUs);
    EXPECT_EQ(AskedAfter(LossRepair::kShortestSilenceUs), Numbers{13});
    nowUs += 4 * kMs;
    Come({13});
    EXPECT_EQ(AskedAfter(LossRepair::kShortestSilenceUs), Numbers{14}) << "and for the one behind it";
    End(14);
    EXPECT_FALSE(repair.NextDueUs());
}

TEST_F(LossRepairTest, ASilenceIsAskedAboutUntilTheBudgetIsSpentAndNeverAgain) {
    End(10);
    Come({11});
    EXPECT_EQ(Requests(12, 10'000 * kMs).size(), 10U);
    EXPECT_FALSE(repair.NextDueUs());
    Come({13});
    EXPECT_EQ(AskedAfter(kToleranceUs), Numbers{12}) << "now it is known to exist";
}

TEST_F(LossRepairTest, ASilenceMeansNothingFromASenderWhoMarksNoLastPackets) {
    Come({10, 11, 12});
    EXPECT_FALSE(repair.NextDueUs());
}

TEST_F(LossRepairTest, SilencesThatAreAHabitAreWaitedOut) {
    int number = 0;
    const auto picture = [&](std::int64_t silenceUs) {
        Come({++number});
        Requests(number + 1, silenceUs);
        End(++number);
        nowUs += 20 * kMs;
    };
    const auto pictures = [&](int count, std::int64_t silenceUs) {
        for (int nth = 0; nth < count; ++nth)
            picture(silenceUs);
    };
    pictures(LossRepair::kPicturesJudged, 10 * kMs);
    EXPECT_EQ(repair.SilenceUs(), 2 * LossRepair::kShortestSilenceUs);
    pictures(LossRepair::kMostSilences, 20 * kMs);  // as few as losses would cause
    pictures(LossRepair::kPicturesJudged - LossRepair::kMostSilences, 10 * kMs);
    EXPECT_EQ(repair.SilenceUs(), 12 * kMs);
    pictures(5 * LossRepair::kPicturesJudged, 0);
    EXPECT_EQ(repair.SilenceUs(), LossRepair::kShortestSilenceUs);
}

TEST_F(LossRepairTest, WhatAnOutageTookIsNotAskedFor) {
    Come({10, 12});
    Come({13 + static_cast<int>(LossRepair::kMostMissing)});
    EXPECT_FALSE(repair.NextDueUs());
    Come({142, 144});
    EXPECT_EQ(AskedAfter(kToleranceUs), Numbers{143});
}

TEST_F(LossRepairTest, ASenderWhoCountsAnewIsFollowed) {
    Come({40'000, 40'002});
    Come({7, 9});
    EXPECT_EQ(AskedAfter(kToleranceUs), Numbers{8});
}

TEST_F(LossRepairTest, WhereNoAnswerComesInTimeOnePacketIsAskedForAtATimeAndOnce) {
    int number = 10;
    Come({number});
    AskInVain(number);
    Come({number + 4});
    EXPECT_EQ(Requests(number + 1, 200 * kMs), std::vector<std::int64_t>{kToleranceUs});
    Come({number + 6});
    EXPECT_EQ(AskedAfter(kToleranceUs), Numbers{static_cast<std::uint16_t>(number + 5)})
        << "the next one after the other's time";
}

TEST_F(LossRepairTest, TheFirstAnswerInTimeEndsThat) {
    int number = 10;
    Come({number});
    AskInVain(number);
    Come({number + 2});
    ASSERT_EQ(AskedAfter(kToleranceUs).size(), 1U);
    Come({number + 1});
    Come({number + 5});
    EXPECT_EQ(AskedAfter(kToleranceUs).size(), 2U);
}

// Thirty pictures of ten packets in a second, over a link with a seeded fate for every packet. The sender
// answers every request.
class Link {
public:
    struct Nature {
        double loss = 0;
        std::int64_t delayUs = 2000;
        std::int64_t jitterUs = 0;
        double doubled = 0;
        // What a packet takes of a narrow link; it waits for others, or is lost behind half a second of them.
        std::int64_t packetUs = 0;
    };
    explicit Link(Nature ofLink) : nature(ofLink) {}

    void Play(std::int64_t seconds) {
        for (std::int64_t picture = 0; picture < seconds * 30; ++picture) {
            for (int packet = 0; packet < kPackets; ++packet)
                leaving.emplace(picture * 1'000'000 / 30 + packet * 100,
                                static_cast<std::uint16_t>(picture * kPackets + packet));
        }
        while (!leaving.empty() || !underWay.empty()) {
            const bool leavesNext =
                underWay.empty() || (!leaving.empty() && leaving.begin()->first <= underWay.begin()->first);
            Packets& from = leavesNext ? leaving : underWay;
            const auto [atUs, number] = *from.begin();
            if (const auto dueUs = repair.NextDueUs(); dueUs && *dueUs < atUs) {
                Ask(*dueUs);
                continue;
            }
            from.erase(from.begin());
            nowUs = std::max(nowUs, atUs);
            if (leavesNext) {
                Send(number);
            } else {
                arrivals.emplace(number, nowUs);
                repair.Arrived(number, number % kPackets == kPackets - 1, nowUs);
            }
        }
    }

    // Packets that never came, or not within the budget of their picture.
    int Missed(std::int64_t seconds) const {
        int missed = 0;
        for (std::int64_t number = 0; number < seconds * 30 * kPackets; ++number) {
            const auto found = arrivals.find(static_cast<std::uint16_t>(number));
            const std::int64_t sentUs = number / kPackets * 1'000'000 / 30;
            if (found == arrivals.end() || found->second > sentUs + LossRepair::kBudgetUs) ++missed;
        }
        return missed;
    }

    int requests = 0;

private:
    static constexpr int kPackets = 10;

    using Packets = std::multimap<std::int64_t, std::uint16_t>;

    void Ask(std::int64_t dueUs) {
        nowUs = std::max(nowUs, dueUs);
        for (const std::uint16_t number : repair.Due(nowUs)) {
            ++requests;
            if (!Happens(nature.loss)) leaving.emplace(nowUs + Delay(), number);
        }
    }
    void Send(std::uint16_t number) {
        constexpr std::int64_t kQueueUs = 500'000;
        const std::int64_t freeUs = std::max(nowUs, busyUntilUs);
        if (freeUs > nowUs + kQueueUs) return;
        busyUntilUs = freeUs + nature.packetUs;
        if (Happens(nature.doubled)) underWay.emplace(busyUntilUs + Delay(), number);
        if (!Happens(nature.loss)) underWay.emplace(busyUntilUs + Delay(), number);
    }
    bool Happens(double chance) { return std::uniform_real_distribution<>(0, 1)(random) < chance; }
    std::int64_t Delay() {
        return nature.delayUs +
               std::uniform_int_distribution<std::int64_t>(-nature.jitterUs, nature.jitterUs)(random);
    }

    const Nature nature;
    std::mt19937_64 random{7};
    std::int64_t nowUs = 0;
    std::int64_t busyUntilUs = 0;
    Packets leaving;
    Packets underWay;
    std::map<std::uint16_t, std::int64_t> arrivals;
    LossRepair repair;
};

TEST(LossRepairOnALink, ATenthOfAllPacketsIsRepaired) {
    Link link({.loss = 0.1});
    link.Play(60);
    EXPECT_LE(link.Missed(60), 2) << "of 18,000, the very last one among them";
    EXPECT_LT(link.requests, 3000) << "one packet in ten, and a few requests were lost";
}

TEST(LossRepairOnALink, PacketsThatOvertakeOneAnotherAreHardlyAskedFor) {
    Link link({.delayUs = 22'000, .jitterUs = 20'000, .doubled = 0.01});
    link.Play(60);
    EXPECT_EQ(link.Missed(60), 0);
    EXPECT_LT(link.requests, 600) << "of 18,000 packets, most of which were overtaken";
}

TEST(LossRepairOnALink, LossIsRepairedAlsoWherePacketsOvertakeOneAnother) {
    Link link({.loss = 0.02, .delayUs = 12'000, .jitterUs = 10'000});
    link.Play(60);
    EXPECT_LT(link.Missed(60), 20) << "of 360 that were lost";
}

TEST(LossRepairOnALink, ANarrowOneIsNotFilledWithAnswersThatComeTooLate) {
    Link link({.packetUs = 8'000});
    link.Play(60);
    EXPECT_LT(link.requests, 1800) << "of 18,000 packets, 7,500 of which it carries";
}

TEST(LossRepairOnALink, AGoodLinkIsNotBothered) {
    Link link({});
    link.Play(60);
    EXPECT_EQ(link.requests, 0);
}

}  // namespace
}  // namespace webrtc_gstreamer
