#include "images/volumes/volumeresize.h"

#include <algorithm>

#include "images/filters/resamplingsweep.h"
#include "images/filters/sumfilter.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

template <class T>
VolumeResize<T>::VolumeResize() : __size(3) {
    __size.setZeros();
}

template <class T>
void VolumeResize<T>::setSize(const Vector<int>& size) {
    if (size.getSize() != 3)
        throw SizeError("void VolumeResize<T>::setSize(const Vector<int>&)",
                        "Size vector does not contain three values as expected");
    __size = size;
}

template <class T>
const Vector<int>& VolumeResize<T>::getSize() const {
    return __size;
}

template <class T>
void VolumeResize<T>::setInterpolationMode(InterpolationMode interpolationMode) {
    __interpolationMode = interpolationMode;
}

template <class T>
InterpolationMode VolumeResize<T>::getInterpolationMode() const {
    return __interpolationMode;
}

template <class T>
void VolumeResize<T>::setLowPassFilteringEnabled(bool enabled) {
    __lowPassFilteringEnabled = enabled;
}

template <class T>
bool VolumeResize<T>::isLowPassFilteringEnabled() const {
    return __lowPassFilteringEnabled;
}

template <class T>
void VolumeResize<T>::apply(VoxelMatrix<T>& volume) {
    const Vector<int> oldSize = volume.getSize();
    if (oldSize == __size)
        return;
    if (oldSize.min() < 1 || __size.min() < 1)
        throw SizeError("void VolumeResize<T>::apply(VoxelMatrix<T>&)", "Cannot resize from or to an empty volume");
    bool shrinks = false, grows = false;
    for (int axis = 0; axis < 3; ++axis) {
        shrinks = shrinks || __size[axis] < oldSize[axis];
        grows = grows || __size[axis] > oldSize[axis];
    }
    VoxelCalibration calibration = volume.getVoxelCalibration();
    if (!shrinks)
        enlargement(volume, oldSize, __size);
    else if (!grows)
        reduction(volume, oldSize, __size);
    else
        mixedResize(volume, oldSize, __size);
    Vector<float> voxel = calibration.getVoxelSize();
    for (int axis = 0; axis < 3; ++axis)
        voxel[axis] = float(double(voxel[axis]) * oldSize[axis] / __size[axis]);
    calibration.setVoxelSize(voxel);
    volume.setVoxelCalibration(calibration);
}

template <class T>
void VolumeResize<T>::enlargement(VoxelMatrix<T>& volume, const Vector<int>& oldSize, const Vector<int>& newSize) {
    const auto sweep = [&](int axis) {
        return __interpolationMode == NearestInterpolationMode
                   ? ResamplingSweep<T>::nearest(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis])
                   : ResamplingSweep<T>::linear(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis], true);
    };
    const ResamplingSweep<T> rowSweep = sweep(0), columnSweep = sweep(1), planeSweep = sweep(2);
    const int oldRows = oldSize[0], oldColumns = oldSize[1], oldPlanes = oldSize[2];
    const int newRows = newSize[0], newColumns = newSize[1];
    const auto total = static_cast<unsigned int>(oldPlanes) + static_cast<unsigned int>(newRows);
    unsigned int done = 0;
    this->notifyStarted("");
    VoxelMatrix<T> enlarged(newRows, newColumns, newSize[2]);
    enlarged.setVoxelCalibration(volume.getVoxelCalibration());
    for (int k = 0; k < oldPlanes; ++k) {
        PixelMatrix<T>& plane = enlarged[k];
        for (int i = 0; i < oldRows; ++i) {
            std::copy_n(volume[k][i].data(), oldColumns, plane[i].data());
            columnSweep.apply(plane[i].data());
        }
        rowSweep.applyAcross([&](int i) { return plane[i].data(); }, newColumns);
        this->notifyProgressed(++done, total);
    }
    for (int i = 0; i < newRows; ++i) {
        planeSweep.applyAcross([&](int k) { return enlarged[k][i].data(); }, newColumns);
        this->notifyProgressed(++done, total);
    }
    volume.swap(enlarged);
    this->notifyFinished("");
}

template <class T>
void VolumeResize<T>::reduction(VoxelMatrix<T>& volume, const Vector<int>& oldSize, const Vector<int>& newSize) {
    const int newRows = newSize[0], newColumns = newSize[1], newPlanes = newSize[2];
    T divisor = T(1);
    if (__lowPassFilteringEnabled) {
        const int s = std::max({oldSize[0] / newSize[0], oldSize[1] / newSize[1], oldSize[2] / newSize[2]});
        SumFilter<T> filter;
        filter.setHalfSize(s);
        filter.apply(volume);
        const T side = static_cast<T>(2 * static_cast<long long>(s) + 1);
        divisor = side * side * side;
    }
    const auto sweep = [&](int axis) {
        return __interpolationMode == NearestInterpolationMode
                   ? ResamplingSweep<T>::nearest(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis])
                   : ResamplingSweep<T>::linear(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis], false);
    };
    const ResamplingSweep<T> rowSweep = sweep(0), columnSweep = sweep(1), planeSweep = sweep(2);
    for (int k = 0; k < oldSize[2]; ++k) {
        PixelMatrix<T>& plane = volume[k];
        for (int i = 0; i < oldSize[0]; ++i)
            columnSweep.apply(plane[i].data());
        rowSweep.applyAcross([&](int i) { return plane[i].data(); }, newColumns);
    }
    for (int i = 0; i < newRows; ++i)
        planeSweep.applyAcross([&](int k) { return volume[k][i].data(); }, newColumns);
    VoxelMatrix<T> reduced = volume.copy(0, newRows - 1, 0, newColumns - 1, 0, newPlanes - 1);
    volume.swap(reduced);
    if (__lowPassFilteringEnabled)
        volume /= divisor;
}

template <class T>
void VolumeResize<T>::mixedResize(VoxelMatrix<T>& volume, const Vector<int>& oldSize, const Vector<int>& newSize) {
    VolumeResize<T> reducer(*this), enlarger(*this);
    Vector<int> smaller(3);
    for (int axis = 0; axis < 3; ++axis)
        smaller[axis] = std::min(oldSize[axis], newSize[axis]);
    reducer.setSize(smaller);
    reducer.apply(volume);
    enlarger.setSize(newSize);
    enlarger.apply(volume);
}

template class VolumeResize<float>;
template class VolumeResize<double>;
template class VolumeResize<long double>;

} // namespace vorlen
