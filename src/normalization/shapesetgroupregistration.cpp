#include "normalization/shapesetgroupregistration.h"

#include <cmath>

#include "normalization/shapesetgroup.h"
#include "numerics/exception.h"
#include "shapes/shape.h"
#include "shapes/shapearithmetic.h"
#include "shapes/shapeset.h"

namespace vorlen {

namespace {

/// Sum of the squared differences of n coordinates, in four lanes of their own.
template <class T>
WideCoordinate<T> squareDistance(const T* a, const T* b, int n) {
    using Wide = WideCoordinate<T>;
    Wide sums[4] = {0, 0, 0, 0};
    int k = 0;
    for (; k + 4 <= n; k += 4) {
        for (int lane = 0; lane < 4; ++lane) {
            const Wide d = Wide(a[k + lane]) - Wide(b[k + lane]);
            sums[lane] += d * d;
        }
    }
    for (; k < n; ++k) {
        const Wide d = Wide(a[k]) - Wide(b[k]);
        sums[0] += d * d;
    }
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

} // namespace

template <class T>
ShapeSetGroupRegistration<T>::~ShapeSetGroupRegistration() = default;

template <class T>
Vector<float> ShapeSetGroupRegistration<T>::errorType1(const ShapeSetGroup<T>& group) {
    const int n = group.getNumShapeSets();
    std::vector<ShapeSet<T>> references;
    references.reserve(std::size_t(n));
    for (int i = 0; i < n; ++i)
        references.push_back(group[i].referenceShapeSet());
    if (n < 2)
        return Vector<float>();
    // What has no distance says so through the shapes themselves.
    const int numReferences = references[0].getSize();
    for (int i = 1; i < n; ++i) {
        bool comparable = references[i].getSize() == numReferences;
        for (int k = 0; comparable && k < numReferences; ++k) {
            const Shape<T>* first = references[0][k];
            const Shape<T>* shape = references[i][k];
            comparable = first && shape && first != shape && first->getSize() == shape->getSize() &&
                         first->getSize() > 0 && first->getSpace() == shape->getSpace();
            for (int j = 1; comparable && j < i; ++j)
                if (references[j][k] == shape)
                    references[j].rmsDistances(references[i]);
        }
        if (!comparable)
            references[0].rmsDistances(references[i]);
    }
    // Each shape as one array; a pair is then one pass over two of them.
    std::vector<std::vector<Vector<T>>> coordinates(n);
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < numReferences; ++k)
            coordinates[i].push_back(references[i][k]->toVector());
    Vector<float> errors(n * (n - 1) / 2 * numReferences);
    int next = 0;
    for (int i = 0; i < n; ++i) {
        for (int j = i + 1; j < n; ++j) {
            for (int k = 0; k < numReferences; ++k) {
                const Vector<T>& a = coordinates[i][k];
                const Vector<T>& b = coordinates[j][k];
                const auto sum = squareDistance(a.data(), b.data(), a.getSize());
                errors[next++] = float(std::sqrt(sum / references[i][k]->getSize()));
            }
        }
    }
    return errors;
}

template <class T>
float ShapeSetGroupRegistration<T>::mean(const Vector<float>& errors) {
    double sum = 0;
    for (const float error : errors)
        sum += error;
    return errors.getSize() > 0 ? float(sum / errors.getSize()) : 0;
}

template <class T>
float ShapeSetGroupRegistration<T>::sem(const Vector<float>& errors) {
    return errors.getSize() > 1 ? float(errors.template toType<double>().sem(true)) : 0;
}

template <class T>
void ShapeSetGroupRegistration<T>::getDynamics(std::vector<float>& means, std::vector<float>& sems) const {
    means = __errorMeans;
    sems = __errorSems;
}

template <class T>
void ShapeSetGroupRegistration<T>::reset(const ShapeSetGroup<T>& group) {
    const int n = group.getNumShapeSets();
    __rotations.assign(n, SquareMatrix<T>());
    __translations.assign(n, Vector<T>());
    for (int i = 0; i < n; ++i) {
        int space = 0;
        for (int k = 0; k < group[i].getSize() && space == 0; ++k)
            space = group[i][k] ? group[i][k]->getSpace() : 0;
        __rotations[i].setIdentity(space);
        __translations[i].setZeros(space);
    }
    __errorMeans.clear();
    __errorSems.clear();
    __converged = true;
}

template <class T>
void ShapeSetGroupRegistration<T>::recordError(const Vector<float>& errors) {
    __errorMeans.push_back(mean(errors));
    __errorSems.push_back(sem(errors));
}

template class ShapeSetGroupRegistration<float>;
template class ShapeSetGroupRegistration<double>;
template class ShapeSetGroupRegistration<long double>;

} // namespace vorlen
