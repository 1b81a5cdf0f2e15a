#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>

#include "inputs.h"
#include "reconstruction/marchingcubes.h"
#include "support/plainmarchingcubes.h"

namespace vorlen {

namespace {

VoxelMatrix<float> volumeOf(const std::vector<float>& values, int size) {
    VoxelMatrix<float> volume(size, size, size);
    const float* from = values.data();
    for (int k = 0; k < size; ++k)
        for (int i = 0; i < size; ++i, from += size)
            std::copy_n(from, size, volume[k][i].data());
    return volume;
}

/// Smooth surface: about one cube in thirty is crossed.
const VoxelMatrix<float>& gyroid(int size) {
    static std::map<int, VoxelMatrix<float>> volumes;
    if (volumes.find(size) == volumes.end())
        volumes.emplace(size, volumeOf(inputs::gyroid(size), size));
    return volumes.at(size);
}

/// Noisy blobs at the level of their mean: many crossed cubes, many of them ambiguous.
const VoxelMatrix<float>& blobs() {
    static const VoxelMatrix<float> volume = volumeOf(inputs::volume(128, 128, 128), 128);
    return volume;
}

void surface(benchmark::State& state, const VoxelMatrix<float>& volume, float level) {
    MarchingCubes<float> cubes;
    for (auto _ : state) {
        const TriMesh<float> mesh = cubes.buildMesh(volume, level, false);
        benchmark::DoNotOptimize(mesh.getNumTriangles());
        state.counters["triangles"] = mesh.getNumTriangles();
    }
}

void plainSurface(benchmark::State& state, const VoxelMatrix<float>& volume, float level) {
    for (auto _ : state) {
        const TriMesh<float> mesh = PlainMarchingCubes<float>(volume, level, false).mesh();
        benchmark::DoNotOptimize(mesh.getNumTriangles());
    }
}

void gyroidSurface(benchmark::State& state) {
    surface(state, gyroid(int(state.range(0))), 0);
}
void plainGyroidSurface(benchmark::State& state) {
    plainSurface(state, gyroid(int(state.range(0))), 0);
}
void blobsSurface(benchmark::State& state) {
    surface(state, blobs(), 127.5f);
}
void plainBlobsSurface(benchmark::State& state) {
    plainSurface(state, blobs(), 127.5f);
}

} // namespace

BENCHMARK(gyroidSurface)->Name("marching_cubes/vorlen")->Arg(128)->Arg(256)->Unit(benchmark::kMillisecond);
BENCHMARK(plainGyroidSurface)->Name("marching_cubes/reference")->Arg(128)->Arg(256)->Unit(benchmark::kMillisecond);
BENCHMARK(blobsSurface)->Name("marching_cubes_noise/vorlen")->Unit(benchmark::kMillisecond);
BENCHMARK(plainBlobsSurface)->Name("marching_cubes_noise/reference")->Unit(benchmark::kMillisecond);

} // namespace vorlen
