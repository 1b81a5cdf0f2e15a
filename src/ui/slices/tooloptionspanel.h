#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

namespace vorlen {

class VRLSliceEditWidgetMediator;

/// The options of the tool that stays on in a slice editor, in one place: its name, what it does, and its controls. It
/// follows the choice of the tool.
class ToolOptionsPanel : public QWidget {
    Q_OBJECT

public:
    /// The editor has been initialized and lives as long as the panel is used.
    ToolOptionsPanel(VRLSliceEditWidgetMediator& editor, QWidget* parent = nullptr);

    /// Null for a tool without options.
    QWidget* options() const { return __options; }

private:
    void showTool();

    VRLSliceEditWidgetMediator& __editor;
    QVBoxLayout* __layout;
    QLabel* __name;
    QLabel* __tip;
    QWidget* __options = nullptr;
};

} // namespace vorlen
