#include "images/filters/extremumfilter.h"

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "images/filters/parallelwork.h"
#include "images/filters/stepprogress.h"
#include "images/filters/windowextremum.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

template <bool greatest>
void checkMask(bool sameSize, const std::string& arguments) {
    if (!sameSize)
        throw SizeError((greatest ? "void MaxFilter<T>::apply(" : "void MinFilter<T>::apply(") + arguments + ")",
                        "The mask is not the same size as the data");
}

template <class T, bool greatest>
void filterLine(const Vector<T>& in, Vector<T>& out, const T* mask, int h) {
    WindowExtremum<T, greatest> extremum;
    extremum.setCareful(extremum.holdsNaN(in.data(), in.getSize()));
    extremum.line(in.data(), out.data(), mask, in.getSize(), h);
}

} // namespace

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::unsetMask() {
    MaskPixelMatrixProcessing<T>::unsetMask();
    MaskVoxelMatrixProcessing<T>::unsetMask();
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::apply(const Vector<T>& in, Vector<T>& out) {
    out.setSize(in.getSize());
    filterLine<T, greatest>(in, out, nullptr, getHalfSize());
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::apply(const Vector<T>& in, Vector<T>& out, const Vector<T>& mask) {
    checkMask<greatest>(mask.getSize() == in.getSize(), "const Vector<T>&, Vector<T>&, const Vector<T>&");
    out.setSize(in.getSize());
    filterLine<T, greatest>(in, out, mask.data(), getHalfSize());
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::apply(PixelMatrix<T>& matrix) {
    __apply(matrix, MaskPixelMatrixProcessing<T>::getMask());
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::apply(VoxelMatrix<T>& volume) {
    __apply(volume, MaskVoxelMatrixProcessing<T>::getMask());
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::apply(PixelMatrix<T>& matrix, const PixelMatrix<T>& mask) {
    __apply(matrix, &mask);
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::apply(VoxelMatrix<T>& volume, const VoxelMatrix<T>& mask) {
    __apply(volume, &mask);
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::__apply(PixelMatrix<T>& matrix, const PixelMatrix<T>* mask) {
    checkMask<greatest>(mask == nullptr || mask->getSize() == matrix.getSize(), "PixelMatrix<T>&");
    const int h = getHalfSize();
    if (h < 1 || matrix.getSize1() == 0 || matrix.getSize2() == 0)
        return;
    StepProgress progress(*this, static_cast<unsigned long long>(matrix.getSize1()) +
                                     static_cast<unsigned long long>(matrix.getSize2()));
    const auto report = [&progress](int lines) { return progress.advance(static_cast<unsigned long long>(lines)); };
    WindowExtremum<T, greatest> extremum;
    extremum.setCareful(extremum.holdsNaN(matrix));
    this->notifyStarted("");
    notifyEnd(*this, extremum.rows(matrix, mask, h, report) && extremum.columns(matrix, mask, h, report));
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::__apply(VoxelMatrix<T>& volume, const VoxelMatrix<T>* mask) {
    checkMask<greatest>(mask == nullptr || mask->sameSizeAs(volume), "VoxelMatrix<T>&");
    const int h = getHalfSize();
    const int across = __planeHalfSize < 0 ? h : __planeHalfSize;
    const auto rows = static_cast<unsigned long long>(volume.getSize1());
    const auto columns = static_cast<unsigned long long>(volume.getSize2());
    const auto planes = static_cast<unsigned long long>(volume.getSize3());
    if (h < 1 || rows == 0 || columns == 0 || planes == 0)
        return;
    ParallelWork work(*this, rows * columns + rows * planes + columns * planes);
    std::vector<WindowExtremum<T, greatest>> extrema(static_cast<std::size_t>(work.workers()));
    std::atomic<bool> careful = false;
    const auto goesOn = [&work](int) { return !work.isCanceled(); };
    const auto filterPlane = [&](int k, int worker) {
        WindowExtremum<T, greatest>& extremum = extrema[static_cast<std::size_t>(worker)];
        const PixelMatrix<T>* const planeMask = mask != nullptr ? &(*mask)[k] : nullptr;
        const bool holdsNaN = extremum.holdsNaN(volume[k]);
        if (holdsNaN)
            careful = true;
        extremum.setCareful(holdsNaN);
        if (extremum.rows(volume[k], planeMask, h, goesOn))
            extremum.columns(volume[k], planeMask, h, goesOn);
    };
    const auto filterAcross = [&](int i, int worker) {
        WindowExtremum<T, greatest>& extremum = extrema[static_cast<std::size_t>(worker)];
        extremum.setCareful(careful);
        extremum.planes(volume, mask, i, across, goesOn);
    };
    this->notifyStarted("");
    const bool complete = work.run(volume.getSize3(), (rows + columns) * planes, filterPlane) &&
                          work.run(volume.getSize1(), rows * columns, filterAcross);
    notifyEnd(*this, complete);
}

template class ExtremumFilter<short, false>;
template class ExtremumFilter<unsigned short, false>;
template class ExtremumFilter<int, false>;
template class ExtremumFilter<unsigned int, false>;
template class ExtremumFilter<float, false>;
template class ExtremumFilter<double, false>;
template class ExtremumFilter<long double, false>;
template class ExtremumFilter<short, true>;
template class ExtremumFilter<unsigned short, true>;
template class ExtremumFilter<int, true>;
template class ExtremumFilter<unsigned int, true>;
template class ExtremumFilter<float, true>;
template class ExtremumFilter<double, true>;
template class ExtremumFilter<long double, true>;

} // namespace vorlen
