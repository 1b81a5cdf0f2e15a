#pragma once

#include <QMessageBox>
#include <QString>

namespace vorlen {

/// A message box that shows its text as it is: names that users give may look like marked up text.
class PlainMessageBox : public QMessageBox {
public:
    PlainMessageBox(Icon icon, const QString& title, const QString& text, StandardButtons buttons = NoButton,
                    QWidget* parent = nullptr)
        : QMessageBox(icon, title, QString(), buttons, parent) {
        setTextFormat(Qt::PlainText);
        setText(text);
    }
};

} // namespace vorlen
