#include "reconstruction/fieldsurface.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <unordered_map>

#include "images/volumes/voxelmatrix.h"
#include "reconstruction/marchingcubes.h"
#include "reconstruction/sectionfield.h"

namespace vorlen {

namespace {

using Link = PartMatching::Link;
using PartList = FieldSurface::PartList;

/// Steps of the lattice in the mean radius of a ring.
constexpr double stepsInRadius = 8;
constexpr int refinements = 3;
constexpr double firstNodes = 16000, mostNodes = 400000; // on a section
/// Nodes this far from all parts have this field, in steps.
constexpr float farOutside = -2;
/// No node lies closer to the surface, so that all vertices differ.
constexpr float leastDistance = 1e-3F;
constexpr int margin = 2;
/// Between the shares of a part, in steps on each side of the border: the lattice sees a gap as wide as its diagonal.
constexpr float halfGap = 0.75F;

/// Where a line of the lattice crosses a ring.
struct RingCrossing {
    double position; // along the line, in steps
    int ring;
    double place;
};

using LineCrossings = std::vector<std::vector<RingCrossing>>; // by line of the block

/// Crossings of the rings with the lattice's rows, or its columns.
LineCrossings crossingsOf(const PartList& parts, const SectionLattice& lattice, const LatticeBlock& block,
                          bool ofRows) {
    const int firstLine = ofRows ? block.firstRow : block.firstColumn;
    const int lastLine = ofRows ? block.lastRow : block.lastColumn;
    LineCrossings lines(std::size_t(lastLine - firstLine + 1));
    int number = 0;
    for (const SectionPart* part : parts)
        for (const SectionRing& ring : part->rings) {
            for (std::size_t k = 0; k < ring.points.size(); ++k) {
                const PlanePoint &p = ring.points[k], &q = ring.points[k + 1 < ring.points.size() ? k + 1 : 0];
                double across1 = lattice.toRow(p.y), across2 = lattice.toRow(q.y);
                double along1 = lattice.toColumn(p.x), along2 = lattice.toColumn(q.x);
                if (!ofRows) {
                    std::swap(across1, along1);
                    std::swap(across2, along2);
                }
                const int first = std::max(int(std::ceil(std::min(across1, across2))), firstLine);
                const int last = std::min(int(std::floor(std::max(across1, across2))), lastLine);
                for (int line = first; line <= last; ++line) {
                    if ((across1 <= line) == (across2 <= line))
                        continue;
                    const double share = (line - across1) / (across2 - across1);
                    lines[std::size_t(line - firstLine)].push_back(
                        {along1 + share * (along2 - along1), number, double(k) + share});
                }
            }
            ++number;
        }
    for (auto& line : lines)
        std::sort(line.begin(), line.end(),
                  [](const RingCrossing& a, const RingCrossing& b) { return a.position < b.position; });
    return lines;
}

/// The middle one of an odd number of crossings between node and the next; null when the number is even.
const RingCrossing* crossingBehind(const std::vector<RingCrossing>& line, int node) {
    const auto before = [](const RingCrossing& crossing, double position) { return crossing.position < position; };
    const auto first = std::lower_bound(line.begin(), line.end(), double(node), before);
    const auto last = std::lower_bound(first, line.end(), double(node) + 1, before);
    return (last - first) % 2 != 0 ? &*(first + (last - first) / 2) : nullptr;
}

PlanePoint centroidOfAll(const PartList& parts) {
    PlanePoint sum;
    double area = 0;
    for (const SectionPart* part : parts) {
        sum.x += part->area * part->centroid.x;
        sum.y += part->area * part->centroid.y;
        area += part->area;
    }
    return {sum.x / area, sum.y / area};
}

/// One attempt, on one lattice.
class PatchBuilder {
public:
    PatchBuilder(const PartList& lower, const PartList& upper, const std::vector<Link>& links, double lowerHeight,
                 double upperHeight, double step)
        : __lower(lower), __upper(upper), __links(links), __lowerHeight(lowerHeight), __upperHeight(upperHeight) {
        const SectionRing& ring = lower.front()->outer();
        const PlanePoint from = centroidOfAll(lower), to = centroidOfAll(upper);
        __way = {to.x - from.x, to.y - from.y};
        // Rings on a grid of pixels meet no lattice line along their edges.
        __lowerLattice = {ring.left - 0.3712387 * step, ring.bottom - 0.4273911 * step, step};
        __upperLattice = {__lowerLattice.x + __way.x, __lowerLattice.y + __way.y, step};
        __planes = std::clamp(int(std::lround((upperHeight - lowerHeight) / step)), 4, 8);
    }

    std::optional<SurfacePatch> build();

private:
    /// What a part gives to one of its partners.
    struct Share {
        SectionField field;
        PlanePoint centroid;
        std::optional<SectionField> side; // positive where no other partner is nearer
        double area = 0;                  // in squares of the lattice
    };

    /// A linked pair as it moves: the two shares, and the way from one to the other in steps.
    struct Pair {
        Share lower, upper;
        double wayRows = 0, wayColumns = 0;
        LatticeBlock block; // where the pair may have a positive field, between the sections
    };

    void makeFields();
    void makePairs();
    Share shareOf(const SectionField& field, const SectionPart& part, const std::vector<SectionField>& others,
                  const std::vector<int>& partners, int partner, const SectionLattice& lattice) const;
    void fillVolume();
    void fillSection(int plane, const std::vector<SectionField>& fields);
    void fillBetween(int plane);
    bool follow();
    bool placeOnRing(SurfacePatch::Vertex& vertex, double row, double column, const LineCrossings& rows,
                     const LineCrossings& columns) const;
    bool findBorder();
    bool hasRingsInOrder() const;

    const PartList &__lower, &__upper;
    const std::vector<Link>& __links;
    double __lowerHeight, __upperHeight;
    PlanePoint __way; // of the group as a whole, and of the lattice with it, from the lower section to the upper one
    SectionLattice __lowerLattice, __upperLattice;
    int __planes;
    std::vector<SectionField> __lowerFields, __upperFields;
    std::vector<Pair> __pairs;
    LatticeBlock __block;
    VoxelMatrix<float> __volume;
    SurfacePatch __patch;
};

/// Area of the places of positive field, in squares of the lattice, from values of slope 1; and how much has to be
/// added to the field for it to become another one. Between the ends shapes that differ would shrink by the mean.
class FieldArea {
public:
    void clear() { __bins.assign(numBins + 1, 0); }
    void add(const std::vector<float>& values) {
        for (const float value : values)
            if (value > -range)
                ++__bins[std::min(std::size_t((value + range) / binWidth), std::size_t(numBins))];
    }
    double area() const { return areaAbove(0); }
    /// The offset by which the area becomes the wanted one, at most the range.
    float offsetFor(double wanted) const {
        double low = -range / 2, high = range / 2;
        for (int k = 0; k < 20; ++k) {
            const double middle = (low + high) / 2;
            (areaAbove(middle) < wanted ? low : high) = middle;
        }
        return float((low + high) / 2);
    }

private:
    static constexpr float range = 16, binWidth = 0.0625F;
    static constexpr int numBins = 512;

    double areaAbove(double offset) const {
        double sum = 0;
        for (std::size_t k = 0; k <= numBins; ++k)
            if (__bins[k] != 0)
                sum += __bins[k] *
                       std::clamp((double(k) + 0.5) * double(binWidth) - double(range) + offset + 0.5, 0.0, 1.0);
        return sum;
    }

    std::vector<int> __bins;
};

/// What a share has of its part; the steps of the lattice are the same on both sections.
double areaOf(const SectionField& field) {
    FieldArea area;
    area.clear();
    std::vector<float> row;
    const LatticeBlock& block = field.getBlock();
    for (int r = block.firstRow; r <= block.lastRow; ++r) {
        row.assign(std::size_t(block.columns()), 0);
        field.addMoved(0, 0, 1, r, block.firstColumn, block.columns(), row.data());
        area.add(row);
    }
    return area.area();
}

/// The partners of each part of one side.
std::vector<std::vector<int>> partnersOf(std::size_t size, const std::vector<Link>& links, bool ofLower) {
    std::vector<std::vector<int>> partners(size);
    for (const Link& link : links)
        partners[std::size_t(ofLower ? link.lower : link.upper)].push_back(ofLower ? link.upper : link.lower);
    return partners;
}

void PatchBuilder::makeFields() {
    const auto around = [](const PartList& parts, const SectionLattice& lattice) {
        std::vector<LatticeBlock> blocks;
        blocks.reserve(parts.size());
        for (const SectionPart* part : parts)
            blocks.push_back(LatticeBlock::around(part->outer(), lattice).grownBy(margin));
        return blocks;
    };
    // Each field reaches as far as its part's partners, also when they are moved onto it.
    const std::vector<LatticeBlock> lowerAround = around(__lower, __lowerLattice);
    const std::vector<LatticeBlock> upperAround = around(__upper, __upperLattice);
    std::vector<LatticeBlock> lowerBlocks = lowerAround, upperBlocks = upperAround;
    for (const Link& link : __links) {
        const auto i = std::size_t(link.lower), j = std::size_t(link.upper);
        const PlanePoint &a = __lower[i]->centroid, &b = __upper[j]->centroid;
        const double rows = __upperLattice.toRow(b.y) - __lowerLattice.toRow(a.y);
        const double columns = __upperLattice.toColumn(b.x) - __lowerLattice.toColumn(a.x);
        LatticeBlock both = lowerAround[i];
        both.add(upperAround[j]);
        lowerBlocks[i].add(both.sweptBy(-rows, -columns));
        upperBlocks[j].add(both.sweptBy(rows, columns));
    }
    DistanceTransform transform;
    for (std::size_t i = 0; i < __lower.size(); ++i)
        __lowerFields.emplace_back(*__lower[i], __lowerLattice, lowerBlocks[i], transform);
    for (std::size_t j = 0; j < __upper.size(); ++j)
        __upperFields.emplace_back(*__upper[j], __upperLattice, upperBlocks[j], transform);
    for (const LatticeBlock& block : lowerAround)
        __block.add(block);
    for (const LatticeBlock& block : upperAround)
        __block.add(block);
}

/// The side of a partner is bounded by the places that are as deep in the next one.
PatchBuilder::Share PatchBuilder::shareOf(const SectionField& field, const SectionPart& part,
                                          const std::vector<SectionField>& others, const std::vector<int>& partners,
                                          int partner, const SectionLattice& lattice) const {
    Share share{field, part.centroid, std::nullopt, 0};
    if (partners.size() < 2)
        return share;
    share.side = field;
    const LatticeBlock& block = field.getBlock();
    double sumRows = 0, sumColumns = 0, count = 0;
    for (int r = block.firstRow; r <= block.lastRow; ++r)
        for (int c = block.firstColumn; c <= block.lastColumn; ++c) {
            const float own = others[std::size_t(partner)].sample(r, c);
            float best = -std::numeric_limits<float>::infinity();
            for (const int other : partners)
                if (other != partner)
                    best = std::max(best, others[std::size_t(other)].sample(r, c));
            const float side = (own - best) / 2;
            share.side->at(r, c) = side;
            float& value = share.field.at(r, c);
            value = std::min(value, side);
            if (value > 0) {
                sumRows += r;
                sumColumns += c;
                ++count;
            }
        }
    if (count > 0)
        share.centroid = {lattice.x + sumColumns / count * lattice.step, lattice.y + sumRows / count * lattice.step};
    return share;
}

void PatchBuilder::makePairs() {
    const auto uppersOf = partnersOf(__lower.size(), __links, true);
    const auto lowersOf = partnersOf(__upper.size(), __links, false);
    for (const Link& link : __links) {
        const auto i = std::size_t(link.lower), j = std::size_t(link.upper);
        Pair pair;
        pair.lower = shareOf(__lowerFields[i], *__lower[i], __upperFields, uppersOf[i], link.upper, __lowerLattice);
        pair.upper = shareOf(__upperFields[j], *__upper[j], __lowerFields, lowersOf[j], link.lower, __upperLattice);
        const PlanePoint &from = pair.lower.centroid, &to = pair.upper.centroid;
        pair.wayRows = __upperLattice.toRow(to.y) - __lowerLattice.toRow(from.y);
        pair.wayColumns = __upperLattice.toColumn(to.x) - __lowerLattice.toColumn(from.x);
        pair.block = LatticeBlock::around(__lower[i]->outer(), __lowerLattice).sweptBy(pair.wayRows, pair.wayColumns);
        pair.block.add(
            LatticeBlock::around(__upper[j]->outer(), __upperLattice).sweptBy(-pair.wayRows, -pair.wayColumns));
        pair.block = pair.block.grownBy(margin + 2);
        pair.lower.area = areaOf(pair.lower.field);
        pair.upper.area = areaOf(pair.upper.field);
        __block.add(pair.block);
        __pairs.push_back(std::move(pair));
    }
    __block = __block.grownBy(1);
}

void PatchBuilder::fillSection(int plane, const std::vector<SectionField>& fields) {
    for (const SectionField& field : fields) {
        const LatticeBlock& block = field.getBlock();
        const int firstRow = std::max(block.firstRow, __block.firstRow);
        const int lastRow = std::min(block.lastRow, __block.lastRow);
        const int firstColumn = std::max(block.firstColumn, __block.firstColumn);
        const int lastColumn = std::min(block.lastColumn, __block.lastColumn);
        for (int r = firstRow; r <= lastRow; ++r) {
            float* const row = __volume[plane][r - __block.firstRow].data() - __block.firstColumn;
            for (int c = firstColumn; c <= lastColumn; ++c)
                row[c] = std::max(row[c], field.at(r, c));
        }
    }
}

/// The pair's field keeps the area that a frustum between the two shares has.
void PatchBuilder::fillBetween(int plane) {
    const double share = double(plane) / __planes;
    std::vector<std::vector<float>> values;
    std::vector<float> side;
    FieldArea area;
    for (const Pair& pair : __pairs) {
        const LatticeBlock& block = pair.block;
        const int first = block.firstColumn, count = block.columns();
        values.resize(std::size_t(block.rows()));
        side.resize(std::size_t(count));
        area.clear();
        for (int r = block.firstRow; r <= block.lastRow; ++r) {
            std::vector<float>& row = values[std::size_t(r - block.firstRow)];
            row.assign(std::size_t(count), 0);
            pair.lower.field.addMoved(share * pair.wayRows, share * pair.wayColumns, float(1 - share), r, first, count,
                                      row.data());
            pair.upper.field.addMoved((share - 1) * pair.wayRows, (share - 1) * pair.wayColumns, float(share), r, first,
                                      count, row.data());
            area.add(row);
        }
        const double root = (1 - share) * std::sqrt(pair.lower.area) + share * std::sqrt(pair.upper.area);
        const float offset = pair.lower.area > 0 && pair.upper.area > 0 ? area.offsetFor(root * root) : 0;
        const auto keepOnSide = [&](const std::optional<SectionField>& field, int r, std::vector<float>& row) {
            if (!field)
                return;
            std::fill(side.begin(), side.end(), -halfGap);
            field->addMoved(0, 0, 1, r, first, count, side.data());
            for (std::size_t c = 0; c < row.size(); ++c)
                row[c] = std::min(row[c], side[c]);
        };
        for (int r = block.firstRow; r <= block.lastRow; ++r) {
            std::vector<float>& own = values[std::size_t(r - block.firstRow)];
            for (float& value : own)
                value += offset;
            keepOnSide(pair.lower.side, r, own);
            keepOnSide(pair.upper.side, r, own);
            float* const row = __volume[plane][r - __block.firstRow].data() + (first - __block.firstColumn);
            for (std::size_t c = 0; c < own.size(); ++c)
                row[c] = std::max(row[c], own[c]);
        }
    }
}

void PatchBuilder::fillVolume() {
    __volume.setSize(__block.rows(), __block.columns(), __planes + 1);
    __volume.fill(farOutside);
    fillSection(0, __lowerFields);
    for (int plane = 1; plane < __planes; ++plane)
        fillBetween(plane);
    fillSection(__planes, __upperFields);
    for (int plane = 0; plane <= __planes; ++plane)
        for (int r = 0; r < __block.rows(); ++r)
            for (float& value : __volume[plane][r])
                if (std::fabs(value) < leastDistance)
                    value = std::signbit(value) ? -leastDistance : leastDistance;
}

/// The marching cubes' mesh in the place of the patch, its vertices on the sections moved to the rings.
bool PatchBuilder::follow() {
    MarchingCubes<float> cubes;
    const TriMesh<float> mesh = cubes.buildMesh(__volume, 0, false);
    const LineCrossings lowerRows = crossingsOf(__lower, __lowerLattice, __block, true);
    const LineCrossings lowerColumns = crossingsOf(__lower, __lowerLattice, __block, false);
    const LineCrossings upperRows = crossingsOf(__upper, __upperLattice, __block, true);
    const LineCrossings upperColumns = crossingsOf(__upper, __upperLattice, __block, false);
    __patch.vertices.reserve(std::size_t(mesh.getNumVertices()));
    for (int v = 0; v < mesh.getNumVertices(); ++v) {
        const Vector<float>& p = mesh[v];
        const double row = double(p[0]) + __block.firstRow, column = double(p[1]) + __block.firstColumn;
        const double share = double(p[2]) / __planes;
        SurfacePatch::Vertex vertex{__lowerLattice.x + column * __lowerLattice.step + share * __way.x,
                                    __lowerLattice.y + row * __lowerLattice.step + share * __way.y,
                                    __lowerHeight + share * (__upperHeight - __lowerHeight),
                                    -1,
                                    -1,
                                    0};
        if (p[2] == 0 || p[2] == float(__planes)) {
            vertex.side = p[2] == 0 ? 0 : 1;
            vertex.z = vertex.side == 0 ? __lowerHeight : __upperHeight;
            const bool onSection = vertex.side == 0 ? placeOnRing(vertex, row, column, lowerRows, lowerColumns)
                                                    : placeOnRing(vertex, row, column, upperRows, upperColumns);
            if (!onSection)
                return false;
        }
        __patch.vertices.push_back(vertex);
    }
    __patch.triangles.reserve(mesh.getNumTriangles());
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
        const Vector<unsigned int>& t = mesh.getTriangleIndexes(i);
        __patch.triangles.push_back({int(t[0]), int(t[1]), int(t[2])});
    }
    return true;
}

bool PatchBuilder::placeOnRing(SurfacePatch::Vertex& vertex, double row, double column, const LineCrossings& rows,
                               const LineCrossings& columns) const {
    const bool onRow = row == std::floor(row);
    const RingCrossing* const crossing =
        onRow ? crossingBehind(rows[std::size_t(int(row) - __block.firstRow)], int(std::floor(column)))
              : crossingBehind(columns[std::size_t(int(std::lround(column)) - __block.firstColumn)],
                               int(std::floor(row)));
    if (crossing == nullptr)
        return false;
    vertex.ring = crossing->ring;
    // Places that differ by less than a millionth of an edge are one.
    vertex.place = std::round(crossing->place * 1048576) / 1048576;
    return true;
}

bool PatchBuilder::findBorder() {
    const auto size = std::size_t(__patch.vertices.size());
    const auto key = [size](int from, int to) { return std::size_t(from) * size + std::size_t(to); };
    std::unordered_map<std::size_t, int> edges;
    // Only edges on a section may be open; all others have two triangles, by the marching cubes.
    const auto onOneSection = [&](int a, int b) {
        const auto &p = __patch.vertices[std::size_t(a)], &q = __patch.vertices[std::size_t(b)];
        return p.side >= 0 && p.side == q.side;
    };
    for (const std::array<int, 3>& t : __patch.triangles)
        for (std::size_t k = 0; k < 3; ++k)
            if (onOneSection(t[k], t[(k + 1) % 3]))
                ++edges[key(t[k], t[(k + 1) % 3])];
    __patch.next.assign(size, -1);
    for (const auto& [edge, count] : edges) {
        const int from = int(edge / size), to = int(edge % size);
        if (edges.contains(key(to, from)))
            continue;
        const auto &p = __patch.vertices[std::size_t(from)], &q = __patch.vertices[std::size_t(to)];
        if (count != 1 || p.ring != q.ring || __patch.next[std::size_t(from)] >= 0)
            return false;
        __patch.next[std::size_t(from)] = to;
    }
    return true;
}

/// Whether the border follows each ring once, in its order on the lower section, against it on the upper one.
bool PatchBuilder::hasRingsInOrder() const {
    std::vector<double> lengths[2];
    for (const int side : {0, 1})
        for (const SectionPart* part : side == 0 ? __lower : __upper)
            for (const SectionRing& ring : part->rings)
                lengths[side].push_back(double(ring.points.size()));
    std::vector<int> loops[2] = {std::vector<int>(lengths[0].size()), std::vector<int>(lengths[1].size())};
    std::vector<bool> seen(__patch.vertices.size());
    for (std::size_t start = 0; start < __patch.vertices.size(); ++start) {
        const SurfacePatch::Vertex& first = __patch.vertices[start];
        if (first.side < 0 || seen[start])
            continue;
        const double length = lengths[first.side][std::size_t(first.ring)];
        double way = 0;
        std::size_t v = start;
        do {
            if (seen[v] || __patch.next[v] < 0)
                return false;
            seen[v] = true;
            const auto to = std::size_t(__patch.next[v]);
            double step = __patch.vertices[to].place - __patch.vertices[v].place;
            step = first.side == 0 ? step : -step;
            if (step == 0)
                return false;
            way += step > 0 ? step : step + length;
            v = to;
        } while (v != start);
        if (std::fabs(way - length) > 0.5 || ++loops[first.side][std::size_t(first.ring)] > 1)
            return false;
    }
    for (const auto& side : loops)
        if (std::find(side.begin(), side.end(), 0) != side.end())
            return false;
    return true;
}

std::optional<SurfacePatch> PatchBuilder::build() {
    makeFields();
    makePairs();
    fillVolume();
    if (!follow() || !findBorder() || !hasRingsInOrder())
        return std::nullopt;
    return std::move(__patch);
}

/// Steps that resolve all rings, as far as the nodes go.
double firstStep(const PartList& lower, const PartList& upper, double& leastStep) {
    double radius = std::numeric_limits<double>::infinity();
    double left = radius, right = -radius, bottom = radius, top = -radius;
    for (const PartList* parts : {&lower, &upper})
        for (const SectionPart* part : *parts) {
            for (const SectionRing& ring : part->rings)
                radius = std::min(radius, ring.meanRadius());
            left = std::min(left, part->outer().left);
            right = std::max(right, part->outer().right);
            bottom = std::min(bottom, part->outer().bottom);
            top = std::max(top, part->outer().top);
        }
    const double width = right - left, height = top - bottom;
    const auto stepFor = [&](double nodes) {
        return std::max({std::sqrt(width * height / nodes), width / nodes * 8, height / nodes * 8});
    };
    leastStep = stepFor(mostNodes);
    return std::max(radius / stepsInRadius, stepFor(firstNodes));
}

/// How a point of a ring between two others moves when both of its edges move to their left by a distance; no farther
/// than twice that.
PlanePoint moveOf(const PlanePoint& before, const PlanePoint& point, const PlanePoint& behind, double distance) {
    const double x1 = point.x - before.x, y1 = point.y - before.y, length1 = std::hypot(x1, y1);
    const double x2 = behind.x - point.x, y2 = behind.y - point.y, length2 = std::hypot(x2, y2);
    const double u1 = x1 / length1, v1 = y1 / length1, u2 = x2 / length2, v2 = y2 / length2;
    // The sum of the normals, whose square is 2 (1 + cosine of the turn).
    const double x = -(v1 + v2), y = u1 + u2, half = 1 + u1 * u2 + v1 * v2;
    constexpr double sharpest = 0.5;
    if (half > sharpest)
        return {distance * x / half, distance * y / half};
    // A spike to the outside goes back along itself, one to the inside goes on.
    const double turn = u1 * v2 - v1 * u2 < 0 ? -1 : 1;
    const double backX = turn * (u2 - u1), backY = turn * (v2 - v1), back = std::hypot(backX, backY);
    return {2 * distance * backX / back, 2 * distance * backY / back};
}

double squareOfWay(const PlanePoint& p, const PlanePoint& a, const PlanePoint& b) {
    const double x = b.x - a.x, y = b.y - a.y, square = x * x + y * y;
    const double share = square > 0 ? std::clamp(((p.x - a.x) * x + (p.y - a.y) * y) / square, 0.0, 1.0) : 0.0;
    const double dx = a.x + share * x - p.x, dy = a.y + share * y - p.y;
    return dx * dx + dy * dy;
}

/// Whether the edges a-b and c-d, which do not cross, come within a distance of each other.
bool areNear(const PlanePoint& a, const PlanePoint& b, const PlanePoint& c, const PlanePoint& d, double distance) {
    const auto isApart = [distance](double a1, double b1, double c1, double d1) {
        return std::max(a1, b1) + distance < std::min(c1, d1) || std::max(c1, d1) + distance < std::min(a1, b1);
    };
    if (isApart(a.x, b.x, c.x, d.x) || isApart(a.y, b.y, c.y, d.y))
        return false;
    const double square = distance * distance;
    return squareOfWay(a, c, d) < square || squareOfWay(b, c, d) < square || squareOfWay(c, a, b) < square ||
           squareOfWay(d, a, b) < square;
}

/// Which points of a ring belong to an edge that comes within a distance of another ring of the parts.
std::vector<bool> nearOthers(const SectionRing& ring, const PartList& parts, double distance) {
    const std::size_t size = ring.points.size();
    std::vector<bool> near(size);
    const auto behind = [](const SectionRing& one, std::size_t k) {
        return k + 1 < one.points.size() ? k + 1 : std::size_t(0);
    };
    for (const SectionPart* part : parts)
        for (const SectionRing& other : part->rings) {
            if (&other == &ring || ring.right + distance < other.left || other.right + distance < ring.left ||
                ring.top + distance < other.bottom || other.top + distance < ring.bottom)
                continue;
            for (std::size_t i = 0; i < size; ++i)
                for (std::size_t j = 0; j < other.points.size(); ++j)
                    if (areNear(ring.points[i], ring.points[behind(ring, i)], other.points[j],
                                other.points[behind(other, j)], distance)) {
                        near[i] = near[behind(ring, i)] = true;
                        break;
                    }
        }
    return near;
}

/// Which points of a ring bound a neck: edges on its two sides run against each other, with the part between them, and
/// come within a distance. Edges near another ring of the part, too.
std::vector<bool> atNecks(const SectionRing& ring, const SectionPart& part, double distance) {
    const std::size_t size = ring.points.size();
    const PartList own = {&part};
    std::vector<bool> near = nearOthers(ring, own, distance);
    for (std::size_t i = 0; i < size; ++i)
        for (std::size_t j = i + 2; j < size; ++j) {
            const std::size_t next = j + 1 < size ? j + 1 : 0;
            const PlanePoint &a = ring.points[i], &b = ring.points[i + 1], &c = ring.points[j], &d = ring.points[next];
            const double x = b.x - a.x, y = b.y - a.y;
            const bool isAcross = x * (d.x - c.x) + y * (d.y - c.y) < 0;
            const bool isLeft = x * (c.y + d.y - a.y - b.y) - y * (c.x + d.x - a.x - b.x) >= 0;
            if (next != i && isAcross && isLeft && areNear(a, b, c, d, distance))
                near[i] = near[i + 1] = near[j] = near[next] = true;
        }
    return near;
}

/// What is moved of the parts: inwards where they are near to others, or outwards, at necks or all around.
enum class Move : unsigned char { Apart, Necks, All };

/// A part with its outer ring moved by a distance, and its holes three times as far to the other side, point by point.
/// Null when a ring would be turned inside out, or as good as.
std::optional<SectionPart> moved(const SectionPart& part, const PartList& parts, Move move, double distance) {
    SectionPart result = part;
    for (std::size_t number = 0; number < part.rings.size(); ++number) {
        const SectionRing& drawn = part.rings[number];
        const std::vector<PlanePoint>& points = drawn.points;
        const std::size_t size = points.size();
        const double way = (move == Move::Apart ? distance : -distance) * (number > 0 ? -3 : 1);
        const std::vector<bool> moves = move == Move::Apart   ? nearOthers(drawn, parts, 2.5 * distance)
                                        : move == Move::Necks ? atNecks(drawn, part, 2.5 * distance)
                                                              : std::vector<bool>(size, true);
        std::vector<PlanePoint> places = points;
        for (std::size_t k = 0; k < size; ++k)
            if (moves[k]) {
                const PlanePoint step =
                    moveOf(points[k > 0 ? k - 1 : size - 1], points[k], points[k + 1 < size ? k + 1 : 0], way);
                places[k] = {points[k].x + step.x, points[k].y + step.y};
            }
        result.rings[number] = SectionRing(std::move(places));
        if (!(result.rings[number].area / drawn.area > 0.25))
            return std::nullopt;
    }
    return result;
}

/// A patch of parts whose rings are moved by a step, for the lattice to tell them apart, or to see necks. As vertices
/// on a section are places along its rings, the patch fits the rings as drawn.
std::optional<SurfacePatch> patchOfMoved(const PartList& lower, const PartList& upper, const std::vector<Link>& links,
                                         double lowerHeight, double upperHeight, double step, Move move) {
    std::vector<SectionPart> parts[2];
    PartList lists[2];
    for (const std::size_t side : {0, 1}) {
        const PartList& drawn = side == 0 ? lower : upper;
        for (const SectionPart* part : drawn) {
            std::optional<SectionPart> other = moved(*part, drawn, move, step);
            if (!other)
                return std::nullopt;
            parts[side].push_back(std::move(*other));
        }
        for (const SectionPart& part : parts[side])
            lists[side].push_back(&part);
    }
    return PatchBuilder(lists[0], lists[1], links, lowerHeight, upperHeight, step).build();
}

} // namespace

std::optional<SurfacePatch> FieldSurface::between(const PartList& lower, const PartList& upper,
                                                  const std::vector<Link>& links, double lowerHeight,
                                                  double upperHeight) {
    double leastStep = 0;
    double step = firstStep(lower, upper, leastStep);
    std::vector<double> steps;
    for (int trial = 0; trial <= refinements; ++trial) {
        auto patch = PatchBuilder(lower, upper, links, lowerHeight, upperHeight, step).build();
        if (patch)
            return patch;
        steps.push_back(step);
        if (step <= leastStep)
            break;
        step = std::max(step / 2, leastStep);
    }
    // Rings that touch, or nearly; and necks. The finer the lattice the less is moved, but the finest takes long.
    if (steps.size() > 1)
        steps.pop_back();
    for (const Move move : {Move::Apart, Move::Necks, Move::All})
        for (auto finer = steps.rbegin(); finer != steps.rend(); ++finer)
            if (auto patch = patchOfMoved(lower, upper, links, lowerHeight, upperHeight, *finer, move))
                return patch;
    return std::nullopt;
}

} // namespace vorlen
