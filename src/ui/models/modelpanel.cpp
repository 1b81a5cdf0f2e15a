#include "ui/models/modelpanel.h"

#include <algorithm>

#include <QAction>
#include <QCollator>
#include <QColorDialog>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPersistentModelIndex>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include "document/model.h"
#include "document/stackslice.h"
#include "editing/operations/modeloperations.h"
#include "editing/operations/modelsections.h"
#include "editing/stacks/vrlstack.h"
#include "ui/models/guarded.h"
#include "ui/models/modeltable.h"
#include "ui/models/modelviews.h"
#include "ui/models/refusal.h"
#include "ui/widgets/plaintext.h"

namespace vorlen {

namespace {

/// Names in the order of people, and alike for all users: numbers in them count as numbers. Groups stand before models.
class ModelOrder : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override {
        static const QCollator collator = [] {
            QCollator made{QLocale(QLocale::English)};
            made.setNumericMode(true);
            made.setCaseSensitivity(Qt::CaseInsensitive);
            return made;
        }();
        const bool isGroup = !(left.flags() & Qt::ItemNeverHasChildren);
        const bool isOtherGroup = !(right.flags() & Qt::ItemNeverHasChildren);
        if (isGroup != isOtherGroup)
            return isGroup == (sortOrder() == Qt::AscendingOrder);
        if (left.column() != ModelTable::Name)
            return QSortFilterProxyModel::lessThan(left, right);
        return collator.compare(left.data().toString(), right.data().toString()) < 0;
    }
};

constexpr int leastNameWidth = 80;

const char* const stackButNoModel = "This stack has no models yet.\n\nA model is a structure that you will outline: it "
                                    "has a name and a colour.";

} // namespace

ModelPanel::ModelPanel(ModelViews& views, QWidget* parent) : QWidget(parent), __views(views) {
    makeList();
    makeButtons();
    connect(&views, &ModelViews::currentChanged, this, &ModelPanel::showCurrent);
    connect(__table, &ModelTable::counted, this, &ModelPanel::showGaps);
    connect(__table, &ModelTable::refused, this,
            [this](const QString& reason) { tellRefusal(this, Outcome::refused(reason.toStdString())); });
    connect(__table, &QAbstractItemModel::rowsRemoved, this, [this] {
        __rowsChange = false;
        showCurrent();
        showGroups();
    });
    connect(__table, &QAbstractItemModel::rowsInserted, this, [this] {
        updateButtons();
        showGroups();
    });
    connect(__table, &ModelTable::regrouped, this, [this] {
        showGroups();
        showCurrent();
    });
    setStack(nullptr);
}

void ModelPanel::makeList() {
    __table = new ModelTable(__views, this);
    // Before the rows go, and when they are gone, from everywhere: see currentRowChanged().
    connect(__table, &QAbstractItemModel::rowsAboutToBeRemoved, this, [this] { __rowsChange = true; });
    __sorted = new ModelOrder(this);
    __sorted->setSourceModel(__table);
    __sorted->setFilterKeyColumn(ModelTable::Name);
    __sorted->setFilterCaseSensitivity(Qt::CaseInsensitive);
    __sorted->setRecursiveFilteringEnabled(true); // a group stays for its models,
    __sorted->setAutoAcceptChildRows(true);       // and they for its name
    __list = new QTreeView(this);
    __list->setModel(__sorted);
    __list->setTreePosition(ModelTable::Name);
    __list->setIndentation(12);
    __list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    __list->setDragDropMode(QAbstractItemView::InternalMove);
    __list->setUniformRowHeights(true);
    __list->setAllColumnsShowFocus(true);
    __list->setSortingEnabled(true);
    __list->sortByColumn(ModelTable::Name, Qt::AscendingOrder);
    __list->setContextMenuPolicy(Qt::CustomContextMenu);
    __list->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    __list->setAccessibleName("Models");
    QHeaderView& header = *__list->header();
    header.setStretchLastSection(false);
    header.setMinimumSectionSize(24);
    for (int column = 0; column < ModelTable::NumColumns; ++column)
        header.setSectionResizeMode(column, column == ModelTable::Name ? QHeaderView::Stretch : QHeaderView::Fixed);
    for (const int column : {ModelTable::Shown, ModelTable::Locked})
        header.resizeSection(column, 26);
    for (const int column : {ModelTable::Here, ModelTable::All})
        header.resizeSection(column, header.fontMetrics().horizontalAdvance("8888") + 12);
    int others = 2 * __list->frameWidth();
    for (int column = 0; column < ModelTable::NumColumns; ++column)
        others += column == ModelTable::Name ? 0 : header.sectionSize(column);
    __list->setMinimumWidth(others + leastNameWidth); // a name is seen, and can be typed, however narrow the panel is
    __list->setMinimumHeight(header.sizeHint().height() + 2 * header.fontMetrics().lineSpacing()); // of a low window
    connect(__list, &QTreeView::clicked, this, &ModelPanel::clicked);
    connect(__list->itemDelegate(), &QAbstractItemDelegate::closeEditor, this,
            [this](QWidget*, QAbstractItemDelegate::EndEditHint hint) { endNaming(hint); });
    connect(__list, &QTreeView::collapsed, this, [this](const QModelIndex& group) {
        if (__filter->text().isEmpty())
            __folded.insert(group.siblingAtColumn(ModelTable::Name).data().toString());
    });
    connect(__list, &QTreeView::expanded, this, [this](const QModelIndex& group) {
        if (__filter->text().isEmpty())
            __folded.erase(group.siblingAtColumn(ModelTable::Name).data().toString());
    });
    connect(__list, &QWidget::customContextMenuRequested, this, &ModelPanel::showMenu);
    connect(__list->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &ModelPanel::currentRowChanged);
}

void ModelPanel::makeButtons() {
    __filter = new QLineEdit(this);
    __filter->setPlaceholderText("Filter by name");
    __filter->setAccessibleName("Filter models by name");
    __filter->setClearButtonEnabled(true);
    connect(__filter, &QLineEdit::textChanged, this, [this](const QString& text) {
        __rowsChange = true;
        __sorted->setFilterFixedString(text);
        __rowsChange = false;
        showGroups();
        showCurrent();
    });

    __empty = new QLabel(this);
    __empty->setWordWrap(true);
    __empty->setMinimumHeight(2 * __empty->fontMetrics().lineSpacing()); // makes no room where it is not seen
    __empty->setAlignment(Qt::AlignCenter);
    __firstNew = new QPushButton("New model", this);
    __firstNew->setObjectName("firstNewModel");
    connect(__firstNew, &QPushButton::clicked, this, &ModelPanel::createModel);
    auto* const emptyPage = new QWidget(this);
    auto* const emptyLayout = new QVBoxLayout(emptyPage);
    emptyLayout->addStretch(1);
    emptyLayout->addWidget(__empty);
    emptyLayout->addWidget(__firstNew, 0, Qt::AlignHCenter);
    emptyLayout->addStretch(2);
    __pages = new QStackedWidget(this);
    __pages->addWidget(__list);
    __pages->addWidget(emptyPage);

    __new = new QToolButton(this);
    __new->setText("New model");
    __new->setToolTip("Make a model of closed outlines; the arrow offers lines and points");
    __new->setPopupMode(QToolButton::MenuButtonPopup);
    auto* const kinds = new QMenu(__new);
    kinds->addAction("Closed outlines", this, &ModelPanel::createModel);
    kinds->addAction("Open lines", this, &ModelPanel::createLineModel);
    kinds->addAction("Points", this, &ModelPanel::createPointModel);
    __new->setMenu(kinds);
    connect(__new, &QToolButton::clicked, this, &ModelPanel::createModel);
    __delete = new QPushButton("Delete", this);
    __delete->setToolTip("Delete the current model with its outlines");
    connect(__delete, &QPushButton::clicked, this, &ModelPanel::deleteCurrent);
    __gaps = new QLabel(this);
    __gaps->setWordWrap(true);
    __gaps->setTextFormat(Qt::RichText);
    __gaps->setAccessibleName("Where the current model is outlined");
    connect(__gaps, &QLabel::linkActivated, this, [this](const QString& rank) {
        if (__stack != nullptr && rank.toInt() < __stack->getNumSlices())
            emit sliceRequested(__stack->getSlice(rank.toInt()));
    });

    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(__new);
    buttons->addWidget(__delete);
    buttons->addStretch(1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->setSpacing(6);
    layout->addWidget(__filter);
    layout->addWidget(__pages, 1);
    layout->addWidget(__gaps);
    layout->addLayout(buttons);
}

QSize ModelPanel::sizeHint() const {
    QSize size = QWidget::sizeHint();
    const int name = fontMetrics().horizontalAdvance(QString(20, 'n')) + 28; // and the colour beside it
    size.setWidth(std::max(size.width(), __list->minimumWidth() - leastNameWidth + name + 12));
    return size;
}

void ModelPanel::setStack(VRLStack* stack) {
    __stack = stack;
    __table->setStack(stack);
    showGroups();
    showCurrent();
    updateButtons();
}

void ModelPanel::setSlice(StackSlice* slice) {
    __table->setSlice(slice);
}

void ModelPanel::setLocked(bool locked) {
    __locked = locked;
    updateButtons();
}

void ModelPanel::updateButtons() {
    const bool any = __table->numModels() > 0;
    __pages->setCurrentIndex(any || __stack == nullptr ? 0 : 1);
    __empty->setText(stackButNoModel);
    __filter->setVisible(any);
    const bool free = __stack != nullptr && !__locked;
    __list->setEnabled(free);
    for (QWidget* button : {static_cast<QWidget*>(__new), static_cast<QWidget*>(__firstNew)})
        button->setEnabled(free);
    __delete->setEnabled(free && __views.getCurrent() != nullptr);
}

void ModelPanel::createModel() {
    create(PolygonPrimitive);
}

void ModelPanel::createLineModel() {
    create(PolylinePrimitive);
}

void ModelPanel::createPointModel() {
    create(PolypointPrimitive);
}

void ModelPanel::create(int geometry) {
    if (__stack == nullptr || __locked)
        return;
    guarded(this, "The model cannot be made.", [&] {
        const ModelChange change = nextModel(*__stack, MPrimitive(geometry));
        if (tellRefusal(this, vorlen::createModel(*__stack, change)))
            return;
        __filter->clear();
        __views.setCurrent(__stack->getModel(__stack->findModel(*change.name)));
        showCurrent();
        renameCurrent();
        __namesNew = true;
    });
}

/// Return in the name of a new model ends the work in the list; whoever leaves it otherwise has chosen where to go.
void ModelPanel::endNaming(QAbstractItemDelegate::EndEditHint hint) {
    if (__namesNew && hint == QAbstractItemDelegate::SubmitModelCache)
        QMetaObject::invokeMethod(this, &ModelPanel::outliningWanted, Qt::QueuedConnection); // the editor goes first
    __namesNew = false;
}

void ModelPanel::renameCurrent() {
    if (const Model* const model = __views.getCurrent(); model != nullptr && !__list->currentIndex().isValid()) {
        __folded.erase(QString::fromStdString(model->getGroup())); // where it is hidden
        showGroups();
        showCurrent();
    }
    const QModelIndex row = __list->currentIndex();
    if (!row.isValid() || __locked)
        return;
    __list->setFocus();
    __list->edit(row.siblingAtColumn(ModelTable::Name));
}

// The dialog runs a loop of its own, in which the model may go.
void ModelPanel::recolourCurrent() {
    Model* const model = __views.getCurrent();
    if (model == nullptr || __locked)
        return;
    const QColor color =
        QColorDialog::getColor(colorOf(*model), this, "Colour of " + QString::fromStdString(model->getName()));
    if (!color.isValid() || __stack == nullptr || __views.getCurrent() != model)
        return;
    ModelChange change;
    change.itemProperties.setColor(color.red(), color.green(), color.blue());
    guarded(this, "The model cannot be changed.", [&] { tellRefusal(this, changeModels(*__stack, {model}, change)); });
}

// The question runs a loop of its own, in which the models may go.
void ModelPanel::deleteCurrent() {
    if (__stack == nullptr || __locked)
        return;
    std::vector<Model*> models = selectedModels();
    if (models.empty() && __views.getCurrent() != nullptr)
        models = {__views.getCurrent()};
    if (models.empty())
        return;
    int numItems = 0;
    for (const Model* model : models)
        numItems += model->getNumItems();
    if (numItems > 0) {
        const QString what = models.size() == 1
                                 ? QString("the model \"%1\"").arg(QString::fromStdString(models[0]->getName()))
                                 : QString("%1 models").arg(models.size());
        PlainMessageBox box(
            QMessageBox::Warning, "Delete model",
            QString("Delete %1 with %2 outline(s)? Undo (Ctrl+Z) brings it back.").arg(what).arg(numItems),
            QMessageBox::NoButton, this);
        const QAbstractButton* const agreed = box.addButton("Delete", QMessageBox::AcceptRole);
        box.addButton(QMessageBox::Cancel);
        box.exec();
        if (box.clickedButton() != agreed || __stack == nullptr)
            return;
        if (!std::all_of(models.begin(), models.end(), [this](const Model* model) { return __table->holds(*model); }))
            return;
    }
    guarded(this, "The model cannot be deleted.", [&] { tellRefusal(this, deleteModels(*__stack, models)); });
}

void ModelPanel::clicked(const QModelIndex& index) {
    const std::vector<Model*> models = __table->modelsAt(tableIndex(index));
    const auto isHidden = [this](const Model* model) { return __views.isHidden(*model); };
    const auto isLocked = [this](const Model* model) { return __views.isLocked(*model); };
    if (index.column() == ModelTable::Shown)
        __views.setHidden(models, !std::all_of(models.begin(), models.end(), isHidden));
    else if (index.column() == ModelTable::Locked)
        __views.setLocked(models, !std::all_of(models.begin(), models.end(), isLocked));
    else if (models.size() == 1 && QGuiApplication::keyboardModifiers() == Qt::NoModifier && __list->hasFocus())
        emit outliningWanted();
}

QModelIndex ModelPanel::tableIndex(const QModelIndex& index) const {
    return __sorted->mapToSource(index);
}

/// In the list; invalid where there is none, or the filter leaves it out.
QModelIndex ModelPanel::rowOfGroup(const QString& group) const {
    for (int i = 0; i < __table->numGroups(); ++i)
        if (const QModelIndex row = __table->index(i, ModelTable::Name); row.data().toString() == group)
            return __sorted->mapFromSource(row);
    return QModelIndex();
}

/// Unfolds the groups but those that were folded by hand; what is searched for is seen in any case.
void ModelPanel::showGroups() {
    __list->setRootIsDecorated(__table->numGroups() > 0);
    for (int i = 0; i < __table->numGroups(); ++i) {
        const QModelIndex group = __sorted->mapFromSource(__table->index(i, 0));
        const bool folded =
            __filter->text().isEmpty() && __folded.count(__table->index(i, ModelTable::Name).data().toString()) > 0;
        if (group.isValid() && __list->isExpanded(group) == folded)
            __list->setExpanded(group, !folded);
    }
}

std::vector<Model*> ModelPanel::selectedModels() const {
    std::vector<Model*> models;
    for (const QModelIndex& row : __list->selectionModel()->selectedRows())
        for (Model* model : __table->modelsAt(tableIndex(row)))
            if (std::find(models.begin(), models.end(), model) == models.end())
                models.push_back(model);
    return models;
}

void ModelPanel::groupSelected() {
    if (__stack == nullptr || __locked)
        return;
    const QString group = QString::fromStdString(nextGroup(*__stack));
    groupSelected(group);
    const QModelIndex row = rowOfGroup(group);
    if (!row.isValid())
        return;
    __list->setFocus();
    __list->setCurrentIndex(row);
    __list->edit(row);
}

void ModelPanel::groupSelected(const QString& group) {
    const std::vector<Model*> models = selectedModels();
    if (__stack == nullptr || __locked || models.empty())
        return;
    guarded(this, "The models cannot be grouped.",
            [&] { tellRefusal(this, groupModels(*__stack, models, group.toStdString())); });
    __table->regroup();
    showGroups();
    showCurrent();
}

/// By the user: where a row goes the list takes its neighbour, but no other model becomes current by that. Nor could
/// one, as the list is not to be asked for its rows until all of them are gone.
void ModelPanel::currentRowChanged(const QModelIndex& index) {
    if (__rowsChange)
        return;
    if (Model* const model = index.isValid() ? __table->modelAt(tableIndex(index)) : nullptr)
        __views.setCurrent(*model);
}

void ModelPanel::showCurrent() {
    const Model* const model = __views.getCurrent();
    if (__rowsChange)
        return;
    const QModelIndex row = model == nullptr ? QModelIndex() : __sorted->mapFromSource(__table->indexOf(*model));
    const bool seen = row.isValid() && (!row.parent().isValid() || __list->isExpanded(row.parent()));
    if (seen) {
        if (row != __list->currentIndex().siblingAtColumn(ModelTable::Name))
            __list->setCurrentIndex(row);
        __list->scrollTo(row);
    } else {
        __list->selectionModel()->clear(); // no other row is to look like the current one
    }
    showGaps();
    updateButtons();
}

/// The first few of the slices that lack the model, as links.
void ModelPanel::showGaps() {
    const Model* const model = __views.getCurrent();
    if (__stack == nullptr || model == nullptr || !__table->holds(*model))
        return __gaps->clear();
    const ModelSections sections = sectionsOf(*__stack, *model);
    QString text = QString("On %1 of %2 slices.").arg(sections.outlined.size()).arg(__stack->getNumSlices());
    constexpr std::size_t most = 8;
    if (!sections.lacking.empty()) {
        QStringList links;
        for (std::size_t i = 0; i < std::min(sections.lacking.size(), most); ++i)
            links += QString("<a href=\"%1\">%2</a>")
                         .arg(sections.lacking[i])
                         .arg(QString::fromStdString(__stack->getSlice(sections.lacking[i]).getName()).toHtmlEscaped());
        text += " Lacking in between: " + links.join(", ");
        if (sections.lacking.size() > most)
            text += QString(" and %1 more").arg(sections.lacking.size() - most);
        text += ". (N: next one)";
    }
    __gaps->setText(text);
}

void ModelPanel::showMenu(const QPoint& position) {
    const QModelIndex index = __list->indexAt(position);
    if (!index.isValid())
        return;
    if (!__list->selectionModel()->isSelected(index))
        __list->setCurrentIndex(index);
    QMenu menu;
    if (__table->modelAt(tableIndex(index)) == nullptr) {
        fillMenuOfGroup(menu, index);
        menu.exec(__list->viewport()->mapToGlobal(position));
        return;
    }
    Model& model = *__table->modelAt(tableIndex(index));
    menu.addAction("Rename", this, &ModelPanel::renameCurrent);
    menu.addAction("Colour...", this, &ModelPanel::recolourCurrent);
    menu.addAction("Properties...", this, &ModelPanel::propertiesRequested);
    menu.addSeparator();
    fillGroupMenu(*menu.addMenu("Group"));
    menu.addSeparator();
    menu.addAction("Show only this", this, [&] { __views.showOnly(model); });
    menu.addAction("Show all", this, [&] { __views.showAll(); });
    menu.addSeparator();
    menu.addAction("Delete", this, &ModelPanel::deleteCurrent);
    menu.exec(__list->viewport()->mapToGlobal(position));
}

/// For the selected models: the group that all are in is marked.
void ModelPanel::fillGroupMenu(QMenu& menu) {
    const std::vector<Model*> models = selectedModels();
    const auto allIn = [&models](const std::string& group) {
        return std::all_of(models.begin(), models.end(),
                           [&group](const Model* model) { return model->getGroup() == group; });
    };
    menu.addAction("New group", this, qOverload<>(&ModelPanel::groupSelected));
    QAction* const none = menu.addAction("No group", this, [this] { groupSelected(QString()); });
    none->setEnabled(!allIn(""));
    menu.addSeparator();
    for (const std::string& group : groupsOf(*__stack)) {
        const QString name = QString::fromStdString(group);
        QAction* const entry =
            menu.addAction(QString(name).replace("&", "&&"), this, [this, name] { groupSelected(name); });
        entry->setCheckable(true);
        entry->setChecked(allIn(group));
    }
}

void ModelPanel::fillMenuOfGroup(QMenu& menu, const QModelIndex& index) {
    const std::vector<Model*> models = __table->modelsAt(tableIndex(index));
    menu.addAction("Rename group", this, [this, row = QPersistentModelIndex(index)] {
        __list->edit(QModelIndex(row).siblingAtColumn(ModelTable::Name));
    });
    menu.addSeparator();
    menu.addAction("Show only this group", this, [this, models] { __views.showOnly(models); });
    menu.addAction("Show all", this, [this] { __views.showAll(); });
    menu.addAction("Lock all of the group", this, [this, models] { __views.setLocked(models, true); });
    menu.addAction("Unlock all of the group", this, [this, models] { __views.setLocked(models, false); });
    menu.addSeparator();
    menu.addAction("Dissolve group", this,
                   [this, models] {
                       guarded(this, "The group cannot be dissolved.",
                               [&] { tellRefusal(this, groupModels(*__stack, models, std::string())); });
                       showCurrent();
                   })
        ->setToolTip("Its models stay");
}

} // namespace vorlen
