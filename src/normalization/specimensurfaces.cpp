#include "normalization/specimensurfaces.h"

#include <algorithm>
#include <cmath>

#include "numerics/exception.h"
#include "numerics/squarematrix.h"
#include "shapes/quadmesh.h"
#include "shapes/shapeset.h"
#include "shapes/trianglegeometry.h"

namespace vorlen {

namespace {

Point3 minus(const Point3& a, const Point3& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

double dot(const Point3& a, const Point3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Point3 cross(const Point3& a, const Point3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

} // namespace

Point3 SpecimenPose::turn(const Point3& v) const {
    const double x = mirrored ? -v[0] : v[0];
    Point3 result;
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = rotation[i][0] * x + rotation[i][1] * v[1] + rotation[i][2] * v[2];
    return result;
}

Point3 SpecimenPose::operator()(const Point3& v) const {
    Point3 result = turn(v);
    for (std::size_t i = 0; i < 3; ++i)
        result[i] += translation[i];
    return result;
}

Point3 SpecimenPose::back(const Point3& v) const {
    const Point3 d = minus(v, translation);
    Point3 result;
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = rotation[0][i] * d[0] + rotation[1][i] * d[1] + rotation[2][i] * d[2];
    if (mirrored)
        result[0] = -result[0];
    return result;
}

double SpecimenPose::angle() const {
    const double cosine = (rotation[0][0] + rotation[1][1] + rotation[2][2] - 1) / 2;
    return std::acos(std::clamp(cosine, -1.0, 1.0)) * 180 / 3.14159265358979323846;
}

SpecimenPose SpecimenPose::followedBy(const SpecimenPose& next) const {
    SpecimenPose result;
    result.mirrored = mirrored;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            result.rotation[i][j] = 0;
            for (int k = 0; k < 3; ++k)
                result.rotation[i][j] += next.rotation[i][k] * rotation[k][j];
        }
    }
    result.translation = next(translation);
    return result;
}

SpecimenPose SpecimenPose::inverse() const {
    SpecimenPose result;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            result.rotation[i][j] = rotation[j][i];
    result.translation = back({0, 0, 0});
    return result;
}

int SpecimenSurfaces::Surface::nearest(const Point3& p) const {
    double distance = 0;
    return isEmpty() ? -1 : search.nearest(p.data(), -1, distance);
}

SpecimenSurfaces::Foot SpecimenSurfaces::Surface::foot(const Point3& p) const {
    Foot best;
    best.vertex = nearest(p);
    if (best.vertex < 0)
        return best;
    const int row = best.vertex / width, column = best.vertex % width;
    const auto at = [&](int r, int c) {
        return std::size_t(r) * std::size_t(width) + std::size_t((c + width) % width);
    };
    std::array<std::size_t, 3> triangle = {std::size_t(best.vertex), std::size_t(best.vertex),
                                           std::size_t(best.vertex)};
    Point3 shares = {1, 0, 0};
    best.place = points[std::size_t(best.vertex)];
    best.normal = normals[std::size_t(best.vertex)];
    double least = dot(minus(p, best.place), minus(p, best.place));
    // Which rows and sides the closest place lies on: rows as a number between the levels.
    double level = row, along = column;
    for (int r = std::max(row - 1, 0); r <= std::min(row, height - 2); ++r) {
        for (int c = column - 1; c <= column; ++c) {
            if (open && (c < 0 || c > width - 2))
                continue;
            for (const bool second : {false, true}) {
                // The triangles a b d and e d b.
                const std::size_t corners[3] = {second ? at(r + 1, c + 1) : at(r, c),
                                                second ? at(r + 1, c) : at(r, c + 1),
                                                second ? at(r, c + 1) : at(r + 1, c)};
                const Point3 &o = points[corners[0]], &u = points[corners[1]], &v = points[corners[2]];
                double s = 0, t = 0;
                const double square =
                    TriangleGeometry::closestParameters(o.data(), u.data(), v.data(), p.data(), 3, s, t);
                if (square < least) {
                    least = square;
                    for (std::size_t i = 0; i < 3; ++i)
                        best.place[i] = o[i] + s * (u[i] - o[i]) + t * (v[i] - o[i]);
                    level = second ? r + 1 - t : r + t;
                    along = second ? c + 1 - s : c + s;
                    shares = {1 - s - t, s, t};
                    std::copy_n(corners, 3, triangle.begin());
                }
            }
        }
    }
    curve(best, triangle, shares);
    least = dot(minus(p, best.place), minus(p, best.place));
    best.distance = std::sqrt(least);
    const double edge = 1e-6;
    best.border = height > 1 && (level < edge || level > height - 1 - edge);
    best.border = best.border || (open && width > 1 && (along < edge || along > width - 1 - edge));
    return best;
}

void SpecimenSurfaces::Surface::curve(Foot& foot, const std::array<std::size_t, 3>& corners,
                                      const Point3& shares) const {
    Point3 shift = {0, 0, 0}, normal = {0, 0, 0};
    for (std::size_t k = 0; k < 3; ++k) {
        const Point3& n = normals[corners[k]];
        const double above = dot(minus(foot.place, points[corners[k]]), n);
        for (std::size_t i = 0; i < 3; ++i) {
            shift[i] -= shares[k] * above * n[i] / 2;
            normal[i] += shares[k] * n[i];
        }
    }
    for (std::size_t i = 0; i < 3; ++i)
        foot.place[i] += shift[i];
    const double length = std::sqrt(dot(normal, normal));
    for (std::size_t i = 0; i < 3 && length > 0; ++i)
        foot.normal[i] = normal[i] / length;
}

double SpecimenSurfaces::Surface::area() const {
    double sum = 0;
    for (int r = 0; r + 1 < height; ++r) {
        for (int c = 0; c < (open ? width - 1 : width); ++c) {
            const std::size_t row = std::size_t(r) * std::size_t(width), next = row + std::size_t(width);
            const std::size_t one = std::size_t(c), two = std::size_t((c + 1) % width);
            const Point3 product =
                cross(minus(points[next + two], points[row + one]), minus(points[next + one], points[row + two]));
            sum += std::sqrt(dot(product, product)) / 2;
        }
    }
    return sum;
}

void SpecimenSurfaces::Surface::prepare() {
    normals.assign(points.size(), Point3{0, 0, 0});
    reach.assign(points.size(), 0);
    double outward = 0;
    for (int r = 0; r < height; ++r) {
        Point3 middle = {0, 0, 0};
        for (int c = 0; c < width; ++c)
            for (std::size_t i = 0; i < 3; ++i)
                middle[i] += points[std::size_t(r * width + c)][i] / width;
        for (int c = 0; c < width; ++c) {
            const int left = open ? std::max(c - 1, 0) : (c + width - 1) % width;
            const int right = open ? std::min(c + 1, width - 1) : (c + 1) % width;
            const int below = std::max(r - 1, 0), above = std::min(r + 1, height - 1);
            const Point3& here = points[std::size_t(r * width + c)];
            const Point3 across = minus(points[std::size_t(r * width + right)], points[std::size_t(r * width + left)]);
            Point3 up = minus(points[std::size_t(above * width + c)], points[std::size_t(below * width + c)]);
            if (height > 2 && above - below == 1) {
                // The direction at an end, of the parabola through three levels, not that of the outermost chord.
                const int inner = r == 0 ? 1 : r - 1, third = r == 0 ? 2 : r - 2;
                const double sign = r == 0 ? 0.5 : -0.5;
                for (std::size_t i = 0; i < 3; ++i)
                    up[i] = sign * (4 * points[std::size_t(inner * width + c)][i] -
                                    points[std::size_t(third * width + c)][i] - 3 * here[i]);
            }
            Point3 normal = cross(across, up);
            const double length = std::sqrt(dot(normal, normal));
            for (double& x : normal)
                x = length > 0 ? x / length : 0;
            normals[std::size_t(r * width + c)] = normal;
            outward += dot(normal, minus(here, middle));
            for (const int neighbour : {r * width + left, r * width + right, below * width + c, above * width + c}) {
                const Point3 d = minus(points[std::size_t(neighbour)], here);
                reach[std::size_t(r * width + c)] = std::max(reach[std::size_t(r * width + c)], std::sqrt(dot(d, d)));
            }
        }
    }
    if (outward < 0) {
        for (Point3& normal : normals)
            for (double& x : normal)
                x = -x;
    }
    search = NearestSearch<double>(points.empty() ? nullptr : points.front().data(), int(points.size()), 3);
}

template <class T>
SpecimenSurfaces::SpecimenSurfaces(const ShapeSet<T>& set, bool referencesOnly) {
    __surfaces.resize(std::size_t(set.getSize()));
    for (int k = 0; k < set.getSize(); ++k) {
        const auto* mesh = dynamic_cast<const QuadMesh<T>*>(set[k]);
        if (!mesh || mesh->getSize() == 0 || mesh->getSpace() != 3 || (referencesOnly && !set.isReference(k)))
            continue;
        Surface& surface = __surfaces[std::size_t(k)];
        surface.height = mesh->getHeight();
        surface.width = mesh->getWidth();
        surface.open = mesh->getShapeType() != ClosedQuadMeshType;
        surface.points.reserve(std::size_t(mesh->getSize()));
        for (ConstVertexIterator<T> it(*mesh); it.current(); ++it)
            surface.points.push_back(
                {double((*it.current())[0]), double((*it.current())[1]), double((*it.current())[2])});
        surface.prepare();
    }
}

int SpecimenSurfaces::numVertices() const {
    int sum = 0;
    for (const Surface& surface : __surfaces)
        sum += surface.size();
    return sum;
}

double SpecimenSurfaces::area() const {
    double sum = 0;
    for (const Surface& surface : __surfaces)
        sum += surface.area();
    return sum;
}

void SpecimenSurfaces::axes(Point3& centre, double columns[3][3], double& radius) const {
    const int n = std::max(numVertices(), 1);
    centre = {0, 0, 0};
    for (const Surface& surface : __surfaces)
        for (const Point3& p : surface.points)
            for (std::size_t i = 0; i < 3; ++i)
                centre[i] += p[i] / n;
    SquareMatrix<double> scatter(3);
    scatter.setZeros();
    for (const Surface& surface : __surfaces) {
        for (const Point3& p : surface.points) {
            const Point3 d = minus(p, centre);
            for (int i = 0; i < 3; ++i)
                for (int j = 0; j < 3; ++j)
                    scatter(i, j) += d[std::size_t(i)] * d[std::size_t(j)] / n;
        }
    }
    radius = std::sqrt(scatter.trace());
    Vector<double> values;
    SquareMatrix<double> vectors;
    scatter.eigenJacobi(values, vectors, true);
    const double sign = vectors.det() < 0 ? -1 : 1;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            columns[i][j] = vectors(i, j) * (j == 2 ? sign : 1);
}

SpecimenSurfaces SpecimenSurfaces::mirrored() const {
    SpecimenPose mirror;
    mirror.mirrored = true;
    return moved(mirror);
}

SpecimenSurfaces SpecimenSurfaces::moved(const SpecimenPose& pose) const {
    SpecimenSurfaces result(*this);
    for (Surface& surface : result.__surfaces) {
        for (Point3& p : surface.points)
            p = pose(p);
        surface.prepare();
    }
    return result;
}

template SpecimenSurfaces::SpecimenSurfaces(const ShapeSet<float>&, bool);
template SpecimenSurfaces::SpecimenSurfaces(const ShapeSet<double>&, bool);
template SpecimenSurfaces::SpecimenSurfaces(const ShapeSet<long double>&, bool);

} // namespace vorlen
