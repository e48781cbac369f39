#pragma once

// Whether the phone's tally light is on: the source is on air and at least one of its picture and its sound
// is not muted.
constexpr bool TallyIsLit(bool onAir, bool videoMuted, bool audioMuted) {
    return onAir && !(videoMuted && audioMuted);
}
