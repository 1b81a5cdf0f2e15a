#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

namespace vorlen {

/// Lets the letters that are keys of a widget's own actions act while another widget has the keyboard, such as a list
/// beside it that was clicked on: the first takes the keyboard then. Arrows, Delete, Return, what is typed with Ctrl or
/// Alt, and letters that are no keys stay with the list.
///
/// A child of the list.
class LetterKeys : public QObject {
public:
    LetterKeys(QWidget& list, QWidget& owner);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isKey(const QKeySequence& keys) const;

    QPointer<QWidget> __owner; // of the actions
};

} // namespace vorlen
