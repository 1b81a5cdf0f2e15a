#include "images/files/believablesize.h"

#include <filesystem>
#include <limits>
#include <system_error>

#include "numerics/exception.h"

namespace vorlen {

namespace {

void requireSize(const ImagePage& page, const std::string& filename) {
    const std::uint64_t pixel = std::max<std::uint64_t>(4, std::uint64_t(page.numSamples) * bytesOf(page.storage));
    const std::uint64_t greatest = std::uint64_t(std::numeric_limits<int>::max()) / pixel;
    if (page.width < 1 || page.height < 1 || std::uint64_t(page.width) > greatest ||
        std::uint64_t(page.height) > greatest)
        throw FileFormatError("ImagePage ImageFile::getPage(int)", "Invalid image size", filename);
}

[[noreturn]] void failShort(const std::string& filename) {
    throw FileReadError("ImagePage ImageFile::getPage(int)", "This file is too short for the image size in its header",
                        filename);
}

} // namespace

std::uint64_t lengthOfFile(const std::string& filename) {
    std::error_code error;
    const std::uintmax_t length = std::filesystem::file_size(filename, error);
    return error ? 0 : std::uint64_t(length);
}

void requireBelievable(const ImagePage& page, const std::string& filename, std::uint64_t ratio) {
    requireSize(page, filename);
    const std::uint64_t needed = page.rowLength() * std::uint64_t(page.height);
    if (needed > believedLength && needed / ratio > lengthOfFile(filename))
        failShort(filename);
}

void requireBelievable(const ImagePage& page, std::uint64_t numPages, std::uint64_t offset, std::uint64_t fileLength,
                       const std::string& filename) {
    requireSize(page, filename);
    const std::uint64_t pageLength = page.rowLength() * std::uint64_t(page.height);
    if (offset > fileLength || (fileLength - offset) / pageLength < numPages)
        failShort(filename);
}

} // namespace vorlen
