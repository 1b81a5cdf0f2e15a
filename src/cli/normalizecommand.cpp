#include "cli/commands.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <utility>

#include "cli/commandline.h"
#include "cli/consolemonitor.h"
#include "cli/memoryneed.h"
#include "cli/normalizereport.h"
#include "cli/stackfile.h"
#include "files/fileinfo.h"
#include "files/safefile.h"
#include "normalization/fusionpipeline.h"
#include "normalization/resamplingsearch.h"
#include "normalization/shapefilenames.h"
#include "numerics/exception.h"
#include "shapes/curvestack.h"
#include "shapes/shapeset.h"

namespace vorlen {

namespace {

using Structure = VRLFusionSurfaceStructure<float>;

// Grids of the structure table; a thin-plate spline costs the cube of all reference vertices together.
constexpr int leastHeight = 2, leastWidth = 3, greatestSize = 1000;
constexpr double splineVertices = 2000;

void complain(const std::string& message) {
    std::cerr << "vorlen-cli: " << message << '\n';
}

/// A grid as the user asked for it; without a name it is that of all references.
struct GridOption {
    std::string structure;
    int height = 0;
    int width = 0;
};

/// What the command line asks for.
struct Request {
    VRLFusionStrategy strategy;
    std::string name;
    std::vector<std::string> references;
    std::vector<GridOption> grids;
    double error = 0; // 0: none asked for
    std::string directory;
    bool overwrite = false;
};

void declareOptions(CommandLine& line) {
    line.addOption({"reference"},
                   "A closed structure, the model's name, by which the stacks are registered; may be given several "
                   "times. By default all that the stacks share and that have one contour on a slice.",
                   "model");
    line.addOption(
        {"size"},
        "Levels and vertices of a level to which closed structures are resampled, as 40x60 for all references "
        "or MODEL=40x60 for one structure; may be given several times. By default the greatest number of contours by "
        "the greatest number of vertices.",
        "size");
    line.addOption(
        {"error"},
        "Greatest distance between a reference and its resampling, in the first stack's unit; gives the sizes "
        "that --size does not.",
        "distance");
    line.addOption({"correspondence"},
                   "What corresponds in two specimens: surface (the closest places of the surfaces; finds the "
                   "orientation by itself and bears tilted cutting, another first end and missing parts) or levels "
                   "(sections and vertices of equal rank).",
                   "method", "surface");
    line.addFlag("mirror", "Specimens may be mirrored, as left and right organs; by surface only.");
    line.addFlag("no-alignment", "Leave out the first alignment, for specimens that lie alike already.");
    line.addOption({"registration"}, "How the stacks are registered: global, template or none.", "method", "global");
    line.addOption({"template"}, "Name of the stack on which all are registered, for --registration template.",
                   "stack");
    line.addOption({"warping"},
                   "How the registered shapes are bent onto the mean: none, polynomial or spline (thin-plate; its "
                   "time grows with the cube of the sizes, which are small by default).",
                   "method", "none");
    line.addOption({"degree"}, "Degree of the polynomials, 1 to 9.", "degree", "2");
    line.addOption({"smoothing"},
                   "How far a spline by surface may miss its control points, as a share of their spacing, 0 to 1000; "
                   "auto: by the least leave-one-out error.",
                   "share", "auto");
    line.addOption({"folds"},
                   "What becomes of a specimen whose warp turns space inside out somewhere: name (it is warped and "
                   "named) or refuse (it stays as registered, and is named).",
                   "choice", "name");
    line.addOption({"name"}, "Name of the normalization, for the summary.", "name", "normalization");
    line.addOutputOptions();
}

/// "40x60" or "NAME=40x60".
std::optional<GridOption> parseGrid(const QString& text) {
    GridOption grid;
    const qsizetype equals = text.lastIndexOf('=');
    grid.structure = text.left(std::max<qsizetype>(equals, 0)).toStdString();
    const QStringList sizes = text.mid(equals + 1).split('x');
    bool goodHeight = false, goodWidth = false;
    grid.height = sizes.value(0).toInt(&goodHeight);
    grid.width = sizes.value(1).toInt(&goodWidth);
    const bool good = sizes.size() == 2 && goodHeight && goodWidth && grid.height >= leastHeight &&
                      grid.height <= greatestSize && grid.width >= leastWidth && grid.width <= greatestSize &&
                      equals != 0;
    return good ? std::optional(grid) : std::nullopt;
}

/// The options of correspondence and warps; an exit status when one is wrong.
std::optional<int> readSurfaceOptions(const CommandLine& line, VRLFusionStrategy& strategy) {
    const QString correspondence = line.value("correspondence");
    if (correspondence != "surface" && correspondence != "levels")
        return line.usageError("unknown correspondence '" + correspondence + "'");
    const bool surface = correspondence == "surface";
    strategy.setCorrespondence(surface ? SurfaceCorrespondence : LevelCorrespondence);
    if (line.isSet("mirror") && (!surface || line.isSet("no-alignment")))
        return line.usageError("--mirror belongs to the alignment by surface");
    strategy.setMirrored(line.isSet("mirror"));
    if (line.isSet("smoothing") && (!surface || line.value("warping") != "spline"))
        return line.usageError("--smoothing belongs to --warping spline by surface");
    if (line.value("smoothing") != "auto") {
        const std::optional<double> smoothing = line.number("smoothing", 0, 1000);
        if (!smoothing)
            return ExitUsage;
        strategy.setSmoothing(*smoothing);
    }
    const QString folds = line.value("folds");
    if (folds != "name" && folds != "refuse")
        return line.usageError("unknown choice '" + folds + "' for --folds");
    strategy.setFoldsRefused(folds == "refuse");
    return std::nullopt;
}

/// An exit status when the values of the options are wrong.
std::optional<int> readRequest(const CommandLine& line, Request& request) {
    VRLFusionStrategy& strategy = request.strategy;
    strategy.setAlignment(!line.isSet("no-alignment"));
    if (const std::optional<int> status = readSurfaceOptions(line, strategy))
        return status;
    const QString registration =
        line.isSet("template") && !line.isSet("registration") ? "template" : line.value("registration");
    if (registration != "global" && registration != "template" && registration != "none")
        return line.usageError("unknown registration '" + registration + "'");
    strategy.setRegistration(registration != "none");
    strategy.setRegistrationAlgorithm(registration == "template" ? TemplateRegistration : GlobalRegistration);
    if ((registration == "template") != line.isSet("template"))
        return line.usageError("--template and --registration template go together");
    strategy.setReferenceStack(line.value("template").toStdString());

    const QString warping = line.value("warping");
    if (warping != "none" && warping != "polynomial" && warping != "spline")
        return line.usageError("unknown warping '" + warping + "'");
    strategy.setWarping(warping != "none");
    strategy.setWarpingModel(warping == "spline" ? ThinPlateSplineWarping : PolynomialWarping);
    if (line.isSet("degree") && warping != "polynomial")
        return line.usageError("--degree belongs to --warping polynomial");
    const std::optional<int> degree = line.integer("degree", 1, 9);
    if (!degree)
        return ExitUsage;
    strategy.setPolynomialDegree(static_cast<unsigned int>(*degree));

    for (const QString& text : line.values("size")) {
        const std::optional<GridOption> grid = parseGrid(text);
        if (!grid)
            return line.usageError(
                "--size takes 2 to 1000 levels by 3 to 1000 vertices, as 40x60 or MODEL=40x60, not '" + text + "'");
        request.grids.push_back(*grid);
    }
    if (line.isSet("error")) {
        const std::optional<double> error = line.number("error", 1e-9, 1e9);
        if (!error)
            return ExitUsage;
        request.error = *error;
    }
    for (const QString& name : line.values("reference"))
        request.references.push_back(name.toStdString());
    request.name = line.value("name").toStdString();
    request.directory = line.path("output");
    request.overwrite = line.isSet("overwrite");
    return std::nullopt;
}

/// Gives each stack a name that tells it from the others and can be part of a file's name.
void nameStacks(const std::vector<std::unique_ptr<StackFile>>& files) {
    const auto usable = [](const std::string& name) {
        return !name.empty() && name != "mean" && name.find('/') == std::string::npos;
    };
    std::map<std::string, int> uses;
    for (const auto& file : files)
        ++uses[file->getStack().getName()];
    std::set<std::string> taken;
    for (const auto& file : files) {
        std::string name = file->getStack().getName();
        if (!usable(name) || uses[name] > 1)
            name = std::filesystem::path(file->getName()).stem().string();
        if (!usable(name))
            name = "stack";
        std::string own = name;
        for (int k = 2; !taken.insert(own).second; ++k)
            own = name + "-" + std::to_string(k);
        file->getStack().setName(own);
    }
}

/// The last grid given for this structure, else the last one given for all references; null when there is neither.
const GridOption* gridOf(const Structure& structure, const std::vector<GridOption>& grids) {
    const GridOption* found = nullptr;
    for (const GridOption& grid : grids) {
        const bool forAll = grid.structure.empty() && structure.isReference() && (!found || found->structure.empty());
        if (grid.structure == structure.getName() || forAll)
            found = &grid;
    }
    return found;
}

/// The structures that the stacks share, references or not, with their grids. Throws UsageError for what they do not
/// share.
std::vector<Structure> chooseStructures(const std::vector<const Stack*>& stacks, const Request& request) {
    std::vector<Structure> shared = VRLFusionConfig<float>::sharedStructures(stacks);
    const auto find = [&](const std::string& name) {
        const auto found = std::find_if(shared.begin(), shared.end(),
                                        [&](const Structure& structure) { return structure.getName() == name; });
        if (found == shared.end())
            throw UsageError("chooseReferences", "\"" + name + "\" is no closed structure that all stacks share");
        return found;
    };
    for (const std::string& name : request.references)
        find(name)->setReference(true);
    for (Structure& structure : shared) {
        const bool branching = VRLFusionConfig<float>::isBranching(stacks, structure.getName());
        if (request.references.empty())
            structure.setReference(!branching);
        structure.setResamplingHeight(std::clamp(structure.getResamplingHeight(), leastHeight, greatestSize));
        structure.setResamplingWidth(std::clamp(structure.getResamplingWidth(), leastWidth, greatestSize));
    }

    double vertices = 0;
    for (const Structure& structure : shared)
        if (structure.isReference())
            vertices += double(structure.getResamplingHeight()) * structure.getResamplingWidth();
    const bool spline = request.strategy.isWarping() && request.strategy.getCorrespondence() == LevelCorrespondence &&
                        request.strategy.getWarpingModel() == ThinPlateSplineWarping;
    const double shrink = spline && vertices > splineVertices ? std::sqrt(splineVertices / vertices) : 1;
    for (const GridOption& grid : request.grids)
        if (!grid.structure.empty())
            find(grid.structure);

    for (Structure& structure : shared) {
        if (const GridOption* grid = gridOf(structure, request.grids)) {
            structure.setResamplingHeight(grid->height);
            structure.setResamplingWidth(grid->width);
        } else if (structure.isReference() && request.error > 0) {
            ResamplingSearch<float> search(
                VRLFusionConfig<float>::surfaceStructureInstances(stacks, structure.getName()));
            structure.setResamplingError(float(request.error));
            search.computeValuesFromError(structure);
        } else if (structure.isReference()) {
            structure.setResamplingHeight(std::max(leastHeight, int(shrink * structure.getResamplingHeight())));
            structure.setResamplingWidth(std::max(leastWidth, int(shrink * structure.getResamplingWidth())));
        }
    }
    return shared;
}

/// Writes shapes and summary; nothing when one of the files is there and must stay.
int writeResults(const FusionPipeline<float>& pipeline, const Request& request) {
    std::vector<std::pair<std::string, const Shape<float>*>> files;
    std::set<std::string> names;
    ShapeFileNames fileNames;
    const auto addSet = [&](const ShapeSet<float>& set) {
        for (int i = 0; i < set.getSize(); ++i) {
            if (set[i] == nullptr || set[i]->getSize() == 0)
                continue;
            const std::string file = request.directory + "/" + fileNames.nameOf(set.getName(), *set[i]);
            names.insert(file);
            files.emplace_back(file, set[i]);
        }
    };
    for (const ShapeSet<float>* set : pipeline.getShapeSets())
        addSet(*set);
    addSet(*pipeline.getMeanShapeSet());

    const std::string summary = request.directory + "/summary.html",
                      numbers = request.directory + "/normalization.json";
    names.insert(summary);
    names.insert(numbers);
    for (const std::string& name : names)
        if (!request.overwrite)
            FileInfo::requireFree(name, "writeResults", "The file exists; --overwrite replaces it");
    for (const auto& [file, shape] : files) {
        shape->save(file, request.overwrite);
        std::cout << file << '\n';
    }
    if (!SafeFile::save(summary, "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Spatial normalization "
                                 "summary</title></head><body>\n" +
                                     pipeline.getSummary() + "\n</body></html>\n"))
        throw FileWriteError("writeResults", "Cannot open file for writing", summary);
    std::ostringstream json;
    writeNormalizationReport(json, request.name, pipeline.getReport());
    if (!SafeFile::save(numbers, json.str()))
        throw FileWriteError("writeResults", "Cannot open file for writing", numbers);
    std::cout << summary << '\n' << numbers << '\n';
    for (const std::string& warning : pipeline.getReport().warnings)
        complain(warning);
    return ExitGood;
}

void warnOfBranches(const std::vector<const Stack*>& stacks, const std::vector<std::string>& structures) {
    for (const std::string& name : structures)
        if (VRLFusionConfig<float>::isBranching(stacks, name))
            complain("model \"" + name +
                     "\" has several contours on a slice; its surface takes them one after the other");
}

int normalize(const std::vector<const Stack*>& stacks, const Request& request, const CommandLine& line) {
    VRLFusionConfig<float> config;
    config.setName(request.name);
    config.setStacks(stacks);
    const VRLFusionStrategy& strategy = request.strategy;
    config.setStrategy(strategy);
    try {
        config.setStructures(chooseStructures(stacks, request));
    } catch (const UsageError& failure) {
        return line.usageError(QString::fromStdString(failure.getWhat()));
    }
    if (std::none_of(config.getStructures().begin(), config.getStructures().end(),
                     [](const Structure& structure) { return structure.isReference(); }) &&
        (strategy.isAlignment() || strategy.isRegistration() || strategy.isWarping())) {
        complain("the stacks share no closed structure with one contour on a slice; name the references by "
                 "--reference, or ask for --no-alignment --registration none to resample and average only");
        return ExitProblems;
    }
    const auto named = [&](const Stack* stack) { return stack->getName() == strategy.getReferenceStack(); };
    if (strategy.getRegistrationAlgorithm() == TemplateRegistration &&
        std::none_of(stacks.begin(), stacks.end(), named)) {
        std::string names;
        for (const Stack* stack : stacks)
            names += " \"" + stack->getName() + "\"";
        return line.usageError(QString::fromStdString("--template takes one of the stacks, which are" + names));
    }

    ConsoleMonitor monitor;
    FusionPipeline<float> pipeline;
    pipeline.setConfig(config);
    warnOfBranches(stacks, pipeline.listAllStructureNames());
    pipeline.addMonitor(monitor);
    const bool completed = pipeline.run();
    pipeline.removeMonitor(monitor);
    return completed ? writeResults(pipeline, request) : int(ExitProblems);
}

} // namespace

int normalizeCommand(const QStringList& arguments) {
    CommandLine line(
        "normalize",
        "Brings several stacks, one for each specimen, into one space: aligns, registers and averages the "
        "structures that they share. Writes every shape, the mean surfaces, a summary and the numbers as "
        "JSON (normalization.json).\n\n"
        "Files are named STACK-MODEL.qm (surfaces) and STACK-MODEL.vs (points), means mean-MODEL.qm; a '/' of "
        "a name becomes a '_'. A stack without a name, or with that of another stack, goes by its file's name.",
        "STACK.sdf...", "Two or more stack description files (.sdf).");
    declareOptions(line);
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    Request request;
    if (const std::optional<int> status = readRequest(line, request))
        return *status;
    if (line.files().size() < 2)
        return line.usageError("a normalization needs at least two stacks");
    if (line.isSet("dry-run"))
        return tellMemory(line.files(), {.ofDescription = 120, .together = true});

    if (!line.outputDirectory())
        return ExitFileError;
    if (!request.overwrite && FileInfo::isTaken(request.directory + "/summary.html")) {
        complain("there is a normalization in " + request.directory + " already; --overwrite replaces it");
        return ExitFileError;
    }
    int status = ExitGood;
    std::vector<std::unique_ptr<StackFile>> files;
    for (const std::string& name : line.files()) {
        files.push_back(std::make_unique<StackFile>(name));
        status = std::max(status, files.back()->report());
    }
    if (status == ExitFileError)
        return status;
    bool measurable = true;
    for (const auto& file : files)
        measurable = file->isMeasurable() && measurable;
    if (!measurable)
        return ExitProblems;
    nameStacks(files);
    std::vector<const Stack*> stacks;
    stacks.reserve(files.size());
    for (const auto& file : files)
        stacks.push_back(&file->getStack());
    return std::max(status, guarded("normalize the stacks", [&] { return normalize(stacks, request, line); }));
}

} // namespace vorlen
