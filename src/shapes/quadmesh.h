#pragma once

#include "numerics/matrix.h"
#include "shapes/curvestack.h"
#include "shapes/trimesh.h"

#include <memory>
#include <string>
#include <vector>

namespace vorlen {

/// Regular surface: a stack of curves of one size, the width, so that neighbouring levels make a band of
/// quadrilaterals.
///
/// A closed mesh can carry two caps that close the tube at its ends, and any mesh a colour for each vertex. A cap is a
/// closed mesh of 10 rings of the same width, owned by the mesh; it also stands in the mesh's extensions, so that
/// transforms and operator/= carry it along. Caps and colours are not stored in files. Instantiated for int, float,
/// double and long double; QuadMesh<int> also serves as an array of colours.
///
/// Decisions: an empty mesh takes a first level of any size. Inserting behind the last level removes the end cap,
/// inserting in front of the first the begin cap; anything between keeps both. A
/// mesh whose levels change in number drops its colours. Values that are all equal get the first
/// colour of the colour map. Assignment carries the colours as well as the caps; copying leaves the colours behind.
template <class T>
class QuadMesh : public CurveStack<T> {
public:
    QuadMesh();
    QuadMesh(int space, int height, int width, int capacity = 0, int growth = 0, bool open = false);
    /// The levels of the stack, on their server. Throws SizeError when they differ in size.
    explicit QuadMesh(const CurveStack<T>& stack);
    /// The levels share their coordinates with those of the source; the caps are new ones.
    QuadMesh(const QuadMesh& mesh);
    /// Reads a .qm file; see load().
    explicit QuadMesh(const std::string& filename);
    ~QuadMesh() override;

    using CurveStack<T>::operator=;
    /// Levels as in the copy, with copies of the caps and of the colours.
    QuadMesh& operator=(const QuadMesh& mesh);
    /// Takes the levels of a CurveStack, which must all have one size (SizeError); caps and colours go.
    void assign(const VertexClient<T>& other) override;

    void detach() override;
    QuadMesh* clone() const override;
    ShapeType getShapeType() const override;
    /// Level by level sum or difference with a mesh of the same dimensions. A cap is added to the cap of the other
    /// mesh; where the other mesh has none, this mesh loses its own. Throws SizeError when heights or widths differ and
    /// UsageError when the argument is no mesh.
    void operator+=(const Shape<T>& shape) override;
    void operator-=(const Shape<T>& shape) override;
    /// Reads a .qm file. Throws FileFormatError when the levels differ in size.
    ShapeType read(std::istream& stream) override;

    /// Size of the first level, 0 without levels.
    int getWidth() const;

    bool hasBeginCap() const { return __beginCap != nullptr; }
    bool hasEndCap() const { return __endCap != nullptr; }
    /// The caps, which must be there.
    QuadMesh& getBeginCap() { return *__beginCap; }
    const QuadMesh& getBeginCap() const { return *__beginCap; }
    QuadMesh& getEndCap() { return *__endCap; }
    const QuadMesh& getEndCap() const { return *__endCap; }

    /// A cap runs from the boundary, its level 0, in rings that come closer to each other towards the centre of
    /// gravity, to a last ring of one hundredth of the size. Nothing happens on an open mesh. Throws SizeError on a
    /// mesh without levels and UsageError for int.
    void buildBeginCap();
    void buildEndCap();
    void buildCaps();
    void destroyBeginCap();
    void destroyEndCap();
    void destroyCaps();
    /// Makes the rings of the caps levels of the mesh, 9 for each cap, and removes the caps.
    void extendToCaps();

    /// As in CurveStack<T>, for curves of the mesh's width; others throw SizeError and change nothing.
    using CurveStack<T>::prepend;
    using CurveStack<T>::append;
    using CurveStack<T>::insert;
    void prepend(const Vertices<T>& curve) override;
    void append(const Vertices<T>& curve) override;
    void insert(unsigned int pos, const Vertices<T>& curve) override;

    /// Cyclic shift of the columns of this mesh with the greatest sum of scalar products with the vertices of the
    /// other, the smallest one on a tie. Costs height times the square of the width. Throws SizeError when dimensions
    /// differ and TypeError when a mesh is open.
    unsigned int findMatch(const QuadMesh& mesh) const;
    /// Turns all levels, those of the caps too, by findMatch(), and gives the shift.
    unsigned int match(const QuadMesh& mesh);

    bool hasVertexColors() const { return __vertexColors != nullptr; }
    QuadMesh<int>& getVertexColors() { return *__vertexColors; }
    const QuadMesh<int>& getVertexColors() const { return *__vertexColors; }
    /// Takes ownership of the colours: a mesh of the same dimensions whose vertices hold red, green and blue from 0 to
    /// 255. Null removes the colours. With other dimensions throws SizeError: the argument stays the caller's and the
    /// mesh has no colours any more.
    void setVertexColors(QuadMesh<int>* colors);

    /// Colours for values given by level (row) and vertex (column): the range from the smallest to the largest value is
    /// spread over the 256 entries of the colour map (any class with Colormap's getSize(), getRed(), getGreen() and
    /// getBlue()). Throws SizeError when the map has fewer entries.
    template <class ColorTable>
    static QuadMesh<int> buildVertexColors(const Matrix<T>& values, const ColorTable& colormap) {
        return __buildVertexColors(values, static_cast<int>(colormap.getSize()), colormap.getRed(), colormap.getGreen(),
                                   colormap.getBlue());
    }

    /// Mean over the meshes of the squared distance between corresponding vertices of mean and mesh: one row for each
    /// level, one column for each vertex, in squared coordinate units. All zero without meshes. Throws SizeError when
    /// dimensions differ.
    static Matrix<T> varianceMap(const QuadMesh& mean, const std::vector<const QuadMesh*>& meshes);
    /// Vertex by vertex mean, with caps if all meshes have them; an empty mesh for an empty list.
    static QuadMesh mean(const std::vector<const QuadMesh*>& meshes);

    /// Two triangles for each quadrilateral; vertex c of level r is number r * width + c. Caps take no part, normals
    /// and stars are left out, and the argument changes nothing. Throws UsageError for int.
    TriMesh<T> toTriMesh(bool closed) const;

    /// For each vertex, as (level, position), the closest vertex of the other mesh; space 2.
    QuadMesh closestPointMap(const QuadMesh& mesh) const;

private:
    static QuadMesh<int> __buildVertexColors(const Matrix<T>& values, int size, const unsigned char* red,
                                             const unsigned char* green, const unsigned char* blue);
    std::unique_ptr<QuadMesh> __buildCap(const Curve<T>& boundary) const;
    void __setCap(std::unique_ptr<QuadMesh>& slot, std::unique_ptr<QuadMesh> cap);
    void __combineCap(std::unique_ptr<QuadMesh>& cap, const QuadMesh* other, bool subtract);
    void __insert(unsigned int pos, const Vertices<T>& curve, const char* where);
    void __combine(const Shape<T>& shape, bool subtract, const char* where);
    bool __hasDimensionsOf(const QuadMesh& mesh) const;

    std::unique_ptr<QuadMesh<int>> __vertexColors;
    std::unique_ptr<QuadMesh> __beginCap;
    std::unique_ptr<QuadMesh> __endCap;
};

} // namespace vorlen
