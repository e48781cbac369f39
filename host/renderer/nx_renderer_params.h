// What a pull asks for.
#pragma once

#include <cstdint>

struct nx_renderer_params {
    std::int64_t presentationTimeUs = 0;  // monotonic per consumer key
    std::uint64_t consumerKey = 0;        // one steady key per consumer
};
