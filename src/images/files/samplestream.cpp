#include "images/files/samplestream.h"

#include <algorithm>

#include "numerics/exception.h"

namespace vorlen {

SampleStream::SampleStream(std::ostream& stream, bool compresses) : __stream(stream), __compresses(compresses) {
    constexpr int gzipWindow = 15 + 16;
    if (__compresses && deflateInit2(&__state, 1, Z_DEFLATED, gzipWindow, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw FileWriteError("SampleStream::SampleStream(ostream&, bool)", "The compression cannot be started", "");
}

SampleStream::~SampleStream() {
    if (__compresses)
        deflateEnd(&__state);
}

void SampleStream::write(const void* bytes, std::size_t count) {
    if (__compresses)
        compress(bytes, count, Z_NO_FLUSH);
    else
        __stream.write(static_cast<const char*>(bytes), std::streamsize(count));
}

void SampleStream::end() {
    if (__compresses)
        compress(nullptr, 0, Z_FINISH);
}

void SampleStream::compress(const void* bytes, std::size_t count, int flush) {
    constexpr std::size_t longest = std::size_t(1) << 30; // zlib counts in 32 bits
    const auto* at = static_cast<const Bytef*>(bytes);
    do {
        const std::size_t part = std::min(count, longest);
        count -= part;
        // zlib only reads what its old interface takes as not constant.
        __state.next_in = const_cast<Bytef*>(at); // NOLINT(cppcoreguidelines-pro-type-const-cast)
        __state.avail_in = static_cast<uInt>(part);
        at = at != nullptr ? at + part : nullptr;
        do {
            __state.next_out = __buffer.data();
            __state.avail_out = static_cast<uInt>(__buffer.size());
            deflate(&__state, flush);
            __stream.write(static_cast<const char*>(static_cast<const void*>(__buffer.data())),
                           std::streamsize(__buffer.size() - __state.avail_out));
        } while (__state.avail_out == 0);
    } while (count > 0);
}

} // namespace vorlen
