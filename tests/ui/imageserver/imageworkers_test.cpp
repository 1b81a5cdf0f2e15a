#include "ui/imageserver/imageserverfixture.h"

#include <algorithm>

#include "images/files/imagesourcefilemosaic.h"
#include "support/recordingmonitor.h"
#include "support/tiffmaker.h"
#include "ui/imageserver/vrlimagereader.h"
#include "ui/imageserver/vrlimageresizer.h"

namespace vorlen {

namespace {

class ImageWorkers : public ImageServerTest {
protected:
    /// A mosaic of 2 by 2 files of 20 by 10 pixels, the last place empty.
    ImageSourceFileMosaic makeMosaic() {
        ImageSourceFileMosaic mosaic(2, 2);
        mosaic.setFilename(0, 0, makeSource("t0.tif", 20, 10, 8, 1)->getFilename());
        mosaic.setFilename(0, 1, makeSource("t1.tif", 20, 10, 8, 2)->getFilename());
        mosaic.setFilename(1, 0, makeSource("t2.tif", 20, 10, 8, 3)->getFilename());
        return mosaic;
    }

    /// What the reader reports about the source, its run and its image.
    std::vector<std::string> reportsOf(const ImageSource& source, Image& image) {
        VRLImageReader reader;
        RecordingMonitor monitor;
        reader.addMonitor(monitor);
        reader.setImage(image);
        reader.setImageSource(source);
        EXPECT_FALSE(reader.hasEnded());
        reader.run();
        EXPECT_TRUE(reader.hasEnded());
        EXPECT_EQ(reader.getFailure(), "");
        return monitor.heard;
    }
};

/// Cancels the subject at the first progress that it hears.
class Canceller : public RecordingMonitor {
public:
    using RecordingMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override {
        RecordingMonitor::subjectProgressed(current, total);
        currentSubject()->cancel();
    }
};

} // namespace

TEST_F(ImageWorkers, theReaderReportsOneStartOneEndAndRisingProgressWhateverTheKind) {
    Image image;
    const auto file = makeSource("a.tif", 10, 4);
    EXPECT_EQ(reportsOf(*file, image),
              (std::vector<std::string>{"started ", "25/100", "50/100", "75/100", "100/100", "finished "}));

    // Each of the three tiles is a third of the whole.
    const ImageSourceFileMosaic mosaic = makeMosaic();
    const std::vector<std::string> reports = reportsOf(mosaic, image);
    EXPECT_EQ(image.getWidth(), 40);
    EXPECT_EQ(image.getPixels()[3][25], pixelsOf(folder.file("t1.tif")).getPixels()[3][5]);
    ASSERT_EQ(reports.size(), 32u);
    EXPECT_EQ(reports.front(), "started ");
    EXPECT_EQ(reports[1], "3/100");
    EXPECT_EQ(reports[10], "33/100");
    EXPECT_EQ(reports[11], "36/100");
    EXPECT_EQ(reports[30], "100/100");
    EXPECT_EQ(reports.back(), "finished ");

    // A file of the in-house format is no other.
    ImageSourceFile raw;
    raw.setFilename(folder.write("a.img", std::string("000000000000") + std::string(512 * 512, 'x')));
    const std::vector<std::string> rawReports = reportsOf(raw, image);
    EXPECT_EQ(rawReports.front(), "started ");
    EXPECT_EQ(rawReports.back(), "finished ");
    EXPECT_EQ(std::count(rawReports.begin(), rawReports.end(), "started "), 1);
    EXPECT_EQ(image.getPixels()[511][511], 'x');
}

TEST_F(ImageWorkers, theReaderStopsAtTheNextRowOrTileWhenCancelled) {
    const auto file = makeSource("a.tif", 10, 1000, 8, 5);
    const ImageSourceFileMosaic mosaic = makeMosaic();
    for (const ImageSource* source :
         {static_cast<const ImageSource*>(file.get()), static_cast<const ImageSource*>(&mosaic)}) {
        VRLImageReader reader;
        Canceller canceller;
        Image image;
        reader.addMonitor(canceller);
        reader.setImage(image);
        reader.setImageSource(*source);
        reader.run();
        EXPECT_EQ(canceller.heard.size(), 3u);
        EXPECT_EQ(canceller.heard.back(), "canceled ");
        EXPECT_EQ(reader.getFailure(), "");
    }
    // Cancelled before it has begun, it opens nothing.
    VRLImageReader reader;
    RecordingMonitor monitor;
    Image image;
    reader.addMonitor(monitor);
    reader.setImage(image);
    reader.setImageSource(*file);
    reader.cancel();
    std::filesystem::remove(file->getFilename());
    reader.run();
    EXPECT_EQ(monitor.heard, (std::vector<std::string>{"started ", "canceled "}));
}

// Also of one that has no parts to be read: compressed in one piece, upright or on its side.
TEST_F(ImageWorkers, theReaderTakesSomePixelsOfALargeFileForAThumbnail) {
    constexpr int width = 4200, height = 2100, side = 256;
    const auto value = [](int i, int j) { return 100 * i / height + 150 * j / width; };
    Image ramp(width, height, 8);
    for (int i = 0; i < height; ++i)
        for (int j = 0; j < width; ++j)
            ramp.getPixels()[i][j] = static_cast<unsigned char>(value(i, j));
    ramp.writeFile(folder.file("a.tif"), "", true);
    TiffMaker maker;
    maker.width = width;
    maker.height = height;
    maker.compression = COMPRESSION_LZW;
    maker.write(folder.file("strip.tif"), [value](int i, int j, int) { return std::uint64_t(value(i, j)); });
    maker.width = height;
    maker.height = width;
    maker.orientation = 6; // the first row on the right, the first column on top
    maker.write(folder.file("turned.tif"),
                [value](int i, int j, int) { return std::uint64_t(value(j, width - 1 - i)); });
    for (const char* const name : {"a.tif", "strip.tif", "turned.tif"}) {
        ImageSourceFile source;
        source.setFilename(folder.file(name));
        VRLImageReader reader;
        Image image;
        reader.setImage(image);
        reader.setImageSource(source);
        reader.setThumbnailSide(side);
        reader.run();
        EXPECT_EQ(reader.getFailure(), "") << name;
        const bool isWhole = name == std::string("turned.tif"); // whose rows are columns
        EXPECT_LE(image.getWidth(), isWhole ? width : VRLImageReader::thumbnailSamples * side) << name;
        ASSERT_GE(image.getWidth(), side);
        EXPECT_NEAR(double(image.getWidth()) / image.getHeight(), double(width) / height, 0.02) << name;
        for (int i = 0; i < image.getHeight(); i += 50)
            for (int j = 0; j < image.getWidth(); j += 50)
                ASSERT_NEAR(image.getPixels()[i][j], 100.0 * i / image.getHeight() + 150.0 * j / image.getWidth(), 12)
                    << name;
    }
}

TEST_F(ImageWorkers, theReaderMakesIndexedImagesPlain) {
    Image gray = TestImages::ramp(9, 7, 8);
    gray.setGrayscale(256);
    gray.writeFile(folder.file("gray.tif"));
    Image color = TestImages::ramp(9, 7, 8);
    color.setColormap(TestImages::colors());
    color.writeFile(folder.file("color.tif"));

    Image image;
    ImageSourceFile source;
    source.setFilename(folder.file("gray.tif"));
    reportsOf(source, image);
    EXPECT_FALSE(image.isIndexed());
    EXPECT_TRUE(TestImages::samePixels(image, TestImages::ramp(9, 7, 8)));

    source.setFilename(folder.file("color.tif"));
    reportsOf(source, image);
    ASSERT_EQ(image.getDepth(), 24);
    const int index = color.getPixels()[2][3];
    const unsigned char* pixel = image.getPixels()[2] + 9;
    EXPECT_EQ(pixel[0], index);
    EXPECT_EQ(pixel[1], 255 - index);
    EXPECT_EQ(pixel[2], index / 2);
}

TEST_F(ImageWorkers, theResizerStopsWhenCancelledAndKeepsWhatItHasMade) {
    Image image = TestImages::ramp(600, 500, 24);
    VRLImageResizer resizer;
    RecordingMonitor monitor;
    resizer.addMonitor(monitor);
    resizer.setImage(image);
    int arrived = 0;
    QObject::connect(&resizer, qOverload<Image*>(&VRLImageResizer::imageAvailable), &resizer, [&](Image* made) {
        if (++arrived == 2) {
            EXPECT_EQ(made->getWidth(), 150);
            resizer.cancel();
        }
    });
    resizer.run();
    EXPECT_EQ(arrived, 2);
    const auto images = resizer.takeReducedImages();
    ASSERT_EQ(images.size(), 2u);
    EXPECT_EQ(images[0]->getWidth(), 300);
    EXPECT_TRUE(resizer.takeReducedImages().empty());
    EXPECT_EQ(monitor.heard, (std::vector<std::string>{"started ", "canceled "}));

    // In place, a cancelled resizer leaves the image whole.
    VRLImageResizer inPlace;
    QSignalSpy available(&inPlace, qOverload<>(&VRLImageResizer::imageAvailable));
    inPlace.setImage(image);
    inPlace.setTargetSize(QSize(100, 100));
    inPlace.cancel();
    inPlace.run();
    EXPECT_EQ(image.getWidth(), 600);
    EXPECT_EQ(available.count(), 0);
}

} // namespace vorlen
