#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "numerics/planepoint.h"
#include "numerics/squarematrix.h"
#include "numerics/vector.h"
#include "reconstruction/bandtiling.h"
#include "reconstruction/surfaceends.h"
#include "shapes/surfacecertificate.h"

namespace vorlen {

class Model;
template <class T>
class StackReconstruction;

/// Closed outlines one above the other, one on each of several sections, as plain numbers: what most models consist of.
/// Measures their surface while it is tiled, triangle by triangle, without making a mesh.
///
/// The triangles are those of ModelSurface<double>::tile(2) and closed(), in the same order, so that the measures are
/// the same but for the rounding of sums. That they make a closed, oriented manifold in one part, without handles,
/// follows from the way the bands and the ends are put together, and is not looked for: what it would not follow for is
/// no tower, or has no measures (see take() and measure()), and has to be looked at as a mesh.
///
/// An object keeps its memory from model to model. Linear in the number of vertices but for the closest pairs between
/// successive outlines.
class OutlineTower {
public:
    /// Of the closed surface with ends, and of its walls alone.
    struct Measures {
        double wallArea = 0;
        double closedArea = 0;
        SurfaceCertificate certificate;
    };

    /// An outline's slice, and the area that it encloses there, by even-odd rule, in squared pixels; what it may be by
    /// rounding alone.
    struct Section {
        int slice = 0;
        double area = 0;
        double noise = 0;
    };

    /// Takes the outlines of a polygon model, and makes another tower of them without the steps of the pixel grid
    /// (removePixelSteps()). False, with nothing to be asked of either, for models that are no towers: with an outline
    /// of fewer than three vertices or one that crosses itself, with fewer than two of them, with several on one slice,
    /// or at heights that don't rise or fall all the way. Empty outlines are passed over.
    bool take(const Model& model, const StackReconstruction<double>& reconstruction, OutlineTower& smooth);

    /// Whether the tower without steps has other outlines than this one. It may be none itself: see isTower().
    bool hadSteps() const { return __hadSteps; }
    bool isTower() const { return __isTower; }

    int getNumLevels() const { return int(__levels.size()); }

    /// Mean of all vertices, and their scatter around it: sums of the products of coordinates.
    Vector<double> centre() const;
    SquareMatrix<double> scatter() const;

    /// Of the outlines as they were drawn, from slice to slice.
    const std::vector<Section>& getSections() const { return __sections; }

    /// Nothing where an end stays open, or a band's triangles share an edge with others. Leaves working memory changed.
    std::optional<Measures> measure(const SurfaceEnds& ends);

    /// The tower of every second outline, from the first or the second one on, as if there were no other sections.
    void everySecond(bool fromSecond, OutlineTower& half) const;

private:
    struct Level {
        std::size_t first = 0; // vertex
        int size = 0;
    };

    /// Sums over triangles, whose corners are relative to the first vertex of all.
    struct Sums {
        double area = 0;   // twice
        double volume = 0; // six times
        std::array<double, 3> moment = {};

        void add(const double* a, const double* b, const double* c);
    };

    void clear();
    bool add(int slice, const std::vector<double>& pixels, const StackReconstruction<double>& reconstruction);
    bool risesOrFalls() const;
    const double* points(const Level& level) const { return __world.data() + 3 * level.first; }
    double heightOf(const Level& level) const { return points(level)[2]; }
    void centreLevel(const Level& level);
    double lengthOf(const Level& level) const;
    bool tileBand(const Level& lower, const Level& upper, Sums& sums);
    bool addEnd(SurfaceEnd end, bool atBegin, Sums& sums) const;
    std::vector<PlanePoint> ringOf(const Level& level, const double* origin) const;

    bool __isTower = false;
    bool __hadSteps = false;
    std::vector<double> __world; // x, y, z of one vertex after the other; all outlines turn clockwise
    std::vector<Level> __levels;
    std::vector<Section> __sections;
    std::vector<double> __heights; // of all sections

    // Working memory: outlines in pixels, and the two of a band, centred, and turned to where it begins.
    std::vector<double> __pixels, __smoothPixels;
    std::vector<double> __lower, __upper, __lowerTurned, __upperTurned, __lowerPlaces, __upperPlaces;
    double __lowerLength = 0, __upperLength = 0;
    BandTiling::ClosestPair<double> __pair;
    BandTiling::ArcLengthWalk<double> __walk;
};

} // namespace vorlen
