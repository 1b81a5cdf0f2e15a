#pragma once

#include <memory>
#include <optional>

#include <QPointer>
#include <QWidget>

#include "ui/comparison/comparisonpictures.h"
#include "ui/comparison/vrlcomparisondialog.h"
#include "ui/progress/vrlprogressproxy.h"
#include "ui/viewer/viewermediator.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QMenuBar;
class QScrollArea;
class QSlider;
class QThread;

namespace vorlen {

class DensityColorScale;
struct ComparisonFiles;
class ViewerCanvasGL;
class ViewerPosePanel;
class VRLComparisonRun;
class VRLStatusBar;
class VRLTableWidget;

/// Compares groups of specimens, and shows where they differ: the significant places, planes through the maps, and a
/// table of the clusters, a click in which moves the plane to the peak.
///
/// A comparison runs on a thread of its own; it can be cancelled, which leaves the window as it was before, and a
/// failure is told in a message. The end of the window cancels it and waits. Results are those of vorlen-cli compare,
/// to the same bits for the same seed. The window deletes itself when it is closed.
class VRLComparisonWindow : public QWidget {
    Q_OBJECT

public:
    explicit VRLComparisonWindow(const ComparisonOffer& offer = {}, QWidget* parent = nullptr);
    ~VRLComparisonWindow() override;

    CommandRegistry& commands() { return __mediator.commands(); }
    ViewerMediator& getMediator() { return __mediator; }
    ViewerCanvasGL& getCanvas() const { return *__canvas; }
    VRLTableWidget& getTable() const { return *__table; }

    /// Starts with this; newComparison() asks for one.
    void start(const ComparisonRequest& request);
    bool isRunning() const { return __run != nullptr; }
    /// The one that is shown; null before the first is done.
    const GroupComparison* getComparison() const;

    /// Moves the plane: axis 0 to 2, element counted from 0.
    void setPlane(int axis, int index);
    void setMap(ComparedMap map);

public slots:
    void newComparison();
    void cancelComparison();
    /// Asks for the name that the files begin with, and whether files that are there may be replaced.
    void saveResults();

private:
    void buildMenus();
    QWidget* buildPanel();
    void endRun();
    void comparisonCompleted();
    void comparisonFailed(const QString& reason);
    void showResult();
    void showTable();
    void showVertices();
    void addPainters();
    void removePainters();
    void refreshCanvas();
    void refreshPlane();
    void refreshShown();
    void goToPeak();
    bool mayReplace(const ComparisonFiles& files);
    QString unitText() const;

    ComparisonOffer __offer;
    std::optional<ComparisonRequest> __request; ///< that was last asked for
    ViewerMediator __mediator;
    VRLProgressProxy __progress;
    std::unique_ptr<VRLComparisonRun> __run;  ///< that goes on
    std::unique_ptr<VRLComparisonRun> __done; ///< that is shown
    std::unique_ptr<QThread> __worker;
    std::unique_ptr<ComparisonPictures> __pictures;
    std::optional<LengthUnit> __unit; ///< of what is shown
    ViewerCanvasGL* __canvas;
    ViewerPosePanel* __panel;
    QScrollArea* __panelArea;
    VRLTableWidget* __table;
    QLabel* __summary;
    QCheckBox* __above;
    QCheckBox* __below;
    QCheckBox* __around;
    QCheckBox* __planeShown;
    QComboBox* __map;
    QComboBox* __axis;
    QSlider* __slice;
    QLabel* __sliceLabel;
    DensityColorScale* __scale;
    VRLStatusBar* __statusBar;
    QMenuBar* __menuBar;
};

} // namespace vorlen
