#include "host/media/nxBuffer2.h"

std::int32_t nxBuffer2::GetDisplayWidth() const {
    return AsInt32(FourCC("mdSQ"), AsInt32(FourCC("mwid"), 0));
}

std::int32_t nxBuffer2::GetDisplayHeight() const {
    return AsInt32(FourCC("mdSH"), AsInt32(FourCC("mhei"), 0));
}
