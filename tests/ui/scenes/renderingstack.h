#pragma once

#include <memory>
#include <string>
#include <vector>

#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "support/documentmaker.h"

namespace vorlen {

using Points = std::vector<std::pair<int, int>>;

/// A square of the given side, in pixels.
inline Points square(int side, int left = 0, int top = 0) {
    return {{left, top}, {left + side, top}, {left + side, top + side}, {left, top + side}};
}

/// Four slices at 0, 10, 20, 30, of pixels of width and height 2, with a blue cube of side 20 pixels over all of them
/// ("cube": a surface of 12 levels of 8 vertices with both caps), and green points on s1 ("dots").
inline std::unique_ptr<VRLStack> makeRenderingStack() {
    auto stack = std::make_unique<VRLStack>();
    stack->setName("small");
    stack->setDefaultSliceSpacing(10);
    addSlices(*stack, 4);
    PixelCalibration calibration;
    calibration.setPixelWidth(2);
    calibration.setPixelHeight(2);
    stack->setDefaultPixelCalibration(calibration);
    for (int k = 0; k < 4; ++k)
        stack->getSlice(k).setPixelCalibration(calibration);
    Model& cube = addModel(*stack, "cube");
    cube.getProperties().setQuadMeshHeight(12);
    cube.getProperties().setQuadMeshWidth(8);
    cube.getProperties().setBeginCapFlag(true);
    cube.getProperties().setEndCapFlag(true);
    cube.getItemProperties().setColor(0, 0, 255);
    for (int k = 0; k < 4; ++k)
        addItem(cube, stack->getSlice(k), square(20));
    Model& dots = addModel(*stack, "dots", PolypointPrimitive);
    dots.getItemProperties().setColor(0, 255, 0);
    addItem(dots, stack->getSlice(1), {{30, 10}, {40, 10}});
    stack->updateReconstruction();
    return stack;
}

} // namespace vorlen
