#include "ui/app/samplestack.h"

#include <utility>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace vorlen {

namespace {

const char* const stackName = "sample.sdf";

QString folder() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)).filePath("Vorlen sample");
}

} // namespace

SampleStack::SampleStack(QObject* parent) : QObject(parent) {
}

SampleStack::~SampleStack() {
    if (__process == nullptr)
        return;
    __process->disconnect(this);
    __process->kill();
    __process->waitForFinished(1000); // before its folder goes
}

QString SampleStack::file() {
    return QDir(folder()).filePath(stackName);
}

void SampleStack::make() {
    if (isBeingMade())
        return;
    if (QFileInfo::exists(file())) {
        emit ready(file());
        return;
    }
    if (QFileInfo::exists(folder()))
        return giveUp("The folder " + folder() + " is there, but has no " + stackName +
                      ". Rename it, or remove it, and the sample stack is made anew.");
    const QString documents = QFileInfo(folder()).path();
    QDir().mkpath(documents);
    __part = std::make_unique<QTemporaryDir>(documents + "/.vorlen-sample-XXXXXX");
    if (!__part->isValid())
        return giveUp("There is no way to write into " + documents + ": " + __part->errorString());
    __process = new QProcess(this);
    connect(__process, &QProcess::finished, this, &SampleStack::end);
    connect(__process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            end();
    });
    __process->start(QDir(QCoreApplication::applicationDirPath()).filePath("vorlen-sample"),
                     {__part->filePath("sample")});
    emit started();
}

void SampleStack::end() {
    QProcess* const process = std::exchange(__process, nullptr);
    if (process == nullptr)
        return;
    process->deleteLater();
    if (process->error() == QProcess::FailedToStart)
        return giveUp("The program vorlen-sample, which makes it, cannot be run: " + process->errorString());
    if (process->exitStatus() != QProcess::NormalExit || process->exitCode() != 0) {
        const QString said = QString::fromLocal8Bit(process->readAllStandardError()).trimmed();
        return giveUp(said.isEmpty() ? QString("The program vorlen-sample, which makes it, ended before its time.")
                                     : said);
    }
    // Another window may have been quicker.
    if (!QDir().rename(__part->filePath("sample"), folder()) && !QFileInfo::exists(file()))
        return giveUp("There is no way to write " + folder());
    __part.reset();
    emit ready(file());
}

void SampleStack::giveUp(const QString& reason) {
    __part.reset();
    emit failed(reason);
}

} // namespace vorlen
