#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <QAction>
#include <QList>
#include <QMenu>
#include <QObject>
#include <QPointer>

#include "document/stacksliceselectioninfo.h"
#include "ui/tools/toollist.h"

namespace vorlen {

class CommandRegistry;

/// The commands of the tools in the registry of an editor, and their context menu, made from the list of commands.
class ToolMenus : public QObject {
    Q_OBJECT

public:
    /// The commands but those that offer models become part of the registry, which goes before this object.
    ToolMenus(CommandRegistry& commands, QObject* parent);
    ~ToolMenus() override;

    /// For the canvas, so that their keys act there: all commands but those that offer models.
    QList<QAction*> getActions() const;

    /// Enables the commands and menus that make sense for this selection.
    void setSelection(const StackSliceSelectionInfo& selected);

    /// Checks the command of the tool that stays on, and no other one.
    void showChosen(const QString& id);

    /// The context menu, with these actions behind its own. The models of each kind are asked for by name; a command
    /// that offers models can be chosen for those that its rule allows. The submenus must not outlive this object.
    std::unique_ptr<QMenu> newContextMenu(const std::function<QStringList(ToolModels)>& names,
                                          const std::function<const Model*(const QString&)>& find,
                                          const QList<QPointer<QAction>>& others);

signals:
    /// The user has chosen the command, and the model of this name where it offers models.
    void chosen(const ToolCommand& command, const QString& model);

private:
    struct Entry;

    QMenu& menuOf(ToolMenu place);
    void fill(Entry& entry, const QStringList& names, const std::function<const Model*(const QString&)>& find);

    CommandRegistry& __commands;
    std::vector<Entry> __entries; // in the order of the list
    std::vector<std::pair<ToolMenu, std::unique_ptr<QMenu>>> __submenus;
    StackSliceSelectionInfo __selected;
};

} // namespace vorlen
