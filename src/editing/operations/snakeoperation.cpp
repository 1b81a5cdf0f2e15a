#include "editing/operations/snakeoperation.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "document/stackgreyscale.h"
#include "document/stackslice.h"
#include "editing/operations/onestep.h"
#include "images/filters/resizexform.h"
#include "images/rasters/image.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"
#include "numerics/maths.h"
#include "snake/snake.h"

namespace vorlen {

namespace {

constexpr int maxIterations = 5000;
const char* const stopped = "The snake was stopped.";

Curve<float> reduced(const Vertices<int>& vertices, float scale) {
    const int n = vertices.getNumVertices();
    Curve<float> curve(2, n, n, 1, false);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < 2; ++j)
            curve[i][j] = float(vertices[i][j]) / scale;
    return curve;
}

} // namespace

/// What is held during the run only: the image and the snake with its edge map.
struct SnakeOperation::Work {
    PixelMatrix<float> image;
    std::optional<GreyScale> scale; // of the stack, once a slice asks for it
    Snake<float, float> snake;
};

SnakeOperation::SnakeOperation(VRLStack& stack, ModelItem& start, const SnakeConfig& config)
    : __stack(stack), __model(start.getModel()), __startSlice(start.getSlice()),
      __start(reduced(start.getVertices(), float(config.getScale()))), __config(config) {
    __driver.addMonitor(*this);
}

SnakeOperation::~SnakeOperation() = default;

Outcome SnakeOperation::runOnSlice() {
    return inRun("The snake has aborted. Suggestions:\n- change the original contour;\n- change the snake parameters.",
                 [this](EditStep& step) {
                     Curve<float> curve = __start;
                     runOver(step, *__startSlice, curve);
                 });
}

Outcome SnakeOperation::runOnRange(int reach, bool propagated) {
    __onRange = true;
    const int rank = __stack.findSlice(*__startSlice);
    const int lower = reach < 1 ? 0 : std::max(rank - reach, 0);
    const int upper = reach < 1 ? __stack.getNumSlices() - 1 : std::min(rank + reach, __stack.getNumSlices() - 1);
    __numSlices = static_cast<unsigned int>(upper - lower + 1);
    return inRun("The snake has found no contour on these slices.", [&](EditStep& step) {
        const auto runAlong = [&](int first, int end, int direction) {
            Curve<float> work = __start;
            for (int i = first; i != end && !isCanceled(); i += direction) {
                work.detach();
                if (!runOver(step, __stack.getSlice(i), work) && !isCanceled())
                    __passedOver.push_back(__stack.getSlice(i).getName());
                if (!propagated)
                    work = __start;
                ++__numSlicesDone;
            }
        };
        runAlong(rank, lower - 1, -1);
        runAlong(rank + 1, upper + 1, 1);
    });
}

Vertices<int> SnakeOperation::getContour() const {
    const int n = __work ? __work->snake.getCurve().getSize() : 0;
    Vertices<int> vertices(2, n, n, 1);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < 2; ++j)
            vertices[i][j] = int(Maths::fround(__work->snake.getCurve()[i][j] * float(__config.getScale())));
    return vertices;
}

void SnakeOperation::cancel() {
    __driver.cancel();
    ProgressSubject::cancel(); // NOLINT(bugprone-parent-virtual-call): the proxy's hands the request back to the driver
}

void SnakeOperation::subjectStarted(const std::string& text) {
    if (!__onRange)
        ProgressProxy::subjectStarted(text);
}

void SnakeOperation::subjectFinished(const std::string& text) {
    if (!__onRange)
        ProgressProxy::subjectFinished(text);
}

void SnakeOperation::subjectProgressed(const std::string&) {
}

void SnakeOperation::subjectProgressed(unsigned int current, unsigned int total) {
    ProgressProxy::subjectProgressed(__numSlicesDone * total + current, __numSlices * total);
}

template <class Run>
Outcome SnakeOperation::inRun(const std::string& nothing, Run&& run) {
    notifyStarted("Running snake...");
    struct End {
        SnakeOperation& operation;
        ~End() {
            operation.__work.reset();
            operation.notifyFinished(std::string());
        }
    } const end{*this};
    __work = std::make_unique<Work>();
    const Outcome outcome = inOneStep(__stack, nothing, run);
    return !outcome && isCanceled() ? Outcome::refused(stopped) : outcome;
}

/// Whether a contour was found; the curve is that then. A monitor may cancel whenever it hears something.
bool SnakeOperation::runOver(EditStep& step, StackSlice& slice, Curve<float>& curve) {
    __slice = &slice;
    if (__onRange)
        notifyProgressed("Running snake on slice " + slice.getName() + "...");
    if (isCanceled())
        return false;
    try {
        readImage(slice);
    } catch (const Exception&) {
        if (__onRange)
            return false;
        throw;
    }
    Snake<float, float>& snake = __work->snake;
    try {
        snake.setPixelMatrix(__work->image);
        snake.setConfig(__config, false); // init() makes the edge map in any case
        snake.setCurve(curve);
        snake.init();
        __driver.run(snake, maxIterations);
    } catch (const Exception&) {
        return false;
    }
    if (isCanceled())
        return false;
    curve = snake.getCurve();
    auto item = std::make_unique<ModelItem>();
    item->setModel(__model);
    item->setSlice(&slice);
    item->setVertices(getContour());
    applyCreation(step, std::move(item));
    ++__numContours;
    return true;
}

void SnakeOperation::readImage(const StackSlice& slice) {
    Image image;
    try {
        slice.load(image);
    } catch (const Exception& error) {
        const auto* const fileError = dynamic_cast<const FileError*>(&error);
        throw FileReadError("void SnakeOperation::readImage(const StackSlice&)",
                            "The image of the slice \"" + slice.getName() + "\" cannot be read: " + error.getWhat() +
                                (fileError != nullptr ? ": " + fileError->getFile() : std::string()));
    }
    if (const int scale = int(__config.getScale()); scale > 1) {
        ResizeXForm resize;
        resize.setSize(image.getWidth() / scale, image.getHeight() / scale);
        resize.apply(image);
    }
    PixelMatrix<float>& pixels = __work->image;
    switch (image.colorContent()) {
    case GreenContent:
        pixels.convertFromImage(image, GreenChannel);
        break;
    case BlueContent:
        pixels.convertFromImage(image, BlueChannel);
        break;
    case RedContent:
        pixels.convertFromImage(image, RedChannel);
        break;
    default:
        pixels.convertGreyFromImage(image);
    }
    if (!hasGreyScale(image))
        return;
    // The least strength of an edge is told in grey levels of bytes.
    if (!__work->scale)
        __work->scale = findGreyScale(__stack).value_or(GreyScale());
    const float step = __work->scale->white / 255; // by which a byte that was widened is divided exactly
    for (int i = 0; i < pixels.getSize1(); ++i)
        for (float& value : pixels[i])
            value = std::isfinite(value) ? value / step : 0;
}

} // namespace vorlen
