#pragma once

#include <vector>

#include "numerics/planepoint.h"

namespace vorlen {

/// Elastic sheets, one for each section of a stack, that lie over each other and are tied together where something was
/// found to belong together, and come to rest all at once (Saalfeld, Fetter, Cardona and Tomancak 2012).
///
/// A sheet is a grid of nodes, each of which has moved some way. Springs between neighbouring nodes, and stiffness
/// against bends, hold the ways alike; ties pull on their differences. At rest the sum of the squared disagreements,
/// weighted, and of the squared strains is least. Ties that disagree with the rest lose their weight (iteratively
/// reweighted least squares, with the weights of Geman and McClure 1987). The system is sparse, and solved by
/// conjugate gradients (Hestenes and Stiefel 1952), x and y each for itself.
class SheetRelaxation {
public:
    /// Stiffness against that of a tie of weight 1 at each node.
    explicit SheetRelaxation(double stiffness = 1) : __stiffness(stiffness) {}

    /// Adds a sheet; its number counts from 0. At least two rows and columns.
    void addSheet(int rows, int columns);

    /// The nodes of this sheet stay as they are, their ways 0.
    void hold(int sheet) { __sheets[std::size_t(sheet)].held = true; }
    bool isHeld(int sheet) const { return __sheets[std::size_t(sheet)].held; }

    /// A place on a sheet: row and column in its grid, and decimals of them. Outside of the grid it counts as at its
    /// border.
    struct Place {
        int sheet = 0;
        double row = 0, column = 0;
    };

    /// The way at one place should be that at another plus the difference.
    void tie(const Place& place, const Place& other, PlanePoint difference, double weight);
    void clearTies() { __ties.clear(); }
    /// Those of one sheet.
    void removeTies(int sheet);
    int numTies() const { return int(__ties.size()); }

    /// Disagreements up to the tolerance are taken as they come.
    void relax(double tolerance);

    /// Of the ties of a sheet, the share that disagrees by less than the tolerance; 1 when there are none.
    double agreement(int sheet, double tolerance) const;

    const PlanePoint& way(int sheet, int row, int column) const;

private:
    struct Sheet {
        int rows = 0, columns = 0;
        int first = 0; ///< of its nodes
        bool held = false;
    };
    struct Tie {
        int nodes[8] = {0, 0, 0, 0, 0, 0, 0, 0};     ///< four of each sheet
        double shares[8] = {0, 0, 0, 0, 0, 0, 0, 0}; ///< negative for the other sheet
        PlanePoint difference{0, 0};
        int sheet = 0, other = 0;
        double weight = 1, trust = 1;
    };
    using Values = std::vector<double>;

    void anchor(Tie& tie, int from, const Place& place, double sign) const;
    double disagreement(const Tie& tie) const;
    Values pull(const Values& ways) const;
    void pullSheet(const Sheet& sheet, const Values& ways, Values& sum) const;
    void solve(double PlanePoint::*side);

    double __stiffness;
    std::vector<Sheet> __sheets;
    std::vector<Tie> __ties;
    std::vector<PlanePoint> __ways;
};

} // namespace vorlen
