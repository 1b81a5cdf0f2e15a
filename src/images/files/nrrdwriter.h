#pragma once

#include <functional>
#include <optional>
#include <string>

#include "images/volumes/voxelmatrix.h"
#include "numerics/vector.h"
#include "values/lengthunit.h"

namespace vorlen {

/// How the samples of a written NRRD are stored.
enum class NrrdEncoding { Raw, Gzip };

/// The unit as NRRD files have it, "um" say; empty when there is none, and for one that is none of m, cm, mm, um, nm.
std::string nrrdUnit(const std::optional<LengthUnit>& unit);

/// Writes a volume whose index (i, j, k) stands for the coordinates (x, y, z) as an attached NRRD file that carries the
/// place of the volume in space: x runs fastest, "space origin" is the place of element (0, 0, 0), "space directions"
/// the steps along the axes. unit is the unit of the coordinates, "um" say, or empty when it is not known.
///
/// Throws SizeError unless origin and steps have three components and the volume an element, ValueError unless they are
/// finite and the steps above 0, FileWriteError as VoxelMatrix::save(); a failed save leaves an old file whole.
/// Instantiated for float.
template <class T>
void saveNrrd(const VoxelMatrix<T>& volume, const Vector<T>& origin, const Vector<T>& steps, const std::string& unit,
              NrrdEncoding encoding, const std::string& fileName, bool overwrite);

/// The same for a volume of this size that need not be in memory as a whole: its planes are asked for in their order,
/// once each, and what they throw leaves an old file whole.
template <class T>
void saveNrrd(const Vector<int>& size, const std::function<const PixelMatrix<T>&(int)>& plane, const Vector<T>& origin,
              const Vector<T>& steps, const std::string& unit, NrrdEncoding encoding, const std::string& fileName,
              bool overwrite);

} // namespace vorlen
