#pragma once

#include <string>

#include "document/unreadtext.h"
#include "shapes/boundingbox.h"

namespace vorlen {

/// A marked region of a standard image, and the physical value that is known there.
class StandardSample : public UnreadText {
public:
    void setName(const std::string& name);
    const std::string& getName() const { return __name; }

    /// From (column, row) to (column, row), both corners included, in the displayed grid of the standard image.
    void setRegion(const BoundingBox<int>& region);
    const BoundingBox<int>& getRegion() const { return __region; }

    void setGrayLevel(double grayLevel);
    double getGrayLevel() const { return __grayLevel; }

    void setValue(double value);
    double getValue() const { return __value; }

private:
    std::string __name = "<?>";
    BoundingBox<int> __region;
    double __grayLevel = 0;
    double __value = 0;
};

} // namespace vorlen
