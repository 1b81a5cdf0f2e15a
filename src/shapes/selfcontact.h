#pragma once

#include <optional>
#include <vector>

namespace vorlen {

/// Where a line of edges meets itself beyond the joints of its neighbouring edges.
struct SelfContact {
    bool crosses = false; ///< goes over to the other side; else it touches itself, or runs along itself
    int first = 0;        ///< an edge by its first vertex, and a later one
    int second = 0;
    double x = 0; ///< a place that both have
    double y = 0;
};

/// Looks for a contact of the polyline, or polygon when closed, through n vertices with these coordinates, x and y of
/// one after the other: a crossing if there is one, else a touch; nothing for a simple line, and for fewer than 2
/// edges. Vertices that stand on the one before them count once. Exact for whole coordinates of less than 2^30, and for
/// others within the rounding of long double.
///
/// A line without contact is told by a sweep over its sorted vertices (Shamos and Hoey, Geometric intersection
/// problems, 1976) in n log n steps. A line that only touches itself is searched for crossings in a tree of boxes of
/// successive edges, in about n log n steps for any but spirals, and at most 400 n + 10^6: one with more goes as
/// touching. Memory is linear. A stretch that two parts of the line share counts as touched, on whichever side they
/// leave it.
std::optional<SelfContact> findSelfContact(const std::vector<double>& coordinates, bool closed);

/// Whether none of these polygons, each given likewise and with three different vertices or more, meets itself or
/// another one. n log n for n vertices of all, by the same sweep.
bool areApart(const std::vector<std::vector<double>>& polygons);

} // namespace vorlen
