#pragma once

#include <QMessageBox>
#include <QWidget>

#include "editing/operations/outcome.h"
#include "ui/session/vrlconfig.h"

namespace vorlen {

/// Tells the user why an operation was refused, if it was; true then.
inline bool tellRefusal(QWidget* parent, const Outcome& outcome) {
    if (outcome)
        return false;
    QMessageBox box(QMessageBox::Warning, appName, QString::fromStdString(outcome.getReason()) + ".", QMessageBox::Ok,
                    parent);
    box.setTextFormat(Qt::PlainText);
    box.exec();
    return true;
}

} // namespace vorlen
