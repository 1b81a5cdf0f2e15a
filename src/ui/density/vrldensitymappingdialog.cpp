#include "ui/density/vrldensitymappingdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QVBoxLayout>

#include "normalization/maplattice.h"
#include "numerics/exception.h"
#include "shapes/quadmesh.h"
#include "ui/widgets/vrldecimalbox.h"

namespace vorlen {

namespace {

std::vector<int> chosen(const QListWidget& list) {
    std::vector<int> places;
    for (int row = 0; row < list.count(); ++row)
        if (list.item(row)->isSelected())
            places.push_back(list.item(row)->data(Qt::UserRole).toInt());
    return places;
}

QListWidget* addList(QHBoxLayout& row, const QString& title, const QString& toolTip) {
    auto* column = new QVBoxLayout;
    column->addWidget(new QLabel(title));
    auto* list = new QListWidget;
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->setToolTip(toolTip);
    column->addWidget(list, 1);
    row.addLayout(column, 1);
    return list;
}

QString widthsText(const BoundingBox<float>& box, const std::optional<LengthUnit>& unit) {
    const auto width = [&box](int axis) { return QString::number(double(box.width(axis)), 'g', 5); };
    const QString widths = width(0) + " x " + width(1) + " x " + width(2);
    return unit ? widths + " " + QString::fromStdString(unit->symbol()) : widths;
}

} // namespace

VRLDensityMappingDialog::VRLDensityMappingDialog(const std::vector<DensityShape>& shapes, QWidget* parent)
    : QDialog(parent), __shapes(shapes) {
    setWindowTitle("Density mapping");
    auto* lists = new QHBoxLayout;
    __patterns = addList(*lists, "Point patterns", "The points of each specimen that the map is made of");
    __masks = addList(*lists, "Masks (none: the whole box)", "Closed surfaces outside of which the density is 0");
    __patterns->setObjectName("patterns");
    __masks->setObjectName("masks");
    fillLists();
    __form = new QFormLayout;
    buildEditor(*__form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    __ok = buttons->button(QDialogButtonBox::Ok);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(lists, 1);
    layout->addLayout(__form);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    for (const QListWidget* list : {__patterns, __masks})
        connect(list, &QListWidget::itemSelectionChanged, this, &VRLDensityMappingDialog::refresh);
    connect(__method, &QComboBox::currentIndexChanged, this, &VRLDensityMappingDialog::refresh);
    connect(__corrected, &QCheckBox::toggled, this, &VRLDensityMappingDialog::refresh);
    connect(__resolution, &QDoubleSpinBox::valueChanged, this, &VRLDensityMappingDialog::refresh);
    connect(__configureAs, &QComboBox::currentIndexChanged, this, &VRLDensityMappingDialog::takeConfig);
    const QSize size = QSettings().value("densityMappingDialog/size", QSize(560, 560)).toSize();
    resize(size);
    const QPoint position = QSettings().value("densityMappingDialog/pos").toPoint();
    // A place on a screen that is gone would hide the dialog.
    if (!position.isNull() && QGuiApplication::screenAt(position) != nullptr)
        move(position);
    refresh();
}

void VRLDensityMappingDialog::fillLists() {
    for (std::size_t i = 0; i < __shapes.size(); ++i) {
        const Shape<float>* shape = __shapes[i].painter->getShape();
        if (shape == nullptr || shape->getSpace() != 3 || shape->getNumVertices() == 0)
            continue;
        const auto* mesh = dynamic_cast<const QuadMesh<float>*>(shape);
        const int type = shape->getShapeType();
        QListWidget* list = mesh != nullptr ? (type == ClosedQuadMeshType ? __masks : nullptr)
                            : type == VerticesType || type == VertexStackType ? __patterns
                                                                              : nullptr;
        if (list == nullptr)
            continue;
        auto* item = new QListWidgetItem(__shapes[i].name, list);
        item->setData(Qt::UserRole, int(i));
        if (list == __patterns)
            item->setText(QString("%1 (%2 points)").arg(__shapes[i].name).arg(shape->getNumVertices()));
    }
}

void VRLDensityMappingDialog::buildEditor(QFormLayout& form) {
    const DensitySettings start;
    __name = new QLineEdit("densityMap");
    __configureAs = new QComboBox;
    __configureAs->addItem("Default");
    __method = new QComboBox;
    __method->addItems({"Histogram", "Kernel", "Poisson"});
    __method->setCurrentIndex(start.method);
    __corrected = new QCheckBox("Corrected at the faces of the box and at masks");
    __corrected->setChecked(start.corrected);
    __bandwidth = new VRLDecimalBox;
    __bandwidth->setDecimals(3);
    __bandwidth->setRange(0, 1e6);
    __bandwidth->setSpecialValueText("From the data");
    __bandwidth->setToolTip("Width of the kernel, in the unit of the shapes");
    __kernel = new QComboBox;
    __kernel->addItems({"Gaussian", "Uniform", "Epanechnikov", "Biweight"});
    __rank = new QSpinBox;
    __rank->setRange(1, 10000);
    __rank->setValue(start.neighbourRank);
    __resolution = new VRLDecimalBox;
    __resolution->setDecimals(3);
    __resolution->setRange(0, 1e6);
    __resolution->setSpecialValueText("A hundredth of the longest side");
    __resolution->setToolTip("Size of a cell, in the unit of the shapes");
    __size = new QLabel;
    __box = new QLabel;
    __gridBox = new QLabel;
    form.addRow("Name", __name);
    form.addRow("Configure as", __configureAs);
    form.addRow("Method", __method);
    form.addRow(QString(), __corrected);
    form.addRow("Bandwidth", __bandwidth);
    form.addRow("Kernel", __kernel);
    form.addRow("Neighbour rank (k)", __rank);
    form.addRow("Resolution", __resolution);
    form.addRow("Grid size", __size);
    form.addRow("Bounding box", __box);
    form.addRow("Corrected", __gridBox);
}

void VRLDensityMappingDialog::addExistingConfig(const VRLDensityMappingConfig& config) {
    __existing.push_back(config);
    __configureAs->addItem(config.name);
}

void VRLDensityMappingDialog::takeConfig(int place) {
    const VRLDensityMappingConfig taken = place > 0 ? __existing[std::size_t(place - 1)] : VRLDensityMappingConfig();
    __method->setCurrentIndex(taken.settings.method);
    __corrected->setChecked(taken.settings.corrected);
    __bandwidth->setValue(double(taken.settings.bandwidth));
    __kernel->setCurrentIndex(taken.settings.kernel);
    __rank->setValue(taken.settings.neighbourRank);
    __resolution->setValue(double(taken.resolution));
}

DensitySettings VRLDensityMappingDialog::settings() const {
    DensitySettings result;
    result.method = DensityMappingMethod(__method->currentIndex());
    result.corrected = __corrected->isChecked();
    result.bandwidth = float(__bandwidth->value());
    result.kernel = DensityKernel(__kernel->currentIndex());
    result.neighbourRank = __rank->value();
    return result;
}

VRLDensityMappingConfig VRLDensityMappingDialog::config() const {
    VRLDensityMappingConfig result;
    result.name = __name->text().trimmed().isEmpty() ? result.name : __name->text().trimmed();
    result.settings = settings();
    result.resolution = float(__resolution->value());
    result.patterns = chosen(*__patterns);
    result.masks = chosen(*__masks);
    return result;
}

void VRLDensityMappingDialog::refresh() {
    const int method = __method->currentIndex();
    __corrected->setEnabled(method != HistogramMethod);
    for (QWidget* field : {static_cast<QWidget*>(__bandwidth), static_cast<QWidget*>(__kernel)}) {
        field->setVisible(method == KernelMethod);
        __form->labelForField(field)->setVisible(method == KernelMethod);
    }
    __rank->setVisible(method == PoissonMethod);
    __form->labelForField(__rank)->setVisible(method == PoissonMethod);
    showGrid();
}

bool VRLDensityMappingDialog::showUnit() {
    std::vector<int> places = chosen(*__patterns);
    const std::vector<int> masks = chosen(*__masks);
    places.insert(places.end(), masks.begin(), masks.end());
    bool fits = true;
    try {
        __unit = commonUnit(__shapes, places);
    } catch (const UsageError& error) {
        __unit.reset();
        __size->setText("Different units: " + QString::fromStdString(error.getWhat()));
        fits = false;
    }
    const QString suffix = __unit ? " " + QString::fromStdString(__unit->symbol()) : QString();
    for (QDoubleSpinBox* field : {__bandwidth, __resolution})
        field->setSuffix(suffix);
    return fits;
}

void VRLDensityMappingDialog::showGrid() {
    BoundingBox<float> box;
    for (const int place : chosen(*__patterns))
        box = box.merge(__shapes[std::size_t(place)].painter->getShape()->boundingBox());
    for (QLabel* label : {__size, __box, __gridBox})
        label->clear();
    __ok->setEnabled(false);
    BoundingBox<float> shown;
    if (showUnit() && box.isValid() && box.getVertex1().getSize() == 3) {
        __box->setText(widthsText(box, __unit));
        const float longest = box.widths().max();
        const float step = __resolution->value() > 0 ? float(__resolution->value()) : longest > 0 ? longest / 100 : 1;
        try {
            const Grid<float> grid = gridAround(box, step, settings().layout(), maxElements);
            shown = grid.getBoundingBox();
            const Vector<int>& size = grid.getSize();
            __size->setText(QString("%1 x %2 x %3 (%4 nodes), steps of %5")
                                .arg(size[0])
                                .arg(size[1])
                                .arg(size[2])
                                .arg(qint64(size[0]) * size[1] * size[2])
                                .arg(lengthText(double(step), __unit)));
            __gridBox->setText(widthsText(shown, __unit));
            __ok->setEnabled(true);
        } catch (const Exception&) {
            __size->setText("Too many: take a greater resolution");
        }
    }
    emit boundingBoxChanged(shown);
}

void VRLDensityMappingDialog::moveEvent(QMoveEvent* event) {
    QDialog::moveEvent(event);
    QSettings().setValue("densityMappingDialog/pos", pos());
}

void VRLDensityMappingDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    QSettings().setValue("densityMappingDialog/size", size());
}

} // namespace vorlen
