#include "ui/progress/vrlprogressproxy.h"

#include <string>

namespace vorlen {

namespace {

void connectOnce(const VRLProgressProxy& sender, const char* signal, const VRLProgressProxy& receiver,
                 const char* slot) {
    QObject::connect(&sender, signal, &receiver, slot,
                     static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::UniqueConnection));
}

} // namespace

VRLProgressProxy::VRLProgressProxy(QObject* parent) : QObject(parent) {
}

void VRLProgressProxy::addMonitor(VRLProgressProxy& monitor) {
    connectOnce(*this, SIGNAL(started()), monitor, SLOT(subjectStarted()));
    connectOnce(*this, SIGNAL(finished()), monitor, SLOT(subjectFinished()));
    connectOnce(*this, SIGNAL(canceled()), monitor, SLOT(subjectCanceled()));
    connectOnce(*this, SIGNAL(progressed(const QString&)), monitor, SLOT(subjectProgressed(const QString&)));
    connectOnce(*this, SIGNAL(progressed(const unsigned int, const unsigned int)), monitor,
                SLOT(subjectProgressed(const unsigned int, const unsigned int)));
}

void VRLProgressProxy::removeMonitor(VRLProgressProxy& monitor) {
    QObject::disconnect(this, nullptr, &monitor, nullptr);
}

void VRLProgressProxy::notifyStarted(const std::string& text) {
    ProgressProxy::notifyStarted(text);
    emit started();
}

void VRLProgressProxy::notifyFinished(const std::string& text) {
    ProgressProxy::notifyFinished(text);
    emit finished();
}

void VRLProgressProxy::notifyCanceled(const std::string& text) {
    ProgressProxy::notifyCanceled(text);
    emit canceled();
}

void VRLProgressProxy::notifyProgressed(unsigned int current, unsigned int total) {
    ProgressProxy::notifyProgressed(current, total);
    emit progressed(current, total);
}

void VRLProgressProxy::notifyProgressed(const std::string& text) {
    ProgressProxy::notifyProgressed(text);
    emit progressed(QString::fromStdString(text));
}

// The virtual callbacks, so that what derives from this class and overrides them hears the queued reports as well.
void VRLProgressProxy::subjectStarted() {
    subjectStarted(std::string());
}

void VRLProgressProxy::subjectFinished() {
    subjectFinished(std::string());
}

void VRLProgressProxy::subjectCanceled() {
    subjectCanceled(std::string());
}

void VRLProgressProxy::subjectProgressed(const QString& text) {
    subjectProgressed(text.toStdString());
}

void VRLProgressProxy::subjectProgressed(const unsigned int current, const unsigned int total) {
    ProgressProxy::subjectProgressed(current, total);
}

} // namespace vorlen
