#pragma once

namespace vorlen {

/// Channel of a colour image. The value is also the byte's offset inside a pixel of 24 or 32 bits.
enum ImageChannel { RedChannel = 0, GreenChannel = 1, BlueChannel = 2, AlphaChannel = 3 };

} // namespace vorlen
