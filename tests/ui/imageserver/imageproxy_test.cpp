#include "ui/imageserver/imageserverfixture.h"

#include "support/failures.h"
#include "support/fixedsource.h"

namespace vorlen {

TEST(VRLImageProxy, saysWhatItDoesNotHave) {
    VRLImageProxy proxy;
    expectFailure<ProgramError>([&] { proxy.getImage(); }, "Image& VRLImageProxy::getImage() const",
                                "This proxy has no image");
    expectFailure<ProgramError>([&] { proxy.getImage(QSize(10, 10)); },
                                "Image& VRLImageProxy::getImage(const QSize&) const", "This proxy has no image");
    expectFailure<ProgramError>([&] { proxy.getImageServer(); },
                                "VRLImageServer& VRLImageProxy::getImageServer() const",
                                "This proxy has no image server");
    EXPECT_THROW(proxy.getImageSource(), ProgramError);
    EXPECT_EQ(proxy.key(), nullptr);
    EXPECT_TRUE(proxy.isEmpty());
    EXPECT_FALSE(proxy.hasOriginalImageSize());
}

TEST(VRLImageProxy, knowsTheSizeOfItsSourceAndListsEachImageOnce) {
    VRLImageProxy proxy;
    const FixedSource source(30, 40);
    proxy.setImageSource(source);
    EXPECT_EQ(proxy.getOriginalImageSize(), QSize(40, 30));
    EXPECT_EQ(proxy.key(), &source);
    proxy.setOriginalImageSize(QSize(0, 5));
    EXPECT_TRUE(proxy.hasOriginalImageSize());

    QSignalSpy changed(&proxy, &VRLImageProxy::imageChanged);
    Image full(40, 30, 8), half(20, 15, 8);
    proxy.setImage(full);
    proxy.setImage(half);
    proxy.setImage(full);
    EXPECT_EQ(changed.count(), 3);
    EXPECT_EQ(proxy.getNumImages(), 2);
    EXPECT_EQ(&proxy.getImage(), &full);
    EXPECT_EQ(&proxy.getImage(QSize(19, 40)), &half);
    EXPECT_EQ(&proxy.getImage(QSize(20, 1)), &full);

    PixelCalibration calibration;
    calibration.setPixelWidth(2);
    proxy.setPixelCalibration(calibration);
    proxy.clear();
    EXPECT_TRUE(proxy.isEmpty());
    EXPECT_FALSE(proxy.hasImage());
    EXPECT_FALSE(proxy.hasImageSource());
    EXPECT_EQ(proxy.getPixelCalibration().getPixelWidth(), 2);
}

namespace {

class ProxyOnServers : public ImageServerTest {};

} // namespace

TEST_F(ProxyOnServers, giveBackTheirImagesWithTheirSourceOrServer) {
    const auto first = makeSource("a.tif", 100, 90);
    const auto second = makeSource("b.tif", 70, 80);
    VRLImageServer thumbnails;
    thumbnails.setBaseSize(QSize(50, 50));
    VRLImageProxy proxy;
    // A source may come before its server.
    proxy.setImageSource(*first);
    proxy.setImageServer(*server);
    EXPECT_EQ(&proxy.getImageServer(), server.get());
    ASSERT_TRUE(settle());
    EXPECT_EQ(proxy.getImage().getWidth(), 100);

    proxy.setImageSource(*second);
    EXPECT_FALSE(proxy.hasImage());
    EXPECT_EQ(proxy.getOriginalImageSize(), QSize(70, 80));
    ASSERT_TRUE(settle());
    EXPECT_EQ(proxy.getImage().getWidth(), 70);
    EXPECT_EQ(numRecords(), 1);

    proxy.setImageServer(thumbnails);
    EXPECT_FALSE(proxy.hasImage());
    ASSERT_TRUE(waitUntil([&] { return proxy.hasImage(); }));
    EXPECT_EQ(proxy.getImage().getHeight(), 50);
    ASSERT_TRUE(settle());
    EXPECT_EQ(numRecords(), 0);

    proxy.clearImageServer();
    EXPECT_FALSE(proxy.hasImage());
    EXPECT_TRUE(proxy.hasImageSource());
}

} // namespace vorlen
