#pragma once

#include <QWidget>

class QListWidget;

namespace vorlen {

class VRLStack;

/// The steps of a stack's history by their names, the oldest first: those that are done, and in grey those that were
/// undone. A double click, or Return, goes to the state behind a step.
class HistoryPanel : public QWidget {
    Q_OBJECT

public:
    explicit HistoryPanel(QWidget* parent = nullptr);

    /// Null for none.
    void setStack(VRLStack* stack);
    void setLocked(bool locked);
    QListWidget& list() { return *__list; }

signals:
    /// Wants so many steps undone; redone for a number below 0.
    void goRequested(int numSteps);

private:
    void fill();
    void fillLater();
    void go(int row);

    VRLStack* __stack = nullptr;
    QListWidget* __list;
    bool __pending = false;
};

} // namespace vorlen
