#pragma once

#include <array>

#include <QImage>
#include <QPoint>
#include <QPolygon>
#include <QRect>
#include <QSize>

#include "ui/registration/imagetransparencymode.h"

namespace vorlen {

class Image;

/// What a pixel shows for each pair of a background and a foreground value.
class TransparencyMap {
public:
    /// Addition.
    TransparencyMap();

    void setMode(ImageTransparencyMode mode);
    ImageTransparencyMode getMode() const { return __mode; }

    /// The 256 values over a background value, by the foreground's.
    const unsigned char* over(unsigned char background) const { return __values.data() + 256 * background; }

private:
    ImageTransparencyMode __mode = AdditionTransparency;
    std::array<unsigned char, 65536> __values;
};

/// Where two images lie on a display: the background in its middle, and the foreground, turned about its own centre by
/// an angle in degrees, clockwise, and shifted in pixels of the display.
///
/// Places are whole pixels; the foreground's lie in its own pixels, and its origin says where pixel (0, 0) of it would
/// be on the display without a rotation.
class SectionPlaces {
public:
    SectionPlaces(QSize display, QSize background, QSize foreground, double horShift, double verShift, double angle);

    QPoint backgroundOrigin() const { return __backgroundOrigin; }
    QPoint foregroundOrigin() const { return __foregroundOrigin; }
    QRect backgroundFrame() const { return QRect(__backgroundOrigin, __background); }
    QPoint foregroundCentre() const { return __centre; }
    double cosine() const { return __cosine; }
    double sine() const { return __sine; }

    /// The four corners of the turned foreground on the display: left top, right top, right bottom, left bottom.
    QPolygon foregroundFrame() const;

    /// The part of the plane, in the foreground's pixels, on which the turned foreground lies, and 2 pixels around.
    QRect foregroundArea() const;

private:
    QSize __background, __foreground;
    QPoint __backgroundOrigin, __foregroundOrigin, __centre;
    double __cosine, __sine;

    std::array<QPoint, 4> corners() const;
};

/// Draws two plain 8-bit images over each other on an 8-bit display; where neither lies it is white. Each pixel of the
/// display takes the nearest one of the foreground. Tables of sines for columns and rows: a pixel costs two additions
/// and one look-up. Squares of a chessboard have this side. The pixels that are drawn become 1 in a mask of the same
/// size and format, if there is one; the others keep what it has.
void drawSections(QImage& display, const Image& background, const Image& foreground, const SectionPlaces& places,
                  const TransparencyMap& map, SectionComparison comparison = SectionComparison::Overlay,
                  QImage* drawn = nullptr);
inline constexpr int checkerboardSide = 48;

/// A display in colours: its own greys where the mask is not 0, else the ground.
QImage onGround(const QImage& display, const QImage& drawn, QRgb ground);

} // namespace vorlen
