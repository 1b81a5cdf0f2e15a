#include "ui/slices/vrlsliceeditwidgetmediatorsnakedelegate.h"

#include <algorithm>
#include <exception>
#include <vector>

#include <QApplication>
#include <QInputDialog>
#include <QKeyEvent>

#include "document/model.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/actions/vrlitemcreationaction.h"
#include "editing/history/editstep.h"
#include "images/filters/resizexform.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "numerics/maths.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"
#include "ui/tools/vrlsnakeconfigdialog.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

using Delegate = VRLSliceEditWidgetMediatorSnakeDelegate;

namespace {

const char* const runningHint = "The snake is running. Escape: stop it.";
constexpr int maxIterations = 5000;
constexpr unsigned int stepsPerPicture = 5;
constexpr unsigned int stepsOfTravel = 500;
constexpr qint64 millisecondsOfTravel = 3000;
constexpr qint64 shortestRest = 40; // milliseconds
constexpr qint64 longestRest = 200;

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

Curve<float> reduced(const Vertices<int>& vertices, float scale) {
    const int n = vertices.getNumVertices();
    Curve<float> curve(2, n, n, 1, false);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < 2; ++j)
            curve[i][j] = float(vertices[i][j]) / scale;
    return curve;
}

} // namespace

/// What lasts from the first slice of a run to its end.
class VRLSliceEditWidgetMediatorSnakeDelegate::Run {
public:
    explicit Run(Delegate& delegate) : __delegate(&delegate), __step(*delegate.history()), __input(delegate) {
        delegate.__driver.reset();
        delegate.__snake = std::make_unique<Snake<float, float>>();
        delegate.__step = &__step;
        delegate.__numSlicesDone = 0;
        delegate.__numContours = 0;
        delegate.__sinceStart.start();
        delegate.__sincePause.start();
        delegate.notifyStarted("Running snake...");
    }

    ~Run() {
        if (std::uncaught_exceptions() == __numExceptions)
            __step.commit();
        if (!__delegate)
            return;
        __delegate->__step = nullptr;
        __delegate->dropSnakeItem();
        __delegate->__snake.reset();
        __delegate->__pixelMatrix = PixelMatrix<float>();
        __delegate->notifyFinished(std::string());
    }

    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

private:
    QPointer<Delegate> __delegate;
    EditStep __step; // what a failure leaves on the way is taken back; what a stop leaves stays, as one step
    const int __numExceptions = std::uncaught_exceptions();
    EscapeOnly __input;
    WaitCursor __cursor;
};

VRLSliceEditWidgetMediatorSnakeDelegate::VRLSliceEditWidgetMediatorSnakeDelegate(VRLSliceEditWidgetMediator& mediator)
    : VRLSliceEditWidgetMediatorDelegate(mediator) {
    setBlocking(true);
    __driver.addMonitor(*this);
}

VRLSliceEditWidgetMediatorSnakeDelegate::~VRLSliceEditWidgetMediatorSnakeDelegate() = default;

void VRLSliceEditWidgetMediatorSnakeDelegate::activate() {
    if (isActive() || history() == nullptr)
        return;
    const std::vector<ModelItem*> selected = slice()->getSelectedItems();
    if (selected.empty() || selected.back()->getModel() == nullptr)
        return;
    VRLSliceEditWidgetMediatorDelegate::activate();
    __item = selected.back();
    setEditMode("SNAKE");
    getMediator().setHint("Choose the parameters of the snake.");
    getMediator().requestLock(true);
    const QPointer<Delegate> self(this);
    try {
        run();
    } catch (...) {
        if (self && isActive())
            deactivate();
        throw;
    }
    if (!self || !isActive())
        return;
    deactivate();
    if (!__outcome.isEmpty())
        getMediator().setHint(__outcome);
}

void VRLSliceEditWidgetMediatorSnakeDelegate::deactivate() {
    VRLSliceEditWidgetMediatorDelegate::deactivate();
    setEditMode("READY");
    getMediator().setRestingHint();
    getMediator().requestLock(false);
    __item = nullptr;
}

void VRLSliceEditWidgetMediatorSnakeDelegate::cancel() {
    if (isActive())
        __driver.cancel();
}

void VRLSliceEditWidgetMediatorSnakeDelegate::abandon() {
    if (!isActive())
        return;
    __driver.cancel();
    canvas().setExtraItem(nullptr);
    if (__dialog)
        __dialog->reject();
    deactivate();
}

void VRLSliceEditWidgetMediatorSnakeDelegate::subjectStarted(const std::string& text) {
    if (__snakeConfig.getRunOverStack())
        return;
    ProgressProxy::subjectStarted(text);
    getMediator().setHint(runningHint);
}

void VRLSliceEditWidgetMediatorSnakeDelegate::subjectFinished(const std::string& text) {
    if (__snakeConfig.getRunOverStack())
        return;
    __outcome = QString::fromStdString(text) + ".";
    ProgressProxy::subjectFinished(text);
}

void VRLSliceEditWidgetMediatorSnakeDelegate::subjectProgressed(const std::string&) {
}

void VRLSliceEditWidgetMediatorSnakeDelegate::subjectProgressed(unsigned int current, unsigned int total) {
    ProgressProxy::subjectProgressed(__numSlicesDone * total + current, __numSlices * total);
    if (__snakeConfig.getRunOverStack()) {
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
void VRLSliceEditWidgetMediatorSnakeDelegate::run() {
    __numSlices = 1;
    __outcome.clear();
    if (!initSnakeConfig())
        return;
    getMediator().setHint(runningHint);
    const Run run(*this);
    Curve<float> curve = reduced(__item->getVertices(), float(__snakeConfig.getScale()));
    if (__snakeConfig.getRunOverStack())
        runOverStack(curve);
    else
        runOverSlice(*__item->getSlice(), curve);
}

bool VRLSliceEditWidgetMediatorSnakeDelegate::initSnakeConfig() {
    const Model& model = *__item->getModel();
    if (model.hasSnakeConfig()) {
        __snakeConfig = VRLSnakeConfig(model.getSnakeConfig());
    } else {
        __snakeConfig.setAlpha(1);
        __snakeConfig.setGradThreshold(7);
        __snakeConfig.setRegMax(2.5f);
        __snakeConfig.setScale(1);
    }
    const QPointer<VRLSnakeConfigDialog> dialog = new VRLSnakeConfigDialog(&canvas());
    dialog->setConfig(__snakeConfig);
    const bool accepted = execute(*dialog); // false too when this object has gone
    if (accepted) {
        __snakeConfig = dialog->getConfig();
        __snakeConfig.setDistance(50);
        __snakeConfig.setRegMin(__snakeConfig.getRegMax() * 0.5f);
        __item->getModel()->setSnakeConfig(__snakeConfig);
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

void VRLSliceEditWidgetMediatorSnakeDelegate::initPixelMatrix(const StackSlice& slice) {
    Image image;
    try {
        slice.load(image);
    } catch (const Exception& error) {
        const auto* const fileError = dynamic_cast<const FileError*>(&error);
        throw FileReadError("void VRLSliceEditWidgetMediatorSnakeDelegate::initPixelMatrix(const StackSlice&)",
                            "The image of the slice \"" + slice.getName() + "\" cannot be read: " + error.getWhat() +
                                (fileError != nullptr ? ": " + fileError->getFile() : std::string()));
    }
    if (const int scale = int(__snakeConfig.getScale()); scale > 1) {
        ResizeXForm resize;
        resize.setSize(image.getWidth() / scale, image.getHeight() / scale);
        resize.apply(image);
    }
    switch (image.colorContent()) {
    case GreenContent:
        __pixelMatrix.convertFromImage(image, GreenChannel);
        break;
    case BlueContent:
        __pixelMatrix.convertFromImage(image, BlueChannel);
        break;
    case MixedContent:
        image.make8bitsGrayscale();
        [[fallthrough]];
    default:
        __pixelMatrix.convertFromImage(image, RedChannel);
    }
}

void VRLSliceEditWidgetMediatorSnakeDelegate::runOverSlice(StackSlice& slice, Curve<float>& curve) {
    const bool overStack = __snakeConfig.getRunOverStack();
    __snakeItem = std::make_unique<ModelItem>();
    __snakeItem->setModel(__item->getModel());
    __snakeItem->setSlice(&slice);
    bool failed = false;
    if (overStack) {
        notifyProgressed("Running snake on slice " + slice.getName() + "...");
        getMediator().setHint(QString("Slice %1 of %2 (%3). Escape: stop, keep what is done.")
                                  .arg(__numSlicesDone + 1)
                                  .arg(__numSlices)
                                  .arg(QString::fromStdString(slice.getName())));
        if (isPauseDue())
            pause();
        if (__driver.isCanceled())
            return dropSnakeItem();
        try {
            initPixelMatrix(slice);
        } catch (const Exception&) {
            failed = true;
        }
    } else {
        canvas().setExtraItem(__snakeItem.get());
        initPixelMatrix(slice);
    }
    if (!failed) {
        try {
            __snake->setPixelMatrix(__pixelMatrix);
            __snake->setConfig(__snakeConfig, false); // init() makes the edge map in any case
            __snake->setCurve(curve);
            __snake->init();
            __driver.run(*__snake, maxIterations);
        } catch (const Exception&) {
            failed = true;
        }
    }
    if (__driver.isCanceled() || failed) {
        __outcome = __driver.isCanceled() ? "The snake was stopped." : "The snake has aborted.";
        if (failed && !overStack && !__driver.isCanceled()) {
            const QPointer<Delegate> self(this);
            alarm("Snake", "The snake has aborted. Suggestions:\n- change the original contour;\n- change the snake "
                           "parameters.");
            if (!self)
                return;
        }
        return dropSnakeItem();
    }
    curve = __snake->getCurve();
    updateSnakeItem();
    canvas().setExtraItem(nullptr);
    auto action = std::make_unique<VRLItemCreationAction>(*__snakeItem);
    (void)__snakeItem.release(); // the document's, or the action's, from here on
    __step->apply(std::move(action));
    ++__numContours;
}

void VRLSliceEditWidgetMediatorSnakeDelegate::runOverStack(const Curve<float>& curve) {
    const QPointer<Delegate> self(this);
    const int n = askForNumSlices();
    if (!self || !isActive())
        return;
    Stack& stack = *__item->getSlice()->getStack();
    const int rank = stack.findSlice(*__item->getSlice());
    const int lower = n < 1 ? 0 : std::max(rank - n, 0);
    const int upper = n < 1 ? stack.getNumSlices() - 1 : std::min(rank + n, stack.getNumSlices() - 1);
    __numSlices = static_cast<unsigned int>(upper - lower + 1);
    const auto runAlong = [&](int first, int end, int step) {
        Curve<float> work = curve;
        for (int i = first; i != end && !__driver.isCanceled(); i += step) {
            work.detach();
            runOverSlice(stack.getSlice(i), work);
            if (!__snakeConfig.isPropagationEnabled())
                work = curve;
            ++__numSlicesDone;
        }
    };
    runAlong(rank, lower - 1, -1);
    runAlong(rank + 1, upper + 1, 1);
    __outcome = QString("%1 on %2 of %3 slices.")
                    .arg(__driver.isCanceled() ? "The snake was stopped: contours" : "Snake: contours")
                    .arg(__numContours)
                    .arg(__numSlices);
}

/// A question given up counts as one answered with the value that it begins with.
int VRLSliceEditWidgetMediatorSnakeDelegate::askForNumSlices() {
    constexpr int usual = 10;
    QInputDialog dialog;
    dialog.setInputMode(QInputDialog::IntInput);
    dialog.setWindowTitle("nSlices");
    dialog.setLabelText("nSlices");
    dialog.setIntRange(0, 100);
    dialog.setIntStep(1);
    dialog.setIntValue(usual);
    dialog.setToolTip("How many slices before and behind the current one to run on; 0: all slices of the stack.");
    return execute(dialog) ? dialog.intValue() : usual;
}

void VRLSliceEditWidgetMediatorSnakeDelegate::updateSnakeItem() {
    if (!__snakeItem)
        return;
    const float scale = float(__snakeConfig.getScale());
    const Curve<float>& curve = __snake->getCurve();
    std::vector<int> coordinates;
    coordinates.reserve(2 * std::size_t(curve.getSize()));
    for (int i = 0; i < curve.getSize(); ++i)
        for (int j = 0; j < 2; ++j)
            coordinates.push_back(Maths::fround(curve[i][j] * scale));
    __snakeItem->setVertices(coordinates.data(), curve.getSize());
}

void VRLSliceEditWidgetMediatorSnakeDelegate::dropSnakeItem() {
    canvas().setExtraItem(nullptr);
    __snakeItem.reset();
}

} // namespace vorlen
