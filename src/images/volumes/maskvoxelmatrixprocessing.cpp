#include "images/volumes/maskvoxelmatrixprocessing.h"

namespace vorlen {

template <class T>
MaskVoxelMatrixProcessing<T>::~MaskVoxelMatrixProcessing() = default;

template <class T>
void MaskVoxelMatrixProcessing<T>::setMask(const VoxelMatrix<T>& mask) {
    __mask = &mask;
}

template <class T>
const VoxelMatrix<T>* MaskVoxelMatrixProcessing<T>::getMask() const {
    return __mask;
}

template <class T>
void MaskVoxelMatrixProcessing<T>::unsetMask() {
    __mask = nullptr;
}

template <class T>
bool MaskVoxelMatrixProcessing<T>::hasMask() const {
    return __mask != nullptr;
}

template class MaskVoxelMatrixProcessing<char>;
template class MaskVoxelMatrixProcessing<unsigned char>;
template class MaskVoxelMatrixProcessing<short>;
template class MaskVoxelMatrixProcessing<unsigned short>;
template class MaskVoxelMatrixProcessing<int>;
template class MaskVoxelMatrixProcessing<unsigned int>;
template class MaskVoxelMatrixProcessing<float>;
template class MaskVoxelMatrixProcessing<double>;
template class MaskVoxelMatrixProcessing<long double>;

} // namespace vorlen
