// The readers of shape files on arbitrary bytes, and the writers on what they read.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include <unistd.h>

#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/shape.h"

namespace vorlen {

namespace {

template <class T>
void writeAndRead(Shape<T>& shape) {
    std::ostringstream written;
    shape.write(written);
    std::istringstream text(std::move(written).str());
    shape.read(text);
}

/// What was read is written in a form that is read again; once rounded to its digits, it stays as it is.
template <class T>
void readAndWrite(const std::string& name) {
    std::unique_ptr<Shape<T>> shape;
    try {
        shape.reset(Shape<T>::loadFile(name));
    } catch (const Exception&) {
        return;
    }
    shape->boundingBox();
    const int size = shape->getSize();
    const ShapeType type = shape->getShapeType();
    writeAndRead(*shape);
    const Vector<T> rounded = shape->toVector();
    writeAndRead(*shape);
    if (shape->getSize() != size || shape->getShapeType() != type || shape->toVector() != rounded)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string name = "/tmp/vorlen-fuzz-shape-" + std::to_string(::getpid()) + ".cv";
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (file == nullptr)
        return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    readAndWrite<float>(name);
    readAndWrite<int>(name);
    readAndWrite<long double>(name);
    ::unlink(name.c_str());
    return 0;
}

} // namespace vorlen
