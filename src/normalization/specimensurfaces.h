#pragma once

#include <array>
#include <vector>

#include "shapes/nearestsearch.h"

namespace vorlen {

template <class T>
class ShapeSet;

/// A point or a direction of space.
using Point3 = std::array<double, 3>;

/// A rigid motion of space: v becomes rotation v + translation, of the mirror image (-x, y, z) of v where mirrored.
struct SpecimenPose {
    double rotation[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    Point3 translation = {0, 0, 0};
    bool mirrored = false;

    /// The place of a point.
    Point3 operator()(const Point3& v) const;
    /// The direction that a direction is turned to.
    Point3 turn(const Point3& v) const;
    /// The point that comes to this place.
    Point3 back(const Point3& v) const;
    /// How far the rotation turns, in degrees from 0 to 180.
    double angle() const;
    /// This motion and then the next one, which must not be mirrored.
    SpecimenPose followedBy(const SpecimenPose& next) const;
    /// The motion back; of a pose that is not mirrored.
    SpecimenPose inverse() const;
};

/// The quadrangular surfaces of a specimen, made ready for closest-point questions: vertices of the grids, outward
/// normals, and a tree for each surface.
///
/// A surface has its vertices level by level, width for each; caps take no part, since they are where the cutting
/// ended and not where the anatomy does. Entries of a set that are missing or no surface give empty ones, so that
/// surface k of two specimens is the same structure. Coordinates are double, whatever those of the shapes.
class SpecimenSurfaces {
public:
    /// A vertex of a surface, or a place on one of its quadrilaterals, closest to a point.
    struct Foot {
        int vertex = -1; ///< nearest vertex of the grid, -1 without a surface
        Point3 place = {0, 0, 0};
        Point3 normal = {0, 0, 0};
        double distance = 0;
        bool border = false; ///< the place lies on the first or last level, or side of an open surface
    };

    /// A surface and what is looked up in it.
    struct Surface {
        int height = 0;
        int width = 0;
        bool open = false;
        std::vector<Point3> points;
        std::vector<Point3> normals; ///< of length 1, or null where the surface has none
        std::vector<double> reach;   ///< distance of a vertex to its farthest neighbour on the grid
        NearestSearch<double> search;

        int size() const { return int(points.size()); }
        bool isEmpty() const { return points.empty(); }
        /// The nearest vertex; -1 without any.
        int nearest(const Point3& p) const;
        /// The closest place on the quadrilaterals around the nearest vertex, lifted from their planes to the curved
        /// surface that the normals of the vertices tell of: half way to the tangent planes of the corners, which is
        /// right for arcs (T. Boubekeur and M. Alexa, ACM Transactions on Graphics 27, 2008).
        Foot foot(const Point3& p) const;
        /// Sum of the areas of the quadrilaterals.
        double area() const;
        /// Makes normals, reaches and tree for the points.
        void prepare();

    private:
        /// Lifts a place in the plane of three corners, by its shares of them, to the curved surface.
        void curve(Foot& foot, const std::array<std::size_t, 3>& corners, const Point3& shares) const;
    };

    SpecimenSurfaces() = default;

    /// The surfaces among all entries of the set, or among its references alone (others are empty).
    template <class T>
    SpecimenSurfaces(const ShapeSet<T>& set, bool referencesOnly);

    const std::vector<Surface>& getSurfaces() const { return __surfaces; }
    std::vector<Surface>& getSurfaces() { return __surfaces; }
    const Surface& operator[](int k) const { return __surfaces[std::size_t(k)]; }
    int getSize() const { return int(__surfaces.size()); }
    int numVertices() const;
    double area() const;

    /// Centre of gravity of all vertices; their principal axes, the longest first, as the columns of a proper rotation;
    /// and the root of their mean square distance to the centre. Throws MathError for coordinates that are not finite.
    void axes(Point3& centre, double columns[3][3], double& radius) const;

    /// The mirror image (-x, y, z).
    SpecimenSurfaces mirrored() const;

    /// The surfaces at the place that the pose brings them to.
    SpecimenSurfaces moved(const SpecimenPose& pose) const;

private:
    std::vector<Surface> __surfaces;
};

} // namespace vorlen
