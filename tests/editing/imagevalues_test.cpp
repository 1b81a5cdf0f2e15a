#include <algorithm>
#include <cmath>
#include <cstring>

#include "document/stackgreyscale.h"
#include "document/stackreader.h"
#include "editing/operationfixture.h"
#include "editing/operations/regionoutline.h"
#include "editing/operations/slicealignment.h"
#include "editing/operations/snakeoperation.h"
#include "images/volumes/voxelmatrix.h"
#include "progress/progresssubject.h"

namespace vorlen {

namespace {

/// The bytes as words of which each is a byte times the factor, or as real numbers.
Image widened(const Image& bytes, int factor, bool real = false) {
    Image image;
    if (real)
        image.initReal(bytes.getWidth(), bytes.getHeight());
    else
        image.init(bytes.getWidth(), bytes.getHeight(), 16);
    for (int i = 0; i < bytes.getHeight(); ++i)
        for (int j = 0; j < bytes.getWidth(); ++j) {
            const int value = bytes.getPixels()[i][j] * factor;
            if (real)
                image.realRow(i)[j] = float(value);
            else
                reinterpret_cast<unsigned short*>(image.getPixels()[i])[j] = static_cast<unsigned short>(value);
        }
    return image;
}

Image inverted(Image image) {
    for (std::size_t k = 0; k < image.dataLength(); ++k)
        image.getData()[k] = static_cast<unsigned char>(255 - image.getData()[k]);
    return image;
}

/// Half of the shoelace sum.
double areaOf(const std::vector<std::pair<double, double>>& points) {
    double sum = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto& [x, y] = points[i];
        const auto& [u, v] = points[(i + 1) % points.size()];
        sum += x * v - u * y;
    }
    return std::abs(sum) / 2;
}

/// A bright ellipse with a soft edge on a ground of 20.
Image ellipse(double x, double y, double level = 200) {
    Image image(120, 100, 8);
    for (int i = 0; i < 100; ++i)
        for (int j = 0; j < 120; ++j) {
            const double u = (j - x) / 30, v = (i - y) / 18;
            const double edge = std::clamp((1 - std::hypot(u, v)) * 12, 0.0, 1.0);
            image.getPixels()[i][j] = static_cast<unsigned char>(std::lround(20 + (level - 20) * edge));
        }
    return image;
}

} // namespace

class ImageValuesTest : public OperationTest {
protected:
    /// A slice at the end of the stack that shows this image, written to a file whose name begins so.
    StackSlice& append(VRLStack& own, const Image& image, const std::string& beginning) {
        const std::string path = folder.file(beginning + std::to_string(own.getNumSlices()) + ".tif");
        ImageWriter().write(image, path, true);
        ImageSourceFile source;
        source.setFilename(path);
        auto* const added = new StackSlice;
        added->setName(path);
        added->setImageSource(source);
        own.addSlice(added);
        return *added;
    }
};

// The same picture in bytes, in words of 12 and of 16 bits, and in real numbers.
TEST_F(ImageValuesTest, toolsFindTheSameWhateverTheBits) {
    std::vector<std::vector<std::pair<double, double>>> snakes, outlines;
    const Image bytes = ellipse(60, 50);
    const Image dark = inverted(bytes);
    const std::vector<std::pair<Image, Image>> images = {{bytes, dark},
                                                         {widened(bytes, 257), widened(dark, 257)},
                                                         {widened(bytes, 257, true), widened(dark, 257, true)},
                                                         {widened(bytes, 16), widened(dark, 16)}};
    for (const auto& [image, darkImage] : images) {
        VRLStack own;
        Model& model = addModel(own, "m");
        StackSlice& added = append(own, image, "tool");
        SnakeConfig config;
        config.setAlpha(1);
        config.setGradThreshold(7);
        config.setRegMax(2.5f);
        config.setRegMin(1.25f);
        config.setDistance(50);
        ModelItem& start = addItem(model, added, {{25, 45}, {60, 22}, {95, 45}, {95, 55}, {60, 78}, {25, 55}});
        ASSERT_EQ(SnakeOperation(own, start, config).runOnSlice().getReason(), "");
        ASSERT_EQ(added.getNumItems(), 2);
        snakes.push_back(decimals(added.getItem(1).getVertices()));
        // The box lies over the left edge of the dark ellipse.
        Vector<int> low(2), high(2);
        low[0] = 10, low[1] = 40, high[0] = 60, high[1] = 60;
        const RegionOutline outline(darkImage, BoundingBox<int>(low, high), 1);
        ASSERT_TRUE(outline.isFound());
        outlines.push_back(decimals(outline.follow(0)));
    }
    EXPECT_GT(snakes[0].size(), 100u);
    for (std::size_t k = 1; k < images.size(); ++k) {
        // The threshold between two levels of bytes is rounded to one of them.
        EXPECT_NEAR(areaOf(outlines[k]), areaOf(outlines[0]), 0.03 * areaOf(outlines[0])) << k;
        EXPECT_NEAR(areaOf(snakes[k]), areaOf(snakes[0]), 0.01 * areaOf(snakes[0])) << k;
    }
    EXPECT_EQ(snakes[1], snakes[0]);
    EXPECT_EQ(snakes[2], snakes[0]);
}

TEST_F(ImageValuesTest, registrationGoesByValuesInWordsAndThroughPalettes) {
    const auto registered = [this](const Image& first, const Image& second, bool inverted) {
        VRLStack own;
        for (const Image* image : {&first, &second})
            append(own, *image, "r");
        ProgressSubject progress;
        AlignmentOptions options;
        options.method = AlignmentMethod::PrincipalAxes;
        options.inverted = inverted;
        EXPECT_TRUE(registerSlices(own, options, progress));
        return own.getSlice(1).getRegistration();
    };
    const Image a = ellipse(60, 50), b = ellipse(68, 43);
    const Registration bytes = registered(a, b, false);
    EXPECT_GE(std::abs(bytes.getHorShift()), 3); // 8 in the bright part, less as the ground weighs too
    EXPECT_GE(std::abs(bytes.getVerShift()), 3);
    const Registration words = registered(widened(a, 257), widened(b, 257), false);
    EXPECT_NEAR(words.getHorShift(), bytes.getHorShift(), 0.01);
    EXPECT_NEAR(words.getVerShift(), bytes.getVerShift(), 0.01);
    // One scale for both, where each has another greatest value.
    const Registration dim = registered(widened(a, 16), widened(ellipse(68, 43, 150), 16), false);
    EXPECT_NEAR(dim.getHorShift(), registered(a, ellipse(68, 43, 150), false).getHorShift(), 0.01);
    Image dark = inverted(a), darkMoved = inverted(b);
    EXPECT_NEAR(registered(widened(dark, 257), widened(darkMoved, 257), true).getHorShift(), bytes.getHorShift(), 0.01);
    // A palette that turns the indexes around.
    Colormap turned(256);
    for (int i = 0; i < 256; ++i)
        turned.getRed()[i] = turned.getGreen()[i] = turned.getBlue()[i] = static_cast<unsigned char>(255 - i);
    dark.setColormap(turned);
    darkMoved.setColormap(turned);
    const Registration palette = registered(dark, darkMoved, false);
    EXPECT_NEAR(palette.getHorShift(), bytes.getHorShift(), 0.01);
    EXPECT_NEAR(palette.getVerShift(), bytes.getVerShift(), 0.01);
}

TEST_F(ImageValuesTest, oneScaleHoldsForAllSlicesAndIsKeptInTheFile) {
    Image faint = widened(ellipse(60, 50), 4), strong = widened(ellipse(60, 50), 16);
    reinterpret_cast<unsigned short*>(faint.getPixels()[3])[4] = 1000;
    reinterpret_cast<unsigned short*>(strong.getPixels()[3])[4] = 1000;
    VRLStack own;
    for (const Image* image : {&faint, &strong})
        append(own, *image, "v");
    const VoxelMatrix<int> values = own.toVoxelMatrix<int>(GrayContent);
    EXPECT_EQ(values(3, 4, 0), 1000);
    EXPECT_EQ(values(3, 4, 1), 1000);
    const VoxelMatrix<unsigned char> bytes = own.toVoxelMatrix<unsigned char>(GrayContent);
    EXPECT_EQ(bytes(3, 4, 0), bytes(3, 4, 1));
    EXPECT_EQ(bytes(3, 4, 0), 1000 * 255 / 4095);

    const std::optional<GreyScale> scale = findGreyScale(own);
    ASSERT_TRUE(scale);
    EXPECT_EQ(scale->white, 4095);
    EXPECT_EQ(scale->low, 20 * 4); // more than 1 of a hundred are of the faint ground
    EXPECT_EQ(scale->high, 200 * 16);
    EXPECT_EQ(scale->shown(80), 0);
    EXPECT_EQ(scale->shown(3200), 255);
    EXPECT_EQ(scale->shown(1640), 128);
    own.setGreyScale(scale);
    const std::string text = StackWriter().toText(own);
    EXPECT_NE(text.find("GREYSCALE 80 3200 4095;"), std::string::npos);
    Stack read;
    StackReader reader;
    reader.readText(read, text, folder.file("x.sdf"));
    EXPECT_TRUE(reader.getLog().empty());
    EXPECT_EQ(read.getGreyScale(), scale);
    reader.readText(read, "GREYSCALE 5 5 100;\n", folder.file("x.sdf"));
    EXPECT_EQ(reader.getLog().size(), 1u);
    // Bytes have none.
    EXPECT_FALSE(findGreyScale(stack));
}

} // namespace vorlen
