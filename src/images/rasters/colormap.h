#pragma once

#include "numerics/vector.h"

#include <string>

namespace vorlen {

/// Table of colours of an indexed image: entry i of the red, green and blue vectors is the colour of index i.
/// The three vectors always have the same size.
class Colormap {
public:
    Colormap() {}
    /// A map of this many entries (none when size is negative), contents undefined.
    explicit Colormap(int size);

    /// Resizes the three vectors; on a change of size the contents are lost.
    void setSize(int size);
    int getSize() const;
    void clear();

    unsigned char* getRed();
    unsigned char* getGreen();
    unsigned char* getBlue();
    const unsigned char* getRed() const;
    const unsigned char* getGreen() const;
    const unsigned char* getBlue() const;

    /// Entry i of n becomes the gray level i*255/(n-1), truncated; the single entry of a map of one is black.
    void makeGrayscale();
    /// Each entry becomes the gray level (r+g+b)/3, truncated.
    void convertToGrayscale();

    /// The tests below hold for an empty map.
    bool isIdentity() const;
    bool isGrayscale() const;
    bool isRedOnly() const;
    bool isGreenOnly() const;
    bool isBlueOnly() const;

    bool operator==(const Colormap& colormap) const;
    bool operator!=(const Colormap& colormap) const;

    /// To standard output: the title's line, if there is a title, and a line for each entry.
    void print(const std::string& title = "") const;

    /// Palette of 16 well separated colours, the first two black and white.
    static Colormap flag();
    /// Palette of n entries from blue through cyan, green and yellow to red, with logarithmic ramps.
    /// A ramp whose logarithm has no range (n = 4) stays at 0. Throws SizeError unless n is a multiple of 4.
    static Colormap cold2Hot(unsigned int n);

private:
    Vector<unsigned char> __red;
    Vector<unsigned char> __green;
    Vector<unsigned char> __blue;
};

} // namespace vorlen
