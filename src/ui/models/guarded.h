#pragma once

#include <exception>

#include <QMessageBox>
#include <QWidget>

#include "numerics/exception.h"
#include "ui/session/vrlconfig.h"

namespace vorlen {

/// Runs the work of a command. What it throws ends at a message box with this sentence and the error's own.
template <class Work>
void guarded(QWidget* parent, const QString& failure, Work&& work) {
    QString reason;
    try {
        work();
        return;
    } catch (const Exception& error) {
        reason = QString::fromStdString(error.getWhat());
    } catch (const std::exception& error) {
        reason = QString::fromUtf8(error.what());
    }
    QMessageBox box(QMessageBox::Critical, appName, failure + "\n\n" + reason, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace vorlen
