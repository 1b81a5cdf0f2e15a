#include "normalization/fusionpipeline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "normalization/shapefilenames.h"
#include "normalization/shapemaker.h"
#include "normalization/shapesetgroupregistration.h"
#include "normalization/stackmaker.h"
#include "numerics/exception.h"
#include "support/recordingmonitor.h"

namespace vorlen {

namespace {

/// Stacks with a configuration for them.
struct Normalization {
    std::vector<std::unique_ptr<Stack>> stacks;
    VRLFusionConfig<float> config;
    VRLFusionStrategy strategy;

    /// "body" and "core" as references on grids of 10 by 20 and 6 by 12, when asked for.
    explicit Normalization(std::vector<std::unique_ptr<Stack>> specimens, bool references = true)
        : stacks(std::move(specimens)) {
        std::vector<const Stack*> seen;
        for (const auto& stack : stacks) {
            seen.push_back(stack.get());
        }
        config.setName("trial <1>");
        strategy.setCorrespondence(LevelCorrespondence);
        config.setStacks(seen);
        if (references) {
            setStructures({{"body", 10, 20}, {"core", 6, 12}});
        }
    }

    struct Grid {
        const char* name;
        int height, width;
    };

    void setStructures(const std::vector<Grid>& grids) {
        std::vector<VRLFusionSurfaceStructure<float>> structures;
        for (const Grid& grid : grids) {
            VRLFusionSurfaceStructure<float> structure;
            structure.setName(grid.name);
            structure.setReference(true);
            structure.setResamplingHeight(grid.height);
            structure.setResamplingWidth(grid.width);
            structures.push_back(structure);
        }
        config.setStructures(structures);
    }

    void prepare(FusionPipeline<float>& pipeline) {
        config.setStrategy(strategy);
        pipeline.setConfig(config);
    }
};

/// Rigid copies, exact to the pixel.
std::vector<std::unique_ptr<Stack>> movedCopies(int n) {
    std::vector<std::unique_ptr<Stack>> stacks;
    for (int i = 0; i < n; ++i) {
        SpecimenRecipe recipe;
        recipe.quarters = i;
        recipe.right = 40 * i;
        recipe.down = -25 * i;
        stacks.push_back(specimenStack(std::string(1, char('a' + i)), recipe));
    }
    return stacks;
}

/// Copies whose outlines differ.
std::vector<std::unique_ptr<Stack>> variedCopies(int n) {
    std::vector<std::unique_ptr<Stack>> stacks;
    for (int i = 0; i < n; ++i) {
        SpecimenRecipe recipe;
        recipe.quarters = i % 2;
        recipe.right = 15 * i;
        recipe.down = 10 - 9 * i;
        recipe.stretch = 1 + 0.1 * i;
        recipe.jitter = 3;
        stacks.push_back(specimenStack("specimen " + std::to_string(i), recipe));
    }
    return stacks;
}

/// The first number behind the text.
double numberBehind(const std::string& log, const std::string& text) {
    const std::size_t place = log.find(text);
    EXPECT_NE(std::string::npos, place) << text << " is not in " << log;
    return place == std::string::npos ? -1 : std::stod(log.substr(place + text.size()));
}

double errorBetween(const FusionPipeline<float>& pipeline) {
    ShapeSetGroup<float> group;
    for (ShapeSet<float>* set : pipeline.getShapeSets()) {
        group.addShapeSet(*set);
    }
    return ShapeSetGroupRegistration<float>::mean(ShapeSetGroupRegistration<float>::errorType1(group));
}

const QuadMesh<float>& meshOf(const ShapeSet<float>& set, int rank) {
    return dynamic_cast<const QuadMesh<float>&>(*set[rank]);
}

} // namespace

TEST(FusionPipeline, resamplesAndAveragesWithoutAnyStep) {
    auto specimens = movedCopies(2);
    addItem(addModel(*specimens[1], "extra"), specimens[1]->getSlice(3), {{0, 0}, {10, 0}, {0, 10}});
    addItem(specimens[1]->getModel(4), specimens[1]->getSlice(4), {{0, 0}, {12, 0}, {0, 12}});
    specimens[1]->getModel(4).getProperties().setQuadMeshHeight(4);
    specimens[1]->getModel(4).getProperties().setQuadMeshWidth(6);
    addModel(*specimens[0], "blank");
    Normalization normalization(std::move(specimens), false);
    normalization.setStructures({{"core", 6, 12}});
    FusionPipeline<float> pipeline;
    EXPECT_EQ(nullptr, pipeline.getMeanShapeSet());
    normalization.prepare(pipeline);
    ASSERT_TRUE(pipeline.run());

    const std::vector<std::string> names = {"blank", "body", "core", "extra", "rim", "spots"};
    EXPECT_EQ(names, pipeline.listAllStructureNames());
    ASSERT_EQ(2u, pipeline.getShapeSets().size());
    for (int i = 0; i < 2; ++i) {
        const ShapeSet<float>& set = *pipeline.getShapeSets()[std::size_t(i)];
        EXPECT_EQ(i == 0 ? "a" : "b", set.getName());
        ASSERT_EQ(6, set.getSize());
        EXPECT_EQ(nullptr, set[0]);
        EXPECT_EQ(100, meshOf(set, 1).getHeight()); // the sizes of a new model
        EXPECT_EQ(100, meshOf(set, 1).getWidth());
        EXPECT_TRUE(meshOf(set, 1).hasBeginCap() && meshOf(set, 1).hasEndCap());
        EXPECT_FALSE(set.isReference(1));
        EXPECT_EQ("core", set[2]->getName());
        EXPECT_EQ(6, meshOf(set, 2).getHeight());
        EXPECT_EQ(12, meshOf(set, 2).getWidth());
        EXPECT_TRUE(set.isReference(2));
        EXPECT_EQ(i == 1, set[3] != nullptr);
        EXPECT_EQ(OpenQuadMeshType, set[4]->getShapeType());
        EXPECT_EQ(5, meshOf(set, 4).getHeight());
        EXPECT_EQ(9, meshOf(set, 4).getWidth());
        EXPECT_EQ(VertexStackType, set[5]->getShapeType());
        EXPECT_EQ(4, set[5]->getSize());
        EXPECT_EQ("spots", set[5]->getName());
    }
    const ShapeSet<float>& mean = *pipeline.getMeanShapeSet();
    ASSERT_EQ(6, mean.getSize());
    EXPECT_EQ(nullptr, mean[0]);
    EXPECT_EQ(nullptr, mean[5]);
    EXPECT_TRUE(mean.isReference(2));
    EXPECT_EQ(4, meshOf(mean, 3).getHeight());
    const Vector<float> sum =
        meshOf(*pipeline.getShapeSets()[0], 2)[3][4] + meshOf(*pipeline.getShapeSets()[1], 2)[3][4];
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(sum[k] / 2, meshOf(mean, 2)[3][4][k], 1e-4);
    }
    EXPECT_EQ("<b>Spatial normalization summary</b><br >Name: <i>trial &lt;1&gt;</i><br >"
              "<br ><b>Stacks</b><br ><i>a</i><br ><i>b</i><br >Total 2 stacks<br >"
              "<br ><b>Reference structures</b><br ><i>core</i> - Resampling: 6 x 12<br >Total 1 references<br >",
              pipeline.getLog());
    pipeline.clear();
    EXPECT_TRUE(pipeline.getShapeSets().empty());
    EXPECT_EQ(nullptr, pipeline.getMeanShapeSet());
}

TEST(FusionPipeline, alignsAndRegistersMovedCopiesUntilTheyCoincide) {
    Normalization normalization(movedCopies(4));
    normalization.strategy.setAlignment(true);
    normalization.strategy.setRegistration(true);
    FusionPipeline<float> pipeline;
    normalization.prepare(pipeline);
    RecordingMonitor monitor;
    pipeline.addMonitor(monitor);
    ASSERT_TRUE(pipeline.run());
    // Contours of whole pixels, turned by right angles: what is left is rounding.
    EXPECT_LT(errorBetween(pipeline), 1e-3);
    for (int i = 1; i < 4; ++i) {
        const ShapeSet<float>& set = *pipeline.getShapeSets()[std::size_t(i)];
        EXPECT_LT(set[3]->rmsDistance(*(*pipeline.getShapeSets()[0])[3]), 1e-3f) << "points follow";
        EXPECT_LT(meshOf(set, 0).rmsDistance(*(*pipeline.getMeanShapeSet())[0]), 1e-3f);
        EXPECT_LT(meshOf(set, 0).getEndCap().rmsDistance(meshOf(*pipeline.getMeanShapeSet(), 0).getEndCap()), 1e-3f);
    }
    const std::string& log = pipeline.getLog();
    EXPECT_GT(numberBehind(log, "<br ><b>Alignment</b><br >Method: principal axes alignement<br ><br >Error before "
                                "alignment: "),
              30);
    const int sweeps = int(numberBehind(log, "<br ><b>Rigid registration</b><br >Method: joint registration/averaging "
                                             "global registration<br >Convergence reached at iteration "));
    EXPECT_GE(sweeps, 1);
    EXPECT_LT(numberBehind(log, "Registration error at step " + std::to_string(sweeps) + ": "), 1e-3);
    EXPECT_EQ(std::string::npos, log.find("Registration error at step " + std::to_string(sweeps + 1)));

    // One task for those who watch, in the order of the steps.
    EXPECT_EQ("started ", monitor.heard.front());
    EXPECT_EQ("finished Normalization completed", monitor.heard.back());
    std::vector<std::string> texts;
    int furthest = -1;
    for (const std::string& line : monitor.heard) {
        if (line.compare(0, 5, "text ") == 0) {
            texts.push_back(line.substr(5));
        } else if (line.find("/100") != std::string::npos) {
            EXPECT_LE(std::stoi(line), 100);
            furthest = std::max(furthest, std::stoi(line));
        }
    }
    EXPECT_EQ((std::vector<std::string>{"Initializing shape sets...", "Aligning shapes...", "Registering shapes...",
                                        "Averaging shapes..."}),
              texts);
    EXPECT_GT(furthest, 50);
    EXPECT_EQ(2, std::count_if(monitor.heard.begin(), monitor.heard.end(), [](const std::string& line) {
                  return line.compare(0, 7, "started") == 0 || line.compare(0, 8, "finished") == 0;
              }));
}

TEST(FusionPipeline, registersOnATemplateThatStays) {
    std::vector<std::unique_ptr<Stack>> specimens;
    for (int i = 0; i < 3; ++i) {
        SpecimenRecipe recipe;
        recipe.angle = 0.1 * (i - 1);
        recipe.right = 40 * i;
        recipe.down = -25 * i;
        specimens.push_back(specimenStack(std::string(1, char('a' + i)), recipe));
    }
    Normalization normalization(std::move(specimens));
    normalization.strategy.setRegistration(true);
    normalization.strategy.setRegistrationAlgorithm(TemplateRegistration);
    normalization.strategy.setReferenceStack("b");
    FusionPipeline<float> pipeline;
    normalization.prepare(pipeline);
    ASSERT_TRUE(pipeline.run());
    // Contours of rounded pixels.
    EXPECT_LT(errorBetween(pipeline), 0.6);
    // The stack's own coordinates: the first spot of "b" is the pixel (40, 20), shifted by (40, -25), of section 2.
    EXPECT_EQ(vectorOf<float>({80, 5, 20}), *(*pipeline.getShapeSets()[1])[3]->vertexIterator()->current());
    EXPECT_LT((*pipeline.getShapeSets()[0])[3]->rmsDistance(*(*pipeline.getShapeSets()[1])[3]), 1);
    const std::string& log = pipeline.getLog();
    EXPECT_NE(std::string::npos, log.find("Method: registration of each stack on a template<br >Template stack: "
                                          "<i>b</i><br ><br >"));
    EXPECT_GT(numberBehind(log, "Error before registration "), 30);
    EXPECT_LT(numberBehind(log, "Error after registration  "), 0.7);
}

TEST(FusionPipeline, warpsVariedSpecimensOnTheirMean) {
    double registered = 0;
    for (const int degree : {1, 2, 3}) {
        Normalization normalization(variedCopies(3));
        normalization.strategy.setAlignment(true);
        normalization.strategy.setRegistration(true);
        normalization.strategy.setWarping(true);
        normalization.strategy.setPolynomialDegree(static_cast<unsigned int>(degree));
        FusionPipeline<float> pipeline;
        normalization.prepare(pipeline);
        ASSERT_TRUE(pipeline.run());
        const std::string& log = pipeline.getLog();
        const double before = numberBehind(log, "Error before warping: ");
        const double after = numberBehind(log, "Error after warping: ");
        EXPECT_NEAR(errorBetween(pipeline), after, 1e-4 * after);
        // Specimens differ in their stretch, which the least degree takes away; the jitter stays.
        EXPECT_LT(after, 0.5 * before);
        EXPECT_GT(after, 1);
        EXPECT_TRUE(registered == 0 || std::abs(registered - before) < 1e-3);
        registered = before;
        int vertices = 0;
        for (const ShapeSet<float>* set : pipeline.getShapeSets()) {
            vertices += set->numVertices();
        }
        EXPECT_EQ(vertices, int(numberBehind(log, "Method: polynomial deformations of degree " +
                                                      std::to_string(degree) + "<br >Evaluations: ")));
        EXPECT_NE(std::string::npos, log.find("<br>Jacobian errors: 0<br>Percentage error: 0<br><br>"));
    }
}

TEST(FusionPipeline, thinPlateSplinesCarryTheReferencesOntoTheMean) {
    Normalization normalization(variedCopies(3));
    normalization.strategy.setRegistration(true);
    FusionPipeline<float> pipeline;
    normalization.prepare(pipeline);
    ASSERT_TRUE(pipeline.run());
    const std::vector<float> mean = coordinatesOf(*(*pipeline.getMeanShapeSet())[0]);
    const std::vector<float> spots = coordinatesOf(*(*pipeline.getShapeSets()[2])[3]);

    normalization.strategy.setWarping(true);
    normalization.strategy.setWarpingModel(ThinPlateSplineWarping);
    normalization.prepare(pipeline);
    ASSERT_TRUE(pipeline.run());
    EXPECT_EQ(mean, coordinatesOf(*(*pipeline.getMeanShapeSet())[0])) << "the mean is that before the warp";
    for (const ShapeSet<float>* set : pipeline.getShapeSets()) {
        for (int k : {0, 1}) {
            EXPECT_LT(greatestDifference(coordinatesOf(*(*pipeline.getMeanShapeSet())[k]), coordinatesOf(*(*set)[k])),
                      1e-2);
        }
    }
    // The points follow, though they are nobody's control points.
    const double moved = greatestDifference(spots, coordinatesOf(*(*pipeline.getShapeSets()[2])[3]));
    EXPECT_GT(moved, 0.1);
    EXPECT_LT(moved, 30);
    const std::string end = "<br ><b>Warping</b><br >";
    EXPECT_EQ(pipeline.getLog().size() - end.size(), pipeline.getLog().rfind(end));
}

TEST(FusionPipeline, refusesWhatCannotRunAndLeavesNothingBehind) {
    const auto expectRefusal = [](Normalization& normalization, auto error, const std::string& part) {
        FusionPipeline<float> pipeline;
        normalization.prepare(pipeline);
        try {
            pipeline.run();
            ADD_FAILURE() << "no failure: " << part;
        } catch (const decltype(error)& failure) {
            EXPECT_NE(std::string::npos, failure.getWhat().find(part)) << failure.getWhat();
        }
        EXPECT_TRUE(pipeline.getShapeSets().empty());
    };
    Normalization none({});
    expectRefusal(none, UsageError(), "no stack");
    Normalization without(movedCopies(2), false);
    without.strategy.setAlignment(true);
    expectRefusal(without, UsageError(), "need a reference structure");
    Normalization alone(movedCopies(1));
    alone.strategy.setRegistration(true);
    expectRefusal(alone, UsageError(), "at least two stacks");
    Normalization noTemplate(movedCopies(2));
    noTemplate.strategy.setRegistration(true);
    noTemplate.strategy.setRegistrationAlgorithm(TemplateRegistration);
    noTemplate.strategy.setReferenceStack("z");
    expectRefusal(noTemplate, UsageError(), "\"z\"");
    Normalization missing(movedCopies(2));
    missing.setStructures({{"liver", 3, 3}});
    expectRefusal(missing, UsageError(), "\"liver\" has no contours in stack \"a\"");
    Normalization points(movedCopies(2));
    points.setStructures({{"spots", 3, 3}});
    expectRefusal(points, UsageError(), "made of points");
    for (const auto& [height, width] : {std::pair(-1, -1), std::pair(5, 0), std::pair(100000, 100000)}) {
        Normalization sizes(movedCopies(2));
        sizes.setStructures({{"core", height, width}});
        expectRefusal(sizes, SizeError(), "Structure \"core\" of stack \"a\": Invalid resampling sizes");
    }
}

TEST(FusionPipeline, aCancelledRunStopsBeforeTheNextStepAndClears) {
    class Canceller : public RecordingMonitor {
    public:
        explicit Canceller(const std::string& when) : __when(when) {}
        void subjectProgressed(const std::string& text) override {
            RecordingMonitor::subjectProgressed(text);
            if (text == __when) {
                currentSubject()->cancel();
            }
        }
        using RecordingMonitor::subjectProgressed;

    private:
        std::string __when;
    };
    Normalization normalization(movedCopies(2));
    normalization.strategy.setAlignment(true);
    normalization.strategy.setRegistration(true);
    normalization.strategy.setWarping(true);
    // Each step, by surface and by levels, for splines and polynomials.
    int variant = 0;
    for (const char* when :
         {"Aligning shapes...", "Registering shapes...", "Averaging shapes...", "Warping shapes..."}) {
        for (const VRLFusionCorrespondence correspondence : {LevelCorrespondence, SurfaceCorrespondence}) {
            normalization.strategy.setCorrespondence(correspondence);
            normalization.strategy.setWarpingModel(++variant % 2 == 0 ? ThinPlateSplineWarping : PolynomialWarping);
            FusionPipeline<float> stopped;
            normalization.prepare(stopped);
            Canceller monitor(when);
            stopped.addMonitor(monitor);
            EXPECT_FALSE(stopped.run()) << when << correspondence;
            EXPECT_TRUE(stopped.getShapeSets().empty()) << when << correspondence;
            EXPECT_EQ(stopped.getMeanShapeSet(), nullptr) << when << correspondence;
            stopped.removeMonitor(monitor);
        }
    }
    normalization.strategy.setWarping(false);
    normalization.strategy.setCorrespondence(LevelCorrespondence);
    FusionPipeline<float> pipeline;
    normalization.prepare(pipeline);
    Canceller monitor("Aligning shapes...");
    pipeline.addMonitor(monitor);
    EXPECT_FALSE(pipeline.run());
    EXPECT_TRUE(pipeline.getShapeSets().empty());
    EXPECT_EQ("canceled ", monitor.heard.back());
    EXPECT_EQ(0, std::count(monitor.heard.begin(), monitor.heard.end(), "text Registering shapes..."));
    EXPECT_EQ(std::string::npos, pipeline.getLog().find("Rigid registration"));
    pipeline.removeMonitor(monitor);
    pipeline.reset();
    EXPECT_TRUE(pipeline.run());
    EXPECT_EQ(2u, pipeline.getShapeSets().size());
}

// Half a turn, another unit, and a tip of one vertex: by surface all specimens come together, and what was done to each
// is told.
TEST(FusionPipeline, bySurfaceTellsWhatItDidToEachSpecimen) {
    std::vector<std::unique_ptr<Stack>> specimens = movedCopies(3);
    for (std::unique_ptr<Stack>& specimen : specimens) {
        specimen->setLengthUnit(LengthUnit(-6));
        StackSlice& last = specimen->getSlice(6);
        Model& core = specimen->getModel(specimen->findModel("core"));
        const Vertices<double>& ring = core.getItem(4).getVertices();
        addItem(core, last, {{int(ring[0][0]), int(ring[0][1])}});
    }
    Stack& other = *specimens[1];
    other.setLengthUnit(LengthUnit(-3));
    other.setDefaultSliceSpacing(0.01f);
    for (int k = 0; k < other.getNumSlices(); ++k) {
        PixelCalibration calibration = other.getSlice(k).getPixelCalibration();
        calibration.setPixelWidth(0.001f);
        calibration.setPixelHeight(0.001f);
        other.getSlice(k).setPixelCalibration(calibration);
    }
    Normalization normalization(std::move(specimens));
    normalization.strategy.setCorrespondence(SurfaceCorrespondence);
    normalization.strategy.setAlignment(true);
    normalization.strategy.setRegistration(true);
    normalization.strategy.setWarping(true);
    normalization.strategy.setWarpingModel(ThinPlateSplineWarping);
    FusionPipeline<float> pipeline;
    normalization.prepare(pipeline);
    ASSERT_TRUE(pipeline.run());
    const FusionReport& report = pipeline.getReport();
    ASSERT_EQ(report.specimens.size(), 3u);
    EXPECT_DOUBLE_EQ(report.specimens[1].unitFactor, 1000);
    EXPECT_EQ(report.unit, LengthUnit(-6).symbol());
    EXPECT_NEAR(report.specimens[0].turned, 0, 1e-3);
    EXPECT_NEAR(report.specimens[1].turned, 90, 2);
    EXPECT_NEAR(report.specimens[2].turned, 180, 2);
    std::string warnings;
    for (const std::string& warning : report.warnings) {
        warnings += warning + "\n";
    }
    EXPECT_NE(warnings.find("\"c\" was turned by 180 degrees"), std::string::npos) << warnings;
    EXPECT_NE(warnings.find("\"b\" was brought from mm to"), std::string::npos) << warnings;
    for (const SpecimenReport& specimen : report.specimens) {
        EXPECT_TRUE(specimen.warped);
        EXPECT_LT(specimen.residual, 1.5) << specimen.name;
        EXPECT_EQ(specimen.warp.folds, 0);
        EXPECT_FALSE(specimen.outlier);
    }
    EXPECT_NE(pipeline.getSummary().find("<b>Residuals</b>"), std::string::npos);
    EXPECT_NE(pipeline.getLog().find("Method: thin-plate splines by surface"), std::string::npos);
    const ShapeSet<float>& mean = *pipeline.getMeanShapeSet();
    const std::size_t body =
        std::size_t(std::find(report.structures.begin(), report.structures.end(), "body") - report.structures.begin());
    EXPECT_EQ(report.deviations[body].size(), std::size_t(meshOf(mean, int(body)).getSize()));
    EXPECT_LT(report.meanDeviation(int(body)), 1.5);
}

// Names that are alike, empty, or that of the mean would mix specimens up in files, summary and template.
TEST(FusionPipeline, specimensGoByNamesOfTheirOwn) {
    std::vector<std::unique_ptr<Stack>> specimens;
    for (const char* name : {"a", "a", "", "mean", "a-2", ""}) {
        specimens.push_back(specimenStack(name));
    }
    Normalization normalization(std::move(specimens));
    const std::vector<std::string> names = {"a", "a-3", "stack", "mean-2", "a-2", "stack-2"};
    EXPECT_EQ(normalization.config.specimenNames(), names);
    normalization.strategy.setRegistration(true);
    normalization.strategy.setRegistrationAlgorithm(TemplateRegistration);
    normalization.strategy.setReferenceStack("a-3");
    FusionPipeline<float> pipeline;
    normalization.prepare(pipeline);
    ASSERT_TRUE(pipeline.run());
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(pipeline.getShapeSets()[i]->getName(), names[i]);
        EXPECT_EQ(pipeline.getReport().specimens[i].name, names[i]);
        EXPECT_NE(pipeline.getLog().find("<i>" + names[i] + "</i>"), std::string::npos);
    }
    EXPECT_NE(pipeline.getLog().find("Template stack: <i>a-3</i>"), std::string::npos);
}

TEST(ShapeFileNames, giveEachShapeAFileOfItsOwn) {
    ShapeFileNames names;
    QuadMesh<float> mesh(3, 2, 3);
    mesh.setName("b-c");
    EXPECT_EQ(names.nameOf("a", mesh), "a-b-c.qm");
    mesh.setName("c");
    EXPECT_EQ(names.nameOf("a-b", mesh), "a-b-c-2.qm");
    mesh.setName("x/y.qm");
    EXPECT_EQ(names.nameOf("s/t", mesh), "s_t-x_y.qm");
    VertexStack<float> points(3, 1, 2, 2, 2);
    points.setName("b-c");
    EXPECT_EQ(names.nameOf("a", points), "a-b-c.vs");
}

// Nothing tells the two ends of a spheroid apart: it stays as its raw data lie, and is named.
TEST(FusionPipeline, namesSpecimensWhoseEndsLookAlike) {
    std::vector<std::unique_ptr<Stack>> specimens;
    for (const char* name : {"one", "two", "three"}) {
        specimens.push_back(std::make_unique<Stack>());
        Stack& stack = *specimens.back();
        stack.setName(name);
        stack.setDefaultSliceSpacing(40);
        addSlices(stack, 9);
        Model& body = addModel(stack, "body");
        for (int z = 0; z < 9; ++z) {
            std::vector<std::pair<int, int>> ring;
            const double along = (z - 4) / 4.2;
            for (int k = 0; k < 24; ++k) {
                const double angle = 2 * 3.14159265358979323846 * k / 24;
                const double r = 100 * std::sqrt(1 - along * along);
                ring.emplace_back(int(std::lround(r * std::cos(angle))), int(std::lround(0.7 * r * std::sin(angle))));
            }
            addItem(body, stack.getSlice(z), ring);
        }
    }
    Normalization normalization(std::move(specimens), false);
    normalization.setStructures({{"body", 12, 20}});
    normalization.strategy.setCorrespondence(SurfaceCorrespondence);
    normalization.strategy.setAlignment(true);
    FusionPipeline<float> pipeline;
    normalization.prepare(pipeline);
    ASSERT_TRUE(pipeline.run());
    const FusionReport& report = pipeline.getReport();
    for (const SpecimenReport& specimen : report.specimens) {
        EXPECT_LT(specimen.turned, 1) << specimen.name;
    }
    ASSERT_EQ(report.warnings.size(), 1u);
    EXPECT_EQ(report.warnings[0], "\"two\", \"three\" fit about as well turned over: look which end is which");
}

// What goes by levels pairs by rank and is told as such: a specimen cut from the other end is named.
TEST(FusionPipeline, byLevelsNamesASpecimenThatIsTurnedOver) {
    std::vector<std::unique_ptr<Stack>> specimens = movedCopies(2);
    SpecimenRecipe recipe;
    recipe.quarters = 2;
    specimens.push_back(specimenStack("over", recipe));
    Normalization normalization(std::move(specimens));
    normalization.strategy.setAlignment(true);
    normalization.strategy.setWarping(true);
    normalization.strategy.setPolynomialDegree(5);
    normalization.strategy.setFoldsRefused(true);
    FusionPipeline<float> pipeline;
    normalization.prepare(pipeline);
    ASSERT_TRUE(pipeline.run());
    const FusionReport& report = pipeline.getReport();
    const bool turned = std::any_of(report.specimens.begin(), report.specimens.end(),
                                    [](const SpecimenReport& specimen) { return specimen.turned > 90; });
    EXPECT_EQ(turned, std::any_of(report.warnings.begin(), report.warnings.end(), [](const std::string& warning) {
                  return warning.find("was turned by") != std::string::npos;
              }));
    for (const SpecimenReport& specimen : report.specimens) {
        EXPECT_EQ(specimen.warp.refused, specimen.warp.folds > 0) << specimen.name;
    }
    for (const ShapeSet<float>* set : pipeline.getShapeSets()) {
        EXPECT_EQ(set->getSize(), 4) << "the probes are gone";
    }
}

// Axes lay a specimen well that was cut from the other end, and ranks then pair its ends crosswise: the step says so.
TEST(FusionPipeline, anAlignmentByLevelsNamesTheSpecimenThatItMadeWorst) {
    std::vector<std::unique_ptr<Stack>> specimens;
    for (const char* name : {"one", "two", "three"}) {
        specimens.push_back(specimenStack(name));
    }
    SpecimenRecipe recipe;
    recipe.over = true;
    specimens.push_back(specimenStack("over", recipe));
    Normalization normalization(std::move(specimens));
    normalization.strategy.setAlignment(true);
    FusionPipeline<float> pipeline;
    normalization.prepare(pipeline);
    ASSERT_TRUE(pipeline.run());
    std::string warnings;
    for (const std::string& warning : pipeline.getReport().warnings) {
        warnings += warning + "\n";
    }
    EXPECT_NE(warnings.find("The alignment made the error greater: from "), std::string::npos) << warnings;
    EXPECT_NE(warnings.find(", most of all of \"over\": from "), std::string::npos) << warnings;
    const std::vector<double>& errors = pipeline.getReport().errors;
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_NEAR(errors[1], numberBehind(pipeline.getLog(), "Error after alignment: "), 1e-3 * errors[1]);
}

} // namespace vorlen
