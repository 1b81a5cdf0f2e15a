#include "ui/imageserver/panoramaimageserver.h"

#include <cstddef>

#include <QSize>
#include <QString>

#include "ui/imageserver/vrlimageserver.h"

namespace vorlen {

VRLImageServer& getPanoramaImageServer(QObject& owner) {
    const QString name = "panorama";
    auto* server = owner.findChild<VRLImageServer*>(name, Qt::FindDirectChildrenOnly);
    if (!server) {
        server = new VRLImageServer(&owner); // the owner deletes its children
        server->setObjectName(name);
        server->setAutoDelete(false);
        server->setBaseSize(QSize(256, 256));
        server->setIdleLimit(std::size_t(64) << 20);
    }
    return *server;
}

} // namespace vorlen
