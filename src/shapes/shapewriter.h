#pragma once

#include <iosfwd>
#include <string>

namespace vorlen {

/// Text buffer of the shape writers, handed over in large pieces.
///
/// A real number has the fewest digits that read back as the same number, or, where the stream's precision was set to
/// another one than that of a new stream, so many.
class ShapeWriter {
public:
    explicit ShapeWriter(std::ostream& stream);

    /// A line `# n`.
    void record(int value);

    template <class T>
    void number(T value);

    void text(const char* literal) { __text += literal; }
    void blank() { __text += ' '; }
    void newLine() {
        __text += '\n';
        if (__text.size() > pieceSize)
            handOn();
    }

    /// Writes what is left in the buffer. A failing stream raises FileWriteError with the given place; the file's name
    /// is added by Shape::save. The stream's exception mask is as before in all cases.
    void finish(const std::string& where);

private:
    static constexpr std::size_t pieceSize = 1 << 20;

    bool handOn();

    std::ostream& __stream;
    std::string __text;
    int __precision;
};

} // namespace vorlen
