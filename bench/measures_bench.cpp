#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "inputs.h"
#include "reconstruction/measurementtable.h"
#include "reconstruction/modelmorphometry.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

namespace {

/// So many models with so many outlines of 40 vertices each, one on each of as many sections in a row out of 400: with
/// 1,600 models of 40 outlines 64,000 items. Made once.
const Stack& study(int numModels, int perModel) {
    static std::map<std::pair<int, int>, std::unique_ptr<Stack>> made;
    std::unique_ptr<Stack>& place = made[{numModels, perModel}];
    if (place)
        return *place;
    constexpr int numSlices = 400, perItem = 40;
    place = std::make_unique<Stack>();
    place->setDefaultSliceSpacing(10);
    for (int s = 0; s < numSlices; ++s) {
        auto* slice = new StackSlice;
        slice->setName(std::to_string(s));
        place->addSlice(slice);
    }
    for (int m = 0; m < numModels; ++m) {
        auto* model = new Model;
        model->setName(std::to_string(m));
        place->addModel(model);
        for (int k = 0; k < perModel; ++k) {
            const std::vector<int> points = inputs::contour(perItem, 60 + k, 0.1 * m);
            const std::vector<double> coordinates(points.begin(), points.end());
            auto* item = new ModelItem;
            item->setModel(model);
            item->setSlice(&place->getSlice((m + k) % numSlices));
            item->setVertices(coordinates.data(), perItem);
            item->attach();
        }
    }
    return *place;
}

/// All tables: of models, items and slices. 64,000 items take at most 0.5 s, 500,000 at most 5 s.
void measures(benchmark::State& state) {
    const Stack& stack = study(int(state.range(0)), int(state.range(1)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(MeasurementTable::ofModels(stack).getNumRows());
        benchmark::DoNotOptimize(MeasurementTable::ofItems(stack).getNumRows());
        benchmark::DoNotOptimize(MeasurementTable::ofSlices(stack).getNumRows());
    }
}

/// The models alone, by a mesh of each.
void measuresByMesh(benchmark::State& state) {
    const Stack& stack = study(int(state.range(0)), int(state.range(1)));
    const StackReconstruction<double> reconstruction(stack);
    for (auto _ : state) {
        ModelMorphometry morphometry;
        double sum = 0;
        for (int m = 0; m < stack.getNumModels(); ++m) {
            morphometry.setModel(stack.getModel(m));
            morphometry.runByMesh(reconstruction);
            sum += morphometry.getClosedVolume();
        }
        benchmark::DoNotOptimize(sum);
    }
}

} // namespace

BENCHMARK(measures)
    ->Name("measures/vorlen")
    ->Args({200, 40})
    ->Args({1600, 40})
    ->Args({2000, 250})
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(measuresByMesh)->Name("measures/reference")->Args({200, 40})->Unit(benchmark::kMillisecond);

} // namespace vorlen
