#pragma once

#include <cstdint>
#include <string>

#include "images/files/imagepage.h"

namespace vorlen {

/// A picture of up to this number of bytes is believed whatever the length of its file: a blank one may be a few bytes.
constexpr std::uint64_t believedLength = std::uint64_t(128) << 20;

/// Bytes of the file; 0 for one that there is not.
std::uint64_t lengthOfFile(const std::string& filename);

/// Throws FileFormatError for sizes that no image can have, and FileReadError unless the picture is believed or can
/// come out of a file of this length, where a byte stands for at most ratio bytes of pixels.
void requireBelievable(const ImagePage& page, const std::string& filename, std::uint64_t ratio);

/// The same for a number of pages that are one behind the other in the file.
void requireBelievable(const ImagePage& page, std::uint64_t numPages, std::uint64_t offset, std::uint64_t fileLength,
                       const std::string& filename);

} // namespace vorlen
