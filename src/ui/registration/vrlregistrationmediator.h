#pragma once

#include <map>
#include <vector>

#include <QObject>

#include "editing/bus/vrleventclient.h"
#include "progress/progresssubject.h"
#include "ui/commands/commandregistry.h"
#include "ui/registration/automaticregistration.h"
#include "ui/registration/bendingrun.h"
#include "ui/registration/vrlautomaticregistrationconfig.h"
#include "ui/registration/vrlregistrationcanvas.h"
#include "ui/registration/vrlregistrationpanel.h"
#include "values/registration.h"

namespace vorlen {

class LandmarkPanel;
class RegistrationReportDialog;
class StackSlice;
class StripView;
class VRLAutomaticRegistrationPanel;
class VRLRegistrationStatusBar;
class VRLRegistrationToolBar;
class VRLStack;

/// What is current in a registration window: a stack, a slice of it that is not the first, and the registration that is
/// shown and not yet the slice's. Each registration that is applied is a step of the stack's history, and so is a whole
/// automatic run.
///
/// Leaving a slice applies what was done on it; where that is refused the slice stays current. Widgets are seen, not
/// owned.
///
/// Landmarks are kept for each slice as long as the window is open. While they are set the two sections are shown by
/// turns, the one on which the next click is meant.
///
/// Decisions: an undo drops what was not applied before it touches the history. A slice whose registration is changed
/// elsewhere shows the new one. While automatic registration runs nothing else can be done in the window; a run whose
/// stack has lost or gained slices meanwhile comes to nothing, and says so.
class VRLRegistrationMediator : public QObject, public VRLEventClient, public ProgressSubject {
    Q_OBJECT

public:
    VRLRegistrationMediator(QWidget& window, VRLRegistrationCanvas& canvas, VRLRegistrationPanel& panel,
                            VRLAutomaticRegistrationPanel& automaticPanel, LandmarkPanel& landmarkPanel,
                            StripView& strips, VRLRegistrationStatusBar& statusBar, VRLRegistrationToolBar& toolBar);
    ~VRLRegistrationMediator() override;

    /// Connects the widgets with each other.
    void initialize();

    VRLStack* getStack() const { return __stack; }
    StackSlice* getSlice() const { return __slice; }
    const Registration& getRegistration() const { return __registration; }
    /// Of the current slice.
    const std::vector<Landmark>& getLandmarks() { return landmarks(); }
    CommandRegistry& commands() { return __commands; }

    /// Whether something is shown that is not the slice's.
    bool isPending() const;
    bool isRunning() const { return __automatic.isRunning() || __bending.isRunning(); }

    /// Shows nothing any more, and forgets what was not applied.
    void clear();

    /// The run ends, and what was done is kept, before this returns.
    void finishRun();

    void stackRegistrationEvent(VRLStackRegistrationEvent& event) override;
    void stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) override;
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) override;
    void stackNameEvent(VRLStackNameEvent& event) override;
    void sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) override;
    void sliceImageSourceEvent(VRLSliceImageSourceEvent& event) override;
    void sliceNameEvent(VRLSliceNameEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemVertexEvent(VRLModelItemVertexEvent& event) override;
    void modelItemAttributeEvent(VRLModelItemAttributeEvent& event) override;

public slots:
    /// Throws UsageError for a stack of fewer than 2 slices.
    void setStack(VRLStack& stack);
    void setSlice(StackSlice& slice);
    void setSlice(const QString& name);
    void setFirstSlice();
    void setNextSlice();
    void setPreviousSlice();
    void setLastSlice();
    void setRegistration(const Registration& registration);
    void reset();
    void restore();
    void apply();
    void cancel() override;
    void increaseScale();
    void decreaseScale();
    void runAutomaticRegistration(const VRLAutomaticRegistrationConfig& config);
    void registerCurrentSlice();
    void registerAllSlices();
    void cancelAutomaticRegistration();
    /// Asks how, and makes a new stack of slices that are bent onto each other, which is opened.
    void bendSlices();
    void setLocked(bool locked);
    void setComparison(ComparisonMode mode);
    void undo();
    void redo();
    void setLandmarkMode(bool on);
    /// Shows the registration that fits the landmarks best.
    void fitLandmarks();
    void deleteLandmark(int landmark);
    void clearLandmarks();
    void setStripsVisible(bool visible);

    /// In pixels of the image and in degrees, clockwise. Nothing on a locked slice.
    void nudge(double right, double down, double angle);

private:
    void bindCommands();
    void bindViewCommands();
    bool tryApply();
    void goTo(int place);
    int place() const;
    bool isLocked() const;
    void setScale(int change);
    void beginRun(const char* text);
    void endRun();
    void takeBending();
    std::vector<int> lockedPlaces() const;
    void takeResults();
    bool slicesAreThoseOfRun() const;
    void scoreSlices();
    int placeAfterRun() const;
    void tellOfRun(int numDone, const QStringList& remarks);
    void tellRemarks(const QStringList& remarks);
    void showReport();
    void registerSliceBy(AlignmentMethod method);
    void registerSlicesBy(const VRLAutomaticRegistrationConfig& config);
    void slicesChanged();
    void itemsChanged();
    void bindLandmarkCommands();
    void addLandmark(QPointF place);
    void showLandmarks();
    void askForLandmark();
    std::vector<Landmark>& landmarks() { return __landmarks[__slice]; }
    void showStrips();
    void showMessage(const QString& text);

    QWidget& __window;
    VRLRegistrationCanvas& __canvas;
    VRLRegistrationPanel& __panel;
    VRLAutomaticRegistrationPanel& __automaticPanel;
    LandmarkPanel& __landmarkPanel;
    StripView& __strips;
    VRLRegistrationStatusBar& __statusBar;
    VRLRegistrationToolBar& __toolBar;
    VRLStack* __stack = nullptr;
    StackSlice* __slice = nullptr;
    Registration __registration; // that is shown
    AutomaticRegistration __automatic;
    AutomaticRegistration __scoring;              // behind the scenes, as long as nothing else runs
    std::vector<const StackSlice*> __slicesOfRun; // all of the stack when it began
    BendingRun __bending;
    const char* __runText = "";
    bool __runOfAll = false;
    int __placeBeforeRun = 1;
    RegistrationReportDialog* __reportDialog = nullptr; // the window's, made when it is first needed
    std::map<const StackSlice*, std::vector<Landmark>> __landmarks;
    CommandRegistry __commands{*this};
};

} // namespace vorlen
