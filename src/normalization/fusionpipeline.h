#pragma once

#include <string>
#include <vector>

#include "normalization/fusion.h"
#include "normalization/fusionreport.h"
#include "normalization/shapesetgroup.h"
#include "normalization/vrlfusionconfig.h"
#include "progress/progressproxy.h"

namespace vorlen {

template <class T>
class ShapeSet;
template <class T>
class StackReconstruction;
template <class T>
class FusionSteps;

/// The spatial normalization of several stacks: reconstructs their models, aligns the shapes on principal axes,
/// registers them, averages them and warps them, as the strategy asks, and writes a summary.
///
/// Owns the shapes that it makes, until clear(), the next run or its end. The stacks are read by
/// prepare(), or else by run(), and must not change meanwhile. Monitors hear one start and one end, and the steps in
/// between as one task; the starts and ends of the steps stay inside. Cancelling takes effect between two steps, by
/// surface and in warps between two specimens.
///
/// All sets have one length, and entry k of each is the same structure; a stack without the structure has a null entry
/// there. The mean is that of the state before the warp, which moves the shapes and not the mean.
///
/// Decisions:
/// - A model without vertices counts as missing; contours without vertices are passed over.
/// - Surfaces without a configured structure have the sizes of their models' properties; where these differ between the
///   stacks all get the greatest, since a mean needs one grid. Undefined sizes are those of a new model.
/// - A reference that a stack lacks, steps without references, registration of fewer than two stacks, and an unknown
///   template are refused before anything is built.
/// - Names are escaped in the summary, which is HTML. A global registration that was ended by its limit is told as such
///   there.
/// - A run that fails or is cancelled leaves no shapes.
/// - Lengths of stacks in other units are brought to that of the first stack, and the report tells which.
/// - By surface alignment brings each specimen on the first one, or on the template, by SurfaceRegistration, of all
///   orientations the one with the least distance; the joint registration follows from there. The result lies as that
///   specimen was cut. By levels the specimens that then lie better after half a turn are named.
/// - A specimen turned by more than 90 degrees is named, and so is a step that leaves a greater error than it found,
///   with the specimen that it made worst. By surface what lies beyond the ends of a specimen that lacks sections is no
///   error.
/// - Specimens go by the names of VRLFusionConfig::specimenNames(), which are those of the stacks unless two are alike.
///
/// The report has the numbers: residuals, outliers, warps, deviations about the mean.
///
/// Instantiated for float, double and long double.
template <class T>
class FusionPipeline : public ProgressProxy {
public:
    FusionPipeline() = default;
    ~FusionPipeline() override;
    FusionPipeline(const FusionPipeline&) = delete;
    FusionPipeline& operator=(const FusionPipeline&) = delete;

    void setConfig(const VRLFusionConfig<T>& config) { __config = config; }
    const VRLFusionConfig<T>& getConfig() const { return __config; }

    /// Reads the stacks: builds the shapes of all models and begins summary and report. The steps that follow do not
    /// see the stacks, which may then change. Throws as run() does, and leaves no shapes then.
    void prepare();

    /// Runs the steps, after prepare() unless that was called; false when it was cancelled. Throws UsageError for a
    /// configuration that cannot run, SizeError for grids without vertices or of more than 2^22, and what the steps
    /// throw; failures of a reconstruction name the structure and the stack.
    bool run();

    void cancel() override;

    /// Destroys all shapes. The summary stays.
    void clear();

    /// The names of the models of all stacks, sorted by their bytes, each once: the structures of the sets, in order.
    std::vector<std::string> listAllStructureNames() const;

    /// One set for each stack, in order, named like the specimen.
    const std::vector<ShapeSet<T>*>& getShapeSets() const { return __shapeSets; }

    /// Mean surfaces of the structures; null before a run has come to them.
    const ShapeSet<T>* getMeanShapeSet() const { return __mean; }

    /// What the steps of the last run did, in HTML. Pairs of numbers are the mean error and its standard error.
    const std::string& getLog() const { return __log; }

    /// The same with the tables of the report: residuals, warps and warnings.
    std::string getSummary() const { return __log + __report.html(); }

    /// The numbers of the last run.
    const FusionReport& getReport() const { return __report; }

    /// Steps of a run start and end without notice.
    void notifyStarted(const std::string&) override {}
    void notifyFinished(const std::string&) override {}

private:
    struct Grid {
        int height = 0;
        int width = 0;
    };

    void checkConfig() const;
    bool runSteps();
    void initLog();
    void buildShapeSets();
    void addStructure(ShapeSet<T>& set, const Stack& stack, const std::string& name,
                      const StackReconstruction<T>& reconstruction);
    Grid commonGrid(const std::string& name) const;
    void initReport();
    void alignment(ProgressMonitor& monitor);
    void registration(ProgressMonitor& monitor);
    void surfaceRegistration(FusionSteps<T>& steps, ProgressMonitor& alignment, ProgressMonitor& registration);
    /// before and after: those of each specimen alone, where they are known.
    void noteErrors(const std::vector<double>& errors, const std::vector<double>& sems, const std::string& step,
                    const std::vector<double>& before = {}, const std::vector<double>& after = {});
    std::string worstOf(const std::vector<double>& before, const std::vector<double>& after) const;
    bool bySurface() const { return __config.getStrategy().getCorrespondence() == SurfaceCorrespondence; }
    void warping(FusionSteps<T>& steps, ProgressMonitor& monitor);
    void matchReferences();

    VRLFusionConfig<T> __config;
    std::vector<ShapeSet<T>*> __shapeSets; // owned
    ShapeSetGroup<T> __group;
    ShapeSet<T>* __mean = nullptr; // owned
    Fusion<T> __fusion;
    std::string __log;
    FusionReport __report;
    bool __prepared = false;
};

} // namespace vorlen
