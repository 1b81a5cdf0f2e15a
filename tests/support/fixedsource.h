#pragma once

#include "values/imagesource.h"

namespace vorlen {

/// An image source of a fixed size, without an image.
class FixedSource : public ImageSource {
public:
    FixedSource(int rows, int columns, bool defined = true) : __rows(rows), __columns(columns), __defined(defined) {}
    FixedSource* clone() const override { return new FixedSource(*this); }
    int getType() const override { return 9; }
    bool isDefined() const override { return __defined; }
    int getSize1() const override { return __rows; }
    int getSize2() const override { return __columns; }
    int getDepth() const override { return 8; }
    const Colormap* getColormap() const override { return nullptr; }
    std::string getName() const override { return "fixed"; }
    void read(ImageReader&, Image&) const override {}
    ImageStatement getStatement() const override { return {"FIXED", {__rows, __columns}}; }

private:
    int __rows, __columns;
    bool __defined;
};

} // namespace vorlen
