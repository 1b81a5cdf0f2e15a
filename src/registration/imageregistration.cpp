#include "registration/imageregistration.h"

#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

template <class T>
ImageRegistration<T>::~ImageRegistration() = default;

template <class T>
const PixelMatrix<T>& ImageRegistration<T>::source(const char* where) const {
    if (!__source)
        throw UsageError(where, "No source image was set");
    return *__source;
}

template <class T>
const PixelMatrix<T>& ImageRegistration<T>::target(const char* where) const {
    if (!__target)
        throw UsageError(where, "No target image was set");
    return *__target;
}

template class ImageRegistration<float>;
template class ImageRegistration<double>;
template class ImageRegistration<long double>;

} // namespace vorlen
