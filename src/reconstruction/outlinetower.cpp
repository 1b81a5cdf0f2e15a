#include "reconstruction/outlinetower.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "document/model.h"
#include "document/modelitem.h"
#include "reconstruction/flatoutline.h"
#include "reconstruction/sectionparts.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/pixelsteps.h"

namespace vorlen {

namespace {

constexpr int space = 3;

/// The points from a place on and once around, relative to an origin.
void turn(const double* points, int size, int first, const double* origin, std::vector<double>& out) {
    out.resize(static_cast<std::size_t>(size) * space);
    double* at = out.data();
    for (const auto& [from, to] : {std::pair(first, size), std::pair(0, first)})
        for (int k = from; k < to; ++k, at += space)
            for (int axis = 0; axis < space; ++axis)
                at[axis] = points[k * space + axis] - origin[axis];
}

} // namespace

void OutlineTower::Sums::add(const double* a, const double* b, const double* c) {
    const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    const double v[3] = {c[0] - b[0], c[1] - b[1], c[2] - b[2]};
    const double normal[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    area += std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    const double part = a[0] * normal[0] + a[1] * normal[1] + a[2] * normal[2];
    volume += part;
    for (std::size_t axis = 0; axis < 3; ++axis)
        moment[axis] += part * (a[axis] + b[axis] + c[axis]);
}

void OutlineTower::clear() {
    __isTower = __hadSteps = false;
    __world.clear();
    __levels.clear();
    __sections.clear();
    __heights.clear();
}

bool OutlineTower::take(const Model& model, const StackReconstruction<double>& reconstruction, OutlineTower& smooth) {
    clear();
    smooth.clear();
    const auto items = reconstruction.itemsOf(model);
    if (items.size() != std::size_t(model.getNumItems()))
        return false; // some lie elsewhere
    const Vector<double>& heights = reconstruction.getZMap();
    __heights.assign(heights.begin(), heights.end());
    bool smoothIsSimple = true;
    for (const auto& [slice, item] : items) {
        if (item->getSize() == 0)
            continue;
        __pixels.clear();
        appendCoordinates(*item, __pixels);
        const int n = item->getSize();
        const bool steps = removePixelSteps(__pixels.data(), n, true, __smoothPixels);
        if (steps && !__hadSteps) {
            __hadSteps = true;
            smooth.__world = __world;
            smooth.__levels = __levels;
            smooth.__heights = __heights;
        }
        if (__hadSteps)
            smoothIsSimple = smooth.add(slice, steps ? __smoothPixels : __pixels, reconstruction) && smoothIsSimple;
        if (!add(slice, __pixels, reconstruction))
            return false;
    }
    smooth.__isTower = __hadSteps && smoothIsSimple && smooth.risesOrFalls();
    __isTower = risesOrFalls();
    return __isTower;
}

/// False when a tower can't have the outline.
bool OutlineTower::add(int slice, const std::vector<double>& pixels,
                       const StackReconstruction<double>& reconstruction) {
    const Level level{__world.size() / space, static_cast<int>(pixels.size() / 2)};
    if (level.size < 3)
        return false;
    reconstruction.map(slice, pixels.data(), level.size, __world);
    double* const own = __world.data() + space * level.first;
    const double twice = FlatOutline::twiceArea(own, level.size, space);
    if (!std::isfinite(twice))
        return false;
    if (twice > 0) // seen along the stack's axis all turn clockwise
        for (int k = 0, l = level.size - 1; k < l; ++k, --l)
            std::swap_ranges(own + k * space, own + (k + 1) * space, own + l * space);
    const bool star = twice != 0 && FlatOutline::isStar(own, level.size, space, -std::fabs(twice));
    if (!star && SectionRing(ringOf(level, own)).crossesItself())
        return false;
    __levels.push_back(level);
    const double area = star ? std::fabs(FlatOutline::twiceArea(pixels.data(), level.size, 2)) / 2
                             : FlatOutline::enclosedArea(pixels.data(), level.size, 2);
    __sections.push_back({slice, area, FlatOutline::areaNoise(pixels.data(), level.size, 2)});
    return true;
}

bool OutlineTower::risesOrFalls() const {
    bool rises = true, falls = true;
    for (std::size_t l = 1; l < __levels.size(); ++l) {
        rises = rises && heightOf(__levels[l]) > heightOf(__levels[l - 1]);
        falls = falls && heightOf(__levels[l]) < heightOf(__levels[l - 1]);
    }
    return __levels.size() > 1 && (rises || falls);
}

Vector<double> OutlineTower::centre() const {
    Vector<double> mean(space);
    mean.setZeros();
    for (std::size_t k = 0; k < __world.size(); k += space)
        for (int axis = 0; axis < space; ++axis)
            mean[axis] += __world[k + std::size_t(axis)];
    const std::size_t numVertices = __world.size() / space;
    for (double& coordinate : mean)
        coordinate /= double(numVertices);
    return mean;
}

SquareMatrix<double> OutlineTower::scatter() const {
    const Vector<double> mean = centre();
    double sums[space][space] = {};
    for (std::size_t i = 0; i < __world.size(); i += space)
        for (int k = 0; k < space; ++k)
            for (int l = k; l < space; ++l)
                sums[k][l] += (__world[i + std::size_t(k)] - mean[k]) * (__world[i + std::size_t(l)] - mean[l]);
    SquareMatrix<double> scatter(space);
    for (int k = 0; k < space; ++k)
        for (int l = k; l < space; ++l)
            scatter[k][l] = scatter[l][k] = sums[k][l];
    return scatter;
}

std::optional<OutlineTower::Measures> OutlineTower::measure(const SurfaceEnds& ends) {
    if (!__isTower)
        return std::nullopt;
    Sums sums;
    centreLevel(__levels[0]);
    for (std::size_t l = 1; l < __levels.size(); ++l) {
        __lower.swap(__upper);
        __lowerLength = __upperLength;
        centreLevel(__levels[l]);
        if (!tileBand(__levels[l - 1], __levels[l], sums))
            return std::nullopt;
    }
    Measures measures;
    measures.wallArea = sums.area / 2;
    if (!addEnd(ends.begin, true, sums) || !addEnd(ends.end, false, sums))
        return std::nullopt;
    measures.closedArea = sums.area / 2;
    SurfaceCertificate& certificate = measures.certificate;
    certificate.closed = certificate.oriented = certificate.manifold = true;
    certificate.parts = 1;
    certificate.euler = 2;
    certificate.volume = std::fabs(sums.volume) / 6; // the triangles are turned to face outward
    certificate.outward = certificate.volume > 0;
    for (std::size_t axis = 0; certificate.outward && axis < 3; ++axis)
        certificate.centroid[axis] = __world[axis] + sums.moment[axis] / (4 * sums.volume);
    return measures;
}

/// The outline around its centroid, to upper, and its length.
void OutlineTower::centreLevel(const Level& level) {
    __upperLength = lengthOf(level);
    __upper.assign(points(level), points(level) + std::ptrdiff_t(level.size) * space);
    BandTiling::centre(__upper.data(), level.size, space);
}

/// As Curve::length() has it.
double OutlineTower::lengthOf(const Level& level) const {
    const double* const own = points(level);
    double sum = 0;
    for (int k = 0; k < level.size; ++k)
        sum += std::sqrt(
            BandTiling::squaredDistance(own + k * space, own + (k + 1 < level.size ? k + 1 : 0) * space, space));
    return sum;
}

/// False when two edges from outline to outline are one and the same.
bool OutlineTower::tileBand(const Level& lower, const Level& upper, Sums& sums) {
    constexpr double nowhere[space] = {};
    const int n = lower.size, m = upper.size;
    __pair.find(__lower.data(), n, __upper.data(), m, space);
    turn(__lower.data(), n, __pair.first, nowhere, __lowerTurned);
    turn(__upper.data(), m, __pair.second, nowhere, __upperTurned);
    turn(points(lower), n, __pair.first, __world.data(), __lowerPlaces);
    turn(points(upper), m, __pair.second, __world.data(), __upperPlaces);
    const auto a = [&](int i) { return __lowerPlaces.data() + i * space; };
    const auto b = [&](int j) { return __upperPlaces.data() + j * space; };
    bool meetsFirstOfLower = false, meetsFirstOfUpper = false; // the edges to the other's last vertex
    __walk.run(__lowerTurned.data(), n, __lowerLength, __upperTurned.data(), m, __upperLength, space,
               [&](int i, int j, bool advancesUpper) {
                   sums.add(b(j), a(i), advancesUpper ? b(j + 1) : a(i + 1));
                   meetsFirstOfLower = meetsFirstOfLower || (advancesUpper && i == 0 && j + 2 == m);
                   meetsFirstOfUpper = meetsFirstOfUpper || (!advancesUpper && j == 0 && i + 2 == n);
               });
    const double *const a0 = a(0), *const a1 = a(n - 1), *const b0 = b(0), *const b1 = b(m - 1);
    if (BandTiling::closesFromFirst(__lowerTurned.data(), n, __upperTurned.data(), m, space)) {
        sums.add(a1, a0, b1);
        sums.add(a0, b0, b1);
        return !meetsFirstOfLower;
    }
    sums.add(a1, b0, b1);
    sums.add(a1, a0, b0);
    return !meetsFirstOfUpper;
}

/// False where the end is open, or not made of as many triangles as one that closes the outline.
bool OutlineTower::addEnd(SurfaceEnd end, bool atBegin, Sums& sums) const {
    const Level& here = atBegin ? __levels.front() : __levels.back();
    const Level& before = atBegin ? __levels[1] : __levels[__levels.size() - 2];
    const double height = heightOf(here);
    const double* const origin = points(here);
    const double direction = height < heightOf(before) ? -1 : 1; // outward
    const std::vector<PlanePoint> ring = ringOf(here, origin);
    const auto shape = shapeOfEnd(end, gapFrom(height, direction, __heights), direction, ring, ringOf(before, origin),
                                  std::fabs(height - heightOf(before)));
    if (!shape)
        return false;
    const auto piece = EndPiece<double>::of(ring, {origin[0], origin[1], origin[2]}, *shape, atBegin);
    const int n = here.size, numAdded = int(piece.vertices.size());
    const int expected = numAdded == 1 ? n : numAdded == n ? 3 * n - 2 : n - 2;
    if (int(piece.faces.size()) != expected)
        return false;
    const auto placeOf = [&](int vertex) {
        const double* const p = vertex < n ? origin + vertex * space : piece.vertices[std::size_t(vertex - n)].data();
        return std::array<double, 3>{p[0] - __world[0], p[1] - __world[1], p[2] - __world[2]};
    };
    for (const std::array<int, 3>& face : piece.faces)
        sums.add(placeOf(face[0]).data(), placeOf(face[1]).data(), placeOf(face[2]).data());
    return true;
}

std::vector<PlanePoint> OutlineTower::ringOf(const Level& level, const double* origin) const {
    std::vector<PlanePoint> ring;
    ring.reserve(static_cast<std::size_t>(level.size));
    for (const double* p = points(level); p < points(level) + level.size * space; p += space)
        ring.push_back({p[0] - origin[0], p[1] - origin[1]});
    return ring;
}

void OutlineTower::everySecond(bool fromSecond, OutlineTower& half) const {
    half.clear();
    for (std::size_t l = fromSecond ? 1 : 0; l < __levels.size(); l += 2) {
        const double* const own = points(__levels[l]);
        half.__levels.push_back({half.__world.size() / space, __levels[l].size});
        half.__world.insert(half.__world.end(), own, own + std::ptrdiff_t(__levels[l].size) * space);
        half.__heights.push_back(heightOf(__levels[l]));
    }
    half.__isTower = half.risesOrFalls();
}

} // namespace vorlen
