#pragma once

#include <cstdint>
#include <optional>

// What a tally state of the host says about being on air: 1 (program) and 2 (program and preview) yes,
// 4 (off) and 5 (idle) no. 3 (preview only) and everything else changes nothing.
std::optional<bool> OnAirOfTallyState(std::int32_t state);
