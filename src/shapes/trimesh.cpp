#include "shapes/trimesh.h"

#include "numerics/elementtype.h"
#include "shapes/boundingbox.h"
#include "shapes/shapearithmetic.h"
#include "shapes/shapereader.h"
#include "shapes/shapewriter.h"
#include "shapes/trianglegeometry.h"
#include "shapes/trimeshinterior.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorlen {

namespace {

/// Rays that are tried one triangle after the other before the triangles are put in order for more.
constexpr int maxPlainRays = 3;

template <class T>
using Wide = WideCoordinate<T>;

Vector<unsigned int> triangleOf(unsigned int a, unsigned int b, unsigned int c) {
    Vector<unsigned int> triangle(3);
    triangle[0] = a;
    triangle[1] = b;
    triangle[2] = c;
    return triangle;
}

unsigned int largestOf(const Vector<unsigned int>& triangle) {
    return std::max({triangle[0], triangle[1], triangle[2]});
}

/// (b - a) x (c - b), formed in wide numbers.
template <class T>
void wideNormal(const T* a, const T* b, const T* c, Wide<T>* out) {
    const Wide<T> p[3] = {Wide<T>(a[0]), Wide<T>(a[1]), Wide<T>(a[2])};
    const Wide<T> q[3] = {Wide<T>(b[0]), Wide<T>(b[1]), Wide<T>(b[2])};
    const Wide<T> r[3] = {Wide<T>(c[0]), Wide<T>(c[1]), Wide<T>(c[2])};
    TriangleGeometry::normal(p, q, r, out);
}

} // namespace

template <class T>
TriMesh<T>::TriMesh() = default;

template <class T>
TriMesh<T>::TriMesh(const Vertices<T>& vertices) : Vertices<T>(vertices) {
}

template <class T>
TriMesh<T>::TriMesh(int space, int size, int capacity, int growth) : Vertices<T>(space, size, capacity, growth) {
}

template <class T>
TriMesh<T>::TriMesh(const std::string& filename) {
    this->load(filename);
}

template <class T>
TriMesh<T>::TriMesh(const TriMesh& mesh) = default;

template <class T>
TriMesh<T>::~TriMesh() = default;

template <class T>
TriMesh<T>& TriMesh<T>::operator=(const TriMesh& mesh) {
    if (this != &mesh) {
        Vertices<T>::operator=(mesh);
        __triangles = mesh.__triangles;
        __normals = mesh.__normals;
        __stars = mesh.__stars;
    }
    return *this;
}

template <class T>
ShapeType TriMesh<T>::getShapeType() const {
    return TriMeshType;
}

template <class T>
void TriMesh<T>::__checkTriangles(const char* where) const {
    const unsigned int numVertices = this->getNumVertices();
    for (const Vector<unsigned int>& triangle : __triangles)
        if (largestOf(triangle) >= numVertices)
            throw RangeError(where, "A triangle has a vertex that is not there");
}

template <class T>
void TriMesh<T>::__checkSpace(const char* where) const {
    if (!__triangles.empty() && this->getSpace() != 3)
        throw SizeError(where, "The mesh is not of space 3");
}

template <class T>
Triangle<T> TriMesh<T>::triangle(unsigned int i) const {
    const char* where = "Vector< unsigned int > TriMesh<T>::triangle(const unsigned int i)";
    if (i >= __triangles.size())
        throw ValueError(where, "Wrong value for searching a Triangle");
    if (largestOf(__triangles[i]) >= static_cast<unsigned int>(this->getNumVertices()))
        throw RangeError(where, "The triangle has a vertex that is not there");
    return Triangle<T>(*this, int(__triangles[i][0]), int(__triangles[i][1]), int(__triangles[i][2]));
}

template <class T>
void TriMesh<T>::addTriangle(unsigned int a, unsigned int b, unsigned int c) {
    __triangles.push_back(triangleOf(a, b, c));
}

template <class T>
void TriMesh<T>::__buildStars(const std::vector<Vector<unsigned int>>& triangles, const char* where) {
    const std::size_t numVertices = this->getNumVertices();
    for (const Vector<unsigned int>& triangle : triangles) {
        if (triangle.getSize() != 3)
            throw SizeError(where, "A triangle has not three vertices");
        if (largestOf(triangle) >= numVertices)
            throw ValueError(where, "A triangle has a vertex that is not there");
    }
    std::vector<std::vector<unsigned int>> stars(numVertices);
    for (unsigned int number = 0; number < triangles.size(); number++) {
        for (unsigned int vertex : triangles[number]) {
            std::vector<unsigned int>& star = stars[vertex];
            if (star.empty() || star.back() != number)
                star.push_back(number);
        }
    }
    __stars.swap(stars);
}

template <class T>
void TriMesh<T>::setTriangles(const std::vector<Vector<unsigned int>>& triangles) {
    __buildStars(triangles, "void TriMesh<T>::setTriangles(const std::vector<Vector<unsigned int>>&)");
    __triangles = triangles;
}

template <class T>
void TriMesh<T>::buildStars() {
    __buildStars(__triangles, "void TriMesh<T>::buildStars()");
}

/// numbers: ascending. One pass over the triangles and one over the stars, however many triangles go.
template <class T>
void TriMesh<T>::__removeTriangles(const std::vector<unsigned int>& numbers) {
    if (numbers.empty())
        return;
    std::size_t kept = numbers.front();
    std::size_t next = 0;
    for (std::size_t number = numbers.front(); number < __triangles.size(); number++)
        if (next < numbers.size() && numbers[next] == number)
            next++;
        else
            __triangles[kept++] = __triangles[number];
    __triangles.resize(kept);
    for (std::vector<unsigned int>& star : __stars) {
        std::size_t size = 0;
        for (unsigned int number : star) {
            const auto place = std::lower_bound(numbers.begin(), numbers.end(), number);
            if (place == numbers.end() || *place != number)
                star[size++] = number - static_cast<unsigned int>(place - numbers.begin());
        }
        star.resize(size);
    }
}

template <class T>
void TriMesh<T>::removeTriangle(unsigned int i) {
    if (i >= __triangles.size()) {
        throw ValueError("Vector< unsigned int > TriMesh<T>::removeTriangle(unsigned int i)",
                         "Wrong value for removing a Triangle");
    }
    __removeTriangles({i});
}

template <class T>
void TriMesh<T>::remove(unsigned int i) {
    const char* where = "void TriMesh<T>::remove(const unsigned int)";
    if (i >= static_cast<unsigned int>(this->getNumVertices()))
        throw RangeError(where, "There is no such vertex");
    if (!__triangles.empty()) {
        const std::vector<unsigned int> numbers = __star(i, where);
        __removeTriangles(numbers);
    }
    if (int(i) < __normals.getNumVertices())
        __normals.remove(int(i));
    Vertices<T>::remove(int(i));
}

template <class T>
void TriMesh<T>::setNormal(int i, const Vector<T>& normal) {
    __normals[i] = normal;
}

template <class T>
void TriMesh<T>::computeNormals() {
    if constexpr (std::is_same_v<T, int>) {
        raiseNotAvailable<T>("void Vector<#>::normalize()");
    } else {
        const char* where = "void TriMesh<T>::computeNormals()";
        __checkSpace(where);
        __checkTriangles(where);
        const int size = this->getNumVertices();
        Vertices<T> normals(this->getSpace(), size, size, size);
        if (__triangles.empty()) {
            for (int i = 0; i < size; i++)
                normals[i].setZeros();
        } else {
            // In flat arrays, since the triangles reach for their vertices in no order of memory.
            std::vector<T> points(3 * std::size_t(size));
            std::vector<T> sums(points.size(), T(0));
            for (int i = 0; i < size; i++)
                std::copy_n((*this)[i].data(), 3, points.data() + 3 * std::size_t(i));
            for (const Vector<unsigned int>& triangle : __triangles) {
                const unsigned int* corners = triangle.data();
                const T* p[3];
                for (int k = 0; k < 3; k++)
                    p[k] = points.data() + 3 * std::size_t(corners[k]);
                Wide<T> normal[3];
                wideNormal(p[0], p[1], p[2], normal);
                TriangleGeometry::normalize(normal);
                for (int k = 0; k < 3; k++) {
                    T* sum = sums.data() + 3 * std::size_t(corners[k]);
                    for (int n = 0; n < 3; n++)
                        sum[n] += T(normal[n]);
                }
            }
            for (int i = 0; i < size; i++) {
                std::copy_n(sums.data() + 3 * std::size_t(i), 3, normals[i].data());
                normals[i].normalize();
            }
        }
        __normals = normals;
    }
}

template <class T>
void TriMesh<T>::smoothNormals(int passes) {
    const int size = this->getNumVertices();
    if (passes > 0 && int(__stars.size()) < size)
        throw UsageError("void TriMesh<T>::smoothNormals(const int)", "The stars of this mesh have not been built");
    computeNormals();
    if (passes <= 0)
        return;

    // Neighbours of vertex i: from firsts[i] to firsts[i + 1].
    std::vector<unsigned int> all;
    std::vector<std::size_t> firsts(std::size_t(size) + 1, 0);
    all.reserve(6 * std::size_t(size));
    for (int i = 0; i < size; i++) {
        for (unsigned int number : __stars[i]) {
            for (unsigned int vertex : __triangles[number])
                if (vertex != static_cast<unsigned int>(i))
                    all.push_back(vertex);
        }
        std::sort(all.begin() + firsts[i], all.end());
        all.erase(std::unique(all.begin() + firsts[i], all.end()), all.end());
        firsts[i + 1] = all.size();
    }

    for (int pass = 0; pass < passes; pass++) {
        Vertices<T> smoothed = __normals;
        smoothed.detach();
        for (int i = 0; i < size; i++) {
            if (firsts[i] == firsts[i + 1])
                continue;
            Vector<T>& sum = smoothed[i];
            T* x = sum.data();
            for (std::size_t n = firsts[i]; n < firsts[i + 1]; n++) {
                const T* y = __normals[int(all[n])].data();
                for (int k = 0; k < 3; k++)
                    x[k] += y[k];
            }
            if constexpr (!std::is_same_v<T, int>)
                sum.normalize();
        }
        __normals = smoothed;
    }
}

template <class T>
const std::vector<unsigned int>& TriMesh<T>::__star(unsigned int i, const char* where) const {
    if (i >= __stars.size())
        throw UsageError(where, "The star of this vertex has not been built");
    return __stars[i];
}

template <class T>
std::list<unsigned int> TriMesh<T>::star(unsigned int i) const {
    const std::vector<unsigned int>& numbers = __star(i, "std::list<unsigned int> TriMesh<T>::star(...) const");
    return std::list<unsigned int>(numbers.begin(), numbers.end());
}

template <class T>
std::list<unsigned int> TriMesh<T>::neighbours(unsigned int i) const {
    std::vector<unsigned int> vertices;
    for (unsigned int number : __star(i, "std::list<unsigned int> TriMesh<T>::neighbours(...) const")) {
        for (unsigned int vertex : __triangles[number])
            if (vertex != i)
                vertices.push_back(vertex);
    }
    std::sort(vertices.begin(), vertices.end());
    return std::list<unsigned int>(vertices.begin(), std::unique(vertices.begin(), vertices.end()));
}

template <class T>
void TriMesh<T>::setSize(int n, bool sequence) {
    Vertices<T>::setSize(n, sequence);
    __stars.resize(this->getNumVertices());
}

template <class T>
void TriMesh<T>::append(const Vertices<T>& vertices) {
    Vertices<T>::append(vertices);
    __stars.resize(this->getNumVertices());
}

template <class T>
T TriMesh<T>::area() const {
    if constexpr (std::is_same_v<T, int>) {
        raiseNotAvailable<T>("# Vector<#>::norm() const");
    } else {
        const char* where = "T TriMesh<T>::area() const";
        __checkSpace(where);
        __checkTriangles(where);
        Wide<T> sum = 0;
        for (unsigned int i = 0; i < __triangles.size(); i++) {
            Wide<T> normal[3];
            wideNormal(__corner(i, 0), __corner(i, 1), __corner(i, 2), normal);
            sum += std::sqrt(TriangleGeometry::dot(normal, normal));
        }
        return T(sum / 2);
    }
}

template <class T>
T TriMesh<T>::volume() const {
    const char* where = "T TriMesh<T>::volume() const";
    __checkSpace(where);
    __checkTriangles(where);
    if (__triangles.empty())
        return 0;
    const int size = this->getNumVertices();
    Wide<T> center[3] = {0, 0, 0};
    for (int i = 0; i < size; i++)
        for (int k = 0; k < 3; k++)
            center[k] += (*this)[i][k];
    for (Wide<T>& coordinate : center)
        coordinate /= size;
    Wide<T> sum = 0;
    for (unsigned int i = 0; i < __triangles.size(); i++) {
        Wide<T> corners[3][3];
        for (int c = 0; c < 3; c++) {
            const T* corner = __corner(i, c);
            for (int k = 0; k < 3; k++)
                corners[c][k] = corner[k] - center[k];
        }
        const Wide<T>*u = corners[0], *v = corners[1], *w = corners[2];
        sum += u[0] * (v[1] * w[2] - v[2] * w[1]) + u[1] * (v[2] * w[0] - v[0] * w[2]) +
               u[2] * (v[0] * w[1] - v[1] * w[0]);
    }
    return roundToCoordinate<T>(sum / 6);
}

template <class T>
T TriMesh<T>::equivalentRadius() const {
    if (this->getSpace() != 3)
        throw SizeError("T TriMesh<T>::equivalentRadius() const", "The mesh is not of space 3");
    const Wide<T> pi = Wide<T>(3.141592653589793238462643383279502884L);
    return roundToCoordinate<T>(std::cbrt(3 * std::abs(Wide<T>(volume())) / (4 * pi)));
}

template <class T>
T TriMesh<T>::closestPoint(const Vector<T>& p, Vector<T>& out) const {
    if constexpr (std::is_same_v<T, int>) {
        (void)p, (void)out;
        throw UsageError("closestPoint(const Vectori&,Vectori&) const", "Method not available for type 'int'");
    } else {
        const char* where = "T TriMesh<T>::closestPoint(const Vector<T>&,Vector<T>&) const";
        if (this->getNumVertices() == 0)
            throw SizeError(where, "This mesh contains no vertex");
        const int space = this->getSpace();
        if (p.getSize() != space)
            throw SizeError(where, "Incompatible vector dimensions");
        __checkTriangles(where);
        Wide<T> best = 0;
        for (int k = 0; k < space; k++) {
            const Wide<T> d = Wide<T>((*this)[0][k]) - Wide<T>(p[k]);
            best += d * d;
        }
        Wide<T> bestS = 0, bestT = 0;
        int bestTriangle = -1;
        for (unsigned int i = 0; i < __triangles.size(); i++) {
            Wide<T> s, t;
            const Wide<T> squared = TriangleGeometry::closestParameters(__corner(i, 0), __corner(i, 1), __corner(i, 2),
                                                                        p.data(), space, s, t);
            if (squared < best) {
                best = squared;
                bestS = s;
                bestT = t;
                bestTriangle = int(i);
            }
        }
        Vector<T> closest = (*this)[0];
        if (bestTriangle >= 0) {
            const T* a = __corner(bestTriangle, 0);
            const T* b = __corner(bestTriangle, 1);
            const T* c = __corner(bestTriangle, 2);
            for (int k = 0; k < space; k++) {
                closest[k] =
                    T(a[k] + bestS * (Wide<T>(b[k]) - Wide<T>(a[k])) + bestT * (Wide<T>(c[k]) - Wide<T>(a[k])));
            }
        }
        out = closest;
        return T(std::sqrt(best));
    }
}

template <class T>
bool TriMesh<T>::contains(const Vector<T>& p) const {
    if constexpr (std::is_same_v<T, int>) {
        (void)p;
        throw UsageError("bool TriMesh<int>::contains(const Vector<int>&) const",
                         "Method not available for type 'int'");
    } else {
        const char* where = "bool TriMesh<T>::contains(const Vector<T>&) const";
        __checkSpace(where);
        __checkTriangles(where);
        if (__triangles.empty())
            return false;
        const BoundingBox<T> box = this->boundingBox();
        if (!box.contains(p))
            return false;
        const Vector<T>& corner = box.getVertex1();
        const T unit = box.diagonal() / 8;
        const unsigned int numTriangles = getNumTriangles();
        for (int ray = 1; ray <= maxPlainRays; ray++) {
            const T q[3] = {corner[0] - unit * T(ray), corner[1] - unit * T(2 * ray - 1),
                            corner[2] - unit * T(3 * ray - 2)};
            bool odd = false;
            unsigned int i = 0;
            for (; i < numTriangles; i++) {
                const T *a = __corner(i, 0), *b = __corner(i, 1), *c = __corner(i, 2);
                // The ray goes down along all axes: p is the upper corner of its box, q the lower one.
                bool overlaps = true;
                for (int k = 0; k < 3 && overlaps; k++) {
                    overlaps =
                        !((a[k] > p[k] && b[k] > p[k] && c[k] > p[k]) || (a[k] < q[k] && b[k] < q[k] && c[k] < q[k]));
                }
                if (!overlaps)
                    continue;
                const TriangleGeometry::Facet<T> facet = TriangleGeometry::makeFacet<T>(a, b, c, nullptr);
                if (TriangleGeometry::isOn(facet, p.data()))
                    return true;
                T point[3];
                const int code = TriangleGeometry::intersects(facet, p.data(), q, point);
                if (code == 2)
                    break;
                odd ^= code == 1;
            }
            if (i == numTriangles)
                return odd;
        }
        return TriMeshInterior<T>(*this).contains(p);
    }
}

template <class T>
ShapeType TriMesh<T>::read(std::istream& stream) {
    const char* where = "ShapeType TriMesh<T>::read(istream&)";
    ShapeReader reader(stream, where);
    TriMesh mesh;
    const ShapeType type = mesh.readVertices(reader);
    const int size = mesh.getNumVertices();
    const int space = mesh.getSpace();

    const int numTriangles = reader.count(3);
    std::vector<Vector<unsigned int>> triangles;
    triangles.reserve(numTriangles);
    for (int i = 0; i < numTriangles; i++) {
        Vector<unsigned int> triangle(3);
        for (unsigned int& vertex : triangle) {
            const int number = reader.number<int>();
            if (number < 0 || number >= size)
                throw FileFormatError(where, "Triangle with an unknown vertex");
            vertex = static_cast<unsigned int>(number);
        }
        triangles.push_back(triangle);
    }
    mesh.setTriangles(triangles);

    const int hasNormalRecords = reader.record();
    if (hasNormalRecords != 0 && hasNormalRecords != 1)
        throw FileFormatError(where, "The record of the normals is neither 0 nor 1");
    if (hasNormalRecords == 1) {
        Vertices<T> normals(space, size, size, size);
        for (int i = 0; i < size; i++) {
            for (T& component : normals[i])
                component = reader.number<T>();
            if constexpr (!std::is_same_v<T, int>) {
                // One that was written of norm 1 comes back to its last digit.
                const T squares = normals[i].scalarProduct(normals[i]);
                if (!(std::abs(squares - 1) <= 8 * std::numeric_limits<T>::epsilon()))
                    normals[i].normalize();
            }
        }
        mesh.__normals = normals;
    } else if constexpr (!std::is_same_v<T, int>) {
        if (space == 3)
            mesh.computeNormals();
    }
    reader.finish();
    *this = mesh;
    return type;
}

template <class T>
void TriMesh<T>::write(std::ostream& stream) const {
    const int size = this->getNumVertices();
    const int space = this->getSpace();
    ShapeWriter writer(stream);
    writer.record(getShapeType());
    writer.record(space);
    writer.record(size);
    const auto writeRow = [&](const Vector<T>& row) {
        for (const T& coordinate : row) {
            writer.number(coordinate);
            writer.blank();
        }
        writer.newLine();
    };
    for (int i = 0; i < size; i++)
        writeRow((*this)[i]);
    writer.record(int(__triangles.size()));
    for (const Vector<unsigned int>& triangle : __triangles) {
        for (int k = 0; k < 3; k++) {
            writer.number(triangle[k]);
            if (k < 2)
                writer.blank();
            else
                writer.newLine();
        }
    }
    const bool withNormals = size > 0 && __normals.getNumVertices() == size;
    writer.record(withNormals);
    if (withNormals)
        for (int i = 0; i < size; i++)
            writeRow(__normals[i]);
    writer.finish("void TriMesh<T>::write(ostream&) const");
}

template <class T>
void TriMesh<T>::export2AsciiSTL(std::ostream& stream) const {
    export2AsciiSTL(stream, this->getName());
}

template <class T>
void TriMesh<T>::export2AsciiSTL(std::ostream& stream, std::string name) const {
    const char* where = "void TriMesh<T>::export2AsciiSTL(ostream&) const";
    __checkSpace(where);
    __checkTriangles(where);
    // A line end in the name would end the line that the format gives to it.
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');

    ShapeWriter writer(stream);
    writer.text("solid ");
    writer.text(name.c_str());
    writer.newLine();
    for (unsigned int i = 0; i < __triangles.size(); i++) {
        Wide<T> normal[3];
        wideNormal(__corner(i, 0), __corner(i, 1), __corner(i, 2), normal);
        TriangleGeometry::normalize(normal);
        writer.text("  facet normal");
        for (Wide<T> component : normal) {
            writer.blank();
            writer.number(float(component + 0)); // -0 becomes 0
        }
        writer.text("\n    outer loop\n");
        for (int c = 0; c < 3; c++) {
            const T* corner = __corner(i, c);
            writer.text("      vertex");
            for (int k = 0; k < 3; k++) {
                writer.blank();
                writer.number(corner[k]);
            }
            writer.newLine();
        }
        writer.text("    endloop\n  endfacet\n");
    }
    writer.text("endsolid ");
    writer.text(name.c_str());
    writer.newLine();
    writer.finish(where);
}

template class TriMesh<int>;
template class TriMesh<float>;
template class TriMesh<double>;
template class TriMesh<long double>;

} // namespace vorlen
