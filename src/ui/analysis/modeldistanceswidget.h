#pragma once

#include <memory>

#include <QPointer>
#include <QWidget>

#include "editing/stacks/vrlstack.h"

class QComboBox;
class QLabel;

namespace vorlen {

class ModelDistances;
class VRLTableWidget;

/// How far the surface of a chosen model lies from those of the others.
///
/// The surfaces are built when the sheet is first shown, and kept as they are then: the stack may be closed later on.
/// Distances are measured when a model is chosen; that can be cancelled, and the rows that are there stay. A line
/// below tells what is left out, and why.
class ModelDistancesWidget : public QWidget {
    Q_OBJECT

public:
    explicit ModelDistancesWidget(QWidget* parent = nullptr);
    ~ModelDistancesWidget() override;

    /// Forgets the surfaces of another stack.
    void setStack(const VRLStack& stack);

    const VRLTableWidget& getTable() const { return *__table; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void build();
    void measure(int choice);
    QString leftOutText() const;
    void tell(const QString& first);

    QPointer<const VRLStack> __stack;
    std::unique_ptr<ModelDistances> __distances;
    QComboBox* __models;
    VRLTableWidget* __table;
    QLabel* __note;
};

} // namespace vorlen
