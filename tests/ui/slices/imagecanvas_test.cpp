#include "ui/slices/widgetfixture.h"

#include <algorithm>
#include <cstring>

#include "ui/session/vrlpreferences.h"

namespace vorlen {

/// The geometry of a canvas of this size and a proxy of that size, without a window.
class ImageCanvasTest : public ::testing::Test {
protected:
    void prepare(int canvasWidth, int canvasHeight, int imageWidth, int imageHeight, float aspect = 1) {
        PixelCalibration calibration;
        calibration.setAspectRatio(aspect);
        canvas.resize(canvasWidth, canvasHeight);
        canvas.getImageProxy().setOriginalImageSize(QSize(imageWidth, imageHeight));
        canvas.getImageProxy().setPixelCalibration(calibration);
        canvas.imageProxyChange();
    }

    VRLImageWidgetCanvas canvas;
};

class PaintedImageTest : public WidgetTest {};

TEST_F(ImageCanvasTest, bestFitFillsOneSideAndSeesTheWholeImage) {
    prepare(400, 300, 100, 100);
    EXPECT_FLOAT_EQ(canvas.getZoomFactor(), 3);
    EXPECT_EQ(canvas.currentView(), QRect(0, 0, 100, 100));
    canvas.setViewOrigin(QPoint(10, 10));
    EXPECT_EQ(canvas.getViewOrigin(), QPoint(0, 0));
    prepare(400, 300, 1000, 100); // 400 * 100 / 1000 = 40 rows
    EXPECT_FLOAT_EQ(canvas.getZoomFactor(), 0.4f);
    prepare(300, 301, 301, 400); // 301 * 301 / 400 = 226.5 columns
    EXPECT_FLOAT_EQ(canvas.getZoomFactor(), 227.0f / 301);
    // Pixels twice as high as wide: half the columns count.
    prepare(400, 300, 200, 100, 2);
    EXPECT_FLOAT_EQ(canvas.betaWidth(), 0.5f);
    EXPECT_FLOAT_EQ(canvas.betaHeight(), 1);
    EXPECT_FLOAT_EQ(canvas.getZoomFactor(), 3);
    prepare(400, 300, 100, 400, 0.25f);
    EXPECT_FLOAT_EQ(canvas.betaHeight(), 0.25f);
    EXPECT_FLOAT_EQ(canvas.getZoomFactor(), 3);
    // Degenerate sizes leave a zoom that can be divided by.
    prepare(400, 300, 100000, 1);
    EXPECT_GT(canvas.getZoomFactor(), 0);
    prepare(400, 300, 100, 100, 0);
    EXPECT_FLOAT_EQ(canvas.betaHeight(), 1);
}

TEST_F(ImageCanvasTest, leavingBestFitGoesToTheNeighboursOfTheSequence) {
    const struct {
        float fit, up, down;
    } cases[] = {{0.3f, 0.5f, 0.25f}, {0.1f, 0.125f, 0.0625f}, {0.5f, 1, 0.5f},
                 {0.7f, 1, 0.5f},     {1.44f, 2, 1},           {3, 3, 3},
                 {2.5f, 3, 2}};
    for (const auto& c : cases) {
        for (const bool up : {true, false}) {
            canvas.clear();
            canvas.setZoomFactor(c.fit);
            canvas.setBestFitMode(false, up);
            EXPECT_EQ(canvas.getZoomFactor(), up ? c.up : c.down) << c.fit;
        }
    }
}

TEST_F(ImageCanvasTest, theViewIsClampedToTheImage) {
    prepare(400, 300, 1000, 500);
    canvas.setBestFitMode(false, true);
    canvas.setZoomFactor(3);
    EXPECT_EQ(canvas.computeMaxViewSize(), QSize(134, 100)); // 133.3 columns
    EXPECT_EQ(canvas.computeMaxViewOrigin(), QPoint(866, 400));
    canvas.setViewOrigin(QPoint(5000, -3));
    EXPECT_EQ(canvas.currentView(), QRect(866, 0, 134, 100));
    canvas.setViewCenter(QPoint(500, 250));
    EXPECT_EQ(canvas.getViewOrigin(), QPoint(433, 200));
    EXPECT_EQ(canvas.viewCenter(), QPoint(500, 250));
    canvas.setZoomFactor(0.25f);
    EXPECT_EQ(canvas.currentView(), QRect(0, 0, 1000, 500));
    canvas.setZoomFactor(-1);
    EXPECT_EQ(canvas.getZoomFactor(), 0.25f);
    // Brute force: the pixel at a position is the one whose square on the screen holds it.
    prepare(400, 300, 1000, 500, 2);
    canvas.setZoomFactor(4);
    canvas.setViewOrigin(QPoint(7, 11));
    for (int p = 0; p < 300; ++p) {
        EXPECT_EQ(canvas.convertToImagePosition(QPoint(p, p)), QPoint(7 + p / 2, 11 + p / 4));
        EXPECT_EQ(canvas.convertToVectori(QPoint(p, 0))[0], 7 + p / 2);
    }
}

TEST_F(PaintedImageTest, theImageStandsUprightInTheMiddle) {
    show(400, 300);
    showSlice(addSlice(fourCorners(40, 20)));
    QImage seen = picture();
    ASSERT_EQ(seen.size(), QSize(400, 300));
    EXPECT_TRUE(isNear(seen.pixel(5, 55), qRgb(40, 40, 40)));
    EXPECT_TRUE(isNear(seen.pixel(395, 55), qRgb(90, 90, 90)));
    EXPECT_TRUE(isNear(seen.pixel(5, 245), qRgb(140, 140, 140)));
    EXPECT_TRUE(isNear(seen.pixel(395, 245), qRgb(250, 250, 250)));
    const QRgb background = VRLPreferences::getImageCanvasBackgroundColor().rgb();
    for (const int beyond : {45, 255})
        EXPECT_TRUE(isNear(seen.pixel(5, beyond), background)) << beyond;
    // Zoomed to the last rows and columns: nothing is cut off, and nothing moves.
    zoomTo(25);
    canvas->setViewOrigin(QPoint(1000, 1000));
    const QSize view = canvas->computeMaxViewSize();
    EXPECT_EQ(canvas->getViewOrigin(), QPoint(40 - view.width(), 20 - view.height()));
    EXPECT_TRUE(isNear(picture().pixel(2, 280), qRgb(250, 250, 250)));
    canvas->setViewOrigin(QPoint(10, 1000));
    seen = picture();
    EXPECT_TRUE(isNear(seen.pixel(10 * 25 - 2, 280), qRgb(140, 140, 140)));
    EXPECT_TRUE(isNear(seen.pixel(10 * 25 + 2, 280), qRgb(250, 250, 250)));
}

// Each pixel of a small image, at every origin that the view can take: a raster position that were clipped would leave
// the background.
TEST_F(PaintedImageTest, everyViewOriginShowsItsPixels) {
    show(200, 150);
    Image image(64, 64, 24);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            unsigned char* pixel = image.getPixels()[y] + 3 * x;
            pixel[0] = static_cast<unsigned char>(4 * x);
            pixel[1] = static_cast<unsigned char>(4 * y);
            pixel[2] = 77;
        }
    showSlice(addSlice(image));
    zoomTo(7);
    for (int k = 0; k < 40; ++k) {
        canvas->setViewOrigin(QPoint(k, 39 - k));
        const QImage seen = picture();
        const QPoint origin = canvas->getViewOrigin();
        for (const QPoint& p : {QPoint(3, 3), QPoint(73, 45), QPoint(170, 120)}) {
            const QPoint expected(origin.x() + p.x() / 7, origin.y() + p.y() / 7);
            EXPECT_TRUE(isNear(seen.pixel(p), qRgb(4 * expected.x(), 4 * expected.y(), 77)))
                << k << " " << qRed(seen.pixel(p)) / 4.0 << " " << expected.x();
        }
    }
}

// A reduced image is shown at small zooms: its pixels hold the same gradient, within the width of one of them.
TEST_F(PaintedImageTest, reducedImagesLieWhereTheFullOneWould) {
    show(200, 150);
    Image image(1000, 1000, 8);
    for (int y = 0; y < 1000; ++y)
        for (int x = 0; x < 1000; ++x)
            image.getPixels()[y][x] = static_cast<unsigned char>((x + y) / 8);
    showSlice(addSlice(image));
    ASSERT_TRUE(settle());
    ASSERT_GT(canvas->getImageProxy().getNumImages(), 2);
    for (const float zoom : {0.25f, 0.3f, 0.45f}) {
        zoomTo(zoom);
        for (const QPoint& origin : {QPoint(0, 0), QPoint(101, 203), QPoint(330, 333)}) {
            canvas->setViewOrigin(origin);
            const QImage seen = picture();
            for (const QPoint& p : {QPoint(1, 1), QPoint(90, 30), QPoint(170, 120)}) {
                const QPointF at = canvas->convertToImagePoint(QPointF(p) + QPointF(0.5, 0.5));
                EXPECT_NEAR(qRed(seen.pixel(p)), (at.x() + at.y()) / 8, 8 / zoom / 8 + 1) << zoom;
            }
        }
    }
}

TEST_F(PaintedImageTest, largeImagesOf16BitsKeepTheirPlaceAndAreShownThroughTheirScale) {
    show(200, 150);
    Image image(2000, 1500, 16);
    for (int y = 0; y < 1500; ++y)
        for (int x = 0; x < 2000; ++x) {
            const auto value = static_cast<unsigned short>(x * 32);
            std::memcpy(image.getPixels()[y] + 2 * x, &value, 2);
        }
    showSlice(addSlice(image));
    const QImage seen = picture();
    for (int x = 2; x < 198; x += 13)
        EXPECT_NEAR(qRed(seen.pixel(x, 75)), std::clamp((x * 10 + 5 - 20) / 1976.0 * 255, 0.0, 255.0), 3);
    // The levels of 1 and 99.8 of a hundred columns.
    EXPECT_NEAR(canvas->getGreyScale().low, 20 * 32, 33);
    EXPECT_NEAR(canvas->getGreyScale().high, 1996 * 32, 33);
}

TEST_F(PaintedImageTest, allDepthsAndColormapsAreShown) {
    show(100, 100);
    for (const int depth : {8, 16, 24, 32}) {
        Image image(10, 10, depth);
        unsigned char* byte = image.getData();
        for (int i = 0; i < 100; ++i) {
            const unsigned short wide = 0x8000;
            const unsigned char color[] = {200, 100, 50, 0};
            if (depth == 16)
                std::memcpy(byte + 2 * i, &wide, 2);
            else
                std::memcpy(byte + i * depth / 8, color, std::size_t(depth / 8));
        }
        StackSlice& slice = addSlice(image);
        // Files of 32 bits come back without their fourth byte, so the image goes to the proxy itself.
        showSlice(slice);
        canvas->getImageProxy().clearImage();
        canvas->getImageProxy().setImage(image);
        const QRgb expected = depth == 8 ? qRgb(200, 200, 200) : depth == 16 ? qRgb(128, 128, 128) : qRgb(200, 100, 50);
        EXPECT_TRUE(isNear(picture().pixel(50, 50), expected)) << depth;
        canvas->getImageProxy().clearImage();
    }
    Image indexed(10, 10, 8);
    std::memset(indexed.getData(), 60, 100);
    Colormap shortMap(100); // not a power of two
    for (int i = 0; i < 100; ++i) {
        shortMap.getRed()[i] = static_cast<unsigned char>(i);
        shortMap.getGreen()[i] = static_cast<unsigned char>(255 - i);
        shortMap.getBlue()[i] = 7;
    }
    indexed.setColormap(shortMap);
    indexed.getPixels()[9][9] = 200; // beyond the map
    canvas->getImageProxy().setImage(indexed);
    EXPECT_TRUE(isNear(picture().pixel(50, 50), qRgb(60, 195, 7)));
    EXPECT_TRUE(isNear(picture().pixel(95, 95), qRgb(0, 0, 0)));
    canvas->getImageProxy().clearImage();
}

TEST_F(PaintedImageTest, theSliderStretchesTheContrast) {
    show(100, 100);
    showSlice(addSlice(TestImages::uniform(10, 10, 8, 102))); // 0.4 of the range
    emit slider->valuesChanged(0.2f, 0.6f);
    EXPECT_TRUE(isNear(picture().pixel(50, 50), qRgb(128, 128, 128)));
    emit slider->valuesChanged(0.5f, 1.0f);
    EXPECT_TRUE(isNear(picture().pixel(50, 50), qRgb(0, 0, 0)));
    emit slider->valuesChanged(0.3f, 0.3f); // no range: below is black, above is white
    EXPECT_TRUE(isNear(picture().pixel(50, 50), qRgb(255, 255, 255)));
    EXPECT_EQ(numPaints([this] { slider->reset(); }), 1);
    EXPECT_TRUE(isNear(picture().pixel(50, 50), qRgb(102, 102, 102)));
}

TEST_F(PaintedImageTest, pixelsAreSentOnceForAllPlacesAndZooms) {
    show(200, 150);
    Image image(1000, 700, 8);
    for (int y = 0; y < 700; ++y)
        for (int x = 0; x < 1000; ++x)
            image.getPixels()[y][x] = static_cast<unsigned char>(x / 4 + y % 3);
    showSlice(addSlice(image));
    ASSERT_TRUE(settle());
    const auto lookAt = [&](const QPoint& origin, float zoom) {
        zoomTo(zoom);
        canvas->setViewOrigin(origin);
        const QImage seen = picture();
        const QPoint at = canvas->convertToImagePosition(QPoint(77, 54));
        EXPECT_TRUE(isNear(seen.pixel(77, 54), QRgb(0x010101 * image.getPixels()[at.y()][at.x()]), 1)) << zoom;
    };
    lookAt(QPoint(400, 450), 1); // around the corner of four tiles
    const std::uint64_t before = canvas->getTextures().getNumUploads();
    lookAt(QPoint(700, 450), 1);
    lookAt(QPoint(250, 300), 1);
    lookAt(QPoint(250, 300), 4);
    lookAt(QPoint(100, 100), 1.5f);
    EXPECT_EQ(canvas->getTextures().getNumUploads(), before);
    canvas->setBlackAndWhite(0.5f, 1);
    EXPECT_TRUE(isNear(picture().pixel(0, 0), qRgb(0, 0, 0)));
    picture();
    EXPECT_EQ(canvas->getTextures().getNumUploads(), before + 1); // what is seen, once
}

// Rows of no whole number of words, and a last tile of three columns.
TEST_F(PaintedImageTest, eachPixelIsShownWhateverTheWidth) {
    show(560, 60);
    showSlice(addSlice(TestImages::uniform(515, 9, 8, 30)));
    canvas->setBestFitMode(false, false);
    ASSERT_EQ(canvas->getZoomFactor(), 1);
    for (const int depth : {8, 16, 24, 32}) {
        Image image(515, 9, depth);
        const auto value = [](int x, int y, int k) { return (x * 7 + y * 31 + k * 50) % 256; };
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 515; ++x) {
                unsigned char* const pixel = image.getPixels()[y] + x * depth / 8;
                const auto word = static_cast<unsigned short>(value(x, y, 0) * 256);
                if (depth == 16)
                    std::memcpy(pixel, &word, 2);
                else
                    for (int k = 0; k < depth / 8; ++k)
                        pixel[k] = static_cast<unsigned char>(value(x, y, k));
            }
        const auto pictureOf = [&] {
            canvas->getImageProxy().setImage(image);
            GreyScale scale;
            scale.high = 65280;
            canvas->setGreyScale(scale);
            return picture();
        };
        canvas->getImageProxy().clearImage();
        const QImage seen = pictureOf();
        const QPoint corner = canvas->convertToPosition(QPointF(0, 0)).toPoint();
        int numOther = 0;
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 515; ++x) {
                const int green = value(x, y, depth > 16 ? 1 : 0), blue = value(x, y, depth > 16 ? 2 : 0);
                numOther += isNear(seen.pixel(corner + QPoint(x, y)), qRgb(value(x, y, 0), green, blue), 1) ? 0 : 1;
            }
        EXPECT_EQ(numOther, 0) << depth;
        EXPECT_EQ(seen.pixel(corner + QPoint(516, 5)), VRLPreferences::getImageCanvasBackgroundColor().rgb());
        // Another image at the same address is not taken for it.
        std::memset(image.getData(), 90, image.dataLength());
        EXPECT_TRUE(isNear(pictureOf().pixel(corner + QPoint(514, 8)), qRgb(90, 90, 90), 1))
            << depth; // 90 * 257 of 65280
        canvas->getImageProxy().clearImage();
    }
}

TEST_F(PaintedImageTest, anotherWindowShowsTheSame) {
    show(100, 100);
    showSlice(addSlice(fourCorners(40, 40)));
    const QImage before = picture();
    QWidget other;
    auto* const layout = new QVBoxLayout(&other);
    layout->addWidget(widget);
    other.show();
    widget->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&other));
    EXPECT_EQ(picture(), before);
    window.layout()->addWidget(widget);
    widget->show();
    ASSERT_TRUE(QTest::qWaitFor([this] { return canvas->isVisible() && canvas->size() == QSize(100, 100); }));
    EXPECT_EQ(picture(), before);
}

TEST_F(PaintedImageTest, texturesOutOfViewGoFirst) {
    show(100, 100);
    canvas->makeCurrent();
    const Image image = TestImages::uniform(3 * ImageTextures::tileSide, ImageTextures::tileSide, 8, 70);
    constexpr std::size_t tile = std::size_t(ImageTextures::tileSide) * ImageTextures::tileSide;
    ImageTextures textures(2 * tile);
    const auto numSent = [&](int first, int count) {
        const std::uint64_t before = textures.getNumUploads();
        textures.beginFrame();
        const QRect texels(first * ImageTextures::tileSide, 0, count * ImageTextures::tileSide, 10);
        EXPECT_TRUE(textures.draw(
            image, nullptr, {}, {}, texels, [](int texel) { return texel; }, [](int texel) { return -texel; }));
        textures.endFrame();
        return int(textures.getNumUploads() - before);
    };
    EXPECT_EQ(numSent(0, 3), 3); // all that is seen stays
    EXPECT_EQ(numSent(0, 3), 0);
    EXPECT_EQ(textures.getNumBytes(), 3 * tile);
    EXPECT_EQ(numSent(1, 1), 0);
    EXPECT_EQ(textures.getNumBytes(), 2 * tile);
    EXPECT_EQ(numSent(2, 1), 0);
    EXPECT_EQ(numSent(0, 1), 1); // went of the two that were out of view alike
    EXPECT_EQ(numSent(1, 1), 1); // went as it was out of view for longest
    EXPECT_EQ(numSent(0, 1), 0);
    textures.clear();
    EXPECT_EQ(textures.getNumBytes(), 0u);
    canvas->doneCurrent();
}

TEST_F(PaintedImageTest, pixelsOfOtherProportionsAreShownSo) {
    show(200, 200);
    StackSlice& slice = addSlice(fourCorners(20, 20));
    slice.getPixelCalibration().setAspectRatio(2); // twice as high as wide
    showSlice(slice);
    EXPECT_FLOAT_EQ(canvas->getZoomFactor(), 10);
    const QImage seen = picture();
    EXPECT_TRUE(isNear(seen.pixel(95, 50), qRgb(40, 40, 40)));
    EXPECT_TRUE(isNear(seen.pixel(105, 50), qRgb(90, 90, 90)));
    EXPECT_TRUE(isNear(seen.pixel(145, 195), qRgb(250, 250, 250)));
    for (const int beside : {45, 155})
        EXPECT_TRUE(isNear(seen.pixel(beside, 50), VRLPreferences::getImageCanvasBackgroundColor().rgb())) << beside;
}

} // namespace vorlen
