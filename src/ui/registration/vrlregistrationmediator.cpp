#include "ui/registration/vrlregistrationmediator.h"

#include <algorithm>
#include <cmath>

#include <QAction>
#include <QWidget>

#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlmodelitemevent.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/placeslice.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "ui/models/guarded.h"
#include "ui/models/refusal.h"
#include "ui/registration/landmarkpanel.h"
#include "ui/registration/registrationcommands.h"
#include "ui/registration/registrationreportdialog.h"
#include "ui/registration/sectionmarks.h"
#include "ui/registration/stripview.h"
#include "ui/registration/vrlautomaticregistrationpanel.h"
#include "ui/registration/vrlregistrationstatusbar.h"
#include "ui/registration/vrlregistrationtoolbar.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

constexpr int shortTime = 5000; // ms, of a message

struct Nudge {
    const char* id;
    double right, down, angle;
};

constexpr Nudge nudges[] = {
    {"nudge.left", -1, 0, 0},      {"nudge.right", 1, 0, 0},     {"nudge.up", 0, -1, 0},
    {"nudge.down", 0, 1, 0},       {"nudge.farLeft", -10, 0, 0}, {"nudge.farRight", 10, 0, 0},
    {"nudge.farUp", 0, -10, 0},    {"nudge.farDown", 0, 10, 0},  {"nudge.bitLeft", -0.1, 0, 0},
    {"nudge.bitRight", 0.1, 0, 0}, {"nudge.bitUp", 0, -0.1, 0},  {"nudge.bitDown", 0, 0.1, 0},
    {"turn.left", 0, 0, -0.1},     {"turn.right", 0, 0, 0.1},
};

/// Nudges add up to whole numbers again.
double toThousandths(double value) {
    return std::round(value * 1000) / 1000 + 0.0;
}

} // namespace

VRLRegistrationMediator::VRLRegistrationMediator(QWidget& window, VRLRegistrationCanvas& canvas,
                                                 VRLRegistrationPanel& panel,
                                                 VRLAutomaticRegistrationPanel& automaticPanel,
                                                 LandmarkPanel& landmarkPanel, StripView& strips,
                                                 VRLRegistrationStatusBar& statusBar, VRLRegistrationToolBar& toolBar)
    : QObject(&window), __window(window), __canvas(canvas), __panel(panel), __automaticPanel(automaticPanel),
      __landmarkPanel(landmarkPanel), __strips(strips), __statusBar(statusBar), __toolBar(toolBar) {
    __commands.setWindow(registrationCommands().window);
    __commands.add(registrationCommands().commands);
    bindCommands();
    bindViewCommands();
    bindLandmarkCommands();
}

VRLRegistrationMediator::~VRLRegistrationMediator() {
    __canvas.removeMonitor(__statusBar);
}

void VRLRegistrationMediator::initialize() {
    using Panel = VRLRegistrationPanel;
    using Mediator = VRLRegistrationMediator;
    __canvas.addMonitor(__statusBar);
    addMonitor(__statusBar);
    connect(&__canvas, &VRLRegistrationCanvas::registrationChanged, this, &Mediator::setRegistration);
    connect(&__panel, &Panel::registrationChanged, this, &Mediator::setRegistration);
    connect(&__panel, &Panel::sliceClicked, this, qOverload<StackSlice&>(&Mediator::setSlice));
    connect(&__panel, &Panel::firstClicked, this, &Mediator::setFirstSlice);
    connect(&__panel, &Panel::nextClicked, this, &Mediator::setNextSlice);
    connect(&__panel, &Panel::previousClicked, this, &Mediator::setPreviousSlice);
    connect(&__panel, &Panel::lastClicked, this, &Mediator::setLastSlice);
    connect(&__panel, &Panel::resetClicked, this, &Mediator::reset);
    connect(&__panel, &Panel::restoreClicked, this, &Mediator::restore);
    connect(&__panel, &Panel::cancelClicked, this, &Mediator::cancel);
    connect(&__panel, &Panel::applyClicked, this, &Mediator::apply);
    connect(&__panel, &Panel::biggerClicked, this, &Mediator::increaseScale);
    connect(&__panel, &Panel::smallerClicked, this, &Mediator::decreaseScale);
    connect(&__canvas, &VRLRegistrationCanvas::biggerWanted, this, &Mediator::increaseScale);
    connect(&__canvas, &VRLRegistrationCanvas::smallerWanted, this, &Mediator::decreaseScale);
    connect(&__panel, &Panel::lockClicked, this, &Mediator::setLocked);
    connect(&__panel, &Panel::comparisonChanged, this, &Mediator::setComparison);
    connect(&__panel, &Panel::worstFirstClicked, &__commands.action("slice.worstFirst"), &QAction::setChecked);
    connect(&__panel, &Panel::framesEnabled, &__commands.action("view.frames"), &QAction::setChecked);
    connect(&__panel, &Panel::transparencyModeChanged, &__canvas, &VRLRegistrationCanvas::setTransparencyMode);
    connect(&__panel, &Panel::framesEnabled, &__canvas, &VRLRegistrationCanvas::setFramesEnabled);
    connect(&__automaticPanel,
            qOverload<const VRLAutomaticRegistrationConfig&>(&VRLAutomaticRegistrationPanel::runClicked), this,
            &Mediator::runAutomaticRegistration);
    connect(&__automaticPanel, &VRLAutomaticRegistrationPanel::cancelClicked, this,
            &Mediator::cancelAutomaticRegistration);
    connect(&__toolBar, &VRLRegistrationToolBar::modeClicked, this, [this](CanvasMode mode) {
        guarded(&__window, "The images can't be shown.", [&] { __canvas.setCanvasMode(mode); });
    });
    connect(&__toolBar, &VRLRegistrationToolBar::firstClicked, this, &Mediator::setFirstSlice);
    connect(&__toolBar, &VRLRegistrationToolBar::nextClicked, this, &Mediator::setNextSlice);
    connect(&__toolBar, &VRLRegistrationToolBar::previousClicked, this, &Mediator::setPreviousSlice);
    connect(&__toolBar, &VRLRegistrationToolBar::lastClicked, this, &Mediator::setLastSlice);
    connect(&__automatic, &AutomaticRegistration::progressed, this,
            [this](unsigned int current, unsigned int total) { notifyProgressed(current, total); });
    connect(&__automatic, &AutomaticRegistration::finished, this, &Mediator::takeResults);
    connect(&__bending, &BendingRun::progressed, this,
            [this](unsigned int current, unsigned int total) { notifyProgressed(current, total); });
    connect(&__bending, &BendingRun::finished, this, &Mediator::takeBending);
    connect(&__automaticPanel, &VRLAutomaticRegistrationPanel::bendClicked, this, &Mediator::bendSlices);
    connect(&__scoring, &AutomaticRegistration::scored, this, [this](const SlicePlacement& placement) {
        if (__stack != nullptr)
            SectionMarks::of(*__stack).setScore(placement.slice, placement.registration, placement.score);
    });
    connect(&__scoring, &AutomaticRegistration::finished, this, &Mediator::scoreSlices);
    connect(&__canvas, &VRLRegistrationCanvas::landmarkClicked, this, &Mediator::addLandmark);
    connect(&__landmarkPanel, &LandmarkPanel::setClicked, this, &Mediator::setLandmarkMode);
    connect(&__landmarkPanel, &LandmarkPanel::fitClicked, this, &Mediator::fitLandmarks);
    connect(&__landmarkPanel, &LandmarkPanel::deleteClicked, this, &Mediator::deleteLandmark);
    connect(&__landmarkPanel, &LandmarkPanel::clearClicked, this, &Mediator::clearLandmarks);
    connect(&__strips, &StripView::sliceChosen, this, [this](int place) { goTo(std::max(1, place)); });
    for (const Nudge& nudge : nudges)
        __canvas.addAction(&__commands.action(nudge.id));
    __commands.update();
}

void VRLRegistrationMediator::bindCommands() {
    const auto current = [this] { return __slice != nullptr; };
    const auto movable = [this] { return __slice != nullptr && !isLocked(); };
    const auto stack = [this] { return __stack != nullptr; };
    __commands.bind("registration.apply", [this] { apply(); }).enableWhen(movable);
    __commands.bind("registration.reset", [this] { reset(); }).enableWhen(movable);
    __commands.bind("registration.restore", [this] { restore(); }).enableWhen(current);
    __commands.bind("registration.lock", [this] { setLocked(!isLocked()); }).enableWhen(current);
    __commands.bind("registration.run", [this] { registerCurrentSlice(); }).enableWhen(movable);
    __commands.bind("registration.runAll", [this] { registerAllSlices(); }).enableWhen(stack);
    __commands.bind("registration.bend", [this] { bendSlices(); }).enableWhen(stack);
    __commands.bind("registration.cancelRun", [this] { cancelAutomaticRegistration(); }).enableWhen([this] {
        return isRunning() || __canvas.isLandmarkMode();
    });
    __commands.bind("window.close", [this] { __window.close(); });
    __commands.bind("edit.undo", [this] { undo(); }).enableWhen([this] {
        return __stack != nullptr && (isPending() || __stack->history()->isUndoable());
    });
    __commands.bind("edit.redo", [this] { redo(); }).enableWhen([this] {
        return __stack != nullptr && __stack->history()->isRedoable();
    });
    for (const Nudge& nudge : nudges) {
        __commands.bind(nudge.id, [this, &nudge] { this->nudge(nudge.right, nudge.down, nudge.angle); })
            .enableWhen(movable);
        __commands.action(nudge.id).setShortcutContext(Qt::WidgetShortcut);
    }
}

void VRLRegistrationMediator::bindViewCommands() {
    const auto stack = [this] { return __stack != nullptr; };
    const auto behind = [this] { return __slice != nullptr && place() < __stack->getNumSlices() - 1; };
    const auto before = [this] { return __slice != nullptr && place() > 1; };
    __commands.bind("slice.first", [this] { setFirstSlice(); }).enableWhen(stack);
    __commands.bind("slice.previous", [this] { setPreviousSlice(); }).enableWhen(before);
    __commands.bind("slice.next", [this] { setNextSlice(); }).enableWhen(behind);
    __commands.bind("slice.last", [this] { setLastSlice(); }).enableWhen(stack);
    __commands.bind("slice.worstFirst",
                    [this] { __panel.setWorstFirst(__commands.action("slice.worstFirst").isChecked()); });
    __commands.bind("view.bigger", [this] { increaseScale(); });
    __commands.bind("view.smaller", [this] { decreaseScale(); });
    __commands.bind("view.frames", [this] { __panel.setFramesChecked(__commands.action("view.frames").isChecked()); });
    const auto bindComparison = [this](const char* id, ComparisonMode mode) {
        __commands.bind(id, [this, id, mode] {
            __panel.setComparison(__commands.action(id).isChecked() ? mode : ComparisonMode::Mixed);
        });
    };
    bindComparison("view.blink", ComparisonMode::Blink);
    bindComparison("view.checkerboard", ComparisonMode::Checkerboard);
}

bool VRLRegistrationMediator::isPending() const {
    return __slice != nullptr && !(__registration == __slice->getRegistration());
}

int VRLRegistrationMediator::place() const {
    return __stack->findSlice(*__slice);
}

bool VRLRegistrationMediator::isLocked() const {
    return __slice != nullptr && SectionMarks::of(*__stack).isLocked(*__slice);
}

void VRLRegistrationMediator::setStack(VRLStack& stack) {
    if (stack.getNumSlices() < 2)
        throw UsageError("void VRLRegistrationMediator::setStack(VRLStack&)",
                         "Cannot perform registration without at least 2 slices");
    clear();
    __stack = &stack;
    __panel.setStack(stack);
    __automaticPanel.setSlices(stack);
    connect(stack.history(), &VRLActionHistory::changed, this, [this] { __commands.update(); });
    __commands.update();
    scoreSlices();
    showStrips();
}

void VRLRegistrationMediator::clear() {
    __automatic.cancel();
    __bending.cancel();
    __scoring.cancel();
    if (__reportDialog != nullptr)
        __reportDialog->close();
    if (__stack != nullptr && __stack->history() != nullptr)
        disconnect(__stack->history(), nullptr, this, nullptr);
    __stack = nullptr;
    __slice = nullptr;
    __registration = Registration();
    __landmarks.clear();
    setLandmarkMode(false);
    __canvas.clear(false);
    __panel.clear();
    __strips.showStack(nullptr, nullptr, {});
    showLandmarks();
    __commands.update();
}

void VRLRegistrationMediator::setSlice(StackSlice& slice) {
    if (__stack == nullptr || &slice == __slice || __stack->findSlice(slice) < 1 || isRunning())
        return;
    if (!tryApply()) {
        __panel.setSlice(*__slice);
        return;
    }
    guarded(&__window,
            QString("The images of slice \"%1\" can't be shown.").arg(QString::fromStdString(slice.getName())), [&] {
                const WaitCursor cursor;
                setLandmarkMode(false);
                __slice = &slice;
                __panel.setSlice(slice);
                __panel.setLocked(isLocked());
                __canvas.setEditable(!isLocked());
                __canvas.setSlice(slice);
            });
    __commands.action("registration.lock").setChecked(isLocked());
    restore();
}

void VRLRegistrationMediator::setSlice(const QString& name) {
    const int found = __stack == nullptr ? -1 : __stack->findSlice(name.toStdString());
    if (found >= 0)
        setSlice(__stack->getSlice(found));
}

void VRLRegistrationMediator::goTo(int place) {
    if (__stack != nullptr && place >= 1 && place < __stack->getNumSlices())
        setSlice(__stack->getSlice(place));
}

void VRLRegistrationMediator::setFirstSlice() {
    goTo(1);
}

void VRLRegistrationMediator::setNextSlice() {
    if (__slice != nullptr)
        goTo(place() + 1);
}

void VRLRegistrationMediator::setPreviousSlice() {
    if (__slice != nullptr)
        goTo(place() - 1);
}

void VRLRegistrationMediator::setLastSlice() {
    if (__stack != nullptr)
        goTo(__stack->getNumSlices() - 1);
}

void VRLRegistrationMediator::setRegistration(const Registration& registration) {
    if (__slice == nullptr)
        return;
    __registration = registration;
    __canvas.setRegistration(registration);
    __panel.setRegistration(registration);
    __commands.update();
    showLandmarks();
    showStrips();
}

void VRLRegistrationMediator::reset() {
    if (__slice != nullptr && !isLocked())
        setRegistration(Registration());
}

void VRLRegistrationMediator::restore() {
    if (__slice == nullptr)
        return;
    setRegistration(__slice->getRegistration());
    __panel.setRestoreEnabled(false);
}

void VRLRegistrationMediator::apply() {
    tryApply();
}

/// False when what is pending can't be applied, which the user has been told then.
bool VRLRegistrationMediator::tryApply() {
    if (!isPending())
        return true;
    bool applied = false;
    guarded(&__window, "The registration can't be applied.", [&] {
        const Registration registration = __registration; // events may show the slice's own meanwhile
        const std::vector<bool> locked = SectionMarks::of(*__stack).locked();
        applied =
            !tellRefusal(&__window, placeSlice(*__stack, place(), registration, __panel.lastFollower(place()), locked));
    });
    if (applied)
        __panel.setRestoreEnabled(false);
    __commands.update();
    return applied;
}

void VRLRegistrationMediator::cancel() {
    restore();
    __window.close();
}

void VRLRegistrationMediator::setScale(int change) {
    const int scale = int(__canvas.getScale()) + change;
    if (scale < 10 || scale > 100)
        return;
    guarded(&__window, "The images can't be shown.", [&] {
        const WaitCursor cursor;
        __canvas.setScale(static_cast<unsigned int>(scale));
    });
}

void VRLRegistrationMediator::increaseScale() {
    if (__canvas.getScale() <= 99)
        setScale(10);
}

void VRLRegistrationMediator::decreaseScale() {
    if (__canvas.getScale() >= 11)
        setScale(-10);
}

void VRLRegistrationMediator::nudge(double right, double down, double angle) {
    if (__slice == nullptr || isLocked() || isRunning())
        return;
    setRegistration(Registration(toThousandths(__registration.getHorShift() + right),
                                 toThousandths(__registration.getVerShift() + down),
                                 float(toThousandths(double(__registration.getRotationAngle()) + angle))));
}

void VRLRegistrationMediator::setLocked(bool locked) {
    if (__slice == nullptr || !tryApply())
        return;
    SectionMarks::of(*__stack).setLocked(*__slice, locked);
    __panel.setLocked(locked);
    __canvas.setEditable(!locked);
    __commands.action("registration.lock").setChecked(locked);
    if (locked)
        setLandmarkMode(false);
    __commands.update();
    showLandmarks();
}

void VRLRegistrationMediator::setComparison(ComparisonMode mode) {
    __canvas.setBlinking(mode == ComparisonMode::Blink); // else mixed
    if (mode == ComparisonMode::Checkerboard)
        __canvas.setComparison(SectionComparison::Checkerboard);
    __commands.action("view.blink").setChecked(mode == ComparisonMode::Blink);
    __commands.action("view.checkerboard").setChecked(mode == ComparisonMode::Checkerboard);
}

void VRLRegistrationMediator::undo() {
    if (__stack == nullptr || isRunning())
        return;
    if (!__canvas.isLandmarkMode())
        __statusBar.setMessage({}); // what a run has said of itself holds no more
    if (isPending())
        restore();
    else
        guarded(&__window, "Undo", [this] { __stack->history()->undo(); });
}

void VRLRegistrationMediator::redo() {
    if (__stack == nullptr || isRunning())
        return;
    if (!__canvas.isLandmarkMode())
        __statusBar.setMessage({});
    restore();
    guarded(&__window, "Redo", [this] { __stack->history()->redo(); });
}

void VRLRegistrationMediator::bindLandmarkCommands() {
    const auto movable = [this] { return __slice != nullptr && !isLocked(); };
    __commands.bind("landmarks.set", [this] { setLandmarkMode(!__canvas.isLandmarkMode()); }).enableWhen(movable);
    __commands.bind("landmarks.fit", [this] { fitLandmarks(); }).enableWhen(movable);
    __commands.bind("landmarks.clear", [this] { clearLandmarks(); }).enableWhen(movable);
    __commands.bind("view.strips", [this] { setStripsVisible(__commands.action("view.strips").isChecked()); });
}

void VRLRegistrationMediator::setLandmarkMode(bool on) {
    const bool set = on && __slice != nullptr && !isLocked();
    if (set == __canvas.isLandmarkMode())
        return;
    __canvas.setLandmarkMode(set);
    __landmarkPanel.setSetting(set);
    __commands.action("landmarks.set").setChecked(set);
    __commands.update("registration.cancelRun");
    if (set) {
        __panel.setComparison(ComparisonMode::Mixed);
        askForLandmark();
    } else {
        // What was begun and not completed is no landmark.
        if (__slice != nullptr && !landmarks().empty() && !landmarks().back().isPair())
            landmarks().pop_back();
        __canvas.setComparison(SectionComparison::Overlay);
        __statusBar.setMessage({});
        showLandmarks();
    }
}

/// Shows the section on which the next click is meant.
void VRLRegistrationMediator::askForLandmark() {
    const bool begun = !landmarks().empty() && !landmarks().back().isPair();
    __canvas.setComparison(begun ? SectionComparison::Foreground : SectionComparison::Background);
    __statusBar.setMessage(begun ? "Foreground: click the same spot."
                                 : "Background: click a spot that is seen on both slices, or press Esc to stop.");
}

void VRLRegistrationMediator::addLandmark(QPointF place) {
    if (__slice == nullptr)
        return;
    std::vector<Landmark>& marks = landmarks();
    if (marks.empty() || marks.back().isPair()) {
        Landmark mark;
        mark.background = __canvas.canvasToBackground(place);
        mark.hasBackground = true;
        marks.push_back(mark);
    } else {
        marks.back().foreground = __canvas.canvasToForeground(place);
        marks.back().hasForeground = true;
    }
    askForLandmark();
    showLandmarks();
}

void VRLRegistrationMediator::fitLandmarks() {
    if (__slice == nullptr || isLocked() || isRunning())
        return;
    if (numPairs(landmarks()) < 2) {
        showMessage("A fit needs two pairs of landmarks.");
        return;
    }
    setLandmarkMode(false);
    setRegistration(fitOfLandmarks(landmarks(), *__slice, *__canvas.backgroundSlice()));
}

/// With the distances that are left under the registration that is shown.
void VRLRegistrationMediator::showLandmarks() {
    __landmarkPanel.setUsable(__slice != nullptr && !isLocked());
    if (__slice == nullptr || __canvas.backgroundSlice() == nullptr) {
        __landmarkPanel.setLandmarks({}, {});
        return;
    }
    const QString summary = measureLandmarks(landmarks(), *__slice, *__canvas.backgroundSlice(), __registration);
    __landmarkPanel.setLandmarks(landmarks(), summary);
    __canvas.setLandmarks(landmarks());
}

void VRLRegistrationMediator::deleteLandmark(int landmark) {
    if (__slice == nullptr || landmark < 0 || std::size_t(landmark) >= landmarks().size())
        return;
    landmarks().erase(landmarks().begin() + landmark);
    if (__canvas.isLandmarkMode())
        askForLandmark();
    showLandmarks();
}

void VRLRegistrationMediator::clearLandmarks() {
    if (__slice == nullptr)
        return;
    landmarks().clear();
    if (__canvas.isLandmarkMode())
        askForLandmark();
    showLandmarks();
}

void VRLRegistrationMediator::setStripsVisible(bool visible) {
    __strips.setVisible(visible);
    __commands.action("view.strips").setChecked(visible);
}

void VRLRegistrationMediator::showStrips() {
    __strips.showStack(__stack, __slice, __registration);
}

void VRLRegistrationMediator::showMessage(const QString& text) {
    __statusBar.setMessage(text, shortTime);
}

// The slice may have got its registration from elsewhere, as by an undo.
void VRLRegistrationMediator::stackRegistrationEvent(VRLStackRegistrationEvent& event) {
    if (event.getStack() != __stack || __stack == nullptr)
        return;
    restore();
    scoreSlices();
    showStrips();
}

void VRLRegistrationMediator::stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) {
    if (event.getStack() == __stack && __stack != nullptr)
        slicesChanged(); // they may stand in another order
}

void VRLRegistrationMediator::stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) {
    if (event.getStack() == __stack && __slice != nullptr)
        guarded(&__window, "The images can't be shown.", [this] { __canvas.refresh(); });
}

void VRLRegistrationMediator::stackNameEvent(VRLStackNameEvent& event) {
    if (event.getStack() == __stack && __stack != nullptr)
        slicesChanged();
}

void VRLRegistrationMediator::sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) {
    if (__slice != nullptr && (event.getSlice() == __slice || event.getSlice() == __canvas.backgroundSlice()))
        guarded(&__window, "The images can't be shown.", [this] { __canvas.refresh(); });
}

void VRLRegistrationMediator::sliceImageSourceEvent(VRLSliceImageSourceEvent& event) {
    if (__slice != nullptr && (event.getSlice() == __slice || event.getSlice() == __canvas.backgroundSlice()))
        guarded(&__window, "The images can't be shown.", [this] { __canvas.refresh(); });
    if (__stack != nullptr && __stack->findSlice(*event.getSlice()) >= 0) {
        SectionMarks::of(*__stack).forgetScores();
        __strips.forgetPictures();
        scoreSlices();
    }
}

void VRLRegistrationMediator::sliceNameEvent(VRLSliceNameEvent& event) {
    if (__slice != nullptr && (event.getSlice() == __slice || event.getSlice() == __canvas.backgroundSlice()))
        __panel.setSlice(*__slice);
}

void VRLRegistrationMediator::processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) {
    if (__stack != nullptr && (action.getSlice()->getStack() == __stack || action.getSlice() == __slice ||
                               action.getSlice() == __canvas.backgroundSlice()))
        slicesChanged();
}

/// Lists the slices anew. What is shown stays as long as its slice is there and lies on the same one.
void VRLRegistrationMediator::slicesChanged() {
    if (__stack->getNumSlices() < 2) {
        QMetaObject::invokeMethod(&__window, &QWidget::close, Qt::QueuedConnection);
        clear();
        return;
    }
    StackSlice* const slice = __slice;
    const Registration shown = __registration;
    const bool there = slice != nullptr && __stack->findSlice(*slice) >= 1;
    __panel.setStack(*__stack);
    __automaticPanel.setSlices(*__stack);
    if (there) {
        __panel.setSlice(*slice);
        if (&slice->prevSlice() != __canvas.backgroundSlice())
            guarded(&__window, "The images can't be shown.", [&] { __canvas.setSlice(*slice); });
        setRegistration(shown);
        __panel.setRestoreEnabled(isPending());
    } else {
        __slice = nullptr;
        __registration = Registration();
        setLandmarkMode(false);
        __canvas.clear(false);
        showLandmarks();
    }
    __commands.update();
    scoreSlices();
    showStrips();
}

void VRLRegistrationMediator::itemsChanged() {
    __canvas.update();
}

void VRLRegistrationMediator::modelPropertiesEvent(VRLModelPropertiesEvent&) {
    itemsChanged();
}

void VRLRegistrationMediator::modelDeleteEvent(VRLModelDeleteEvent&) {
    itemsChanged();
}

void VRLRegistrationMediator::modelItemCreateEvent(VRLModelItemCreateEvent&) {
    itemsChanged();
}

void VRLRegistrationMediator::modelItemDeleteEvent(VRLModelItemDeleteEvent&) {
    itemsChanged();
}

void VRLRegistrationMediator::modelItemVertexEvent(VRLModelItemVertexEvent&) {
    itemsChanged();
}

void VRLRegistrationMediator::modelItemAttributeEvent(VRLModelItemAttributeEvent&) {
    itemsChanged();
}

} // namespace vorlen
