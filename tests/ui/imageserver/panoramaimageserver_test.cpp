#include "ui/imageserver/panoramaimageserver.h"

#include <memory>

#include <QObject>
#include <QPointer>
#include <QSize>

#include <gtest/gtest.h>

#include "ui/imageserver/vrlimageserver.h"

namespace vorlen {

TEST(PanoramaImageServer, anOwnerHasOneThatKeepsItsThumbnailsAndGoesWithIt) {
    auto stack = std::make_unique<QObject>();
    QObject other;
    QPointer<VRLImageServer> server = &getPanoramaImageServer(*stack);
    EXPECT_EQ(&getPanoramaImageServer(*stack), server);
    EXPECT_NE(&getPanoramaImageServer(other), server);
    EXPECT_FALSE(server->isAutoDelete());
    EXPECT_EQ(server->getBaseSize(), QSize(256, 256));
    stack.reset();
    EXPECT_TRUE(server.isNull());
}

} // namespace vorlen
