#pragma once

class QObject;

namespace vorlen {

class VRLImageServer;

/// The image server of the thumbnails of a stack's panorama: 256 x 256 pixels. Its images stay until the stack goes, as
/// far as those that are not looked at fit into 64 MiB: a thousand slices of bytes. Made at the first call; the owner,
/// an open stack, owns it from then on.
VRLImageServer& getPanoramaImageServer(QObject& owner);

} // namespace vorlen
