#pragma once

#include "numerics/vector.h"

namespace vorlen {

/// What filters over a neighbourhood share: the half size h of a window of side 2h + 1, and whether the window is a
/// ball (a disc in a plane) of radius h in place of a square or cube.
class NeighbourhoodFilter {
public:
    virtual ~NeighbourhoodFilter() = default;

    /// 1 at first.
    virtual void setHalfSize(int halfSize);
    int getHalfSize() const { return __halfSize; }

    /// Throws ProgramError when the mode is to be turned on in a filter that does not accept it.
    void setBallMode(bool ballMode);
    bool ballMode() const { return __ballMode; }

    /// Turning the acceptance off turns the mode off as well.
    void setAcceptBallMode(bool acceptBallMode);
    bool acceptBallMode() const { return __acceptBallMode; }

    /// All offsets (a, b) with a * a + b * b at most radius * radius, a outermost, both ascending. Both vectors are
    /// empty for a negative radius.
    static void initCircularNeighborhood(int radius, Vector<int>& rows, Vector<int>& columns);

    /// All offsets (a, b, c) with a * a + b * b + c * c at most radius * radius, in the same order.
    static void initSphericalNeighborhood(int radius, Vector<int>& rows, Vector<int>& columns, Vector<int>& planes);

private:
    int __halfSize = 1;
    bool __acceptBallMode = false;
    bool __ballMode = false;
};

} // namespace vorlen
