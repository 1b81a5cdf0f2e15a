#pragma once

#include <vector>

#include <QAbstractItemView>
#include <QWidget>

#include "editing/bus/vrleventclient.h"
#include "editing/stacks/vrlstack.h"

class QLabel;
class QListWidget;
class QListWidgetItem;

namespace vorlen {

/// A list of stacks by name, with their number above it.
///
/// Whoever owns the list adds and removes the stacks; names follow by themselves, and so does the list when a stack
/// is closed. What is done from outside is not told by selectionChanged(), and removing the selected stack leaves none
/// selected in its place.
class VRLStackListWidget : public QWidget, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLStackListWidget(QWidget* parent = nullptr);

    /// At the end; nothing for a stack that is listed.
    void addStack(VRLStack& stack);
    void removeStack(VRLStack& stack);

    /// Selects this stack alone; none, when it is not listed.
    void setSelectedStack(const VRLStack& stack);
    void clearSelected();

    /// One stack at most unless told otherwise.
    void setSelectionMode(QAbstractItemView::SelectionMode mode);

    /// In the order of the list.
    std::vector<VRLStack*> selectedStacks() const;

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackNameEvent(VRLStackNameEvent& event) override;

signals:
    /// The user has selected something else.
    void selectionChanged();

private:
    int findRow(const VRLStack& stack) const;
    void showCount();

    QLabel* __label;
    QListWidget* __list;
};

} // namespace vorlen

Q_DECLARE_METATYPE(vorlen::VRLStack*)
