#include "images/files/imagemosaic.h"
#include "images/files/imagereader.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcefilemosaic.h"
#include "images/files/imagesourcekinds.h"
#include "images/files/imagesourcevoxelmatrixplane.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "support/recordingmonitor.h"
#include "support/temporaryfolder.h"
#include "support/testimages.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <memory>

namespace vorlen {

namespace {

class ImageSources : public testing::Test {
protected:
    std::string tile(const std::string& name, int width, int height, int depth = 8, int value = 50) {
        TestImages::uniform(width, height, depth, static_cast<unsigned char>(value)).writeFile(name, folder.path());
        return folder.file(name);
    }

    std::string indexedTile(const std::string& name, int width, int height, int colors) {
        Image image = TestImages::uniform(width, height, 8, 1);
        image.setGrayscale(colors);
        image.writeFile(name, folder.path());
        return folder.file(name);
    }

    /// Each pixel by hand: the tiles are 3 and 2 wide, 2 and 1 high, and the upper right place is empty.
    void expectMosaic(const Image& image) const {
        const int expected[3][5] = {{10, 10, 10, 0, 0}, {10, 10, 10, 0, 0}, {20, 20, 20, 30, 30}};
        ASSERT_EQ(image.getHeight(), 3);
        ASSERT_EQ(image.getWidth(), 5);
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 5; ++j)
                EXPECT_EQ(image.getPixels()[i][j], expected[i][j]) << i << ", " << j;
    }

    TemporaryFolder folder;
};

template <class Error, class Operation>
void expectError(Operation operation, const std::string& where, const std::string& what) {
    try {
        operation();
        FAIL() << "nothing was thrown";
    } catch (const Error& error) {
        EXPECT_EQ(error.getWhere(), where);
        EXPECT_EQ(error.getWhat(), what);
    }
}

} // namespace

// What a stack description holds of a source is all of it, and nothing is the image of another.
TEST_F(ImageSources, eachKindIsMadeAgainOfItsStatements) {
    VoxelMatrix<float> volume(2, 3, 2);
    volume.setZeros();
    volume.save(folder.file("v.vm"), false);
    const auto file = std::make_shared<ImageSourceFile>();
    file->setFilename(tile("a.tif", 3, 2));
    const auto plane = std::make_shared<ImageSourceVoxelMatrixPlane>();
    plane->setVoxelMatrixFilename(folder.file("v.vm"));
    plane->setPlane(1);
    const auto left = std::make_shared<ImageSourceFileMosaic>(1, 2),
               right = std::make_shared<ImageSourceFileMosaic>(1, 2);
    left->setFilename(0, 0, folder.file("a.tif"));
    right->setFilename(0, 1, folder.file("a.tif"));
    const std::vector<std::shared_ptr<ImageSource>> sources = {file, plane, left, right};
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const ImageStatement statement = sources[i]->getStatement();
        const auto kind = std::find_if(imageSourceKinds().begin(), imageSourceKinds().end(), [&](const auto& each) {
            return each.keyword == statement.keyword && each.arguments.size() == statement.arguments.size();
        });
        ASSERT_NE(kind, imageSourceKinds().end());
        const std::unique_ptr<ImageSource> again = kind->make(statement);
        for (const ImageStatement& further : sources[i]->getFurtherStatements())
            EXPECT_TRUE(again->addStatement(further));
        EXPECT_EQ(again->getName(), sources[i]->getName());
        for (std::size_t j = 0; j < sources.size(); ++j)
            EXPECT_EQ(again->isSameImage(*sources[j]), i == j) << i << ", " << j;
    }
    EXPECT_EQ(plane->getName(), folder.file("v.vm") + ":1");
    EXPECT_EQ(left->getName(), "mosaic of 1 x 2");
    EXPECT_EQ(right->getFilenames(), std::vector<std::string>{folder.file("a.tif")});

    EXPECT_EQ(plane->findFault(), "");
    std::filesystem::resize_file(folder.file("v.vm"), std::filesystem::file_size(folder.file("v.vm")) - 4);
    EXPECT_EQ(plane->findFault(), folder.file("v.vm") + ": the file's length does not match its header");
    // The file has become another image under its name.
    TestImages::uniform(9, 2, 8, 1).writeFile("a.tif", folder.path(), true);
    EXPECT_FALSE(ImageSourceFile::make(file->getStatement())->isSameImage(*file));
}

TEST_F(ImageSources, emptyFileSourceKnowsNothing) {
    const ImageSourceFile source;
    EXPECT_FALSE(source.isDefined());
    EXPECT_EQ(source.getType(), 0);
    EXPECT_EQ(source.getSize1() + source.getSize2() + source.getDepth(), 0);
    EXPECT_EQ(source.getColormap(), nullptr);
}

TEST_F(ImageSources, fileSourceAnswersFromTheHeaderAndItsCloneLivesOn) {
    auto source = std::make_unique<ImageSourceFile>();
    source->setFilename(indexedTile("a.tif", 7, 5, 256));
    const std::unique_ptr<ImageSource> clone(source->clone());
    source.reset();
    EXPECT_TRUE(clone->isDefined());
    EXPECT_EQ(clone->getSize()[0], 5);
    EXPECT_EQ(clone->getSize()[1], 7);
    EXPECT_EQ(clone->getDepth(), 8);
    ASSERT_NE(clone->getColormap(), nullptr);
    EXPECT_TRUE(clone->getColormap()->isIdentity());
    Image image;
    ImageReader().read(image, *clone);
    EXPECT_EQ(image.getWidth(), 7);
}

TEST_F(ImageSources, fileThatCannotBeReadLeavesTheSourceAsItWas) {
    ImageSourceFile source;
    source.setFilename(tile("a.tif", 7, 5));
    try {
        source.setFilename(folder.file("missing.tif"));
        FAIL() << "nothing was thrown";
    } catch (const FileReadError& error) {
        EXPECT_EQ(error.getFile(), folder.file("missing.tif"));
        EXPECT_NE(error.callStack().find("void ImageSourceFile::setFilename(const string&)"), std::string::npos);
    }
    EXPECT_EQ(source.getFilename(), folder.file("a.tif"));
    EXPECT_EQ(source.getSize2(), 7);
}

TEST_F(ImageSources, mosaicSumsRowsAndColumnsAndReadsItsTiles) {
    ImageSourceFileMosaic mosaic(2, 2);
    EXPECT_FALSE(mosaic.isDefined());
    EXPECT_EQ(mosaic.getDepth(), 0);
    mosaic.setFilename(1, 1, tile("c.tif", 2, 1, 8, 30));
    EXPECT_EQ(mosaic.getSize1(), 1);
    EXPECT_EQ(mosaic.getSize2(), 2);
    EXPECT_EQ(mosaic.rowHeights()[0], 0);
    mosaic.setFilename(1, 0, tile("b.tif", 3, 1, 8, 20));
    mosaic.setFilename(0, 0, tile("a.tif", 3, 2, 8, 10));
    EXPECT_EQ(mosaic.getType(), 1);
    EXPECT_EQ(mosaic.getDepth(), 8);
    EXPECT_EQ(mosaic.getFilename(1, 0), folder.file("b.tif"));
    EXPECT_EQ(mosaic.getFilename(0, 1), "");
    EXPECT_EQ(mosaic.getFilename(2, 0), "");
    EXPECT_EQ(mosaic.getFilename(0, -1), "");
    const std::unique_ptr<ImageSource> clone(mosaic.clone());
    mosaic.clear();
    EXPECT_FALSE(mosaic.isDefined());
    EXPECT_EQ(mosaic.getRows(), 2);
    EXPECT_EQ(mosaic.getSize1(), 0);
    Image image;
    ImageReader().read(image, *clone);
    expectMosaic(image);
}

TEST_F(ImageSources, mosaicRefusesTilesThatDoNotGoWithTheOthers) {
    const std::string where = "void ImageSourceFileMosaic::setFilename(...)";
    ImageSourceFileMosaic mosaic(2, 2);
    mosaic.setFilename(0, 0, tile("a.tif", 3, 2));
    const auto set = [&](int row, int col, const std::string& name) {
        return [&mosaic, row, col, name] { mosaic.setFilename(row, col, name); };
    };
    const std::string other = tile("b.tif", 3, 2);
    expectError<ValueError>(set(0, 0, other), where, "Mosaic position already set");
    EXPECT_EQ(mosaic.getFilename(0, 0), folder.file("a.tif"));
    expectError<DepthError>(set(0, 1, tile("d.tif", 3, 2, 24)), where, "Incompatible image depths");
    expectError<ColormapError>(set(0, 1, indexedTile("m.tif", 3, 2, 256)), where, "Incompatible colormaps");
    const std::string high = tile("h.tif", 3, 9);
    expectError<SizeError>(set(0, 1, high), where, "Incompatible image dimensions");
    expectError<SizeError>(set(1, 0, tile("w.tif", 9, 2)), where, "Incompatible image dimensions");
    EXPECT_THROW(mosaic.setFilename(2, 0, other), RangeError);
    EXPECT_THROW(mosaic.addStatement({"IMAGE", {std::numeric_limits<int>::min(), 1, other}}), RangeError);
    EXPECT_THROW(mosaic.setFilename(1, 1, folder.file("missing.tif")), FileReadError);
    EXPECT_EQ(mosaic.getSize1(), 2);
    EXPECT_EQ(mosaic.getSize2(), 3);
    EXPECT_NO_THROW(mosaic.setFilename(0, 1, other));
    EXPECT_THROW(ImageSourceFileMosaic(1000000, 1000000), SizeError);
}

TEST_F(ImageSources, mosaicOfIndexedTilesNeedsEqualColormapsAndKeepsThem) {
    ImageSourceFileMosaic mosaic(1, 2);
    mosaic.setFilename(0, 0, indexedTile("a.tif", 2, 2, 256));
    EXPECT_THROW(mosaic.setFilename(0, 1, indexedTile("b.tif", 2, 2, 16)), ColormapError);
    mosaic.setFilename(0, 1, indexedTile("c.tif", 3, 2, 256));
    Image image;
    ImageReader().read(image, mosaic);
    ASSERT_TRUE(image.isIndexed());
    EXPECT_EQ(image.getWidth(), 5);
    EXPECT_EQ(image.getPixels()[1][4], 1);
}

TEST_F(ImageSources, tileThatChangedOnDiskSinceIsAnError) {
    ImageSourceFileMosaic mosaic(1, 2);
    mosaic.setFilename(0, 0, tile("a.tif", 2, 2));
    mosaic.setFilename(0, 1, tile("b.tif", 2, 2));
    TestImages::uniform(9, 9, 8, 1).writeFile("b.tif", folder.path(), true);
    Image image;
    EXPECT_THROW(ImageReader().read(image, mosaic), SizeError);
    EXPECT_EQ(image.getData(), nullptr);
}

TEST_F(ImageSources, planeOfAVolumeHasItsValues) {
    VoxelMatrix<float> volume(2, 3, 2);
    volume.fill(-9.9f);
    volume(1, 2, 1) = 300.5f;
    volume.save(folder.file("v.vm"), false);
    ImageSourceVoxelMatrixPlane source;
    EXPECT_EQ(source.getPlane(), -1);
    EXPECT_EQ(source.getSize1(), 0);
    source.setVoxelMatrixFilename(folder.file("v.vm"));
    EXPECT_FALSE(source.isDefined());
    source.setPlane(1);
    EXPECT_TRUE(source.isDefined());
    EXPECT_EQ(source.getType(), 2);
    EXPECT_EQ(source.getSize1(), 2);
    EXPECT_EQ(source.getSize2(), 3);
    EXPECT_EQ(source.getDepth(), 32);
    const std::unique_ptr<ImageSource> clone(source.clone());
    Image image;
    testing::internal::CaptureStdout();
    ImageReader().read(image, *clone);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    ASSERT_TRUE(image.isReal());
    EXPECT_EQ(image.realRow(0)[0], -9.9f);
    EXPECT_EQ(image.realRow(1)[2], 300.5f);
    const PixelStatistics statistics = ImageReader().measure(*clone);
    EXPECT_EQ(statistics.values, "float32");
    ASSERT_EQ(statistics.channels.size(), 1u);
    EXPECT_EQ(statistics.channels[0].max, 300.5);
    EXPECT_NEAR(statistics.channels[0].mean(), (300.5 - 5 * 9.9) / 6, 1e-6);
    source.setPlane(2);
    EXPECT_THROW(ImageReader().read(image, source), RangeError);
    EXPECT_THROW(source.setVoxelMatrixFilename(folder.file("missing.vm")), FileReadError);
    EXPECT_EQ(source.getVoxelMatrixFilename(), folder.file("v.vm"));
}

TEST_F(ImageSources, planeIsReadAloneInBothLayoutsAsFarAsTheFileGoesAndUntilCancelled) {
    class Canceller : public RecordingMonitor {
        using RecordingMonitor::subjectProgressed;
        void subjectProgressed(unsigned int current, unsigned int total) override {
            RecordingMonitor::subjectProgressed(current, total);
            currentSubject()->cancel();
        }
    };
    VoxelMatrix<float> volume(4, 6, 3);
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 6; ++j)
                volume(i, j, k) = static_cast<float>(60 * k + 10 * i + j);
    volume.save(folder.file("new.vm"), false);
    volume.saveUnderFormat0(folder.file("old.vm"), false);
    testing::internal::CaptureStdout();
    for (const char* name : {"new.vm", "old.vm"}) {
        ImageSourceVoxelMatrixPlane source;
        source.setVoxelMatrixFilename(folder.file(name));
        const auto expectRows = [&](ImageReader& reader, int plane, int numRows) {
            source.setPlane(plane);
            Image image;
            reader.read(image, source);
            for (int i = 0; i < 4; ++i)
                for (int j = 0; j < 6; ++j)
                    EXPECT_EQ(image.realRow(i)[j], i < numRows ? 60 * plane + 10 * i + j : 0) << name;
        };
        ImageReader reader;
        for (int k = 0; k < 3; ++k)
            expectRows(reader, k, 4);
        std::filesystem::resize_file(folder.file(name), std::filesystem::file_size(folder.file(name)) - 2 * 24);
        expectRows(reader, 2, 2);
        Canceller canceller;
        reader.addMonitor(canceller);
        expectRows(reader, 1, 1);
        EXPECT_EQ(canceller.heard, (std::vector<std::string>{"started ", "1/4", "canceled "}));
    }
    testing::internal::GetCapturedStdout();
}

// A volume of any type of element, in the form with a tag.
TEST_F(ImageSources, planesOfVolumesOfEveryTypeAreRead) {
    const auto expectValue = [this](auto type, const std::string& values, double value) {
        using T = decltype(type);
        VoxelMatrix<T> volume(2, 3, 2);
        volume.setZeros();
        volume(1, 2, 1) = static_cast<T>(value);
        volume.save(folder.file("v.vm"), true);
        ImageSourceVoxelMatrixPlane source;
        source.setVoxelMatrixFilename(folder.file("v.vm"));
        source.setPlane(1);
        Image image;
        ImageReader().read(image, source);
        ASSERT_TRUE(image.isReal()) << values;
        EXPECT_EQ(image.realRow(1)[2], static_cast<float>(value)) << values;
        EXPECT_EQ(image.realRow(1)[1], 0) << values;
        EXPECT_EQ(source.getValueType(), values);
    };
    expectValue(static_cast<unsigned char>(0), "uint8", 250);
    expectValue(static_cast<unsigned short>(0), "uint16", 60000);
    expectValue(0, "int32", -70000);
    expectValue(0u, "uint32", 70000);
    expectValue(0.0f, "float32", -1.5);
    expectValue(0.0, "float64", 1e30);
    expectValue(0.0L, "float80", 1e30);
}

TEST_F(ImageSources, imageMosaicLoadsItsItemsFromTheirFolders) {
    tile("a.tif", 3, 2, 8, 10);
    tile("b.tif", 3, 1, 8, 20);
    tile("c.tif", 2, 1, 8, 30);
    const std::string path = folder.path() + "/";
    ImageMosaic mosaic(2, 2);
    EXPECT_TRUE(mosaic.isEmpty());
    EXPECT_EQ(mosaic.getImageDirName(), "");
    mosaic.setItemFilename(0, 0, "a.tif", path);
    mosaic.setItemFilename(1, 0, "b.tif", path);
    mosaic.setItemFilename(1, 1, "c.tif", path);
    EXPECT_FALSE(mosaic.isEmpty());
    EXPECT_EQ(mosaic.getHeight(), 3);
    EXPECT_EQ(mosaic.getWidth(), 5);
    EXPECT_EQ(mosaic.getImageDirName(), path);
    EXPECT_EQ(mosaic.getItemFilename(1, 1), "c.tif");
    EXPECT_EQ(mosaic.getItemPathname(0, 1), "");
    Image loaded, read;
    mosaic.load(loaded);
    expectMosaic(loaded);
    ImageReader().read(read, mosaic);
    expectMosaic(read);
    expectError<ValueError>([&] { mosaic.setItemFilename(0, 0, "b.tif", path); },
                            "void ImageMosaic::setItemFileName(...)", "Mosaic position already set");
    expectError<SizeError>([&] { mosaic.setItemFilename(0, 1, "b.tif", path); },
                           "void ImageMosaic::setItemFileName(...)", "Incompatible image dimensions");
}

TEST_F(ImageSources, mosaicOfOneItemIsThatImageAndItsFailuresTellTheWay) {
    tile("a.tif", 3, 2);
    ImageMosaic mosaic(1, 1);
    try {
        mosaic.setItemFilename(0, 0, "missing.tif", folder.path());
        FAIL() << "nothing was thrown";
    } catch (const FileReadError& error) {
        EXPECT_NE(error.callStack().find("[1] void ImageMosaicItem::setFilename(...)\n"
                                         "[2] void ImageMosaic::setItemFilename(...)"),
                  std::string::npos)
            << error.callStack();
    }
    EXPECT_TRUE(mosaic.isEmpty());
    mosaic.setItemFilename(0, 0, "a.tif", folder.path() + "/");
    Image image;
    mosaic.load(image);
    EXPECT_EQ(image.getWidth(), 3);
    std::filesystem::remove(folder.file("a.tif"));
    try {
        mosaic.load(image);
        FAIL() << "nothing was thrown";
    } catch (const FileReadError& error) {
        EXPECT_NE(error.callStack().find("void ImageMosaic::load(Image&)"), std::string::npos);
    }
    try {
        ImageReader().read(image, mosaic);
        FAIL() << "nothing was thrown";
    } catch (const FileReadError& error) {
        EXPECT_NE(error.callStack().find("void ImageReader::read(Image&, const ImageMosaic&)"), std::string::npos);
    }
}

} // namespace vorlen
