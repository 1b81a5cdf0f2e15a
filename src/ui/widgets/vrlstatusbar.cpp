#include "ui/widgets/vrlstatusbar.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QStatusBar>

namespace vorlen {

VRLStatusBar::VRLStatusBar(QWidget* parent) : QFrame(parent) {
    __statusBar = new QStatusBar(this);
    __statusBar->setSizeGripEnabled(false);
    __progressBar = new QProgressBar(this);
    __progressBar->setRange(0, 100);
    __progressBar->setFixedWidth(150);
    __progressBar->setAccessibleName("Progress");
    QSizePolicy itsPlace = __progressBar->sizePolicy();
    itsPlace.setRetainSizeWhenHidden(true); // nothing moves when it comes
    __progressBar->setSizePolicy(itsPlace);
    __progressBar->hide();
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(2);
    layout->addWidget(__statusBar, 1);
    layout->addWidget(__progressBar);
}

void VRLStatusBar::setMessage(const QString& message, int timeout) {
    __statusBar->showMessage(message, timeout);
}

QString VRLStatusBar::message() const {
    return __statusBar->currentMessage();
}

void VRLStatusBar::subjectFinished(const std::string& text) {
    __statusBar->showMessage(QString::fromStdString(text), 2000);
    __progressBar->reset();
    __progressBar->hide();
    QCoreApplication::sendPostedEvents();
}

void VRLStatusBar::subjectProgressed(const std::string& text) {
    __statusBar->showMessage(QString::fromStdString(text));
    QCoreApplication::sendPostedEvents();
}

void VRLStatusBar::subjectProgressed(unsigned int current, unsigned int total) {
    const int value = total > 0 ? static_cast<int>(100.0 * current / total) : 0;
    if (value == __progressBar->value())
        return;
    __progressBar->setValue(value);
    __progressBar->show();
    QCoreApplication::sendPostedEvents();
}

} // namespace vorlen
