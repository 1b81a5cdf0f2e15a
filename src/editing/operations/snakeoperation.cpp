#include "editing/operations/snakeoperation.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "document/stackgreyscale.h"
#include "document/stackslice.h"
#include "document/subpixel.h"
#include "editing/actions/vrlitemverticeschangeaction.h"
#include "editing/operations/copyoperations.h"
#include "editing/operations/onestep.h"
#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "images/rasters/pixelmatrix.h"
#include "images/sections/imageparts.h"
#include "images/sections/sectionsource.h"
#include "numerics/exception.h"
#include "snake/snake.h"
#include "snake/snakeframe.h"

namespace vorlen {

namespace {

constexpr int maxIterations = 5000;
const char* const stopped = "The snake was stopped.";

/// How much of the image lies around the contour at first, in pixels of the frame, and how near to its end the snake
/// may come: as far as it looks for an edge, and so far that the end tells nothing in the edge map.
constexpr double leastMargin = 160;
constexpr double mapsReach = 24;

Curve<float> asCurve(const Vertices<double>& vertices) {
    const int n = vertices.getNumVertices();
    Curve<float> curve(2, n, n, 1, false);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < 2; ++j)
            curve[i][j] = float(vertices[i][j]);
    return curve;
}

double largestSide(const Curve<float>& curve) {
    double side = 0;
    for (const int axis : {0, 1}) {
        float lower = curve[0][axis], upper = lower;
        for (int i = 1; i < curve.getSize(); ++i) {
            lower = std::min(lower, curve[i][axis]);
            upper = std::max(upper, curve[i][axis]);
        }
        side = std::max(side, double(upper - lower));
    }
    return side;
}

template <class Work>
auto reading(const StackSlice& slice, Work&& work) {
    try {
        return work();
    } catch (const Exception& error) {
        const auto* const fileError = dynamic_cast<const FileError*>(&error);
        throw FileReadError("SnakeOperation", "The image of the slice \"" + slice.getName() +
                                                  "\" cannot be read: " + error.getWhat() +
                                                  (fileError != nullptr ? ": " + fileError->getFile() : std::string()));
    }
}

/// What a frame of a section too large for memory may have at most.
constexpr std::int64_t greatestPart = std::int64_t(64) << 20;

} // namespace

/// The image of a slice: all of it, or of a section too large for memory what a frame asks for.
struct SnakeOperation::Picture {
    explicit Picture(const StackSlice& slice_) : slice(slice_) {
        reading(slice, [this] {
            const std::shared_ptr<TiledSection> section = openLargeSection(slice.getImageSource());
            // A file without parts is as large as it was before.
            if (section != nullptr && !section->getLevels().empty()) {
                const ImageHeader& header = section->getHeader();
                isGrey = header.isReal() || header.getDepth() == 16;
                parts.emplace(section, greatestPart);
                return;
            }
            ImageReader().read(image, slice.getImageSource());
            isGrey = hasGreyScale(image);
            parts.emplace(image);
        });
    }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    /// Whether the frame is not too large.
    bool canBeRead(const SnakeFrame& frame) const { return parts->canRead(frame.width(), frame.height()); }

    PixelMatrix<float> pixels(const SnakeFrame& frame, float step) const {
        const ImageParts::Part part = reading(slice, [&] { return parts->read(frame.window()); });
        return frame.pixels(part, step);
    }

    const StackSlice& slice;
    Image image;
    std::optional<ImageParts> parts; // of the image, or of a section
    bool isGrey = false;             // values beyond bytes
};

/// What is held during the run only: the part of the image and the snake with its edge map.
struct SnakeOperation::Work {
    SnakeFrame frame;
    PixelMatrix<float> image;
    std::optional<GreyScale> scale; // of the stack, once a slice asks for it
    Snake<float, float> snake;
};

SnakeOperation::SnakeOperation(VRLStack& stack, ModelItem& start, const SnakeConfig& config)
    : __stack(stack), __startItem(&start), __model(start.getModel()), __startSlice(start.getSlice()),
      __start(asCurve(start.getVertices())), __config(config) {
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
                if (!isLeftAlone(__stack.getSlice(i), work) && !runOver(step, __stack.getSlice(i), work) &&
                    !isCanceled())
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

/// The curve becomes that of the outline that is there.
bool SnakeOperation::isLeftAlone(const StackSlice& slice, Curve<float>& curve) {
    if (!__passingOver || &slice == __startSlice)
        return false;
    const int n = curve.getSize();
    Curve<double> place(2, n, n, 1, false);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < 2; ++j)
            place[i][j] = double(curve[i][j]);
    const ModelItem* const there = outlineAt(slice, *__model, place);
    if (there == nullptr)
        return false;
    curve = asCurve(there->getVertices());
    ++__numOutlined;
    return true;
}

Vertices<double> SnakeOperation::getContour() const {
    const int n = __work ? __work->snake.getCurve().getSize() : 0;
    Vertices<double> vertices(2, n, n, 1);
    if (n == 0)
        return vertices;
    const Curve<float> curve = __work->frame.toSlice(__work->snake.getCurve());
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < 2; ++j)
            vertices[i][j] = subpixel(double(curve[i][j]));
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
        if (!converge(Picture(slice), slice.getPixelCalibration().getAspectRatio(), curve))
            return false;
    } catch (const FileReadError&) {
        if (__onRange)
            return false;
        throw;
    }
    if (isCanceled())
        return false;
    curve = __work->frame.toSlice(__work->snake.getCurve());
    keepContour(step, slice);
    ++__numContours;
    return true;
}

void SnakeOperation::keepContour(EditStep& step, StackSlice& slice) {
    const auto has = [&slice](const ModelItem* item) {
        for (int i = 0; i < slice.getNumItems(); ++i)
            if (&slice.getItem(i) == item)
                return true;
        return false;
    };
    if (__replacing && &slice == __startSlice && has(__startItem)) {
        auto action = std::make_unique<VRLItemVerticesChangeAction>(*__startItem);
        action->setVertices(getContour());
        step.apply(std::move(action));
        return;
    }
    auto item = std::make_unique<ModelItem>();
    item->setModel(__model);
    item->setSlice(&slice);
    item->setVertices(getContour());
    applyCreation(step, std::move(item));
}

/// Runs the snake on the part of the image around the curve; on a larger one, and at last on the whole, when it comes
/// near to the end of it. False when it collapses.
bool SnakeOperation::converge(const Picture& image, double aspect, const Curve<float>& curve) {
    const int width = image.parts->getWidth(), height = image.parts->getHeight();
    if (width < 1 || height < 1 || curve.getSize() < 1)
        return false;
    Snake<float, float>& snake = __work->snake;
    SnakeFrame& frame = __work->frame;
    const double distance = __config.getDistance() + mapsReach / std::clamp(double(__config.getAlpha()), 0.1, 1.0);
    // The least strength of an edge is told in grey levels of bytes.
    if (image.isGrey && !__work->scale)
        __work->scale = findGreyScale(__stack).value_or(GreyScale());
    const float step = image.isGrey ? __work->scale->white / 255 : 1;
    double margin = std::max({leastMargin, 2 * distance, largestSide(curve) / std::max(__config.getScale(), 1u)});
    for (;; margin *= 4) {
        frame = SnakeFrame(width, height, aspect, __config.getScale(), curve, margin);
        if (!image.canBeRead(frame))
            return false;
        bool collapsed = false;
        try {
            __work->image = image.pixels(frame, step);
            snake.setPixelMatrix(__work->image);
            snake.setConfig(__config, false); // init() makes the edge map in any case
            snake.setCurve(frame.toFrame(curve));
            snake.init();
            __driver.run(snake, maxIterations);
        } catch (const SizeError&) {
            collapsed = true;
        } catch (const FileReadError&) {
            throw;
        } catch (const Exception&) {
            return false;
        }
        if (isCanceled() || frame.isWhole() || (!collapsed && !frame.isLeftBy(snake.getCurve(), distance)))
            return !collapsed;
    }
}

} // namespace vorlen
