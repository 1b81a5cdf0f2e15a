#include "images/files/colourmodels.h"

#include <algorithm>
#include <cmath>

namespace vorlen {

namespace {

template <class Sample>
void convertInks(const Sample* from, std::size_t numPixels, int numSamples, Sample* to) {
    constexpr std::uint64_t white = static_cast<Sample>(~Sample(0));
    for (std::size_t i = 0; i < numPixels; ++i, from += numSamples)
        for (int k = 0; k < 3; ++k)
            *to++ = static_cast<Sample>(((white - from[k]) * (white - from[3]) + white / 2) / white);
}

/// The inverse of the cube root with its straight beginning (CIE 15).
double labCube(double t) {
    return t > 6.0 / 29 ? t * t * t : (t - 4.0 / 29) * 3 * (6.0 / 29) * (6.0 / 29);
}

double companded(double linear) {
    const double value = std::clamp(linear, 0.0, 1.0);
    return value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
}

/// Components from 0 to 1.
void labPixelToRgb(double lightness, double a, double b, double rgb[3]) {
    // From XYZ relative to D50 straight to linear sRGB (Bradford adaptation and the matrix of IEC 61966-2-1 in one).
    static const double matrix[3][3] = {
        {3.1338561, -1.6168667, -0.4906146}, {-0.9787684, 1.9161415, 0.0334540}, {0.0719453, -0.2289914, 1.4052427}};
    const double fy = (lightness + 16) / 116;
    const double xyz[] = {0.9642 * labCube(fy + a / 500), labCube(fy), 0.8249 * labCube(fy - b / 200)};
    for (int k = 0; k < 3; ++k)
        rgb[k] = companded(matrix[k][0] * xyz[0] + matrix[k][1] * xyz[1] + matrix[k][2] * xyz[2]);
}

template <class Sample>
void convertLab(const Sample* from, std::size_t numPixels, int numSamples, bool isIcc, Sample* to) {
    constexpr double white = static_cast<Sample>(~Sample(0));
    constexpr double unit = sizeof(Sample) == 1 ? 1 : 256;
    using Signed = std::make_signed_t<Sample>;
    const auto chroma = [isIcc](Sample value) {
        return isIcc ? value / unit - 128 : static_cast<double>(static_cast<Signed>(value)) / unit;
    };
    double rgb[3];
    for (std::size_t i = 0; i < numPixels; ++i, from += numSamples) {
        // A profile's lightness of 16 bits ends at 65280.
        const double full = isIcc && sizeof(Sample) == 2 ? 65280 : white;
        labPixelToRgb(std::min(from[0] * 100 / full, 100.0), chroma(from[1]), chroma(from[2]), rgb);
        for (const double component : rgb)
            *to++ = static_cast<Sample>(component * white + 0.5);
    }
}

} // namespace

void inksToRgb(const void* inks, std::size_t numPixels, int numSamples, SampleStorage storage, void* rgb) {
    if (storage == SampleStorage::U8)
        convertInks(static_cast<const std::uint8_t*>(inks), numPixels, numSamples, static_cast<std::uint8_t*>(rgb));
    else
        convertInks(static_cast<const std::uint16_t*>(inks), numPixels, numSamples, static_cast<std::uint16_t*>(rgb));
}

void labToRgb(const void* lab, std::size_t numPixels, int numSamples, SampleStorage storage, bool isIcc, void* rgb) {
    if (storage == SampleStorage::U8)
        convertLab(static_cast<const std::uint8_t*>(lab), numPixels, numSamples, isIcc,
                   static_cast<std::uint8_t*>(rgb));
    else
        convertLab(static_cast<const std::uint16_t*>(lab), numPixels, numSamples, isIcc,
                   static_cast<std::uint16_t*>(rgb));
}

void invertSamples(void* samples, std::size_t count, std::size_t step, const ValueType& type) {
    const ValueType::Kind kind = type.kind;
    const std::uint64_t greatest =
        type.bits >= 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << std::min(type.bits, 63)) - 1;
    withSampleType(kind == ValueType::Real ? (type.bits == 64 ? SampleStorage::F64 : SampleStorage::F32)
                   : type.bits <= 8        ? SampleStorage::U8
                   : type.bits <= 16       ? SampleStorage::U16
                   : type.bits <= 32       ? SampleStorage::U32
                                           : SampleStorage::U64,
                   [&](auto typed) {
                       using Sample = decltype(typed);
                       Sample* at = static_cast<Sample*>(samples);
                       for (std::size_t i = 0; i < count; ++i, at += step) {
                           if constexpr (std::is_floating_point_v<Sample>)
                               *at = 1 - *at;
                           else // of a signed number all bits
                               *at = kind == ValueType::Signed ? static_cast<Sample>(~*at)
                                                               : static_cast<Sample>(greatest - *at);
                       }
                   });
}

} // namespace vorlen
