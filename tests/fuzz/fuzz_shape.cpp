// The readers of shape files on arbitrary bytes, and the writers on what they read.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

#include <unistd.h>

#include "numerics/exception.h"
#include "shapes/boundingbox.h"
#include "shapes/shape.h"

namespace {

std::string textOf(const std::ostringstream& stream) {
    return stream.str();
}

/// A shape that was read is written in a form that gives the same shape again.
template <class T>
void readAndWrite(const std::string& name) {
    std::unique_ptr<Shape<T>> shape;
    try {
        shape.reset(Shape<T>::loadFile(name));
    } catch (const Exception&) {
        return;
    }
    shape->boundingBox();
    std::ostringstream first;
    shape->write(first);
    const int size = shape->getSize();
    std::istringstream text(textOf(first));
    shape->read(text);
    std::ostringstream second;
    shape->write(second);
    if (shape->getSize() != size || textOf(first).size() != textOf(second).size())
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
