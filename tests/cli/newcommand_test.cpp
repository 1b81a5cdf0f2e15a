#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/wait.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <gtest/gtest.h>

#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/dicommaker.h"
#include "support/temporaryfolder.h"
#include "support/tiffmaker.h"

namespace vorlen {

namespace {

/// Runs vorlen-cli in a folder; gives its exit status and what it printed, with its errors if asked.
int run(const TemporaryFolder& folder, const std::string& arguments, std::string& output, bool withErrors = true) {
    const std::string line = "cd '" + folder.path() + "' && " + std::string(VORLEN_CLI) + " " + arguments +
                             (withErrors ? " 2>&1" : " 2>/dev/null");
    output.clear();
    FILE* pipe = ::popen(line.c_str(), "r");
    char buffer[4096];
    for (std::size_t n = 0; pipe != nullptr && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        output.append(buffer, n);
    const int status = pipe == nullptr ? -1 : ::pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

QJsonArray slicesOf(const TemporaryFolder& folder, const std::string& stack, int expectedStatus = 0) {
    std::string output;
    EXPECT_EQ(run(folder, "info --pixels --format json " + stack, output, false), expectedStatus);
    const QJsonArray stacks = QJsonDocument::fromJson(QByteArray::fromStdString(output)).array();
    EXPECT_EQ(stacks.size(), 1) << output;
    return stacks[0].toObject()["slices"].toArray();
}

QJsonObject channelOf(const QJsonValue& slice, int channel) {
    return slice.toObject()["pixels"].toArray()[channel].toObject();
}

} // namespace

TEST(NewCommand, aMultiPageFileBecomesAStackWithItsPixelsTold) {
    const TemporaryFolder folder;
    TIFF* tiff = TIFFOpen(folder.file("pages.tif").c_str(), "w");
    for (int page = 0; page < 11; ++page) {
        TiffMaker maker;
        maker.bits = 16;
        maker.unit = RESUNIT_CENTIMETER;
        maker.xResolution = 20000;
        maker.yResolution = 10000;
        maker.writePage(tiff, [page](int i, int j, int) { return std::uint64_t(1000 * page + 10 * i + j); });
    }
    TIFFClose(tiff);
    std::string output;
    ASSERT_EQ(run(folder, "new out.sdf pages.tif --spacing 3", output), 0) << output;
    EXPECT_EQ(output, "out.sdf: stack \"out\", 11 slices, pixel 0.5 x 1 \xc2\xb5m, spacing 3 \xc2\xb5m\n");
    const QJsonArray slices = slicesOf(folder, "out.sdf");
    ASSERT_EQ(slices.size(), 11);
    const QJsonObject last = slices[10].toObject();
    EXPECT_EQ(last["values"].toString(), "uint16");
    EXPECT_EQ(last["position"].toDouble(), 30);
    EXPECT_EQ(last["pixelHeight"].toDouble(), 1);
    EXPECT_EQ(channelOf(last, 0)["name"].toString(), "grey");
    EXPECT_EQ(channelOf(last, 0)["min"].toDouble(), 10000);
    EXPECT_EQ(channelOf(last, 0)["max"].toDouble(), 10034);
    EXPECT_EQ(channelOf(last, 0)["mean"].toDouble(), 10017);
    // The same in the table.
    ASSERT_EQ(run(folder, "info --pixels --format csv out.sdf", output), 0);
    EXPECT_NE(output.find(",Values,Name,Min,Max,Mean\n"), std::string::npos) << output;
    EXPECT_NE(output.find(",uint16,grey,10000,10034,10017\n"), std::string::npos) << output;
    ASSERT_EQ(run(folder, "info --format csv out.sdf", output), 0);
    EXPECT_EQ(output.find("Values"), std::string::npos);

    EXPECT_EQ(run(folder, "new out.sdf pages.tif", output), 3); // is there already
    ASSERT_EQ(run(folder, "new out.sdf pages.tif --overwrite --pixel-size 0.25,0.5 --unit nm --spacing 7", output), 0);
    EXPECT_NE(output.find("pixel 0.25 x 0.5 nm, spacing 7 nm"), std::string::npos) << output;
    for (const char* wrong : {"new out.txt pages.tif", "new out2.sdf", "new out2.sdf pages.tif --pixel-size 0",
                              "new out2.sdf pages.tif --unit ell", "new out2.sdf pages.tif --spacing -1"})
        EXPECT_EQ(run(folder, wrong, output), 2) << wrong << output;
    // A file that can't be read would leave its neighbours nearer to each other: no stack.
    folder.write("broken.tif", "II*x");
    EXPECT_EQ(run(folder, "new out2.sdf pages.tif broken.tif", output), 3);
    EXPECT_NE(output.find("broken.tif"), std::string::npos);
    EXPECT_NE(run(folder, "info out2.sdf", output), 0);
}

// The smaller copies of large sections take long to make: what has been made of them goes when the program is stopped.
TEST(RegisterCommand, takesAwayWhatItHasBegunWhenItIsStopped) {
    const TemporaryFolder folder;
    {
        Image image(9000, 7500, 8);
        image.clear();
        ImageWriter().write(image, folder.file("a.tif"), true);
    }
    std::filesystem::create_hard_link(folder.file("a.tif"), folder.file("b.tif"));
    std::filesystem::create_hard_link(folder.file("a.tif"), folder.file("c.tif"));
    std::string output;
    ASSERT_EQ(run(folder, "new s.sdf a.tif b.tif c.tif --pixel-size 1 --spacing 1", output), 0) << output;
    run(folder,
        "info s.sdf >info; export XDG_CACHE_HOME=$PWD/cache; " + std::string(VORLEN_CLI) +
            " register --output out s.sdf >said 2>&1 & p=$!; sleep 0.1; kill -TERM $p; wait $p; echo $?;"
            " find cache -name '*.part-*'; ls out",
        output, false);
    EXPECT_EQ(output, "143\n"); // by the signal
}

TEST(NewCommand, namesComeInNaturalOrderAndNoNumberCountsApart) {
    const TemporaryFolder folder;
    const auto write = [&folder](const char* name, float value) {
        TiffMaker maker;
        maker.bits = 32;
        maker.format = SAMPLEFORMAT_IEEEFP;
        maker.write(folder.file(name), [value](int i, int, int) { return bitsOf(i == 0 ? std::nanf("") : value); });
    };
    write("s10.tif", -7.5f);
    write("s9.tif", 2.5f);
    std::string output;
    ASSERT_EQ(run(folder, "new o.sdf s10.tif s9.tif --pixel-size 1 --spacing 1", output), 0) << output;
    const QJsonArray slices = slicesOf(folder, "o.sdf");
    EXPECT_EQ(slices[0].toObject()["name"].toString(), "s9");
    EXPECT_EQ(slices[0].toObject()["values"].toString(), "float32");
    EXPECT_EQ(channelOf(slices[0], 0)["mean"].toDouble(), 2.5);
    EXPECT_EQ(channelOf(slices[1], 0)["min"].toDouble(), -7.5);
    ASSERT_EQ(run(folder, "new --keep-order k.sdf s10.tif s9.tif --pixel-size 1 --spacing 1", output), 0) << output;
    EXPECT_EQ(slicesOf(folder, "k.sdf")[0].toObject()["name"].toString(), "s10");
}

// The header of this file is good, and its pixels aren't.
TEST(CheckCommand, pixelsThatCannotBeReadAreNamed) {
    const TemporaryFolder folder;
    TiffMaker maker;
    maker.width = maker.height = 64;
    maker.compression = COMPRESSION_LZW;
    maker.rowsPerStrip = 8;
    const auto sample = [](int i, int j, int) { return std::uint64_t((31 * i + 7 * j) & 255); };
    maker.write(folder.file("good.tif"), sample);
    maker.write(folder.file("bad.tif"), sample);
    std::string bytes = folder.read("bad.tif");
    bytes.replace(400, 1200, std::string(1200, '\xff'));
    folder.write("bad.tif", bytes);
    std::string output;
    ASSERT_EQ(run(folder, "new g.sdf good.tif --pixel-size 1", output), 0) << output;
    ASSERT_EQ(run(folder, "new b.sdf good.tif bad.tif --pixel-size 1 --spacing 1", output), 0) << output;
    EXPECT_EQ(run(folder, "check --pixels g.sdf", output), 0) << output;
    EXPECT_EQ(run(folder, "check b.sdf", output), 0) << output;
    EXPECT_EQ(run(folder, "check --pixels b.sdf", output), 1) << output;
    EXPECT_NE(output.find("bad.tif"), std::string::npos) << output;
    EXPECT_NE(output.find("slice \"bad\""), std::string::npos) << output;
    EXPECT_EQ(output.find("slice \"good\""), std::string::npos) << output;
    const QJsonArray slices = slicesOf(folder, "b.sdf", 1);
    EXPECT_EQ(slices[0].toObject()["pixels"].toArray().size() + slices[1].toObject()["pixels"].toArray().size(), 1);
}

// A folder with two series and something else, by names that say nothing of the order.
TEST(NewCommand, aFolderOfDicomBecomesAStackSortedByPosition) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("scan"));
    const auto write = [&folder](const char* name, const char* series, int mark, const char* position) {
        DicomMaker maker;
        maker.series = series;
        maker.position = position;
        maker.stored = 12;
        maker.isSigned = false;
        maker.slope = "1";
        maker.intercept = "-1000";
        maker.pixels = DicomMaker::samples(std::vector<int>(12, mark));
        folder.write(name, maker.bytes());
    };
    write("scan/IM1", "1.2", 30, "0\\0\\7.5");
    write("scan/IM2", "1.2", 10, "0\\0\\2.5");
    write("scan/IM3", "1.2", 20, "0\\0\\5");
    write("scan/scout", "1.3", 99, "0\\0\\0");
    folder.write("scan/readme.txt", "not a picture");
    std::string output;
    ASSERT_EQ(run(folder, "new out.sdf scan", output), 0) << output;
    EXPECT_NE(output.find("3 slices, pixel 0.5 x 0.25 mm, spacing 2.5 mm"), std::string::npos) << output;
    EXPECT_NE(output.find("scan: of its 2 series the longest is taken, of 3 pictures."), std::string::npos) << output;
    const QJsonArray slices = slicesOf(folder, "out.sdf");
    ASSERT_EQ(slices.size(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(channelOf(slices[i], 0)["max"].toDouble(), 10 * (3 - i) - 1000); // IM1 lies farthest along the normal
        EXPECT_EQ(slices[i].toObject()["values"].toString(), "int16");
    }
    // Files that are given make a stack of these alone.
    ASSERT_EQ(run(folder, "new two.sdf scan/IM1 scan/IM2", output), 0) << output;
    EXPECT_NE(output.find("2 slices, pixel 0.5 x 0.25 mm, spacing 5 mm"), std::string::npos) << output;
    folder.write("scan/IM2", folder.read("scan/IM2").substr(0, 400));
    EXPECT_EQ(run(folder, "new cut.sdf scan", output), 3); // no section is missing in silence
    EXPECT_NE(output.find("IM2"), std::string::npos) << output;
    std::filesystem::create_directory(folder.file("empty"));
    EXPECT_EQ(run(folder, "new none.sdf empty", output), 3);
    EXPECT_NE(output.find("no pictures of DICOM"), std::string::npos) << output;
}

} // namespace vorlen
