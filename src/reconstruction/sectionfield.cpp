#include "reconstruction/sectionfield.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorlen {

namespace {

/// The point of the rings that is nearest to a node beside them.
struct Nearest {
    float row = 0, column = 0;
    float square = std::numeric_limits<float>::infinity();
};

/// Writes the nearest points of a segment to the nodes around its pieces. Row and column are counted from the block's
/// first node.
void markSegment(double r1, double c1, double r2, double c2, int rows, int columns, std::vector<Nearest>& nearest,
                 std::vector<unsigned char>& marks) {
    const double dr = r2 - r1, dc = c2 - c1, square = dr * dr + dc * dc;
    const int pieces = std::max(1, int(std::ceil(std::sqrt(square) / 0.5)));
    for (int k = 0; k < pieces; ++k) {
        const double share = (k + 0.5) / pieces;
        const int row = int(std::floor(r1 + share * dr)), column = int(std::floor(c1 + share * dc));
        for (int r = std::max(row, 0); r <= std::min(row + 1, rows - 1); ++r)
            for (int c = std::max(column, 0); c <= std::min(column + 1, columns - 1); ++c) {
                const double along = square > 0 ? std::clamp(((r - r1) * dr + (c - c1) * dc) / square, 0.0, 1.0) : 0.0;
                const double pr = r1 + along * dr, pc = c1 + along * dc;
                const auto distance = float((pr - r) * (pr - r) + (pc - c) * (pc - c));
                const std::size_t node = std::size_t(r) * std::size_t(columns) + std::size_t(c);
                if (distance < nearest[node].square) {
                    nearest[node] = {float(pr), float(pc), distance};
                    marks[node] = 1;
                }
            }
    }
}

} // namespace

void LatticeBlock::add(const LatticeBlock& other) {
    if (other.isEmpty())
        return;
    if (isEmpty()) {
        *this = other;
        return;
    }
    firstRow = std::min(firstRow, other.firstRow);
    firstColumn = std::min(firstColumn, other.firstColumn);
    lastRow = std::max(lastRow, other.lastRow);
    lastColumn = std::max(lastColumn, other.lastColumn);
}

LatticeBlock LatticeBlock::grownBy(int nodes) const {
    return {firstRow - nodes, firstColumn - nodes, lastRow + nodes, lastColumn + nodes};
}

LatticeBlock LatticeBlock::sweptBy(double rows, double columns) const {
    return {firstRow + int(std::floor(std::min(rows, 0.0))), firstColumn + int(std::floor(std::min(columns, 0.0))),
            lastRow + int(std::ceil(std::max(rows, 0.0))), lastColumn + int(std::ceil(std::max(columns, 0.0)))};
}

LatticeBlock LatticeBlock::around(const SectionRing& ring, const SectionLattice& lattice) {
    return {int(std::floor(lattice.toRow(ring.bottom))), int(std::floor(lattice.toColumn(ring.left))),
            int(std::ceil(lattice.toRow(ring.top))), int(std::ceil(lattice.toColumn(ring.right)))};
}

SectionField::SectionField(const SectionPart& part, const SectionLattice& lattice, const LatticeBlock& block,
                           DistanceTransform& transform)
    : __block(block) {
    const int rows = block.rows(), columns = block.columns();
    std::vector<Nearest> nearest(block.size());
    std::vector<unsigned char> marks(block.size());
    for (const SectionRing& ring : part.rings) {
        const auto rowOf = [&](const PlanePoint& p) { return lattice.toRow(p.y) - block.firstRow; };
        const auto columnOf = [&](const PlanePoint& p) { return lattice.toColumn(p.x) - block.firstColumn; };
        double row = rowOf(ring.points.back()), column = columnOf(ring.points.back());
        for (const PlanePoint& p : ring.points) {
            const double nextRow = rowOf(p), nextColumn = columnOf(p);
            markSegment(row, column, nextRow, nextColumn, rows, columns, nearest, marks);
            row = nextRow;
            column = nextColumn;
        }
    }
    transform.run(rows, columns, marks);
    std::vector<unsigned char> inside(block.size());
    findSigns(part, lattice, inside);
    __values.resize(block.size());
    const std::vector<int>& beside = transform.getNearest();
    std::size_t node = 0;
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c, ++node) {
            const Nearest& point = nearest[std::size_t(std::max(beside[node], 0))];
            const float dr = point.row - float(r), dc = point.column - float(c);
            const float distance = std::sqrt(dr * dr + dc * dc);
            __values[node] = inside[node] != 0 ? distance : -distance;
        }
}

void SectionField::findSigns(const SectionPart& part, const SectionLattice& lattice,
                             std::vector<unsigned char>& inside) const {
    const auto columns = std::size_t(__block.columns());
    // The nodes behind each crossing change sides.
    for (const SectionRing& ring : part.rings)
        for (std::size_t k = 0; k < ring.points.size(); ++k) {
            const PlanePoint &p = ring.points[k], &q = ring.points[k + 1 < ring.points.size() ? k + 1 : 0];
            const double rp = lattice.toRow(p.y), rq = lattice.toRow(q.y);
            const double cp = lattice.toColumn(p.x), cq = lattice.toColumn(q.x);
            const int first = std::max(int(std::ceil(std::min(rp, rq))), __block.firstRow);
            const int last = std::min(int(std::floor(std::max(rp, rq))), __block.lastRow);
            for (int row = first; row <= last; ++row) {
                if ((rp <= row) == (rq <= row))
                    continue;
                const double crossing = cp + (row - rp) / (rq - rp) * (cq - cp);
                const int from = std::max(int(std::floor(crossing)) + 1, __block.firstColumn);
                if (from <= __block.lastColumn)
                    inside[std::size_t(row - __block.firstRow) * columns + std::size_t(from - __block.firstColumn)] ^=
                        1;
            }
        }
    for (std::size_t start = 0; start < inside.size(); start += columns)
        for (std::size_t c = 1; c < columns; ++c)
            inside[start + c] ^= inside[start + c - 1];
}

float SectionField::sample(double row, double column) const {
    const double r = std::clamp(row, double(__block.firstRow), double(__block.lastRow));
    const double c = std::clamp(column, double(__block.firstColumn), double(__block.lastColumn));
    const int r0 = std::min(int(std::floor(r)), std::max(__block.lastRow - 1, __block.firstRow));
    const int c0 = std::min(int(std::floor(c)), std::max(__block.lastColumn - 1, __block.firstColumn));
    const int r1 = std::min(r0 + 1, __block.lastRow), c1 = std::min(c0 + 1, __block.lastColumn);
    const auto fr = float(r - r0), fc = float(c - c0);
    const float low = at(r0, c0) + fc * (at(r0, c1) - at(r0, c0));
    const float high = at(r1, c0) + fc * (at(r1, c1) - at(r1, c0));
    return low + fr * (high - low) - float(std::hypot(row - r, column - c));
}

void SectionField::addMoved(double moveRows, double moveColumns, float weight, int row, int first, int count,
                            float* values) const {
    const double r = row - moveRows, shift = -moveColumns;
    const int r0 = int(std::floor(r)), whole = int(std::floor(shift));
    const auto fr = float(r - r0), fc = float(shift - whole);
    const auto inRows = [&](int k) { return std::clamp(k, __block.firstRow, __block.lastRow); };
    const auto width = std::size_t(__block.columns());
    const float* const low = __values.data() + std::size_t(inRows(r0) - __block.firstRow) * width;
    const float* const high = __values.data() + std::size_t(inRows(r0 + 1) - __block.firstRow) * width;
    const float w00 = weight * (1 - fr) * (1 - fc), w01 = weight * (1 - fr) * fc;
    const float w10 = weight * fr * (1 - fc), w11 = weight * fr * fc;
    const int start = first + whole - __block.firstColumn, end = __block.columns() - 1;
    // The nodes whose four neighbours lie in the block, and one by one those before and behind.
    const int from = std::clamp(-start, 0, count), to = std::clamp(end - start, from, count);
    const auto addClamped = [&](int k) {
        const int c0 = std::clamp(start + k, 0, end), c1 = std::clamp(start + k + 1, 0, end);
        values[k] += w00 * low[c0] + w01 * low[c1] + w10 * high[c0] + w11 * high[c1];
    };
    for (int k = 0; k < from; ++k)
        addClamped(k);
    for (int k = from; k < to; ++k) {
        const auto c = std::size_t(start + k);
        values[k] += w00 * low[c] + w01 * low[c + 1] + w10 * high[c] + w11 * high[c + 1];
    }
    for (int k = to; k < count; ++k)
        addClamped(k);
}

} // namespace vorlen
