#pragma once

#include <QWidget>

#include "ui/commands/commandregistry.h"

class QLabel;

namespace vorlen {

class VRLAnalysisWindowMediator;
class VRLStack;

/// A window of its own with the measurements of one stack, as tables: of the items of a model, of the slices, and of
/// the models in space. It shows itself, and deletes itself when it is closed or the program ends.
///
/// The tables are a snapshot and do not follow later changes of the stack; the stack may be closed before the window.
/// Position and size are kept in the settings. A position that is on no screen any more is replaced by the default.
class VRLAnalysisWindow : public QWidget {
    Q_OBJECT

public:
    VRLAnalysisWindow();

    void setStack(const VRLStack& stack);

    /// Their ids stand in analysisCommands().
    CommandRegistry& commands() { return __commands; }

private:
    void buildSheets();
    void buildMenus();

    VRLAnalysisWindowMediator* __mediator;
    QLabel* __stackLabel = nullptr;
    CommandRegistry __commands{*this};
};

} // namespace vorlen
