#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/resource.h>

#include <benchmark/benchmark.h>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "inputs.h"

namespace vorlen {

namespace {

std::string folder() {
    static const std::string path = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "vorlen-bench-XXXXXX").string();
        return std::string(::mkdtemp(pattern.data()));
    }();
    return path;
}

/// A stack file of one slice, a mosaic without tiles, and a model with contours of 1000 vertices on it.
std::string text(int numVertices) {
    std::string text = "FileFormatVersion 1.03;\nSLICE \"s\" 1 1;\nMODEL \"m\";\nPRIMITIVE Polygon;\n";
    constexpr int perItem = 1000;
    for (int first = 0, n = 0; first < numVertices; first += perItem, ++n) {
        text += "\nMODELITEM \"m\" \"s\";\nMODELITEMDATA\n";
        const std::vector<int> contour = inputs::contour(perItem, 900, n);
        for (int k = 0; k < perItem; ++k) {
            text += ' ' + std::to_string(contour[std::size_t(2 * k)] + 2000) + ',' +
                    std::to_string(contour[std::size_t(2 * k + 1)] + 2000);
            if (k % 7 == 6 && k != perItem - 1)
                text += '\n';
        }
        text += ";\n";
    }
    return text;
}

std::string fileOf(int numVertices) {
    const std::string name = folder() + "/" + std::to_string(numVertices) + ".sdf";
    if (!std::filesystem::exists(name))
        std::ofstream(name, std::ios::binary) << text(numVertices);
    return name;
}

void stackRead(benchmark::State& state) {
    const std::string name = fileOf(int(state.range(0)));
    for (auto _ : state) {
        Stack stack;
        StackReader reader;
        reader.read(stack, name);
        benchmark::DoNotOptimize(stack.getModel(0).getNumItems());
        if (stack.getModel(0).getNumItems() != state.range(0) / 1000)
            state.SkipWithError("not all items were read");
    }
}

/// A bare scan: all bytes of the file are read, and every number in them is added up.
void stackScan(benchmark::State& state) {
    const std::string name = fileOf(int(state.range(0)));
    for (auto _ : state) {
        std::ifstream stream(name, std::ios::binary);
        std::string bytes(std::filesystem::file_size(name), '\0');
        stream.read(bytes.data(), std::streamsize(bytes.size()));
        long long sum = 0, number = 0;
        for (const char c : bytes) {
            if (c >= '0' && c <= '9') {
                number = 10 * number + (c - '0');
            } else {
                sum += number;
                number = 0;
            }
        }
        benchmark::DoNotOptimize(sum);
    }
}

void stackWrite(benchmark::State& state) {
    Stack stack;
    StackReader().read(stack, fileOf(int(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(StackWriter().toText(stack, folder()).size());
}

/// The same text by the C library, number by number.
void stackPrint(benchmark::State& state) {
    Stack stack;
    StackReader().read(stack, fileOf(int(state.range(0))));
    for (auto _ : state) {
        std::string text;
        char buffer[64];
        const Model& model = stack.getModel(0);
        for (int i = 0; i < model.getNumItems(); ++i) {
            const Vertices<double>& vertices = model.getItem(i).getVertices();
            for (int k = 0; k < vertices.getNumVertices(); ++k)
                text.append(buffer, std::size_t(std::snprintf(buffer, sizeof buffer, " %d,%d", int(vertices[k][0]),
                                                              int(vertices[k][1]))));
        }
        benchmark::DoNotOptimize(text.size());
    }
}

/// A large study: 1,000 sections with 500,000 outlines of 40 vertices in 2,000 models, at a size of 1; of a smaller
/// size all but the vertices of an outline are fewer. Returns the name of its file.
std::string studyFile(double size) {
    const int numSlices = int(1000 * size), numModels = int(2000 * size), numItems = int(500000 * size);
    const std::string name = folder() + "/study" + std::to_string(numItems) + ".sdf";
    if (std::filesystem::exists(name))
        return name;
    std::ofstream file(name, std::ios::binary);
    file << "FileFormatVersion 1.03;\nSTACK \"study\";\nRELPOSITION 1;\n";
    for (int i = 0; i < numSlices; ++i)
        file << "SLICE \"s" << i << "\" 1 1;\n";
    for (int k = 0; k < numModels; ++k)
        file << "MODEL \"m" << k << "\";\nPRIMITIVE Polygon;\n";
    constexpr int perItem = 40;
    for (int n = 0; n < numItems; ++n) {
        file << "MODELITEM \"m" << n % numModels << "\" \"s" << n / (numItems / numSlices) % numSlices
             << "\";\nMODELITEMDATA\n";
        const std::vector<int> contour = inputs::contour(perItem, 60, n);
        for (int k = 0; k < perItem; ++k)
            file << ' ' << contour[std::size_t(2 * k)] + 100 + n % 800 << ','
                 << contour[std::size_t(2 * k + 1)] + 100 + n / 800 % 800;
        file << ";\n";
    }
    return name;
}

/// In megabytes: of the process, whose greatest need is that of the largest case.
double greatestMemory() {
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024;
}

void studyRead(benchmark::State& state) {
    const std::string name = studyFile(double(state.range(0)) / 100);
    for (auto _ : state) {
        Stack stack;
        StackReader().read(stack, name);
        if (stack.getNumModels() != 20 * state.range(0))
            state.SkipWithError("not all models were read");
    }
    state.counters["MB"] = greatestMemory();
}

/// What paging asks for: all outlines of a slice, once each.
void studyPage(benchmark::State& state) {
    Stack stack;
    StackReader().read(stack, studyFile(double(state.range(0)) / 100));
    int place = 0;
    for (auto _ : state) {
        const StackSlice& slice = stack.getSlice(place++ % stack.getNumSlices());
        double sum = 0;
        for (int i = 0; i < slice.getNumItems(); ++i)
            for (int k = 0; k < slice.getItem(i).getSize(); ++k)
                sum += slice.getItem(i).getCoordinate(k, 0) + slice.getItem(i).getCoordinate(k, 1);
        benchmark::DoNotOptimize(sum);
    }
    state.counters["MB"] = greatestMemory();
}

void studyWrite(benchmark::State& state) {
    Stack stack;
    StackReader().read(stack, studyFile(double(state.range(0)) / 100));
    const std::string name = folder() + "/written.sdf";
    for (auto _ : state)
        if (!StackWriter().write(stack, name))
            state.SkipWithError("the file was not written");
    state.counters["MB"] = greatestMemory();
}

} // namespace

BENCHMARK(studyRead)->Name("studyRead/vorlen")->Arg(10)->Arg(100)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(studyPage)->Name("studyPage/vorlen")->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(studyWrite)->Name("studyWrite/vorlen")->Arg(100)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(stackRead)->Name("stackRead/vorlen")->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(stackScan)->Name("stackRead/reference")->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(stackWrite)->Name("stackWrite/vorlen")->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(stackPrint)->Name("stackWrite/reference")->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

} // namespace vorlen
