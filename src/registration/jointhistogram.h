#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace vorlen {

/// Classes of grey values that hold about the same number of pixels, so that any grey scale that keeps the order of the
/// greys gives the same classes. A single grey of which there is much, a ground say, takes no more than a part of them.
class GreyClasses {
public:
    /// The classes for these values; without any, all values are of the first one.
    explicit GreyClasses(std::vector<float> values);

    /// From 0 to JointHistogram::numClasses - 1; between two classes for a value that lies between them.
    float of(float value) const;

private:
    static constexpr int numCells = 512;

    float __least = 0, __scale = 0;             // of the cells
    std::array<float, numCells + 1> __places{}; // in classes, at the borders of the cells
};

/// How often greys of one image come together with those of another, and what one tells of the other.
///
/// A pixel between two classes has a part in both (linear Parzen windows), so that what follows changes smoothly with
/// the place of the images. Information is in natural units; that which chance gives to so few pixels is taken off
/// (Miller 1955).
class JointHistogram {
public:
    static constexpr int numClasses = 16;

    /// Classes from 0 to numClasses - 1.
    void add(float first, float second);
    void clear();

    /// Of the pixels that were added.
    double count() const { return __count; }

    /// What either grey tells of the other, however they belong together (Viola and Wells 1997); 0 without pixels.
    double mutualInformation() const;

    /// The sum of both entropies over that of both together, less 1: from 0 to 1, and not the greater for a great
    /// overlap alone (Studholme, Hill and Hawkes 1999).
    double normalizedInformation() const;

    /// From 0 to 1: the absolute correlation of two normally distributed images that tell as much of each other
    /// (Linfoot 1957).
    double informationalCorrelation() const;

private:
    struct Entropies {
        double first = 0, second = 0, both = 0;
    };
    Entropies entropies() const;
    double chance() const;

    std::array<float, std::size_t(numClasses) * numClasses> __counts{};
    double __count = 0;
};

} // namespace vorlen
