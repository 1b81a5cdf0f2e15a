#pragma once

#include <optional>
#include <string>

#include "images/volumes/voxelmatrix.h"
#include "numerics/vector.h"
#include "values/lengthunit.h"

namespace vorlen {

/// Whether the name ends in ".nii" or ".nii.gz", in letters of any case.
bool isNiftiName(const std::string& fileName);

/// Writes a volume whose index (i, j, k) stands for the coordinates (x, y, z) as a NIfTI file, header and samples in
/// one, that carries the place of the volume in space: x runs fastest, origin is the place of element (0, 0, 0), steps
/// are the distances along the axes. Both stand in the header twice, as quaternion and offset and as the rows of an
/// affine map. A name that ends in ".gz" is compressed.
///
/// Of the units the format has meters, millimeters and micrometers. Lengths of any other are written in the next larger
/// one of these, which is no loss; without a unit the header has none, and readers take millimeters.
///
/// A header of the first version counts elements along an axis in 16 bits: a volume with more than 32767 of them gets
/// one of the second version (Cox et al. 2004, "A (sort of) new image data format standard: NIfTI-1"; NIfTI-2, 2011).
///
/// Throws SizeError unless origin and steps have three components and the volume an element, ValueError unless they are
/// finite and the steps above 0, also in the numbers of the header, FileWriteError as VoxelMatrix::save(); a failed
/// save leaves an old file whole. Instantiated for float.
template <class T>
void saveNifti(const VoxelMatrix<T>& volume, const Vector<T>& origin, const Vector<T>& steps,
               const std::optional<LengthUnit>& unit, const std::string& fileName, bool overwrite);

} // namespace vorlen
