#include "ui/registration/vrlregistrationmediator.h"

#include <algorithm>

#include <QAction>
#include <QMessageBox>
#include <QWidget>

#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "ui/models/guarded.h"
#include "ui/models/refusal.h"
#include "ui/registration/landmarkpanel.h"
#include "ui/registration/registrationreportdialog.h"
#include "ui/registration/sectionmarks.h"
#include "ui/registration/vrlautomaticregistrationpanel.h"
#include "ui/registration/vrlregistrationstatusbar.h"
#include "ui/registration/vrlregistrationtoolbar.h"
#include "ui/widgets/plaintext.h"

namespace vorlen {

namespace {

constexpr const char* runText = "Running automatic registration...";
constexpr const char* bendingText = "Bending slices...";

} // namespace

void VRLRegistrationMediator::runAutomaticRegistration(const VRLAutomaticRegistrationConfig& config) {
    if (config.registerAllSlices)
        registerSlicesBy(config);
    else
        registerSliceBy(config.method);
}

void VRLRegistrationMediator::registerCurrentSlice() {
    registerSliceBy(__automaticPanel.config().method);
}

void VRLRegistrationMediator::registerAllSlices() {
    registerSlicesBy(__automaticPanel.config());
}

void VRLRegistrationMediator::registerSliceBy(AlignmentMethod method) {
    if (__slice == nullptr || isRunning())
        return;
    if (isLocked()) {
        showMessage("The slice is locked: it keeps its registration.");
        return;
    }
    __runOfAll = false;
    beginRun(runText);
    __automatic.registerSlice(*__stack, place(), __registration, method);
}

void VRLRegistrationMediator::registerSlicesBy(const VRLAutomaticRegistrationConfig& config) {
    if (__stack == nullptr || isRunning() || !tryApply())
        return;
    __placeBeforeRun = __slice == nullptr ? 1 : place();
    setFirstSlice();
    __runOfAll = true;
    beginRun(runText);
    AlignmentOptions options;
    options.method = config.method;
    options.reference = config.reference;
    options.fixedSlice = config.fixedSlice;
    options.first = config.first;
    options.last = config.last;
    options.locked = lockedPlaces();
    __automatic.registerAll(*__stack, options);
}

std::vector<int> VRLRegistrationMediator::lockedPlaces() const {
    const std::vector<bool> locked = SectionMarks::of(*__stack).locked();
    std::vector<int> places;
    for (std::size_t i = 0; i < locked.size(); ++i)
        if (locked[i])
            places.push_back(int(i));
    return places;
}

void VRLRegistrationMediator::bendSlices() {
    if (__stack == nullptr || isRunning() || !tryApply())
        return;
    guarded(&__window, "The slices can't be bent.", [this] {
        if (__bending.ask(__window, *__stack, lockedPlaces()))
            beginRun(bendingText);
    });
}

void VRLRegistrationMediator::takeBending() {
    endRun();
    scoreSlices();
    QString message = "No slice was bent.";
    guarded(&__window, "The bent stack can't be made.", [&] { message = __bending.open(__window); });
    __statusBar.setMessage(message);
    if (!__bending.remarks().isEmpty())
        tellRemarks(__bending.remarks());
}

void VRLRegistrationMediator::beginRun(const char* text) {
    __runText = text;
    setLandmarkMode(false);
    __scoring.cancel();
    __slicesOfRun.clear();
    for (int i = 0; i < __stack->getNumSlices(); ++i)
        __slicesOfRun.push_back(&__stack->getSlice(i));
    notifyStarted(__runText);
    notifyProgressed(0, 0); // busy, as long as nobody tells how far it is
    __automaticPanel.setRunning(true);
    __panel.setEnabled(false);
    __landmarkPanel.setEnabled(false);
    __toolBar.setEnabled(false);
    __canvas.setEditable(false);
    __commands.setLocked(true);
    __commands.action("registration.cancelRun").setEnabled(true);
}

bool VRLRegistrationMediator::slicesAreThoseOfRun() const {
    bool same = __stack->getNumSlices() == int(__slicesOfRun.size());
    for (int i = 0; same && i < __stack->getNumSlices(); ++i)
        same = &__stack->getSlice(i) == __slicesOfRun[static_cast<std::size_t>(i)];
    return same;
}

/// Looks how well slices fit of which it is not known, one after the other.
void VRLRegistrationMediator::scoreSlices() {
    if (__stack == nullptr || isRunning() || __scoring.isRunning())
        return;
    const std::vector<int> places = SectionMarks::of(*__stack).withoutScore();
    if (!places.empty())
        __scoring.score(*__stack, places);
}

void VRLRegistrationMediator::cancelAutomaticRegistration() {
    if (!isRunning()) {
        setLandmarkMode(false);
        return;
    }
    __automatic.cancel();
    __bending.cancel();
    showMessage("Cancelling...");
}

void VRLRegistrationMediator::finishRun() {
    if (!isRunning())
        return;
    __automatic.cancel();
    __automatic.wait();
    __bending.cancel();
    __bending.wait();
}

void VRLRegistrationMediator::endRun() {
    __automaticPanel.setRunning(false);
    __panel.setEnabled(true);
    __landmarkPanel.setEnabled(true);
    __toolBar.setEnabled(true);
    __commands.setLocked(false);
    notifyFinished(__runText);
    if (__stack != nullptr)
        __canvas.setEditable(!isLocked());
}

void VRLRegistrationMediator::takeResults() {
    endRun();
    if (__stack == nullptr)
        return; // closed meanwhile
    if (!slicesAreThoseOfRun()) {
        tellRefusal(&__window,
                    Outcome::refused("The slices of the stack have changed meanwhile, so that what was found "
                                     "was not set"));
        return;
    }
    int numDone = 0;
    QStringList remarks;
    std::vector<Registration> registrations;
    registrations.reserve(__slicesOfRun.size());
    for (int i = 0; i < __stack->getNumSlices(); ++i)
        registrations.push_back(__stack->getSlice(i).getRegistration());
    SectionMarks& marks = SectionMarks::of(*__stack);
    for (const SlicePlacement& placement : __automatic.placements()) {
        if (placement.score >= 0)
            marks.setScore(placement.slice, placement.registration, placement.score);
        registrations[static_cast<std::size_t>(placement.place)] = placement.registration;
        numDone += placement.found ? 1 : 0;
        if (!placement.remark.empty())
            remarks += QString::fromStdString("Slice \"" + __stack->getSlice(placement.place).getName() +
                                              "\": " + placement.remark + ".");
    }
    if (__runOfAll)
        guarded(&__window, "The registrations can't be set.",
                [&] { tellRefusal(&__window, setRegistrations(*__stack, registrations)); });
    else if (__slice != nullptr && !__automatic.placements().empty()) {
        setRegistration(__automatic.placements().front().registration);
        apply();
    }
    if (__runOfAll && !__automatic.placements().empty())
        goTo(placeAfterRun());
    scoreSlices();
    tellOfRun(numDone, remarks);
}

/// The last slice or, of a run that was cancelled, the last that it has moved; if none, where the user was.
int VRLRegistrationMediator::placeAfterRun() const {
    if (!__automatic.wasCanceled())
        return __automatic.placements().back().place;
    int last = __placeBeforeRun;
    for (const SlicePlacement& placement : __automatic.placements())
        if (placement.found)
            last = placement.place;
    return last;
}

void VRLRegistrationMediator::tellOfRun(int numDone, const QStringList& remarks) {
    const QString done = QString("%1 slice%2 registered").arg(numDone).arg(numDone == 1 ? "" : "s");
    __statusBar.setMessage(__automatic.wasCanceled() ? "Cancelled: " + done + '.' : done + '.');
    if (!__automatic.failure().empty())
        guarded(&__window, done + ". Automatic registration broke off.",
                [this] { throw UsageError("", __automatic.failure()); });
    if (__runOfAll)
        showReport();
    else if (!remarks.isEmpty() && !__automatic.wasCanceled())
        tellRemarks(remarks);
}

/// The table and the curves stay beside the window until they are closed, or another run replaces them.
void VRLRegistrationMediator::showReport() {
    if (__automatic.report().slices.empty())
        return;
    if (__reportDialog == nullptr) {
        __reportDialog = new RegistrationReportDialog(&__window);
        connect(__reportDialog, &RegistrationReportDialog::sliceChosen, this, [this](int place) {
            if (__stack != nullptr && !isRunning() && place < __stack->getNumSlices())
                goTo(std::max(1, place));
        });
    }
    __reportDialog->setReport(__automatic.report());
    __reportDialog->show();
    __reportDialog->raise();
}

void VRLRegistrationMediator::tellRemarks(const QStringList& remarks) {
    PlainMessageBox box(QMessageBox::Information, appName, remarks.join('\n'), QMessageBox::Ok, &__window);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace vorlen
