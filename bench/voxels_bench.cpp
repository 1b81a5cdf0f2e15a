#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <malloc.h>
#include <memory>
#include <stdlib.h>
#include <string>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>

#include "images/volumes/voxelmatrix.h"

namespace vorlen {

namespace {

constexpr int rows = 512, columns = 512, planes = 16;
constexpr std::size_t elements = std::size_t(rows) * columns * planes;
constexpr std::size_t fileLength = 48 + elements * sizeof(float);

// 32-bit mix of an index, for noise that is the same everywhere.
std::uint32_t hashed(std::uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return x;
}

// Smooth blobs and a little noise between 0 and 255.
float blob(int i, int j, int k) {
    const float fi = float(i), fj = float(j), fk = float(k);
    const float smooth = std::sin(0.11f * fi) * std::sin(0.13f * fj) + std::sin(0.17f * fj) * std::sin(0.07f * fk) +
                         std::sin(0.05f * fk) * std::sin(0.09f * fi);
    const std::uint32_t mixed =
        hashed(std::uint32_t(i) * 73856093U ^ std::uint32_t(j) * 19349663U ^ std::uint32_t(k) * 83492791U);
    return 127.5f + 38.0f * smooth + 12.0f * (float(mixed >> 8) / 16777216.0f - 0.5f);
}

const VoxelMatrix<float>& volume() {
    static const VoxelMatrix<float> made = [] {
        VoxelMatrix<float> matrix(rows, columns, planes);
        for (int k = 0; k < planes; ++k)
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < columns; ++j)
                    matrix(i, j, k) = blob(i, j, k);
        return matrix;
    }();
    return made;
}

// A folder with the volume in it, removed at the end of the program.
class VolumeFolder {
public:
    VolumeFolder() {
        // Memory stays with the program from one load to the next: the pages that the system would have to clear are
        // neither side's work.
        ::mallopt(M_TRIM_THRESHOLD, 1 << 30);
        ::mallopt(M_MMAP_THRESHOLD, 1 << 30);
        std::string name = (std::filesystem::temp_directory_path() / "vorlen-bench-XXXXXX").string();
        __path = ::mkdtemp(name.data());
        volume().save(file("volume.vm"), true);
    }
    ~VolumeFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(__path, ignored);
    }
    std::string file(const std::string& name) const { return __path + "/" + name; }

    static const VolumeFolder& instance() {
        static const VolumeFolder folder;
        return folder;
    }

private:
    std::string __path;
};

void loadVolume(benchmark::State& state) {
    const std::string name = VolumeFolder::instance().file("volume.vm");
    for (auto _ : state) {
        VoxelMatrix<float> loaded;
        loaded.load(name);
        benchmark::DoNotOptimize(loaded[planes - 1][rows - 1][columns - 1]);
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t(fileLength));
}

// The bytes of the file into one block of memory, and nothing else.
void readBytes(benchmark::State& state) {
    const std::string name = VolumeFolder::instance().file("volume.vm");
    for (auto _ : state) {
        const std::unique_ptr<char[]> bytes(new char[fileLength]);
        const int descriptor = ::open(name.c_str(), O_RDONLY);
        std::size_t done = 0;
        for (ssize_t part = 1; part > 0 && done < fileLength; done += std::size_t(part))
            part = ::read(descriptor, bytes.get() + done, fileLength - done);
        ::close(descriptor);
        if (done != fileLength)
            state.SkipWithError("cannot read the volume");
        benchmark::DoNotOptimize(bytes[fileLength - 1]);
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t(fileLength));
}

void saveVolume(benchmark::State& state) {
    const std::string name = VolumeFolder::instance().file("saved.vm");
    volume();
    for (auto _ : state)
        volume().save(name, true);
    state.SetBytesProcessed(state.iterations() * std::int64_t(fileLength));
}

// One block of memory to a new file, with the flush and the rename without which an old file is not safe.
void writeBytes(benchmark::State& state) {
    const std::string name = VolumeFolder::instance().file("bare.vm");
    const std::string fresh = VolumeFolder::instance().file("bare.new");
    const std::vector<char> bytes(fileLength, 'v');
    for (auto _ : state) {
        const int descriptor = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        std::size_t done = 0;
        for (ssize_t part = 1; part > 0 && done < fileLength; done += std::size_t(part))
            part = ::write(descriptor, bytes.data() + done, fileLength - done);
        if (done != fileLength || ::fsync(descriptor) != 0 || ::close(descriptor) != 0 ||
            std::rename(fresh.c_str(), name.c_str()) != 0)
            state.SkipWithError("cannot write the volume");
    }
    state.SetBytesProcessed(state.iterations() * std::int64_t(fileLength));
}

} // namespace

BENCHMARK(loadVolume)->Name("vm_load/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK(readBytes)->Name("vm_load/reference")->Unit(benchmark::kMillisecond);
BENCHMARK(saveVolume)->Name("vm_save/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK(writeBytes)->Name("vm_save/reference")->Unit(benchmark::kMillisecond);

} // namespace vorlen
