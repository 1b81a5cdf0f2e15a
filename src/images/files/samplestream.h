#pragma once

#include <array>
#include <cstddef>
#include <ostream>

#include <zlib.h>

namespace vorlen {

/// Takes bytes to a stream, as they are or compressed by gzip.
class SampleStream {
public:
    /// Throws FileWriteError where there is no memory for the compression.
    SampleStream(std::ostream& stream, bool compresses);
    ~SampleStream();
    SampleStream(const SampleStream&) = delete;
    SampleStream& operator=(const SampleStream&) = delete;

    void write(const void* bytes, std::size_t count);
    /// To be called behind the last bytes.
    void end();

private:
    void compress(const void* bytes, std::size_t count, int flush);

    std::ostream& __stream;
    bool __compresses;
    z_stream __state{};
    std::array<Bytef, 65536> __buffer;
};

} // namespace vorlen
