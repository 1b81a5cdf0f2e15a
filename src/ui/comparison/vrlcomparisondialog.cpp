#include "ui/comparison/vrlcomparisondialog.h"

#include <algorithm>

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "normalization/relabelling.h"
#include "ui/session/vrlsettings.h"
#include "ui/widgets/vrldecimalbox.h"

namespace vorlen {

namespace {

constexpr int noOffer = -1;
constexpr int unitScales[] = {-9, -6, -3, -2, 0};

/// Of an entry: its place in the offer, or noOffer; and the whole name.
constexpr int offerRole = Qt::UserRole, nameRole = Qt::UserRole + 1;

bool isMap(const std::string& name) {
    return name.ends_with(".vm");
}

QString shortName(const QString& name, int offered) {
    return offered == noOffer ? name.section('/', -1) : name;
}

/// How many of all permutations have the same statistic as one of them, as groups of one size change places.
std::uint64_t numAlike(const std::vector<int>& sizes) {
    std::uint64_t number = 1;
    for (std::size_t g = 0; g < sizes.size(); ++g)
        number *= std::uint64_t(std::count(sizes.begin(), sizes.begin() + std::ptrdiff_t(g) + 1, sizes[g]));
    return number;
}

} // namespace

VRLComparisonDialog::VRLComparisonDialog(const ComparisonOffer& offer, QWidget* parent)
    : QDialog(parent), __offer(offer) {
    setWindowTitle("Comparison of groups");
    auto* row = new QHBoxLayout;
    buildGroups(*row);
    auto* columns = new QHBoxLayout;
    auto* mapBox = new QGroupBox("What is compared");
    __form = new QFormLayout(mapBox);
    buildMapping(*__form);
    auto* testBox = new QGroupBox("Permutation test");
    buildTest(*new QFormLayout(testBox));
    columns->addWidget(mapBox, 1);
    columns->addWidget(testBox, 1);
    __outlook = new QLabel;
    __outlook->setObjectName("outlook");
    __outlook->setWordWrap(true);
    __outlook->setMinimumHeight(2 * fontMetrics().lineSpacing());
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    __compare = buttons->addButton("Compare", QDialogButtonBox::AcceptRole);
    __compare->setDefault(true);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(row, 1);
    layout->addLayout(columns);
    layout->addWidget(__outlook);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    for (const ComparedShape& surface : __offer.surfaces)
        addMaskEntry(surface.name, int(&surface - __offer.surfaces.data()), false);
    addGroup();
    addGroup();
    __groups->setCurrentItem(__groups->topLevelItem(0));
    resize(760, 640);
    refresh();
}

void VRLComparisonDialog::buildGroups(QHBoxLayout& row) {
    const auto addColumn = [&row](const QString& title, QWidget* list) {
        auto* column = new QVBoxLayout;
        column->addWidget(new QLabel(title));
        column->addWidget(list, 1);
        row.addLayout(column, 1);
        return column;
    };
    const auto addButton = [this](QVBoxLayout* column, const QString& text, const QString& tip, auto slot) {
        auto* button = new QPushButton(text);
        button->setToolTip(tip);
        button->setAutoDefault(false);
        column->addWidget(button);
        connect(button, &QPushButton::clicked, this, slot);
    };
    __patterns = new QListWidget;
    __patterns->setObjectName("patterns");
    __patterns->setSelectionMode(QAbstractItemView::ExtendedSelection);
    if (__offer.patterns.empty()) {
        __patterns->setParent(this);
        __patterns->hide();
    } else {
        QVBoxLayout* column = addColumn("Point patterns of the window", __patterns);
        addButton(column, "Add to the group", "Add the selected patterns to the group that is selected",
                  &VRLComparisonDialog::addPatterns);
        for (const ComparedShape& pattern : __offer.patterns)
            __patterns->addItem(pattern.name);
    }
    __groups = new QTreeWidget;
    __groups->setObjectName("groups");
    __groups->setHeaderHidden(true);
    __groups->setSelectionMode(QAbstractItemView::ExtendedSelection);
    __groups->setDragDropMode(QAbstractItemView::InternalMove);
    __groups->invisibleRootItem()->setFlags(__groups->invisibleRootItem()->flags() & ~Qt::ItemIsDropEnabled);
    __groups->setToolTip("A double click renames a group; specimens can be dragged to another group");
    QVBoxLayout* column = addColumn("Groups", __groups);
    addButton(column, "Add files...",
              "Add point patterns (.vx, .vs), density maps (.vm) or shapes to the selected group",
              &VRLComparisonDialog::chooseFiles);
    addButton(column, "Add group", "Make another group", &VRLComparisonDialog::addGroup);
    addButton(column, "Remove", "Take the selected specimens and groups away", &VRLComparisonDialog::removeSelected);
    __masks = new QListWidget;
    __masks->setObjectName("masks");
    __masks->setToolTip("Closed surfaces outside of which the density is 0");
    column = addColumn("Masks (none: the whole box)", __masks);
    addButton(column, "Add mask...", "Add a closed surface (.qm)", &VRLComparisonDialog::chooseMasks);
    connect(__groups, &QTreeWidget::itemChanged, this, &VRLComparisonDialog::refresh);
    // A specimen that was dragged comes as a row of its new group.
    connect(__groups->model(), &QAbstractItemModel::rowsInserted, this, &VRLComparisonDialog::refresh,
            Qt::QueuedConnection);
}

void VRLComparisonDialog::buildMapping(QFormLayout& form) {
    const DensitySettings start;
    __kind = new QComboBox;
    __kind->addItems({"Densities of points", "Places of vertices"});
    __kind->setToolTip("Where points concentrate, or how shapes differ whose vertices correspond");
    __unit = new QComboBox;
    __unit->setObjectName("unit");
    __unit->addItem("Not known");
    for (const int scale : unitScales)
        __unit->addItem(QString::fromStdString(LengthUnit(scale).symbol()), scale);
    if (__offer.unit) {
        const int place = __unit->findData(__offer.unit->getScale());
        __unit->setCurrentIndex(std::max(place, 0));
        __unit->setEnabled(place < 0);
    }
    __unit->setToolTip("Unit of the points; maps tell their own");
    __method = new QComboBox;
    __method->addItems({"Histogram", "Kernel", "Poisson"});
    __method->setCurrentIndex(start.method);
    __corrected = new QCheckBox("Corrected at faces and masks");
    __corrected->setChecked(start.corrected);
    const auto length = [](const QString& special, const QString& tip) {
        auto* box = new VRLDecimalBox;
        box->setDecimals(3);
        box->setRange(0, 1e6);
        box->setSpecialValueText(special);
        box->setToolTip(tip);
        return box;
    };
    __bandwidth = length("From the data", "Width of the kernel, the same for all specimens");
    __kernel = new QComboBox;
    __kernel->addItems({"Gaussian", "Uniform", "Epanechnikov", "Biweight"});
    __rank = new QSpinBox;
    __rank->setRange(1, 10000);
    __rank->setValue(start.neighbourRank);
    __resolution = length("A hundredth of the longest side", "Size of a cell");
    __resolution->setObjectName("resolution");
    __bandwidth->setObjectName("bandwidth");
    form.addRow("Compare", __kind);
    form.addRow("Unit", __unit);
    form.addRow("Method", __method);
    form.addRow(QString(), __corrected);
    form.addRow("Bandwidth", __bandwidth);
    form.addRow("Kernel", __kernel);
    form.addRow("Neighbour rank (k)", __rank);
    form.addRow("Resolution", __resolution);
    for (QComboBox* box : {__kind, __unit, __method})
        connect(box, &QComboBox::currentIndexChanged, this, &VRLComparisonDialog::refresh);
}

void VRLComparisonDialog::buildTest(QFormLayout& form) {
    const ComparisonSettings start;
    __permutations = new QSpinBox;
    __permutations->setRange(1, maxPermutations);
    __permutations->setValue(int(start.permutations));
    __permutations->setToolTip("At most so many; all there are when these are no more");
    __permutations->setObjectName("permutations");
    __seed = new QSpinBox;
    __seed->setRange(0, 2147483647);
    __seed->setValue(int(start.seed));
    __seed->setToolTip("Which permutations are drawn: the same seed gives the same result");
    __alpha = new VRLDecimalBox;
    __alpha->setDecimals(4);
    __alpha->setRange(0.0001, 1);
    __alpha->setSingleStep(0.01);
    __alpha->setValue(start.alpha);
    __alpha->setToolTip("The p up to which places count as significant");
    __cluster = new VRLDecimalBox;
    __cluster->setDecimals(3);
    __cluster->setRange(0, 1e6);
    __cluster->setSpecialValueText("No clusters");
    __cluster->setValue(2);
    __cluster->setToolTip("Neighbouring places whose statistic is above this are clusters, with a p of their own");
    form.addRow("Permutations", __permutations);
    form.addRow("Seed", __seed);
    form.addRow("Significant up to p", __alpha);
    form.addRow("Clusters above", __cluster);
    for (QSpinBox* box : {__permutations, __seed})
        connect(box, &QSpinBox::valueChanged, this, &VRLComparisonDialog::refresh);
    connect(__alpha, &QDoubleSpinBox::valueChanged, this, &VRLComparisonDialog::refresh);
}

void VRLComparisonDialog::addGroup() {
    const int number = __groups->topLevelItemCount() + 1;
    auto* group = new QTreeWidgetItem(__groups, {QString("group %1").arg(number)});
    group->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable | Qt::ItemIsDropEnabled);
    group->setExpanded(true);
    __groups->setCurrentItem(group);
    refresh();
}

/// That of the current entry; the first one without.
QTreeWidgetItem* VRLComparisonDialog::selectedGroup() const {
    QTreeWidgetItem* item = __groups->currentItem();
    if (item == nullptr)
        return __groups->topLevelItem(0);
    return item->parent() != nullptr ? item->parent() : item;
}

bool VRLComparisonDialog::isTaken(const QString& name) const {
    for (int g = 0; g < __groups->topLevelItemCount(); ++g)
        for (int s = 0; s < __groups->topLevelItem(g)->childCount(); ++s)
            if (__groups->topLevelItem(g)->child(s)->data(0, nameRole).toString() == name)
                return true;
    return false;
}

void VRLComparisonDialog::addSpecimen(QTreeWidgetItem& group, const QString& name, int offered) {
    if (isTaken(name))
        return;
    auto* item = new QTreeWidgetItem(&group, {shortName(name, offered)});
    item->setData(0, offerRole, offered);
    item->setData(0, nameRole, name);
    item->setToolTip(0, name);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled);
}

void VRLComparisonDialog::addFiles(int group, const QStringList& files) {
    while (__groups->topLevelItemCount() <= group)
        addGroup();
    for (const QString& file : files)
        addSpecimen(*__groups->topLevelItem(group), file, noOffer);
    refresh();
}

void VRLComparisonDialog::addMaskEntry(const QString& name, int offered, bool checked) {
    auto* item = new QListWidgetItem(shortName(name, offered), __masks);
    item->setData(offerRole, offered);
    item->setData(nameRole, name);
    item->setToolTip(name);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
    item->setCheckState(checked ? Qt::Checked : Qt::Unchecked);
}

void VRLComparisonDialog::addMask(const QString& file) {
    addMaskEntry(file, noOffer, true);
}

void VRLComparisonDialog::addPatterns() {
    QTreeWidgetItem* group = selectedGroup();
    if (group == nullptr)
        return;
    for (const QListWidgetItem* item : __patterns->selectedItems())
        addSpecimen(*group, item->text(), __patterns->row(item));
    refresh();
}

void VRLComparisonDialog::chooseFiles() {
    const QTreeWidgetItem* group = selectedGroup();
    if (group == nullptr)
        return;
    const QStringList files = QFileDialog::getOpenFileNames(this, "Specimens of " + group->text(0),
                                                            VRLSettings::settings.getOutputDirectory().absolutePath(),
                                                            "Specimens (*.vx *.vs *.vm *.qm *.tm);;All files (*)");
    if (!files.isEmpty())
        addFiles(__groups->indexOfTopLevelItem(const_cast<QTreeWidgetItem*>(group)), files);
}

void VRLComparisonDialog::chooseMasks() {
    const QStringList files =
        QFileDialog::getOpenFileNames(this, "Masks", VRLSettings::settings.getOutputDirectory().absolutePath(),
                                      "Closed surfaces (*.qm);;All files (*)");
    for (const QString& file : files)
        addMask(file);
}

void VRLComparisonDialog::removeSelected() {
    std::vector<QTreeWidgetItem*> groups, others;
    for (QTreeWidgetItem* item : __groups->selectedItems())
        (item->parent() != nullptr ? others : groups).push_back(item);
    for (const QTreeWidgetItem* item : others)
        delete item;
    for (const QTreeWidgetItem* item : groups)
        delete item;
    refresh();
}

SpecimenList VRLComparisonDialog::specimens() const {
    SpecimenList list;
    for (int g = 0; g < __groups->topLevelItemCount(); ++g) {
        const QTreeWidgetItem& group = *__groups->topLevelItem(g);
        list.groupNames.push_back(group.text(0).trimmed().toStdString());
        for (int s = 0; s < group.childCount(); ++s) {
            const QString name = group.child(s)->data(0, nameRole).toString();
            const int offered = group.child(s)->data(0, offerRole).toInt();
            list.groups.push_back(g);
            const bool isFile = offered == noOffer;
            list.files.push_back(isFile ? QFile::encodeName(name).toStdString() : name.toStdString());
            list.shapes.push_back(isFile ? nullptr : __offer.patterns[std::size_t(offered)].shape);
        }
    }
    return list;
}

SpecimenMapping VRLComparisonDialog::mapping() const {
    SpecimenMapping result;
    result.settings.method = DensityMappingMethod(__method->currentIndex());
    result.settings.corrected = __corrected->isChecked();
    result.settings.bandwidth = float(__bandwidth->value());
    result.settings.kernel = DensityKernel(__kernel->currentIndex());
    result.settings.neighbourRank = __rank->value();
    result.settings.unit = unit() ? unit()->symbol() : "";
    result.resolution = float(__resolution->value());
    for (int row = 0; row < __masks->count(); ++row) {
        const QListWidgetItem& item = *__masks->item(row);
        const int offered = item.data(offerRole).toInt();
        if (item.checkState() != Qt::Checked)
            continue;
        if (offered == noOffer)
            result.masks.push_back(QFile::encodeName(item.data(nameRole).toString()).toStdString());
        else
            result.maskShapes.push_back(__offer.surfaces[std::size_t(offered)].shape);
    }
    return result;
}

std::optional<LengthUnit> VRLComparisonDialog::unit() const {
    if (__unit->currentIndex() <= 0)
        return std::nullopt;
    return LengthUnit(__unit->currentData().toInt());
}

ComparisonRequest VRLComparisonDialog::request() const {
    ComparisonRequest result;
    result.settings.specimens = specimens();
    result.settings.mapping = mapping();
    result.settings.forms = __kind->currentIndex() == 1;
    result.settings.permutations = std::uint64_t(__permutations->value());
    result.settings.seed = std::uint64_t(__seed->value());
    result.settings.alpha = __alpha->value();
    result.settings.clusterThreshold = result.settings.forms ? 0.0f : float(__cluster->value());
    result.unit = unit();
    return result;
}

void VRLComparisonDialog::setRequest(const ComparisonRequest& request) {
    const ComparisonSettings& settings = request.settings;
    const SpecimenList& list = settings.specimens;
    __groups->clear();
    for (const std::string& name : list.groupNames) {
        addGroup();
        __groups->topLevelItem(__groups->topLevelItemCount() - 1)->setText(0, QString::fromStdString(name));
    }
    for (std::size_t s = 0; s < list.files.size(); ++s) {
        QTreeWidgetItem& group = *__groups->topLevelItem(list.groups[s]);
        if (s >= list.shapes.size() || !list.shapes[s]) {
            addSpecimen(group, QFile::decodeName(list.files[s].c_str()), noOffer);
            continue;
        }
        for (std::size_t p = 0; p < __offer.patterns.size(); ++p)
            if (__offer.patterns[p].shape == list.shapes[s])
                addSpecimen(group, __offer.patterns[p].name, int(p));
    }
    const DensitySettings& mapping = settings.mapping.settings;
    __kind->setCurrentIndex(settings.forms ? 1 : 0);
    if (__unit->isEnabled())
        __unit->setCurrentIndex(request.unit ? std::max(0, __unit->findData(request.unit->getScale())) : 0);
    __method->setCurrentIndex(mapping.method);
    __corrected->setChecked(mapping.corrected);
    __bandwidth->setValue(double(mapping.bandwidth));
    __kernel->setCurrentIndex(mapping.kernel);
    __rank->setValue(mapping.neighbourRank);
    __resolution->setValue(double(settings.mapping.resolution));
    for (int row = 0; row < __masks->count(); ++row)
        for (const std::shared_ptr<Shape<float>>& shape : settings.mapping.maskShapes)
            if (const int offered = __masks->item(row)->data(offerRole).toInt();
                offered != noOffer && __offer.surfaces[std::size_t(offered)].shape == shape)
                __masks->item(row)->setCheckState(Qt::Checked);
    for (const std::string& mask : settings.mapping.masks)
        addMask(QFile::decodeName(mask.c_str()));
    __permutations->setValue(int(settings.permutations));
    __seed->setValue(int(settings.seed));
    __alpha->setValue(settings.alpha);
    if (!settings.forms)
        __cluster->setValue(double(settings.clusterThreshold));
    refresh();
}

QString VRLComparisonDialog::obstacle(const SpecimenList& list) const {
    const std::vector<int> sizes = list.groupSizes();
    if (sizes.size() < 2)
        return "Two groups at least are compared.";
    for (std::size_t g = 0; g < sizes.size(); ++g)
        if (sizes[g] == 0)
            return QString("The group \"%1\" has no specimen.").arg(QString::fromStdString(list.groupNames[g]));
    if (list.files.size() <= sizes.size())
        return "There must be more specimens than groups.";
    if (__kind->currentIndex() == 1 && sizes.size() > 2)
        return "Places of vertices are compared between two groups.";
    const auto numMaps = std::count_if(list.files.begin(), list.files.end(), isMap);
    if (numMaps > 0 && numMaps < std::ptrdiff_t(list.files.size()))
        return "The specimens must be point patterns, or all maps (.vm).";
    return {};
}

QString VRLComparisonDialog::outlook(const SpecimenList& list) const {
    const std::vector<int> sizes = list.groupSizes();
    const std::uint64_t ways = Relabelling::numWays(sizes);
    const auto wanted = std::uint64_t(__permutations->value());
    const bool exact = ways <= wanted;
    const double least = double(exact ? numAlike(sizes) : 1) / double(std::min(ways, wanted));
    const QString statistic = __kind->currentIndex() == 1 ? "Hotelling's T<sup>2</sup> of the displacements"
                              : sizes.size() == 2         ? "Standardised difference of the means (t)"
                                                          : "Variance between the groups to that within (F)";
    QString text = QString("%1, %2 permutations%3.")
                       .arg(statistic)
                       .arg(std::min(ways, wanted))
                       .arg(exact ? ", all there are" : "");
    if (least > __alpha->value())
        text += QString(" <b>No p below %1 can come out: there are too few %2.</b>")
                    .arg(QString::number(least, 'g', 3), exact ? "specimens" : "permutations");
    const bool mixed = __offer.unit && std::count(list.shapes.begin(), list.shapes.end(), nullptr) > 0;
    if (mixed)
        text += QString(" Files tell no unit: theirs is taken to be %1.")
                    .arg(QString::fromStdString(__offer.unit->symbol()));
    return text;
}

void VRLComparisonDialog::refresh() {
    if (__compare == nullptr)
        return;
    const SpecimenList list = specimens();
    const bool forms = __kind->currentIndex() == 1;
    const bool maps = !list.files.empty() && std::all_of(list.files.begin(), list.files.end(), isMap);
    const int method = __method->currentIndex();
    const auto show = [this](QWidget* field, bool shown) {
        field->setVisible(shown);
        if (QWidget* label = __form->labelForField(field))
            label->setVisible(shown);
    };
    show(__method, !forms && !maps);
    show(__corrected, !forms && !maps && method != HistogramMethod);
    show(__bandwidth, !forms && !maps && method == KernelMethod);
    show(__kernel, !forms && !maps && method == KernelMethod);
    show(__rank, !forms && !maps && method == PoissonMethod);
    show(__resolution, !forms && !maps);
    show(__unit, !maps);
    __masks->setEnabled(!forms && !maps);
    __cluster->setEnabled(!forms);
    const QString suffix = unit() ? " " + QString::fromStdString(unit()->symbol()) : QString();
    for (QDoubleSpinBox* box : {__bandwidth, __resolution})
        box->setSuffix(suffix);
    const QString reason = obstacle(list);
    __compare->setEnabled(reason.isEmpty());
    __outlook->setTextFormat(reason.isEmpty() ? Qt::RichText : Qt::PlainText); // names of groups are anything
    __outlook->setText(reason.isEmpty() ? outlook(list) : reason);
}

} // namespace vorlen
