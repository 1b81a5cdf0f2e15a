#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vorlen {

/// Decodes a frame of DICOM in the runs of bytes of its standard (PS3.5, annex G): a head of 64 bytes tells where up to
/// 15 segments begin, one for each byte of a sample, the highest first, of each sample of a pixel. The samples come out
/// in bytes of the order lowest first, pixel by pixel, or sample by sample where they are planar. What follows the last
/// pixel is left out. Returns what is wrong, in words to end a message, or nothing.
///
/// @param frame as large as the pixels need, or larger
std::string decodeDicomRuns(const std::vector<unsigned char>& coded, std::size_t numPixels, std::size_t numSamples,
                            std::size_t numBytes, bool isPlanar, std::vector<unsigned char>& frame);

} // namespace vorlen
