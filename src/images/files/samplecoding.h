#pragma once

#include <cstddef>
#include <cstdint>

#include "images/files/imagepage.h"

namespace vorlen {

/// The C++ type that holds values of this type; those of 20 bits, say, are held by 32.
SampleStorage storageOf(const ValueType& type);

/// Unpacks samples that stand in a row of bytes without gaps, the highest bit first, as TIFF packs samples of other
/// widths than 8, 16, 32 and 64 bits. Signed ones have their sign extended. Real ones of 16 and 24 bits and whole
/// numbers of 24 bits are in the machine's byte order. Target step is in elements of the storage.
void unpackSamples(const unsigned char* packed, std::size_t count, const ValueType& type, void* target,
                   std::size_t targetStep);

/// The number of a half of IEEE 754 binary16.
float halfToFloat(std::uint16_t half);

/// One of 24 bits: a sign, 7 bits of exponent with the bias 63, 16 of fraction (Adobe Photoshop TIFF Technical Note 3).
float tripleToFloat(std::uint32_t triple);

} // namespace vorlen
