#pragma once

#include <array>

#include <QWidget>

class QTabWidget;

namespace vorlen {

class VRLModelAnalysisTable;
class VRLStack;

/// The measurements of a stack's models, on a tab for each geometry.
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
    const VRLModelAnalysisTable& currentTable() const;

    QTabWidget* __tabs;
    std::array<VRLModelAnalysisTable*, 3> __tables;
};

} // namespace vorlen
