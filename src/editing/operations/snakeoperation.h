#pragma once

#include <memory>
#include <string>
#include <vector>

#include "editing/operations/outcome.h"
#include "progress/progressproxy.h"
#include "shapes/curve.h"
#include "snake/snakeconfig.h"
#include "snake/snakedriver.h"

namespace vorlen {

class EditStep;
class Image;
class Model;
class ModelItem;
class StackSlice;
class VRLStack;

/// Runs a snake that begins with a contour, on its slice or on a range of slices, and adds what it finds as new items
/// of the contour's model, all in one step of the stack's history. The contour that it begins with stays as it is,
/// unless it is to be replaced: then it takes the course of what is found on its slice.
///
/// Monitors hear of one task; on a range the steps count as parts of the whole run, and its slices are named. On a
/// single slice what the snake tells of its beginning and end is relayed. A monitor may look at the contour as it
/// stands, and cancel: the run ends before it touches the document again, and keeps the slices that are done.
///
/// The snake runs on the part of the image around the contour, with square pixels whatever those of the slice are
/// (SnakeFrame); on a larger part when it goes near to the end of that.
///
/// An object makes one run. Stack, slices and model must live until the run has ended or has been cancelled.
class SnakeOperation : public ProgressProxy {
public:
    SnakeOperation(VRLStack& stack, ModelItem& start, const SnakeConfig& config);
    ~SnakeOperation() override;

    /// Whether the contour that the run begins with is given the vertices found on its slice, in place of a new item.
    void setReplacing(bool on) { __replacing = on; }

    /// Whether a range leaves those slices alone that have a closed outline of the model where the snake would begin
    /// there. With propagation the next slice begins with that outline.
    void setPassingOver(bool on) { __passingOver = on; }

    /// On the slice of the contour. Refused when the snake collapses and when it is cancelled. Throws FileReadError,
    /// naming the file, when the image cannot be read.
    Outcome runOnSlice();

    /// On so many slices before and behind that of the contour, and on that; below 1 on all of the stack. Each of the
    /// two ways begins with the contour that was given; with propagation a slice begins with what was found on the one
    /// before it, else all begin so. A slice whose image cannot be read, or on which the snake collapses, is passed
    /// over. Done when a contour was added anywhere.
    Outcome runOnRange(int reach, bool propagated);

    /// Where the run is: null before the first slice.
    const StackSlice* getSlice() const { return __slice; }
    bool isOnRange() const { return __onRange; }
    int getNumSlices() const { return int(__numSlices); }
    int getNumSlicesDone() const { return int(__numSlicesDone); }
    int getNumContours() const { return __numContours; }
    /// How many slices were left alone as they had an outline.
    int getNumOutlined() const { return __numOutlined; }
    /// The names of the slices on which nothing was found, in the order of the run.
    const std::vector<std::string>& getSlicesWithoutContour() const { return __passedOver; }

    /// The contour as it stands, in pixels of the slice; without vertices before the snake's first step and after the
    /// run.
    Vertices<double> getContour() const;

    void cancel() override;

    using ProgressProxy::subjectCanceled;
    void subjectStarted(const std::string& text) override;
    void subjectFinished(const std::string& text) override;
    /// Says nothing: what the snake does between its steps is no news.
    void subjectProgressed(const std::string& text) override;
    void subjectProgressed(unsigned int current, unsigned int total) override;

private:
    struct Picture;
    struct Work;

    template <class Run>
    Outcome inRun(const std::string& nothing, Run&& run);
    bool runOver(EditStep& step, StackSlice& slice, Curve<float>& curve);
    bool isLeftAlone(const StackSlice& slice, Curve<float>& curve);
    void keepContour(EditStep& step, StackSlice& slice);
    bool converge(const Picture& image, double aspect, const Curve<float>& curve);

    VRLStack& __stack;
    ModelItem* __startItem; // not to be looked into: it may go during the run
    Model* __model;
    StackSlice* __startSlice;
    Curve<float> __start; // in pixels of the slice
    SnakeConfig __config;
    SnakeDriver<float, float> __driver;
    std::unique_ptr<Work> __work; // of the run
    StackSlice* __slice = nullptr;
    bool __onRange = false;
    bool __replacing = false;
    bool __passingOver = false;
    unsigned int __numSlices = 1;
    unsigned int __numSlicesDone = 0;
    int __numContours = 0;
    int __numOutlined = 0;
    std::vector<std::string> __passedOver;
};

} // namespace vorlen
