#pragma once

#include <iosfwd>
#include <string>

namespace vorlen {

/// Scanner of the text of shape files: records `# n` and numbers, separated by white space.
///
/// The rest of the stream is taken in one gulp and scanned by pointer, so that a count can be held against the text
/// that is left. The failures carry no file name; Shape::load adds it.
class ShapeReader {
public:
    /// where: the reading operation, named in all failures. Throws FileReadError when the stream cannot be read.
    ShapeReader(std::istream& stream, const std::string& where);

    /// True when nothing but white space is left.
    bool atEnd();

    /// Value of a record `# n`. Throws FileReadError at the end of the text, FileFormatError on anything else.
    int record();

    /// A record that announces items of at least numbersPerItem numbers each.
    /// Throws FileFormatError when it is negative, FileReadError when the text left is too short for so many.
    int count(int numbersPerItem);

    /// The record of the space dimension. Throws FileFormatError when it is negative or above 1024, far beyond any
    /// space of use, so that a hostile header cannot ask for huge vertices.
    int space();

    /// The next number, in decimal or scientific notation. Throws FileReadError at the end of the text, FileFormatError
    /// on text that is no finite number of type T. Values too small for T read as 0.
    template <class T>
    T number();

    /// Puts a stream that can be positioned right behind what was scanned, so that another shape may follow.
    void finish();

private:
    [[noreturn]] void raiseFormat(const std::string& what) const;
    [[noreturn]] void raiseShort() const;
    void skipBlanks();

    std::istream& __stream;
    std::string __where;
    std::string __text;
    const char* __next = nullptr;
    const char* __end = nullptr;
    long long __start = -1;
};

} // namespace vorlen
