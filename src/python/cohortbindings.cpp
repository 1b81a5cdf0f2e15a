#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include <pybind11/stl.h>

#include "normalization/fusionpipeline.h"
#include "normalization/vrlfusionconfig.h"
#include "normalization/vrlfusionsurfacestructure.h"
#include "numerics/exception.h"
#include "python/arrays.h"
#include "python/errors.h"
#include "python/stackhandle.h"
#include "shapes/curvestack.h"
#include "shapes/shapeset.h"

namespace py = pybind11;

namespace vorlen {

namespace {

using Handles = std::vector<std::shared_ptr<StackHandle>>;
using Structure = VRLFusionSurfaceStructure<float>;
using GridSizes = std::map<std::string, std::pair<int, int>>;

constexpr int leastLevels = 2, leastWidth = 3, greatestSize = 1000;

/// What the caller asks for.
struct NormalizationRequest {
    std::vector<std::string> references;
    GridSizes sizes;
    VRLFusionStrategy strategy;
};

/// The structures that are named, or all shared ones of one contour on a slice. Throws UsageError for others.
std::vector<Structure> chooseReferences(const std::vector<const Stack*>& stacks, const NormalizationRequest& request) {
    std::vector<Structure> chosen;
    std::set<std::string> names;
    for (Structure& structure : VRLFusionConfig<float>::sharedStructures(stacks)) {
        const std::string& name = structure.getName();
        const bool named =
            std::find(request.references.begin(), request.references.end(), name) != request.references.end();
        if (!(request.references.empty() ? !VRLFusionConfig<float>::isBranching(stacks, name) : named))
            continue;
        names.insert(name);
        structure.setReference(true);
        structure.setResamplingHeight(std::clamp(structure.getResamplingHeight(), leastLevels, greatestSize));
        structure.setResamplingWidth(std::clamp(structure.getResamplingWidth(), leastWidth, greatestSize));
        if (const auto size = request.sizes.find(name); size != request.sizes.end()) {
            structure.setResamplingHeight(size->second.first);
            structure.setResamplingWidth(size->second.second);
        }
        chosen.push_back(structure);
    }
    for (const std::string& name : request.references)
        if (names.count(name) == 0)
            throw UsageError("chooseReferences", "\"" + name + "\" is no closed structure that all stacks share");
    for (const auto& [name, size] : request.sizes)
        if (names.count(name) == 0)
            throw UsageError("chooseReferences", "\"" + name + "\" has a size, but is no reference");
    if (chosen.empty())
        throw UsageError("chooseReferences", "The stacks share no closed structure with one contour on a slice");
    return chosen;
}

void checkSizes(const GridSizes& sizes) {
    for (const auto& [name, size] : sizes)
        if (size.first < leastLevels || size.first > greatestSize || size.second < leastWidth ||
            size.second > greatestSize)
            fail("The size of \"" + name + "\" is 2 to 1000 levels by 3 to 1000 vertices");
}

/// Throws vorlen.Error for a word that is none of these.
std::size_t choice(const char* what, const std::string& word, const std::vector<std::string>& words) {
    const auto found = std::find(words.begin(), words.end(), word);
    if (found != words.end())
        return std::size_t(found - words.begin());
    std::string all;
    for (const std::string& each : words)
        all += (all.empty() ? "" : ", ") + each;
    fail(std::string("The ") + what + " is one of " + all + ", not '" + word + "'");
}

VRLFusionStrategy strategyOf(bool alignment, const std::string& correspondence, const std::string& registration,
                             const std::string& warping, int degree, bool mirror) {
    VRLFusionStrategy strategy;
    const bool bySurface = choice("correspondence", correspondence, {"levels", "surface"}) == 1;
    const bool isRegistered = choice("registration", registration, {"none", "global"}) == 1;
    const std::size_t warp = choice("warping", warping, {"none", "polynomial", "spline"});
    if (degree < 1 || degree > 9)
        fail("The degree is 1 to 9");
    if (warp == 2 && !bySurface)
        fail("A spline goes with correspondence by surface");
    if (mirror && (!bySurface || !alignment))
        fail("Specimens may be mirrored by alignment by surface alone");
    strategy.setAlignment(alignment);
    strategy.setCorrespondence(bySurface ? SurfaceCorrespondence : LevelCorrespondence);
    strategy.setRegistration(isRegistered);
    strategy.setWarping(warp > 0);
    strategy.setWarpingModel(warp == 2 ? ThinPlateSplineWarping : PolynomialWarping);
    strategy.setPolynomialDegree(static_cast<unsigned int>(degree));
    strategy.setMirrored(mirror);
    return strategy;
}

py::dict shapesOf(const ShapeSet<float>& set) {
    py::dict shapes;
    for (int i = 0; i < set.getSize(); ++i)
        if (set[i] != nullptr && set[i]->getSize() > 0)
            shapes[py::str(set[i]->getName())] = coordinatesOf(*set[i]);
    return shapes;
}

py::object lengthOf(double length) {
    return length < 0 ? py::none() : py::object(py::float_(length));
}

py::dict resultOf(const FusionPipeline<float>& pipeline) {
    const FusionReport& report = pipeline.getReport();
    py::list specimens;
    for (std::size_t s = 0; s < report.specimens.size(); ++s) {
        const SpecimenReport& one = report.specimens[s];
        py::dict residuals;
        for (std::size_t k = 0; k < one.residuals.size(); ++k)
            if (one.residuals[k] >= 0)
                residuals[py::str(report.structures[k])] = one.residuals[k];
        py::dict entry;
        entry["name"] = one.name;
        entry["unit_factor"] = one.unitFactor;
        entry["turned_degrees"] = one.turned;
        entry["mirrored"] = one.mirrored;
        entry["residual"] = lengthOf(one.residual);
        entry["residuals"] = residuals;
        entry["outlier"] = one.outlier;
        entry["shapes"] = shapesOf(*pipeline.getShapeSets()[s]);
        specimens.append(entry);
    }
    py::dict deviations;
    for (std::size_t k = 0; k < report.structures.size(); ++k)
        if (!report.deviations[k].empty())
            deviations[py::str(report.structures[k])] =
                arrayOf(report.deviations[k], {py::ssize_t(report.deviations[k].size())});
    py::dict result;
    result["unit"] = report.unit;
    result["specimens"] = specimens;
    result["mean"] = shapesOf(*pipeline.getMeanShapeSet());
    result["deviations"] = deviations;
    result["warnings"] = report.warnings;
    result["summary"] = pipeline.getSummary();
    return result;
}

py::dict normalize(const Handles& handles, const std::vector<std::string>& references, const GridSizes& sizes,
                   bool alignment, const std::string& correspondence, const std::string& registration,
                   const std::string& warping, int degree, bool mirror, const py::object& progress) {
    if (handles.size() < 2)
        fail("A normalization needs at least two stacks");
    checkSizes(sizes);
    NormalizationRequest request;
    request.references = references;
    request.sizes = sizes;
    request.strategy = strategyOf(alignment, correspondence, registration, warping, degree, mirror);
    std::vector<const Stack*> stacks;
    std::vector<std::unique_ptr<StackHandle::Busy>> busy;
    for (const auto& handle : handles) {
        const Stack& stack = handle->stack(); // a stack that is given twice is busy by now
        requireSizes(stack);
        stacks.push_back(&stack);
        busy.push_back(std::make_unique<StackHandle::Busy>(*handle));
    }
    FusionPipeline<float> pipeline;
    VRLFusionConfig<float> config;
    config.setName("normalization");
    config.setStacks(stacks);
    config.setStrategy(request.strategy);
    bool completed = false;
    watched(pipeline, progress, [&] {
        config.setStructures(chooseReferences(stacks, request));
        pipeline.setConfig(config);
        completed = pipeline.run();
    });
    if (!completed)
        fail("The normalization was cancelled");
    return resultOf(pipeline);
}

} // namespace

void bindCohorts(py::module_& module) {
    module.def("normalize", &normalize, py::arg("stacks"), py::kw_only(),
               py::arg("references") = std::vector<std::string>(), py::arg("sizes") = GridSizes(),
               py::arg("alignment") = true, py::arg("correspondence") = "surface", py::arg("registration") = "global",
               py::arg("warping") = "none", py::arg("degree") = 2, py::arg("mirror") = false,
               py::arg("progress") = py::none(),
               "Brings several stacks into one space, as 'vorlen-cli normalize' does.\n\n"
               "references: names of the structures by which they are laid on each other, by default all closed ones\n"
               "that they share; sizes: (levels, vertices of a level) by name; correspondence: surface or levels;\n"
               "registration: global or none; warping: none, polynomial or spline.\n\n"
               "Returns a dictionary: unit; specimens, a list of dictionaries with name, turned_degrees, mirrored,\n"
               "residual, residuals, outlier and shapes by name (levels x width x 3 for surfaces, M x 3 for points);\n"
               "mean, the mean surfaces by name; deviations by name, for each vertex of the mean; warnings; summary,\n"
               "as HTML. Lengths are in the unit of the first stack.");
}

} // namespace vorlen
