#pragma once

#include <set>
#include <vector>

#include <QAbstractItemDelegate>
#include <QString>
#include <QWidget>

class QLabel;
class QLineEdit;
class QMenu;
class QModelIndex;
class QPushButton;
class QSortFilterProxyModel;
class QStackedWidget;
class QToolButton;
class QTreeView;

namespace vorlen {

class Model;
class ModelTable;
class ModelViews;
class StackSlice;
class VRLStack;

/// The models of the current stack beside the slice: colour, name, number of items here and in all, shown, locked, and
/// which one is current. Models are made, renamed, recoloured and deleted in place, each as a step of the history. A
/// line below tells on how many slices the current model is outlined, and which between them lack it.
///
/// Models can be put in groups, which are shown, hidden, locked and folded as one: by dragging them onto a group, or by
/// the menu of the right click, for all rows that are selected. What is folded is kept as long as the panel is there.
///
/// Decisions: a new model is a closed outline in the colour that is farthest from those of the others, and its name is
/// ready to be typed over. The row of the current model is the selected one. Once a new model is named, and when a
/// model is chosen by a click, the keys are wanted where it is drawn; by the keyboard alone they stay in the list.
class ModelPanel : public QWidget {
    Q_OBJECT

public:
    explicit ModelPanel(ModelViews& views, QWidget* parent = nullptr);

    /// Room for names of twenty letters.
    QSize sizeHint() const override;

    /// Null for none.
    void setStack(VRLStack* stack);
    void setSlice(StackSlice* slice);

    QTreeView& list() { return *__list; }
    QLineEdit& filter() { return *__filter; }
    const QLabel& gapLine() const { return *__gaps; }

    /// While something is drawn or edited nothing is changed here.
    void setLocked(bool locked);

public slots:
    /// Makes a model, makes it current, and lets its name be typed over.
    void createModel();
    void createLineModel();
    void createPointModel();
    void renameCurrent();
    /// Asks for a colour.
    void recolourCurrent();
    /// Deletes the models of the selected rows. Asks first where items go with them.
    void deleteCurrent();
    /// Puts the selected models into a new group, whose name can be typed over at once.
    void groupSelected();
    /// Puts the selected models into a group; out of theirs for no name.
    void groupSelected(const QString& group);

signals:
    /// All about the model in one window is wanted.
    void propertiesRequested();
    /// Wants a slice that the line of gaps tells of.
    void sliceRequested(StackSlice& slice);
    /// A model has been made and named, or chosen by a click: what comes next is to outline.
    void outliningWanted();

private:
    void makeList();
    void makeButtons();
    void create(int geometry);
    void clicked(const QModelIndex& index);
    void endNaming(QAbstractItemDelegate::EndEditHint hint);
    void currentRowChanged(const QModelIndex& index);
    void showCurrent();
    void showGaps();
    void showMenu(const QPoint& position);
    void updateButtons();
    void showGroups();
    void fillGroupMenu(QMenu& menu);
    void fillMenuOfGroup(QMenu& menu, const QModelIndex& index);
    QModelIndex tableIndex(const QModelIndex& index) const;
    QModelIndex rowOfGroup(const QString& group) const;
    std::vector<Model*> selectedModels() const;

    ModelViews& __views;
    ModelTable* __table;
    QSortFilterProxyModel* __sorted;
    QTreeView* __list;
    QLineEdit* __filter;
    QStackedWidget* __pages;
    QToolButton* __new;
    QPushButton* __firstNew;
    QPushButton* __delete;
    QLabel* __empty;
    QLabel* __gaps;
    std::set<QString> __folded; // groups
    VRLStack* __stack = nullptr;
    bool __locked = false;
    bool __rowsChange = false; // rows are going
    bool __namesNew = false;   // the name of a model just made is edited
};

} // namespace vorlen
