#include "document/standardsample.h"

namespace vorlen {

void StandardSample::setName(const std::string& name) {
    __name = name;
}

void StandardSample::setRegion(const BoundingBox<int>& region) {
    __region = region;
}

void StandardSample::setGrayLevel(double grayLevel) {
    __grayLevel = grayLevel;
}

void StandardSample::setValue(double value) {
    __value = value;
}

} // namespace vorlen
