#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorlen {

/// Puts numbers and texts one behind the other into bytes that are the same on every machine; small numbers take one.
class ByteWriter {
public:
    void number(std::uint64_t value);
    void integer(std::int64_t value);
    /// Bit for bit.
    void real(float value);
    void decimal(double value);
    void flag(bool value) { number(value ? 1 : 0); }
    void text(std::string_view value);

    const std::string& bytes() const { return __bytes; }
    std::string take() { return std::move(__bytes); }

private:
    std::string __bytes;
};

/// Takes them out again, in the same order. Each operation throws FileFormatError when the bytes don't hold what is
/// asked for; lengths are compared with what is left.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : __bytes(bytes) {}

    std::uint64_t number();
    std::int64_t integer();
    int smallInteger();
    float real();
    double decimal();
    bool flag() { return number() != 0; }
    std::string text();

    /// A number of things that take a byte each at least.
    std::size_t count();

    bool atEnd() const { return __bytes.empty(); }

    [[noreturn]] static void fail(const char* what);

private:
    std::string_view __bytes;
};

} // namespace vorlen
