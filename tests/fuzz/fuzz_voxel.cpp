// The readers of voxel matrix files on arbitrary bytes.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include <unistd.h>

#include "images/files/voxelmatrixheader.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

template <class Operation>
void attempt(Operation operation) {
    try {
        operation();
    } catch (const Exception&) {
    }
}

template <class T>
void readAs(const std::string& name) {
    attempt([&] { VoxelMatrix<T>().loadHeader(name); });
    attempt([&] { VoxelMatrix<T>::fileSizeMatchesHeader(name); });
    attempt([&] {
        VoxelMatrix<T> volume(name);
        volume.setVoxelCalibration(volume.getVoxelCalibration());
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string name = "/tmp/vorlen-fuzz-voxel-" + std::to_string(::getpid()) + ".vm";
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (file == nullptr)
        return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    attempt([&] { VoxelMatrixHeader::read(name); });
    attempt([&] { VoxelMatrixHeader::fileSizeMatchesHeader(name); });
    readAs<unsigned char>(name);
    readAs<unsigned short>(name);
    readAs<float>(name);
    ::unlink(name.c_str());
    return 0;
}

} // namespace vorlen
