#include "document/slice.h"

#include "images/files/imagereader.h"
#include "images/filters/resizexform.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "numerics/maths.h"

namespace vorlen {

Slice::Slice() = default;

Slice::~Slice() = default;

void Slice::setName(const std::string& name) {
    __name = name;
}

void Slice::setAnnotation(const std::string& annotation) {
    __annotation = annotation;
}

void Slice::setImageSource(const ImageSource& source) {
    __imageSource.reset(source.clone());
}

const ImageSource& Slice::getImageSource() const {
    if (__imageSource == nullptr)
        throw ProgramError("const ImageSource& Slice::getImageSource() const", "This slice has no image source");
    return *__imageSource;
}

bool Slice::isEmpty() const {
    return __imageSource == nullptr || !__imageSource->isDefined();
}

void Slice::setPixelCalibration(const PixelCalibration& calibration) {
    __pixelCalibration = calibration;
}

int Slice::width() const {
    const double aspect = __pixelCalibration.getAspectRatio();
    const int columns = getImageSource().getSize2();
    return aspect > 1 ? Maths::fround(columns / aspect) : columns;
}

int Slice::height() const {
    const double aspect = __pixelCalibration.getAspectRatio();
    const int rows = getImageSource().getSize1();
    return aspect > 0 && aspect <= 1 ? Maths::fround(rows * aspect) : rows;
}

BoundingBox<int> Slice::boundingBox() const {
    Vector<int> lower(2);
    lower.fill(0);
    Vector<int> upper(2);
    upper[0] = width() - 1;
    upper[1] = height() - 1;
    return BoundingBox<int>(lower, upper);
}

void Slice::sizeForSize(unsigned int& w, unsigned int& h) const {
    const double sliceWidth = width();
    const double sliceHeight = height();
    if (sliceWidth < 1 || sliceHeight < 1)
        return;
    const double fullHeight = w * sliceHeight;
    const double fullWidth = h * sliceWidth;
    if (fullWidth > fullHeight)
        h = static_cast<unsigned int>(fullHeight / sliceWidth + 0.5);
    else if (fullWidth < fullHeight)
        w = static_cast<unsigned int>(fullWidth / sliceHeight + 0.5);
}

void Slice::load(Image& image) const {
    const ImageSource& source = getImageSource();
    const int columns = width();
    const int rows = height();
    if ((columns < 1 && source.getSize2() > 0) || (rows < 1 && source.getSize1() > 0))
        throw ValueError("void Slice::load(Image&) const", "The aspect ratio leaves no pixels of slice " + __name);
    ImageReader reader;
    reader.read(image, source);
    ResizeXForm resize(NearestInterpolationMode);
    resize.setSize(columns, rows);
    resize.apply(image);
}

} // namespace vorlen
