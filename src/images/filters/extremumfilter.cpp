#include "images/filters/extremumfilter.h"

#include <string>

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

} // namespace

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::unsetMask() {
    MaskPixelMatrixProcessing<T>::unsetMask();
    MaskVoxelMatrixProcessing<T>::unsetMask();
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::apply(const Vector<T>& in, Vector<T>& out) {
    out.setSize(in.getSize());
    WindowExtremum<T, greatest>().line(in.data(), out.data(), nullptr, in.getSize(), getHalfSize());
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::apply(const Vector<T>& in, Vector<T>& out, const Vector<T>& mask) {
    checkMask<greatest>(mask.getSize() == in.getSize(), "const Vector<T>&, Vector<T>&, const Vector<T>&");
    out.setSize(in.getSize());
    WindowExtremum<T, greatest>().line(in.data(), out.data(), mask.data(), in.getSize(), getHalfSize());
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
    const auto report = [&progress](int lines) { progress.advance(static_cast<unsigned long long>(lines)); };
    WindowExtremum<T, greatest> extremum;
    this->notifyStarted("");
    extremum.rows(matrix, mask, h, report);
    extremum.columns(matrix, mask, h, report);
    this->notifyFinished("");
}

template <class T, bool greatest>
void ExtremumFilter<T, greatest>::__apply(VoxelMatrix<T>& volume, const VoxelMatrix<T>* mask) {
    checkMask<greatest>(mask == nullptr || mask->sameSizeAs(volume), "VoxelMatrix<T>&");
    const int h = getHalfSize();
    const auto rows = static_cast<unsigned long long>(volume.getSize1());
    const auto columns = static_cast<unsigned long long>(volume.getSize2());
    const auto planes = static_cast<unsigned long long>(volume.getSize3());
    if (h < 1 || rows == 0 || columns == 0 || planes == 0)
        return;
    StepProgress progress(*this, rows * columns + rows * planes + columns * planes);
    const auto report = [&progress](int lines) { progress.advance(static_cast<unsigned long long>(lines)); };
    WindowExtremum<T, greatest> extremum;
    this->notifyStarted("");
    for (int k = 0; k < volume.getSize3(); ++k) {
        const PixelMatrix<T>* const planeMask = mask != nullptr ? &(*mask)[k] : nullptr;
        extremum.rows(volume[k], planeMask, h, report);
        extremum.columns(volume[k], planeMask, h, report);
    }
    extremum.planes(volume, mask, h, report);
    this->notifyFinished("");
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
