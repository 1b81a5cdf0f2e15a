#include "ui/imageserver/imageserverfixture.h"

#include "numerics/exception.h"

namespace vorlen {

namespace {

using State = VRLImageServerData::State;

/// A base size and a state.
class ImageLifetime : public ImageServerTest, public ::testing::WithParamInterface<std::tuple<int, State>> {
protected:
    void SetUp() override {
        server->setBaseSize(QSize(std::get<0>(GetParam()), std::get<0>(GetParam())));
        source = makeSource("a.tif", 700, 500, 24);
        blocker = makeSource("b.tif", 100, 100);
        proxy = std::make_unique<VRLImageProxy>();
        blockerProxy = std::make_unique<VRLImageProxy>();
        companion = std::make_unique<VRLImageProxy>();
    }

    bool act(const std::function<void()>& action) {
        return doAt(std::get<1>(GetParam()), *proxy, *source, *blockerProxy, *blocker, action);
    }

    static int numThreads() { return int(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {})); }

    std::unique_ptr<ImageSourceFile> source, blocker;
    std::unique_ptr<VRLImageProxy> proxy, blockerProxy, companion;
};

} // namespace

// The destructor has joined the worker when it returns: there are as many threads as before, and nothing is heard.
TEST_P(ImageLifetime, theServerMayGo) {
    ASSERT_TRUE(settle());
    const int before = numThreads();
    QSignalSpy changed(proxy.get(), &VRLImageProxy::imageChanged);
    int changedBefore = -1;
    ASSERT_TRUE(act([&] {
        server.reset();
        // The system takes a moment to take a joined thread off its list.
        EXPECT_TRUE(waitUntil([&] { return numThreads() == before; }));
        changedBefore = int(changed.count());
        EXPECT_FALSE(proxy->hasImage());
        EXPECT_FALSE(proxy->hasImageServer());
        EXPECT_THROW(proxy->getImageServer(), ProgramError);
    }));
    QTest::qWait(5);
    EXPECT_EQ(changed.count(), changedBefore);

    // The proxy goes on with another server, with the source that it has.
    server = std::make_unique<VRLImageServer>();
    proxy->setImageServer(*server);
    ASSERT_TRUE(settle());
    EXPECT_TRUE(TestImages::samePixels(proxy->getImage(), pixelsOf(source->getFilename())));
}

TEST_P(ImageLifetime, theProxyMayGo) {
    ASSERT_TRUE(act([this] { proxy.reset(); }));
    ASSERT_TRUE(settle());
    EXPECT_EQ(numRecords(), std::get<1>(GetParam()) == State::Pending ? 1 : 0);
}

TEST_P(ImageLifetime, oneOfSeveralProxiesMayGo) {
    companion->setImageServer(*server);
    ASSERT_TRUE(act([this] {
        companion->setImageSource(*source);
        proxy.reset();
    }));
    ASSERT_TRUE(settle());
    EXPECT_TRUE(companion->hasImage());
}

TEST_P(ImageLifetime, theSourceMayGoOnceItsProxiesHaveLeftItAndEvenBefore) {
    const int numDone = std::get<1>(GetParam()) == State::Pending ? 2 : 1;
    ASSERT_TRUE(act([this] { source.reset(); }));
    ASSERT_TRUE(settle());
    // Nobody has left: the copy has been read.
    EXPECT_EQ(server->getNumDone(), numDone);
    EXPECT_TRUE(proxy->hasImage());
    proxy->clear();
    ASSERT_TRUE(settle());

    source = makeSource("a.tif", 700, 500, 24);
    ASSERT_TRUE(act([this] {
        proxy->clear();
        source.reset();
    }));
    ASSERT_TRUE(settle());
    EXPECT_EQ(server->getNumDone(), numDone - 1);
}

TEST_P(ImageLifetime, aRecordMayBeCancelledUnderItsProxies) {
    ASSERT_TRUE(act([this] { record(*source)->cancel(); }));
    ASSERT_TRUE(settle());
    EXPECT_FALSE(proxy->hasImage());
    EXPECT_EQ(numRecords(), std::get<1>(GetParam()) == State::Pending ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(InEachState, ImageLifetime,
                         ::testing::Combine(::testing::Values(0, 128),
                                            ::testing::Values(State::Pending, State::Reading, State::Resizing,
                                                              State::Done)));

namespace {

class ImageArrival : public ImageServerTest {};

} // namespace

TEST_F(ImageArrival, letsTheSlotDestroyItsProxyOrTheServerAtEachImage) {
    const auto source = makeSource("a.tif", 300, 300);
    for (const bool destroyServer : {false, true})
        for (const int atImage : {1, 2, 3}) {
            server = std::make_unique<VRLImageServer>();
            auto proxy = std::make_unique<VRLImageProxy>();
            VRLImageProxy other;
            proxy->setImageServer(*server);
            other.setImageServer(*server);
            bool gone = false;
            QObject::connect(proxy.get(), &VRLImageProxy::imageChanged, &other, [&] {
                if (proxy->getNumImages() < atImage)
                    return;
                gone = true;
                if (destroyServer)
                    server.reset();
                else
                    proxy.reset();
            });
            proxy->setImageSource(*source);
            other.setImageSource(*source);
            ASSERT_TRUE(waitUntil([&] { return gone; }));
            if (destroyServer) {
                EXPECT_FALSE(other.hasImage());
            } else {
                ASSERT_TRUE(settle());
                EXPECT_EQ(other.getNumImages(), 4);
            }
        }
}

// The late proxy's own call is still at work when its slot destroys the server.
TEST_F(ImageArrival, letsALateProxysSlotDestroyTheServerWithinItsCall) {
    const auto source = makeSource("a.tif", 100, 100);
    VRLImageProxy proxy, late;
    proxy.setImageServer(*server);
    late.setImageServer(*server);
    proxy.setImageSource(*source);
    ASSERT_TRUE(settle());
    QObject::connect(&late, &VRLImageProxy::imageChanged, &late, [this] { server.reset(); });
    late.setImageSource(*source);
    EXPECT_EQ(server, nullptr);
    EXPECT_FALSE(late.hasImage());
    EXPECT_FALSE(proxy.hasImage());
}

} // namespace vorlen
