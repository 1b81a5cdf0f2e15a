#pragma once

#include "images/volumes/voxelmatrixprocessing.h"

namespace vorlen {

/// Processing of the part of a volume where a mask of the same size is not zero.
/// The mask is only seen, not owned, and must outlive apply().
template <class T>
class MaskVoxelMatrixProcessing : virtual public VoxelMatrixProcessing<T> {
public:
    ~MaskVoxelMatrixProcessing() override;
    void apply(VoxelMatrix<T>& matrix) override = 0;

    virtual void setMask(const VoxelMatrix<T>& mask);
    /// The mask, null when none is set.
    virtual const VoxelMatrix<T>* getMask() const;
    virtual void unsetMask();
    bool hasMask() const;

private:
    const VoxelMatrix<T>* __mask = nullptr;
};

} // namespace vorlen
