#include "cli/commands.h"

#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <utility>

#include "cli/commandline.h"
#include "cli/comparisonfiles.h"
#include "cli/comparisonreport.h"
#include "cli/consolemonitor.h"
#include "cli/mapoptions.h"
#include "cli/memoryneed.h"
#include "cli/specimens.h"
#include "cli/stackfile.h"
#include "files/fileinfo.h"
#include "files/safestream.h"
#include "images/filters/parallelwork.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/densitymapping.h"
#include "normalization/groupcomparison.h"
#include "numerics/exception.h"
#include "shapes/grid.h"
#include "shapes/shape.h"

#include <QCryptographicHash>
#include <QFile>

namespace vorlen {

namespace {

struct Comparison {
    ComparisonSettings settings;
    ComparisonFiles files;
    std::optional<WorkPart> stretch; ///< of the list of permutations
    std::vector<std::string> parts;  ///< files to put together
};

std::vector<std::string> outputsOf(const Comparison& comparison) {
    if (comparison.stretch)
        return {comparison.files.base + "-part-" + std::to_string(comparison.stretch->number) + "-of-" +
                std::to_string(comparison.stretch->parts) + ".json"};
    return comparison.files.names(comparison.settings.forms);
}

std::string hashOf(const std::vector<int>& groups, const SpecimenValues& values) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const auto add = [&hash](const auto& items) {
        hash.addData({reinterpret_cast<const char*>(items.data()), qsizetype(items.size() * sizeof(items[0]))});
    };
    add(groups);
    for (const std::vector<float>& row : values.values)
        add(row);
    return hash.result().toHex().toStdString();
}

/// Does the stretch alone, and writes its maxima.
void writeStretch(GroupComparison& run, const WorkPart& stretch, const ComparisonKey& key, const std::string& file) {
    const std::uint64_t total = run.numPermutations();
    std::ostringstream text;
    writeMaxima(text, key, run.maxima(stretch.first(total), stretch.count(total)));
    if (!saveStreamed(file, [&](std::ostream& stream) { stream << text.str(); }))
        throw FileWriteError("int compareCommand(const QStringList&)", "Cannot open file for writing", file);
    std::cout << file << '\n';
}

int compareGroups(const Comparison& comparison) {
    for (const std::string& file : outputsOf(comparison))
        if (!mayWrite(file, comparison.files.overwrite))
            return ExitFileError;
    GroupComparison run(comparison.settings);
    run.prepare();
    for (const std::string& note : run.getValues().notes)
        std::cout << note << '\n';
    const ComparisonSettings& settings = comparison.settings;
    const ComparisonKey key = {run.getStatistic().name(), hashOf(settings.specimens.groups, run.getValues()),
                               settings.seed, run.numPermutations(), settings.clusterThreshold};
    ConsoleMonitor terminal;
    run.addMonitor(terminal);
    if (comparison.stretch) {
        writeStretch(run, *comparison.stretch, key, outputsOf(comparison).front());
        return ExitGood;
    }
    if (comparison.parts.empty()) {
        run.run();
    } else {
        std::vector<PermutationMaxima> parts;
        parts.reserve(comparison.parts.size());
        for (const std::string& file : comparison.parts)
            parts.push_back(readMaxima(file, key));
        run.conclude(std::move(parts));
    }
    run.removeMonitor(terminal);
    for (const std::string& sentence : comparisonSentences(run))
        std::cout << sentence << '\n';
    for (const std::string& file : saveComparison(run, comparison.files))
        std::cout << file << '\n';
    return ExitGood;
}

/// Tells what the values of all specimens take, and what is made of them: a statistic, its p and a difference, with a
/// set of sums for each thread.
int tellMemoryOf(const Comparison& comparison) {
    const SpecimenList& list = comparison.settings.specimens;
    const std::string& first = list.files.front();
    double places = 0, points = 0, own = 0;
    if (comparison.settings.forms) {
        places = 3 * double(std::unique_ptr<Shape<float>>(Shape<float>::loadFile(first))->getNumVertices());
    } else if (FileInfo::suffixName(first) == "vm") {
        VoxelMatrix<float> map;
        map.loadHeader(first);
        places = double(map.getSize1()) * map.getSize2() * map.getSize3();
    } else {
        std::vector<std::unique_ptr<Shape<float>>> patterns;
        for (const std::string& file : list.files)
            if (const int status = readPattern(file, patterns); status != ExitGood)
                return status;
        std::vector<Shape<float>*> pointers;
        pointers.reserve(patterns.size());
        for (const auto& pattern : patterns) {
            pointers.push_back(pattern.get());
            points += double(pattern->getNumVertices());
        }
        const DensityMapping mapping(comparison.settings.mapping.settings, pointers, {});
        const Grid<float> grid = mapping.grid(comparison.settings.mapping.resolution);
        places = double(grid.getSize()[0]) * grid.getSize()[1] * grid.getSize()[2];
        own = mapping.bytes(grid);
    }
    const double held = double(list.files.size()) + 6 + 3 * ParallelWork::getThreads();
    std::cout << "Memory: " << memoryText(MemoryNeed().own + own + sizeof(float) * (places * held + 16 * points))
              << ", on " << ParallelWork::getThreads() << " threads\n";
    return ExitGood;
}

/// Fills what the command line tells; false, and a word about it, for a wrong usage.
bool readComparison(const CommandLine& line, Comparison& comparison) {
    const std::optional<int> permutations = line.integer("permutations", 1, 100000000);
    const std::optional<int> seed = permutations ? line.integer("seed", 0, 2147483647) : std::nullopt;
    const std::optional<double> alpha = seed ? line.number("alpha", 1e-9, 1) : std::nullopt;
    const std::optional<double> cluster = !alpha                  ? std::nullopt
                                          : line.isSet("cluster") ? line.number("cluster", 1e-9, 1e9)
                                                                  : std::optional(0.);
    if (!cluster ||
        !readDensityOptions(line, comparison.settings.mapping.settings, comparison.settings.mapping.resolution) ||
        !readUnit(line, comparison.files.unit) || !readChunk(line, comparison.stretch))
        return false;
    if (comparison.files.unit)
        comparison.settings.mapping.settings.unit = comparison.files.unit->symbol();
    if (line.value("name").isEmpty() || line.value("name").contains('/')) {
        line.usageError("--name takes a file name without a directory");
        return false;
    }
    for (const QString& word : line.values("mask"))
        comparison.settings.mapping.masks.push_back(QFile::encodeName(word).toStdString());
    for (const QString& word : line.values("merge"))
        comparison.parts.push_back(QFile::encodeName(word).toStdString());
    comparison.settings.permutations = std::uint64_t(*permutations);
    comparison.settings.seed = std::uint64_t(*seed);
    comparison.settings.alpha = *alpha;
    comparison.settings.clusterThreshold = float(*cluster);
    comparison.settings.forms = line.isSet("shapes");
    comparison.files.base = line.path("output") + "/" + line.path("name");
    comparison.files.overwrite = line.isSet("overwrite");
    comparison.files.gzip = line.isSet("gzip");
    comparison.files.nifti = line.isSet("nifti");
    comparison.files.program = std::string("vorlen-cli ") + VORLEN_VERSION;
    return true;
}

void addOptions(CommandLine& line) {
    line.addOutputOptions();
    line.addOption({"name"}, "Name that the files begin with.", "name", "comparison");
    line.addOption({"groups"}, "How many files each group has, in their order: 5,5 say.", "sizes");
    line.addOption({"names"}, "Names of the groups: control,treated say.", "names");
    line.addOption({"table"},
                   "A table of files and groups in place of both: a line for each file, a tabulator between.", "file");
    line.addFlag("shapes", "Compare the places of vertices that correspond, those of normalized shapes.");
    addDensityOptions(line, "kernel");
    line.addOption({"mask"}, "A closed surface (.qm) outside of which the density is 0; may be given several times.",
                   "file");
    line.addOption({"permutations"}, "At most so many; all there are when these are no more.", "number", "10000");
    line.addOption({"seed"}, "Which permutations are drawn.", "number", "1");
    line.addOption({"alpha"}, "The p up to which places count as significant.", "p", "0.05");
    line.addOption({"cluster"}, "Look for clusters of places whose statistic is above this.", "threshold");
    line.addOption({"chunk"}, "Do only this part of the permutations, 2/5 say, and write its maxima.", "part/parts");
    line.addOption({"merge"}, "A file of such maxima; once for each part, to finish the test.", "file");
    line.addOption({"unit"}, "Unit of the points, for the volumes: m, mm, \302\265m (or um), nm.", "unit");
    line.addFlag("nifti", "Write the volumes as NIfTI (.nii), too.");
    line.addFlag("gzip", "Write NRRD files compressed, and those of NIfTI, .nii.gz.");
}

} // namespace

int compareCommand(const QStringList& arguments) {
    CommandLine line("compare",
                     "Tells where groups of specimens differ: a statistic at each place of their density maps, or of "
                     "their shapes, and by permutations of the specimens the p that is corrected for all places.",
                     "SPECIMEN...",
                     "Point shapes (.vx, .vs) in one space, or density maps (.vm) of one size, or with --shapes "
                     "shapes of as many vertices.");
    addOptions(line);
    if (const std::optional<int> status = line.parse(arguments, 0, false))
        return *status;
    Comparison comparison;
    if (!readComparison(line, comparison))
        return ExitUsage;
    return guarded("compare the groups", [&]() -> int {
        const std::optional<SpecimenList> specimens = readSpecimens(line);
        if (!specimens)
            return ExitUsage;
        comparison.settings.specimens = *specimens;
        if (line.isSet("dry-run"))
            return tellMemoryOf(comparison);
        if (!line.outputDirectory())
            return ExitFileError;
        return compareGroups(comparison);
    });
}

} // namespace vorlen
