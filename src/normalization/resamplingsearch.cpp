#include "normalization/resamplingsearch.h"

#include <algorithm>
#include <cmath>

#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/quadmesh.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

namespace {

bool isGrid(double height, double width, double maxVertices) {
    return height >= 1 && width >= 1 && height * width <= maxVertices;
}

} // namespace

template <class T>
ResamplingSearch<T>::ResamplingSearch(std::vector<std::unique_ptr<CurveStack<T>>> instances)
    : __instances(std::move(instances)) {
    const char* where = "ResamplingSearch<T>::ResamplingSearch(...)";
    if (__instances.empty())
        throw SizeError(where, "There is no instance of the structure");
    for (const auto& instance : __instances) {
        if (instance->getHeight() == 0)
            throw SizeError(where, "This stack contains no curve");
        for (int l = 0; l < instance->getHeight(); ++l)
            if (instance->level(l).getSize() == 0)
                throw SizeError(where, "A curve of this stack contains no vertex");
    }
}

template <class T>
void ResamplingSearch<T>::computeErrorFromValues(VRLFusionSurfaceStructure<T>& structure) const {
    const int height = structure.getResamplingHeight();
    const int width = structure.getResamplingWidth();
    if (!isGrid(height, width, maxVertices))
        throw SizeError("void ResamplingSearch<T>::computeErrorFromValues(...)", "Invalid resampling sizes");
    T error = 0;
    for (const auto& instance : __instances)
        error = std::max(error, errorOf(*instance, height, width));
    structure.setResamplingError(error);
}

template <class T>
void ResamplingSearch<T>::computeValuesFromError(VRLFusionSurfaceStructure<T>& structure) {
    const T wanted = structure.getResamplingError();
    if (!(wanted > 0)) {
        throw ValueError("void ResamplingSearch<T>::computeValuesFromError(...)",
                         "The resampling error must be above 0");
    }
    int low = 3, high = 3;
    for (const auto& instance : __instances)
        for (int l = 0; l < instance->getHeight(); ++l)
            high = std::max(high, instance->level(l).getSize());
    while (!(errorAt(high).error <= wanted)) {
        low = high;
        high *= 2;
    }
    int found = high;
    while (low < high) {
        if (high - 1 == low) {
            found = errorAt(low).error > errorAt(high).error ? high : low;
            break;
        }
        const int middle = low + (high - low) / 2;
        const T error = errorAt(middle).error;
        if (error == wanted) {
            found = middle;
            break;
        }
        (error < wanted ? high : low) = middle;
    }
    structure.setResamplingHeight(errorAt(found).height);
    structure.setResamplingWidth(found);
    structure.setResamplingError(errorAt(found).error);
}

template <class T>
T ResamplingSearch<T>::errorOf(const CurveStack<T>& instance, int height, int width) const {
    return instance.resamplingError(instance.resample(height, width)).max();
}

template <class T>
int ResamplingSearch<T>::heightFor(const CurveStack<T>& instance, int width) const {
    using Wide = WideCoordinate<T>;
    const Curve<T> first = instance.level(0).resample(width);
    const Wide step = Wide(first[0].distance(first[1]));
    const Wide levels = std::floor(Wide(instance.boundingBox().width(2)) / step + Wide(0.5));
    const Wide wanted = step > 0 ? levels : Wide(instance.getHeight());
    return int(std::clamp<Wide>(wanted, 2, maxHeight));
}

template <class T>
const typename ResamplingSearch<T>::Trial& ResamplingSearch<T>::errorAt(int width) {
    const auto known = __trials.find(width);
    if (known != __trials.end())
        return known->second;
    Trial trial;
    for (const auto& instance : __instances) {
        // Before the contour is resampled, and again with the levels it gives.
        const int height = isGrid(2, width, maxVertices) ? heightFor(*instance, width) : 2;
        if (!isGrid(height, width, maxVertices)) {
            throw MathError("void ResamplingSearch<T>::computeValuesFromError(...)",
                            "No grid of reasonable size comes within the error");
        }
        const T error = errorOf(*instance, height, width);
        if (trial.height == 0 || !(error <= trial.error)) {
            trial.error = error;
            trial.height = height;
        }
    }
    return __trials.emplace(width, trial).first->second;
}

template class ResamplingSearch<float>;
template class ResamplingSearch<double>;
template class ResamplingSearch<long double>;

} // namespace vorlen
