#pragma once

#include <string>

namespace vorlen {

class PixelCalibration;
template <class T>
class VoxelMatrix;

/// The same as StackWriter::saveAsStack(), with the same arguments and failures. For float and double.
template <class T>
void saveVolumeAsStack(const VoxelMatrix<T>& volume, const std::string& name, const std::string& imagesPath,
                       const std::string& stackPath, const PixelCalibration& calibration, float spacing);

} // namespace vorlen
