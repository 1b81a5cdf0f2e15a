#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "shapes/curvestack.h"
#include "shapes/trimesh.h"

namespace vorlen {

/// Tiles a stack of contours: a band of triangles between each two successive levels, through every contour vertex.
///
/// No vertex is moved, added or dropped. The mesh has a vertex store of its own; the vertex at position k of level l
/// has the number offset(l) + k, offset(l) being the number of vertices on the levels before l. A closed stack gives a
/// + b triangles for a band between contours of a and b vertices, an open one a + b - 2.
///
/// The levels are taken in their order. The caller sees to it that there is one contour on a level's height and that
/// all contours turn the same way: a band between contours of opposite sense comes out twisted.
///
/// Tilers for closed stacks:
/// - 1: greedy, the shorter diagonal (Christiansen and Sederberg, SIGGRAPH 1978);
/// - 2: greedy, equal normalized arc length (Ganapathy and Dennehy, SIGGRAPH 1982);
/// - 3: greedy, sum of squared sides;
/// - 4: least area of each band by dynamic programming (Fuchs, Kedem and Uselton, CACM 1977). The area of a triangle
/// that
///   rounding makes slightly imaginary counts as 0. Its triangles turn against those of the other methods.
///
/// The start of a band is the closest pair of vertices. On contours that are shifted against each other by more than
/// about half their radius this pair faces the wrong way, and the band twists: Centred brings the centroids of the
/// contours of a closed stack together before start and triangles are chosen. The mesh has the coordinates of the stack
/// in either case.
///
/// An open stack is tiled by the shorter diagonal, whatever the method. The object is tiled once, when it is made;
/// make another one to tile by another method.
template <class T>
class CurveStackTriangulation {
public:
    /// Where the contours stand against each other while they are joined.
    enum class Placement { AsDrawn, Centred };

    /// Tiles the stack. Fewer than two levels give an empty mesh. An unknown method on a closed stack writes
    /// "no such method" to the standard error stream and gives a mesh without triangles.
    /// Throws SizeError when levels differ in dimension.
    CurveStackTriangulation(const CurveStack<T>& stack, int method, Placement placement = Placement::AsDrawn);

    /// Sets the number that a later reading of the object shows; the finished mesh stays as it is.
    void setMethod(int method);

    TriMesh<T>& getTriMesh() { return __triMesh; }
    const TriMesh<T>& getTriMesh() const { return __triMesh; }

    /// True when there is something to tile: at least two levels.
    bool check(const CurveStack<T>& stack) const;

    T absT(T x) const { return x < 0 ? -x : x; }

    void print(const std::string& title, std::ostream& stream) const;

private:
    /// One contour as the tilers see it: coordinates one vertex after the other, rotated to its starting vertex.
    struct Contour {
        std::vector<T> points;
        std::vector<int> numbers;
        int size = 0;
    };

    void triangulateClosedCurveStackMethod1();
    void closedCaseGanapathy(const CurveStack<T>& stack);
    void triangulateClosedCurveStackMethod3();
    void optimal();
    void triangulateOpenCurveStackMethod1();

    template <class Rule>
    void walk(const Contour& a, const Contour& b, Rule&& advancesUpper);
    void closeBand(const Contour& a, const Contour& b);
    void optimalBand(const Contour& upper, const Contour& lower);
    Contour rotated(int level, int start) const;
    void alignment(int first, int second, int& i, int& j) const;
    T squaredDistance(const T* p, const T* q) const;

    int __method = 0;
    TriMesh<T> __triMesh;
    int __space = 0;
    std::vector<Contour> __contours;
};

} // namespace vorlen
