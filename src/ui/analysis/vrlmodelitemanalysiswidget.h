#pragma once

#include <QPointer>
#include <QWidget>

#include "editing/stacks/vrlstack.h"

namespace vorlen {

class VRLModelItemAnalysisTable;
class VRLModelListWidget;

/// The models of a stack, and beside them the measurements of the items of the one that is chosen.
///
/// Items are measured when their model is chosen. When the stack is closed, no more models can be chosen; the table
/// keeps what it shows, as it does when the choice becomes empty.
class VRLModelItemAnalysisWidget : public QWidget {
    Q_OBJECT

public:
    explicit VRLModelItemAnalysisWidget(QWidget* parent = nullptr);

    void setStack(const VRLStack& stack);

public slots:
    /// Of the table.
    void copySelection() const;
    void save() const;

private slots:
    void modelSelectionChange();
    void stackDestroyed();

private:
    VRLModelListWidget* __modelList;
    VRLModelItemAnalysisTable* __table;
    QPointer<const VRLStack> __stack;
};

} // namespace vorlen
