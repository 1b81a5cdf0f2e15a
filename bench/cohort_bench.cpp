#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "inputs.h"
#include "normalization/fusionpipeline.h"
#include "normalization/vrlfusionconfig.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace vorlen {

namespace {

constexpr int numStructures = 5;

/// Specimen i: structures beside each other, each of so many sections with outlines of so many vertices, wavy, turned
/// and moved by a motion of its own.
std::unique_ptr<Stack> specimen(int i, int sections, int vertices) {
    auto stack = std::make_unique<Stack>();
    stack->setName("s" + std::to_string(i));
    stack->setDefaultSliceSpacing(8);
    for (int z = 0; z < sections; ++z) {
        auto* slice = new StackSlice; // the stack owns it
        slice->setName(std::to_string(z));
        stack->addSlice(slice);
    }
    const double turn = 0.4 * i, c = std::cos(turn), s = std::sin(turn);
    for (int m = 0; m < numStructures; ++m) {
        auto* model = new Model; // the stack owns it
        model->setName("structure " + std::to_string(m));
        stack->addModel(model);
        for (int z = 0; z < sections; ++z) {
            const double along = (z + 0.5) / sections, swell = std::sqrt(along * (1 - along)) * (1 + 0.2 * along);
            Vertices<double> outline(2, vertices, vertices, 1);
            for (int k = 0; k < vertices; ++k) {
                const double angle = 6.283185307179586 * k / vertices;
                const double noise = double(inputs::unit(std::uint32_t((i * numStructures + m) * 64 + k % 64)));
                const double r = 90 * swell * (1 + 0.25 * std::cos(angle + m) + 0.02 * noise);
                const double x = 250 * std::cos(1.3 * m) + r * std::cos(angle);
                const double y = 200 * std::sin(1.3 * m) + 0.7 * r * std::sin(angle);
                outline[k][0] = 600 + 9 * i + c * x - s * y;
                outline[k][1] = 600 - 7 * i + s * x + c * y;
            }
            auto* item = new ModelItem; // the model owns it
            item->setModel(model);
            item->setSlice(&stack->getSlice(z));
            item->setVertices(outline);
            item->attach();
        }
    }
    return stack;
}

/// Specimens, from the stacks to their mean; without the steps it is the reading, the grids and the averages alone.
void normalize(benchmark::State& state, bool steps) {
    const int numSpecimens = int(state.range(0)), sections = int(state.range(1)), vertices = int(state.range(2));
    std::vector<std::unique_ptr<Stack>> owned;
    std::vector<const Stack*> stacks;
    owned.reserve(std::size_t(numSpecimens));
    stacks.reserve(std::size_t(numSpecimens));
    for (int i = 0; i < numSpecimens; ++i) {
        owned.push_back(specimen(i, sections, vertices));
        stacks.push_back(owned.back().get());
    }
    VRLFusionConfig<float> config;
    config.setStacks(stacks);
    std::vector<VRLFusionSurfaceStructure<float>> structures = VRLFusionConfig<float>::sharedStructures(stacks);
    for (VRLFusionSurfaceStructure<float>& structure : structures)
        structure.setReference(steps);
    config.setStructures(structures);
    VRLFusionStrategy strategy;
    strategy.setAlignment(steps);
    strategy.setRegistration(steps);
    config.setStrategy(strategy);
    for (auto _ : state) {
        FusionPipeline<float> pipeline;
        pipeline.setConfig(config);
        pipeline.prepare();
        if (!pipeline.run())
            state.SkipWithError("the normalization has not ended");
    }
}

void normalizeWhole(benchmark::State& state) {
    normalize(state, true);
}

void normalizeReference(benchmark::State& state) {
    normalize(state, false);
}

} // namespace

BENCHMARK(normalizeWhole)
    ->Name("cohort_normalize/vorlen")
    ->Args({5, 40, 60})
    ->Args({10, 40, 60})
    ->Args({20, 40, 60})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(normalizeReference)
    ->Name("cohort_normalize/reference")
    ->Args({5, 40, 60})
    ->Args({20, 40, 60})
    ->Unit(benchmark::kMillisecond);

} // namespace vorlen
