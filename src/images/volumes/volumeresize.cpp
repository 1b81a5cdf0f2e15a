#include "images/volumes/volumeresize.h"

#include <algorithm>

#include "images/filters/parallelwork.h"
#include "images/filters/resamplingsweep.h"
#include "images/filters/stepprogress.h"
#include "images/filters/sumfilter.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "progress/progressmonitor.h"

namespace vorlen {

namespace {

/// Stops a filter when the subject that it works for is cancelled.
class Stopper : public ProgressMonitor {
public:
    explicit Stopper(const ProgressSubject& subject) : __subject(subject) {}

    using ProgressMonitor::subjectProgressed;
    void subjectProgressed(unsigned int, unsigned int) override {
        if (__subject.isCanceled())
            currentSubject()->cancel();
    }

private:
    const ProgressSubject& __subject;
};

unsigned long long steps(int count) {
    return static_cast<unsigned long long>(count);
}

/// A step is a plane of the old size, or a row of the new one.
unsigned long long stepsOf(const Vector<int>& oldSize, const Vector<int>& newSize) {
    return steps(oldSize[2]) + steps(newSize[0]);
}

} // namespace

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

// A volume that grows on one axis and shrinks on another shrinks first.
template <class T>
void VolumeResize<T>::apply(VoxelMatrix<T>& volume) {
    const Vector<int> oldSize = volume.getSize();
    if (oldSize == __size)
        return;
    if (oldSize.min() < 1 || __size.min() < 1)
        throw SizeError("void VolumeResize<T>::apply(VoxelMatrix<T>&)", "Cannot resize from or to an empty volume");
    Vector<int> smaller(3);
    for (int axis = 0; axis < 3; ++axis)
        smaller[axis] = std::min(oldSize[axis], __size[axis]);
    const bool shrinks = !(smaller == oldSize), grows = !(smaller == __size);
    VoxelCalibration calibration = volume.getVoxelCalibration();
    ParallelWork work(*this, (shrinks ? stepsOf(oldSize, smaller) : 0) + (grows ? stepsOf(smaller, __size) : 0));
    this->notifyStarted("");
    const bool complete = (!shrinks || reduction(volume, oldSize, smaller, work)) &&
                          (!grows || enlargement(volume, smaller, __size, work));
    if (complete) {
        Vector<float> voxel = calibration.getVoxelSize();
        for (int axis = 0; axis < 3; ++axis)
            voxel[axis] = float(double(voxel[axis]) * oldSize[axis] / __size[axis]);
        calibration.setVoxelSize(voxel);
    }
    volume.setVoxelCalibration(calibration);
    notifyEnd(*this, complete);
}

template <class T>
bool VolumeResize<T>::enlargement(VoxelMatrix<T>& volume, const Vector<int>& oldSize, const Vector<int>& newSize,
                                  ParallelWork& work) const {
    const auto sweep = [&](int axis) {
        return __interpolationMode == NearestInterpolationMode
                   ? ResamplingSweep<T>::nearest(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis])
                   : ResamplingSweep<T>::linear(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis], true);
    };
    const ResamplingSweep<T> rowSweep = sweep(0), columnSweep = sweep(1), planeSweep = sweep(2);
    const int oldRows = oldSize[0], oldColumns = oldSize[1], oldPlanes = oldSize[2];
    const int newRows = newSize[0], newColumns = newSize[1];
    VoxelMatrix<T> enlarged(newRows, newColumns, newSize[2]);
    enlarged.setVoxelCalibration(volume.getVoxelCalibration());
    const auto inPlane = [&](int k, int) {
        PixelMatrix<T>& plane = enlarged[k];
        for (int i = 0; i < oldRows; ++i) {
            std::copy_n(volume[k][i].data(), oldColumns, plane[i].data());
            columnSweep.apply(plane[i].data());
        }
        rowSweep.applyAcross([&](int i) { return plane[i].data(); }, newColumns);
    };
    const auto acrossPlanes = [&](int i, int) {
        planeSweep.applyAcross([&](int k) { return enlarged[k][i].data(); }, newColumns);
    };
    if (!work.run(oldPlanes, steps(oldPlanes), inPlane) || !work.run(newRows, steps(newRows), acrossPlanes))
        return false;
    volume.swap(enlarged);
    return true;
}

template <class T>
bool VolumeResize<T>::reduction(VoxelMatrix<T>& volume, const Vector<int>& oldSize, const Vector<int>& newSize,
                                ParallelWork& work) {
    const int newRows = newSize[0], newColumns = newSize[1], newPlanes = newSize[2];
    T divisor = T(1);
    if (__lowPassFilteringEnabled) {
        const int s = std::max({oldSize[0] / newSize[0], oldSize[1] / newSize[1], oldSize[2] / newSize[2]});
        SumFilter<T> filter;
        filter.setHalfSize(s);
        Stopper stopper(*this);
        filter.addMonitor(stopper);
        filter.apply(volume);
        if (this->isCanceled())
            return false;
        const T side = static_cast<T>(2 * static_cast<long long>(s) + 1);
        divisor = side * side * side;
    }
    const auto sweep = [&](int axis) {
        return __interpolationMode == NearestInterpolationMode
                   ? ResamplingSweep<T>::nearest(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis])
                   : ResamplingSweep<T>::linear(oldSize[axis], newSize[axis], oldSize[axis], newSize[axis], false);
    };
    const ResamplingSweep<T> rowSweep = sweep(0), columnSweep = sweep(1), planeSweep = sweep(2);
    const auto inPlane = [&](int k, int) {
        PixelMatrix<T>& plane = volume[k];
        for (int i = 0; i < oldSize[0]; ++i)
            columnSweep.apply(plane[i].data());
        rowSweep.applyAcross([&](int i) { return plane[i].data(); }, newColumns);
    };
    const auto acrossPlanes = [&](int i, int) {
        planeSweep.applyAcross([&](int k) { return volume[k][i].data(); }, newColumns);
    };
    if (!work.run(oldSize[2], steps(oldSize[2]), inPlane) || !work.run(newRows, steps(newRows), acrossPlanes))
        return false;
    VoxelMatrix<T> reduced = volume.copy(0, newRows - 1, 0, newColumns - 1, 0, newPlanes - 1);
    volume.swap(reduced);
    if (__lowPassFilteringEnabled)
        volume /= divisor;
    return true;
}

template class VolumeResize<float>;
template class VolumeResize<double>;
template class VolumeResize<long double>;

} // namespace vorlen
