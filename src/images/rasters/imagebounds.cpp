#include "images/files/imagemosaic.h"
#include "images/rasters/image.h"
#include "shapes/boundingbox.h"

namespace vorlen {

// Kept apart from the other operations of these classes: only who asks for a box needs the shapes to link.

static BoundingBox<int> pixelBox(int width, int height) {
    Vector<int> first(2);
    first.setZeros();
    Vector<int> second(2);
    second[0] = width - 1;
    second[1] = height - 1;
    return BoundingBox<int>(first, second);
}

BoundingBox<int> Image::boundingBox() const {
    return pixelBox(getWidth(), getHeight());
}

BoundingBox<int> ImageMosaic::boundingBox() const {
    return pixelBox(getWidth(), getHeight());
}

} // namespace vorlen
