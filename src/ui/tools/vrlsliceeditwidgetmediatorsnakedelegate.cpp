#include "ui/tools/vrlsliceeditwidgetmediatorsnakedelegate.h"

#include <algorithm>
#include <vector>

#include <QApplication>
#include <QKeyEvent>
#include <QSettings>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/operations/snakeoperation.h"
#include "editing/stacks/vrlstack.h"
#include "ui/tools/vrlsnakeconfigdialog.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

using Delegate = VRLSliceEditWidgetMediatorSnakeDelegate;

namespace {

const char* const runningHint = "The snake is running. Escape: stop it.";
constexpr unsigned int stepsPerPicture = 5;
constexpr unsigned int stepsOfTravel = 500;
constexpr qint64 millisecondsOfTravel = 3000;
constexpr qint64 shortestRest = 40; // milliseconds
constexpr qint64 longestRest = 200;
constexpr int mostNamed = 8; // slices in a line

/// Keeps all input but Escape from the application as long as it lives, except to its modal windows. Releases pass,
/// which end presses from before.
class EscapeOnly : public QObject {
public:
    explicit EscapeOnly(ProgressSubject& subject) : __subject(subject) { qApp->installEventFilter(this); }

    bool eventFilter(QObject*, QEvent* event) override {
        if (QApplication::activeModalWidget() != nullptr)
            return false;
        switch (event->type()) {
        case QEvent::KeyPress:
        case QEvent::ShortcutOverride:
            if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape)
                __subject.cancel();
            event->accept();
            return true;
        case QEvent::Close:
        case QEvent::DragEnter:
        case QEvent::DragMove:
        case QEvent::Drop:
            event->ignore();
            return true;
        case QEvent::Shortcut:
        case QEvent::InputMethod:
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
        case QEvent::Wheel:
        case QEvent::ContextMenu:
        case QEvent::TabletPress:
        case QEvent::TabletMove:
        case QEvent::TouchBegin:
        case QEvent::TouchUpdate:
        case QEvent::NativeGesture:
        case QEvent::NonClientAreaMouseButtonPress:
        case QEvent::NonClientAreaMouseButtonDblClick:
            event->accept();
            return true;
        default:
            return false;
        }
    }

private:
    ProgressSubject& __subject;
};

const QString replacingKey = "snake/replaces";

VRLSnakeConfig usualConfig() {
    VRLSnakeConfig config;
    config.setAlpha(1);
    config.setGradThreshold(7);
    config.setRegMax(2.5f);
    config.setScale(1);
    config.setReplacing(QSettings().value(replacingKey, false).toBool());
    return config;
}

/// Of all windows.
VRLSnakeConfig& chosen() {
    static VRLSnakeConfig config = usualConfig();
    return config;
}

} // namespace

/// What lasts from the first slice of a run to its end.
class VRLSliceEditWidgetMediatorSnakeDelegate::Run {
public:
    Run(Delegate& delegate, SnakeOperation& operation) : __delegate(&delegate), __input(delegate) {
        operation.addMonitor(delegate);
        delegate.__operation = &operation;
        delegate.__sinceStart.start();
        delegate.__sincePause.start();
    }

    ~Run() {
        if (!__delegate)
            return;
        __delegate->__operation = nullptr;
        __delegate->host().setPreview(nullptr);
        __delegate->__snakeItem.reset();
    }

    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

private:
    QPointer<Delegate> __delegate;
    EscapeOnly __input;
    WaitCursor __cursor;
};

VRLSliceEditWidgetMediatorSnakeDelegate::VRLSliceEditWidgetMediatorSnakeDelegate(ToolHost& host)
    : VRLSliceEditWidgetMediatorDelegate(host) {
    setBlocking(true);
    addMonitor(host.monitor());
}

VRLSliceEditWidgetMediatorSnakeDelegate::~VRLSliceEditWidgetMediatorSnakeDelegate() {
    if (__operation == nullptr)
        return;
    __operation->removeMonitor(*this);
    __operation->cancel();
}

const VRLSnakeConfig& VRLSliceEditWidgetMediatorSnakeDelegate::chosenConfig() {
    return chosen();
}

void VRLSliceEditWidgetMediatorSnakeDelegate::chooseConfig(const VRLSnakeConfig& config) {
    chosen() = config;
    QSettings().setValue(replacingKey, config.isReplacing());
}

void VRLSliceEditWidgetMediatorSnakeDelegate::activate() {
    start(true);
}

void VRLSliceEditWidgetMediatorSnakeDelegate::activateAsSet() {
    start(false);
}

void VRLSliceEditWidgetMediatorSnakeDelegate::start(bool asks) {
    if (isActive() || stack() == nullptr)
        return;
    const std::vector<ModelItem*> selected = slice()->getSelectedItems();
    if (selected.empty() || selected.back()->getModel() == nullptr)
        return;
    VRLSliceEditWidgetMediatorDelegate::activate();
    __item = selected.back();
    host().setEditMode("SNAKE");
    if (asks)
        host().setHint("Choose the parameters of the snake.");
    host().requestLock(true);
    const QPointer<Delegate> self(this);
    try {
        run(asks);
    } catch (...) {
        if (self && isActive())
            deactivate();
        throw;
    }
    if (!self || !isActive())
        return;
    deactivate();
    if (!__outcome.isEmpty())
        host().setHint(__outcome);
}

void VRLSliceEditWidgetMediatorSnakeDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    host().setEditMode("READY");
    host().setRestingHint();
    host().requestLock(false);
    __item = nullptr;
}

void VRLSliceEditWidgetMediatorSnakeDelegate::cancel() {
    if (isActive() && __operation != nullptr)
        __operation->cancel();
}

void VRLSliceEditWidgetMediatorSnakeDelegate::abandon() {
    if (!isActive())
        return;
    cancel();
    host().setPreview(nullptr);
    if (__dialog)
        __dialog->reject();
    deactivate();
}

bool VRLSliceEditWidgetMediatorSnakeDelegate::isAbout(const Model& model) const {
    return __item != nullptr && __item->getModel() == &model;
}

void VRLSliceEditWidgetMediatorSnakeDelegate::subjectStarted(const std::string& text) {
    ProgressProxy::subjectStarted(text);
    host().setHint(runningHint);
}

void VRLSliceEditWidgetMediatorSnakeDelegate::subjectFinished(const std::string& text) {
    if (!text.empty())
        __outcome = QString::fromStdString(text) + ".";
    ProgressProxy::subjectFinished(text);
}

void VRLSliceEditWidgetMediatorSnakeDelegate::subjectProgressed(const std::string& text) {
    ProgressProxy::subjectProgressed(text);
    if (__operation == nullptr || !__operation->isOnRange())
        return;
    host().setHint(QString("Slice %1 of %2 (%3). Escape: stop, keep what is done.")
                       .arg(__operation->getNumSlicesDone() + 1)
                       .arg(__operation->getNumSlices())
                       .arg(QString::fromStdString(__operation->getSlice()->getName())));
    if (isPauseDue())
        pause();
}

void VRLSliceEditWidgetMediatorSnakeDelegate::subjectProgressed(unsigned int current, unsigned int total) {
    ProgressProxy::subjectProgressed(current, total);
    if (__operation != nullptr && __operation->isOnRange()) {
        if (isPauseDue())
            pause();
    } else if (current > 0 && current % stepsPerPicture == 0) {
        updateSnakeItem();
        if (isPauseDue() || (current <= stepsOfTravel && __sinceStart.elapsed() < millisecondsOfTravel)) {
            canvas().update();
            pause();
        } else {
            QCoreApplication::processEvents();
        }
    }
}

bool VRLSliceEditWidgetMediatorSnakeDelegate::isPauseDue() const {
    return __sincePause.elapsed() >= __rest;
}

/// Lets events pass, and rests then so that pictures take a fifth of the time at most; but not for so long, on a
/// machine that is busy besides, that Escape would seem to be ignored.
void VRLSliceEditWidgetMediatorSnakeDelegate::pause() {
    __sincePause.start();
    QCoreApplication::processEvents();
    __rest = std::clamp(4 * __sincePause.elapsed(), shortestRest, longestRest);
    __sincePause.start();
}

// The dialogs have event loops of their own, in which this object and the item may go.
void VRLSliceEditWidgetMediatorSnakeDelegate::run(bool asks) {
    __outcome.clear();
    __quiet = !asks;
    if (!initSnakeConfig(asks))
        return;
    host().setHint(runningHint);
    if (__snakeConfig.getRunOverStack())
        runOverStack(__snakeConfig.getReach());
    else
        runOverSlice();
}

/// False when the user gives up. What the user does not choose is the same for all.
bool VRLSliceEditWidgetMediatorSnakeDelegate::initSnakeConfig(bool asks) {
    if (!asks)
        __snakeConfig = chosen();
    else if (!askForSnakeConfig())
        return false;
    __snakeConfig.setDistance(50);
    __snakeConfig.setRegMin(__snakeConfig.getRegMax() * 0.5f);
    __item->getModel()->setSnakeConfig(__snakeConfig);
    return true;
}

bool VRLSliceEditWidgetMediatorSnakeDelegate::askForSnakeConfig() {
    const Model& model = *__item->getModel();
    const VRLSnakeConfig usual = usualConfig();
    if (model.hasSnakeConfig()) {
        __snakeConfig = VRLSnakeConfig(model.getSnakeConfig());
    } else {
        __snakeConfig.setAlpha(usual.getAlpha());
        __snakeConfig.setGradThreshold(usual.getGradThreshold());
        __snakeConfig.setRegMax(usual.getRegMax());
        __snakeConfig.setScale(usual.getScale());
    }
    __snakeConfig.setReplacing(usual.isReplacing());
    const QPointer<VRLSnakeConfigDialog> dialog = new VRLSnakeConfigDialog(&canvas());
    dialog->setConfig(__snakeConfig);
    const bool accepted = execute(*dialog); // false too when this object has gone
    if (accepted) {
        __snakeConfig = dialog->getConfig();
        QSettings().setValue(replacingKey, __snakeConfig.isReplacing());
    }
    delete dialog;
    return accepted;
}

/// Whether the dialog was accepted, and there is still a run that it belongs to.
bool VRLSliceEditWidgetMediatorSnakeDelegate::execute(QDialog& dialog) {
    const QPointer<Delegate> self(this);
    const QPointer<QDialog> opened(&dialog);
    __dialog = opened;
    QGuiApplication::setOverrideCursor(Qt::ArrowCursor);
    const int answer = dialog.exec();
    QGuiApplication::restoreOverrideCursor();
    return self && opened && isActive() && answer == QDialog::Accepted;
}

// The document may lose the item, and this object may go, while a monitor lets events pass.
void VRLSliceEditWidgetMediatorSnakeDelegate::runOverSlice() {
    __snakeItem = std::make_unique<ModelItem>();
    __snakeItem->setModel(__item->getModel());
    __snakeItem->setSlice(__item->getSlice());
    host().setPreview(__snakeItem.get());
    SnakeOperation operation(*stack(), *__item, __snakeConfig);
    operation.setReplacing(__snakeConfig.isReplacing());
    const QPointer<Delegate> self(this);
    const Run run(*this, operation);
    const Outcome outcome = operation.runOnSlice();
    if (outcome || !self || !isActive())
        return;
    __outcome = operation.isCanceled() ? "The snake was stopped." : "The snake has aborted.";
    if (!operation.isCanceled() && !__quiet)
        alarm("Snake", QString::fromStdString(outcome.getReason()));
}

void VRLSliceEditWidgetMediatorSnakeDelegate::runOverStack(int reach) {
    SnakeOperation operation(*stack(), *__item, __snakeConfig);
    operation.setReplacing(__snakeConfig.isReplacing());
    operation.setPassingOver(__snakeConfig.isPassingOver());
    const QPointer<Delegate> self(this);
    const Run run(*this, operation);
    operation.runOnRange(reach, __snakeConfig.isPropagationEnabled());
    if (!self)
        return;
    __outcome = QString("%1 on %2 of %3 slices.")
                    .arg(operation.isCanceled() ? "The snake was stopped: contours" : "Snake: contours")
                    .arg(operation.getNumContours())
                    .arg(operation.getNumSlices());
    if (const int n = operation.getNumOutlined(); n > 0)
        __outcome += QString(" %1 %2 outlined already.").arg(n).arg(n == 1 ? "was" : "were");
    QStringList without;
    for (const std::string& name : operation.getSlicesWithoutContour())
        without += QString::fromStdString(name);
    if (!without.isEmpty())
        __outcome += " None on " + without.mid(0, mostNamed).join(", ") +
                     (without.size() > mostNamed ? QString(" and %1 more.").arg(without.size() - mostNamed) : ".");
}

void VRLSliceEditWidgetMediatorSnakeDelegate::updateSnakeItem() {
    if (__snakeItem && __operation != nullptr)
        __snakeItem->setVertices(__operation->getContour());
}

} // namespace vorlen
