#include "images/files/rawvolume.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include "images/files/believablesize.h"
#include "images/files/samplecoding.h"
#include "images/files/samplesink.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// Bytes of a file, as they are or out of gzip.
class VolumeBytes {
public:
    VolumeBytes(const std::string& filename, bool compressed, std::uint64_t streamStart, std::uint64_t start)
        : __filename(filename), __compressed(compressed) {
        if (compressed) {
            const int descriptor = ::open(filename.c_str(), O_RDONLY | O_CLOEXEC);
            if (descriptor >= 0 && ::lseek(descriptor, static_cast<off_t>(streamStart), SEEK_SET) >= 0)
                __gzip = gzdopen(descriptor, "rb");
            if (__gzip == nullptr && descriptor >= 0)
                ::close(descriptor);
            if (__gzip == nullptr)
                fail("Cannot open file for reading");
            gzbuffer(__gzip, 1 << 17);
            if (gzseek(__gzip, static_cast<z_off_t>(start), SEEK_SET) < 0)
                fail("This file is too short for the image size in its header");
        } else {
            __file.open(filename, std::ios::binary);
            if (!__file.is_open())
                fail("Cannot open file for reading");
            __file.seekg(static_cast<std::streamoff>(start));
        }
    }
    ~VolumeBytes() {
        if (__gzip != nullptr)
            gzclose(__gzip);
    }
    VolumeBytes(const VolumeBytes&) = delete;
    VolumeBytes& operator=(const VolumeBytes&) = delete;

    void read(std::vector<unsigned char>& bytes) {
        std::size_t done = 0;
        while (__compressed && done < bytes.size()) {
            const auto part = static_cast<unsigned>(std::min<std::size_t>(bytes.size() - done, 1u << 30));
            const int got = gzread(__gzip, &bytes[done], part);
            if (got <= 0)
                fail("Cannot read the compressed samples");
            done += static_cast<std::size_t>(got);
        }
        if (__compressed)
            return;
        __file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (__file.gcount() != static_cast<std::streamsize>(bytes.size()))
            fail("This file is too short for the image size in its header");
    }

private:
    [[noreturn]] void fail(const char* what) {
        if (__gzip != nullptr)
            gzclose(__gzip);
        __gzip = nullptr;
        throw FileReadError("void RawVolume::read(int, SampleSink&)", what, __filename);
    }

    std::string __filename;
    bool __compressed;
    gzFile __gzip = nullptr;
    std::ifstream __file;
};

void swapSamples(std::vector<unsigned char>& bytes, std::size_t length) {
    for (std::size_t at = 0; length > 1 && at + length <= bytes.size(); at += length)
        std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                     bytes.begin() + static_cast<std::ptrdiff_t>(at + length));
}

} // namespace

ImagePage RawVolume::getPage(int i) {
    requirePage(i, __numPages);
    return __page;
}

void RawVolume::read(int i, SampleSink& sink) {
    requirePage(i, __numPages);
    const std::size_t count = std::size_t(__page.width) * std::size_t(__page.numSamples);
    const std::size_t rowLength = (count * std::size_t(__rawType.bits) + 7) / 8;
    VolumeBytes file(__dataFile, __compressed, __streamStart,
                     __offset + std::uint64_t(i) * std::uint64_t(__page.height) * rowLength);
    std::vector<unsigned char> packed(rowLength), raw(count * bytesOf(storageOf(__rawType)));
    std::vector<float> scaled;
    for (int row = 0; row < __page.height; ++row) {
        file.read(packed);
        if (__swapped)
            swapSamples(packed, std::size_t(__rawType.bits) / 8);
        unpackSamples(packed.data(), count, __rawType, raw.data(), 1);
        const unsigned char* samples = raw.data();
        if (__slope) {
            scaled.resize(count);
            withSampleType(storageOf(__rawType), [&](auto typed) {
                const auto* from = reinterpret_cast<const decltype(typed)*>(raw.data());
                for (std::size_t k = 0; k < count; ++k)
                    scaled[k] = static_cast<float>(double(from[k]) * *__slope + __intercept.value_or(0));
            });
            samples = reinterpret_cast<const unsigned char*>(scaled.data());
        }
        if (!sink.takeRow(row, samples))
            return;
    }
}

StackLayout RawVolume::getLayout() {
    StackLayout layout = ImageFile::getLayout();
    layout.numPlanes = std::max(__numPlanes, 1);
    layout.numTimes = __numPages / layout.numPlanes;
    layout.unit = __unit;
    layout.pixelWidth = __pixelWidth;
    layout.pixelHeight = __pixelHeight;
    layout.spacing = __spacing;
    if (!__warning.empty())
        layout.warnings.push_back(__warning);
    return layout;
}

void RawVolume::requireComplete() const {
    ImagePage raw = __page;
    raw.storage = __rawType.bits == 16 ? SampleStorage::U16 : storageOf(__rawType); // halves take two bytes
    if (raw.numSamples < 1 || raw.numSamples > 1024)
        refuse(std::to_string(raw.numSamples) + " samples per pixel");
    requireBelievable(raw, getFilename(), 1); // the sizes alone, where it is small
    const std::uint64_t length = lengthOfFile(__dataFile);
    // In a compressed file a byte stands for 1032 at most.
    requireBelievable(raw, std::uint64_t(std::max(__numPages, 0)), __offset,
                      __compressed ? std::max(length * 1032, std::uint64_t(1) << 16) : length, getFilename());
    if (__numPages < 1)
        refuse("no planes");
}

void RawVolume::refuse(const std::string& what) const {
    throw FileFormatError("ImageFile::open(const string&)", "Cannot read " + toString(getFormat()) + " with " + what,
                          getFilename());
}

} // namespace vorlen
