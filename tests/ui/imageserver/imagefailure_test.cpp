#include "ui/imageserver/imageserverfixture.h"

#include <fstream>

#include "images/files/imagesourcefilemosaic.h"
#include "images/files/imagesourcevoxelmatrixplane.h"
#include "images/volumes/voxelmatrix.h"
#include "support/fixedsource.h"

namespace vorlen {

namespace {

class ImageFailure : public ImageServerTest {
protected:
    /// The message with which the source fails, in this order after and before a good one; empty when it does not.
    QString failureOf(const ImageSource& source, const ImageSource& good) {
        VRLImageProxy before, bad, after;
        QSignalSpy failed(&bad, &VRLImageProxy::imageFailed);
        QSignalSpy changed(&bad, &VRLImageProxy::imageChanged);
        for (VRLImageProxy* proxy : {&before, &bad, &after})
            proxy->setImageServer(*server);
        before.setImageSource(good);
        bad.setImageSource(source);
        after.setImageSource(good);
        EXPECT_TRUE(settle());
        EXPECT_TRUE(after.hasImage());
        EXPECT_EQ(changed.count(), 0);
        EXPECT_EQ(failed.count(), 1);
        EXPECT_EQ(server->getNumDone(), 2);
        EXPECT_FALSE(bad.hasImage());
        EXPECT_TRUE(bad.hasFailed());
        return failed.count() == 1 ? failed[0][0].toString() : QString();
    }
};

} // namespace

TEST_F(ImageFailure, isToldWithTheFilesNameAndTheNextRecordLoads) {
    const auto good = makeSource("good.tif", 100, 100);
    const auto gone = makeSource("gone.tif", 100, 100);
    std::filesystem::remove(gone->getFilename());
    const auto cut = makeSource("cut.tif", 400, 400);
    std::filesystem::resize_file(cut->getFilename(), 1000);
    const auto other = makeSource("other.tif", 100, 100);
    folder.write("other.tif", "this is no image");
    for (const auto* source : {&gone, &cut, &other}) {
        const QString message = failureOf(**source, *good);
        EXPECT_TRUE(message.contains(QString::fromStdString((*source)->getFilename()))) << message.toStdString();
    }
    EXPECT_TRUE(failureOf(*gone, *good).endsWith("could not be read: Cannot open file for reading."));
}

TEST_F(ImageFailure, namesTheTileOfAMosaicTheVolumeAndSourcesOfNoKnownKind) {
    const auto good = makeSource("good.tif", 100, 100);
    const auto tile = makeSource("tile.tif", 50, 40);
    ImageSourceFileMosaic mosaic(1, 2);
    mosaic.setFilename(0, 0, good->getFilename());
    const auto second = makeSource("second.tif", 100, 100);
    mosaic.setFilename(0, 1, second->getFilename());
    std::filesystem::remove(second->getFilename());
    EXPECT_TRUE(failureOf(mosaic, *good).contains("second.tif"));

    VoxelMatrix<float> volume(4, 5, 2);
    volume.setZeros();
    volume.save(folder.file("volume.vm"), true);
    ImageSourceVoxelMatrixPlane plane;
    plane.setVoxelMatrixFilename(folder.file("volume.vm"));
    plane.setPlane(2);
    EXPECT_TRUE(failureOf(plane, *good).contains("volume.vm"));

    EXPECT_TRUE(failureOf(FixedSource(30, 40), *good).endsWith("could not be read: it holds no image."));
}

TEST_F(ImageFailure, isToldToLateProxiesAndForgottenWhenTheLastHasLeft) {
    server->setAutoDelete(false);
    const auto source = makeSource("a.tif", 100, 100);
    const std::string bytes = folder.read("a.tif");
    std::filesystem::remove(source->getFilename());
    VRLImageProxy proxy, late;
    proxy.setImageServer(*server);
    late.setImageServer(*server);
    proxy.setImageSource(*source);
    ASSERT_TRUE(settle());
    QSignalSpy failed(&late, &VRLImageProxy::imageFailed);
    late.setImageSource(*source);
    EXPECT_EQ(failed.count(), 1);
    EXPECT_EQ(late.getFailure(), proxy.getFailure());
    late.clear();
    EXPECT_FALSE(late.hasFailed());
    EXPECT_EQ(server->getNumDone(), 1);
    proxy.clear();
    EXPECT_EQ(server->getNumDone(), 0);

    // The user has put the file back.
    folder.write("a.tif", bytes);
    proxy.setImageServer(*server);
    proxy.setImageSource(*source);
    ASSERT_TRUE(settle());
    EXPECT_TRUE(proxy.hasImage());
    EXPECT_FALSE(proxy.hasFailed());
}

TEST_F(ImageFailure, letsTheSlotThatHearsOfItDestroyTheProxyOrTheServer) {
    const auto source = makeSource("a.tif", 100, 100);
    std::filesystem::remove(source->getFilename());
    for (const bool destroyServer : {false, true}) {
        auto proxy = std::make_unique<VRLImageProxy>();
        VRLImageProxy second;
        server = std::make_unique<VRLImageServer>();
        proxy->setImageServer(*server);
        second.setImageServer(*server);
        bool heard = false;
        QObject::connect(proxy.get(), &VRLImageProxy::imageFailed, &second, [&] {
            heard = true;
            if (destroyServer)
                server.reset();
            else
                proxy.reset();
        });
        proxy->setImageSource(*source);
        second.setImageSource(*source);
        ASSERT_TRUE(waitUntil([&] { return heard; }));
        QTest::qWait(1);
        EXPECT_EQ(second.hasImageServer(), !destroyServer);
        EXPECT_EQ(second.hasFailed(), !destroyServer);
    }
}

} // namespace vorlen
