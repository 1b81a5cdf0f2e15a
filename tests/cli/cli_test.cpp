#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
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

#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "images/files/imagereader.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/curvestack.h"
#include "shapes/trimesh.h"
#include "shapes/vertices.h"
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
    // Two contours on some sections are two limbs of one vessel.
    const QJsonObject vessel = named(models, "Vessel");
    EXPECT_NEAR(vessel["closedArea"].toDouble() / areas["Vessel"], 1, 0.02);
    EXPECT_EQ(vessel["estimators"].toObject()["volume"].toString(), "closed surface");
    const QJsonObject certificate = vessel["certificate"].toObject();
    for (const char* holds : {"closed", "oriented", "outward", "manifold"})
        EXPECT_TRUE(certificate[holds].toBool()) << holds;
    EXPECT_EQ(certificate["parts"].toInt(), 1);
    EXPECT_EQ(certificate["genus"].toInt(), 0);
    EXPECT_EQ(certificate["volume"].toDouble(), vessel["volume"].toDouble());
    EXPECT_TRUE(named(models, "Cells")["certificate"].isNull());
    const QJsonObject withError =
        named(cliJson(*sample, "measure --error sample.sdf")[0].toObject()["models"].toArray(), "Nucleus");
    EXPECT_LT(withError["volumeError"].toDouble(), 0.01 * volumes["Nucleus"]);
    EXPECT_GT(withError["volumeError"].toDouble(), std::fabs(withError["volume"].toDouble() - volumes["Nucleus"]) / 10);
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
    EXPECT_EQ(first.status, 1) << first.output; // points are left out, and told
    EXPECT_NE(
        first.output.find("surfaces/Sample-Vessel.stl\n  closed, oriented outward, manifold, 1 part, Euler number 2"),
        std::string::npos)
        << first.output;
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

// Read by another program where there is one; the formats' own tests look at the numbers.
TEST_F(CommandLineTest, exportWritesTheFormatsOfOtherPrograms) {
    const auto size = [](const char* name) {
        std::error_code error;
        return std::filesystem::file_size(sample->file(name), error);
    };
    for (const char* format : {"stl-ascii", "stl", "obj", "ply", "ply-ascii", "vtk", "glb"}) {
        const Outcome outcome = cli(*sample, std::string("export --overwrite -o formats -f ") + format + " sample.sdf");
        EXPECT_EQ(outcome.status, 1) << outcome.output; // the branching vessel and the points are left out
        EXPECT_NE(outcome.output.find("closed, oriented outward"), std::string::npos) << outcome.output;
    }
    EXPECT_FALSE(std::filesystem::exists(sample->file("formats/Sample-Nucleus.qm")));
    for (const char* name : {"formats/Sample-Nucleus.stl", "formats/Sample-Nucleus.obj", "formats/Sample-Nucleus.mtl",
                             "formats/Sample-Nucleus.ply", "formats/Sample-Nucleus.vtk", "formats/Sample.glb"})
        EXPECT_GT(size(name), 20u) << name;
    EXPECT_EQ(size("formats/Sample-Nucleus.stl") % 50, 84 % 50);
    const Outcome admesh = shell(sample->path(), "admesh formats/Sample-Nucleus.stl");
    if (admesh.status == 0) {
        EXPECT_NE(admesh.output.find("Total disconnected facets        :     0"), std::string::npos) << admesh.output;
    }
    const std::string scene = sample->read("formats/Sample.glb");
    for (const char* name : {"Nucleus", "Membrane"})
        EXPECT_NE(scene.find("{\"name\":\"" + std::string(name) + "\",\"mesh\":"), std::string::npos) << name;
    EXPECT_EQ(cli(*sample, "export -o formats -f glb sample.sdf").status, 3) << "the file is there";
    EXPECT_EQ(cli(*sample, "export -o formats -f dwg sample.sdf").status, 2);
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
                                        "--size 12x20 --size Ganglion=9x11 --warping polynomial --degree 1 "
                                        "sample.sdf turned.sdf");
    EXPECT_EQ(fitted.status, 0) << fitted.output;
    EXPECT_EQ(CurveStack<float>(sample->file("space/mean-Nucleus.qm")).getHeight(), 12);
    EXPECT_EQ(CurveStack<float>(sample->file("space/mean-Ganglion.qm")).getHeight(), 9) << "no reference, but shared";
    const std::string numbers = sample->read("space/normalization.json");
    EXPECT_NE(numbers.find("\"residual\": "), std::string::npos) << numbers.substr(0, 400);
    EXPECT_NE(numbers.find("\"leave_one_out_error\": "), std::string::npos);
    const std::string told = sample->read("space/summary.html");
    EXPECT_NE(told.find("Template stack: <i>turned</i>"), std::string::npos);
    EXPECT_NE(told.find("Total 1 references"), std::string::npos);
    EXPECT_NE(told.find("Method: polynomial deformations of degree 1"), std::string::npos);
}

TEST_F(CommandLineTest, normalizeRefusesWhatItCannotDo) {
    for (const char* options : {"",
                                "--registration best",
                                "--warping some",
                                "--template sample --registration global",
                                "--registration template",
                                "--template nobody",
                                "--degree 3",
                                "--warping polynomial --degree 0",
                                "--size 1x5",
                                "--correspondence ranks",
                                "--correspondence levels --mirror",
                                "--smoothing 1",
                                "--warping spline --smoothing -1",
                                "--folds maybe",
                                "--size 20",
                                "--size 20x30x40",
                                "--size =20x30",
                                "--size Liver=20x30",
                                "--error -1",
                                "--reference Cells",
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

// A full disk behind a redirection: no command says that all is well.
TEST_F(CommandLineTest, everyCommandTellsItsMemoryAndThenWritesNothing) {
    const TemporaryFolder folder;
    folder.write("p.vx", "# 6\n# 3\n# 2\n0 0 0\n40 40 40\n");
    VoxelMatrix<float>(5, 5, 5).save(folder.file("v.vm"), false);
    const std::string stack = " " + sample->file("sample") + " "; // the ending may be left out
    for (const std::string& command :
         {"info" + stack, "check" + stack, "measure" + stack, "export -o out" + stack, "spots -o out" + stack,
          "register -o out" + stack, "transfer -o out" + stack + stack, "filter -o out --reference Nucleus" + stack,
          "normalize -o out" + stack + stack, "render" + stack + "out.png", std::string("isosurface -o out -l 1 v.vm"),
          std::string("new out.sdf v.vm"), std::string("density -o out p.vx"),
          std::string("compare -o out --groups 1,1 p.vx p.vx")}) {
        const Outcome dry = cli(folder, command + " --dry-run --threads 2");
        EXPECT_EQ(dry.status, 0) << command << dry.output;
        EXPECT_TRUE(dry.output.find(" MiB") != std::string::npos) << command << dry.output;
        EXPECT_EQ(cli(folder, command + " --threads 0").status, 2) << command;
    }
    EXPECT_EQ(folder.numFiles(), 2);
    EXPECT_EQ(cli(folder, "measure --dry-run none.sdf").status, 3);
}

TEST_F(CommandLineTest, outputThatCannotBeWrittenIsNoSuccess) {
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP() << "no full device";
    const TemporaryFolder folder;
    folder.write("p.vx", "# 6\n# 3\n# 4\n0 0 0\n40 0 0\n0 40 0\n0 0 40\n");
    VoxelMatrix<unsigned char> volume(5, 5, 5);
    volume.setZeros();
    volume(2, 2, 2) = 200;
    volume.save(folder.file("v.vm"), false);
    std::string tube = "FileFormatVersion 1.03;\nSTACK \"tube\";\nPIXWIDTH 1;\nRELPOSITION 4;\n";
    std::string outlines = "MODEL \"body\";\n";
    for (const char name : {'a', 'b', 'c', 'd', 'e'}) {
        tube.append("SLICE \"").append(1, name).append("\" \"none.tif\";\nSliceSize1 60;\nSliceSize2 60;\n");
        outlines.append("MODELITEM \"body\" \"").append(1, name);
        outlines.append("\";\nMODELITEMDATA 10,20 20,10 40,10 50,20 50,40 40,50 20,50 10,40;\n");
    }
    folder.write("tube.sdf", tube + outlines);
    std::vector<std::string> lines = {"--help", "--version"};
    std::string word;
    for (std::istringstream help(cli(folder, "--help").output); std::getline(help, word);)
        if (word.size() > 3 && word.rfind("  ", 0) == 0 && word[2] != ' ')
            lines.push_back(word.substr(2, word.find(' ', 2) - 2) + " --help");
    EXPECT_GT(lines.size(), 9u);
    const std::string stack = sample->file("sample.sdf");
    for (const char* command : {"info ", "check ", "measure "})
        lines.push_back(command + stack + " --format json");
    for (const std::string& line :
         {"export --overwrite -o a " + stack, std::string("isosurface v.vm --level 100 --overwrite --output b"),
          "register " + stack + " --slices :s002 --overwrite -o c",
          std::string("normalize --correspondence levels --overwrite -o d tube.sdf tube.sdf"),
          std::string("density p.vx --overwrite -o e")})
        lines.push_back(line);
    for (const std::string& line : lines) {
        const Outcome good = shell(folder.path(), VORLEN_CLI " " + line + " 2>errors");
        EXPECT_LT(good.status, 2) << line << ": " << folder.read("errors");
        EXPECT_FALSE(good.output.empty()) << line; // so that it has something to lose
        const Outcome full = shell(folder.path(), VORLEN_CLI " " + line + " 2>errors >/dev/full");
        EXPECT_NE(full.status, 0) << line;
        EXPECT_NE(folder.read("errors").find("the output can't be written"), std::string::npos) << line;
    }
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

TEST(CommandLine, checkTellsCodesPlacesAndSeverities) {
    const TemporaryFolder folder;
    folder.write("bad.sdf", "FileFormatVersion 1.03;\nSTACK \"x\";\nPIXWIDTH 1;\nRELPOSITION 1;\nNONSENSE 1;\n"
                            "SLICE \"s\" \"missing.tif\";\nSliceSize1 20;\nSliceSize2 20;\nMODEL \"m\";\n"
                            "MODELITEM \"m\" \"s\";\nMODELITEMDATA 1,1 9,9 9,1 1,9;\nMODEL \"empty\";\n");
    const QJsonObject file = cliJson(folder, "check bad.sdf")[0].toObject();
    EXPECT_EQ(file["errors"].toInt(), 1);
    EXPECT_EQ(file["warnings"].toInt(), 2);
    EXPECT_EQ(file["notes"].toInt(), 1);
    const QJsonArray problems = file["problems"].toArray();
    ASSERT_EQ(problems.size(), 4);
    const QJsonObject crossing = problems[2].toObject();
    EXPECT_EQ(crossing["code"].toString(), "outline-crossing");
    EXPECT_EQ(crossing["severity"].toString(), "warning");
    EXPECT_EQ(crossing["file"].toString(), "bad.sdf");
    EXPECT_EQ(crossing["line"].toInt(), 10);
    EXPECT_EQ(crossing["slice"].toString(), "s");
    EXPECT_EQ(crossing["model"].toString(), "m");
    EXPECT_TRUE(problems[0].toObject()["slice"].isNull());
    const Outcome text = cli(folder, "check bad.sdf");
    EXPECT_EQ(text.status, 1);
    EXPECT_NE(text.output.find("bad.sdf:10: warning: The polygon crosses itself at (5, 5), behind vertices 1 and 3. "
                               "(model \"m\", slice \"s\") [outline-crossing]\n"),
              std::string::npos)
        << text.output;
    const Outcome csv = cli(folder, "check --format csv bad.sdf");
    EXPECT_NE(csv.output.find("\nbad.sdf,true,2,10,s,m,warning,outline-crossing,,"), std::string::npos) << csv.output;

    // Notes alone are no problem.
    folder.write("note.sdf", "FileFormatVersion 1.03;\nRELPOSITION 1;\nSLICE \"a\" 1 1;\nMODEL \"m\";\n");
    const Outcome note = cli(folder, "check note.sdf");
    EXPECT_EQ(note.status, 0);
    EXPECT_NE(note.output.find("note.sdf: no problems, 2 notes\n"), std::string::npos) << note.output;
}

TEST(CommandLine, checkMendsAFileAndKeepsItAsItWas) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("new"));
    Image image(20, 20, 8);
    image.clear();
    ImageWriter().write(image, folder.file("new/moved.tif"), true);
    const std::string old = "FileFormatVersion 1.03;\nPIXWIDTH 1;\nRELPOSITION 1;\nSLICE \"s\" \"moved.tif\";\n"
                            "SliceSize1 20;\nSliceSize2 20;\nMODEL \"m\";\nMODELITEM \"m\" \"s\";\n"
                            "MODELITEMDATA 1,1 9,1 9,1 9,9;\nFUTURE 7;\n";
    folder.write("s.sdf", old);
    EXPECT_EQ(cli(folder, "check --images new s.sdf").status, 2);
    const QJsonObject mended = cliJson(folder, "check --fix --images new s.sdf")[0].toObject();
    ASSERT_EQ(mended["fixed"].toArray().size(), 2);
    EXPECT_EQ(mended["fixed"].toArray()[0].toObject()["code"].toString(), "image-missing");
    EXPECT_EQ(mended["fixed"].toArray()[1].toObject()["code"].toString(), "vertices-doubled");
    ASSERT_EQ(mended["problems"].toArray().size(), 1);
    EXPECT_EQ(mended["problems"].toArray()[0].toObject()["code"].toString(), "unknown-keyword");
    EXPECT_EQ(mended["backup"].toString(), "s.sdf~1");
    EXPECT_EQ(folder.read("s.sdf~1"), old);
    EXPECT_NE(folder.read("s.sdf").find(" 1,1 9,1 9,9;"), std::string::npos);
    EXPECT_NE(folder.read("s.sdf").find("FUTURE 7;"), std::string::npos);

    // Nothing more to mend: nothing is written.
    const std::string good = folder.read("s.sdf");
    EXPECT_EQ(cli(folder, "check --fix s.sdf").status, 1);
    EXPECT_FALSE(std::filesystem::exists(folder.file("s.sdf~2")));
    EXPECT_EQ(folder.read("s.sdf"), good);

    // What was cut off is not made to look whole, and an image of another size is not taken.
    folder.write("cut.sdf", old.substr(0, old.size() - 3));
    const Outcome cut = cli(folder, "check --fix cut.sdf");
    EXPECT_EQ(cut.status, 1);
    EXPECT_NE(cut.output.find("not mended"), std::string::npos) << cut.output;
    EXPECT_EQ(folder.read("cut.sdf"), old.substr(0, old.size() - 3));
}

// One table of each kind, whose rows tell where they come from; another unit begins another table.
TEST(CommandLine, valuesOfSeveralFilesNameFileAndStackOnEachRow) {
    const TemporaryFolder folder;
    const auto text = [](const char* stack, const char* unit) {
        return std::string("\xEF\xBB\xBF") + "FileFormatVersion 1.03;\nSTACK \"" + stack + "\";\nLengthUnitScale " +
               unit + ";\nPIXWIDTH 1;\nRELPOSITION 1;\nSLICE \"a\" 1 1;\nMODEL \"m\";\n";
    };
    folder.write("one.sdf", text("first", "-6"));
    folder.write("two.sdf", text("sec,ond", "-6"));
    folder.write("nm.sdf", text("third", "-9"));
    const Outcome measured = cli(folder, "measure --models-only --format csv one.sdf two.sdf nm.sdf");
    EXPECT_EQ(measured.status, 0) << measured.output;
    std::istringstream lines(measured.output);
    std::vector<std::string> starts;
    for (std::string line; std::getline(lines, line);)
        starts.push_back(line.substr(0, line.find(",m,") == std::string::npos ? 17 : line.find(",m,")));
    const std::vector<std::string> expected = {
        "File,Stack,Model,", "one.sdf,first", "two.sdf,\"sec,ond\"", "", "File,Stack,Model,", "nm.sdf,third", ""};
    EXPECT_EQ(starts, expected) << measured.output;
    EXPECT_EQ(cli(folder, "measure --models-only --format csv one.sdf").output.rfind("Model,", 0), 0u);
    const Outcome info = cli(folder, "info --format csv one.sdf nm.sdf");
    EXPECT_EQ(info.output.rfind("File,Stack,Slice,", 0), 0u) << info.output;
    EXPECT_NE(info.output.find("\nnm.sdf,third,a,"), std::string::npos);
}

// A bar of 10 x 10, 60 long with its ends; the rows of an outline need no blank between them.
TEST(CommandLine, measuresTheFormOfModelsOnRequest) {
    const TemporaryFolder folder;
    std::string text = "FileFormatVersion 1.03;\nSTACK \"bar\";\nLengthUnitScale -6;\nPIXWIDTH 1;\nPIXHEIGHT 1;\n"
                       "RELPOSITION 10;\nMODEL \"m\";\nPRIMITIVE Polygon;\n";
    for (const char* slice : {"a", "b", "c", "d", "e", "f"})
        text += std::string("SLICE \"") + slice + "\" 1 1;\n";
    for (const char* slice : {"a", "b", "c", "d", "e", "f"})
        text +=
            std::string("MODELITEM \"m\" \"") + slice + "\";\nMODELITEMDATA\n0.5,0.5 10.5,0.5\n10.5,10.5\n0.5,10.5;\n";
    folder.write("bar.sdf", text);
    const QJsonObject bar = cliJson(folder, "measure --shape bar.sdf")[0].toObject()["models"].toArray()[0].toObject();
    EXPECT_NEAR(bar["volume"].toDouble(), 6000, 1e-6);
    EXPECT_NEAR(bar["box"].toArray()[2].toDouble(), 60, 1e-9);
    EXPECT_NEAR(bar["largestFeret"].toDouble(), std::sqrt(3800.0), 1e-9);
    EXPECT_NEAR(bar["largestThickness"].toDouble(), 10, 1);
    EXPECT_EQ(bar["branches"].toInt(), 1);
    EXPECT_EQ(bar["estimators"].toObject()["meanThickness"].toString(), "cubes in the closed surface");
    EXPECT_NE(cli(folder, "measure --shape --models-only bar.sdf").output.find("SkeletonLength ["), std::string::npos);
}

// Two cubes of side 20, 30 apart, and a stack of one of them with points.
TEST(CommandLine, measuresDistancesBetweenModelsOnRequest) {
    const TemporaryFolder folder;
    const std::string start = "FileFormatVersion 1.03;\nSTACK \"cubes\";\nLengthUnitScale -6;\nPIXWIDTH 1;\n"
                              "PIXHEIGHT 1;\nRELPOSITION 10;\nMODEL \"a\";\nPRIMITIVE Polygon;\n";
    const std::string slices = "SLICE \"s\" 1 1;\nSLICE \"t\" 1 1;\n";
    const auto cube = [](const std::string& model, const std::string& left, const std::string& right) {
        std::string text;
        for (const char* slice : {"s", "t"})
            text += "MODELITEM \"" + model + "\" \"" + slice + "\";\nMODELITEMDATA\n" + left + ",0\n" + right + ",0\n" +
                    right + ",20\n" + left + ",20;\n";
        return text;
    };
    folder.write("two.sdf",
                 start + "MODEL \"b\";\nPRIMITIVE Polygon;\n" + slices + cube("a", "0", "20") + cube("b", "50", "70"));
    folder.write("one.sdf", start + "MODEL \"dots\";\nPRIMITIVE Polypoint;\n" + slices + cube("a", "0", "20") +
                                cube("dots", "1", "3"));

    const QJsonObject two = cliJson(folder, "measure --distances two.sdf")[0].toObject();
    ASSERT_EQ(two["distances"].toArray().size(), 1);
    const QJsonObject pair = two["distances"].toArray()[0].toObject();
    EXPECT_EQ(pair["first"].toString() + pair["second"].toString() + pair["surfaces"].toString(), "abboth closed");
    EXPECT_NEAR(pair["least"].toDouble(), 30, 1e-6);
    EXPECT_NEAR(pair["meanToSecond"].toDouble(), 40, 1e-6);
    EXPECT_NEAR(pair["meanToFirst"].toDouble(), 40, 1e-6);
    EXPECT_NEAR(pair["hausdorff"].toDouble(), 50, 1e-6);
    EXPECT_FALSE(cliJson(folder, "measure two.sdf")[0].toObject().contains("distances"));
    const QJsonObject from = cliJson(folder, "measure --distances-from b two.sdf")[0].toObject();
    ASSERT_EQ(from["distances"].toArray().size(), 1);
    EXPECT_EQ(from["distances"].toArray()[0].toObject()["first"].toString(), "b");
    EXPECT_EQ(from["distances"].toArray()[0].toObject()["second"].toString(), "a");
    const Outcome unknown = cli(folder, "measure --distances-from c two.sdf");
    EXPECT_EQ(unknown.status, 1);
    EXPECT_NE(unknown.output.find("two.sdf: there is no model \"c\""), std::string::npos) << unknown.output;
    const std::string csv = cli(folder, "measure --distances --models-only --format csv two.sdf").output;
    EXPECT_NE(csv.find("\n\nFirst,Second,Surfaces,Least [\u00b5m],"), std::string::npos) << csv;

    std::string unsized = start + slices + cube("a", "0", "20");
    unsized.replace(unsized.find("PIXWIDTH 1"), 10, "PIXWIDTH 0");
    folder.write("unsized.sdf", unsized);
    const Outcome none = cli(folder, "measure unsized.sdf");
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.output.find("the pixels of slice \"s\" have no size (calibration 0 x 1)"), std::string::npos);

    // Positions that go back and forth, or are all the same, are measured, but not in silence.
    std::string folded = start + slices + "SLICE \"u\" 1 1;\nPOSITION 5;\n" + cube("a", "0", "20");
    folder.write("folded.sdf", folded);
    for (const char* command : {"measure", "export --format stl --overwrite"}) {
        const Outcome back = cli(folder, command + std::string(" folded.sdf"));
        EXPECT_EQ(back.status, 1) << back.output;
        EXPECT_NE(back.output.find("the positions go back and forth, first at slice \"u\""), std::string::npos)
            << back.output;
    }

    const Outcome one = cli(folder, "measure --distances one.sdf");
    EXPECT_EQ(one.status, 0);
    EXPECT_NE(one.output.find("the distances leave model \"dots\" out: points have no surface"), std::string::npos);
    EXPECT_NE(one.output.find("there are no distances, for they take two models that have a surface"),
              std::string::npos);
    const QJsonObject alone = cliJson(folder, "measure --distances one.sdf")[0].toObject();
    EXPECT_TRUE(alone["distances"].isArray() && alone["distances"].toArray().isEmpty());
    EXPECT_EQ(alone["withoutSurface"].toArray()[0].toObject()["name"].toString(), "dots");
}

TEST(CommandLine, theTableOfCodesIsThatOfTheGuide) {
    const TemporaryFolder folder;
    std::string page = shell(folder.path(), "cat '" VORLEN_SOURCES "/docs/checking.md'").output;
    std::string table = "| Code | Severity | `--fix` | Meaning |\n|---|---|---|---|\n";
    for (const QJsonValue& value : cliJson(folder, "check --codes")) {
        const QJsonObject code = value.toObject();
        table += "| `" + code["code"].toString().toStdString() + "` | " + code["severity"].toString().toStdString() +
                 " | " + (code["fixable"].toBool() ? "yes" : "") + " | " + code["meaning"].toString().toStdString() +
                 " |\n";
    }
    EXPECT_NE(page.find(table), std::string::npos) << table;
    EXPECT_EQ(cli(folder, "check --codes").status, 0);
    EXPECT_EQ(cli(folder, "check").status, 2);
}

// Without its image a slice lies where it lay as long as its size is known, and nowhere else.
TEST_F(CommandLineTest, aMissingImageIsMeasuredByTheSizeInTheFileOrNotAtAll) {
    const QJsonArray whole = cliJson(*sample, "measure sample.sdf")[0].toObject()["models"].toArray();
    const TemporaryFolder folder;
    std::string text = sample->read("sample.sdf");
    folder.write("sized.sdf", text);
    for (std::size_t at = text.find("SliceSize"); at != std::string::npos; at = text.find("SliceSize"))
        text.erase(at, text.find('\n', at) - at + 1);
    folder.write("unsized.sdf", text);
    EXPECT_EQ(cliJson(folder, "measure sized.sdf")[0].toObject()["models"].toArray(), whole);
    EXPECT_TRUE(cliJson(folder, "measure unsized.sdf").isEmpty());
    const Outcome sized = cli(folder, "measure sized.sdf");
    EXPECT_EQ(sized.status, 1);
    EXPECT_NE(sized.output.find("the size that the file gives stands for it, 512 x 512"), std::string::npos);
    EXPECT_NE(sized.output.find("so are those of 45 more slices"), std::string::npos) << sized.output; // of 48
    for (const char* command :
         {"measure unsized.sdf", "export -o out unsized.sdf", "normalize -o out sized.sdf unsized.sdf"}) {
        const Outcome refused = cli(folder, command);
        EXPECT_EQ(refused.status, 1) << command;
        EXPECT_NE(refused.output.find("does not give its size"), std::string::npos) << refused.output;
    }
    EXPECT_FALSE(std::filesystem::exists(folder.file("out/Sample-Nucleus.stl")));
    const QJsonObject slice = cliJson(folder, "info sized.sdf")[0].toObject()["slices"].toArray()[0].toObject();
    EXPECT_EQ(slice["width"].toInt(), 512);
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
                              "--locked 0", "--format xml", "--reach 8", "--elastic --stiffness 0"})
        EXPECT_EQ(cli(folder, std::string("register s.sdf --output new --overwrite ") + wrong).status, 2) << wrong;

    // By fields that are at hand: all of the last slice comes from five columns to the right and two rows above.
    folder.write("hand.fields", "vorlen elastic fields 1\nslice 2 2 200 160 b\n5 -2 5 -2\n5 -2 5 -2\nend\n");
    const Outcome bent = cli(folder, "register s.sdf --output bent --fields hand.fields --keep-registrations");
    EXPECT_EQ(bent.status, 0) << bent.output;
    Stack old2, carried;
    ASSERT_TRUE(StackReader().read(old2, folder.file("s.sdf")));
    ASSERT_TRUE(StackReader().read(carried, folder.file("bent/s.sdf")));
    for (int k = 0; k < 2; ++k) {
        const auto& before = old2.getModel(0).getItem(1).getVertices()[k];
        const auto& after = carried.getModel(0).getItem(1).getVertices()[k];
        EXPECT_EQ(after[0], before[0] - 5);
        EXPECT_EQ(after[1], before[1] + 2);
    }
    Image from, to;
    ImageReader().read(from, folder.file("b.tif"));
    ImageReader().read(to, carried.getSlice(2).getImageSource());
    EXPECT_EQ(to.getPixels()[90][100], from.getPixels()[88][105]);
    EXPECT_EQ(to.getPixels()[90][199], 0);
    EXPECT_EQ(cli(folder, "register s.sdf --output bent --fields hand.fields").status, 3); // it is there
    EXPECT_NE(cli(folder, "register s.sdf --output none --fields s.sdf").status, 0);
    const Outcome looked = cli(folder, "register s.sdf --output elastic --elastic --format json");
    EXPECT_NE(looked.output.find("\"elastic\""), std::string::npos) << looked.output;
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
    const Outcome outcome = cli(folder, "density p.vx q.vx -o out -m kernel --kernel biweight -b 8 -r 1 --unit um "
                                        "--percentile 50 --level 1e-4 --nifti --gzip");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("out/density.nii.gz\n"), std::string::npos) << outcome.output;
    EXPECT_EQ(cli(folder, "new map.sdf out/density.nii.gz").output,
              "map.sdf: stack \"map\", 40 slices, pixel 1 x 1 \302\265m, spacing 1 \302\265m\n");
    EXPECT_NE(outcome.output.find("Integral: 1 "), std::string::npos) << outcome.output;
    const auto massOf = [&folder](const char* name) {
        const VoxelMatrix<float> map(folder.file(name));
        double mass = 0;
        for (int k = 0; k < map.getSize3(); ++k)
            for (int i = 0; i < map.getSize1(); ++i)
                for (int j = 0; j < map.getSize2(); ++j)
                    mass += map(i, j, k);
        const Vector<float> steps = map.getVoxelCalibration().getVoxelSize();
        return mass * double(steps[0]) * double(steps[1]) * double(steps[2]);
    };
    EXPECT_NEAR(massOf("out/density.vm"), 1, 0.01);
    const std::string nrrd = folder.read("out/density.nrrd");
    EXPECT_NE(nrrd.find("sizes: 40 40 40\n"), std::string::npos);
    EXPECT_NE(nrrd.find("space origin: (0.5,0.5,0.5)\n"), std::string::npos);
    EXPECT_NE(nrrd.find("space units: \"um\" \"um\" \"um\"\n"), std::string::npos);
    // Plain: of the first pattern's points an eighth or a fourth of the mass lies in the box, the second's are whole.
    // The nodes are 40/39 apart, as the file tells.
    EXPECT_EQ(cli(folder, "density p.vx q.vx -o plain -m plain-kernel --kernel biweight -b 8 -r 1").status, 0);
    EXPECT_NEAR(massOf("plain/density.vm"), 0.5 + 0.5 / 4 * (1. / 8 * 4), 0.03);
    // What it would take is told, and nothing is written.
    const Outcome dry = cli(folder, "density p.vx q.vx -o dry -m kernel --dry-run");
    EXPECT_EQ(dry.status, 0);
    EXPECT_NE(dry.output.find("Memory: "), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder.file("dry/density.vm")));
    for (const char* name : {"out/density-00.tm", "out/density-01.tm"}) {
        const TriMesh<float> surface(folder.file(name));
        const BoundingBox<float> box = surface.boundingBox();
        EXPECT_GT(surface.getNumTriangles(), 20) << name;
        EXPECT_GE(box.getVertex1().min(), 0) << name;
        EXPECT_LE(box.getVertex2().max(), 40.0001) << name;
        EXPECT_TRUE(box.contains(surface.cog())) << name;
    }
    // In blocks the same bytes come out, in any order, of the volume alone and with all that is asked for.
    const std::string same = "density p.vx q.vx -o blocks -m kernel --kernel biweight -b 8 -r 1 --unit um ";
    const std::string more = "--percentile 50 --level 1e-4 --nifti --gzip ";
    std::string merge;
    for (const char* part : {"2", "1", "3"}) {
        EXPECT_EQ(cli(folder, same + "--threads 1 --chunk " + part + "/3").status, 0);
        merge += std::string("--merge blocks/density-block-") + part + "-of-3.block ";
        EXPECT_EQ(cli(folder, same + "--name early " + merge).status, *part == '3' ? 0 : 1) << "some lack";
    }
    EXPECT_EQ(folder.read("blocks/early.vm"), folder.read("out/density.vm"));
    EXPECT_EQ(cli(folder, same + more + merge).status, 0);
    for (const char* name : {"density.vm", "density.nrrd", "density.nii.gz", "density-00.tm", "density-01.tm"})
        EXPECT_EQ(folder.read(std::string("blocks/") + name), folder.read(std::string("out/") + name)) << name;
    EXPECT_EQ(cli(folder, same + "--name twice --merge blocks/density-block-2-of-3.block " + merge).status, 1);
    EXPECT_EQ(cli(folder, same + "--name other -b 9 " + merge).status, 1) << "of another map";
    folder.write("cut.block", folder.read("blocks/density-block-1-of-3.block").substr(0, 5000));
    EXPECT_EQ(cli(folder, same + "--name cut --merge cut.block").status, 3);
    EXPECT_EQ(cli(folder, same + "--name none --merge p.vx").status, 3);
    EXPECT_EQ(cli(folder, same + "--chunk 4/3").status, 2);
    EXPECT_EQ(cli(folder, "density p.vx -o out").status, 3); // it is there
    EXPECT_EQ(cli(folder, "density p.vx -o out --overwrite").status, 0);
    EXPECT_EQ(cli(folder, "density p.vx q.vx -o out --name n -m poisson -k 3").status, 1);
    EXPECT_EQ(cli(folder, "density p.vx -o out --name n --level 99").status, 1); // no surface there
    for (const char* wrong : {"-m nearest", "-r 0", "--level x", "--percentile 101", "--name a/b", "-b -1", "-k 0"})
        EXPECT_EQ(cli(folder, std::string("density p.vx ") + wrong).status, 2) << wrong;
    EXPECT_EQ(cli(folder, "density none.vx").status, 3);
}

// Four specimens of two groups with their points elsewhere: whole, in parts, from maps, and as shapes.
TEST(CommandLine, compareFindsWhereGroupsDifferWholeOrInParts) {
    const TemporaryFolder folder;
    std::string table = "file\tgroup\n", points;
    for (int s = 0; s < 8; ++s) {
        std::string text = "# 6\n# 3\n# 40\n";
        for (int i = 0; i < 40; ++i) // spread over the box, but for a heap that the second group has
            text += s >= 4 && i < 12 ? std::to_string(30 + (i + s) % 4) + " " + std::to_string(30 + i % 3) + " 30\n"
                                     : std::to_string((i * 7 + s * 3) % 41) + " " + std::to_string((i * 11 + s) % 41) +
                                           " " + std::to_string((i * 17 + s * 5) % 41) + "\n";
        const std::string name = "s" + std::to_string(s) + ".vx";
        folder.write(name, text);
        points += " " + name;
        table += name + (s < 4 ? "\tcontrol\n" : "\ttreated\n");
    }
    folder.write("t.tsv", table);
    const Outcome whole = cli(folder, "compare --table t.tsv -o out -r 4 -b 5 --cluster 2 --unit um");
    ASSERT_EQ(whole.status, 0) << whole.output;
    for (const char* word : {"70 permutations, all there are", "Group treated: 4 specimens"})
        EXPECT_NE(whole.output.find(word), std::string::npos) << whole.output;
    const std::string summary = folder.read("out/comparison.json");
    EXPECT_NE(summary.find("\"leastP\": 0.02857142857142857"), std::string::npos) << summary; // 2 of 70
    const VoxelMatrix<float> difference(folder.file("out/comparison-difference.vm"));
    Vector<int> most(3);
    most.fill(0);
    for (int k = 0; k < difference.getSize3(); ++k)
        for (int i = 0; i < difference.getSize1(); ++i)
            for (int j = 0; j < difference.getSize2(); ++j)
                if (difference(i, j, k) > difference(most[0], most[1], most[2]))
                    most[0] = i, most[1] = j, most[2] = k;
    for (int a = 0; a < 3; ++a)
        EXPECT_NEAR((most[a] + 0.5) * 4, 31, 4);
    EXPECT_TRUE(std::filesystem::exists(folder.file("out/comparison-significant.tm")));
    // In parts the same bytes come out.
    const std::string same = " --groups 4,4 --names control,treated -r 4 -b 5 --cluster 2 --unit um";
    for (const char* part : {"2/3", "1/3", "3/3"})
        EXPECT_EQ(cli(folder, "compare -o parts --chunk " + std::string(part) + same + points).status, 0);
    std::string merge = " --merge parts/comparison-part-1-of-3.json --merge parts/comparison-part-3-of-3.json";
    EXPECT_EQ(cli(folder, "compare -o parts" + merge + same + points).status, 1) << "a part lacks";
    merge += " --merge parts/comparison-part-2-of-3.json";
    EXPECT_EQ(cli(folder, "compare -o parts --overwrite" + merge + same + points).status, 0);
    EXPECT_EQ(folder.read("parts/comparison-p.vm"), folder.read("out/comparison-p.vm"));
    EXPECT_EQ(folder.read("parts/comparison-significant.tm"), folder.read("out/comparison-significant.tm"));
    EXPECT_EQ(cli(folder, "compare -o other --seed 2" + merge + same + points).status, 1) << "of another test";
    // Maps as they are, but not in different units.
    const std::string maps = " --groups 2,1 out/comparison-p.vm out/comparison-statistic.vm ";
    EXPECT_EQ(cli(folder, "compare -o maps" + maps + "out/comparison-difference.vm").status, 0);
    EXPECT_EQ(cli(folder, "compare --table t.tsv -o mm -r 4 -b 5 --unit mm").status, 0);
    const Outcome mixed = cli(folder, "compare -o mixed" + maps + "mm/comparison-p.vm");
    EXPECT_EQ(mixed.status, 1);
    EXPECT_NE(mixed.output.find("mm/comparison-p.vm is in mm, the first map in \302\265m"), std::string::npos)
        << mixed.output;
    // The shapes themselves, whose vertices correspond.
    EXPECT_EQ(cli(folder, "compare -o forms --shapes --groups 4,4" + points).status, 0);
    EXPECT_EQ(folder.read("forms/comparison.csv").substr(0, 34), "vertex,x,y,z,dx,dy,dz,statistic,p\n");
    for (const char* wrong : {" --groups 4,5", " --groups 8,x", "", " --groups 4,4 --chunk 4/3", " --table t.tsv",
                              " --groups 4,4 --names one", " --groups 4,4 --alpha 0"})
        EXPECT_EQ(cli(folder, "compare -o wrong" + std::string(wrong) + points).status, 2) << wrong;
    EXPECT_EQ(cli(folder, "compare -o wrong --table none.tsv").status, 3);
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
    // The green vessel, the blue ganglion, and no surface at the border, which the shapes almost reach.
    int green = 0, blue = 0;
    for (int y = 0; y < 240; ++y)
        for (int x = 0; x < 400; ++x) {
            const QColor color = picture.pixelColor(x, y);
            green += color.green() > color.red() + 60 && color.green() > color.blue() + 30;
            blue += x > 200 && color.blue() > color.red() + 60 && color.blue() > color.green() + 40;
        }
    EXPECT_GT(green, 500);
    EXPECT_GT(blue, 500);
    const auto isSurface = [&picture](int x, int y) {
        const QColor color = picture.pixelColor(x, y);
        return color.saturation() > 40 && (color.hue() < 195 || color.hue() > 215); // unlike ground and frame
    };
    int top = 240, bottom = 0, left = 400, right = 0;
    for (int y = 0; y < 240; ++y)
        for (int x = 0; x < 400; ++x)
            if (isSurface(x, y)) {
                EXPECT_TRUE(x > 0 && x < 399) << y;
                top = std::min(top, y);
                bottom = y;
                left = std::min(left, x);
                right = std::max(right, x);
            }
    EXPECT_GT(top, 0);
    EXPECT_LT(bottom, 239);
    EXPECT_TRUE(bottom - top > 200 || right - left > 340) << bottom - top << ' ' << right - left;

    EXPECT_EQ(render(*sample, "--pose Front sample.sdf front.png --size 400x240").status, 0);
    EXPECT_NE(pictureOf(*sample, "front.png"), picture);
    // An existing picture is kept unless it may go.
    EXPECT_EQ(render(*sample, "sample.sdf front.png --size 100x80").status, 3);
    EXPECT_EQ(pictureOf(*sample, "front.png").size(), QSize(400, 240));
    // When it goes, one thread draws the same as many.
    EXPECT_EQ(render(*sample, "sample.sdf front.png --size 400x240 --overwrite --threads 1").status, 0);
    EXPECT_EQ(pictureOf(*sample, "front.png"), picture);
    const Outcome film =
        render(*sample, "--video --motion poses --rate 15 --seconds 1 --size 160x120 sample.sdf film.mp4");
    EXPECT_EQ(film.status, 0) << film.output;
    EXPECT_TRUE(contains(film, "film.mp4: 15 frames\n")) << film.output;
    EXPECT_EQ(shell(sample->path(), "ffprobe -v error -count_frames -select_streams v -show_entries "
                                    "stream=codec_name,width,height,nb_read_frames -of csv=p=0 film.mp4")
                  .output,
              "h264,160,120,15\n");
    EXPECT_EQ(render(*sample, "--video sample.sdf film.txt --size 160x120").status, 3);
    const Outcome nowhere = render(*sample, "sample.sdf gone/picture.png");
    EXPECT_EQ(nowhere.status, 3);
    EXPECT_TRUE(contains(nowhere, "cannot write gone/picture.png: "));
    // Ended by the system, as by this ffmpeg, it leaves nothing of its video.
    std::filesystem::create_directory(sample->file("deadly"));
    std::ofstream(sample->file("deadly/ffmpeg")) << "#!/bin/sh\ncase \"$*\" in *-encoders*) echo ' V..... libx264 x';; "
                                                    "*) kill $PPID; exec cat >/dev/null;; esac\n";
    std::filesystem::permissions(sample->file("deadly/ffmpeg"), std::filesystem::perms::owner_all);
    const Outcome ended =
        shell(sample->path(), std::string("env ASAN_OPTIONS=detect_leaks=0 PATH=\"$PWD/deadly:$PATH\" ") +
                                  VORLEN_WITH_DISPLAY + " " + VORLEN_CLI +
                                  " render --video --seconds 60 --size 160x120 sample.sdf ended.mp4 2>&1; "
                                  "ls -A | grep ended");
    EXPECT_TRUE(contains(ended, "stopped: no video was written\n")) << ended.output;
    EXPECT_FALSE(contains(ended, ".part")) << ended.output;
}

TEST_F(CommandLineTest, renderRefusesWithoutADisplayWhatCannotBeDrawn) {
    for (const char* size : {"0x100", "100000x100000", "100x8193", "big", "-3x200", "100x"})
        EXPECT_EQ(renderWithoutDisplay(*sample, std::string("sample.sdf x.png --size ") + size).status, 2) << size;
    EXPECT_EQ(renderWithoutDisplay(*sample, "sample.sdf").status, 2);
    EXPECT_EQ(renderWithoutDisplay(*sample, "sample.sdf x.jpg").status, 2);
    EXPECT_EQ(renderWithoutDisplay(*sample, "sample.sdf x.mp4").status, 2);
    EXPECT_EQ(renderWithoutDisplay(*sample, "--video --motion swim sample.sdf x.mp4").status, 2);
    EXPECT_EQ(renderWithoutDisplay(*sample, "--video --rate 0 sample.sdf x.mp4").status, 2);
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
    // The program itself needs nothing of windows. (The library of image features brings libGLX along.)
    EXPECT_EQ(shell(sample->path(), std::string("ldd ") + VORLEN_CLI + " | grep -c -e Qt6Gui -e Qt6OpenGL").output,
              "0\n");
    EXPECT_EQ(shell(sample->path(),
                    std::string("objdump -p ") + VORLEN_CLI + " | grep NEEDED | grep -c -e Qt6Gui -e libGL -e libX11")
                  .output,
              "0\n");
}

} // namespace vorlen
