#include "inputs.h"
#include "normalization/globalshapesetgroupregistration.h"
#include "normalization/shapesetgroup.h"
#include "normalization/shapesetregistration.h"
#include "shapes/quadmesh.h"
#include "shapes/shapeset.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

namespace vorlen {

namespace {

constexpr int height = 30;
constexpr int width = 48;

/// Wavy closed tube of specimen i, moved by a motion of its own and with noise.
std::unique_ptr<QuadMesh<float>> tube(int i, int structure) {
    auto mesh = std::make_unique<QuadMesh<float>>(3, height, width, 0, 0, false);
    const float turn = inputs::unit(std::uint32_t(i)), shift = 50 * inputs::unit(std::uint32_t(i) + 100);
    const float c = std::cos(turn), s = std::sin(turn);
    for (int r = 0; r < height; ++r) {
        for (int k = 0; k < width; ++k) {
            const double angle = 6.283185307179586 * k / width;
            const double radius = 40 * (1 + 0.3 * std::cos(angle + structure) + 0.1 * std::sin(2 * angle + 0.2 * r));
            const std::uint32_t place = std::uint32_t(((i * 2 + structure) * height + r) * width + k);
            const float noise = 4 * inputs::unit(place);
            const float x = float(radius * std::cos(angle)) + noise, y = float(0.7 * radius * std::sin(angle));
            Vector<float>& v = (*mesh)[r][k];
            v[0] = c * x - s * y + shift;
            v[1] = s * x + c * y - shift;
            v[2] = 5.0f * float(r) + 80.0f * float(structure) + shift;
        }
    }
    return mesh;
}

/// n specimens of two references each.
struct Specimens {
    explicit Specimens(int n) : sets(std::size_t(n)) {
        for (int i = 0; i < n; ++i) {
            for (int structure = 0; structure < 2; ++structure)
                sets[std::size_t(i)].addShape(tube(i, structure).release(), true);
            group.addShapeSet(sets[std::size_t(i)]);
        }
    }
    ~Specimens() {
        for (ShapeSet<float>& set : sets)
            set.clear();
    }
    Specimens(const Specimens&) = delete;
    Specimens& operator=(const Specimens&) = delete;

    std::vector<ShapeSet<float>> sets;
    ShapeSetGroup<float> group;
};

Vector<float> plainError(const ShapeSetGroup<float>& group) {
    Vector<float> errors;
    for (int i = 0; i < group.getNumShapeSets(); ++i)
        for (int j = i + 1; j < group.getNumShapeSets(); ++j)
            errors.append(group[i].referenceShapeSet().rmsDistances(group[j].referenceShapeSet()));
    return errors;
}

/// The sweeps with every average and every distance formed anew.
int plainRegistration(ShapeSetGroup<float>& group) {
    const int n = group.getNumShapeSets();
    for (int i = 2; i < n; ++i)
        group[i].matchSurfaces(group[1]);
    float error = plainError(group).mean();
    for (int sweep = 1;; ++sweep) {
        for (int i = 0; i < n; ++i) {
            ShapeSetGroup<float> others = group;
            others.removeShapeSet(group[i]);
            ShapeSet<float> average = others.average();
            group[i].matchSurfaces(average);
            ShapeSetRegistration<float>().apply(group[i], average);
            average.clear();
        }
        const float previous = error;
        error = plainError(group).mean();
        if (std::abs(previous - error) / (previous + 1e-6f) <= 1e-6f)
            return sweep;
    }
}

void registration(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto specimens = std::make_unique<Specimens>(int(state.range(0)));
        state.ResumeTiming();
        GlobalShapeSetGroupRegistration<float> global;
        global.apply(specimens->group);
        state.PauseTiming();
        std::vector<float> means, sems;
        global.getDynamics(means, sems);
        state.counters["sweeps"] = double(means.size() - 1);
        specimens.reset();
        state.ResumeTiming();
    }
}

void registrationReference(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto specimens = std::make_unique<Specimens>(int(state.range(0)));
        state.ResumeTiming();
        state.counters["sweeps"] = plainRegistration(specimens->group);
        state.PauseTiming();
        specimens.reset();
        state.ResumeTiming();
    }
}

void groupError(benchmark::State& state) {
    const Specimens specimens(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(ShapeSetGroupRegistration<float>::errorType1(specimens.group).data());
}

void groupErrorReference(benchmark::State& state) {
    const Specimens specimens(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(plainError(specimens.group).data());
}

} // namespace

BENCHMARK(registration)
    ->Name("group_registration/vorlen")
    ->Arg(8)
    ->Arg(16)
    ->Arg(32)
    ->Arg(64)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(registrationReference)
    ->Name("group_registration/reference")
    ->Arg(8)
    ->Arg(16)
    ->Arg(32)
    ->Arg(64)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(groupError)->Name("group_error/vorlen")->Arg(16)->Arg(32)->Unit(benchmark::kMicrosecond);
BENCHMARK(groupErrorReference)->Name("group_error/reference")->Arg(16)->Arg(32)->Unit(benchmark::kMicrosecond);

} // namespace vorlen
