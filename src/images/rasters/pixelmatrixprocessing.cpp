#include "images/rasters/pixelmatrixprocessing.h"

namespace vorlen {

template <class T>
PixelMatrixProcessing<T>::~PixelMatrixProcessing() = default;

template class PixelMatrixProcessing<bool>;
template class PixelMatrixProcessing<char>;
template class PixelMatrixProcessing<unsigned char>;
template class PixelMatrixProcessing<short>;
template class PixelMatrixProcessing<unsigned short>;
template class PixelMatrixProcessing<int>;
template class PixelMatrixProcessing<unsigned int>;
template class PixelMatrixProcessing<float>;
template class PixelMatrixProcessing<double>;
template class PixelMatrixProcessing<long double>;

} // namespace vorlen
