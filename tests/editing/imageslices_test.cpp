#include "editing/operations/imageslices.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "support/temporaryfolder.h"
#include "support/tiffmaker.h"

namespace vorlen {

namespace {

/// Pages of 16 bits, each of its number times 100.
void writePages(const std::string& filename, int number, const std::string& description = "", float resolution = 0,
                int samples = 1) {
    TIFF* tiff = TIFFOpen(filename.c_str(), "w");
    for (int page = 0; page < number; ++page) {
        TiffMaker maker;
        maker.bits = 16;
        maker.samples = samples;
        maker.photometric = samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
        maker.description = page == 0 ? description : "";
        maker.unit = resolution > 0 ? RESUNIT_NONE : 0;
        maker.xResolution = maker.yResolution = resolution;
        maker.writePage(tiff, [page](int, int, int sample) { return std::uint64_t(100 * page + sample); });
    }
    TIFFClose(tiff);
}

/// The value that each slice shows.
std::vector<int> shown(const ImageSlices& made) {
    std::vector<int> values;
    for (const auto& slice : made.slices) {
        Image image;
        slice->load(image);
        values.push_back(PixelMatrix<int>(image)[1][1]);
    }
    return values;
}

} // namespace

class ImageSlicesTest : public ::testing::Test {
protected:
    TemporaryFolder folder;
};

TEST_F(ImageSlicesTest, namesAreSortedAsPeopleDo) {
    std::vector<std::string> names = {"s10.tif", "S9.tif", "s010.tif", "a/s2.tif", "s1.tif", "s", "s1b.tif"};
    sortNaturally(names);
    EXPECT_EQ(names, (std::vector<std::string>{"a/s2.tif", "s", "s1.tif", "s1b.tif", "S9.tif", "s010.tif", "s10.tif"}));
}

TEST_F(ImageSlicesTest, eachPageBecomesASliceThatItsDescriptionFindsAgain) {
    writePages(folder.file("p.tif"), 12);
    const ImageSlices made = makeImageSlices({folder.file("p.tif")}, {});
    EXPECT_EQ(shown(made), (std::vector<int>{0, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000, 1100}));
    EXPECT_EQ(made.slices[1]->getName(), "p 02");
    EXPECT_TRUE(made.notes.empty());

    std::vector<UnreadableImage> unreadable;
    const auto stack = makeStack({"s", 2, {}, {folder.file("p.tif")}}, unreadable);
    const std::string text = StackWriter().toText(*stack);
    EXPECT_NE(text.find("PAGE \"p 05\" \"p.tif\" 5 0;"), std::string::npos);
    Stack read;
    StackReader reader;
    reader.readText(read, text, folder.file("s.sdf"));
    EXPECT_TRUE(reader.getLog().empty()) << reader.getLog().front();
    ASSERT_EQ(read.getNumSlices(), 12);
    Image image;
    read.getSlice(7).load(image);
    EXPECT_EQ(PixelMatrix<int>(image)[0][0], 700);
    // A page that the file has lost is told of.
    writePages(folder.file("p.tif"), 6);
    Stack cut;
    reader.readText(cut, text, folder.file("s.sdf"));
    EXPECT_EQ(reader.getNumFatalErrors(), 12); // two for each lost image
    EXPECT_NE(reader.getLog().front().find("There is no page 7"), std::string::npos);
}

TEST_F(ImageSlicesTest, hyperstacksGiveThePlanesOfAChannelWithTheirSizes) {
    writePages(folder.file("h.tif"), 12,
               "ImageJ=1.54f\nimages=12\nchannels=2\nslices=3\nframes=2\nhyperstack=true\nunit=micron\nspacing=2.5\n",
               4);
    const ImageSlices first = makeImageSlices({folder.file("h.tif")}, {});
    EXPECT_EQ(shown(first), (std::vector<int>{0, 200, 400}));
    ASSERT_TRUE(first.calibration);
    EXPECT_FLOAT_EQ(first.calibration->getPixelWidth(), 0.25f);
    EXPECT_EQ(first.calibration->getLengthUnit(), LengthUnit(-6));
    EXPECT_EQ(first.spacing, 2.5f);
    EXPECT_EQ(first.notes.size(), 2u); // of channels and of times
    EXPECT_EQ(shown(makeImageSlices({folder.file("h.tif")}, {"2", 2})), (std::vector<int>{700, 900, 1100}));
    const ImageSlices none = makeImageSlices({folder.file("h.tif")}, {"3", 1});
    ASSERT_EQ(none.unreadable.size(), 1u);
    EXPECT_EQ(none.unreadable[0].reason, "There is no channel \"3\", only 1, 2");
    EXPECT_EQ(makeImageSlices({folder.file("h.tif")}, {"", 3}).unreadable.size(), 1u);
    // What it says can't be true.
    writePages(folder.file("h.tif"), 4, "ImageJ=1.54f\nimages=12\nchannels=2\nslices=6\n");
    const ImageSlices wrong = makeImageSlices({folder.file("h.tif")}, {});
    EXPECT_EQ(wrong.slices.size(), 4u);
    EXPECT_EQ(wrong.notes.size(), 1u);
}

// One directory, and the planes behind each other.
TEST_F(ImageSlicesTest, planesInTheContiguousFormAreFoundAsFarAsTheFileGoes) {
    for (const char* mode : {"wl", "wb"}) {
        TiffMaker maker;
        maker.bits = 16;
        maker.description = "ImageJ=1.54f\nimages=5\nslices=5\n";
        maker.write(
            folder.file("c.tif"), [](int, int, int) { return std::uint64_t(7); }, mode);
        std::string bytes = folder.read("c.tif");
        // The one strip goes to the end of the file, where the others follow it.
        ASSERT_LT(bytes.find("ImageJ"), bytes.size());
        TIFF* tiff = TIFFOpen(folder.file("c.tif").c_str(), "rm");
        std::uint64_t offset = TIFFGetStrileOffset(tiff, 0);
        TIFFClose(tiff);
        const std::size_t plane = 5 * 4 * 2;
        const std::string old = bytes.substr(offset, plane);
        // A copy of the samples at the end, to which the directory's entry is turned.
        const auto entry = [&](std::size_t value) {
            std::string text(4, '\0');
            for (int k = 0; k < 4; ++k)
                text[std::size_t(mode[1] == 'l' ? k : 3 - k)] = char(value >> (8 * k));
            return text;
        };
        const std::size_t at = bytes.rfind(entry(offset));
        ASSERT_NE(at, std::string::npos);
        bytes.replace(at, 4, entry(bytes.size()));
        bytes += old;
        for (int k = 1; k < 4; ++k)
            for (std::size_t i = 0; i < plane / 2; ++i)
                bytes += mode[1] == 'l' ? std::string{char(k), '\2'} : std::string{'\2', char(k)};
        folder.write("c.tif", bytes);
        EXPECT_EQ(shown(makeImageSlices({folder.file("c.tif")}, {})), (std::vector<int>{7, 513, 514, 515})) << mode;
    }
}

TEST_F(ImageSlicesTest, omeFilesGiveTheirChannelsByNameAndPlanesOfOtherFiles) {
    const std::string head = "<?xml version=\"1.0\"?><OME xmlns=\"http://www.openmicroscopy.org/Schemas/OME/2016-06\">"
                             "<Image ID=\"Image:0\"><Pixels ID=\"Pixels:0\" DimensionOrder=\"XYZCT\" Type=\"uint16\" "
                             "SizeX=\"5\" SizeY=\"4\" SizeZ=\"3\" SizeC=\"2\" SizeT=\"1\" PhysicalSizeX=\"100\" "
                             "PhysicalSizeXUnit=\"nm\" PhysicalSizeY=\"0.2\" PhysicalSizeZ=\"1.5\">"
                             "<Channel ID=\"Channel:0:0\" Name=\"DAPI\"/><Channel ID=\"Channel:0:1\" Name=\"GFP\"/>";
    writePages(folder.file("o.ome.tif"), 6, head + "<TiffData/></Pixels></Image></OME>");
    const ImageSlices made = makeImageSlices({folder.file("o.ome.tif")}, {"gfp", 1});
    EXPECT_EQ(shown(made), (std::vector<int>{300, 400, 500}));
    EXPECT_EQ(made.channels, (std::vector<std::string>{"DAPI", "GFP"}));
    EXPECT_FLOAT_EQ(made.calibration->getPixelWidth(), 0.1f);
    EXPECT_FLOAT_EQ(made.calibration->getPixelHeight(), 0.2f);
    EXPECT_EQ(made.spacing, 1.5f);

    std::string data;
    for (int c = 0; c < 2; ++c)
        for (int z = 0; z < 3; ++z)
            data += "<TiffData FirstC=\"" + std::to_string(c) + "\" FirstZ=\"" + std::to_string(z) + "\" IFD=\"" +
                    std::to_string(2 - z) + "\"><UUID FileName=\"" + (c == 0 ? "a" : "b") +
                    ".ome.tif\">x</UUID></TiffData>";
    for (const char* name : {"a.ome.tif", "b.ome.tif"})
        writePages(folder.file(name), 3, head + data + "</Pixels></Image></OME>");
    // Both files are of one set, of which each names all.
    const ImageSlices set = makeImageSlices({folder.file("a.ome.tif"), folder.file("b.ome.tif")}, {"GFP", 1});
    EXPECT_EQ(shown(set), (std::vector<int>{200, 100, 0}));
    // Names planes that are not there.
    writePages(folder.file("o.ome.tif"), 4, head + "<TiffData/></Pixels></Image></OME>");
    const ImageSlices short_ = makeImageSlices({folder.file("o.ome.tif")}, {});
    EXPECT_EQ(short_.slices.size(), 4u);
    EXPECT_EQ(short_.notes.size(), 1u);
}

TEST_F(ImageSlicesTest, aColourImageIsShownWholeOrByAChannelAndAVolumeByItsPlanes) {
    writePages(folder.file("rgb.tif"), 1, "", 0, 3);
    EXPECT_EQ(makeImageSlices({folder.file("rgb.tif")}, {}).slices[0]->getImageSource().getDepth(), 24);
    const ImageSlices blue = makeImageSlices({folder.file("rgb.tif")}, {"blue", 1});
    EXPECT_EQ(shown(blue), (std::vector<int>{2}));
    VoxelMatrix<float> volume(2, 3, 4);
    volume.setZeros();
    volume(1, 1, 2) = 300;
    volume.save(folder.file("v.vm"), true);
    folder.write("x.txt", "no image");
    const ImageSlices mixed = makeImageSlices({folder.file("v.vm"), folder.file("x.txt")}, {});
    EXPECT_EQ(shown(mixed), (std::vector<int>{0, 0, 300, 0}));
    ASSERT_EQ(mixed.unreadable.size(), 1u);
    EXPECT_EQ(mixed.unreadable[0].file, folder.file("x.txt"));
}

TEST_F(ImageSlicesTest, sizesThatCannotBeMeantAreLeftOut) {
    const char* const sizes[] = {"1e300", "1e-300", "nan", "-2"};
    for (const char* size : sizes) {
        folder.write("n.nrrd",
                     std::string("NRRD0004\ntype: uchar\ndimension: 3\nsizes: 2 2 2\nencoding: raw\nspacings: ") +
                         size + " " + size + " " + size + "\nunits: \"um\" \"um\" \"um\"\n\n12345678");
        const ImageSlices made = makeImageSlices({folder.file("n.nrrd")}, {});
        EXPECT_EQ(made.slices.size(), 2u) << size;
        EXPECT_FALSE(made.calibration) << size;
        EXPECT_FALSE(made.spacing) << size;
    }
}

} // namespace vorlen
