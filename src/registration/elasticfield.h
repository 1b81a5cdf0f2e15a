#pragma once

#include <vector>

#include "numerics/planepoint.h"

namespace vorlen {

/// A smooth bending of a section: for each position of the bent section, how far from there what belongs there lies on
/// the section as it was.
///
/// The way is given at the nodes of a grid and runs between them along cubic curves (Keys 1981); beyond the grid it is
/// that of its border. Positions as for RigidMotion: seen from the middle of the section, in the length unit, x to the
/// right and y down. A field without nodes bends nothing.
class ElasticField {
public:
    ElasticField() = default;
    /// All zero, over a section of this size, with nodes in about this distance from each other, at least two by two.
    /// Throws ValueError for sizes that are not above 0, and for more than 4 million nodes.
    ElasticField(double width, double height, double spacing);
    /// Throws the same, and SizeError unless there are rows times columns ways, row by row. At least two by two.
    ElasticField(double width, double height, int rows, int columns, std::vector<PlanePoint> ways);

    int rows() const { return __rows; }
    int columns() const { return __columns; }
    double width() const { return __width; }
    double height() const { return __height; }
    /// Distances of the nodes.
    double stepX() const { return __stepX; }
    double stepY() const { return __stepY; }

    PlanePoint node(int row, int column) const;
    const PlanePoint& way(int row, int column) const { return __ways[index(row, column)]; }
    void setWay(int row, int column, PlanePoint way) { __ways[index(row, column)] = way; }
    const std::vector<PlanePoint>& ways() const { return __ways; }

    /// No way is longer than nothing.
    bool isNull() const;

    PlanePoint way(PlanePoint position) const;

    /// Where what the bent section has at this position lies on the section as it was.
    PlanePoint before(PlanePoint position) const;

    /// Where a position of the section as it was comes to lie: the inverse of before(), found by steps that shrink
    /// where the field does not fold.
    PlanePoint after(PlanePoint position) const;

    /// The least share to which the field presses a small area together, looked at four times between nodes; at 0 and
    /// below the section would be folded.
    double leastArea() const;

    /// Root of the mean square of the ways of the nodes, and the longest.
    double rms() const;
    double greatest() const;

private:
    std::size_t index(int row, int column) const {
        return std::size_t(row) * std::size_t(__columns) + std::size_t(column);
    }
    void setGrid(double width, double height, int rows, int columns);

    double __width = 0, __height = 0, __stepX = 1, __stepY = 1;
    int __rows = 0, __columns = 0;
    std::vector<PlanePoint> __ways;
};

} // namespace vorlen
