#include "export/savevolumeasstack.h"

#include "document/stackwriter.h"

namespace vorlen {

template <class T>
void saveVolumeAsStack(const VoxelMatrix<T>& volume, const std::string& name, const std::string& imagesPath,
                       const std::string& stackPath, const PixelCalibration& calibration, float spacing) {
    StackWriter::saveAsStack(volume, name, imagesPath, stackPath, calibration, spacing);
}

template void saveVolumeAsStack<float>(const VoxelMatrix<float>&, const std::string&, const std::string&,
                                       const std::string&, const PixelCalibration&, float);
template void saveVolumeAsStack<double>(const VoxelMatrix<double>&, const std::string&, const std::string&,
                                        const std::string&, const PixelCalibration&, float);

} // namespace vorlen
