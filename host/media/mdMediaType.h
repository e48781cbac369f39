#pragma once

#include "host/core/zFourCC.h"

using mdMediaType = zFourCC;

inline constexpr mdMediaType kMediaTypeVideo = FourCC("vido");
inline constexpr mdMediaType kMediaTypeAudio = FourCC("audo");
inline constexpr zFourCC kPixelFormatUYVY = FourCC("2vuy");
inline constexpr zFourCC kPixelFormatRGB = FourCC("rgb ");
