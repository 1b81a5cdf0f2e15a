#include "reconstruction/sectioninterpolation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr double mostNodes = 4e6;

/// The middle of the area of some of the parts.
PlanePoint middleOf(const std::vector<SectionPart>& parts, const std::vector<int>& chosen) {
    PlanePoint sum;
    double area = 0;
    for (const int i : chosen) {
        const SectionPart& part = parts[std::size_t(i)];
        sum.x += part.area * part.centroid.x;
        sum.y += part.area * part.centroid.y;
        area += part.area;
    }
    return {sum.x / area, sum.y / area};
}

/// A box that grows.
struct Extent {
    double left = std::numeric_limits<double>::max(), right = std::numeric_limits<double>::lowest();
    double bottom = left, top = right;

    void add(const SectionRing& ring, const PlanePoint& move) {
        left = std::min(left, ring.left + move.x);
        right = std::max(right, ring.right + move.x);
        bottom = std::min(bottom, ring.bottom + move.y);
        top = std::max(top, ring.top + move.y);
    }
};

/// Sides of a cell: between its corners bottom left and right, right bottom and top, top left and right, left.
enum Side { bottomSide, rightSide, topSide, leftSide };

struct Stroke {
    Side from, to;
};

/// The strokes of a cell with the inside to their left, by the corners that are inside: 1 bottom left, 2 bottom right,
/// 4 top right, 8 top left. Of opposite corners that are inside two strokes part them.
constexpr std::array<std::array<Stroke, 2>, 16> strokesOfCells = {{
    {{{bottomSide, bottomSide}, {bottomSide, bottomSide}}},
    {{{bottomSide, leftSide}, {bottomSide, bottomSide}}},
    {{{rightSide, bottomSide}, {bottomSide, bottomSide}}},
    {{{rightSide, leftSide}, {bottomSide, bottomSide}}},
    {{{topSide, rightSide}, {bottomSide, bottomSide}}},
    {{{bottomSide, leftSide}, {topSide, rightSide}}},
    {{{topSide, bottomSide}, {bottomSide, bottomSide}}},
    {{{topSide, leftSide}, {bottomSide, bottomSide}}},
    {{{leftSide, topSide}, {bottomSide, bottomSide}}},
    {{{bottomSide, topSide}, {bottomSide, bottomSide}}},
    {{{rightSide, bottomSide}, {leftSide, topSide}}},
    {{{rightSide, topSide}, {bottomSide, bottomSide}}},
    {{{leftSide, rightSide}, {bottomSide, bottomSide}}},
    {{{bottomSide, rightSide}, {bottomSide, bottomSide}}},
    {{{leftSide, bottomSide}, {bottomSide, bottomSide}}},
    {{{bottomSide, bottomSide}, {bottomSide, bottomSide}}},
}};
/// And where the middle of the cell is inside, they are joined.
constexpr std::array<Stroke, 2> joinedFive = {{{bottomSide, rightSide}, {topSide, leftSide}}};
constexpr std::array<Stroke, 2> joinedTen = {{{rightSide, topSide}, {leftSide, bottomSide}}};

} // namespace

SectionInterpolation::SectionInterpolation(const SectionParts& lower, const SectionParts& upper, double step) {
    if (!(step > 0 && std::isfinite(step)))
        throw ValueError("SectionInterpolation::SectionInterpolation(...)", "The step is not above 0");
    const double nowhere = std::numeric_limits<double>::quiet_NaN();
    const std::vector<PlanePoint> still(lower.getParts().size(), PlanePoint{nowhere, nowhere});
    const PartMatching matching(lower, upper, still);
    DistanceTransform transform;
    for (const PartMatching::Group& group : matching.getGroups()) {
        if (group.lower.empty() || group.upper.empty())
            continue;
        Mixture mixture;
        const PlanePoint from = middleOf(lower.getParts(), group.lower), to = middleOf(upper.getParts(), group.upper);
        mixture.way = {to.x - from.x, to.y - from.y};
        Extent extent; // around the lower parts, with the upper ones moved to them
        for (const int i : group.lower)
            extent.add(lower.getParts()[std::size_t(i)].outer(), {});
        for (const int i : group.upper)
            extent.add(upper.getParts()[std::size_t(i)].outer(), {-mixture.way.x, -mixture.way.y});
        const double nodes = (extent.right - extent.left) / step * ((extent.top - extent.bottom) / step);
        mixture.lattice = {extent.left, extent.bottom, step * std::max(1.0, std::sqrt(nodes / mostNodes))};
        const int columns = int(std::ceil(mixture.lattice.toColumn(extent.right)));
        const int rows = int(std::ceil(mixture.lattice.toRow(extent.top)));
        mixture.lowerBlock = LatticeBlock{0, 0, rows, columns}.grownBy(2);
        // The fields of both lie on one block: the upper ones on a lattice that is moved to them.
        SectionLattice upperLattice = mixture.lattice;
        upperLattice.x += mixture.way.x;
        upperLattice.y += mixture.way.y;
        mixture.lower.reserve(group.lower.size());
        for (const int i : group.lower)
            mixture.lower.emplace_back(lower.getParts()[std::size_t(i)], mixture.lattice, mixture.lowerBlock,
                                       transform);
        mixture.upper.reserve(group.upper.size());
        for (const int i : group.upper)
            mixture.upper.emplace_back(upper.getParts()[std::size_t(i)], upperLattice, mixture.lowerBlock, transform);
        __mixtures.push_back(std::move(mixture));
    }
}

std::vector<std::vector<PlanePoint>> SectionInterpolation::outlinesAt(double share) const {
    std::vector<std::vector<PlanePoint>> outlines;
    const auto depthOf = [](const std::vector<SectionField>& fields, int row, int column) {
        float depth = fields.front().at(row, column);
        for (std::size_t k = 1; k < fields.size(); ++k)
            depth = std::max(depth, fields[k].at(row, column));
        return depth;
    };
    std::vector<float> values;
    for (const Mixture& mixture : __mixtures) {
        const LatticeBlock& block = mixture.lowerBlock;
        values.resize(block.size());
        std::size_t at = 0;
        const auto above = float(share), below = float(1 - share);
        for (int row = block.firstRow; row <= block.lastRow; ++row)
            for (int column = block.firstColumn; column <= block.lastColumn; ++column)
                values[at++] =
                    below * depthOf(mixture.lower, row, column) + above * depthOf(mixture.upper, row, column);
        SectionLattice lattice = mixture.lattice;
        lattice.x += share * mixture.way.x;
        lattice.y += share * mixture.way.y;
        trace(values, block, lattice, outlines);
    }
    return outlines;
}

/// Marching squares. Each edge of the lattice that is crossed is the end of one stroke and the beginning of another, so
/// that the strokes make rings.
void SectionInterpolation::trace(const std::vector<float>& values, const LatticeBlock& block,
                                 const SectionLattice& lattice, std::vector<std::vector<PlanePoint>>& outlines) {
    const int rows = block.rows(), columns = block.columns();
    const auto node = [columns](int row, int column) {
        return std::size_t(row) * std::size_t(columns) + std::size_t(column);
    };
    // The edge to the right of a node has an even number, that above it an odd one.
    const auto edge = [&node](int row, int column, Side side) {
        switch (side) {
        case bottomSide:
            return 2 * node(row, column);
        case topSide:
            return 2 * node(row + 1, column);
        case leftSide:
            return 2 * node(row, column) + 1;
        default:
            return 2 * node(row, column + 1) + 1;
        }
    };
    constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
    std::vector<std::size_t> next(2 * values.size(), none);
    for (int row = 0; row + 1 < rows; ++row)
        for (int column = 0; column + 1 < columns; ++column) {
            const float corners[] = {values[node(row, column)], values[node(row, column + 1)],
                                     values[node(row + 1, column + 1)], values[node(row + 1, column)]};
            const std::size_t kind = std::size_t(corners[0] > 0) + 2 * std::size_t(corners[1] > 0) +
                                     4 * std::size_t(corners[2] > 0) + 8 * std::size_t(corners[3] > 0);
            const bool joined = corners[0] + corners[1] + corners[2] + corners[3] > 0;
            const std::array<Stroke, 2>& strokes = kind == 5 && joined    ? joinedFive
                                                   : kind == 10 && joined ? joinedTen
                                                                          : strokesOfCells[kind];
            for (const Stroke& stroke : strokes)
                if (stroke.from != stroke.to)
                    next[edge(row, column, stroke.from)] = edge(row, column, stroke.to);
        }
    const auto place = [&](std::size_t number) {
        const std::size_t first = number / 2, second = first + (number % 2 == 0 ? 1 : std::size_t(columns));
        const double part = double(values[first]) / (double(values[first]) - double(values[second]));
        const double column = double(first % std::size_t(columns)) + (number % 2 == 0 ? part : 0);
        const std::size_t line = first / std::size_t(columns);
        const double row = double(line) + (number % 2 == 0 ? 0 : part);
        return PlanePoint{lattice.x + (block.firstColumn + column) * lattice.step,
                          lattice.y + (block.firstRow + row) * lattice.step};
    };
    for (std::size_t start = 0; start < next.size(); ++start) {
        std::vector<PlanePoint> outline;
        for (std::size_t at = start; next[at] != none;) {
            outline.push_back(place(at));
            at = std::exchange(next[at], none);
        }
        if (outline.size() >= 3)
            outlines.push_back(std::move(outline));
    }
}

} // namespace vorlen
