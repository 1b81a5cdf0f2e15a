#include "ui/imageserver/imageserverfixture.h"

namespace vorlen {

namespace {

class Thumbnails : public ImageServerTest {
protected:
    void SetUp() override {
        server->setBaseSize(QSize(256, 256));
        server->setAutoDelete(false);
    }
};

/// Pixel of an image that is fitted into a smaller size: the mean over the window of half size h around the pixel that
/// the nearest rule picks. Along an axis the first and last h pixels are their own mean.
int expectedComponent(const Image& image, int i, int j, int component, int width, int height) {
    const int h = image.getWidth() / (2 * width);
    const int row = image.getHeight() * i / height;
    const int column = image.getWidth() * j / width;
    const int bytes = image.bytesPerPixel();
    const auto sumOfRow = [&](int r) {
        if (column < h || column >= image.getWidth() - h)
            return image.getPixels()[r][bytes * column + component] * (2 * h + 1);
        int sum = 0;
        for (int b = -h; b <= h; ++b)
            sum += image.getPixels()[r][bytes * (column + b) + component];
        return sum;
    };
    if (row < h || row >= image.getHeight() - h)
        return sumOfRow(row) / (2 * h + 1);
    int sum = 0;
    for (int a = -h; a <= h; ++a)
        sum += sumOfRow(row + a);
    return sum / ((2 * h + 1) * (2 * h + 1));
}

} // namespace

TEST_F(Thumbnails, areSmoothedAndFittedAndArriveOnceAndSmall) {
    struct Case {
        int width, height, depth, fittedWidth, fittedHeight;
    };
    for (const Case& c : {Case{1100, 600, 24, 256, 140}, Case{400, 900, 8, 114, 256}, Case{300, 280, 8, 256, 239}}) {
        const auto source = makeSource("a.tif", c.width, c.height, c.depth);
        VRLImageProxy proxy;
        proxy.setImageServer(*server);
        int arrivals = 0;
        QObject::connect(&proxy, &VRLImageProxy::imageChanged, &proxy, [&] {
            ++arrivals;
            EXPECT_EQ(proxy.getImage().getWidth(), c.fittedWidth);
            EXPECT_EQ(proxy.getImage().getHeight(), c.fittedHeight);
        });
        proxy.setImageSource(*source);
        EXPECT_EQ(proxy.getOriginalImageSize(), QSize(c.width, c.height));
        ASSERT_TRUE(settle());
        ASSERT_EQ(arrivals, 1);
        EXPECT_EQ(proxy.getNumImages(), 1);

        const Image original = pixelsOf(folder.file("a.tif"));
        const Image& thumbnail = proxy.getImage();
        const bool smoothed = c.width > 2 * c.fittedWidth;
        for (int i = 0; i < c.fittedHeight; ++i)
            for (int j = 0; j < c.fittedWidth; ++j)
                for (int k = 0; k < c.depth / 8; ++k) {
                    const int expected =
                        smoothed ? expectedComponent(original, i, j, k, c.fittedWidth, c.fittedHeight)
                                 : original.getPixels()[c.height * i / c.fittedHeight][c.width * j / c.fittedWidth];
                    ASSERT_EQ(thumbnail.getPixels()[i][c.depth / 8 * j + k], expected) << i << ' ' << j << ' ' << k;
                }
    }
}

TEST_F(Thumbnails, comeToLateProxiesOnlyWhenTheyAreSmall) {
    const auto source = makeSource("a.tif", 1024, 512);
    VRLImageProxy proxy, late, latest;
    late.setImageServer(*server);
    latest.setImageServer(*server);
    QSignalSpy changed(&late, &VRLImageProxy::imageChanged);
    ASSERT_TRUE(doAt(VRLImageServerData::Resizing, proxy, *source, late, *source, [&] {
        late.setImageSource(*source);
        EXPECT_FALSE(late.hasImage());
        EXPECT_EQ(server->getNumImageBytes(), 0u);
    }));
    ASSERT_TRUE(settle());
    EXPECT_EQ(changed.count(), 1);
    latest.setImageSource(*source);
    ASSERT_TRUE(latest.hasImage());
    for (const VRLImageProxy* each : {&proxy, &late, &latest})
        EXPECT_EQ(each->getImage().getWidth(), 256);
}

TEST_F(Thumbnails, ofAWholeStackTakeTheRoomOfThumbnails) {
    const auto sources = makeSources(12, 512, 512);
    std::vector<std::unique_ptr<VRLImageProxy>> proxies;
    for (const auto& source : sources) {
        proxies.push_back(std::make_unique<VRLImageProxy>());
        proxies.back()->setImageServer(*server);
        proxies.back()->setImageSource(*source);
    }
    ASSERT_TRUE(settle());
    EXPECT_EQ(server->getNumDone(), 12);
    EXPECT_EQ(server->getNumImageBytes(), 12u * 256u * 256u);
    proxies.clear();
    ASSERT_TRUE(settle());
    EXPECT_EQ(server->getNumDone(), 12);
    EXPECT_EQ(server->getNumImageBytes(), 12u * 256u * 256u);
}

} // namespace vorlen
