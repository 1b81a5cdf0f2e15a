#include "normalization/globalshapesetgroupregistration.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "normalization/rigidmotion.h"
#include "normalization/shapesetgroup.h"
#include "normalization/shapesetregistration.h"
#include "numerics/exception.h"
#include "shapes/shape.h"
#include "shapes/shapearithmetic.h"
#include "shapes/shapeset.h"
#include "shapes/vertexstack.h"

namespace vorlen {

namespace {

const char* const applyPlace = "void GlobalShapeSetGroupRegistration<T>::apply(ShapeSetGroup<T>&)";

/// The average of all reference sets but one, as a shape set that is made once and filled anew for each set.
///
/// The sums over all sets run in the wide type and are formed anew for each sweep, so that their rounding stays below
/// that of the coordinates.
template <class T>
class AverageOfOthers {
public:
    using Wide = WideCoordinate<T>;

    /// The sets must have the same references in the same dimensions.
    explicit AverageOfOthers(std::vector<ShapeSet<T>>& references) : __references(references) {
        ShapeSetGroup<T> one;
        one.addShapeSet(references.front());
        __average = one.average();
        __vertices = __average.asVertexStack();
        __coordinates.setSize(__vertices.getSize() * __vertices.getSpace());
        __sums.resize(__coordinates.getSize());
    }
    ~AverageOfOthers() { __average.clear(); }
    AverageOfOthers(const AverageOfOthers&) = delete;
    AverageOfOthers& operator=(const AverageOfOthers&) = delete;

    void startSweep() {
        std::fill(__sums.begin(), __sums.end(), Wide(0));
        for (const ShapeSet<T>& set : __references)
            add(coordinatesOf(set), 1);
    }

    /// The average of all sets but set i. The vertices of set i are out of the sums until putBack().
    const ShapeSet<T>& without(int i) {
        add(coordinatesOf(__references[i]), -1);
        const Wide factor = Wide(1) / Wide(__references.size() - 1);
        for (std::size_t k = 0; k < __sums.size(); ++k)
            __coordinates[int(k)] = T(__sums[k] * factor);
        __vertices.fromVector(__coordinates);
        return __average;
    }

    /// Returns set i, moved meanwhile, to the sums. Gives the coordinates it has now.
    Vector<T> putBack(int i) {
        Vector<T> coordinates = coordinatesOf(__references[i]);
        add(coordinates, 1);
        return coordinates;
    }

private:
    static Vector<T> coordinatesOf(const ShapeSet<T>& set) { return set.asVertexStack().toVector(); }

    void add(const Vector<T>& coordinates, Wide factor) {
        const T* x = coordinates.data();
        Wide* sum = __sums.data();
        for (std::size_t k = 0; k < __sums.size(); ++k)
            sum[k] += factor * Wide(x[k]);
    }

    std::vector<ShapeSet<T>>& __references;
    ShapeSet<T> __average;
    VertexStack<T> __vertices; // of the average, on its coordinates
    Vector<T> __coordinates;
    std::vector<Wide> __sums;
};

/// Whether the motion that led to these points moved one of them by more than the rounding of their coordinates.
template <class T>
bool moves(const SquareMatrix<T>& rotation, const Vector<T>& translation, const Vector<T>& points) {
    using Wide = WideCoordinate<T>;
    const int space = translation.getSize();
    Wide greatest = 0;
    for (const T x : points)
        greatest = std::max(greatest, Wide(std::abs(x)));
    const Wide rounding = 4 * Wide(std::numeric_limits<T>::epsilon()) * greatest;
    // The way back, rotation transposed, is as long as the way there.
    for (int i = 0; i + space <= points.getSize(); i += space) {
        Wide square = 0;
        for (int k = 0; k < space; ++k) {
            Wide back = 0;
            for (int l = 0; l < space; ++l)
                back += Wide(rotation[l][k]) * (Wide(points[i + l]) - Wide(translation[l]));
            square += (back - Wide(points[i + k])) * (back - Wide(points[i + k]));
        }
        if (square > rounding * rounding)
            return true;
    }
    return false;
}

} // namespace

template <class T>
GlobalShapeSetGroupRegistration<T>::~GlobalShapeSetGroupRegistration() = default;

template <class T>
void GlobalShapeSetGroupRegistration<T>::apply(ShapeSetGroup<T>& group) {
    for (int i = 0; i < group.getNumShapeSets(); ++i)
        if (!group[i].referenceShapeSet().onlyShapeType(ClosedQuadMeshType))
            throw UsageError(applyPlace, "At least some references are not quadrangular surfaces");
    if (group.getNumShapeSets() < 2)
        throw UsageError(applyPlace, "A global registration needs at least two shape sets");
    applyQuadMeshCase(group);
}

template <class T>
void GlobalShapeSetGroupRegistration<T>::applyQuadMeshCase(ShapeSetGroup<T>& group) {
    const int n = group.getNumShapeSets();
    const int sweepsPerSpan = int(std::ceil(std::sqrt(double(n)))) + 3;
    this->notifyStarted("");

    std::vector<ShapeSet<T>> references;
    references.reserve(std::size_t(n));
    for (int i = 0; i < n; ++i)
        references.push_back(group[i].referenceShapeSet());
    for (int i = 2; i < n; ++i)
        references[i].matchSurfaces(references[1]);
    ShapeSetGroup<T> referenceGroup;
    for (int i = 0; i < n; ++i)
        referenceGroup.addShapeSet(references[i]);
    this->reset(group);
    this->recordError(this->errorType1(referenceGroup));
    for (int i = 1; i < n; ++i) {
        if (references[i].asVertexStack().getSize() != references[0].asVertexStack().getSize()) {
            throw ProgramError("void RigidShapeRegistration<T>::fit(...)",
                               "Moving and target shapes have distinct sizes");
        }
    }

    const T epsilon = Vector<T>::epsilon();
    AverageOfOthers<T> average(references);
    int limit = sweepsPerSpan;
    for (int sweep = 0;; ++sweep) {
        if (sweep == limit)
            limit += sweepsPerSpan;
        if (sweep == maxSweeps) {
            this->__converged = false;
            break;
        }
        bool moving = false;
        average.startSweep();
        for (int i = 0; i < n; ++i) {
            const ShapeSet<T>& others = average.without(i);
            references[i].matchSurfaces(others);
            ShapeSetRegistration<T> registration;
            registration.apply(group[i], others);
            const SquareMatrix<T>& rotation = registration.getRotationMatrix();
            const Vector<T>& translation = registration.getTranslationVector();
            RigidMotion::follow(this->__rotations[i], this->__translations[i], rotation, translation);
            const Vector<T> points = average.putBack(i);
            moving = moving || moves(rotation, translation, points);
            this->notifyProgressed(static_cast<unsigned int>(sweep * n + i), static_cast<unsigned int>(limit * n));
        }
        const T previous = T(this->__errorMeans.back());
        this->recordError(this->errorType1(referenceGroup));
        const T current = T(this->__errorMeans.back());
        if (!moving || std::abs(previous - current) / (previous + epsilon) <= epsilon)
            break;
    }
    this->notifyFinished("");
}

template class GlobalShapeSetGroupRegistration<float>;
template class GlobalShapeSetGroupRegistration<double>;
template class GlobalShapeSetGroupRegistration<long double>;

} // namespace vorlen
