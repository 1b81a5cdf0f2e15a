#pragma once

namespace vorlen {

/// How the grey values of two images that lie over each other are mixed.
enum ImageTransparencyMode {
    AdditionTransparency = 0,
    SubtractionTransparency = 1,
    MultiplicationTransparency = 2,
    MinimumTransparency = 3,
    MaximumTransparency = 4
};

/// What is shown of two images: both, mixed; one of them; or both in turns, in squares as of a chessboard.
enum class SectionComparison { Overlay, Foreground, Background, Checkerboard };

} // namespace vorlen
