#pragma once

#include <memory>

#include <QObject>

#include "document/model.h"
#include "images/volumes/voxelmatrix.h"
#include "progress/progresssubject.h"
#include "spots/spotlabels.h"
#include "spots/spotsuggestion.h"
#include "values/imagecolorcontent.h"

class QWidget;

namespace vorlen {

class ModelItem;
class VRLSliceEditWidgetCanvas;
class VRLStack;

/// One search for spots in a stack, from the question how to the models: reads the volume, filters it, asks for the
/// threshold with a preview on a canvas, and adds the spots in one step of the stack's history. Everything before that
/// leaves the stack as it was. The settings outlive the run, until the program ends.
///
/// The filters are those that the images suggest, until the user chooses others: see lookForSpots(). The settings then
/// have them, and the threshold dialog tells them.
///
/// Filters run on the thread of the window; the progress dialog lets the user cancel within each of them. More than
/// mostSeparateModels models are made only after a question.
class VRLSpotExtractionProcess : public QObject, public ProgressSubject {
    Q_OBJECT

public:
    explicit VRLSpotExtractionProcess(QObject* parent = nullptr);
    ~VRLSpotExtractionProcess() override;

    /// Where the preview shows, if a slice of the stack is there. Seen, not owned.
    void setCanvas(VRLSliceEditWidgetCanvas& canvas);

    /// Tells in a message why, when spots can't be sought in the stack. Throws what reading of images throws.
    void run(VRLStack& stack);

    /// How many spots run() has added.
    int getNumSpots() const { return __numSpots; }

    static const VRLSpotExtractionConfig& config() { return __config; }

    /// What the last run() has seen in the images; without spots where it did not look.
    const SpotSuggestion& suggestion() const { return __suggestion; }

    static constexpr int mostSeparateModels = 1000;
    /// Marks on the canvas; a preview with more is left to the threshold dialog.
    static constexpr int mostMarks = 200000;

public slots:
    /// Marks what the threshold takes of the slice that the canvas shows.
    void thresholdChanged(double threshold);

private:
    QWidget* parentWidget() const;
    bool readAndFilter(const VRLStack& stack);
    bool filter();
    bool threshold(const VRLStack& stack);
    bool agreeOnModels();
    void createModels(VRLStack& stack);
    void clearPreview();
    int plane() const;

    static VRLSpotExtractionConfig __config;

    VoxelMatrix<float> __grey;
    VoxelMatrix<float> __filtered;
    SpotSuggestion __suggestion;
    ImageColorContent __channel = GreenContent;
    VRLSliceEditWidgetCanvas* __canvas = nullptr;
    std::unique_ptr<ModelItem> __previewItem;
    Model __previewModel;
    std::shared_ptr<const SpotLabels> __found;
    int __numSpots = 0;
};

} // namespace vorlen
