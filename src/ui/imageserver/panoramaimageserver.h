#pragma once

class QObject;

namespace vorlen {

class VRLImageServer;

/// The image server of the thumbnails of a stack's panorama: 256 x 256 pixels, and its images stay until the stack
/// goes. Made at the first call; the owner, an open stack, owns it from then on.
VRLImageServer& getPanoramaImageServer(QObject& owner);

} // namespace vorlen
