#pragma once

#include <cstddef>
#include <cstdint>

#include "images/files/imagepage.h"

namespace vorlen {

/// Cyan, magenta, yellow and black, with further samples behind them that are left out, to red, green, blue, without a
/// profile: red = (white - cyan) * (white - black) / white. For U8 and U16; source and target may not overlap.
void inksToRgb(const void* inks, std::size_t numPixels, int numSamples, SampleStorage storage, void* rgb);

/// CIE L*a*b* under the illuminant D50 to sRGB: by way of XYZ, adapted to D65 after Bradford, so that grey stays grey.
///
/// Samples of 8 bits (a and b signed, or with 128 for 0 in the form of ICC profiles) give bytes, those of 16 bits (L
/// from 0 to 65535; a and b in 256ths, signed or with 32768 for 0) words. Colours outside of sRGB are cut to its range.
void labToRgb(const void* lab, std::size_t numPixels, int numSamples, SampleStorage storage, bool isIcc, void* rgb);

/// Turns around grey values of which the least stand for white: v becomes greatest - v in an unsigned type, -1 - v in a
/// signed one, 1 - v in a real one.
void invertSamples(void* samples, std::size_t count, std::size_t step, const ValueType& type);

} // namespace vorlen
