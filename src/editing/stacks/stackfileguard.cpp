#include "editing/stacks/stackfileguard.h"

#include <sys/stat.h>

#include <QFile>
#include <QFileInfo>
#include <QLockFile>

namespace vorlen {

namespace {

std::unique_ptr<QLockFile> lockOf(const std::string& file) {
    const QFileInfo info(QFile::decodeName(file.c_str()));
    auto lock = std::make_unique<QLockFile>(info.absolutePath() + "/.~lock." + info.fileName() + "#");
    lock->setStaleLockTime(0); // the lock of a live program never grows stale
    return lock;
}

} // namespace

StackFileGuard::StackFileGuard() = default;
StackFileGuard::~StackFileGuard() = default;

StackFileGuard::Stamp StackFileGuard::stampOf(const std::string& file) {
    struct stat status;
    if (file.empty() || ::stat(file.c_str(), &status) != 0)
        return {};
    return {status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_dev, status.st_ino};
}

void StackFileGuard::note(const std::string& file) {
    __file = file;
    __stamp = stampOf(file);
}

void StackFileGuard::noteAsChanged(const std::string& file) {
    __file = file;
    __stamp = {.size = -2}; // that no file has
}

bool StackFileGuard::isChanged(const std::string& file) const {
    if (file != __file || __stamp == Stamp())
        return false;
    const Stamp now = stampOf(file);
    return now != Stamp() && now != __stamp;
}

bool StackFileGuard::lock(const std::string& file) {
    __lock.reset();
    auto lock = lockOf(file);
    if (lock->tryLock())
        __lock = std::move(lock);
    else if (lock->error() == QLockFile::LockFailedError)
        return false;
    return true;
}

void StackFileGuard::takeLockOf(StackFileGuard& other) {
    __lock = std::move(other.__lock);
}

void StackFileGuard::breakLock(const std::string& file) {
    __lock.reset();
    auto lock = lockOf(file);
    lock->removeStaleLockFile();
    if (!lock->tryLock()) {
        QFile::remove(lock->fileName());
        if (!lock->tryLock())
            return;
    }
    __lock = std::move(lock);
}

QString StackFileGuard::holder(const std::string& file) {
    const auto lock = lockOf(file);
    qint64 process = 0;
    QString host, application;
    if (!lock->getLockInfo(&process, &host, &application))
        return {};
    return application + " on " + host + " (process " + QString::number(process) + ")";
}

} // namespace vorlen
