#pragma once

#include <vector>

#include "images/regions/distancetransform.h"
#include "reconstruction/sectionparts.h"

namespace vorlen {

/// A square lattice over a section: node (row, column) lies at (x + column * step, y + row * step).
struct SectionLattice {
    double x = 0, y = 0, step = 1;

    double toColumn(double worldX) const { return (worldX - x) / step; }
    double toRow(double worldY) const { return (worldY - y) / step; }
};

/// A block of nodes of a lattice, first ones included and last ones too.
struct LatticeBlock {
    int firstRow = 0, firstColumn = 0, lastRow = -1, lastColumn = -1;

    int rows() const { return lastRow - firstRow + 1; }
    int columns() const { return lastColumn - firstColumn + 1; }
    std::size_t size() const { return std::size_t(rows()) * std::size_t(columns()); }
    bool isEmpty() const { return rows() <= 0 || columns() <= 0; }

    /// Grows to hold the other one.
    void add(const LatticeBlock& other);
    /// Grows by so many nodes on each side.
    LatticeBlock grownBy(int nodes) const;
    /// All nodes between these moved by (rows, columns) times 0 and times 1.
    LatticeBlock sweptBy(double rows, double columns) const;

    /// The smallest block with the box of the ring.
    static LatticeBlock around(const SectionRing& ring, const SectionLattice& lattice);
};

/// Signed distance to the rings of a part, positive inside, in steps of the lattice, on a block of its nodes.
///
/// The sign is exact: the crossings of each row with the rings are counted. Beside the rings the distance is that to
/// their nearest edge; further away, that to the point of the rings which is nearest to the nearest node beside them
/// (DistanceTransform), which errs by less than a tenth of a step on the whole.
class SectionField {
public:
    SectionField() = default;
    SectionField(const SectionPart& part, const SectionLattice& lattice, const LatticeBlock& block,
                 DistanceTransform& transform);

    const LatticeBlock& getBlock() const { return __block; }
    float at(int row, int column) const {
        return __values[std::size_t(row - __block.firstRow) * std::size_t(__block.columns()) +
                        std::size_t(column - __block.firstColumn)];
    }
    float& at(int row, int column) {
        return __values[std::size_t(row - __block.firstRow) * std::size_t(__block.columns()) +
                        std::size_t(column - __block.firstColumn)];
    }

    /// Bilinear between nodes; outside of the block the distance to the block is taken away.
    float sample(double row, double column) const;

    /// Adds weight times the field to the block's row of values, whose first is that of node (row, first), the field
    /// being moved by (moveRows, moveColumns). Nodes beyond the block are taken as those of its border.
    void addMoved(double moveRows, double moveColumns, float weight, int row, int first, int count,
                  float* values) const;

private:
    void findSigns(const SectionPart& part, const SectionLattice& lattice, std::vector<unsigned char>& inside) const;

    LatticeBlock __block;
    std::vector<float> __values;
};

} // namespace vorlen
