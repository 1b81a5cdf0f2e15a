#include "shapes/curvestack.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "numerics/exception.h"
#include "shapes/arclength.h"
#include "shapes/boundingbox.h"
#include "shapes/nearestsearch.h"
#include "shapes/quadmesh.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

namespace {

// Largest grid that the search for a resampling tries, in vertices.
constexpr double largestGrid = 4194304;

template <class T>
void checkLevels(const CurveStack<T>& stack, const char* where) {
    if (stack.getHeight() == 0)
        throw SizeError(where, "This stack contains no curve");
    for (int l = 0; l < stack.getHeight(); ++l)
        if (stack[l].getSize() == 0)
            throw SizeError(where, "A curve of this stack contains no vertex");
}

} // namespace

// ---- construction and assignment

template <class T>
CurveStack<T>::CurveStack(int space, int height, int width, int capacity, int growth, bool open) : __open(open) {
    if (height < 0 || width < 0)
        throw SizeError("CurveStack<T>::CurveStack(...)", "Invalid stack dimensions");
    this->setLevels(space, std::vector<int>(std::size_t(height), width), capacity, growth);
}

template <class T>
CurveStack<T>::CurveStack(const VertexStack<T>& stack, bool open) : __open(open) {
    if (stack.getServer())
        this->setServer(const_cast<VertexServer<T>&>(*stack.getServer())); // shared, as by every copy
    for (int l = 0; l < stack.getHeight(); ++l)
        this->__levels.push_back(std::make_unique<Curve<T>>(stack[l], open));
}

template <class T>
CurveStack<T>::CurveStack(const CurveStack& other) : CurveStack(other, other.__open) {
}

template <class T>
CurveStack<T>::CurveStack(const std::string& filename) {
    this->load(filename);
}

template <class T>
CurveStack<T>::~CurveStack() = default;

template <class T>
CurveStack<T>& CurveStack<T>::operator=(const CurveStack& other) {
    this->assign(other);
    return *this;
}

template <class T>
void CurveStack<T>::assign(const VertexClient<T>& other) {
    const CurveStack& stack = dynamic_cast<const CurveStack&>(other);
    VertexStack<T>::assign(stack);
    __open = stack.__open;
}

template <class T>
CurveStack<T>* CurveStack<T>::clone() const {
    return new CurveStack(*this); // the told interface hands the copy to the caller
}

template <class T>
ShapeType CurveStack<T>::getShapeType() const {
    return __open ? OpenCurveStackType : ClosedCurveStackType;
}

template <class T>
ShapeType CurveStack<T>::read(std::istream& stream) {
    const ShapeType type = VertexStack<T>::read(stream);
    setOpen(type == OpenCurveStackType);
    return type;
}

template <class T>
void CurveStack<T>::insert(unsigned int pos, const Vertices<T>& level) {
    if (dynamic_cast<const Curve<T>&>(level).isOpen() != __open)
        throw TypeError("void CurveStack<T>::insert(...)", "Closure mismatch");
    VertexStack<T>::insert(pos, level);
}

template <class T>
std::unique_ptr<Vertices<T>> CurveStack<T>::newLevel() const {
    auto curve = std::make_unique<Curve<T>>();
    curve->setOpen(__open);
    return curve;
}

template <class T>
void CurveStack<T>::setOpen(bool open) {
    __open = open;
    for (int l = 0; l < this->getHeight(); ++l)
        level(l).setOpen(open);
}

template <class T>
bool CurveStack<T>::isBranching() const {
    const Vector<T>* below = nullptr;
    for (int l = 0; l < this->getHeight(); ++l) {
        if (level(l).getSize() == 0 || level(l).getSpace() < 3)
            continue;
        const Vector<T>& here = level(l)[0];
        if (below != nullptr && (*below)[2] == here[2])
            return true;
        below = &here;
    }
    return false;
}

// ---- resampling

template <class T>
QuadMesh<T> CurveStack<T>::resample(int height, int width) const {
    QuadMesh<T> mesh(this->getSpace(), height, width, 0, 0, __open);
    resample(mesh);
    return mesh;
}

template <class T>
void CurveStack<T>::resample(QuadMesh<T>& mesh) const {
    using Wide = WideCoordinate<T>;
    const char* where = "void CurveStack<T>::resample(QuadMesh<T>&) const";
    checkLevels(*this, where);
    const int levels = this->getHeight();
    const int height = mesh.getHeight();
    const int width = mesh.getWidth();
    const int space = this->getSpace();
    if (height == 0 || width == 0)
        throw SizeError(where, "The mesh contains no vertex");
    if (mesh.getSpace() != space)
        throw SizeError(where, "Incompatible vertex dimensions");
    // Each level on the mesh's width, in register with the one below; kept as one array of rows.
    std::vector<Wide> rows(std::size_t(levels) * width * space);
    Curve<T> below;
    for (int l = 0; l < levels; ++l) {
        Curve<T> row = level(l).resample(width);
        if (l > 0)
            row.match(below);
        Wide* out = rows.data() + std::size_t(l) * width * space;
        for (int c = 0; c < width; ++c)
            out = std::copy_n(row[c].data(), space, out);
        below = row;
    }
    mesh.setOpen(__open);
    // Each column is an open chain through the rows, spread evenly over the mesh's height.
    std::vector<Wide> column(std::size_t(levels) * space);
    std::vector<Wide> spread(std::size_t(height) * space);
    std::vector<Wide> lengths;
    for (int c = 0; c < width; ++c) {
        for (int l = 0; l < levels; ++l) {
            std::copy_n(rows.data() + (std::size_t(l) * width + c) * space, space,
                        column.data() + std::size_t(l) * space);
        }
        ArcLength::resampleOpen(column.data(), levels, space, spread.data(), height, lengths);
        for (int r = 0; r < height; ++r) {
            T* v = mesh[r][c].data();
            for (int a = 0; a < space; ++a)
                v[a] = roundToCoordinate<T>(spread[std::size_t(r) * space + a]);
        }
    }
}

template <class T>
QuadMesh<T> CurveStack<T>::interpolate(const QuadMesh<T>& mesh) const {
    if constexpr (std::is_integral_v<T>) {
        (void)mesh;
        throw UsageError("int Edge<int>::intersects(...)", "Method not available for type 'int'");
    } else {
        const char* where = "QuadMesh<T> CurveStack<T>::interpolate(const QuadMesh<T>&) const";
        checkLevels(*this, where);
        const int height = mesh.getHeight();
        const int width = mesh.getWidth();
        if (height == 0 || width == 0)
            throw SizeError(where, "The mesh contains no vertex");
        if (mesh.getSpace() != 3 || this->getSpace() != 3)
            throw SizeError(where, "Incompatible vertex dimensions");
        QuadMesh<T> result(3, this->getHeight(), width, 0, 0, mesh.isOpen());
        const int last = height - 1;
        int r = std::min(1, last);
        for (int l = 0; l < this->getHeight(); ++l) {
            const T z = level(l)[0][2];
            for (int c = 0; c < width; ++c) {
                if (r > 1 && mesh[r - 1][c][2] > z)
                    while (r > 1 && mesh[r - 1][c][2] > z)
                        --r;
                else
                    while (r < last && z > mesh[r][c][2])
                        ++r;
                const Vector<T>& a = mesh[std::max(r - 1, 0)][c];
                const Vector<T>& b = mesh[r][c];
                // Where the plane passes the segment by, its nearer end stands for the point.
                const T rise = b[2] - a[2];
                const T t = rise != 0 ? std::clamp((z - a[2]) / rise, T(0), T(1)) : T(0);
                Vector<T>& out = result[l][c];
                for (int k = 0; k < 3; ++k)
                    out[k] = t < 1 ? a[k] + t * (b[k] - a[k]) : b[k];
            }
        }
        return result;
    }
}

template <class T>
Vector<T> CurveStack<T>::resamplingError(const QuadMesh<T>& mesh) const {
    const QuadMesh<T> interpolated = interpolate(mesh);
    const Vector<T> coordinates = interpolated.toVector();
    const NearestSearch<T> search(coordinates.data(), interpolated.getSize(), 3);
    Vector<T> errors(this->getHeight());
    for (int l = 0; l < this->getHeight(); ++l) {
        typename NearestSearch<T>::Distance worst = 0;
        for (int k = 0; k < level(l).getSize(); ++k) {
            typename NearestSearch<T>::Distance distance;
            search.nearest(level(l)[k].data(), -1, distance);
            worst = std::max(worst, distance);
        }
        errors[l] = T(std::sqrt(worst));
    }
    return errors;
}

template <class T>
T CurveStack<T>::optimalResampling(T maxError, unsigned int& height, unsigned int& width) const {
    const char* where = "T CurveStack<T>::optimalResampling(...) const";
    checkLevels(*this, where);
    if (this->getSpace() != 3)
        throw SizeError(where, "Incompatible vertex dimensions");
    unsigned int w = 3;
    int reference = 0;
    for (int l = 0; l < this->getHeight(); ++l) {
        if (level(l).getSize() > int(w)) {
            w = static_cast<unsigned int>(level(l).getSize());
            reference = l;
        }
    }
    const WideCoordinate<T> extent = this->boundingBox().width(2);
    // Rows whose distance is near that of the columns when the contour gets this width.
    const auto heightFor = [&](const Curve<T>& contour, unsigned int columns) {
        const Curve<T> resampled = contour.resample(int(columns));
        const WideCoordinate<T> step = std::sqrt(WideCoordinate<T>(resampled[0].sdistance(resampled[1])));
        const WideCoordinate<T> rows = std::floor(extent / step + WideCoordinate<T>(0.5));
        if (!(rows * columns <= largestGrid))
            throw MathError(where, "No grid of reasonable size comes within the error");
        return std::max(2u, static_cast<unsigned int>(rows));
    };
    const auto errorOf = [&](unsigned int rows, unsigned int columns) {
        if (double(rows) * columns > largestGrid) {
            throw MathError(where, "No grid of reasonable size comes within the error");
        }
        return resamplingError(resample(int(rows), int(columns))).max();
    };

    unsigned int rows = heightFor(level(reference), w);
    unsigned int low = 3;
    while (!(errorOf(rows, w) <= maxError)) {
        low = w;
        rows *= 2;
        w *= 2;
    }
    if (w <= low) {
        height = rows;
        return 0;
    }
    while (w - 1 != low) {
        const unsigned int columns = (low + w) / 2;
        rows = heightFor(level(0), columns);
        const T error = errorOf(rows, columns);
        if (error < maxError)
            w = columns;
        else if (error > maxError)
            low = columns;
        if (error == maxError || w <= low) {
            height = rows;
            width = columns;
            return error;
        }
    }
    const unsigned int lowRows = heightFor(level(0), low);
    const T lowError = errorOf(lowRows, low);
    const unsigned int highRows = heightFor(level(0), w);
    const T highError = errorOf(highRows, w);
    if (lowError > highError) {
        height = highRows;
        width = w;
        return highError;
    }
    height = lowRows;
    width = low;
    return lowError;
}

template <class T>
CurveStack<T> CurveStack<T>::closestPointMap(const CurveStack& other) const {
    std::vector<int> sizes(std::size_t(this->getHeight()));
    for (int l = 0; l < this->getHeight(); ++l)
        sizes[std::size_t(l)] = level(l).getSize();
    CurveStack map;
    map.__open = __open;
    map.setLevels(2, sizes, 0, 0);
    this->fillClosestPointMap(other, map);
    return map;
}

template class CurveStack<int>;
template class CurveStack<float>;
template class CurveStack<double>;
template class CurveStack<long double>;

} // namespace vorlen
