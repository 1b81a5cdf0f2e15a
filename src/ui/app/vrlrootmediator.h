#pragma once

#include <functional>
#include <memory>
#include <string>

#include <QObject>
#include <QPointer>

#include "editing/bus/vrleventclient.h"
#include "ui/app/samplestack.h"
#include "ui/commands/commandregistry.h"
#include "ui/slices/canvasmode.h"

class QMenu;
class QMenuBar;
class QToolBar;

namespace vorlen {

class BlackWhiteDoubleSlider;
class ContrastDialog;
class StackSlice;
class StepWatch;
class StillLook;
class VRLMenu;
class VRLOverviewWidget;
class VRLPanorama;
class VRLRootSliceEditWidget;
class VRLRootStatusBar;
class VRLRootWindow;
class VRLSliceListWidget;
class VRLStack;
class VRLStackIO;
class VRLStackListWidget;
class Workspace;

/// The commands of a root window, and what is current in it: a stack and a slice of it, or none.
///
/// A command that fails shows a message and leaves the document as it was.
class VRLRootMediator : public QObject, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLRootMediator(VRLRootWindow& window);
    ~VRLRootMediator() override;

    /// Called by the window in this order, and initialize() last.
    void setMenuBar(QMenuBar& menuBar);
    void setStackListWidget(VRLStackListWidget& list);
    void setSliceListWidget(VRLSliceListWidget& list);
    void setToolBar(QToolBar& toolBar);
    void setRootWidget(VRLRootSliceEditWidget& widget);
    void setStatusBar(VRLRootStatusBar& statusBar);
    void setPanorama(VRLPanorama& panorama);
    void initFileMenu(QMenu& menu);
    void initEditMenu(QMenu& menu);
    void initProcessMenu(QMenu& menu);
    void initAnalyzeMenu(QMenu& menu);
    void initialize();
    /// After initialize().
    void setWorkspace(Workspace& workspace);

    VRLStack* currentStack() const { return __stack; }
    StackSlice* currentSlice() const { return __slice; }
    /// Whether something is drawn or edited, in this window or in another.
    bool isLocked() const { return __locked; }

    VRLOverviewWidget& overview() { return *__overview; }

    /// All commands of the window; their ids stand in rootCommands().
    CommandRegistry& commands() { return __commands; }

    /// Enables the commands that make sense now.
    void updateActions();

    void stackOpenEvent(VRLStackOpenEvent& event) override;
    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackNameEvent(VRLStackNameEvent& event) override;
    void stackFileNameEvent(VRLStackFileNameEvent& event) override;
    void stackModifyEvent(VRLStackModifyEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void sliceAnnotationEvent(VRLSliceAnnotationEvent& event) override;
    void sliceLockEvent(VRLSliceLockEvent& event) override;
    void sliceNameEvent(VRLSliceNameEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;

public slots:
    /// Makes the stack current, and a slice of it: the given one, else the one that was segmented last, else the first.
    void setStack(VRLStack& stack, StackSlice* slice = nullptr);
    void setSlice(StackSlice& slice);

    void createStack();
    void createStackFromFile();
    void openStack();
    void openStack(const QString& file);
    /// Stack files, images and folders of images.
    void openDropped(const QStringList& paths);
    void updateRecentFilesMenu();
    void saveStack();
    void saveStackAs();
    void closeStack();
    void closeAllStacks();
    /// Say what was undone, redone, and where, and go to the slice where it is not the current one. A drawing that was
    /// given up is shown again, to be gone on with.
    void undo();
    void redo();
    /// Asks first: what was done can't be undone then, also when the file is opened again.
    void clearHistory();
    void runStackModelsDialog();
    void runStackModelExchangeDialog();
    void runModelFilterDialog();
    void insertSlice();
    void findImages();
    /// The slices that are selected in the panorama, while it is shown; else the current one.
    void deleteSlice();
    void runStackPropertiesDialog();
    void runSlicePropertiesDialog();
    void runStackAnnotationDialog();
    void runSliceAnnotationDialog();
    void runPreferencesDialog();
    /// One window for a stack: an open one comes to the front.
    void registerCurrentStack();
    void renderCurrentStack();
    void runSpotExtraction();
    void runAnalysis();
    /// Lists, for each open stack, how far the points of the model "spotBarycenters" lie from the surface of the model
    /// "cell". Stacks where this cannot be told are named in a message.
    void runOmbrelAction1();
    /// One of the two takes the place of the other.
    void showPanorama();
    void showPlainview();
    void showPlainview(StackSlice& slice);
    void showOverview(bool shown);
    /// The window with the histogram, which stays open and follows.
    void showContrast();
    void setFirstSlice();
    void setLastSlice();
    void setNextSlice();
    void setPreviousSlice();
    /// Goes to the slice that was shown before this one, and back.
    void flipSlices();
    /// Goes to the next slice that lacks the current model between others.
    void setNextLackingSlice();
    /// Shows or hides the crosshair in all windows. It comes to the middle of what is seen first.
    void toggleCrosshair();
    /// Shows the slice nearest to the place of the stack's crosshair, and the part of it where it lies.
    void goToCrosshair();
    /// Undoes so many steps; redoes them for a number below 0.
    void goInHistory(int numSteps);
    void sliceSelectionChange();
    void stackSelectionChange();
    void stackHistoryChange();
    void setCanvasMode(CanvasMode mode);
    void lockRequest(const bool on);

private:
    void bindFileCommands();
    void bindEditCommands();
    void bindProcessCommands();
    void bindViewCommands();
    void bindWindowCommands();
    int numOpenStacks() const;
    bool isAt(int position) const;
    void initializePanorama();
    void initializeOverview();
    void showInOverview();
    void clearCurrentStack();
    void updateStatusBarDisplay();
    void reloadSlices(int position);
    void guarded(const QString& task, const std::function<void()>& command);
    void withStackIO(const QString& task, const std::function<VRLStack*(VRLStackIO&)>& command);
    void bindWorkspaceCommands();
    void bindSample();
    void updateWorkspace();
    void showScaleBar(bool shown);
    void bindCrosshair();
    void crosshairMoved(const VRLStack* stack, const QObject* source);
    void goTo(int position);
    void leaveFor(StackSlice& slice);
    void showStep(const QString& verb, const QString& what, const StepWatch& watch);
    void tellStep(const QString& message);
    void forgetStep();
    void lockPanels(bool locked);

    VRLRootWindow& __window;
    VRLStack* __stack = nullptr;
    StackSlice* __slice = nullptr;
    StackSlice* __lockedSlice = nullptr; // by this window
    VRLStackListWidget* __stackList = nullptr;
    VRLSliceListWidget* __sliceList = nullptr;
    QToolBar* __toolBar = nullptr;
    VRLRootSliceEditWidget* __sliceWidget = nullptr;
    VRLRootStatusBar* __statusBar = nullptr;
    VRLPanorama* __panorama = nullptr;
    BlackWhiteDoubleSlider* __slider = nullptr; // the tool bar's
    QPointer<ContrastDialog> __contrast;        // the window's, while it is open
    std::unique_ptr<VRLOverviewWidget> __overview;
    Workspace* __workspace = nullptr;
    StackSlice* __slicePaired = nullptr; // that was shown before the current one, of the same stack
    VRLMenu* __recentFilesMenu = nullptr;
    SampleStack __sample;
    CommandRegistry __commands{*this};
    std::unique_ptr<StillLook> __stillLook; // of the panels, over a stroke
    QString __stepTold;                     // what was said last about a step; it goes with the next one
    bool __locked = false;
    bool __stackCloses = false; // one that is still counted
};

} // namespace vorlen
