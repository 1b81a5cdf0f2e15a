#include "ui/app/vrlrootstatusbar.h"

#include <algorithm>
#include <cmath>

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QStatusBar>
#include <QToolButton>

#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/widgets/elidedline.h"

namespace vorlen {

namespace {

QLineEdit* nameField(const QString& accessibleName, QWidget* parent) {
    auto* field = new QLineEdit(parent);
    field->setReadOnly(true);
    field->setFocusPolicy(Qt::ClickFocus); // to be copied from; the keys are for the slice
    field->setFixedWidth(100);
    field->setAccessibleName(accessibleName);
    return field;
}

QLabel* fieldLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setFixedSize(label->sizeHint());
    return label;
}

QToolButton* annotationButton(QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setAutoRaise(true);
    return button;
}

void processPaintEvents() {
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

} // namespace

VRLRootStatusBar::VRLRootStatusBar(QWidget* parent) : QFrame(parent) {
    __stack = nameField("Current stack", this);
    __annotateStack = annotationButton(this);
    __slice = nameField("Current slice", this);
    __annotateSlice = annotationButton(this);
    __statusBar = new QStatusBar(this);
    __statusBar->hide();
    auto* const line = new ElidedLine(this);
    line->setAccessibleName("Message");
    connect(__statusBar, &QStatusBar::messageChanged, line, &ElidedLine::setLine);
    __warning = new QLabel(this);
    __warning->setAccessibleName("Warning");
    __warning->hide();
    __sliceStatusBar = new VRLSliceEditWidgetStatusBar(this);
    __sliceStatusBar->setSizeGripEnabled(false);
    __sliceStatusBar->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    __progressBar = new QProgressBar(this);
    __progressBar->setMinimumWidth(50);
    __progressBar->setMaximumWidth(150);
    __progressBar->setRange(0, 100);
    __progressBar->setAccessibleName("Progress");
    QSizePolicy itsPlace = __progressBar->sizePolicy();
    itsPlace.setRetainSizeWhenHidden(true); // nothing moves when it comes
    __progressBar->setSizePolicy(itsPlace);
    __progressBar->hide();

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    layout->addWidget(fieldLabel("Stack", this), 0, Qt::AlignCenter);
    layout->addWidget(__stack, 0, Qt::AlignCenter);
    layout->addWidget(__annotateStack);
    layout->addSpacing(3);
    layout->addWidget(fieldLabel("Slice", this), 0, Qt::AlignCenter);
    layout->addWidget(__slice, 0, Qt::AlignCenter);
    layout->addWidget(__annotateSlice);
    layout->addSpacing(5);
    layout->addWidget(__warning);
    layout->addWidget(line, 1);
    layout->addWidget(__sliceStatusBar);
    layout->addWidget(__progressBar);
}

void VRLRootStatusBar::setStackAnnotationAction(QAction* action) {
    __annotateStack->setDefaultAction(action);
}

void VRLRootStatusBar::setSliceAnnotationAction(QAction* action) {
    __annotateSlice->setDefaultAction(action);
}

void VRLRootStatusBar::setStack(const QString& name, const QString& path) {
    __stack->setText(name);
    __stack->setCursorPosition(0);
    __stack->setToolTip(path.isEmpty() ? name : name + '\n' + path);
}

void VRLRootStatusBar::setSlice(const QString& name) {
    __slice->setText(name);
    __slice->setCursorPosition(0);
    __slice->setToolTip(name);
}

void VRLRootStatusBar::setWarning(const QString& warning) {
    __warning->setTextFormat(Qt::RichText);
    __warning->setText("<b>\u26a0 No recovery</b>");
    __warning->setToolTip(warning);
    __warning->setAccessibleDescription(warning);
    __warning->setVisible(!warning.isEmpty());
}

void VRLRootStatusBar::setMessage(const QString& message) {
    __statusBar->showMessage(message);
}

void VRLRootStatusBar::setMessage(const QString& message, int timeoutMilliseconds) {
    __statusBar->showMessage(message, timeoutMilliseconds);
}

QString VRLRootStatusBar::message() const {
    return __statusBar->currentMessage();
}

void VRLRootStatusBar::subjectStarted(const std::string& text) {
    setMessage(QString::fromStdString(text));
    processPaintEvents();
}

void VRLRootStatusBar::subjectFinished(const std::string& text) {
    __progressBar->reset();
    __progressBar->hide();
    __sinceEvents.invalidate();
    __sincePicture.invalidate();
    if (!text.empty())
        setMessage(QString::fromStdString(text), 2000);
    else if (!__step.isEmpty() && message() == __step) // which is no longer true
        __statusBar->clearMessage();
    __step.clear();
}

void VRLRootStatusBar::subjectProgressed(const std::string& text) {
    subjectStarted(text);
    __step = QString::fromStdString(text);
}

void VRLRootStatusBar::subjectProgressed(unsigned int current, unsigned int total) {
    const int value = total > 0 ? static_cast<int>(std::lround(100.0 * current / total)) : 0;
    constexpr qint64 pause = 40; // milliseconds
    if (__sinceEvents.isValid() && __sinceEvents.elapsed() < pause)
        return;
    // A repaint of the window is dear where the graphics are made by software: it may take a fifth of the time.
    const bool shows =
        value != __progressBar->value() && !(__sincePicture.isValid() && __sincePicture.elapsed() < __rest);
    if (shows) {
        __progressBar->setUpdatesEnabled(false); // else the value is painted at once, and with the rest once more
        __progressBar->setValue(value);
        __progressBar->setUpdatesEnabled(true);
        __progressBar->show();
    }
    __sinceEvents.start();
    processPaintEvents(); // also where a step is long
    if (shows) {
        __rest = 4 * __sinceEvents.elapsed();
        __sincePicture.start();
    }
    __sinceEvents.start();
}

} // namespace vorlen
