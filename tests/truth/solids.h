#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "document/stack.h"

namespace vorlen {

/// A closed outline on a section, in world coordinates.
using SolidOutline = std::vector<std::array<double, 2>>;

/// A body whose measures are known, and its outlines at each height.
struct Solid {
    std::string name;
    double bottom, top; ///< heights between which it lies
    double diameter;    ///< its greatest extent, about
    double volume, area;
    std::array<double, 3> centroid;
    std::function<std::vector<SolidOutline>(double)> outlines; ///< by height
    std::function<double(double)> perimeter;                   ///< of all outlines at a height
    double thinnest = 1;                                       ///< height of its lowest piece, as a share of its own
};

/// Balls, ellipsoids, slanted cones, oblique and elliptic tubes, tori cut lengthwise, hollow balls, trees, forks,
/// linked rings and helices. Areas without a closed form are integrals, done to ten digits.
std::vector<Solid> knownSolids();

/// Where vertices can lie: in the middles of pixels, as what is traced pixel by pixel does, or on the outline itself,
/// to the thousandths that programs compute.
enum class DrawnVertices : unsigned char { WholePixels, Decimals };

/// How a body is drawn.
struct Drawing {
    int sections = 50;    ///< over the height of its lowest piece, each in the middle of its share
    double pixel = 0.002; ///< width of a pixel, in diameters, or as much less as there are more sections
    double aspect = 1;    ///< height of a pixel to its width
    double angle = 0;     ///< about the axis of the sections
    DrawnVertices vertices = DrawnVertices::WholePixels;
};

/// The body as a model, "m", of a stack: vertices four pixels apart, but at most 64 of them.
std::unique_ptr<Stack> drawn(const Solid& solid, const Drawing& drawing);

/// Measures of the model, and their truths.
struct Truth {
    std::string measure, estimator;
    double measured, truth;
    double scale; ///< by which the error is divided: the truth itself, or for places the diameter

    double error() const { return (measured - truth) / scale; }
};

std::vector<Truth> measuredAndTrue(const Solid& solid, const Drawing& drawing);

} // namespace vorlen
