#include "host/media/mdMediaRecord.h"

mdMediaRecord::mdMediaRecord(mdMediaType type) {
    SetInt32(FourCC("type"), static_cast<std::int32_t>(type));
}

void mdMediaRecord::SetBytesPerRowBasedOnFormat() {
    const std::int64_t width = AsInt32(FourCC("mwid"), 0);
    const auto format = static_cast<zFourCC>(AsInt32(FourCC("mcol"), 0));
    const std::int64_t bytes = format == kPixelFormatUYVY ? (width + 1) / 2 * 4 : width * 4;
    // A width whose rows do not fit into the field is no width.
    const bool fits = width > 0 && bytes <= INT32_MAX;
    SetInt32(FourCC("mbpr"), fits ? static_cast<std::int32_t>(bytes) : 0);
}
