#pragma once

#include "progress/progresssubject.h"

namespace vorlen {

template <class T>
class VoxelMatrix;

/// Base of what changes a volume in place: filters, resizers, thresholds.
template <class T>
class VoxelMatrixProcessing : virtual public ProgressSubject {
public:
    ~VoxelMatrixProcessing() override;
    virtual void apply(VoxelMatrix<T>& matrix) = 0;
};

} // namespace vorlen
