#include "images/rasters/maskpixelmatrixprocessing.h"

namespace vorlen {

template <class T>
MaskPixelMatrixProcessing<T>::~MaskPixelMatrixProcessing() = default;

template <class T>
void MaskPixelMatrixProcessing<T>::setMask(const PixelMatrix<T>& mask) {
    __mask = &mask;
}

template <class T>
const PixelMatrix<T>* MaskPixelMatrixProcessing<T>::getMask() const {
    return __mask;
}

template <class T>
void MaskPixelMatrixProcessing<T>::unsetMask() {
    __mask = nullptr;
}

template <class T>
bool MaskPixelMatrixProcessing<T>::hasMask() const {
    return __mask != nullptr;
}

template class MaskPixelMatrixProcessing<bool>;
template class MaskPixelMatrixProcessing<char>;
template class MaskPixelMatrixProcessing<unsigned char>;
template class MaskPixelMatrixProcessing<short>;
template class MaskPixelMatrixProcessing<unsigned short>;
template class MaskPixelMatrixProcessing<int>;
template class MaskPixelMatrixProcessing<unsigned int>;
template class MaskPixelMatrixProcessing<float>;
template class MaskPixelMatrixProcessing<double>;
template class MaskPixelMatrixProcessing<long double>;

} // namespace vorlen
