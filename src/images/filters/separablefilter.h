#pragma once

#include "images/filters/separablefilterbase.h"

namespace vorlen {

/// Separable convolution with kernels of the caller's choice.
template <class T>
class SeparableFilter : public SeparableFilterBase<T> {
public:
    using SeparableFilterBase<T>::setKernel1;
    using SeparableFilterBase<T>::setKernel2;
    using SeparableFilterBase<T>::setKernel3;
    using SeparableFilterBase<T>::setVMask;
    using SeparableFilterBase<T>::setHMask;
    using SeparableFilterBase<T>::setDivideBy;
    using SeparableFilterBase<T>::setMultiplyBy;
};

} // namespace vorlen
