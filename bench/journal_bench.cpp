#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include <QThreadPool>

#include <benchmark/benchmark.h>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/journal/documentrecorder.h"
#include "editing/journal/journalgenerations.h"
#include "editing/journal/journalrecord.h"
#include "editing/journal/stackjournal.h"
#include "editing/operations/itemoperations.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefilemosaic.h"
#include "images/files/imagesourcekinds.h"
#include "inputs.h"

namespace vorlen {

namespace {

constexpr int numSlices = 500, numModels = 10, numVertices = 20;

Vertices<double> outline(int phase) {
    const std::vector<int> contour = inputs::contour(numVertices, 900, phase);
    Vertices<double> vertices(2, numVertices, numVertices, 1);
    for (int i = 0; i < numVertices; ++i)
        for (const int axis : {0, 1})
            vertices[i][axis] = contour[std::size_t(2 * i + axis)] + 2000;
    return vertices;
}

/// A stack of so many outlines, spread over slices and models.
void fill(Stack& stack, int numOutlines) {
    for (int i = 0; i < numSlices; ++i) {
        auto* slice = new StackSlice; // the stack takes it over, and the model
        slice->setName("s" + std::to_string(i));
        slice->setImageSource(ImageSourceFileMosaic(1, 1));
        stack.addSlice(slice);
    }
    for (int i = 0; i < numModels; ++i) {
        auto* model = new Model;
        model->setName("m" + std::to_string(i));
        model->getProperties().setGeometry(PolygonPrimitive);
        stack.addModel(model);
    }
    for (int i = 0; i < numOutlines; ++i) {
        auto* item = new ModelItem; // model and slice take it over
        item->setModel(&stack.getModel(i % numModels));
        item->setSlice(&stack.getSlice(i % numSlices));
        item->setVertices(outline(i % 100));
        item->attach();
    }
}

/// A stack with its journal in a folder that goes with it.
struct Day {
    explicit Day(int numOutlines) {
        std::string pattern = (std::filesystem::temp_directory_path() / "vorlen-journal-XXXXXX").string();
        folder = ::mkdtemp(pattern.data());
        writers.setMaxThreadCount(1);
        fill(stack, numOutlines);
        stack.write(folder + "/d.sdf");
        journal = std::make_unique<StackJournal>(
            stack, [this] { return folder + "/journal"; }, writers, [](const QString&) {});
        step();
        writers.waitForDone();
    }
    ~Day() {
        journal.reset();
        writers.waitForDone();
        std::filesystem::remove_all(folder);
    }
    void step() { createItem(stack, stack.getSlice(7), stack.getModel(3), outline(3)); }

    std::string folder;
    QThreadPool writers;
    VRLStack stack;
    std::unique_ptr<StackJournal> journal;
};

void step(benchmark::State& state) {
    Day day(int(state.range(0)));
    for (auto _ : state)
        day.step();
}

/// What it costs to keep the whole document instead.
void wholeText(benchmark::State& state) {
    Stack stack;
    fill(stack, int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(StackWriter().toText(stack).size());
}

void watchBegins(benchmark::State& state) {
    VRLStack stack;
    fill(stack, int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(DocumentRecorder(stack).isLost());
}

void read(benchmark::State& state) {
    Stack stack;
    fill(stack, int(state.range(0)));
    const std::string text = StackWriter().toText(stack);
    for (auto _ : state) {
        Stack other;
        StackReader().readText(other, text, "/d.sdf");
        benchmark::DoNotOptimize(other.getNumModels());
    }
}

/// Opening with the history of 1000 steps.
void rebuild(benchmark::State& state) {
    Day day(int(state.range(0)));
    for (int i = 1; i < 1000; ++i)
        day.step();
    day.stack.write(day.folder + "/d.sdf");
    day.writers.waitForDone();
    const std::string hash = JournalFormat::hash(StackWriter().toText(day.stack, day.folder + "/"));
    for (auto _ : state) {
        VRLStack other;
        JournalGenerations journal(day.folder + "/journal");
        const auto rebuilt = StackJournal::rebuildSaved(other, journal, imageSourceKinds(), hash);
        if (rebuilt.numRecords != 1000)
            state.SkipWithError("not all steps are there");
    }
}

} // namespace

BENCHMARK(step)->Name("journalStep/vorlen")->Arg(5000)->Arg(500000)->Unit(benchmark::kMillisecond);
BENCHMARK(wholeText)->Name("journalStep/reference")->Arg(5000)->Arg(500000)->Unit(benchmark::kMillisecond);
BENCHMARK(watchBegins)->Name("journalWatch/vorlen")->Arg(5000)->Arg(500000)->Unit(benchmark::kMillisecond);
BENCHMARK(read)->Name("journalWatch/reference")->Arg(5000)->Arg(500000)->Unit(benchmark::kMillisecond);
BENCHMARK(rebuild)->Name("journalRebuild/vorlen")->Arg(5000)->Arg(500000)->Unit(benchmark::kMillisecond);
BENCHMARK(read)->Name("journalRebuild/reference")->Arg(5000)->Arg(500000)->Unit(benchmark::kMillisecond);

} // namespace vorlen
