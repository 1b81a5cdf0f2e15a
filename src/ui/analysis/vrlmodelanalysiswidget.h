#pragma once

#include <array>

#include <QWidget>

class QTabWidget;

namespace vorlen {

class ModelDistancesWidget;
class VRLModelAnalysisTable;
class VRLStack;
class VRLTableWidget;

/// The measurements of a stack's models, on a tab for each geometry, and the distances between their surfaces on one
/// more.
class VRLModelAnalysisWidget : public QWidget {
    Q_OBJECT

public:
    explicit VRLModelAnalysisWidget(QWidget* parent = nullptr);

    void setStack(const VRLStack& stack);

public slots:
    /// Of the table whose tab is in front.
    void copySelection() const;
    void save() const;

private:
    const VRLTableWidget& currentTable() const;

    QTabWidget* __tabs;
    std::array<VRLModelAnalysisTable*, 3> __tables;
    ModelDistancesWidget* __distances;
};

} // namespace vorlen
