#pragma once

namespace vorlen {

/// What a canvas of slices shows: the image, the items drawn on it, or both.
enum CanvasMode { BackgroundMode = 0, ForegroundMode = 1, AllgroundMode = 2 };

} // namespace vorlen
