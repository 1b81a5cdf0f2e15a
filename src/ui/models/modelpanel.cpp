#include "ui/models/modelpanel.h"

#include <QCollator>
#include <QColorDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
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

/// Names in the order of people, and alike for all users: numbers in them count as numbers.
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
        if (left.column() != ModelTable::Name)
            return QSortFilterProxyModel::lessThan(left, right);
        return collator.compare(left.data().toString(), right.data().toString()) < 0;
    }
};

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
    connect(__table, &QAbstractItemModel::rowsInserted, this, &ModelPanel::updateButtons);
    connect(__table, &QAbstractItemModel::rowsRemoved, this, &ModelPanel::updateButtons);
    setStack(nullptr);
}

void ModelPanel::makeList() {
    __table = new ModelTable(__views, this);
    __sorted = new ModelOrder(this);
    __sorted->setSourceModel(__table);
    __sorted->setFilterKeyColumn(ModelTable::Name);
    __sorted->setFilterCaseSensitivity(Qt::CaseInsensitive);
    __list = new QTreeView(this);
    __list->setModel(__sorted);
    __list->setRootIsDecorated(false);
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
        header.resizeSection(column, header.fontMetrics().horizontalAdvance("88888") + 16);
    connect(__list, &QTreeView::clicked, this, &ModelPanel::clicked);
    connect(__list, &QWidget::customContextMenuRequested, this, &ModelPanel::showMenu);
    connect(__list->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &ModelPanel::currentRowChanged);
}

void ModelPanel::makeButtons() {
    __filter = new QLineEdit(this);
    __filter->setPlaceholderText("Filter by name");
    __filter->setAccessibleName("Filter models by name");
    __filter->setClearButtonEnabled(true);
    connect(__filter, &QLineEdit::textChanged, __sorted, &QSortFilterProxyModel::setFilterFixedString);

    __empty = new QLabel(this);
    __empty->setWordWrap(true);
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

void ModelPanel::setStack(VRLStack* stack) {
    __stack = stack;
    __table->setStack(stack);
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
    const bool any = __table->rowCount() > 0;
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
    });
}

void ModelPanel::renameCurrent() {
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

void ModelPanel::deleteCurrent() {
    Model* const model = __views.getCurrent();
    if (model == nullptr || __stack == nullptr || __locked)
        return;
    if (const int numItems = model->getNumItems(); numItems > 0) {
        PlainMessageBox box(QMessageBox::Warning, "Delete model",
                            QString("Delete the model \"%1\" with its %2 outline(s)? Undo (Ctrl+Z) brings it back.")
                                .arg(QString::fromStdString(model->getName()))
                                .arg(numItems),
                            QMessageBox::NoButton, this);
        const QAbstractButton* const agreed = box.addButton("Delete", QMessageBox::AcceptRole);
        box.addButton(QMessageBox::Cancel);
        box.exec();
        if (box.clickedButton() != agreed || __views.getCurrent() != model)
            return;
    }
    guarded(this, "The model cannot be deleted.", [&] { tellRefusal(this, deleteModels(*__stack, {model})); });
}

void ModelPanel::clicked(const QModelIndex& index) {
    const Model& model = __table->modelAt(__sorted->mapToSource(index).row());
    if (index.column() == ModelTable::Shown)
        __views.setHidden(model, !__views.isHidden(model));
    else if (index.column() == ModelTable::Locked)
        __views.setLocked(model, !__views.isLocked(model));
}

void ModelPanel::currentRowChanged(const QModelIndex& index) {
    if (index.isValid())
        __views.setCurrent(__table->modelAt(__sorted->mapToSource(index).row()));
}

void ModelPanel::showCurrent() {
    const Model* const model = __views.getCurrent();
    const int row = model != nullptr ? __table->rowOf(*model) : -1;
    if (row >= 0) {
        const QModelIndex index = __sorted->mapFromSource(__table->index(row, ModelTable::Name));
        if (index.isValid() && index.row() != __list->currentIndex().row())
            __list->setCurrentIndex(index);
        if (index.isValid())
            __list->scrollTo(index);
    }
    showGaps();
    updateButtons();
}

/// The first few of the slices that lack the model, as links.
void ModelPanel::showGaps() {
    const Model* const model = __views.getCurrent();
    if (__stack == nullptr || model == nullptr || __table->rowOf(*model) < 0)
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
    __list->setCurrentIndex(index);
    Model& model = __table->modelAt(__sorted->mapToSource(index).row());
    QMenu menu;
    menu.addAction("Rename", this, &ModelPanel::renameCurrent);
    menu.addAction("Colour...", this, &ModelPanel::recolourCurrent);
    menu.addAction("Properties...", this, &ModelPanel::propertiesRequested);
    menu.addSeparator();
    menu.addAction("Show only this", this, [&] { __views.showOnly(model); });
    menu.addAction("Show all", this, [&] { __views.showAll(); });
    menu.addSeparator();
    menu.addAction("Delete", this, &ModelPanel::deleteCurrent);
    menu.exec(__list->viewport()->mapToGlobal(position));
}

} // namespace vorlen
