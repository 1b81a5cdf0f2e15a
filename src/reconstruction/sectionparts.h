#pragma once

#include <optional>
#include <vector>

#include "numerics/planepoint.h"
#include "shapes/selfcontact.h"
#include "shapes/vertices.h"

namespace vorlen {

/// A closed outline on a section: at least three points, no two successive ones at one place, the last of which joins
/// the first. What it bounds lies to its left, seen against the axis Z with X to the right and Y up.
struct SectionRing {
    std::vector<PlanePoint> points;
    double area = 0;   ///< signed: negative for a hole
    double length = 0; ///< of all edges
    PlanePoint centroid;
    double left = 0, right = 0, bottom = 0, top = 0; ///< bounding box

    SectionRing() = default;
    /// Computes what follows from the points.
    explicit SectionRing(std::vector<PlanePoint> vertices);

    void reverse();

    /// Half the ring's mean width: the radius of a circle.
    double meanRadius() const;

    /// Even-odd rule.
    bool contains(const PlanePoint& p) const;

    /// Whether a segment from p to any point of the ring stays on one side of it.
    bool isSeenFrom(const PlanePoint& p) const;

    /// Whether it goes once around its centroid, always forward: then it can't cross itself.
    bool isStar() const;

    /// Most are told without a search.
    bool crossesItself() const;

    /// The same with touching: two lobes that meet in a point, or a cut that is passed there and back.
    bool meetsItself() const;

    /// A point well inside, on the widest chord along X at about half the height.
    PlanePoint innerPoint() const;

private:
    std::optional<SelfContact> contact() const;
};

/// A connected piece of what a model's outlines enclose on a section: its outer ring, and its holes.
struct SectionPart {
    std::vector<SectionRing> rings; ///< the outer one first, counter-clockwise; then the holes, clockwise
    double area = 0;                ///< without the holes
    PlanePoint centroid;

    const SectionRing& outer() const { return rings.front(); }
    /// The centroid, or where that lies outside, a point inside the outer ring.
    PlanePoint centre() const;
};

/// What a model encloses on one section, piece by piece.
///
/// This is the even-odd region of the outlines: nested ones are holes and islands by turns, whatever their directions.
/// Outlines that cross or touch themselves or cross each other are cut there and put together anew, so that the rings
/// of the parts touch each other at most; else rings are the outlines as drawn. Doubled points are left out, and so are
/// outlines that enclose nothing.
///
/// Linear in the points but for sorting, and the square of the number of rings; crossing outlines cost as much as there
/// are edges at a height.
class SectionParts {
public:
    explicit SectionParts(double height) : __height(height) {}

    /// Adds an outline by the first two coordinates of its vertices.
    template <class T>
    void add(const Vertices<T>& outline);

    /// Adds an outline by its points.
    void add(std::vector<PlanePoint> outline);

    /// Makes the parts of the outlines added.
    void build();

    double getHeight() const { return __height; }
    const std::vector<SectionPart>& getParts() const { return __parts; }

    /// Sum of the parts' areas.
    double area() const;

private:
    void nest(std::vector<SectionRing> rings);

    double __height;
    std::vector<SectionRing> __outlines;
    std::vector<SectionPart> __parts;
};

/// Area that two parts have in common when the first one is moved.
double commonArea(const SectionPart& a, const PlanePoint& move, const SectionPart& b);
/// The same for what the rings bound as they are, holes counting as pieces.
double commonArea(const SectionRing& a, const PlanePoint& move, const SectionPart& b);
double commonArea(const SectionRing& a, const PlanePoint& move, const SectionRing& b);

} // namespace vorlen
