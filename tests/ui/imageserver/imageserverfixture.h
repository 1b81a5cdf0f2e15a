#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

#include "images/files/imagesourcefile.h"
#include "images/rasters/image.h"
#include "support/temporaryfolder.h"
#include "support/testimages.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/imageserver/vrlimageserver.h"
#include "ui/imageserver/vrlimageserverdata.h"

namespace vorlen {

/// Image files, a server, and bounded waiting for it.
class ImageServerTest : public ::testing::Test {
protected:
    /// A source of a new TIFF file; images of different seeds differ.
    std::unique_ptr<ImageSourceFile> makeSource(const std::string& name, int width, int height, int depth = 8,
                                                int seed = 1) {
        TestImages::ramp(width, height, depth, 7, seed).writeFile(folder.file(name), "", true);
        auto source = std::make_unique<ImageSourceFile>();
        source->setFilename(folder.file(name));
        return source;
    }

    /// As many sources of different images.
    std::vector<std::unique_ptr<ImageSourceFile>> makeSources(int count, int width, int height) {
        std::vector<std::unique_ptr<ImageSourceFile>> sources;
        for (int i = 0; i < count; ++i)
            sources.push_back(makeSource("slice" + std::to_string(i) + ".tif", width, height, 8, i));
        return sources;
    }

    static bool waitUntil(const std::function<bool()>& condition) { return QTest::qWaitFor(condition, 30000); }

    /// Nothing waits or is at work, and what was dropped is gone.
    bool settle() {
        const bool idle = waitUntil(
            [this] { return server->getNumPending() + server->getNumRunning() + server->getNumCanceled() == 0; });
        QTest::qWait(1);
        return idle;
    }

    /// All records that exist, on a list or not.
    int numRecords() const { return int(server->findChildren<VRLImageServerData*>().size()); }

    /// The record of a source; null when there is none.
    VRLImageServerData* record(const ImageSource& source) const {
        for (VRLImageServerData* data : server->findChildren<VRLImageServerData*>())
            if (data->key() == &source && data->getState() != VRLImageServerData::Canceled && !data->isCanceled())
                return data;
        return nullptr;
    }

    /// Sets the source to the proxy and does something at the moment when its record is in this state. For the pending
    /// state, blocker is given to the server before. False when the state did not come.
    bool doAt(VRLImageServerData::State state, VRLImageProxy& proxy, const ImageSource& source,
              VRLImageProxy& blockerProxy, const ImageSource& blocker, const std::function<void()>& action) {
        proxy.setImageServer(*server);
        if (state == VRLImageServerData::Pending) {
            blockerProxy.clear();
            blockerProxy.setImageServer(*server);
            blockerProxy.setImageSource(blocker);
        }
        proxy.setImageSource(source);
        VRLImageServerData* const data = record(source);
        bool done = false;
        const auto actOnce = [&] {
            if (!done && data->getState() == state) {
                done = true;
                action();
            }
        };
        if (state == VRLImageServerData::Resizing) {
            // Said for the second time when the resizer has begun.
            const auto connection = QObject::connect(data, &VRLProgressProxy::started, data, actOnce);
            const bool came = waitUntil([&] { return done; });
            if (server)
                QObject::disconnect(connection);
            return came;
        }
        if (state == VRLImageServerData::Done && !settle())
            return false;
        actOnce();
        return done;
    }

    static Image pixelsOf(const std::string& name) { return Image(name, ""); }

    TemporaryFolder folder;
    std::unique_ptr<VRLImageServer> server = std::make_unique<VRLImageServer>();
};

} // namespace vorlen
