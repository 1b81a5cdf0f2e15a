#include "images/files/dicomruns.h"

#include <algorithm>
#include <cstdint>

namespace vorlen {

namespace {

constexpr std::size_t headLength = 64;

std::size_t numberAt(const std::vector<unsigned char>& coded, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;)
        number = number << 8 | coded[at + i];
    return number;
}

/// One segment: a byte n below 128 has n + 1 bytes behind it, one above 128 stands for the next one 257 - n times.
/// Returns how many of the wanted bytes there are.
std::size_t decodeSegment(const unsigned char* from, const unsigned char* end, unsigned char* to, std::size_t stride,
                          std::size_t wanted) {
    std::size_t done = 0;
    while (done < wanted && end - from >= 2) {
        const unsigned code = *from++;
        if (code < 128) {
            const std::size_t count = std::min({std::size_t(code) + 1, wanted - done, std::size_t(end - from)});
            for (std::size_t i = 0; i < count; ++i)
                to[(done + i) * stride] = from[i];
            from += count;
            done += count;
        } else if (code > 128) {
            const std::size_t count = std::min<std::size_t>(257 - code, wanted - done);
            for (std::size_t i = 0; i < count; ++i)
                to[(done + i) * stride] = *from;
            ++from;
            done += count;
        }
    }
    return done;
}

} // namespace

std::string decodeDicomRuns(const std::vector<unsigned char>& coded, std::size_t numPixels, std::size_t numSamples,
                            std::size_t numBytes, bool isPlanar, std::vector<unsigned char>& frame) {
    if (coded.size() < headLength)
        return "the head of its runs is cut";
    const std::size_t numSegments = numSamples * numBytes, told = numberAt(coded, 0);
    if (told != numSegments || numSegments >= headLength / 4)
        return std::to_string(told) + " segments of runs instead of " + std::to_string(numSegments);
    for (std::size_t k = 0; k < numSegments; ++k) {
        const std::size_t start = numberAt(coded, 4 + 4 * k);
        const std::size_t next = k + 1 < numSegments ? numberAt(coded, 8 + 4 * k) : coded.size();
        if (start < headLength || start > next || next > coded.size())
            return "a segment of runs lies outside of its frame";
        const std::size_t sample = k / numBytes, byte = numBytes - 1 - k % numBytes;
        const std::size_t first = isPlanar ? sample * numPixels * numBytes : sample * numBytes;
        const std::size_t stride = isPlanar ? numBytes : numSamples * numBytes;
        if (decodeSegment(&coded[0] + start, &coded[0] + next, &frame[first + byte], stride, numPixels) < numPixels)
            return "a segment of runs is too short";
    }
    return "";
}

} // namespace vorlen
