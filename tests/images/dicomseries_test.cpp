#include "images/files/dicomseries.h"

#include <gtest/gtest.h>

#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "support/dicommaker.h"
#include "support/temporaryfolder.h"

namespace vorlen {

namespace {

/// Twelve samples, the first of which is the number by which a picture is known.
std::string dicomPixels(int mark) {
    return DicomMaker::samples({mark, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, -32768});
}

void writeDicom(const TemporaryFolder& folder, const std::string& name, DicomMaker maker, int mark,
                const std::string& position) {
    maker.pixels = dicomPixels(mark);
    maker.position = position;
    folder.write(name, maker.bytes());
}

int markOf(const StackLayout::Plane& plane) {
    Image image;
    ImageReader().read(image, plane.filename, plane.page, 0);
    return int(image.realRow(0)[0]);
}

std::vector<int> marksOf(const StackLayout& layout, int time = 0) {
    std::vector<int> marks;
    for (int z = 0; z < layout.numPlanes; ++z)
        marks.push_back(markOf(layout.plane(z, 0, time)));
    return marks;
}

} // namespace

TEST(DicomSeries, slicesOfAnObliqueSeriesAreSortedByPositionWhateverTheirNames) {
    const TemporaryFolder folder;
    DicomMaker maker;
    maker.directions = "1\\0\\0\\0\\0.8\\0.6"; // the normal is (0, -0.6, 0.8)
    maker.between = "9";                       // less than what the positions say
    const struct {
        const char* name;
        int mark;
        const char* position;
    } files[] = {{"c", 1, "5\\-1.2\\1.6"}, {"a", 2, "5\\-2.4\\3.2"}, {"d", 0, "5\\0\\0"}, {"b", -7, "5\\1.2\\-1.6"}};
    std::vector<std::string> names;
    for (const auto& file : files) {
        writeDicom(folder, file.name, maker, file.mark, file.position);
        names.push_back(folder.file(file.name));
    }
    maker.series = "4.5.6";
    writeDicom(folder, "other", maker, 50, "0\\0\\0");
    names.insert(names.begin() + 1, folder.file("other"));
    folder.write("cut", folder.read("a").substr(0, folder.read("a").size() - 10));
    names.push_back(folder.file("cut"));
    std::vector<UnreadableDicomFile> unreadable;
    const std::vector<DicomSeries> series = dicomSeries(names, unreadable);
    ASSERT_EQ(series.size(), 2u);
    const StackLayout& layout = series[0].layout;
    EXPECT_EQ(marksOf(layout), (std::vector<int>{2, 1, 0, -7}));
    ASSERT_TRUE(layout.spacing && layout.pixelWidth && layout.pixelHeight);
    EXPECT_NEAR(*layout.spacing, 2, 1e-9);
    EXPECT_NEAR(*layout.pixelWidth, 0.5, 1e-7); // the distance of columns stands second
    EXPECT_NEAR(*layout.pixelHeight, 0.25, 1e-7);
    EXPECT_EQ(layout.unit.getScale(), -3);
    EXPECT_TRUE(layout.warnings.empty());
    EXPECT_EQ(marksOf(series[1].layout), std::vector<int>{50});
    ASSERT_EQ(unreadable.size(), 1u);
    EXPECT_EQ(unreadable[0].filename, folder.file("cut"));
    EXPECT_FALSE(unreadable[0].reason.empty());
}

TEST(DicomSeries, picturesAtOnePlaceAreTimesAndUnevenOrMissingPlacesAreTold) {
    const TemporaryFolder folder;
    std::vector<UnreadableDicomFile> unreadable;
    const auto layoutOf = [&](const std::vector<std::array<std::string, 3>>& files, const DicomMaker& base) {
        std::vector<std::string> names;
        int mark = 0;
        for (const auto& [name, number, position] : files) {
            DicomMaker maker = base;
            maker.number = number;
            writeDicom(folder, name, maker, ++mark, position);
            names.push_back(folder.file(name));
        }
        const std::vector<DicomSeries> series = dicomSeries(names, unreadable);
        return series.size() == 1 ? series[0].layout : StackLayout();
    };
    const StackLayout times = layoutOf(
        {{"a", "3", "0\\0\\1"}, {"b", "2", "0\\0\\0"}, {"c", "4", "0\\0\\0"}, {"d", "1", "0\\0\\1"}}, DicomMaker());
    ASSERT_EQ(times.numTimes, 2);
    EXPECT_EQ(marksOf(times, 0), (std::vector<int>{4, 2})); // the lower numbers
    EXPECT_EQ(marksOf(times, 1), (std::vector<int>{1, 3}));
    const StackLayout uneven = layoutOf(
        {{"a", "1", "0\\0\\0"}, {"b", "2", "0\\0\\2"}, {"c", "3", "0\\0\\4"}, {"d", "4", "0\\0\\9"}}, DicomMaker());
    EXPECT_EQ(uneven.spacing, 2.0);
    ASSERT_EQ(uneven.warnings.size(), 1u);
    EXPECT_NE(uneven.warnings[0].find("from 2 mm to 5 mm"), std::string::npos) << uneven.warnings[0];
    DicomMaker plain;
    plain.directions = "";
    plain.between = "0.75";
    const StackLayout numbered = layoutOf({{"a", "10", ""}, {"b", "9", ""}, {"c", "2", ""}}, plain);
    EXPECT_EQ(marksOf(numbered), (std::vector<int>{3, 2, 1}));
    EXPECT_EQ(numbered.spacing, 0.75);
    EXPECT_TRUE(unreadable.empty());
}

TEST(DicomImageFile, framesOfOneFileAreSortedAndEachIsRead) {
    const TemporaryFolder folder;
    DicomMaker maker;
    maker.frames = 3;
    maker.framePositions = {"0\\0\\4", "0\\0\\-1", "0\\0\\1.5"};
    maker.pixels = dicomPixels(10) + dicomPixels(11) + dicomPixels(12);
    folder.write("a.dcm", maker.bytes());
    const auto file = ImageFile::open(folder.file("a.dcm"));
    EXPECT_EQ(file->getFormat(), DicomImageFormat);
    EXPECT_EQ(file->getNumPages(), 3);
    const StackLayout layout = file->getLayout();
    ASSERT_EQ(layout.numPlanes, 3);
    const int pages[] = {0, 2, 1};
    for (int z = 0; z < 3; ++z) {
        const StackLayout::Plane& plane = layout.plane(z, 0, 0);
        EXPECT_EQ(plane.page, pages[z]);
        EXPECT_TRUE(plane.filename.empty());
        Image image;
        ImageReader().read(image, *file, plane.page, 0);
        EXPECT_EQ(image.realRow(0)[0], float(10 + pages[z]));
        EXPECT_EQ(image.realRow(2)[3], -32768);
    }
    EXPECT_EQ(layout.spacing, 2.5);
}

// What can't be right is told in bounded memory: sizes beyond the file, frames that there are not, endless nesting.
TEST(DicomImageFile, hostileFilesAreRefusedByName) {
    const TemporaryFolder folder;
    DicomMaker good;
    good.pixels = dicomPixels(1);
    std::vector<std::string> files;
    DicomMaker maker = good;
    maker.width = maker.height = 65535;
    files.push_back(maker.bytes());
    maker = good;
    maker.frames = 2000000000;
    files.push_back(maker.bytes());
    maker.syntax = "1.2.840.10008.1.2.5";
    maker.fragments = std::vector<std::string>{"ab"};
    files.push_back(maker.bytes());
    for (const char* syntax : {"1.2.840.10008.1.2.1.99", "1.2.840.10008.1.2.4.90", "1.2.3.4.5"}) {
        maker = good;
        maker.syntax = syntax;
        files.push_back(maker.bytes());
    }
    maker = good;
    maker.stored = 17;
    files.push_back(maker.bytes());
    maker = good;
    maker.slope = "0";
    files.push_back(maker.bytes());
    maker = good;
    maker.photometric = "PALETTE COLOR"; // without one
    maker.isSigned = false;
    files.push_back(maker.bytes());
    std::string nested = DicomMaker::tag(0x40, 0x275) + "SQ" + DicomMaker::word(0) + DicomMaker::length(0xffffffff) +
                         DicomMaker::tag(0xfffe, 0xe000) + DicomMaker::length(0xffffffff);
    std::string deep = good.bytes().substr(0, good.bytes().size() - good.pixels.size() - 12);
    for (int i = 0; i < 50000; ++i)
        deep += nested;
    files.push_back(deep);
    for (std::size_t i = 0; i < files.size(); ++i) {
        folder.write("a.dcm", files[i]);
        try {
            Image image;
            ImageReader().read(image, folder.file("a.dcm"));
            ADD_FAILURE() << "not refused: " << i;
        } catch (const FileError& error) {
            EXPECT_EQ(error.getFile(), folder.file("a.dcm")) << i;
        }
    }
}

} // namespace vorlen
