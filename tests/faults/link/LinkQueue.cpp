#include "tests/faults/link/LinkQueue.h"

#include <algorithm>
#include <utility>

namespace faults {
namespace {

constexpr std::int64_t kBitsPerByte = 8;
constexpr std::int64_t kUsPerMs = 1000;

}  // namespace

void LinkQueue::Change(const Conditions& changed) {
    conditions = changed;
    if (!conditions.up) {
        counts.lost += static_cast<std::int64_t>(underWay.size());
        underWay.clear();
        busyUntilUs = 0;
    }
    if (conditions.rateKbits == 0) busyUntilUs = 0;
}

void LinkQueue::Put(Packet packet, std::int64_t nowUs) {
    ++counts.taken;
    if (!conditions.up || Happens(conditions.lossPercent)) {
        ++counts.lost;
        return;
    }
    std::int64_t sentUs = nowUs;
    if (conditions.rateKbits > 0) {
        const auto bytes = static_cast<std::int64_t>(packet.size());
        if (BacklogBytes(nowUs) + bytes > static_cast<std::int64_t>(conditions.queueBytes)) {
            ++counts.overflow;
            return;
        }
        busyUntilUs = std::max(busyUntilUs, nowUs) + bytes * kBitsPerByte * kUsPerMs / conditions.rateKbits;
        sentUs = busyUntilUs;
    }
    if (Happens(conditions.duplicatePercent)) Schedule(packet, sentUs);
    Schedule(packet, sentUs);
}

std::optional<std::int64_t> LinkQueue::NextDueUs() const {
    if (underWay.empty()) return std::nullopt;
    return underWay.begin()->first;
}

std::optional<Packet> LinkQueue::Take(std::int64_t nowUs) {
    const auto first = underWay.begin();
    if (first == underWay.end() || first->first > nowUs) return std::nullopt;
    counts.latestUs = std::max(counts.latestUs, nowUs - first->first);
    ++counts.delivered;
    Packet packet = std::move(first->second);
    underWay.erase(first);
    return packet;
}

bool LinkQueue::Happens(double percent) {
    if (percent <= 0) return false;  // takes no number, so that other conditions keep their fate
    return std::uniform_real_distribution<double>(0, 100)(random) < percent;
}

void LinkQueue::Schedule(const Packet& packet, std::int64_t sentUs) {
    std::int64_t delayUs = conditions.delayUs;
    if (conditions.jitterUs > 0)
        delayUs +=
            std::uniform_int_distribution<std::int64_t>(-conditions.jitterUs, conditions.jitterUs)(random);
    if (Happens(conditions.reorderPercent)) delayUs += Conditions::kHeldBackUs;
    underWay.emplace(sentUs + std::max<std::int64_t>(0, delayUs), packet);
}

std::int64_t LinkQueue::BacklogBytes(std::int64_t nowUs) const {
    const std::int64_t aheadUs = std::max<std::int64_t>(0, busyUntilUs - nowUs);
    return aheadUs * conditions.rateKbits / kUsPerMs / kBitsPerByte;
}

}  // namespace faults
