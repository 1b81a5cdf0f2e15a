#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "numerics/matrix.h"
#include "numerics/squarematrix.h"
#include "numerics/vector.h"
#include "numerics/vertexclient.h"
#include "shapes/edgeiterator.h"
#include "shapes/shapetypes.h"
#include "shapes/vertexiterator.h"

namespace vorlen {

template <class T>
class BoundingBox;
template <class T>
class CurveStack;
template <class T>
class ShapeSet;

/// Geometric object: a named set of vertices in a shared VertexServer, with what every geometry has in common.
///
/// Copies share the coordinates until detach(); neither the name nor the extensions follow a copy. Axis 2 is the stack
/// (Z) axis wherever a shape has three dimensions. All walks take the vertices in the order of the vertex iterators,
/// which is also their order in a file.
///
/// Sums over vertices run in double for float shapes, in 64 bits for int. Operations that a shape of int coordinates
/// can answer round or truncate as told with each; those that rest on eigenvalues or singular values raise the
/// TypeError of the matrix classes.
///
/// Pairs of nearest vertices are found with a search tree; the results are those of a comparison of all pairs in order,
/// ties included.
template <class T>
class Shape : public VertexClient<T> {
public:
    /// No server.
    Shape();
    /// A new server with these arguments.
    Shape(int space, int size, int capacity, int growth);
    Shape(const Shape& other);
    ~Shape() override;

    using VertexClient<T>::operator=;
    virtual Shape& operator=(const Shape& other);

    /// A new object of the same class by its copy constructor; it shares the coordinates. The caller owns it.
    virtual Shape* clone() const = 0;

    /// Dimension of the vertices; 0 without a server.
    virtual int getSpace() const;

    virtual int getNumVertices() const = 0;

    /// Number of vertices.
    int getSize() const { return getNumVertices(); }

    virtual ShapeType getShapeType() const = 0;

    /// True for the stacks, whose vertices are located by level and position.
    virtual bool isComposite() const = 0;

    /// The vertex at a locator as the vertex iterators give them; not checked.
    virtual Vector<T>& operator[](const Vector<unsigned int>& locator) = 0;
    virtual const Vector<T>& operator[](const Vector<unsigned int>& locator) const = 0;

    /// Vertex by vertex. Throws UsageError unless type, space and size are the same.
    virtual void operator+=(const Shape& shape);
    virtual void operator-=(const Shape& shape);

    /// Reads the shape from the text of a shape file and returns the type code found there. The shape stays as it was
    /// when the text is short (FileReadError) or malformed (FileFormatError).
    virtual ShapeType read(std::istream& stream) = 0;

    /// Writes the shape file's text. Throws FileWriteError when the stream fails.
    virtual void write(std::ostream& stream) const = 0;

    /// Debug dump.
    virtual void print(const std::string& title, std::ostream& stream) const;

    virtual std::unique_ptr<ConcreteVertexIterator<T>> vertexIterator();
    virtual std::unique_ptr<ConcreteVertexIterator<T>> vertexIterator() const;
    virtual std::unique_ptr<ConcreteEdgeIterator<T>> edgeIterator();
    virtual std::unique_ptr<ConcreteEdgeIterator<T>> edgeIterator() const;

    void setName(const std::string& name) { __name = name; }
    const std::string& getName() const { return __name; }

    /// Whether shapes are attached that a ShapeTransform carries along.
    bool hasExtensions() const;

    /// The attached shapes, which the set does not own. The set is made when it is first asked for.
    ShapeSet<T>& getExtensions();
    const ShapeSet<T>& getExtensions() const;

    /// Mean of all vertices, truncated for int. Throws SizeError on an empty shape.
    Vector<T> cog() const;

    /// Moves the centre of gravity to the origin.
    void center();

    void translate(const Vector<T>& v);

    /// Multiplies component i of every vertex by component i of scales.
    /// Throws SizeError unless there is one scale for each dimension.
    void scale(const Vector<T>& scales);
    void scale(const T& factor);

    /// Every vertex v becomes m v.
    void multiply(const Matrix<T>& m);

    /// The extensions stay as they are.
    void operator*=(T factor);

    /// Divides the extensions as well.
    void operator/=(T divisor);

    /// All coordinates, vertex after vertex.
    Vector<T> toVector() const;

    /// The reverse of toVector(). Throws UsageError on another size.
    void fromVector(const Vector<T>& coordinates);

    /// Squared distance between vertices of equal rank.
    /// Throws ValueError when shape is this one, SizeError on another size.
    Vector<T> squareDistances(const Shape& shape) const;

    /// Root of the mean of squareDistances(); truncated for int.
    T rmsDistance(const Shape& shape) const;

    /// For each vertex the squared distance to the nearest vertex of the other shape, the largest value of T when it
    /// has none. Throws ValueError when shape is this one.
    Vector<T> squareNearestNeighborDistances(const Shape& shape) const;

    /// Roots of the same. Throws UsageError for int.
    Vector<T> nearestNeighborDistances(const Shape& shape) const;

    /// For each vertex the squared distance to the nearest other vertex of this shape; (0) for a single vertex.
    Vector<T> squareNearestNeighborDistances() const;

    /// For each vertex the locator of the nearest vertex of the other shape, the first of several; an empty locator
    /// when it has none.
    std::vector<Vector<unsigned int>> nearestNeighbors(const Shape& shape) const;

    /// For each vertex the locator of the nearest other vertex of this shape; an empty locator for a single vertex.
    std::vector<Vector<unsigned int>> nearestNeighbors() const;

    /// Mean and largest norm of the vertices seen as vectors; both 0 for an empty shape, truncated for int.
    void stats(T& mean, T& max) const;

    /// Scatter matrix, getSpace() square: element (i, j) is the sum of (v_i - c_i)(v_j - c_j), not divided by the
    /// number of vertices. All zero for an empty shape, whose cog is then null.
    SquareMatrix<T> inertia(Vector<T>& cog) const;
    SquareMatrix<T> inertia() const;

    /// Principal-axes transform: x goes to m (x + t), with the axes in the rows of m, the longest first.
    void computePAT(Vector<T>& t, SquareMatrix<T>& m) const;
    void applyPAT();

    /// Eigenvectors, in columns, of the inertia divided by the number of vertices, by descending eigenvalue.
    /// Throws SizeError on an empty shape.
    SquareMatrix<T> principalAxes(Vector<T>& eigenvalues) const;
    SquareMatrix<T> principalAxes() const;

    /// Smallest and largest of each component; null vectors for an empty shape.
    BoundingBox<T> boundingBox() const;

    /// Least-squares rigid registration: the proper rotation r and the translation t for which r x + t fits the
    /// vertices of the target (Umeyama, IEEE PAMI 13, 1991). Vertices of equal rank correspond, or vertex i of this
    /// shape and the target's vertex at correspondences[i]; the target's centre of gravity is that of all its vertices.
    ///
    /// Where the best orthogonal map is a reflection, the axis of the smallest singular value turns round. The
    /// decomposition runs in double for float shapes.
    /// Throws SizeError when vertices or correspondences are missing, TypeError for int.
    void computeLSRegistration(Vector<T>& t, SquareMatrix<T>& r, const Shape& target) const;
    void computeLSRegistration(Vector<T>& t, SquareMatrix<T>& r, const Shape& target,
                               const std::vector<Vector<unsigned int>>& correspondences) const;

    /// Reads the shape from a file. Throws FileReadError when it cannot be opened or is short, FileFormatError when it
    /// is malformed, with the file's name.
    void load(const std::string& file);

    /// Writes the shape to a file, which gets the extension of its type where it lacks it. The file takes the place of
    /// an old one only when it is complete and on disk.
    /// Throws FileWriteError when it cannot be written, or when it exists and overwrite is false.
    void save(const std::string& file, bool overwrite) const;

    /// Builds the shape that a file holds, named by the file's base name. The caller owns it.
    /// Throws FileReadError, FileFormatError.
    static Shape* loadFile(const std::string& file);

    /// Writes a table without header: for each vertex its coordinates and the differences to the vertex of equal rank
    /// of target, each followed by a tab.
    /// Throws SizeError when space or size differ, FileWriteError as save().
    void saveDeformations(const Shape& target, const std::string& file, bool overwrite) const;

    /// One open level for each vertex: this vertex, then the target's of equal rank.
    /// Throws SizeError when space or size differ.
    CurveStack<T> deformations(const Shape& target) const;

private:
    template <class Operation>
    void combine(const Shape& shape, const char* where, const char* what, Operation operation);
    void computeLSRegistration(Vector<T>& t, SquareMatrix<T>& r, const Shape& target,
                               const std::vector<Vector<unsigned int>>* correspondences) const;

    mutable std::unique_ptr<ShapeSet<T>> __extensions;
    std::string __name;
};

} // namespace vorlen
