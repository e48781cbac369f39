#include "session/tally_state.h"

std::optional<bool> OnAirOfTallyState(std::int32_t state) {
    switch (state) {
        case 1:
        case 2:
            return true;
        case 4:
        case 5:
            return false;
        default:
            return std::nullopt;
    }
}
