#include "shapes/shape.h"

#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <type_traits>

#include "files/fileinfo.h"
#include "files/safestream.h"
#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/curve.h"
#include "shapes/curvestack.h"
#include "shapes/nearestsearch.h"
#include "shapes/quadmesh.h"
#include "shapes/shapearithmetic.h"
#include "shapes/shapeset.h"
#include "shapes/shapewriter.h"
#include "shapes/trimesh.h"
#include "shapes/vertexstack.h"

namespace vorlen {

namespace {

const char* const extensionOfType[] = {"cv", "cv", "cs", "cs", "qm", "qm", "vx", "vs", "tm"};

void checkDimension(int size, int space, const char* where) {
    if (size != space)
        throw SizeError(where, "Incompatible vector dimensions");
}

template <class T>
std::vector<Vector<unsigned int>> locatorsOf(const Shape<T>& shape) {
    std::vector<Vector<unsigned int>> locators;
    locators.reserve(std::size_t(shape.getSize()));
    for (ConstVertexIterator<T> it(shape); it.current(); ++it)
        locators.push_back(it.locator());
    return locators;
}

/// Makes the text by the given writer and saves it. A file that takes no text is reported by the writer, as any stream
/// is that has failed.
template <class Write>
void saveText(const std::string& file, const std::string& where, Write write) {
    try {
        if (!saveStreamed(file, write)) {
            std::ostringstream closed;
            closed.setstate(std::ios::badbit);
            write(closed);
        }
    } catch (FileError& error) {
        error.setFile(file);
        error.addWhere(where);
        throw;
    }
}

template <class T>
T squareToCoordinate(typename NearestSearch<T>::Distance distance) {
    if constexpr (std::is_integral_v<T>)
        return toCoordinate<T>(distance);
    else
        return distance;
}

template <class T>
std::vector<WideCoordinate<T>> wideCog(const Shape<T>& shape) {
    const char* where = "Vector<T> Shape<T>::cog() const";
    const int n = shape.getSize();
    if (n == 0)
        throw SizeError(where, "This shape contains no vertex");
    const int space = shape.getSpace();
    std::vector<WideCoordinate<T>> mean(std::size_t(space), 0);
    for (ConstVertexIterator<T> it(shape); it.current(); ++it) {
        const Vector<T>& v = *it.current();
        checkDimension(v.getSize(), space, where);
        for (int k = 0; k < space; ++k)
            mean[k] += v[k];
    }
    for (WideCoordinate<T>& x : mean)
        x /= n;
    return mean;
}

void requireOrdinary(const std::string& file, const char* where) {
    if (FileInfo::isSpecial(file))
        throw FileReadError(where, "Not an ordinary file", file);
}

} // namespace

// ---- construction and the virtual base

template <class T>
Shape<T>::Shape() = default;

template <class T>
Shape<T>::Shape(int space, int size, int capacity, int growth) : VertexClient<T>(space, size, capacity, growth) {
}

template <class T>
Shape<T>::Shape(const Shape& other) : VertexClient<T>(other) {
}

template <class T>
Shape<T>::~Shape() = default;

template <class T>
Shape<T>& Shape<T>::operator=(const Shape& other) {
    this->assign(other);
    return *this;
}

template <class T>
int Shape<T>::getSpace() const {
    return this->getServer() ? this->getServer()->getSpace() : 0;
}

template <class T>
template <class Operation>
void Shape<T>::combine(const Shape& shape, const char* where, const char* what, Operation operation) {
    if (getShapeType() != shape.getShapeType() || getSpace() != shape.getSpace() || getSize() != shape.getSize())
        throw UsageError(where, what);
    ConstVertexIterator<T> other(shape);
    for (VertexIterator<T> it(*this); it.current(); ++it, ++other)
        operation(*it.current(), *other.current());
}

template <class T>
void Shape<T>::operator+=(const Shape& shape) {
    combine(
        shape, "void Shape<T>::operator+=(const Shape&)", "Shapes are not compatible for addition",
        [](Vector<T>& a, const Vector<T>& b) { a += b; });
}

template <class T>
void Shape<T>::operator-=(const Shape& shape) {
    // One check serves both operations, and tells it in the same words.
    combine(shape, "void Shape<T>::operator+=(const Shape&)", "Shapes are not compatible for addition",
            [](Vector<T>& a, const Vector<T>& b) { a -= b; });
}

template <class T>
void Shape<T>::print(const std::string& title, std::ostream& stream) const {
    if (!title.empty())
        stream << title << '\n';
    stream << "Shape: " << __name << '\n';
    VertexClient<T>::print("", stream);
}

template <class T>
std::unique_ptr<ConcreteVertexIterator<T>> Shape<T>::vertexIterator() {
    return std::make_unique<ConcreteVertexIterator<T>>();
}

template <class T>
std::unique_ptr<ConcreteVertexIterator<T>> Shape<T>::vertexIterator() const {
    return std::make_unique<ConcreteVertexIterator<T>>();
}

template <class T>
std::unique_ptr<ConcreteEdgeIterator<T>> Shape<T>::edgeIterator() {
    return std::make_unique<ConcreteEdgeIterator<T>>();
}

template <class T>
std::unique_ptr<ConcreteEdgeIterator<T>> Shape<T>::edgeIterator() const {
    return std::make_unique<ConcreteEdgeIterator<T>>();
}

// ---- extensions

template <class T>
bool Shape<T>::hasExtensions() const {
    return __extensions && __extensions->getSize() > 0;
}

template <class T>
ShapeSet<T>& Shape<T>::getExtensions() {
    if (!__extensions)
        __extensions = std::make_unique<ShapeSet<T>>();
    return *__extensions;
}

template <class T>
const ShapeSet<T>& Shape<T>::getExtensions() const {
    return const_cast<Shape*>(this)->getExtensions();
}

// ---- moving

template <class T>
Vector<T> Shape<T>::cog() const {
    const std::vector<WideCoordinate<T>> wide = wideCog(*this);
    Vector<T> mean(getSpace());
    for (int k = 0; k < getSpace(); ++k)
        mean[k] = toCoordinate<T>(wide[k]);
    return mean;
}

template <class T>
void Shape<T>::center() {
    translate(-cog());
}

template <class T>
void Shape<T>::translate(const Vector<T>& v) {
    for (VertexIterator<T> it(*this); it.current(); ++it)
        *it.current() += v;
}

template <class T>
void Shape<T>::scale(const Vector<T>& scales) {
    if (scales.getSize() != getSpace())
        throw SizeError("void Shape<T>::scale(const Vector<T>&)", "Incorrect number of scales");
    for (VertexIterator<T> it(*this); it.current(); ++it) {
        Vector<T>& v = *it.current();
        checkDimension(v.getSize(), scales.getSize(), "void Shape<T>::scale(const Vector<T>&)");
        for (int k = 0; k < v.getSize(); ++k)
            v[k] *= scales[k];
    }
}

template <class T>
void Shape<T>::scale(const T& factor) {
    Vector<T> scales(getSpace());
    scales.fill(factor);
    scale(scales);
}

template <class T>
void Shape<T>::multiply(const Matrix<T>& m) {
    if (getSize() > 0 && (m.getSize(1) != getSpace() || m.getSize(2) != getSpace()))
        throw SizeError("void Shape<T>::multiply(const Matrix<T>&)", "Incompatible matrix dimensions");
    for (VertexIterator<T> it(*this); it.current(); ++it)
        *it.current() = m * *it.current();
}

template <class T>
void Shape<T>::operator*=(T factor) {
    for (VertexIterator<T> it(*this); it.current(); ++it)
        *it.current() *= factor;
}

template <class T>
void Shape<T>::operator/=(T divisor) {
    for (VertexIterator<T> it(*this); it.current(); ++it)
        *it.current() /= divisor;
    if (__extensions) {
        for (int i = 0; i < __extensions->getSize(); ++i)
            if (Shape* shape = (*__extensions)[i])
                *shape /= divisor;
    }
}

template <class T>
Vector<T> Shape<T>::toVector() const {
    const int space = getSpace();
    Vector<T> coordinates(getSize() * space);
    T* out = coordinates.data();
    for (ConstVertexIterator<T> it(*this); it.current(); ++it) {
        const Vector<T>& v = *it.current();
        checkDimension(v.getSize(), space, "Vector<T> Shape<T>::toVector() const");
        out = std::copy_n(v.data(), space, out);
    }
    return coordinates;
}

template <class T>
void Shape<T>::fromVector(const Vector<T>& coordinates) {
    const int space = getSpace();
    if (coordinates.getSize() != getSize() * space) {
        throw UsageError("void Shape<T>::fromVector(const Vector<T>&)",
                         "Size mismatch between this shape and the argument vector");
    }
    const T* in = coordinates.data();
    for (VertexIterator<T> it(*this); it.current(); ++it, in += space) {
        checkDimension(it.current()->getSize(), space, "void Shape<T>::fromVector(const Vector<T>&)");
        std::copy_n(in, space, it.current()->data());
    }
}

// ---- distances

template <class T>
Vector<T> Shape<T>::squareDistances(const Shape& shape) const {
    const char* where = "Vector<T> Shape<T>::squareDistances(const Shape<T>&) const";
    if (&shape == this)
        throw ValueError(where, "Argument shape is equal to this");
    if (shape.getSize() != getSize())
        throw SizeError(where, "The two shapes have distinct sizes");
    Vector<T> distances(getSize());
    int rank = 0;
    ConstVertexIterator<T> other(shape);
    for (ConstVertexIterator<T> it(*this); it.current(); ++it, ++other)
        distances[rank++] = it.current()->sdistance(*other.current());
    return distances;
}

template <class T>
T Shape<T>::rmsDistance(const Shape& shape) const {
    const Vector<T> squares = squareDistances(shape);
    if (squares.getSize() == 0)
        throw SizeError("T Shape<T>::rmsDistance(const Shape&) const", "This shape contains no vertex");
    WideCoordinate<T> sum = 0;
    for (const T square : squares)
        sum += square;
    return toCoordinate<T>(std::sqrt(sum / squares.getSize()));
}

template <class T>
Vector<T> Shape<T>::squareNearestNeighborDistances(const Shape& shape) const {
    const char* where = "Vector<T> Shape<T>::squareNearestNeighborDistances(const Shape<T>&) const";
    if (&shape == this)
        throw ValueError(where, "Argument s is equal to this");
    Vector<T> distances(getSize());
    distances.fill(std::numeric_limits<T>::max());
    if (shape.getSize() > 0 && getSize() > 0) {
        const int space = shape.getSpace();
        const Vector<T> coordinates = shape.toVector();
        const NearestSearch<T> search(coordinates.data(), shape.getSize(), space);
        int rank = 0;
        for (ConstVertexIterator<T> it(*this); it.current(); ++it) {
            checkDimension(it.current()->getSize(), space, where);
            typename NearestSearch<T>::Distance distance;
            search.nearest(it.current()->data(), -1, distance);
            distances[rank++] = squareToCoordinate<T>(distance);
        }
    }
    return distances;
}

template <class T>
Vector<T> Shape<T>::nearestNeighborDistances(const Shape& shape) const {
    if constexpr (std::is_integral_v<T>) {
        (void)shape;
        throw UsageError("Vector<int> Shape<int>::nearestNeighborDistances(const Shape&) const",
                         "Method not available for type 'int'");
    } else {
        Vector<T> distances = squareNearestNeighborDistances(shape);
        for (T& distance : distances)
            distance = std::sqrt(distance);
        return distances;
    }
}

template <class T>
Vector<T> Shape<T>::squareNearestNeighborDistances() const {
    const int n = getSize();
    Vector<T> distances(n);
    if (n == 1) {
        distances[0] = 0;
    } else if (n > 1) {
        const int space = getSpace();
        const Vector<T> coordinates = toVector();
        const NearestSearch<T> search(coordinates.data(), n, space);
        for (int i = 0; i < n; ++i) {
            typename NearestSearch<T>::Distance distance;
            search.nearest(coordinates.data() + std::size_t(i) * space, i, distance);
            distances[i] = squareToCoordinate<T>(distance);
        }
    }
    return distances;
}

template <class T>
std::vector<Vector<unsigned int>> Shape<T>::nearestNeighbors(const Shape& shape) const {
    if (&shape == this)
        return nearestNeighbors();
    std::vector<Vector<unsigned int>> neighbors(getSize());
    if (shape.getSize() == 0 || neighbors.empty())
        return neighbors;
    const int space = shape.getSpace();
    const std::vector<Vector<unsigned int>> locators = locatorsOf(shape);
    const Vector<T> coordinates = shape.toVector();
    const NearestSearch<T> search(coordinates.data(), shape.getSize(), space);
    int rank = 0;
    for (ConstVertexIterator<T> it(*this); it.current(); ++it) {
        checkDimension(it.current()->getSize(), space,
                       "vector<Vectorui> Shape<T>::nearestNeighbors(const Shape&) const");
        typename NearestSearch<T>::Distance distance;
        neighbors[rank++] = locators[search.nearest(it.current()->data(), -1, distance)];
    }
    return neighbors;
}

template <class T>
std::vector<Vector<unsigned int>> Shape<T>::nearestNeighbors() const {
    const int n = getSize();
    std::vector<Vector<unsigned int>> neighbors(n);
    if (n < 2)
        return neighbors;
    const int space = getSpace();
    const std::vector<Vector<unsigned int>> locators = locatorsOf(*this);
    const Vector<T> coordinates = toVector();
    const NearestSearch<T> search(coordinates.data(), n, space);
    for (int i = 0; i < n; ++i) {
        typename NearestSearch<T>::Distance distance;
        neighbors[i] = locators[search.nearest(coordinates.data() + std::size_t(i) * space, i, distance)];
    }
    return neighbors;
}

// ---- moments and axes

template <class T>
void Shape<T>::stats(T& mean, T& max) const {
    WideCoordinate<T> sum = 0;
    WideCoordinate<T> greatest = 0;
    for (ConstVertexIterator<T> it(*this); it.current(); ++it) {
        WideCoordinate<T> squares = 0;
        for (const T x : *it.current())
            squares += WideCoordinate<T>(x) * WideCoordinate<T>(x);
        const WideCoordinate<T> norm = std::sqrt(squares);
        sum += norm;
        greatest = std::max(greatest, norm);
    }
    mean = getSize() > 0 ? toCoordinate<T>(sum / getSize()) : T(0);
    max = toCoordinate<T>(greatest);
}

template <class T>
SquareMatrix<T> Shape<T>::inertia(Vector<T>& cog) const {
    using Wide = WideCoordinate<T>;
    const int space = getSpace();
    SquareMatrix<T> scatter(space);
    scatter.setZeros();
    cog.setSize(space);
    cog.setZeros();
    const int n = getSize();
    if (n == 0)
        return scatter;
    const Vector<T> coordinates = toVector();
    std::vector<Wide> mean(std::size_t(space), 0);
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < space; ++k)
            mean[k] += coordinates[i * space + k];
    for (int k = 0; k < space; ++k) {
        mean[k] /= n;
        cog[k] = toCoordinate<T>(mean[k]);
    }
    std::vector<Wide> sums(std::size_t(space) * space, 0);
    std::vector<Wide> difference(space);
    for (int i = 0; i < n; ++i) {
        for (int k = 0; k < space; ++k)
            difference[k] = Wide(coordinates[i * space + k]) - mean[k];
        for (int k = 0; k < space; ++k)
            for (int l = k; l < space; ++l)
                sums[k * space + l] += difference[k] * difference[l];
    }
    for (int k = 0; k < space; ++k)
        for (int l = k; l < space; ++l)
            scatter[k][l] = scatter[l][k] = toCoordinate<T>(sums[k * space + l]);
    return scatter;
}

template <class T>
SquareMatrix<T> Shape<T>::inertia() const {
    Vector<T> centre;
    return inertia(centre);
}

template <class T>
void Shape<T>::computePAT(Vector<T>& t, SquareMatrix<T>& m) const {
    Vector<T> centre;
    Vector<T> values;
    SquareMatrix<T> vectors;
    inertia(centre).eigenJacobi(values, vectors, true);
    t = -centre;
    m = vectors.transpose();
}

template <class T>
void Shape<T>::applyPAT() {
    Vector<T> t;
    SquareMatrix<T> m;
    computePAT(t, m);
    translate(t);
    multiply(m);
}

template <class T>
SquareMatrix<T> Shape<T>::principalAxes(Vector<T>& eigenvalues) const {
    if (getSize() == 0)
        throw SizeError("SquareMatrix<T> Shape<T>::principalAxes(Vector<T>&) const", "This shape contains no vertex");
    SquareMatrix<T> vectors;
    SquareMatrix<T> covariance = inertia();
    covariance /= T(getSize());
    covariance.eigenJacobi(eigenvalues, vectors, true);
    return vectors;
}

template <class T>
SquareMatrix<T> Shape<T>::principalAxes() const {
    Vector<T> values;
    return principalAxes(values);
}

template <class T>
BoundingBox<T> Shape<T>::boundingBox() const {
    const int space = getSpace();
    Vector<T> low(space);
    Vector<T> high(space);
    low.setZeros();
    high.setZeros();
    bool first = true;
    for (ConstVertexIterator<T> it(*this); it.current(); ++it) {
        const Vector<T>& v = *it.current();
        checkDimension(v.getSize(), space, "BoundingBox<T> Shape<T>::boundingBox() const");
        for (int k = 0; k < space; ++k) {
            low[k] = first || v[k] < low[k] ? v[k] : low[k];
            high[k] = first || v[k] > high[k] ? v[k] : high[k];
        }
        first = false;
    }
    return BoundingBox<T>(low, high);
}

// ---- registration

template <class T>
void Shape<T>::computeLSRegistration(Vector<T>& t, SquareMatrix<T>& r, const Shape& target) const {
    computeLSRegistration(t, r, target, nullptr);
}

template <class T>
void Shape<T>::computeLSRegistration(Vector<T>& t, SquareMatrix<T>& r, const Shape& target,
                                     const std::vector<Vector<unsigned int>>& correspondences) const {
    computeLSRegistration(t, r, target, &correspondences);
}

template <class T>
void Shape<T>::computeLSRegistration(Vector<T>& t, SquareMatrix<T>& r, const Shape& target,
                                     const std::vector<Vector<unsigned int>>* correspondences) const {
    using Wide = WideCoordinate<T>;
    const char* where = "void Shape<T>::computeLSRegistration(...) const";
    const int space = getSpace();
    const int partners = correspondences ? int(correspondences->size()) : target.getSize();
    if (partners != getSize())
        throw SizeError(where, "The two shapes have distinct sizes");
    checkDimension(target.getSpace(), space, where);
    const std::vector<Wide> cx = wideCog(*this);
    const std::vector<Wide> cy = wideCog(target);
    SquareMatrix<Wide> covariance(space);
    covariance.setZeros();
    int rank = 0;
    ConstVertexIterator<T> equalRank(target);
    for (ConstVertexIterator<T> it(*this); it.current(); ++it) {
        const Vector<T>& x = *it.current();
        const Vector<T>& y = correspondences ? target[(*correspondences)[rank]] : *equalRank.current();
        checkDimension(x.getSize(), space, where);
        checkDimension(y.getSize(), space, where);
        for (int k = 0; k < space; ++k) {
            const Wide dx = Wide(x[k]) - cx[k];
            for (int l = 0; l < space; ++l)
                covariance[k][l] += dx * (Wide(y[l]) - cy[l]);
        }
        ++rank;
        ++equalRank;
    }
    if constexpr (std::is_integral_v<T>)
        SquareMatrix<T>(space).svd(nullptr, nullptr); // throws: there is no rotation in whole numbers
    // u C v is the diagonal of the singular values, so v u maximises the trace of r C. All of it in the wide type: a
    // rotation that was rounded on the way would not be one, and registrations chain many of them.
    SquareMatrix<Wide> u;
    SquareMatrix<Wide> v;
    const Vector<Wide> values = covariance.svd(&u, &v);
    SquareMatrix<Wide> rotation = v * u;
    if (rotation.det() < 0) {
        // The proper rotation nearest to a reflection gives up the least singular value.
        int least = space - 1;
        for (int k = space - 2; k >= 0; --k)
            if (values[k] < values[least])
                least = k;
        u[least] *= Wide(-1);
        rotation = v * u;
    }
    r.setSize(space);
    t.setSize(space);
    for (int k = 0; k < space; ++k) {
        Wide moved = 0;
        for (int l = 0; l < space; ++l) {
            r[k][l] = toCoordinate<T>(rotation[k][l]);
            moved += Wide(r[k][l]) * cx[l]; // with the rotation that the caller gets, so that the centres meet
        }
        t[k] = toCoordinate<T>(cy[k] - moved);
    }
}

// ---- files

template <class T>
void Shape<T>::load(const std::string& file) {
    const char* where = "Shape<T>::load(const string&)";
    requireOrdinary(file, where);
    std::ifstream stream(file, std::ios::in | std::ios::binary);
    if (!stream)
        throw FileReadError(where, "Cannot open file for reading", file);
    try {
        read(stream);
    } catch (FileError& error) {
        error.setFile(file);
        throw;
    }
}

template <class T>
void Shape<T>::save(const std::string& file, bool overwrite) const {
    const std::string extension = extensionOfType[getShapeType()];
    const std::string name = FileInfo::suffixName(file) == extension ? file : file + "." + extension;
    const char* where = "void Shape::save(const string&,const bool) const";
    if (!overwrite)
        FileInfo::requireFree(name, where);
    saveText(name, where, [this](std::ostream& stream) { write(stream); });
}

template <class T>
Shape<T>* Shape<T>::loadFile(const std::string& file) {
    const char* where = "Shape<T>* Shape<T>::loadFile(const string&)";
    requireOrdinary(file, where);
    std::ifstream stream(file);
    if (!stream)
        throw FileReadError(where, "Cannot open file for reading", file);
    char mark = 0;
    long long type = 0;
    stream >> mark;
    if (mark != '#')
        throw FileFormatError(where, "Invalid shape description format", file);
    // A text that is no number leaves 0, one beyond all numbers the largest one.
    if (!(stream >> type) && type == 0)
        throw FileFormatError(where, "Invalid shape description format", file);
    stream.close();
    std::unique_ptr<Shape> shape;
    switch (type) {
    case ClosedCurveType:
    case OpenCurveType:
        shape = std::make_unique<Curve<T>>(file);
        break;
    case ClosedCurveStackType:
    case OpenCurveStackType:
        shape = std::make_unique<CurveStack<T>>(file);
        break;
    case ClosedQuadMeshType:
    case OpenQuadMeshType:
        shape = std::make_unique<QuadMesh<T>>(file);
        break;
    case VerticesType:
        shape = std::make_unique<Vertices<T>>(file);
        break;
    case VertexStackType:
        shape = std::make_unique<VertexStack<T>>(file);
        break;
    case TriMeshType:
        shape = std::make_unique<TriMesh<T>>(file);
        break;
    default:
        throw FileFormatError(where, "Unknown shape type", file);
    }
    shape->setName(FileInfo::baseName(file));
    return shape.release(); // told ownership: the caller's
}

template <class T>
void Shape<T>::saveDeformations(const Shape& target, const std::string& file, bool overwrite) const {
    const char* where = "void Shape<T>::saveDeformations(const Shape&,const string&) const";
    if (getSpace() != target.getSpace() || getSize() != target.getSize())
        throw SizeError(where, "Space or size mismatch between shapes");
    if (!overwrite)
        FileInfo::requireFree(file, where, "File " + file + " already exists");
    saveText(file, where, [&](std::ostream& stream) {
        ShapeWriter writer(stream);
        ConstVertexIterator<T> other(target);
        for (ConstVertexIterator<T> it(*this); it.current(); ++it, ++other) {
            const Vector<T>& v = *it.current();
            for (const T x : v) {
                writer.number(x);
                writer.text("\t");
            }
            const Vector<T> difference = *other.current() - v;
            for (const T x : difference) {
                writer.number(x);
                writer.text("\t");
            }
            writer.newLine();
        }
        writer.finish(where);
    });
}

template <class T>
CurveStack<T> Shape<T>::deformations(const Shape& target) const {
    if (getSpace() != target.getSpace() || getSize() != target.getSize()) {
        throw SizeError("void Shape<T>::saveDeformations(const Shape<T>&,const string&) const",
                        "Space or size mismatch between shapes");
    }
    CurveStack<T> stack(getSpace(), getSize(), 2, 0, 0, true);
    int level = 0;
    ConstVertexIterator<T> other(target);
    for (ConstVertexIterator<T> it(*this); it.current(); ++it, ++other, ++level) {
        stack[level][0] = *it.current();
        stack[level][1] = *other.current();
    }
    return stack;
}

template class Shape<int>;
template class Shape<float>;
template class Shape<double>;
template class Shape<long double>;

} // namespace vorlen
