#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

template <class T>
VoxelMatrixProcessing<T>::~VoxelMatrixProcessing() = default;

template class VoxelMatrixProcessing<char>;
template class VoxelMatrixProcessing<unsigned char>;
template class VoxelMatrixProcessing<short>;
template class VoxelMatrixProcessing<unsigned short>;
template class VoxelMatrixProcessing<int>;
template class VoxelMatrixProcessing<unsigned int>;
template class VoxelMatrixProcessing<float>;
template class VoxelMatrixProcessing<double>;
template class VoxelMatrixProcessing<long double>;

} // namespace vorlen
