#include "values/imagesource.h"

namespace vorlen {

ImageSource::~ImageSource() = default;

Vector<int> ImageSource::getSize() const {
    Vector<int> size(2);
    size[0] = getSize1();
    size[1] = getSize2();
    return size;
}

} // namespace vorlen
