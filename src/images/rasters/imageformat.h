#pragma once

namespace vorlen {

/// Where an image came from.
enum ImageFormat { NoImageFormat = 0, UnknownImageFormat = 1, ImgImageFormat = 2, TiffImageFormat = 3 };

} // namespace vorlen
