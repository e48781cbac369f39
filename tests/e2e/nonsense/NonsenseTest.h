// The stage for a phone that talks nonsense: a host with two sources, of which one is an honest simulated
// phone that must not notice anything.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "host_runtime/sources/PullConsumer.h"
#include "tests/e2e/host/HostHarness.h"
#include "tests/e2e/host/SimulatedPhone.h"
#include "tests/e2e/nonsense/NonsensePhone.h"
#include "tests/e2e/nonsense/PhoneMessages.h"
#include "tests/e2e/nonsense/TraceLog.h"

namespace nonsense {

// What a script came to.
class Milestone {
public:
    void Reach() { reached = true; }
    bool IsReached() const { return reached; }

private:
    std::atomic<bool> reached{false};
};

// Watches the pictures of one source.
class PictureWatch final : public host_runtime::PullConsumer {
public:
    void OnPicture(const host_runtime::PulledPicture& picture) override;
    void OnSound(const host_runtime::PulledSound&) override {}

    int NewPictures() const { return newPictures; }
    std::int64_t LongestGapUs() const { return longestGapUs; }  // between two new ones

private:
    std::int64_t lastNewUs = 0;  // of the picture thread
    std::atomic<int> newPictures{0};
    std::atomic<std::int64_t> longestGapUs{0};
};

class NonsenseTest : public testing::Test {
protected:
    void SetUp() override;

    // Who brings the source back: the host's own sweep within seconds, or the operator at once.
    enum class Return { BySweep, ByOperator };

    // Lets the script play the phone of a source until its milestone is reached and `isTraced` holds. Then
    // an honest phone takes its address, whose picture must arrive, while the neighbour ran on all the time.
    void PlayUntil(NonsensePhone::Script script, const std::function<bool()>& isTraced,
                   Return wayBack = Return::ByOperator);

    TraceLog trace;
    Milestone milestone;

private:
    void ExpectPictureFromHonestPhone(const host_runtime::Source& source, Return wayBack);

    std::unique_ptr<e2e::SimulatedPhone> neighbour;
    std::shared_ptr<PictureWatch> neighbourWatch = std::make_shared<PictureWatch>();
    std::shared_ptr<PictureWatch> watch = std::make_shared<PictureWatch>();
    e2e::HostHarness host;
};

}  // namespace nonsense
