#pragma once

#include "progress/progresssubject.h"

namespace vorlen {

template <class T>
class PixelMatrix;

/// Base of what changes a matrix in place: filters, resizers, thresholds.
template <class T>
class PixelMatrixProcessing : virtual public ProgressSubject {
public:
    ~PixelMatrixProcessing() override;
    virtual void apply(PixelMatrix<T>& matrix) = 0;
};

} // namespace vorlen
