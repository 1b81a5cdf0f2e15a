#include "ui/models/vrlfieldmark.h"

#include <QAction>
#include <QLineEdit>
#include <QPalette>
#include <QStyle>

namespace vorlen {

VRLFieldMark::VRLFieldMark(QLineEdit& field) : QObject(&field), __field(field) {
    __sign = field.addAction(field.style()->standardIcon(QStyle::SP_MessageBoxWarning), QLineEdit::TrailingPosition);
    __sign->setVisible(false);
}

void VRLFieldMark::setToolTip(const QString& text) {
    __toolTip = text;
    show();
}

void VRLFieldMark::setProblem(const QString& reason) {
    if (reason == __problem)
        return;
    __problem = reason;
    show();
}

void VRLFieldMark::show() {
    const bool marked = !__problem.isEmpty();
    QPalette palette;
    if (marked) {
        palette.setColor(QPalette::Base, QColor(255, 221, 221));
        palette.setColor(QPalette::Text, QColor(120, 0, 0));
    }
    __field.setPalette(palette);
    __sign->setVisible(marked);
    __sign->setToolTip(__problem);
    __field.setToolTip(marked ? __problem : __toolTip);
    __field.setAccessibleDescription(__problem);
}

} // namespace vorlen
