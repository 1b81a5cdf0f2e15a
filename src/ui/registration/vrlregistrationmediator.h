#pragma once

#include <vector>

#include <QObject>
#include <QPointer>

#include "editing/bus/vrleventclient.h"
#include "progress/progresssubject.h"
#include "ui/commands/commandregistry.h"
#include "ui/registration/automaticregistration.h"
#include "ui/registration/vrlautomaticregistrationconfig.h"
#include "ui/registration/vrlregistrationpanel.h"
#include "values/registration.h"

namespace vorlen {

class StackSlice;
class VRLAutomaticRegistrationPanel;
class VRLRegistrationCanvas;
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
/// Decisions: an undo drops what was not applied before it touches the history. A slice whose registration is changed
/// elsewhere shows the new one. While automatic registration runs nothing else can be done in the window; a run whose
/// stack has lost or gained slices meanwhile comes to nothing, and says so.
class VRLRegistrationMediator : public QObject, public VRLEventClient, public ProgressSubject {
    Q_OBJECT

public:
    VRLRegistrationMediator(QWidget& window, VRLRegistrationCanvas& canvas, VRLRegistrationPanel& panel,
                            VRLAutomaticRegistrationPanel& automaticPanel, VRLRegistrationStatusBar& statusBar,
                            VRLRegistrationToolBar& toolBar);
    ~VRLRegistrationMediator() override;

    /// Connects the widgets with each other.
    void initialize();

    VRLStack* getStack() const { return __stack; }
    StackSlice* getSlice() const { return __slice; }
    const Registration& getRegistration() const { return __registration; }
    CommandRegistry& commands() { return __commands; }

    /// Whether something is shown that is not the slice's.
    bool isPending() const;
    bool isRunning() const { return __automatic.isRunning(); }

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
    void cancel();
    void increaseScale();
    void decreaseScale();
    void runAutomaticRegistration(const VRLAutomaticRegistrationConfig& config);
    void registerCurrentSlice();
    void registerAllSlices();
    void cancelAutomaticRegistration();
    void setLocked(bool locked);
    void setComparison(ComparisonMode mode);
    void undo();
    void redo();

    /// In pixels of the image and in degrees, clockwise. Nothing on a locked slice.
    void nudge(double right, double down, double angle);

signals:
    /// The stack, its registrations or its slices are not what they were.
    void stackChanged();
    /// Another slice is current, or the registration that is shown has changed.
    void registrationShown();

private:
    void bindCommands();
    void bindViewCommands();
    bool tryApply();
    void goTo(int place);
    int place() const;
    bool isLocked() const;
    void setScale(int change);
    void startRun(int first, int last);
    void takeResults();
    void tellOfRun(int numDone, const QStringList& remarks);
    void slicesChanged();
    void itemsChanged();
    void showMessage(const QString& text);

    QWidget& __window;
    VRLRegistrationCanvas& __canvas;
    VRLRegistrationPanel& __panel;
    VRLAutomaticRegistrationPanel& __automaticPanel;
    VRLRegistrationStatusBar& __statusBar;
    VRLRegistrationToolBar& __toolBar;
    VRLStack* __stack = nullptr;
    StackSlice* __slice = nullptr;
    Registration __registration; // that is shown
    AutomaticRegistration __automatic;
    std::vector<const StackSlice*> __slicesOfRun; // all of the stack when it began
    bool __runOfAll = false;
    CommandRegistry __commands{*this};
};

} // namespace vorlen
