#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <sys/wait.h>

#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <gtest/gtest.h>

#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/curvestack.h"
#include "shapes/trimesh.h"
#include "support/temporaryfolder.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

struct Outcome {
    int status = -1;
    std::string output; ///< what the program printed, with its errors unless they were sent away
};

/// Runs a shell command line in a folder.
Outcome shell(const std::string& folder, const std::string& line) {
    Outcome outcome;
    FILE* pipe = ::popen(("cd '" + folder + "' && " + line).c_str(), "r");
    char buffer[4096];
    for (std::size_t n = 0; pipe != nullptr && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        outcome.output.append(buffer, n);
    const int status = pipe == nullptr ? -1 : ::pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

Outcome cli(const TemporaryFolder& folder, const std::string& arguments) {
    return shell(folder.path(), std::string(VORLEN_CLI) + " " + arguments + " 2>&1");
}

QJsonArray cliJson(const TemporaryFolder& folder, const std::string& arguments) {
    const Outcome outcome =
        shell(folder.path(), std::string(VORLEN_CLI) + " " + arguments + " --format json 2>/dev/null");
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(outcome.output));
    EXPECT_TRUE(document.isArray()) << outcome.output;
    return document.array();
}

QJsonObject named(const QJsonArray& array, const QString& name) {
    for (const QJsonValue& value : array)
        if (value.toObject()["name"].toString() == name)
            return value.toObject();
    return {};
}

/// The sample stack, made once for all tests, as sample.sdf in a folder.
class CommandLineTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        sample = std::make_unique<TemporaryFolder>();
        ASSERT_EQ(shell(sample->path(), std::string(VORLEN_SAMPLE) + " .").status, 0);
    }
    static void TearDownTestSuite() { sample.reset(); }

    static std::unique_ptr<TemporaryFolder> sample;
};

std::unique_ptr<TemporaryFolder> CommandLineTest::sample;

} // namespace

TEST_F(CommandLineTest, checkIsCleanOnTheSampleByABareNameAndByAPath) {
    const Outcome bare = cli(*sample, "check sample.sdf");
    EXPECT_EQ(bare.status, 0);
    EXPECT_EQ(bare.output, "sample.sdf: no problems\n");
    EXPECT_EQ(cli(*sample, "check sample").status, 0);
    EXPECT_EQ(cli(*sample, "check " + sample->file("sample.sdf")).status, 0);
}

TEST_F(CommandLineTest, infoTellsSlicesModelsAndPoses) {
    const QJsonObject stack = cliJson(*sample, "info sample.sdf")[0].toObject();
    EXPECT_EQ(stack["stack"].toString(), "Sample");
    EXPECT_EQ(stack["unit"].toString(), QString::fromUtf8("µm"));
    const QJsonArray slices = stack["slices"].toArray();
    ASSERT_GE(slices.size(), 40);
    bool registered = false;
    for (const QJsonValue& value : slices) {
        const QJsonObject slice = value.toObject();
        EXPECT_EQ(slice["width"].toInt(), 512);
        EXPECT_EQ(slice["height"].toInt(), 512);
        EXPECT_EQ(slice["depth"].toInt(), 8);
        EXPECT_GT(slice["pixelWidth"].toDouble(), 0);
        ASSERT_EQ(slice["registration"].toArray().size(), 3);
        registered = registered || slice["registration"].toArray()[2].toDouble() != 0;
    }
    EXPECT_TRUE(registered);
    EXPECT_EQ(stack["models"].toArray().size(), 5);
    EXPECT_EQ(stack["poses"].toArray().size(), 2);
    const Outcome table = cli(*sample, "info sample.sdf");
    EXPECT_EQ(table.status, 0);
    EXPECT_NE(table.output.find("s017"), std::string::npos);
}

// The truth stands in closed form: an ellipsoid of revolution and its neighbours.
TEST_F(CommandLineTest, measurementsOfTheSampleAgreeWithTheTruth) {
    std::map<std::string, double> volumes, areas;
    std::istringstream truth(sample->read("truth.txt"));
    for (std::string line; std::getline(truth, line);) {
        char name[32];
        double first = 0, second = 0;
        if (std::sscanf(line.c_str(), "%31s volume %lf um^3, area %lf", name, &first, &second) >= 2) {
            volumes[name] = first;
            areas[name] = second;
        } else if (std::sscanf(line.c_str(), "%31s area %lf", name, &first) == 2) {
            areas[name] = first;
        }
    }
    ASSERT_EQ(volumes.size(), 3u);
    const QJsonObject stack = cliJson(*sample, "measure sample.sdf")[0].toObject();
    const QJsonArray models = stack["models"].toArray();
    for (const auto& [name, volume] : volumes) {
        const double measured = named(models, QString::fromStdString(name))["volume"].toDouble();
        EXPECT_NEAR(measured / volume, 1, 0.01) << name;
    }
    EXPECT_NEAR(named(models, "Nucleus")["area"].toDouble() / areas["Nucleus"], 1, 0.02);
    EXPECT_NEAR(named(models, "Membrane")["area"].toDouble() / areas["Membrane"], 1, 0.02);
    EXPECT_NEAR(named(models, "Nucleus")["closedVolume"].toDouble() / volumes["Nucleus"], 1, 0.01);
    EXPECT_EQ(named(models, "Nucleus")["eulerNumber"].toInt(), 2);
    EXPECT_EQ(named(models, "Nucleus")["genus"].toInt(), 0);
    // Two contours on some sections: no surface to measure.
    EXPECT_TRUE(named(models, "Vessel")["area"].isNull());
    const double volume = named(models, "Nucleus")["volume"].toDouble();
    EXPECT_NEAR(named(models, "Nucleus")["equivalentRadius"].toDouble(), std::cbrt(3 * volume / (4 * pi)), 1e-9);

    int vertices = 0;
    for (const QJsonValue& item : stack["items"].toArray())
        if (item.toObject()["model"].toString() == "Nucleus")
            vertices += item.toObject()["vertices"].toInt();
    EXPECT_EQ(vertices, named(models, "Nucleus")["vertices"].toInt());
    int points = 0;
    for (const QJsonValue& slice : stack["slices"].toArray())
        points += slice.toObject()["counts"].toObject()["Cells"].toInt();
    EXPECT_EQ(points, named(models, "Cells")["vertices"].toInt());
}

TEST_F(CommandLineTest, exportWritesSurfacesAndKeepsOldOnes) {
    const Outcome first = cli(*sample, "export --output surfaces sample.sdf");
    EXPECT_EQ(first.status, 1) << first.output; // what branches and points are left out, and told
    EXPECT_NE(first.output.find("\"Vessel\""), std::string::npos);
    EXPECT_NE(first.output.find("closed, oriented outward, manifold, 1 part, Euler number 2, genus 0, volume 509"),
              std::string::npos);
    const std::string stl = sample->read("surfaces/Sample-Nucleus.stl");
    EXPECT_EQ(stl.rfind("solid Nucleus\n", 0), 0u);
    const Outcome second = cli(*sample, "export --output surfaces sample.sdf");
    EXPECT_EQ(second.status, 3);
    EXPECT_NE(second.output.find("file exists"), std::string::npos);
    EXPECT_EQ(cli(*sample, "export --overwrite --output surfaces sample.sdf").status, 1);
    EXPECT_EQ(cli(*sample, "export --ends round sample.sdf").status, 2);
    // A directory that is named as another command is a directory.
    EXPECT_NE(cli(*sample, "-o density --overwrite export sample.sdf").output.find("density/Sample-Nucleus.stl"),
              std::string::npos);
    EXPECT_EQ(sample->read("surfaces/Sample-Nucleus.stl"), stl);
}

// Two specimens of the same sample, one of them turned and shifted as a whole: they come to lie on each other.
TEST_F(CommandLineTest, normalizeBringsSpecimensTogetherAndKeepsOldFiles) {
    std::string text = sample->read("sample.sdf");
    const std::size_t second = text.find("SLICE \"s001\"");
    ASSERT_NE(second, std::string::npos);
    sample->write("turned.sdf", text.insert(second, "ROTATE 40;\nSHIFT 30 -12;\n\n"));
    const Outcome first = cli(*sample, "normalize -o space sample.sdf turned.sdf");
    ASSERT_EQ(first.status, 0) << first.output;
    EXPECT_NE(first.output.find("\"Vessel\" has several contours on a slice"), std::string::npos) << first.output;
    // Both stacks have one name, so that they go by their files'.
    for (const char* name : {"sample-Nucleus.qm", "turned-Nucleus.qm", "turned-Cells.vs", "mean-Nucleus.qm"})
        EXPECT_NE(first.output.find(std::string("space/") + name + "\n"), std::string::npos) << name;
    const CurveStack<float> one(sample->file("space/sample-Nucleus.qm")),
        other(sample->file("space/turned-Nucleus.qm"));
    EXPECT_LT(one.rmsDistance(other), 1e-3f);
    const CurveStack<float> mean(sample->file("space/mean-Nucleus.qm"));
    EXPECT_LT(one.rmsDistance(mean), 1e-3f);
    const std::string summary = sample->read("space/summary.html");
    EXPECT_NE(summary.find("<i>Nucleus</i> - Resampling: "), std::string::npos);
    EXPECT_NE(summary.find("Convergence reached at iteration "), std::string::npos);

    const Outcome again = cli(*sample, "normalize -o space sample.sdf turned.sdf");
    EXPECT_EQ(again.status, 3) << again.output;
    std::filesystem::remove(sample->file("space/summary.html"));
    sample->write("space/mean-Nucleus.qm", "mine");
    const Outcome partly = cli(*sample, "normalize -o space sample.sdf turned.sdf");
    EXPECT_EQ(partly.status, 3) << partly.output;
    EXPECT_EQ(sample->read("space/mean-Nucleus.qm"), "mine");

    const Outcome fitted = cli(*sample, "normalize -o space --overwrite --template turned --reference Nucleus "
                                        "--size 12x20 --warping polynomial --degree 1 sample.sdf turned.sdf");
    EXPECT_EQ(fitted.status, 0) << fitted.output;
    EXPECT_EQ(CurveStack<float>(sample->file("space/mean-Nucleus.qm")).getHeight(), 12);
    const std::string told = sample->read("space/summary.html");
    EXPECT_NE(told.find("Template stack: <i>turned</i>"), std::string::npos);
    EXPECT_NE(told.find("Total 1 references"), std::string::npos);
    EXPECT_NE(told.find("Method: polynomial deformations of degree 1"), std::string::npos);
}

TEST_F(CommandLineTest, normalizeRefusesWhatItCannotDo) {
    for (const char* options :
         {"", "--registration best", "--warping some", "--template sample --registration global",
          "--registration template", "--template nobody", "--degree 3", "--warping polynomial --degree 0", "--size 1x5",
          "--size 20", "--size 20x30x40", "--size =20x30", "--size Liver=20x30", "--error -1", "--reference Cells",
          "--reference Liver"}) {
        const std::string files = *options == '\0' ? "sample.sdf" : "sample.sdf sample.sdf";
        const Outcome outcome = cli(*sample, std::string("normalize -o refused ") + options + " " + files);
        EXPECT_EQ(outcome.status, 2) << options << ": " << outcome.output;
    }
    EXPECT_EQ(cli(*sample, "normalize -o refused sample.sdf none.sdf").status, 3);
    EXPECT_EQ(cli(*sample, "normalize -o sample.sdf/below sample.sdf sample.sdf").status, 3);
    sample->write("empty.sdf", "FileFormatVersion 1.03;\nSTACK \"void\";\n");
    const Outcome nothing = cli(*sample, "normalize -o refused sample.sdf empty.sdf");
    EXPECT_EQ(nothing.status, 1);
    EXPECT_NE(nothing.output.find("share no closed structure"), std::string::npos) << nothing.output;
    EXPECT_FALSE(std::filesystem::exists(sample->file("refused/summary.html")));
}

TEST_F(CommandLineTest, aSecondRoundTripChangesNoByte) {
    Stack first, second;
    StackReader reader;
    ASSERT_TRUE(reader.read(first, sample->file("sample.sdf")));
    ASSERT_TRUE(StackWriter().write(first, sample->file("once.sdf")));
    ASSERT_TRUE(reader.read(second, sample->file("once.sdf")));
    ASSERT_TRUE(StackWriter().write(second, sample->file("twice.sdf")));
    EXPECT_EQ(sample->read("once.sdf"), sample->read("twice.sdf"));
    const auto measured = [](const std::string& name) {
        QJsonObject stack = cliJson(*sample, "measure " + name)[0].toObject();
        stack.remove("file");
        return stack;
    };
    EXPECT_EQ(measured("sample.sdf"), measured("once.sdf"));
}

TEST(CommandLine, problemsInADocumentGiveStatusOne) {
    const TemporaryFolder folder;
    folder.write("bad.sdf", "FileFormatVersion 1.03;\nSTACK \"x\";\nNONSENSE 1;\nSLICE \"s\" \"missing.tif\";\n");
    const Outcome table = cli(folder, "check bad.sdf");
    EXPECT_EQ(table.status, 1);
    EXPECT_NE(table.output.find("unknown keyword"), std::string::npos);
    EXPECT_NE(table.output.find("missing.tif"), std::string::npos);
    const QJsonObject checked = cliJson(folder, "check bad.sdf")[0].toObject();
    EXPECT_TRUE(checked["opened"].toBool());
    EXPECT_GT(checked["fatal"].toInt(), 0);
    EXPECT_EQ(checked["log"].toArray().size(), 2);
    EXPECT_EQ(cli(folder, "measure bad.sdf").status, 1);
}

TEST(CommandLine, wrongUsageGivesStatusTwoAndMissingFilesThree) {
    const TemporaryFolder folder;
    folder.write("a.sdf", "FileFormatVersion 1.03;\n");
    for (const char* arguments : {"", "dance a.sdf", "measure", "measure --format xml a.sdf", "info --output x a.sdf",
                                  "export --format csv a.sdf", "--nonsense"}) {
        const Outcome outcome = cli(folder, arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_NE(outcome.output.find("--help"), std::string::npos) << arguments;
    }
    for (const char* command : {"info", "check", "measure", "export", "register"}) {
        const Outcome outcome = cli(folder, std::string(command) + " none.sdf");
        EXPECT_EQ(outcome.status, 3) << command;
        EXPECT_NE(outcome.output.find("none.sdf"), std::string::npos) << command;
        EXPECT_EQ(cli(folder, std::string(command) + " --help").status, 0);
    }
    EXPECT_EQ(cli(folder, "--version").status, 0);
    folder.write("file", "");
    EXPECT_EQ(cli(folder, "export --output file/below a.sdf").status, 3);
}

TEST(CommandLine, aCutVolumeIsRefused) {
    const TemporaryFolder folder;
    VoxelMatrix<float> volume(6, 5, 4);
    volume.setZeros();
    volume.save(folder.file("v.vm"), true);
    folder.write("s.sdf", "FileFormatVersion 1.03;\nStackSlice \"p\" \"v.vm\" 2;\n");
    const Outcome whole = cli(folder, "check s.sdf");
    EXPECT_EQ(whole.status, 0) << whole.output;
    std::filesystem::resize_file(folder.file("v.vm"), std::filesystem::file_size(folder.file("v.vm")) - 8);
    const Outcome cut = cli(folder, "check s.sdf");
    EXPECT_EQ(cut.status, 1);
    EXPECT_NE(cut.output.find("v.vm"), std::string::npos) << cut.output;
}

// A ball of radius 3 about row 4, column 5, plane 6, in voxels of 2 x 3 x 4.
TEST(IsosurfaceCommand, writesTheClosedSurfaceOfAVolumeInVoxelsOrInItsUnit) {
    const TemporaryFolder folder;
    VoxelMatrix<unsigned short> volume(9, 11, 13);
    for (int i = 0; i < 9; ++i)
        for (int j = 0; j < 11; ++j)
            for (int k = 0; k < 13; ++k)
                volume(i, j, k) = static_cast<unsigned short>(
                    std::max(0.0, 1000 - 100 * std::sqrt((i - 4) * (i - 4) + (j - 5) * (j - 5) + (k - 6) * (k - 6))));
    VoxelCalibration calibration;
    calibration.setVoxelHeight(2);
    calibration.setVoxelWidth(3);
    calibration.setVoxelDepth(4);
    volume.setVoxelCalibration(calibration);
    volume.save(folder.path() + "/ball.vm", false);

    EXPECT_EQ(cli(folder, "isosurface ball.vm --level 700 --output out").status, 0);
    const TriMesh<float> ball(folder.path() + "/out/ball.tm");
    EXPECT_NEAR(4.0 / 3 * pi * 27, ball.volume(), 0.1 * 4.0 / 3 * pi * 27);
    EXPECT_NEAR(4, ball.cog()[0], 0.01);
    EXPECT_NEAR(5, ball.cog()[1], 0.01);
    EXPECT_NEAR(6, ball.cog()[2], 0.01);
    const Outcome facets = shell(folder.path(), "head -1 out/ball.stl; grep -c 'facet normal' out/ball.stl");
    EXPECT_EQ("solid ball\n" + std::to_string(ball.getNumTriangles()) + "\n", facets.output);

    EXPECT_EQ(cli(folder, "isosurface ball.vm --level 700 --output out").status, 3) << "the files exist";
    EXPECT_EQ(cli(folder, "isosurface ball.vm --level 700 --output out --overwrite --calibrated").status, 0);
    EXPECT_NEAR(24 * ball.volume(), TriMesh<float>(folder.path() + "/out/ball.tm").volume(), 0.01 * 24 * ball.volume());
    EXPECT_EQ(cli(folder, "isosurface ball.vm --level 200 --open --output open").status, 0);
    EXPECT_GT(TriMesh<float>(folder.path() + "/open/ball.tm").getNumTriangles(), 0u);
}

TEST(IsosurfaceCommand, refusesWrongUsageShortFilesAndLevelsWithoutASurface) {
    const TemporaryFolder folder;
    VoxelMatrix<float> volume(4, 4, 4);
    volume.fill(2);
    volume.save(folder.path() + "/flat.vm", false);
    EXPECT_EQ(cli(folder, "isosurface flat.vm").status, 2);
    EXPECT_EQ(cli(folder, "isosurface flat.vm --level high").status, 2);
    EXPECT_EQ(cli(folder, "isosurface --level 1").status, 2);
    const Outcome none = cli(folder, "isosurface flat.vm --level 3");
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.output.find("its values go from 2 to 2"), std::string::npos) << none.output;
    EXPECT_EQ(cli(folder, "isosurface flat.vm --level 1").status, 0);

    std::filesystem::resize_file(folder.path() + "/flat.vm", 200);
    const Outcome cut = cli(folder, "isosurface flat.vm --level 1 --overwrite");
    EXPECT_EQ(cut.status, 3);
    EXPECT_NE(cut.output.find("length does not match its header"), std::string::npos) << cut.output;
    EXPECT_EQ(cli(folder, "isosurface missing.vm --level 1").status, 3);
}

// A bright bar with a head, drawn on the second slice where a known motion takes it: after the registration both
// drawings meet in the world. A blank slice between two others lies as the one before it.
TEST(CommandLine, registerBringsTheSlicesOntoEachOtherInANewStack) {
    const TemporaryFolder folder;
    const double angle = 0.4, shiftX = 17, shiftY = -9;
    // From the first slice to the others, about (100, 80), in pixels (x, y).
    const auto moved = [&](double x, double y, double& u, double& v) {
        u = std::cos(angle) * (x - 100) - std::sin(angle) * (y - 80) + 100 + shiftX;
        v = std::sin(angle) * (x - 100) + std::cos(angle) * (y - 80) + 80 + shiftY;
    };
    const auto draw = [&](const std::string& name, bool isMoved) {
        Image image(200, 160, 8);
        image.clear();
        for (int y = 0; y < 160; ++y)
            for (int x = 0; x < 200; ++x) {
                double grey = 0;
                for (int k = 0; k < 5; ++k) {
                    double u = 70 + 12 * k, v = 85 - 5 * k;
                    if (isMoved)
                        moved(u, v, u, v);
                    grey += (k == 4 ? 120 : 60) * std::exp(-((x - u) * (x - u) + (y - v) * (y - v)) / 60);
                }
                image.getData()[y * 200 + x] = static_cast<unsigned char>(grey);
            }
        ImageWriter().write(image, folder.file(name), true);
    };
    draw("a.tif", false);
    draw("b.tif", true);
    Image blank(200, 160, 8);
    blank.clear();
    ImageWriter().write(blank, folder.file("blank.tif"), true);
    // Two landmarks on the first and on the third slice, to the pixel.
    std::ostringstream marks[2];
    for (const double x : {40.0, 110.0}) {
        double u, v;
        moved(x, 60, u, v);
        marks[0] << " " << x << ",60";
        marks[1] << " " << std::lround(u) << "," << std::lround(v);
    }
    folder.write("s.sdf",
                 "FileFormatVersion 1.03;\nSTACK \"s\";\nSLICE \"a\" \"a.tif\";\nSLICE \"x\" \"blank.tif\";\n"
                 "SLICE \"b\" \"b.tif\";\nMODEL \"m\";\nPRIMITIVE Polypoint;\nMODELITEM \"m\" \"a\";\nMODELITEMDATA" +
                     marks[0].str() + ";\nMODELITEM \"m\" \"b\";\nMODELITEMDATA" + marks[1].str() + ";\n");
    const std::string old = folder.read("s.sdf");
    const Outcome outcome = cli(folder, "register s.sdf --output new");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("slice \"x\" is left as it is: blank"), std::string::npos) << outcome.output;
    EXPECT_EQ(folder.read("s.sdf"), old);

    Stack stack;
    ASSERT_TRUE(StackReader().read(stack, folder.file("new/s.sdf")));
    ASSERT_EQ(stack.getNumSlices(), 3);
    EXPECT_TRUE(stack.getSlice(1).getRegistration().isNull());
    ASSERT_EQ(stack.getNumModels(), 1);
    ASSERT_EQ(stack.getModel(0).getNumItems(), 2);
    const StackReconstruction<double> reconstruction(stack);
    const auto first = reconstruction.apply(stack.getModel(0).getItem(0));
    const auto third = reconstruction.apply(stack.getModel(0).getItem(1));
    const double pixel = stack.getSlice(0).getPixelCalibration().getPixelWidth();
    ASSERT_EQ(first->getSize(), 2);
    for (int k = 0; k < 2; ++k) {
        const Vector<double> place = dynamic_cast<Vertices<double>&>(*first)[k];
        const Vector<double> other = dynamic_cast<Vertices<double>&>(*third)[k];
        EXPECT_NEAR(place[0], other[0], 0.9 * pixel); // landmarks are rounded
        EXPECT_NEAR(place[1], other[1], 0.9 * pixel);
    }

    EXPECT_EQ(cli(folder, "register s.sdf --output new").status, 3); // it is there
    EXPECT_EQ(cli(folder, "register s.sdf --output new --overwrite").status, 0);
    EXPECT_EQ(cli(folder, "register s.sdf --overwrite").status, 2); // not onto itself
    EXPECT_EQ(cli(folder, "register s.sdf --output axes --method 'principal axes'").status, 0);
    ASSERT_TRUE(StackReader().read(stack, folder.file("axes/s.sdf")));
    EXPECT_NEAR(stack.getSlice(2).getRegistration().getRotationAngle(), 360 - 0.4 * 180 / 3.14159265, 1);
    folder.write("one.sdf", "FileFormatVersion 1.03;\nSLICE \"a\" \"a.tif\";\n");
    EXPECT_EQ(cli(folder, "register one.sdf --output new").status, 1);
    for (const char* wrong : {"--method best", "--reference nobody", "--slices 3:2", "--slices 1:4", "--locked z",
                              "--locked 0", "--format xml"})
        EXPECT_EQ(cli(folder, std::string("register s.sdf --output new --overwrite ") + wrong).status, 2) << wrong;
}

// The copy without registrations against the one that has them: where a pixel of each section comes to lie.
TEST_F(CommandLineTest, registerBringsTheUnregisteredSampleBack) {
    const QJsonObject run =
        cliJson(*sample, "register unregistered.sdf --output aligned --slices :s011 --locked s005 --format json")[0]
            .toObject();
    const QJsonArray slices = run["slices"].toArray();
    ASSERT_EQ(slices.size(), 48);
    EXPECT_EQ(slices[0].toObject()["state"], "first");
    EXPECT_EQ(slices[5].toObject()["state"], "locked");
    EXPECT_EQ(slices[12].toObject()["state"], "locked");
    EXPECT_EQ(run["registered"].toInt(), 10);
    EXPECT_GT(run["scoreAfter"].toDouble(), run["scoreBefore"].toDouble());
    Stack aligned, truth;
    ASSERT_TRUE(StackReader().read(aligned, sample->file("aligned/unregistered.sdf")));
    ASSERT_TRUE(StackReader().read(truth, sample->file("sample.sdf")));
    std::vector<double> off;
    for (int i = 1; i < 12; ++i) {
        const Registration found = aligned.getSlice(i).getRegistration(), wanted = truth.getSlice(i).getRegistration();
        if (i == 5) {
            EXPECT_TRUE(found.isNull());
            continue;
        }
        double sum = 0; // over places of the section, between where the two registrations take them
        for (int k = 0; k < 64; ++k) {
            const double x = 64 * (k % 8 - 3.5), y = 64 * (k / 8 - 3.5);
            double across = found.getHorShift() - wanted.getHorShift();
            double down = found.getVerShift() - wanted.getVerShift();
            for (const auto& [angle, sign] :
                 {std::pair(found.getRotationAngle(), 1), {wanted.getRotationAngle(), -1}}) {
                const double c = std::cos(angle * 3.14159265 / 180), d = std::sin(angle * 3.14159265 / 180);
                across += sign * (c * x - d * y);
                down += sign * (d * x + c * y);
            }
            sum += std::hypot(across, down);
        }
        off.push_back(sum / 64);
        EXPECT_LT(off.back(), 1) << i;
        EXPECT_GE(slices[i].toObject()["scoreAfter"].toDouble(), slices[i].toObject()["scoreBefore"].toDouble()) << i;
    }
    std::sort(off.begin(), off.end());
    EXPECT_LT(off[off.size() / 2], 0.5);
}

TEST(CommandLine, densityWritesAMapAndItsSurfaces) {
    const TemporaryFolder folder;
    folder.write("p.vx", "# 6\n# 3\n# 4\n0 0 0\n40 0 0\n0 40 0\n0 0 40\n");
    folder.write("q.vx", "# 6\n# 3\n# 2\n20 20 20\n25 20 20\n");
    const Outcome outcome =
        cli(folder, "density p.vx q.vx -o out -m kernel --kernel biweight -b 8 -r 1 --percentile 50 "
                    "--level 1e-4");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    const VoxelMatrix<float> map(folder.file("out/density.vm"));
    EXPECT_EQ(map.getSize1(), 40);
    double mass = 0;
    for (int k = 0; k < 40; ++k)
        for (int i = 0; i < 40; ++i)
            for (int j = 0; j < 40; ++j)
                mass += map(i, j, k);
    // Of the first pattern's points an eighth or a fourth of the mass lies in the box, the second's are whole. The
    // nodes are 40/39 apart, and those on a face stand for half a cell.
    EXPECT_NEAR(mass * std::pow(40. / 39, 3), 0.5 + 0.5 / 4 * (1. / 8 * 4), 0.03);
    for (const char* name : {"out/density-00.tm", "out/density-01.tm"}) {
        const TriMesh<float> surface(folder.file(name));
        const BoundingBox<float> box = surface.boundingBox();
        EXPECT_GT(surface.getNumTriangles(), 100) << name;
        EXPECT_GE(box.getVertex1().min(), 0) << name;
        EXPECT_LE(box.getVertex2().max(), 40.0001) << name;
        EXPECT_TRUE(box.contains(surface.cog())) << name;
    }
    EXPECT_EQ(cli(folder, "density p.vx -o out").status, 3); // it is there
    EXPECT_EQ(cli(folder, "density p.vx -o out --overwrite").status, 0);
    EXPECT_EQ(cli(folder, "density p.vx q.vx -o out --name n -m poisson -k 3").status, 1);
    EXPECT_EQ(cli(folder, "density p.vx -o out --name n --level 99").status, 1); // no surface there
    for (const char* wrong : {"-m nearest", "-r 0", "--level x", "--percentile 101", "--name a/b", "-b -1", "-k 0"})
        EXPECT_EQ(cli(folder, std::string("density p.vx ") + wrong).status, 2) << wrong;
    EXPECT_EQ(cli(folder, "density none.vx").status, 3);
}

namespace {

/// The command on a virtual display of its own. A leak checker would find what the drivers of OpenGL keep.
Outcome render(const TemporaryFolder& folder, const std::string& arguments) {
    return shell(folder.path(), std::string("env ASAN_OPTIONS=detect_leaks=0 ") + VORLEN_WITH_DISPLAY + " " +
                                    VORLEN_CLI + " render " + arguments + " 2>&1");
}

Outcome renderWithoutDisplay(const TemporaryFolder& folder, const std::string& arguments) {
    return shell(folder.path(),
                 std::string("env -u DISPLAY -u WAYLAND_DISPLAY ") + VORLEN_CLI + " render " + arguments + " 2>&1");
}

bool contains(const Outcome& outcome, const std::string& text) {
    return outcome.output.find(text) != std::string::npos;
}

QImage pictureOf(const TemporaryFolder& folder, const char* name) {
    return QImage(QString::fromStdString(folder.file(name))).convertToFormat(QImage::Format_RGB32);
}

} // namespace

TEST_F(CommandLineTest, renderDrawsTheSceneWholeOrInAPose) {
    const Outcome whole = render(*sample, "sample.sdf whole.png --size 400x240");
    EXPECT_EQ(whole.status, 0) << whole.output;
    EXPECT_TRUE(contains(whole, "whole.png\n"));
    const QImage picture = pictureOf(*sample, "whole.png");
    ASSERT_EQ(picture.size(), QSize(400, 240));
    // The green vessel, the blue ganglion, and nothing but the ground along the border, whose rows have one colour.
    int green = 0, blue = 0;
    for (int y = 0; y < 240; ++y)
        for (int x = 0; x < 400; ++x) {
            const QColor color = picture.pixelColor(x, y);
            green += color.green() > color.red() + 60 && color.green() > color.blue() + 30;
            blue += x > 200 && color.blue() > color.red() + 60 && color.blue() > color.green() + 40;
        }
    EXPECT_GT(green, 500);
    EXPECT_GT(blue, 500);
    for (int y = 0; y < 240; ++y)
        EXPECT_EQ(picture.pixel(0, y), picture.pixel(399, y));
    for (int x = 0; x < 400; ++x)
        EXPECT_TRUE(picture.pixel(x, 0) == picture.pixel(0, 0) && picture.pixel(x, 239) == picture.pixel(0, 239));

    EXPECT_EQ(render(*sample, "--pose Front sample.sdf front.png --size 400x240").status, 0);
    EXPECT_NE(pictureOf(*sample, "front.png"), picture);
    // An existing picture is kept unless it may go.
    EXPECT_EQ(render(*sample, "sample.sdf front.png --size 100x80").status, 3);
    EXPECT_EQ(pictureOf(*sample, "front.png").size(), QSize(400, 240));
    EXPECT_EQ(render(*sample, "sample.sdf front.png --size 100x80 --overwrite").status, 0);
    EXPECT_EQ(pictureOf(*sample, "front.png").size(), QSize(100, 80));
    const Outcome nowhere = render(*sample, "sample.sdf gone/picture.png");
    EXPECT_EQ(nowhere.status, 3);
    EXPECT_TRUE(contains(nowhere, "cannot write gone/picture.png"));
}

TEST_F(CommandLineTest, renderRefusesWithoutADisplayWhatCannotBeDrawn) {
    for (const char* size : {"0x100", "100000x100000", "100x8193", "big", "-3x200", "100x"})
        EXPECT_EQ(renderWithoutDisplay(*sample, std::string("sample.sdf x.png --size ") + size).status, 2) << size;
    EXPECT_EQ(renderWithoutDisplay(*sample, "sample.sdf").status, 2);
    EXPECT_EQ(renderWithoutDisplay(*sample, "sample.sdf x.jpg").status, 2);
    EXPECT_EQ(renderWithoutDisplay(*sample, "--help").status, 0);
    EXPECT_EQ(renderWithoutDisplay(*sample, "missing.sdf x.png").status, 3);
    const Outcome pose = renderWithoutDisplay(*sample, "sample.sdf x.png --pose Side");
    EXPECT_EQ(pose.status, 2);
    EXPECT_TRUE(contains(pose, "no pose \"Side\"; the stack's poses are: Front, Oblique")) << pose.output;
    shell(sample->path(), "printf 'FileFormatVersion 1.03;\nSTACK \"e\";\nMODEL \"m\";\n' > empty.sdf");
    const Outcome empty = renderWithoutDisplay(*sample, "empty.sdf x.png");
    EXPECT_EQ(empty.status, 1);
    EXPECT_TRUE(contains(empty, "nothing to draw")) << empty.output;
    const Outcome blind = renderWithoutDisplay(*sample, "sample.sdf x.png");
    EXPECT_EQ(blind.status, 3);
    EXPECT_TRUE(contains(blind, "xvfb-run")) << blind.output;
    // The program itself needs nothing of a display.
    EXPECT_EQ(
        shell(sample->path(), std::string("ldd ") + VORLEN_CLI + " | grep -c -e Qt6Gui -e libGL -e libX11").output,
        "0\n");
}

} // namespace vorlen
