#include "normalization/fusionpipeline.h"

#include <algorithm>
#include <set>

#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "normalization/cohortregistration.h"
#include "normalization/fusionsteps.h"
#include "normalization/globalshapesetgroupregistration.h"
#include "normalization/pointmap.h"
#include "normalization/principalaxesshaperegistration.h"
#include "normalization/resamplingsearch.h"
#include "normalization/targetshapesetgroupregistration.h"
#include "normalization/targetshapesetgroupwarping.h"
#include "numerics/exception.h"
#include "progress/progresschain.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/quadmesh.h"
#include "shapes/shapeset.h"

namespace vorlen {

namespace {

const char* const runPlace = "bool FusionPipeline<T>::run()";

std::string pairOf(float mean, float sem) {
    return plainNumber(mean) + " " + plainNumber(sem);
}

template <class T>
std::string errorPair(const Vector<float>& errors) {
    return pairOf(ShapeSetGroupRegistration<T>::mean(errors), ShapeSetGroupRegistration<T>::sem(errors));
}

/// The least growth of an error that is told: the last step goes by the faces, which is not quite the error.
constexpr double worseFrom = 1.02;

/// The mean of the errors of each of n specimens with the others, of those of all pairs as errorType1() lists them.
std::vector<double> specimenErrors(const Vector<float>& errors, std::size_t n) {
    std::vector<double> sums(n, 0);
    const std::size_t numPairs = n * (n - 1) / 2, perPair = numPairs > 0 ? std::size_t(errors.getSize()) / numPairs : 0;
    int next = 0;
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = i + 1; j < n; ++j) {
            for (std::size_t k = 0; k < perPair; ++k, ++next) {
                const double share = double(errors[next]) / double((n - 1) * perPair);
                sums[i] += share;
                sums[j] += share;
            }
        }
    }
    return sums;
}

/// A reference needs a surface; any other model a shape.
bool hasVertices(const Model& model) {
    for (int i = 0; i < model.getNumItems(); ++i)
        if (model.getItem(i).getSize() > 0)
            return true;
    return false;
}

} // namespace

template <class T>
FusionPipeline<T>::~FusionPipeline() {
    clear();
}

template <class T>
void FusionPipeline<T>::cancel() {
    ProgressProxy::cancel();
    __fusion.cancel();
}

template <class T>
void FusionPipeline<T>::clear() {
    __prepared = false;
    __fusion.clear();
    __group.clear();
    if (__mean) {
        __mean->clear();
        delete __mean;
        __mean = nullptr;
    }
    for (ShapeSet<T>* set : __shapeSets) {
        set->clear();
        delete set;
    }
    __shapeSets.clear();
}

template <class T>
std::vector<std::string> FusionPipeline<T>::listAllStructureNames() const {
    std::set<std::string> names;
    for (const Stack* stack : __config.getStacks())
        for (int m = 0; m < stack->getNumModels(); ++m)
            names.insert(stack->getModel(m).getName());
    return {names.begin(), names.end()};
}

template <class T>
void FusionPipeline<T>::prepare() {
    clear();
    __fusion.reset();
    checkConfig();
    try {
        initLog();
        initReport();
        buildShapeSets();
    } catch (...) {
        clear();
        throw;
    }
    __prepared = true;
}

template <class T>
bool FusionPipeline<T>::run() {
    ProgressSubject::notifyStarted("");
    bool completed = false;
    try {
        if (!__prepared)
            prepare();
        __prepared = false;
        completed = runSteps();
    } catch (...) {
        clear();
        ProgressSubject::notifyFinished("");
        throw;
    }
    if (completed) {
        ProgressSubject::notifyFinished("Normalization completed");
    } else {
        clear();
        ProgressSubject::notifyCanceled("");
    }
    return completed;
}

template <class T>
bool FusionPipeline<T>::runSteps() {
    const VRLFusionStrategy& strategy = __config.getStrategy();
    ProgressProxy alignmentProxy, registrationProxy, warpingProxy;
    ProgressChain chain;
    if (strategy.isAlignment())
        chain.addSubject(alignmentProxy);
    if (strategy.isRegistration())
        chain.addSubject(registrationProxy);
    if (strategy.isWarping())
        chain.addSubject(warpingProxy);
    chain.addMonitor(*this);

    FusionSteps<T> steps(__shapeSets, __report);
    __report.precision = steps.precision();
    if (!this->isCanceled() && bySurface()) {
        surfaceRegistration(steps, alignmentProxy, registrationProxy);
    } else if (!this->isCanceled() && (strategy.isAlignment() || strategy.isRegistration())) {
        steps.addProbes();
        if (strategy.isAlignment())
            alignment(alignmentProxy);
        if (!this->isCanceled() && strategy.isRegistration())
            registration(registrationProxy);
        steps.measureTurns();
        if (!this->isCanceled())
            steps.warnOfTurnedOver();
    }
    __report.warnOfTurns();
    if (!this->isCanceled()) {
        this->notifyProgressed("Averaging shapes...");
        __mean = new ShapeSet<T>; // clear() deletes it
        if (bySurface()) {
            *__mean = steps.meanBySurface([this] { return this->isCanceled(); });
        } else {
            for (std::size_t i = 1; i < __shapeSets.size(); ++i)
                __shapeSets[i]->matchSurfaces(*__shapeSets[0]);
            *__mean = ShapeSet<T>::computeMean(__shapeSets);
            steps.measureDeviations(*__mean);
        }
        if (!this->isCanceled())
            steps.measureResiduals(*__mean);
    }
    if (!this->isCanceled() && strategy.isWarping())
        warping(steps, warpingProxy);
    return !this->isCanceled();
}

template <class T>
void FusionPipeline<T>::checkConfig() const {
    const std::vector<const Stack*>& stacks = __config.getStacks();
    const VRLFusionStrategy& strategy = __config.getStrategy();
    if (stacks.empty())
        throw UsageError(runPlace, "There is no stack to normalize");
    bool hasReference = false;
    for (const VRLFusionSurfaceStructure<T>& structure : __config.getStructures()) {
        if (structure.isReference()) {
            hasReference = true;
            for (const Stack* stack : stacks) {
                const int place = stack->findModel(structure.getName());
                if (place < 0 || !hasVertices(stack->getModel(place))) {
                    throw UsageError(runPlace, "Reference structure \"" + structure.getName() +
                                                   "\" has no contours in stack \"" + stack->getName() + "\"");
                }
            }
        }
        for (const Stack* stack : stacks) {
            const int place = stack->findModel(structure.getName());
            if (place >= 0 && stack->getModel(place).getProperties().getGeometry() == PolypointPrimitive) {
                throw UsageError(runPlace, "Structure \"" + structure.getName() + "\" of stack \"" + stack->getName() +
                                               "\" is made of points and has no surface");
            }
        }
    }
    if (!hasReference && (strategy.isAlignment() || strategy.isRegistration() || strategy.isWarping()))
        throw UsageError(runPlace, "Alignment, registration and warping need a reference structure");
    if (strategy.isRegistration()) {
        if (stacks.size() < 2)
            throw UsageError(runPlace, "A registration needs at least two stacks");
        const std::vector<std::string> specimens = __config.specimenNames();
        const bool found =
            std::find(specimens.begin(), specimens.end(), strategy.getReferenceStack()) != specimens.end();
        if (strategy.getRegistrationAlgorithm() == TemplateRegistration && !found)
            throw UsageError(runPlace, "There is no template stack named \"" + strategy.getReferenceStack() + "\"");
    }
}

template <class T>
void FusionPipeline<T>::initLog() {
    __log = "<b>Spatial normalization summary</b><br >";
    __log += "Name: <i>" + htmlEscaped(__config.getName()) + "</i><br >";
    __log += "<br ><b>Stacks</b><br >";
    for (const std::string& name : __config.specimenNames())
        __log += "<i>" + htmlEscaped(name) + "</i><br >";
    __log += "Total " + std::to_string(__config.getStacks().size()) + " stacks<br >";
    __log += "<br ><b>Reference structures</b><br >";
    int numReferences = 0;
    for (const VRLFusionSurfaceStructure<T>& structure : __config.getStructures()) {
        if (structure.isReference()) {
            ++numReferences;
            __log += "<i>" + htmlEscaped(structure.getName()) +
                     "</i> - Resampling: " + std::to_string(structure.getResamplingHeight()) + " x " +
                     std::to_string(structure.getResamplingWidth()) + "<br >";
        }
    }
    __log += numReferences > 0 ? "Total " + std::to_string(numReferences) + " references<br >" : "None (N/A)<br >";
}

template <class T>
void FusionPipeline<T>::initReport() {
    __report = FusionReport();
    __report.unit = __config.getStacks().front()->getLengthUnit().symbol();
    const std::vector<std::string> names = __config.specimenNames();
    for (const Stack* stack : __config.getStacks()) {
        const std::size_t place = __report.specimens.size();
        __report.specimens.emplace_back();
        SpecimenReport& specimen = __report.specimens.back();
        specimen.name = names[place];
        const double factor = VRLFusionConfig<T>::unitFactor(*stack, *__config.getStacks().front());
        for (int k = 0; k < stack->getNumSlices(); ++k) {
            const PixelCalibration& calibration = stack->getSlice(k).getPixelCalibration();
            const double side = double(std::max(calibration.getPixelWidth(), calibration.getPixelHeight()));
            specimen.pixel = std::max(specimen.pixel, side * factor);
        }
    }
}

template <class T>
void FusionPipeline<T>::noteErrors(const std::vector<double>& errors, const std::vector<double>& sems,
                                   const std::string& step, const std::vector<double>& before,
                                   const std::vector<double>& after) {
    __report.errors.insert(__report.errors.end(), errors.begin(), errors.end());
    __report.sems.insert(__report.sems.end(), sems.begin(), sems.end());
    if (errors.back() > errors.front() * worseFrom + __report.precision)
        __report.warnings.push_back("The " + step + " made the error greater: from " + plainNumber(errors.front()) +
                                    " to " + plainNumber(errors.back()) + " " + __report.unit + worstOf(before, after));
}

/// Names the specimen whose own error has grown the most; nothing where none has.
template <class T>
std::string FusionPipeline<T>::worstOf(const std::vector<double>& before, const std::vector<double>& after) const {
    double most = 0;
    std::size_t worst = after.size();
    for (std::size_t i = 0; i < before.size() && i < after.size(); ++i) {
        if (before[i] >= 0 && after[i] - before[i] > most) {
            most = after[i] - before[i];
            worst = i;
        }
    }
    if (worst == after.size())
        return "";
    return ", most of all of \"" + __report.specimens[worst].name + "\": from " + plainNumber(before[worst]) + " to " +
           plainNumber(after[worst]);
}

template <class T>
void FusionPipeline<T>::surfaceRegistration(FusionSteps<T>& steps, ProgressMonitor& alignment,
                                            ProgressMonitor& registration) {
    const VRLFusionStrategy& strategy = __config.getStrategy();
    if (!strategy.isAlignment() && !strategy.isRegistration())
        return;
    CohortRegistration cohort(steps.surfaces(true));
    cohort.setMirrorsAllowed(strategy.isMirrored());
    cohort.setCancelTest([this] { return this->isCanceled(); });
    const bool onTemplate = strategy.isRegistration() && strategy.getRegistrationAlgorithm() == TemplateRegistration;
    int reference = 0;
    for (std::size_t i = 0; i < __shapeSets.size() && onTemplate; ++i)
        if (__shapeSets[i]->getName() == strategy.getReferenceStack())
            reference = int(i);
    const auto pairAt = [&](std::size_t k) {
        return pairOf(float(cohort.getErrors()[k]), float(cohort.getErrorSems()[k]));
    };
    if (strategy.isAlignment()) {
        this->notifyProgressed("Aligning shapes...");
        cohort.addMonitor(alignment);
        cohort.align(reference);
        cohort.removeMonitor(alignment);
        __log += "<br ><b>Alignment</b><br >";
        __log += "Method: closest surfaces from all orientations of the axes<br ><br >";
        __log += "Error before alignment: " + pairAt(0) + "<br >";
        __log += "Error after alignment: " + pairAt(1) + "<br >";
        noteErrors(cohort.getErrors(), cohort.getErrorSems(), "alignment", cohort.getSpecimenErrors().front(),
                   cohort.getSpecimenErrors().back());
    }
    if (strategy.isRegistration() && !this->isCanceled()) {
        this->notifyProgressed("Registering shapes...");
        __log += "<br ><b>Rigid registration</b><br >";
        cohort.addMonitor(registration);
        if (onTemplate)
            cohort.refine(reference);
        else
            cohort.registerJointly();
        cohort.removeMonitor(registration);
        if (this->isCanceled())
            return;
        const std::size_t last = cohort.getErrors().size() - 1;
        if (onTemplate) {
            __log += "Method: registration of each stack on a template<br >";
            __log += "Template stack: <i>" + htmlEscaped(strategy.getReferenceStack()) + "</i><br ><br >";
            __log += "Error before registration " + pairAt(0) + "<br >";
            __log += "Error after registration  " + pairAt(last) + "<br >";
        } else {
            __log += "Method: joint registration/averaging global registration<br >";
            __log += (cohort.isConverged() ? "Convergence reached at iteration " : "No convergence at iteration ") +
                     std::to_string(last) + "<br ><br >";
            for (std::size_t k = 0; k <= last; ++k)
                __log += "Registration error at step " + std::to_string(k) + ": " + pairAt(k) + "<br >";
        }
        noteErrors(cohort.getErrors(), cohort.getErrorSems(), "registration", cohort.getSpecimenErrors().front(),
                   cohort.getSpecimenErrors().back());
    }
    __report.warnOfUnclear(cohort.getUnclear());
    steps.place(cohort.getPoses());
}

template <class T>
void FusionPipeline<T>::buildShapeSets() {
    this->notifyProgressed("Initializing shape sets...");
    const std::vector<const Stack*>& stacks = __config.getStacks();
    const std::vector<std::string> names = listAllStructureNames();
    StackReconstruction<T> reconstruction;
    for (std::size_t i = 0; i < stacks.size(); ++i) {
        this->notifyProgressed(static_cast<unsigned int>(i), static_cast<unsigned int>(stacks.size()));
        const Stack& stack = *stacks[i];
        reconstruction.setStack(stack);
        __shapeSets.push_back(new ShapeSet<T>); // clear() deletes it
        ShapeSet<T>& set = *__shapeSets.back();
        set.setName(__report.specimens[i].name);
        for (const std::string& name : names) {
            try {
                addStructure(set, stack, name, reconstruction);
            } catch (Exception& failure) {
                failure.setWhat("Structure \"" + name + "\" of stack \"" + set.getName() + "\": " + failure.getWhat());
                failure.addWhere("void FusionPipeline<T>::buildShapeSets()");
                throw;
            }
        }
        const double factor = VRLFusionConfig<T>::unitFactor(stack, *stacks.front());
        if (factor != 1) {
            scaleBy<T>(factor).apply(set);
            __report.warnings.push_back("\"" + set.getName() + "\" was brought from " + stack.getLengthUnit().symbol() +
                                        " to " + __report.unit + ", the unit of the first stack");
        }
        __report.specimens[i].unitFactor = factor;
        if (i == 0) {
            for (int k = 0; k < set.getSize(); ++k) {
                __report.structures.push_back("");
                __report.references.push_back(false);
            }
        }
        for (int k = 0; k < set.getSize(); ++k) {
            if (!set[k])
                continue;
            __report.structures[std::size_t(k)] = set[k]->getName();
            __report.references[std::size_t(k)] = __report.references[std::size_t(k)] || set.isReference(k);
        }
        __fusion.addShapeSet(&set);
        __group.addShapeSet(set);
    }
}

/// Adds one entry, or one for each configured structure of this name.
template <class T>
void FusionPipeline<T>::addStructure(ShapeSet<T>& set, const Stack& stack, const std::string& name,
                                     const StackReconstruction<T>& reconstruction) {
    const int place = stack.findModel(name);
    const Model* model = place < 0 || !hasVertices(stack.getModel(place)) ? nullptr : &stack.getModel(place);
    std::unique_ptr<CurveStack<T>> curves;
    if (model)
        curves = ModelSurface<T>(*model, reconstruction).takeContours();
    const auto add = [&](std::unique_ptr<Shape<T>> shape, bool reference) {
        if (shape)
            shape->setName(name);
        set.addShape(shape.get(), shape && reference);
        static_cast<void>(shape.release()); // the set's from here on
    };
    const auto addSurface = [&](int height, int width, bool reference) {
        if (!curves) {
            add(nullptr, false);
            return;
        }
        if (height < 1 || width < 1 || double(height) * width > ResamplingSearch<T>::maxVertices) {
            throw SizeError("void FusionPipeline<T>::buildShapeSets()", "Invalid resampling sizes");
        }
        auto mesh = std::make_unique<QuadMesh<T>>(curves->resample(height, width));
        mesh->buildCaps();
        mesh->detach();
        add(std::move(mesh), reference);
    };
    bool configured = false;
    for (const VRLFusionSurfaceStructure<T>& structure : __config.getStructures()) {
        if (structure.getName() == name) {
            configured = true;
            addSurface(structure.getResamplingHeight(), structure.getResamplingWidth(), structure.isReference());
        }
    }
    if (configured)
        return;
    if (model && !curves) {
        const std::unique_ptr<Shape<T>> points = reconstruction.apply(*model);
        add(std::make_unique<VertexStack<T>>(dynamic_cast<const VertexStack<T>&>(*points)), false);
        return;
    }
    const Grid grid = commonGrid(name);
    addSurface(grid.height, grid.width, false);
}

template <class T>
typename FusionPipeline<T>::Grid FusionPipeline<T>::commonGrid(const std::string& name) const {
    ModelProperties standard;
    standard.setDefaults();
    // Sizes beyond int are beyond any grid.
    const auto size = [](unsigned int value) { return int(std::min(value, 0x7fffffffu)); };
    Grid grid;
    for (const Stack* stack : __config.getStacks()) {
        const int place = stack->findModel(name);
        if (place < 0)
            continue;
        const ModelProperties& own = stack->getModel(place).getProperties();
        const ModelProperties& height = own.definesQuadMeshHeight() ? own : standard;
        const ModelProperties& width = own.definesQuadMeshWidth() ? own : standard;
        grid.height = std::max(grid.height, size(height.getQuadMeshHeight()));
        grid.width = std::max(grid.width, size(width.getQuadMeshWidth()));
    }
    return grid;
}

template <class T>
void FusionPipeline<T>::matchReferences() {
    const ShapeSet<T> first = __shapeSets[0]->referenceShapeSet();
    for (std::size_t i = 1; i < __shapeSets.size(); ++i)
        __shapeSets[i]->referenceShapeSet().matchSurfaces(first);
}

template <class T>
void FusionPipeline<T>::alignment(ProgressMonitor& monitor) {
    this->notifyProgressed("Aligning shapes...");
    matchReferences();
    const Vector<float> before = ShapeSetGroupRegistration<T>::errorType1(__group);
    __log += "<br ><b>Alignment</b><br >";
    __log += "Method: principal axes alignement<br ><br >";
    __log += "Error before alignment: " + errorPair<T>(before) + "<br >";
    for (std::size_t i = 0; i < __shapeSets.size(); ++i) {
        PrincipalAxesShapeRegistration<T> axes;
        axes.fit(__shapeSets[i]->referenceShapeSet());
        axes.apply(*__shapeSets[i]);
        monitor.subjectProgressed(static_cast<unsigned int>(i), static_cast<unsigned int>(__shapeSets.size()));
    }
    matchReferences();
    const Vector<float> after = ShapeSetGroupRegistration<T>::errorType1(__group);
    __log += "Error after alignment: " + errorPair<T>(after) + "<br >";
    using Errors = ShapeSetGroupRegistration<T>;
    noteErrors({Errors::mean(before), Errors::mean(after)}, {Errors::sem(before), Errors::sem(after)}, "alignment",
               specimenErrors(before, __shapeSets.size()), specimenErrors(after, __shapeSets.size()));
}

template <class T>
void FusionPipeline<T>::registration(ProgressMonitor& monitor) {
    this->notifyProgressed("Registering shapes...");
    __log += "<br ><b>Rigid registration</b><br >";
    const VRLFusionStrategy& strategy = __config.getStrategy();
    std::vector<float> means, sems;
    if (strategy.getRegistrationAlgorithm() == TemplateRegistration) {
        const auto target = std::find_if(__shapeSets.begin(), __shapeSets.end(), [&](const ShapeSet<T>* set) {
            return set->getName() == strategy.getReferenceStack();
        });
        TargetShapeSetGroupRegistration<T> registration;
        registration.setTargetShapeSet(**target);
        registration.addMonitor(monitor);
        registration.apply(__group);
        registration.getDynamics(means, sems);
        noteErrors({means.begin(), means.end()}, {sems.begin(), sems.end()}, "registration");
        __log += "Method: registration of each stack on a template<br >";
        __log += "Template stack: <i>" + htmlEscaped((*target)->getName()) + "</i><br ><br >";
        __log += "Error before registration " + pairOf(means[0], sems[0]) + "<br >";
        __log += "Error after registration  " + pairOf(means[1], sems[1]) + "<br >";
        return;
    }
    GlobalShapeSetGroupRegistration<T> registration;
    registration.addMonitor(monitor);
    registration.apply(__group);
    registration.getDynamics(means, sems);
    noteErrors({means.begin(), means.end()}, {sems.begin(), sems.end()}, "registration");
    __log += "Method: joint registration/averaging global registration<br >";
    __log += (registration.isConverged() ? "Convergence reached at iteration " : "No convergence at iteration ") +
             std::to_string(means.size() - 1) + "<br ><br >";
    for (std::size_t k = 0; k < means.size(); ++k)
        __log += "Registration error at step " + std::to_string(k) + ": " + pairOf(means[k], sems[k]) + "<br >";
}

template <class T>
void FusionPipeline<T>::warping(FusionSteps<T>& steps, ProgressMonitor& monitor) {
    __log += "<br ><b>Warping</b><br >";
    this->notifyProgressed("Warping shapes...");
    const VRLFusionStrategy& strategy = __config.getStrategy();
    const bool spline = strategy.getWarpingModel() == ThinPlateSplineWarping;
    if (bySurface()) {
        __log += spline ? "Method: thin-plate splines by surface<br >"
                        : "Method: polynomial deformations of degree " +
                              std::to_string(strategy.getPolynomialDegree()) + " by surface<br >";
        steps.warpBySurface(strategy, monitor, [this] { return this->isCanceled(); });
        return;
    }
    const std::vector<ShapeSet<T>*> warped =
        steps.warpedByLevels(strategy, *__mean, [this] { return this->isCanceled(); });
    if (this->isCanceled())
        return;
    if (spline) {
        __fusion.clear();
        for (ShapeSet<T>* set : warped)
            __fusion.addShapeSet(set);
        __fusion.addMonitor(monitor);
        try {
            __fusion.tpsWarping(__mean->referenceShapeSet());
        } catch (...) {
            __fusion.removeMonitor(monitor);
            throw;
        }
        __fusion.removeMonitor(monitor);
        return;
    }
    const std::string before = errorPair<T>(ShapeSetGroupRegistration<T>::errorType1(__group));
    TargetShapeSetGroupWarping<T> warping;
    warping.setTargetShapeSet(*__mean);
    warping.addMonitor(monitor);
    ShapeSetGroup<T> group;
    for (ShapeSet<T>* set : warped)
        group.addShapeSet(*set);
    warping.apply(group, int(std::min(strategy.getPolynomialDegree(), 0x7fffffffu)));
    const unsigned int evaluations = warping.numEvaluations();
    const unsigned int errors = warping.numJacobianErrors();
    const float percentage = evaluations > 0 ? float(errors) * 100 / float(evaluations) : 0;
    __log += "Method: polynomial deformations of degree " + std::to_string(strategy.getPolynomialDegree()) + "<br >";
    __log += "Evaluations: " + std::to_string(evaluations) + "<br>";
    __log += "Jacobian errors: " + std::to_string(errors) + "<br>";
    __log += "Percentage error: " + plainNumber(percentage) + "<br><br>";
    __log += "Error before warping: " + before + "<br >";
    __log += "Error after warping: " + errorPair<T>(ShapeSetGroupRegistration<T>::errorType1(__group)) + "<br >";
}

template class FusionPipeline<float>;
template class FusionPipeline<double>;
template class FusionPipeline<long double>;

} // namespace vorlen
