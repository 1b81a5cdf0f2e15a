#include "ui/imageserver/imageserverfixture.h"

#include <map>

#include "numerics/exception.h"

namespace vorlen {

namespace {

using State = VRLImageServerData::State;

const State allStates[] = {State::Pending, State::Reading, State::Resizing, State::Done};

class ImageServer : public ImageServerTest {};

/// Block means of 2 x 2, truncated, of an 8-bit image.
Image halved(const Image& image) {
    Image result(image.getWidth() / 2, image.getHeight() / 2, 8);
    for (int i = 0; i < result.getHeight(); ++i)
        for (int j = 0; j < result.getWidth(); ++j) {
            const auto* upper = image.getPixels()[2 * i] + 2 * j;
            const auto* lower = image.getPixels()[2 * i + 1] + 2 * j;
            result.getPixels()[i][j] = static_cast<unsigned char>((upper[0] + upper[1] + lower[0] + lower[1]) / 4);
        }
    return result;
}

} // namespace

TEST_F(ImageServer, readsASourceAndHalvesItUntilASideIsBelow64) {
    const auto source = makeSource("a.tif", 300, 200);
    VRLImageProxy proxy;
    std::vector<QSize> asked;
    bool onMainThread = true;
    QObject::connect(&proxy, &VRLImageProxy::imageChanged, &proxy, [&] {
        onMainThread = onMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
        asked.push_back(QSize(proxy.getImage(QSize(1, 1)).getWidth(), proxy.getImage(QSize(1, 1)).getHeight()));
    });
    proxy.setImageServer(*server);
    proxy.setImageSource(*source);
    EXPECT_EQ(proxy.getOriginalImageSize(), QSize(300, 200));
    EXPECT_FALSE(proxy.hasImage());
    EXPECT_EQ(server->getNumRunning(), 1);
    ASSERT_TRUE(settle());
    EXPECT_EQ(server->getNumDone(), 1);
    EXPECT_TRUE(onMainThread);
    EXPECT_EQ(asked, (std::vector<QSize>{QSize(300, 200), QSize(150, 100), QSize(75, 50)}));

    const Image original = pixelsOf(folder.file("a.tif"));
    const Image half = halved(original);
    EXPECT_TRUE(TestImages::samePixels(proxy.getImage(), original));
    EXPECT_TRUE(TestImages::samePixels(proxy.getImage(QSize(150 - 1, 0)), half));
    EXPECT_TRUE(TestImages::samePixels(proxy.getImage(QSize(0, 0)), halved(half)));
    EXPECT_EQ(server->getNumImageBytes(), 300u * 200u + 150u * 100u + 75u * 50u);

    // The smallest image wider than asked, else the largest.
    const std::map<int, int> widths{{1000, 300}, {300, 300}, {299, 300}, {150, 300}, {149, 150}, {75, 150}, {74, 75}};
    for (const auto& [width, expected] : widths)
        EXPECT_EQ(proxy.getImage(QSize(width, 5000)).getWidth(), expected) << width;
}

TEST_F(ImageServer, givesNoReducedImagesBelow64Pixels) {
    struct Case {
        int width, height, depth, numImages;
    };
    for (const Case& c : {Case{63, 300, 8, 1}, Case{300, 63, 24, 1}, Case{64, 64, 24, 2}, Case{200, 200, 16, 3}}) {
        const auto source = makeSource("small.tif", c.width, c.height, c.depth);
        VRLImageProxy proxy;
        proxy.setImageServer(*server);
        proxy.setImageSource(*source);
        ASSERT_TRUE(settle());
        EXPECT_EQ(proxy.getNumImages(), c.numImages) << c.width << " x " << c.height << " x " << c.depth;
        EXPECT_EQ(proxy.getImage().getDepth(), c.depth);
    }
}

TEST_F(ImageServer, sharesOneReadingAmongProxiesAndGivesLateOnesTheImageAtOnce) {
    const auto source = makeSource("a.tif", 256, 256);
    VRLImageProxy first, second, late;
    for (VRLImageProxy* proxy : {&first, &second, &late})
        proxy->setImageServer(*server);
    first.setImageSource(*source);
    second.setImageSource(*source);
    EXPECT_EQ(server->getNumRunning() + server->getNumPending(), 1);
    ASSERT_TRUE(settle());
    EXPECT_EQ(&first.getImage(), &second.getImage());
    EXPECT_EQ(first.getNumImages(), 4);
    EXPECT_EQ(second.getNumImages(), 4);

    QSignalSpy changed(&late, &VRLImageProxy::imageChanged);
    std::filesystem::remove(folder.file("a.tif")); // there is nothing to read any more
    late.setImageSource(*source);
    EXPECT_EQ(changed.count(), 1);
    ASSERT_TRUE(late.hasImage());
    EXPECT_EQ(&late.getImage(), &first.getImage());
    ASSERT_TRUE(settle());
    EXPECT_EQ(changed.count(), 1);
    // The same source again does nothing.
    late.setImageSource(*source);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(numRecords(), 1);
}

TEST_F(ImageServer, readsOneAfterTheOtherInTheOrderOfAsking) {
    const auto sources = makeSources(6, 200, 100);
    std::vector<std::unique_ptr<VRLImageProxy>> proxies;
    std::vector<int> order;
    int mostRunning = 0;
    const int asking[] = {3, 0, 5, 1, 4, 2};
    for (const int i : asking) {
        proxies.push_back(std::make_unique<VRLImageProxy>());
        VRLImageProxy* const proxy = proxies.back().get();
        QObject::connect(proxy, &VRLImageProxy::imageChanged, proxy, [&, proxy, i] {
            mostRunning = std::max(mostRunning, server->getNumRunning() + server->getNumCanceled());
            if (proxy->getNumImages() == 1)
                order.push_back(i);
        });
        proxy->setImageServer(*server);
        proxy->setImageSource(*sources[std::size_t(i)]);
    }
    EXPECT_EQ(server->getNumPending(), 5);
    ASSERT_TRUE(settle());
    EXPECT_EQ(order, std::vector<int>(std::begin(asking), std::end(asking)));
    EXPECT_EQ(mostRunning, 1);
    EXPECT_EQ(server->getNumDone(), 6);
}

// With auto delete on, the last proxy that leaves takes the record with it, in whatever state; with it off, the record
// goes its way to the end.
TEST_F(ImageServer, dropsOrKeepsARecordThatIsLeftInAnyState) {
    const auto source = makeSource("a.tif", 400, 300);
    const auto blocker = makeSource("b.tif", 128, 128);
    for (const bool autoDelete : {true, false})
        for (const State state : allStates) {
            server = std::make_unique<VRLImageServer>();
            server->setAutoDelete(autoDelete);
            VRLImageProxy proxy, blockerProxy;
            QSignalSpy changed(&proxy, &VRLImageProxy::imageChanged);
            int changedBefore = 0;
            ASSERT_TRUE(doAt(state, proxy, *source, blockerProxy, *blocker, [&] {
                changedBefore = int(changed.count());
                proxy.clear();
                EXPECT_FALSE(proxy.hasImage());
                EXPECT_FALSE(proxy.hasImageSource());
                if (autoDelete) {
                    EXPECT_EQ(server->getNumPending(), 0);
                    EXPECT_EQ(server->getNumRunning(), state == State::Pending ? 1 : 0);
                    EXPECT_EQ(server->getNumCanceled(), state == State::Reading || state == State::Resizing ? 1 : 0);
                }
            })) << state;
            ASSERT_TRUE(settle());
            EXPECT_EQ(changed.count(), changedBefore) << state;
            const int expected = (state == State::Pending ? 1 : 0) + (autoDelete ? 0 : 1);
            EXPECT_EQ(server->getNumDone(), expected) << state;
            EXPECT_EQ(numRecords(), expected) << state;
            if (autoDelete && state != State::Pending) {
                EXPECT_EQ(server->getNumImageBytes(), 0u);
            }
        }
}

TEST_F(ImageServer, keepsARecordAsLongAsOneProxyIsLeft) {
    const auto source = makeSource("a.tif", 128, 128);
    VRLImageProxy stays, leaves;
    for (VRLImageProxy* proxy : {&stays, &leaves}) {
        proxy->setImageServer(*server);
        proxy->setImageSource(*source);
    }
    leaves.clear();
    EXPECT_EQ(server->getNumRunning(), 1);
    ASSERT_TRUE(settle());
    EXPECT_EQ(stays.getNumImages(), 3);
    EXPECT_FALSE(leaves.hasImage());
}

TEST_F(ImageServer, withoutAutoDeleteFindsTheImageAgainWithoutReading) {
    const auto source = makeSource("a.tif", 128, 128);
    server->setAutoDelete(false);
    VRLImageProxy proxy;
    proxy.setImageServer(*server);
    proxy.setImageSource(*source);
    ASSERT_TRUE(settle());
    const Image* const image = &proxy.getImage();
    proxy.clear();
    std::filesystem::remove(folder.file("a.tif"));
    proxy.setImageServer(*server);
    proxy.setImageSource(*source);
    ASSERT_TRUE(proxy.hasImage());
    EXPECT_EQ(&proxy.getImage(), image);
    EXPECT_EQ(server->getNumRunning(), 0);
}

// An address alone does not make a source: the slice may have died, and another may stand where it stood.
TEST_F(ImageServer, readsAnewForAnotherSourceAtTheSameAddress) {
    makeSource("a.tif", 80, 80, 8, 1);
    makeSource("b.tif", 90, 90, 8, 2);
    ImageSourceFile source;
    source.setFilename(folder.file("a.tif"));
    server->setAutoDelete(false);
    VRLImageProxy first, second;
    first.setImageServer(*server);
    second.setImageServer(*server);
    first.setImageSource(source);
    ASSERT_TRUE(settle());
    EXPECT_EQ(first.getImage().getWidth(), 80);
    source.setFilename(folder.file("b.tif"));
    second.setImageSource(source);
    EXPECT_FALSE(second.hasImage());
    ASSERT_TRUE(settle());
    EXPECT_EQ(second.getImage().getWidth(), 90);
    // Who watched the source before follows it.
    EXPECT_EQ(&first.getImage(), &second.getImage());
    EXPECT_EQ(numRecords(), 1);
}

TEST_F(ImageServer, letsSlotsChangeTheSourcesOfAnyProxy) {
    const auto sources = makeSources(4, 128, 128);
    VRLImageProxy first, second;
    first.setImageServer(*server);
    second.setImageServer(*server);
    std::size_t next = 1;
    // At each arrival both views go on to another slice, the second to one that may be there already.
    QObject::connect(&first, &VRLImageProxy::imageChanged, &first, [&] {
        second.setImageSource(*sources[0]);
        if (next < sources.size())
            first.setImageSource(*sources[next++]);
    });
    QObject::connect(&second, &VRLImageProxy::imageChanged, &second, [&] {
        if (second.getNumImages() == 1)
            second.setImageSource(*sources[3]);
    });
    first.setImageSource(*sources[0]);
    second.setImageSource(*sources[0]);
    ASSERT_TRUE(settle());
    EXPECT_EQ(next, sources.size());
    EXPECT_TRUE(TestImages::samePixels(first.getImage(), pixelsOf(sources[3]->getFilename())));
    EXPECT_EQ(numRecords(), server->getNumDone());
}

// The user leafs through a stack faster than it can be read. One reading goes on, one waits, and what has been left is
// gone; the last slice arrives whole.
TEST_F(ImageServer, holdsNoMoreThanIsShownThroughTwoHundredRapidSliceChanges) {
    const int side = 512;
    const auto sources = makeSources(20, side, side);
    const std::size_t pyramid = std::size_t(side * side * 4 / 3);
    VRLImageProxy proxy;
    proxy.setImageServer(*server);
    std::size_t mostBytes = 0;
    int mostRecords = 0;
    for (int i = 0; i < 200; ++i) {
        proxy.setImageSource(*sources[std::size_t(i * 7 % 20)]);
        EXPECT_LE(server->getNumPending(), 1);
        EXPECT_LE(server->getNumRunning() + server->getNumCanceled(), 1);
        EXPECT_EQ(server->getNumDone(), 0);
        if (i % 5 == 0)
            QCoreApplication::processEvents();
        else if (i % 17 == 0)
            QTest::qWait(3); // far enough for an image now and then
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        mostBytes = std::max(mostBytes, server->getNumImageBytes());
        mostRecords = std::max(mostRecords, numRecords());
    }
    ASSERT_TRUE(settle());
    EXPECT_LE(mostBytes, 2 * pyramid);
    EXPECT_LE(mostRecords, 3);
    EXPECT_EQ(numRecords(), 1);
    EXPECT_TRUE(TestImages::samePixels(proxy.getImage(), pixelsOf(sources[199 * 7 % 20]->getFilename())));
    EXPECT_LE(server->getNumImageBytes(), pyramid);
}

TEST_F(ImageServer, opensALongStackWithoutReadingIt) {
    const auto source = makeSource("a.tif", 64, 64);
    std::vector<ImageSourceFile> sources(500, *source);
    std::vector<std::unique_ptr<VRLImageProxy>> proxies;
    for (const ImageSourceFile& each : sources) {
        proxies.push_back(std::make_unique<VRLImageProxy>());
        proxies.back()->setImageServer(*server);
        proxies.back()->setImageSource(each);
        EXPECT_EQ(proxies.back()->getOriginalImageSize(), QSize(64, 64));
    }
    EXPECT_EQ(server->getNumPending(), 499);
    EXPECT_EQ(server->getNumImageBytes(), 0u);
    proxies.clear();
    EXPECT_EQ(server->getNumPending(), 0);
    ASSERT_TRUE(settle());
    EXPECT_EQ(numRecords(), 0);
}

TEST_F(ImageServer, refusesABaseSizeOfOneSide) {
    server->setBaseSize(QSize(10, 20));
    EXPECT_THROW(server->setBaseSize(QSize(256, 0)), SizeError);
    EXPECT_EQ(server->getBaseSize(), QSize(10, 20));
}

} // namespace vorlen
