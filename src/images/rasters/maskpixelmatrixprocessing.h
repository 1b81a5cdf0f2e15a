#pragma once

#include "images/rasters/pixelmatrixprocessing.h"

namespace vorlen {

/// Processing of the part of a matrix where a mask of the same size is not zero.
/// The mask is only seen, not owned, and must outlive apply().
template <class T>
class MaskPixelMatrixProcessing : virtual public PixelMatrixProcessing<T> {
public:
    ~MaskPixelMatrixProcessing() override;
    void apply(PixelMatrix<T>& matrix) override = 0;

    virtual void setMask(const PixelMatrix<T>& mask);
    /// The mask, null when none is set.
    virtual const PixelMatrix<T>* getMask() const;
    virtual void unsetMask();
    bool hasMask() const;

private:
    const PixelMatrix<T>* __mask = nullptr;
};

} // namespace vorlen
