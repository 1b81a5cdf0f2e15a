#pragma once

#include <array>
#include <string>

namespace vorlen {

template <class T>
class TriMesh;

/// What holds of a triangle mesh as a surface: whether it is closed, how it is put together, and what it encloses.
///
/// By the vertex numbers of the triangles alone, but for the volume: vertices at one place count as two. Triangles that
/// name a vertex twice have no area and are passed over. Linear in the number of triangles, in up to 17 passes over
/// them; the memory is about that of the vertices' coordinates.
struct SurfaceCertificate {
    bool closed = false;   ///< each edge has triangles on both sides; false of a mesh without triangles
    bool oriented = false; ///< neighbours turn the same way
    bool manifold = false; ///< at most two triangles meet at an edge, and those at a vertex go round it once
    bool outward = false;  ///< closed, oriented and of positive volume
    int parts = 0;         ///< pieces that share no vertex
    long long openEdges = 0;
    long long euler = 0; ///< vertices of triangles - edges + triangles
    double volume = 0;   ///< by the divergence theorem, in cubed coordinate units; 0 unless closed and oriented
    std::array<double, 3> centroid = {}; ///< of what is enclosed, by the same theorem; 0 where the volume is

    /// Number of handles of all parts. -1 where it means nothing, on a surface that is not closed, oriented and
    /// manifold.
    long long genus() const;

    /// All is well: the surface can be printed, and its volume be trusted.
    bool isSound() const { return closed && oriented && manifold && outward; }

    /// As a clause for a reader: "closed, oriented outward, manifold, 1 part, Euler number 2, genus 0".
    std::string toText() const;

    /// Throws SizeError unless the space is 3, RangeError when a triangle has a vertex that is not there. For float,
    /// double and long double.
    template <class T>
    static SurfaceCertificate of(const TriMesh<T>& mesh);
};

} // namespace vorlen
