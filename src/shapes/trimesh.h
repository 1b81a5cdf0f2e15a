#pragma once

#include "shapes/triangle.h"
#include "shapes/vertices.h"

#include <iosfwd>
#include <list>
#include <string>
#include <vector>

namespace vorlen {

/// Surface made of triangles: its vertices are those of Vertices<T>, and each triangle names three of their positions.
///
/// Each vertex may have a unit normal, in Vertices<T> of their own, and a star, the ascending numbers of the triangles
/// that use it. Stars are built by read(), setTriangles() and buildStars(), sized by setSize() and append(), and kept
/// up by removeTriangle() and remove(). addTriangle() leaves them alone: a mesh built triangle by triangle has no stars
/// until buildStars(), and operations that need the star of a vertex that has none throw UsageError.
///
/// clone() and assign() are those of Vertices<T> and carry the vertices only; the copy constructor and the assignment
/// of one mesh to another carry everything, sharing the coordinates. Surfaces live in space 3: area, volume, normals
/// and contains() throw SizeError in any other space. Instantiated for int, float, double and long double; operations
/// that divide or take roots are not available for int.
///
/// Decisions: remove() of a vertex without triangles takes away the vertex and its normal. Triangles of zero area have
/// a null normal and add nothing to those of their vertices. A mesh of int is read with its normals as they stand in
/// the file, or without normals.
template <class T>
class TriMesh : public Vertices<T> {
public:
    TriMesh();
    /// The given vertices, on their server, and no triangle.
    explicit TriMesh(const Vertices<T>& vertices);
    TriMesh(int space, int size, int capacity = 0, int growth = 0);
    /// Reads a .tm file; see load().
    explicit TriMesh(const std::string& filename);
    TriMesh(const TriMesh& mesh);
    ~TriMesh() override;

    using Vertices<T>::operator=;
    TriMesh& operator=(const TriMesh& mesh);

    ShapeType getShapeType() const override;

    unsigned int getNumTriangles() const { return static_cast<unsigned int>(__triangles.size()); }
    /// The three vertex numbers of triangle i, which is not checked.
    Vector<unsigned int>& getTriangleIndexes(unsigned int i) { return __triangles[i]; }
    const Vector<unsigned int>& getTriangleIndexes(unsigned int i) const { return __triangles[i]; }
    /// Triangle i, on the mesh's server. Throws ValueError when i is out of range.
    Triangle<T> triangle(unsigned int i) const;
    /// Adds a triangle at the end of the table, without touching stars. The numbers are not checked.
    void addTriangle(unsigned int a, unsigned int b, unsigned int c);
    /// Makes room for n triangles in all, so that adding them moves none.
    void reserveTriangles(unsigned int n) { __triangles.reserve(n); }
    /// Replaces all triangles and builds the stars. Throws SizeError for an entry that has not three numbers and
    /// ValueError for a number that is no vertex of the mesh; the mesh is then unchanged.
    void setTriangles(const std::vector<Vector<unsigned int>>& triangles);
    /// Takes triangle i out of the table and of the stars, and closes the gap in the numbers. Linear in the size of
    /// the mesh. Throws ValueError when i is out of range.
    void removeTriangle(unsigned int i);

    bool hasNormals() const { return __normals.getNumVertices() > 0; }
    /// Normal of vertex i, which is not checked; the mesh must have normals.
    Vector<T>& getNormal(int i) { return __normals[i]; }
    const Vector<T>& getNormal(int i) const { return __normals[i]; }
    void setNormal(int i, const Vector<T>& normal);
    /// For each vertex, the normalized sum of the unit normals of its triangles, each with the same weight.
    void computeNormals();
    /// computeNormals(), and then as many passes in which each normal becomes the normalized sum of itself and of the
    /// normals of the vertex's neighbours as they were before the pass. Needs stars when passes is above 0.
    void smoothNormals(int passes);

    /// Rebuilds the stars from the triangles. Throws ValueError when a triangle names a vertex that is not there.
    void buildStars();
    bool hasStars() const { return !__stars.empty(); }
    /// Ascending numbers of the triangles that use vertex i.
    std::list<unsigned int> star(unsigned int i) const;
    /// Ascending numbers of the vertices that share a triangle with vertex i, i itself left out.
    std::list<unsigned int> neighbours(unsigned int i) const;

    /// Resizes the list of vertices, as Vertices<T>::setSize() does, and that of the stars.
    void setSize(int n, bool sequence = true);
    using Vertices<T>::append;
    void append(const Vertices<T>& vertices) override;
    using Vertices<T>::remove;
    /// Removes all triangles of vertex i, then its normal and the vertex. The vertex numbers in the remaining triangles
    /// and the star lists of the other vertices keep their places: they are not renumbered.
    void remove(unsigned int i);
    void remove(int i) { remove(static_cast<unsigned int>(i)); }

    /// Sum of the triangles' areas, in squared coordinate units.
    T area() const;
    /// Signed volume enclosed by a closed mesh, in cubed coordinate units: positive when the normals point outward.
    T volume() const;
    /// Radius of the ball of the same volume.
    T equivalentRadius() const;

    /// Point of the mesh closest to p; the result is its distance to p. Starts from the first vertex, so that a mesh
    /// without triangles gives this one. Linear in the number of triangles. Throws SizeError on a mesh without vertices
    /// or when dimensions differ, and UsageError for int.
    T closestPoint(const Vector<T>& p, Vector<T>& out) const;

    /// Whether p lies inside the closed mesh or on its surface: the crossings of a ray from p are counted, and the ray
    /// is replaced by another one when it meets a side or corner. Linear in the number of triangles for each ray;
    /// TriMeshInterior<T> answers many points on the same mesh. Throws UsageError for int.
    bool contains(const Vector<T>& p) const;

    /// Reads the body of a .tm file. Returns the type code found. Throws FileFormatError on a malformed body and
    /// FileReadError on one that ends too early; the mesh is then unchanged.
    ShapeType read(std::istream& stream) override;
    void write(std::ostream& stream) const override;

    /// Writes the mesh as ASCII STL, under its name, with the unit normal of each triangle. Throws FileWriteError when
    /// the stream takes no more.
    void export2AsciiSTL(std::ostream& stream) const;
    /// The same under this name.
    void export2AsciiSTL(std::ostream& stream, std::string name) const;

private:
    const std::vector<unsigned int>& __star(unsigned int i, const char* where) const;
    void __buildStars(const std::vector<Vector<unsigned int>>& triangles, const char* where);
    void __removeTriangles(const std::vector<unsigned int>& numbers);
    void __checkTriangles(const char* where) const;
    void __checkSpace(const char* where) const;
    const T* __corner(unsigned int triangle, int k) const { return (*this)[int(__triangles[triangle][k])].data(); }

    std::vector<Vector<unsigned int>> __triangles;
    Vertices<T> __normals;
    std::vector<std::vector<unsigned int>> __stars;
};

} // namespace vorlen
