// The reader of stack descriptions on arbitrary bytes, and the writer on what it read.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include <unistd.h>

#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "numerics/exception.h"

namespace vorlen {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string name = "/tmp/vorlen-fuzz-stack-" + std::to_string(::getpid()) + ".sdf";
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (file == nullptr)
        return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    try {
        Stack stack;
        StackReader().read(stack, name);
        StackWriter().toText(stack, "/tmp/");
    } catch (const Exception&) {
    }
    ::unlink(name.c_str());
    return 0;
}

} // namespace vorlen
