#pragma once

#include <exception>
#include <new>

#include <QMessageBox>
#include <QWidget>

#include "numerics/exception.h"
#include "ui/session/vrlconfig.h"

namespace vorlen {

/// What the error that is being caught tells the user. For a catch block alone.
inline QString currentFailure() {
    try {
        throw;
    } catch (const Exception& error) {
        return QString::fromStdString(error.getWhat());
    } catch (const std::bad_alloc&) {
        return "There is not enough memory.";
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    }
}

/// Runs the work of a command. What it throws ends at a message box with this sentence and the error's own.
template <class Work>
void guarded(QWidget* parent, const QString& failure, Work&& work) {
    QString reason;
    try {
        work();
        return;
    } catch (...) {
        reason = currentFailure();
    }
    QMessageBox box(QMessageBox::Critical, appName, failure + "\n\n" + reason, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace vorlen
