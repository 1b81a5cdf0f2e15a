#include "reconstruction/branchingsurface.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

#include "reconstruction/curvestacktriangulation.h"
#include "reconstruction/partlid.h"

namespace vorlen {

namespace {

using Group = PartMatching::Group;

/// Of a hole, the share that must lie in the other part for it to end there.
constexpr double coveredShare = 0.95;
/// Of a hole, the share that makes it go on in another one.
constexpr double joinedShare = 0.1;

using Point3 = std::array<double, 3>;
using Face = std::array<int, 3>;

} // namespace

/// The vertices and triangles of a surface while it is put together.
class BranchingMesh {
public:
    BranchingMesh(const BranchingSurface& surface, int method);

    void addWalls();
    void addEnd(const BranchingSurface::End& end, const EndShape<double>& shape);
    TriMesh<double> mesh();

private:
    /// A side of a triangle, whose corner k is where its side k starts.
    struct Side {
        int low, high, corner;
        bool forward;
    };

    int addPoint(const Point3& p) {
        __points.push_back(p);
        return int(__points.size()) - 1;
    }
    Point3 pointOn(int ring, double place) const;
    int vertexOn(int ring, double place) const;
    void addTile(int lower, int upper);
    void addPatch(const BranchingSurface::Patch& patch);
    void addBetween(int ring, double from, double to, bool forward, std::vector<int>& way) const;
    std::vector<Side> sides() const;
    bool divideSharedEdges();
    void partFans();

    const BranchingSurface& __surface;
    int __method;
    std::vector<Point3> __points;
    std::vector<Face> __faces;
    std::vector<int> __firstVertices; // of the rings' lines
};

BranchingMesh::BranchingMesh(const BranchingSurface& surface, int method) : __surface(surface), __method(method) {
    for (std::size_t ring = 0; ring < surface.__rings.size(); ++ring) {
        __firstVertices.push_back(int(__points.size()));
        for (const double place : surface.__lines[ring].places)
            addPoint(pointOn(int(ring), place));
    }
}

Point3 BranchingMesh::pointOn(int ring, double place) const {
    const std::vector<PlanePoint>& points = __surface.ringAt(ring).points;
    const auto before = std::size_t(place);
    const PlanePoint& p = points[before % points.size()];
    const PlanePoint& q = points[(before + 1) % points.size()];
    const double share = place - double(before);
    return {p.x + share * (q.x - p.x), p.y + share * (q.y - p.y), __surface.heightOf(ring)};
}

int BranchingMesh::vertexOn(int ring, double place) const {
    const std::vector<double>& places = __surface.__lines[std::size_t(ring)].places;
    const auto found = std::lower_bound(places.begin(), places.end(), place);
    // The last share of a ring may round up to its first point.
    return __firstVertices[std::size_t(ring)] + (found == places.end() ? 0 : int(found - places.begin()));
}

void BranchingMesh::addWalls() {
    for (const BranchingSurface::Tile& tile : __surface.__tiles)
        addTile(tile.lower, tile.upper);
    for (const BranchingSurface::Patch& patch : __surface.__patches)
        addPatch(patch);
}

void BranchingMesh::addTile(int lower, int upper) {
    CurveStack<double> stack(3, 0, 0, 0, 0, false);
    std::vector<int> numbers;
    for (const int ring : {lower, upper}) {
        const int size = int(__surface.__lines[std::size_t(ring)].places.size());
        Curve<double> level(3, size, size, 1, false);
        for (int k = 0; k < size; ++k) {
            const int number = __firstVertices[std::size_t(ring)] + k;
            numbers.push_back(number);
            std::copy(__points[std::size_t(number)].begin(), __points[std::size_t(number)].end(), level[k].data());
        }
        stack.append(static_cast<const Vertices<double>&>(level));
    }
    using Tiling = CurveStackTriangulation<double>;
    const Tiling tiling(stack, __method, Tiling::Placement::Centred);
    const TriMesh<double>& mesh = tiling.getTriMesh();
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = mesh.getTriangleIndexes(i);
        Face face = {numbers[t[0]], numbers[t[1]], numbers[t[2]]};
        if (__method == 4)
            std::swap(face[0], face[1]);
        __faces.push_back(face);
    }
}

/// The vertices of a ring strictly between two places, in the direction of the way.
void BranchingMesh::addBetween(int ring, double from, double to, bool forward, std::vector<int>& way) const {
    const int size = int(__surface.__lines[std::size_t(ring)].places.size());
    const int first = __firstVertices[std::size_t(ring)], last = vertexOn(ring, to) - first;
    for (int k = vertexOn(ring, from) - first;;) {
        k = forward ? (k + 1) % size : (k + size - 1) % size;
        if (k == last)
            return;
        way.push_back(first + k);
    }
}

/// A side on a ring goes by all vertices of the ring.
void BranchingMesh::addPatch(const BranchingSurface::Patch& patch) {
    const SurfacePatch& surface = patch.surface;
    std::vector<int> numbers;
    numbers.reserve(surface.vertices.size());
    for (const SurfacePatch::Vertex& v : surface.vertices)
        numbers.push_back(v.side < 0 ? addPoint({v.x, v.y, v.z})
                                     : vertexOn(patch.rings[v.side][std::size_t(v.ring)], v.place));
    std::vector<int> way;
    for (const std::array<int, 3>& t : surface.triangles) {
        way.clear();
        int divided = -1;
        int numDivided = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const auto from = std::size_t(t[k]), to = std::size_t(t[(k + 1) % 3]);
            const std::size_t before = way.size();
            way.push_back(numbers[from]);
            const SurfacePatch::Vertex &p = surface.vertices[from], &q = surface.vertices[to];
            if (p.side >= 0 && p.side == q.side && surface.next[from] == int(to))
                addBetween(patch.rings[p.side][std::size_t(p.ring)], p.place, q.place, p.side == 0, way);
            if (way.size() > before + 1) {
                divided = int(k);
                ++numDivided;
            }
        }
        if (numDivided == 0) {
            __faces.push_back({way[0], way[1], way[2]});
            continue;
        }
        int apex = numbers[std::size_t(t[std::size_t(divided + 2) % 3])];
        if (numDivided > 1) {
            Point3 middle = {0, 0, 0};
            for (const int corner : t)
                for (std::size_t axis = 0; axis < 3; ++axis)
                    middle[axis] += __points[std::size_t(numbers[std::size_t(corner)])][axis] / 3;
            apex = addPoint(middle);
        }
        for (std::size_t k = 0; k < way.size(); ++k) {
            const int a = way[k], b = way[(k + 1) % way.size()];
            if (a != apex && b != apex)
                __faces.push_back({a, b, apex});
        }
    }
}

/// Rings shrink towards a point of the plane while they rise, so that each height between shows them as they are, but
/// smaller; they end in a point, or in a lid.
void BranchingMesh::addEnd(const BranchingSurface::End& end, const EndShape<double>& shape) {
    const double rise = shape.rise, scale = shape.scale;
    std::vector<std::vector<int>> borders;
    const auto add = [&](int a, int b, int c) {
        if (end.upward)
            __faces.push_back({a, b, c});
        else
            __faces.push_back({b, a, c});
    };
    for (const int ring : end.rings) {
        const int size = int(__surface.__lines[std::size_t(ring)].places.size());
        const int first = __firstVertices[std::size_t(ring)];
        const double height = __surface.heightOf(ring) + rise;
        if (rise != 0 && scale == 0) {
            const int apex = addPoint({end.centre.x + shape.asideX, end.centre.y + shape.asideY, height});
            for (int k = 0; k < size; ++k)
                add(first + k, first + (k + 1 < size ? k + 1 : 0), apex);
            continue;
        }
        std::vector<int> border(static_cast<std::size_t>(size));
        std::iota(border.begin(), border.end(), first);
        if (rise != 0) {
            const int copy = int(__points.size());
            for (int k = 0; k < size; ++k) {
                const Point3 p = __points[std::size_t(first + k)];
                addPoint({end.centre.x + scale * (p[0] - end.centre.x) + shape.asideX,
                          end.centre.y + scale * (p[1] - end.centre.y) + shape.asideY, height});
            }
            for (int k = 0; k < size; ++k) {
                const int next = k + 1 < size ? k + 1 : 0;
                add(first + k, first + next, copy + next);
                add(first + k, copy + next, copy + k);
            }
            std::iota(border.begin(), border.end(), copy);
        }
        borders.push_back(std::move(border));
    }
    if (borders.empty())
        return;
    std::vector<std::vector<PlanePoint>> rings;
    std::vector<int> numbers;
    for (const std::vector<int>& border : borders) {
        rings.emplace_back();
        for (const int number : border) {
            rings.back().push_back({__points[std::size_t(number)][0], __points[std::size_t(number)][1]});
            numbers.push_back(number);
        }
    }
    for (const std::array<int, 3>& t : lidOf(rings))
        add(numbers[std::size_t(t[0])], numbers[std::size_t(t[1])], numbers[std::size_t(t[2])]);
}

/// The sides of all triangles, those of one edge behind each other.
std::vector<BranchingMesh::Side> BranchingMesh::sides() const {
    std::vector<Side> sides;
    sides.reserve(3 * __faces.size());
    for (std::size_t i = 0; i < __faces.size(); ++i)
        for (std::size_t k = 0; k < 3; ++k) {
            const int a = __faces[i][k], b = __faces[i][(k + 1) % 3];
            sides.push_back({std::min(a, b), std::max(a, b), int(3 * i + k), a < b});
        }
    std::sort(sides.begin(), sides.end(), [](const Side& a, const Side& b) {
        return a.low != b.low ? a.low < b.low : a.high != b.high ? a.high < b.high : a.corner < b.corner;
    });
    return sides;
}

/// Where an edge has four triangles, two of them that run along it in opposite ways get a vertex of their own on it.
/// True when there may be more to do.
bool BranchingMesh::divideSharedEdges() {
    const std::vector<Side> all = sides();
    std::vector<bool> changed(__faces.size());
    bool any = false;
    for (std::size_t first = 0, last = 0; first < all.size(); first = last) {
        for (last = first; last < all.size() && all[last].low == all[first].low && all[last].high == all[first].high;)
            ++last;
        if (last - first < 4)
            continue;
        const Side& side = all[last - 1];
        for (std::size_t k = last - 1; k-- > first;)
            if (all[k].forward != side.forward) {
                const Side& other = all[k];
                if (changed[std::size_t(side.corner / 3)] || changed[std::size_t(other.corner / 3)])
                    break;
                const Point3 &p = __points[std::size_t(side.low)], &q = __points[std::size_t(side.high)];
                const int middle = addPoint({(p[0] + q[0]) / 2, (p[1] + q[1]) / 2, (p[2] + q[2]) / 2});
                for (const Side* half : {&side, &other}) {
                    const auto face = std::size_t(half->corner / 3), k0 = std::size_t(half->corner % 3);
                    Face rest = __faces[face];
                    __faces[face][(k0 + 1) % 3] = middle;
                    rest[k0] = middle;
                    __faces.push_back(rest);
                    changed[face] = true;
                }
                break;
            }
        any = true;
    }
    return any;
}

/// Doubles the vertices whose triangles do not go round them once.
void BranchingMesh::partFans() {
    const std::vector<Side> sides = this->sides();
    std::vector<int> fans(3 * __faces.size());
    std::iota(fans.begin(), fans.end(), 0);
    const auto root = [&](int i) {
        while (fans[std::size_t(i)] != i)
            i = fans[std::size_t(i)] = fans[std::size_t(fans[std::size_t(i)])];
        return i;
    };
    const auto join = [&](const Side& s, const Side& t) {
        // Corner k of a triangle is where its side k starts; the other end is the corner behind.
        const auto behind = [](int corner) { return corner % 3 < 2 ? corner + 1 : corner - 2; };
        fans[std::size_t(root(s.corner))] = root(behind(t.corner));
        fans[std::size_t(root(behind(s.corner)))] = root(t.corner);
    };
    std::vector<Side> open;
    for (std::size_t first = 0, last = 0; first < sides.size(); first = last) {
        open.clear();
        for (last = first;
             last < sides.size() && sides[last].low == sides[first].low && sides[last].high == sides[first].high;
             ++last) {
            const auto partner = std::find_if(open.begin(), open.end(),
                                              [&](const Side& side) { return side.forward != sides[last].forward; });
            if (partner == open.end()) {
                open.push_back(sides[last]);
                continue;
            }
            join(sides[last], *partner);
            open.erase(partner);
        }
    }
    std::vector<int> fanOf(__points.size(), -1);
    std::vector<int> copies(fans.size(), -1); // by root: the vertex of the fan
    for (std::size_t i = 0; i < __faces.size(); ++i)
        for (std::size_t k = 0; k < 3; ++k) {
            int& vertex = __faces[i][k];
            const int fan = root(int(3 * i + k));
            if (copies[std::size_t(fan)] < 0) {
                const bool taken = fanOf[std::size_t(vertex)] >= 0;
                copies[std::size_t(fan)] = taken ? addPoint(Point3(__points[std::size_t(vertex)])) : vertex;
                if (!taken)
                    fanOf[std::size_t(vertex)] = fan;
            }
            vertex = copies[std::size_t(fan)];
        }
}

TriMesh<double> BranchingMesh::mesh() {
    constexpr int mostRounds = 20;
    for (int round = 0; round < mostRounds && divideSharedEdges(); ++round)
        ;
    partFans();
    std::vector<int> numbers(__points.size(), -1);
    int size = 0;
    for (const Face& face : __faces)
        for (const int vertex : face)
            if (numbers[std::size_t(vertex)] < 0)
                numbers[std::size_t(vertex)] = size++;
    TriMesh<double> mesh(3, size, size, 1);
    for (std::size_t v = 0; v < __points.size(); ++v)
        if (numbers[v] >= 0)
            std::copy(__points[v].begin(), __points[v].end(), mesh[numbers[v]].data());
    mesh.reserveTriangles(static_cast<unsigned int>(__faces.size()));
    for (const Face& face : __faces)
        mesh.addTriangle(static_cast<unsigned int>(numbers[std::size_t(face[0])]),
                         static_cast<unsigned int>(numbers[std::size_t(face[1])]),
                         static_cast<unsigned int>(numbers[std::size_t(face[2])]));
    mesh.computeNormals();
    return mesh;
}

BranchingSurface::BranchingSurface(std::vector<SectionParts> sections, std::vector<double> heights, bool descending)
    : __sections(std::move(sections)), __heights(std::move(heights)), __descending(descending) {
    std::sort(__heights.begin(), __heights.end());
    for (const SectionParts& section : __sections) {
        __firstRings.emplace_back();
        for (const SectionPart& part : section.getParts()) {
            __firstRings.back().push_back(int(__rings.size()));
            for (const SectionRing& ring : part.rings) {
                __rings.push_back(&ring);
                __ringHeights.push_back(section.getHeight());
                __lines.emplace_back();
                __lines.back().places.resize(ring.points.size());
                std::iota(__lines.back().places.begin(), __lines.back().places.end(), 0.0);
            }
        }
    }
    const int last = int(__sections.size()) - 1;
    std::vector<PlanePoint> velocities;
    for (int s = 0; s <= last; ++s) {
        const std::size_t numParts = __sections[std::size_t(s)].getParts().size();
        const double nan = std::numeric_limits<double>::quiet_NaN();
        if (s == 0) {
            velocities.assign(numParts, {nan, nan});
            for (std::size_t p = 0; p < numParts; ++p)
                endPart(s, int(p), false);
        }
        if (s == last) {
            for (std::size_t p = 0; p < numParts; ++p)
                endPart(s, int(p), true);
            break;
        }
        const PartMatching matching(__sections[std::size_t(s)], __sections[std::size_t(s) + 1], velocities);
        joinSections(s, matching);
        velocities = matching.getVelocities();
    }
    for (RingLine& line : __lines) {
        std::sort(line.places.begin(), line.places.end());
        line.places.erase(std::unique(line.places.begin(), line.places.end()), line.places.end());
    }
}

void BranchingSurface::joinSections(int section, const PartMatching& matching) {
    for (const int part : matching.getEnds())
        endPart(section, part, true);
    for (const int part : matching.getBeginnings())
        endPart(section + 1, part, false);
    for (const Group& group : matching.getGroups())
        joinGroup(section, group);
}

void BranchingSurface::joinGroup(int section, const Group& group) {
    noteAreas(section, group);
    if (group.isPair() && tilePair(section, group.lower[0], group.upper[0]))
        return;
    if (joinByField(section, group))
        return;
    ++__numUnfollowed;
    std::vector<int> lowerLeft = group.lower, upperLeft = group.upper;
    for (const Group& pair :
         PartMatching::pairsOf(group, __sections[std::size_t(section)], __sections[std::size_t(section) + 1])) {
        const int lower = pair.lower[0], upper = pair.upper[0];
        std::erase(lowerLeft, lower);
        std::erase(upperLeft, upper);
        noteAreas(section, pair);
        if (tilePair(section, lower, upper))
            continue;
        // The outer rings alone; holes end.
        __tiles.push_back({ringNumber(section, lower), ringNumber(section + 1, upper)});
        const auto numRings = [&](int s, int part) {
            return int(__sections[std::size_t(s)].getParts()[std::size_t(part)].rings.size());
        };
        for (int hole = 1; hole < numRings(section, lower); ++hole)
            endHole(section, lower, hole, true);
        for (int hole = 1; hole < numRings(section + 1, upper); ++hole)
            endHole(section + 1, upper, hole, false);
    }
    for (const int part : lowerLeft)
        endPart(section, part, true);
    for (const int part : upperLeft)
        endPart(section + 1, part, false);
}

/// Areas and places beyond the sections, by which ends taper and slant: known where parts merge or go on, not where
/// they split.
void BranchingSurface::noteAreas(int section, const Group& group) {
    const auto &lower = __sections[std::size_t(section)].getParts(),
               &upper = __sections[std::size_t(section) + 1].getParts();
    const auto sum = [](const std::vector<SectionPart>& parts, const std::vector<int>& places) {
        Beyond all{0, {}};
        for (const int place : places) {
            const SectionPart& part = parts[std::size_t(place)];
            all.area += part.area;
            all.centroid.x += (part.centroid.x - all.centroid.x) * part.area / all.area;
            all.centroid.y += (part.centroid.y - all.centroid.y) * part.area / all.area;
        }
        return all;
    };
    if (group.upper.size() == 1)
        __lines[std::size_t(ringNumber(section + 1, group.upper[0]))].below = sum(lower, group.lower);
    if (group.lower.size() == 1)
        __lines[std::size_t(ringNumber(section, group.lower[0]))].above = sum(upper, group.upper);
}

/// Tiles the rings of a pair, if each hole goes on in one hole or ends within the other part.
bool BranchingSurface::tilePair(int section, int lower, int upper) {
    const SectionPart& a = __sections[std::size_t(section)].getParts()[std::size_t(lower)];
    const SectionPart& b = __sections[std::size_t(section) + 1].getParts()[std::size_t(upper)];
    const PlanePoint way{b.centroid.x - a.centroid.x, b.centroid.y - a.centroid.y};
    const PlanePoint back{-way.x, -way.y};
    const int numA = int(a.rings.size()), numB = int(b.rings.size());
    std::vector<int> partnerOfA(a.rings.size(), -1), partnerOfB(b.rings.size(), -1);
    for (int i = 1; i < numA; ++i)
        for (int j = 1; j < numB; ++j) {
            const SectionRing &h = a.rings[std::size_t(i)], &k = b.rings[std::size_t(j)];
            const double least = joinedShare * std::min(std::fabs(h.area), std::fabs(k.area));
            if (std::max(commonArea(h, way, k), commonArea(h, {}, k)) < least)
                continue;
            if (partnerOfA[std::size_t(i)] >= 0 || partnerOfB[std::size_t(j)] >= 0)
                return false;
            partnerOfA[std::size_t(i)] = j;
            partnerOfB[std::size_t(j)] = i;
        }
    const auto isCovered = [](const SectionRing& hole, const PlanePoint& move, const SectionPart& part) {
        return commonArea(hole, move, part) >= coveredShare * std::fabs(hole.area);
    };
    for (int i = 1; i < numA; ++i)
        if (partnerOfA[std::size_t(i)] < 0 && !isCovered(a.rings[std::size_t(i)], way, b))
            return false;
    for (int j = 1; j < numB; ++j)
        if (partnerOfB[std::size_t(j)] < 0 && !isCovered(b.rings[std::size_t(j)], back, a))
            return false;

    __tiles.push_back({ringNumber(section, lower), ringNumber(section + 1, upper)});
    for (int i = 1; i < numA; ++i) {
        const int j = partnerOfA[std::size_t(i)];
        if (j < 0) {
            endHole(section, lower, i, true);
            continue;
        }
        const int ringA = ringNumber(section, lower, i), ringB = ringNumber(section + 1, upper, j);
        __tiles.push_back({ringA, ringB});
        __lines[std::size_t(ringA)].above = {std::fabs(ringAt(ringB).area), ringAt(ringB).centroid};
        __lines[std::size_t(ringB)].below = {std::fabs(ringAt(ringA).area), ringAt(ringA).centroid};
    }
    for (int j = 1; j < numB; ++j)
        if (partnerOfB[std::size_t(j)] < 0)
            endHole(section + 1, upper, j, false);
    return true;
}

bool BranchingSurface::joinByField(int section, const Group& group) {
    FieldSurface::PartList lists[2];
    const std::vector<int>* places[2] = {&group.lower, &group.upper};
    Patch patch;
    for (const int side : {0, 1})
        for (const int place : *places[side]) {
            const SectionPart& part = __sections[std::size_t(section + side)].getParts()[std::size_t(place)];
            lists[side].push_back(&part);
            for (std::size_t k = 0; k < part.rings.size(); ++k)
                patch.rings[side].push_back(ringNumber(section + side, place, int(k)));
        }
    const auto placeIn = [](const std::vector<int>& list, int value) {
        return int(std::find(list.begin(), list.end(), value) - list.begin());
    };
    std::vector<PartMatching::Link> links;
    for (const PartMatching::Link& link : group.links)
        links.push_back({placeIn(group.lower, link.lower), placeIn(group.upper, link.upper)});
    std::optional<SurfacePatch> surface =
        FieldSurface::between(lists[0], lists[1], links, __sections[std::size_t(section)].getHeight(),
                              __sections[std::size_t(section) + 1].getHeight());
    if (!surface)
        return false;
    for (const SurfacePatch::Vertex& vertex : surface->vertices)
        if (vertex.side >= 0) {
            const int ring = patch.rings[vertex.side][std::size_t(vertex.ring)];
            if (vertex.place < double(ringAt(ring).points.size()))
                __lines[std::size_t(ring)].places.push_back(vertex.place);
        }
    patch.surface = std::move(*surface);
    __patches.push_back(std::move(patch));
    return true;
}

void BranchingSurface::endPart(int section, int part, bool upward) {
    const SectionPart& piece = __sections[std::size_t(section)].getParts()[std::size_t(part)];
    End end{{}, upward, piece.centre(), piece.area, piece.centroid};
    for (std::size_t k = 0; k < piece.rings.size(); ++k)
        end.rings.push_back(ringNumber(section, part, int(k)));
    __ends.push_back(std::move(end));
}

void BranchingSurface::endHole(int section, int part, int ring, bool upward) {
    const int number = ringNumber(section, part, ring);
    const SectionRing& hole = ringAt(number);
    __ends.push_back({{number},
                      upward,
                      hole.contains(hole.centroid) ? hole.centroid : hole.innerPoint(),
                      std::fabs(hole.area),
                      hole.centroid});
}

/// Signed height of an end over its section. Where the stack ends, the next section would be as far as the one before.
double BranchingSurface::riseOf(const End& end, SurfaceEnd way) const {
    const double height = heightOf(end.rings.front());
    const auto above = std::upper_bound(__heights.begin(), __heights.end(), height);
    const auto below = std::lower_bound(__heights.begin(), __heights.end(), height);
    const double up = above != __heights.end() ? *above - height : 0;
    const double down = below != __heights.begin() ? height - *(below - 1) : 0;
    const double gap = end.upward ? (up > 0 ? up : down) : (down > 0 ? down : up);
    const double share = way == SurfaceEnd::Flat ? 0 : way == SurfaceEnd::HalfSection ? 0.5 : 1;
    return (end.upward ? share : -share) * gap;
}

/// An end goes on as its part has changed, and where it has moved, since the section before.
EndShape<double> BranchingSurface::shapeOf(const End& end, SurfaceEnd way) const {
    const double rise = riseOf(end, way);
    EndShape<double> shape{rise, way == SurfaceEnd::HalfSection ? 1.0 : 0.0};
    const int number = end.rings.front();
    const RingLine& line = __lines[std::size_t(number)];
    const Beyond& before = end.upward ? line.below : line.above;
    const double height = heightOf(number);
    const auto isHere = [height](const SectionParts& section) { return section.getHeight() < height; };
    const auto here = std::partition_point(__sections.begin(), __sections.end(), isHere);
    const auto other = end.upward ? here - 1 : here + 1;
    if (before.area < 0 || (end.upward && here == __sections.begin()) || (!end.upward && other == __sections.end()))
        return shape;
    const double gap = std::fabs(other->getHeight() - height);
    if (way == SurfaceEnd::HalfSection)
        shape.scale = scaleOfEnd(end.area, before.area, gap, std::fabs(rise));
    const PlanePoint aside =
        asideOfEnd(end.centroid, before.centroid, gap, std::fabs(rise), ringAt(number).meanRadius());
    shape.asideX = aside.x;
    shape.asideY = aside.y;
    return shape;
}

TriMesh<double> BranchingSurface::build(const SurfaceEnds& ends, int method) const {
    BranchingMesh mesh(*this, method);
    mesh.addWalls();
    for (const End& end : __ends) {
        const SurfaceEnd way = end.upward != __descending ? ends.end : ends.begin;
        if (way == SurfaceEnd::Open)
            continue;
        EndShape<double> shape = shapeOf(end, way);
        if (end.rings.size() > 1 || !ringAt(end.rings.front()).isSeenFrom(end.centre))
            shape = shape.blunt();
        mesh.addEnd(end, shape);
    }
    return mesh.mesh();
}

double BranchingSurface::wallArea(int method) const {
    BranchingMesh mesh(*this, method);
    mesh.addWalls();
    return mesh.mesh().area();
}

} // namespace vorlen
