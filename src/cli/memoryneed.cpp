#include "cli/memoryneed.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>

#include "cli/stackfile.h"
#include "document/model.h"
#include "document/stackslice.h"

namespace vorlen {

namespace {

void tell(const std::string& what, double bytes) {
    std::cout << what << ": takes about " << memoryText(bytes) << " of memory\n";
}

/// Of a file, whose ending may have been left out.
double bytesOf(const std::string& file) {
    for (const std::string& name : {file, file + ".sdf"}) {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(name, error);
        if (!error)
            return double(size);
    }
    return 0;
}

double greatestSection(const Stack& stack) {
    double pixels = 0;
    for (int k = 0; k < stack.getNumSlices(); ++k)
        pixels = std::max(pixels, double(stack.getSlice(k).width()) * double(stack.getSlice(k).height()));
    return pixels;
}

double greatestMesh(const Stack& stack) {
    double vertices = 0;
    for (int k = 0; k < stack.getNumModels(); ++k) {
        const ModelProperties& model = stack.getModel(k).getProperties();
        if (model.getGeometry() != PolypointPrimitive && model.definesQuadMeshWidth() && model.definesQuadMeshHeight())
            vertices = std::max(vertices, double(model.getQuadMeshWidth()) * double(model.getQuadMeshHeight()));
    }
    return vertices;
}

} // namespace

std::string memoryText(double bytes) {
    const double mebibytes = bytes / (1024 * 1024);
    return mebibytes < 1000 ? shortNumber(std::ceil(mebibytes)) + " MiB"
                            : shortNumber(std::round(mebibytes / 102.4) / 10) + " GiB";
}

int tellMemory(const std::vector<std::string>& files, const MemoryNeed& need) {
    int status = ExitGood;
    double sum = need.own;
    for (const std::string& name : files) {
        const StackFile file(name);
        if (!file.isOpened()) {
            status = std::max(status, file.report());
            continue;
        }
        const double bytes = need.ofDescription * bytesOf(name) + need.ofPixel * greatestSection(file.getStack()) +
                             need.ofMeshVertex * greatestMesh(file.getStack());
        sum += bytes;
        if (!need.together)
            tell(name, need.own + bytes);
    }
    if (need.together && status == ExitGood)
        tell("All together", sum);
    return status;
}

int tellMemoryOfFiles(const std::vector<std::string>& files, double ofByte) {
    int status = ExitGood;
    for (const std::string& name : files) {
        if (std::error_code error; !std::filesystem::is_regular_file(name, error)) {
            std::cerr << "vorlen-cli: " << name << ": there is no such file\n";
            status = ExitFileError;
            continue;
        }
        tell(name, MemoryNeed().own + ofByte * bytesOf(name));
    }
    return status;
}

} // namespace vorlen
