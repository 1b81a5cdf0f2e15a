#pragma once

#include <cmath>
#include <memory>
#include <string>

#include "document/stackslice.h"
#include "document/stackwriter.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/documentmaker.h"
#include "support/temporaryfolder.h"

namespace vorlen {

/// How a section lies: its picture is the tissue, seen from a place that is shifted and turned.
struct SectionPose {
    double right = 0, down = 0, degrees = 0;
};

/// Grey of the tissue at a place about its middle: bright spots of several sizes on a dark ground, none like another.
inline double tissueGrey(double x, double y) {
    struct Spot {
        double x, y, radius, grey;
    };
    static constexpr Spot spots[] = {{-60, -30, 22, 180}, {40, -50, 14, 220}, {70, 35, 26, 150}, {-20, 45, 18, 230},
                                     {5, -5, 9, 120},     {-85, 50, 10, 200}, {95, -20, 8, 240}, {25, 20, 6, 190},
                                     {-40, 5, 7, 240},    {60, -15, 5, 130}};
    double grey = 20;
    for (const Spot& spot : spots) {
        const double distance = std::hypot(x - spot.x, y - spot.y) / spot.radius;
        grey += (spot.grey - 20) * std::exp(-distance * distance * distance * distance);
    }
    return std::min(grey + 8 * std::sin(x * 0.35) * std::cos(y * 0.27 + x * 0.05), 250.0);
}

/// The picture that a registration of (right, down, degrees) brings back onto an unmoved one.
inline Image sectionPicture(int width, int height, const SectionPose& pose) {
    Image image(width, height, 8);
    const double angle = pose.degrees * 3.14159265358979323846 / 180;
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column) {
            const double x = column + 0.5 - width / 2.0, y = row + 0.5 - height / 2.0;
            image.getPixels()[row][column] =
                static_cast<unsigned char>(tissueGrey(std::cos(angle) * x - std::sin(angle) * y + pose.right,
                                                      std::sin(angle) * x + std::cos(angle) * y + pose.down));
        }
    return image;
}

/// A stack named "pile" of one slice of 240 by 160 pixels for each pose, "s0", "s1", ..., in this folder.
inline std::unique_ptr<VRLStack> makePile(const TemporaryFolder& folder, const std::vector<SectionPose>& poses) {
    auto stack = std::make_unique<VRLStack>();
    stack->setName("pile");
    addSlices(*stack, int(poses.size()));
    for (int i = 0; i < stack->getNumSlices(); ++i) {
        const std::string file = folder.file("s" + std::to_string(i) + ".tif");
        ImageWriter().write(sectionPicture(240, 160, poses[std::size_t(i)]), file, true);
        ImageSourceFile source;
        source.setFilename(file);
        stack->getSlice(i).setImageSource(source);
    }
    stack->updateReconstruction();
    return stack;
}

} // namespace vorlen
