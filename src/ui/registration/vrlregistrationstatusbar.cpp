#include "ui/registration/vrlregistrationstatusbar.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QStatusBar>

namespace vorlen {

VRLRegistrationStatusBar::VRLRegistrationStatusBar(QWidget* parent) : QFrame(parent) {
    __statusBar = new QStatusBar(this);
    __statusBar->setSizeGripEnabled(false);
    __progressBar = new QProgressBar(this);
    __progressBar->setFixedWidth(150);
    __progressBar->setAccessibleName("Progress");
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(5, 5, 5, 5);
    layout->setSpacing(5);
    layout->addWidget(__statusBar, 1);
    layout->addWidget(__progressBar);
}

void VRLRegistrationStatusBar::setMessage(const QString& message, int timeout) {
    __statusBar->showMessage(message, timeout);
}

QString VRLRegistrationStatusBar::message() const {
    return __statusBar->currentMessage();
}

void VRLRegistrationStatusBar::subjectStarted(const std::string& text) {
    subjectProgressed(text);
}

void VRLRegistrationStatusBar::subjectFinished(const std::string&) {
    __progressBar->reset();
    subjectProgressed(std::string());
}

void VRLRegistrationStatusBar::subjectProgressed(const std::string& text) {
    __statusBar->showMessage(QString::fromStdString(text));
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void VRLRegistrationStatusBar::subjectProgressed(unsigned int current, unsigned int total) {
    __progressBar->setMaximum(static_cast<int>(total));
    __progressBar->setValue(static_cast<int>(current));
}

} // namespace vorlen
