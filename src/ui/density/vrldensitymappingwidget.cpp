#include "ui/density/vrldensitymappingwidget.h"

#include <algorithm>

#include <QCheckBox>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSlider>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "images/files/niftiwriter.h"
#include "shapes/shapetypes.h"
#include "ui/density/densitycolor.h"
#include "ui/density/densityslicepaintergl.h"
#include "ui/density/vrldensitymappingdialog.h"
#include "ui/density/vrldensitymapviewdialog.h"
#include "ui/models/guarded.h"
#include "ui/viewer/shapeviewerattributeseditor.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/vrlprogressdialog.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

constexpr float translucence = 70;
constexpr const char* axisNames[] = {"x", "y", "z"};

QString shortText(double value) {
    return QString::number(value, 'g', 4);
}

/// The name, and what the view shows.
QString textOf(const DensityMapView& view, const VRLDensityMap& map) {
    const VRLDensityMapViewConfig& config = view.config;
    const QString unit = map.densityUnit().isEmpty() ? QString() : " " + map.densityUnit();
    if (config.viewType == DensityViewType::Percentile)
        return QString("%1: percentile %2, density %3")
            .arg(config.name, shortText(double(config.percentile)), shortText(double(view.level)) + unit);
    if (config.viewType == DensityViewType::Isosurface)
        return QString("%1: density %2").arg(config.name, shortText(double(view.level)) + unit);
    if (config.viewType == DensityViewType::Slice)
        return QString("%1: across %2").arg(config.name, axisNames[config.axis]);
    return config.name + ": counts";
}

/// Size and place of the cells or nodes.
QString cellsText(const VRLDensityMap& map) {
    const MapLattice<float> lattice = map.lattice();
    const Vector<float> steps = lattice.steps(), origin = lattice.origin();
    const auto triple = [](const Vector<float>& v) {
        return shortText(double(v[0])) + " x " + shortText(double(v[1])) + " x " + shortText(double(v[2]));
    };
    const QString unit = map.getUnit() ? " " + QString::fromStdString(map.getUnit()->symbol()) : QString();
    return QString("%1 elements, steps of %2%3, the first at (%4, %5, %6)%3")
        .arg(QString("%1 x %2 x %3").arg(lattice.getSize(0)).arg(lattice.getSize(1)).arg(lattice.getSize(2)),
             triple(steps), unit, shortText(double(origin[0])), shortText(double(origin[1])),
             shortText(double(origin[2])));
}

} // namespace

VRLDensityMappingWidget::VRLDensityMappingWidget(QWidget* parent) : QWidget(parent) {
    __tree = new QTreeWidget;
    __tree->setHeaderLabel("Density maps");
    __tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    __scale = new DensityColorScale;
    __editor = new ShapeViewerAttributesEditor;
    __editor->setImmediate(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(__tree, 1);
    layout->addWidget(__scale);
    buildButtons();
    buildViewControls();
    layout->addWidget(__editor);
    connect(__tree, &QTreeWidget::itemSelectionChanged, this, &VRLDensityMappingWidget::mapSelectionChange);
    connect(__editor, &ShapeViewerAttributesEditor::attributesChanged, this,
            &VRLDensityMappingWidget::viewAttributesChange);
    mapSelectionChange();
}

void VRLDensityMappingWidget::buildButtons() {
    auto* row = new QHBoxLayout;
    const auto add = [row](const QString& text, const QString& toolTip) {
        auto* button = new QPushButton(text);
        button->setToolTip(toolTip);
        row->addWidget(button);
        return button;
    };
    __new = add("New...", "Compute a map from point patterns");
    __view = add("View...", "Show the selected map");
    __save = add("Save...", "Write the selected map and its surfaces");
    __info = add("Info", "Tell what the selected map is made of");
    __delete = add("Delete", "Remove the selected maps and views");
    static_cast<QVBoxLayout*>(layout())->addLayout(row);
    connect(__new, &QPushButton::clicked, this, &VRLDensityMappingWidget::newButtonClick);
    connect(__view, &QPushButton::clicked, this, &VRLDensityMappingWidget::viewButtonClick);
    connect(__save, &QPushButton::clicked, this, &VRLDensityMappingWidget::saveButtonClick);
    connect(__info, &QPushButton::clicked, this, &VRLDensityMappingWidget::infoButtonClick);
    connect(__delete, &QPushButton::clicked, this, &VRLDensityMappingWidget::deleteButtonClick);
}

void VRLDensityMappingWidget::buildViewControls() {
    __slice = new QSlider(Qt::Horizontal);
    __slice->setToolTip("Moves the selected plane through its map");
    __sliceLabel = new QLabel;
    __translucent = new QCheckBox("Surfaces around the maps shine through");
    auto* row = new QHBoxLayout;
    row->addWidget(__slice, 1);
    row->addWidget(__sliceLabel);
    auto* column = static_cast<QVBoxLayout*>(layout());
    column->addLayout(row);
    column->addWidget(__translucent);
    connect(__slice, &QSlider::valueChanged, this, &VRLDensityMappingWidget::moveSlice);
    connect(__translucent, &QCheckBox::toggled, this, &VRLDensityMappingWidget::setSurfacesTranslucent);
}

VRLDensityMappingWidget::~VRLDensityMappingWidget() {
    setCanvas(nullptr);
}

void VRLDensityMappingWidget::setCanvas(ViewerCanvasGL* canvas) {
    for (const auto& map : __maps)
        for (const auto& view : map->getViews()) {
            if (__canvas != nullptr)
                __canvas->removePainter(*view->painter);
            if (canvas != nullptr)
                canvas->addPainter(*view->painter);
        }
    if (__canvas != nullptr && __box)
        __canvas->removePainter(*__box);
    __box.reset();
    __canvas = canvas;
}

void VRLDensityMappingWidget::setShapes(const std::vector<DensityShape>& shapes) {
    __translucent->setChecked(false);
    __shapes = shapes;
    __new->setEnabled(!__shapes.empty());
}

VRLDensityMap* VRLDensityMappingWidget::runDensityMapping(const VRLDensityMappingConfig& config) {
    std::unique_ptr<VRLDensityMap> map;
    bool complete = false;
    guarded(this, "The density map could not be made.", [&] {
        std::vector<const Shape<float>*> patterns, masks;
        for (const int place : config.patterns)
            patterns.push_back(__shapes.at(std::size_t(place)).painter->getShape());
        for (const int place : config.masks)
            masks.push_back(__shapes.at(std::size_t(place)).painter->getShape());
        std::vector<int> places = config.patterns;
        places.insert(places.end(), config.masks.begin(), config.masks.end());
        map = std::make_unique<VRLDensityMap>(config, patterns, masks, commonUnit(__shapes, places));
        VRLProgressDialog progress(this);
        progress.setWindowTitle("Density mapping");
        progress.setMinimumDuration(500);
        complete = map->compute(progress);
    });
    if (!complete)
        return nullptr;
    __maps.push_back(std::move(map));
    auto* item = new QTreeWidgetItem(__tree, {config.name});
    item->setData(0, Qt::UserRole, QVariant::fromValue(quintptr(__maps.back().get())));
    __tree->setCurrentItem(item);
    return __maps.back().get();
}

DensityMapView* VRLDensityMappingWidget::addView(VRLDensityMap& map, const VRLDensityMapViewConfig& config) {
    DensityMapView* view = nullptr;
    guarded(this, "The view could not be made.", [&] {
        const WaitCursor wait;
        view = &map.addView(config);
    });
    if (view == nullptr)
        return nullptr;
    for (int i = 0; i < __tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* parent = __tree->topLevelItem(i);
        if (mapOf(*parent) != &map)
            continue;
        auto* item = new QTreeWidgetItem(parent, {textOf(*view, map)});
        item->setToolTip(0, item->text(0));
        item->setData(0, Qt::UserRole, QVariant::fromValue(quintptr(view)));
        parent->setExpanded(true);
        __tree->setCurrentItem(item);
    }
    if (__canvas != nullptr)
        __canvas->addPainter(*view->painter);
    refreshCanvas();
    return view;
}

void VRLDensityMappingWidget::boundingBoxChange(const BoundingBox<float>& box) {
    if (__canvas == nullptr)
        return;
    const bool shown = box.isValid() && box.getVertex1().getSize() == 3;
    if (__box && !shown) {
        __canvas->removePainter(*__box);
        __box.reset();
    }
    if (shown && !__box) {
        __box = std::make_unique<BoundingBoxPainterGL<float>>();
        Vector<int> yellow(3);
        yellow[0] = yellow[1] = 255;
        yellow[2] = 0;
        __box->setColor(yellow);
        __canvas->addPainter(*__box);
    }
    if (__box)
        __box->setBoundingBox(box);
    refreshCanvas();
}

VRLDensityMap* VRLDensityMappingWidget::mapOf(const QTreeWidgetItem& item) const {
    const QTreeWidgetItem* top = item.parent() != nullptr ? item.parent() : &item;
    const auto wanted = top->data(0, Qt::UserRole).value<quintptr>();
    for (const auto& map : __maps)
        if (quintptr(map.get()) == wanted)
            return map.get();
    return nullptr;
}

DensityMapView* VRLDensityMappingWidget::viewOf(const QTreeWidgetItem& item) const {
    const VRLDensityMap* map = item.parent() != nullptr ? mapOf(item) : nullptr;
    if (map == nullptr)
        return nullptr;
    const auto wanted = item.data(0, Qt::UserRole).value<quintptr>();
    for (const auto& view : map->getViews())
        if (quintptr(view.get()) == wanted)
            return view.get();
    return nullptr;
}

VRLDensityMap* VRLDensityMappingWidget::selectedMap() const {
    const QList<QTreeWidgetItem*> items = __tree->selectedItems();
    return items.size() == 1 ? mapOf(*items.front()) : nullptr;
}

std::vector<DensityMapView*> VRLDensityMappingWidget::selectedSurfaces() const {
    std::vector<DensityMapView*> surfaces;
    for (const QTreeWidgetItem* item : __tree->selectedItems()) {
        DensityMapView* view = viewOf(*item);
        if (view != nullptr && view->surface)
            surfaces.push_back(view);
    }
    return surfaces;
}

void VRLDensityMappingWidget::mapSelectionChange() {
    const QList<QTreeWidgetItem*> items = __tree->selectedItems();
    const VRLDensityMap* map = selectedMap();
    const bool oneMap = map != nullptr && items.front()->parent() == nullptr;
    __delete->setEnabled(!items.empty());
    __view->setEnabled(oneMap);
    __save->setEnabled(oneMap);
    __info->setEnabled(map != nullptr);
    if (map != nullptr)
        __scale->setRange(double(map->getReport().least), double(map->getReport().greatest), map->densityUnit());
    else
        __scale->clear();
    const std::vector<DensityMapView*> surfaces = selectedSurfaces();
    __editor->setEnabled(!surfaces.empty());
    __editor->clear();
    if (!surfaces.empty()) {
        ShapePainterAttributesGL common =
            static_cast<const ShapePainterGL<float>&>(*surfaces.front()->painter).getAttributes();
        for (const DensityMapView* view : surfaces)
            common = common.intersection(static_cast<const ShapePainterGL<float>&>(*view->painter).getAttributes());
        __editor->setAttributes(common);
    }
    showSlice(items.size() == 1 ? items.front() : nullptr);
}

void VRLDensityMappingWidget::viewAttributesChange() {
    for (const DensityMapView* view : selectedSurfaces()) {
        auto& painter = static_cast<ShapePainterGL<float>&>(*view->painter);
        ShapePainterAttributesGL attributes = painter.getAttributes();
        attributes.update(__editor->getAttributes());
        painter.setAttributes(attributes);
    }
    refreshCanvas();
}

void VRLDensityMappingWidget::newButtonClick() {
    VRLDensityMappingDialog dialog(__shapes, this);
    connect(&dialog, &VRLDensityMappingDialog::boundingBoxChanged, this, &VRLDensityMappingWidget::boundingBoxChange);
    for (const auto& map : __maps)
        dialog.addExistingConfig(map->getConfig());
    const bool accepted = dialog.exec() == QDialog::Accepted;
    boundingBoxChange({});
    if (accepted)
        runDensityMapping(dialog.config());
}

void VRLDensityMappingWidget::viewButtonClick() {
    VRLDensityMap* map = selectedMap();
    if (map == nullptr)
        return;
    VRLDensityMapViewDialog dialog(__lastView, map->getReport().least, map->getReport().greatest, this,
                                   map->densityUnit());
    if (dialog.exec() != QDialog::Accepted)
        return;
    __lastView = dialog.config();
    addView(*map, __lastView);
}

void VRLDensityMappingWidget::saveButtonClick() {
    const VRLDensityMap* map = selectedMap();
    if (map == nullptr)
        return;
    const QString volumes = "Voxel matrices and NRRD (*.vm)", nifti = "Voxel matrices and NIfTI (*.nii *.nii.gz)";
    QString filter;
    // All files are asked for together, below.
    QString file =
        QFileDialog::getSaveFileName(this, "Save density map", QString(map->getConfig().name).replace('/', '_'),
                                     volumes + ";;" + nifti, &filter, QFileDialog::DontConfirmOverwrite);
    if (filter == nifti && !file.isEmpty() && !isNiftiName(QFile::encodeName(file).toStdString()))
        file += ".nii";
    if (file.isEmpty() || !mayReplace(*map, file))
        return;
    guarded(this, "The density map could not be saved.",
            [&] { map->save(QFile::encodeName(file).toStdString(), true); });
}

bool VRLDensityMappingWidget::mayReplace(const VRLDensityMap& map, const QString& file) {
    QStringList there;
    for (const std::string& each : map.filesOf(QFile::encodeName(file).toStdString())) {
        const QString name = QFile::decodeName(QByteArray::fromStdString(each));
        if (QFileInfo::exists(name))
            there.append(QFileInfo(name).fileName());
    }
    if (there.isEmpty())
        return true;
    QMessageBox box(QMessageBox::Question, "Save density map",
                    (there.size() == 1 ? "This file exists already:\n" : "These files exist already:\n") +
                        there.join('\n'),
                    QMessageBox::Yes | QMessageBox::No, this);
    box.setInformativeText(there.size() == 1 ? "Do you wish to replace it?" : "Do you wish to replace them?");
    box.setTextFormat(Qt::PlainText);
    box.setDefaultButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

void VRLDensityMappingWidget::infoButtonClick() {
    const VRLDensityMap* map = selectedMap();
    if (map == nullptr)
        return;
    const DensityReport& report = map->getReport();
    QStringList lines = {
        map->getConfig().name,
        QString("Densities from %1 to %2 %3")
            .arg(shortText(double(report.least)), shortText(double(report.greatest)), map->densityUnit())
            .trimmed(),
        cellsText(*map)};
    for (const std::string& note : report.notes)
        lines.append(QString::fromStdString(note));
    QMessageBox box(QMessageBox::Information, "Density map", lines.join('\n'), QMessageBox::Ok, this);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

void VRLDensityMappingWidget::removeView(QTreeWidgetItem& item) {
    VRLDensityMap* map = mapOf(item);
    const DensityMapView* view = viewOf(item);
    if (__canvas != nullptr)
        __canvas->removePainter(*view->painter);
    map->removeView(*view);
    delete &item;
}

void VRLDensityMappingWidget::deleteButtonClick() {
    const QList<QTreeWidgetItem*> selected = __tree->selectedItems();
    std::vector<QTreeWidgetItem*> tops, views;
    for (QTreeWidgetItem* item : selected)
        (item->parent() != nullptr ? views : tops).push_back(item);
    for (QTreeWidgetItem* item : views)
        removeView(*item);
    for (QTreeWidgetItem* item : tops) {
        const VRLDensityMap* map = mapOf(*item);
        while (item->childCount() > 0)
            removeView(*item->child(0));
        delete item;
        std::erase_if(__maps, [map](const std::unique_ptr<VRLDensityMap>& each) { return each.get() == map; });
    }
    mapSelectionChange();
    refreshCanvas();
}

void VRLDensityMappingWidget::showSlice(const QTreeWidgetItem* item) {
    const DensityMapView* view = item != nullptr ? viewOf(*item) : nullptr;
    const auto* plane = view != nullptr ? dynamic_cast<const DensitySlicePainterGL*>(view->painter.get()) : nullptr;
    __slice->setEnabled(plane != nullptr);
    __sliceLabel->clear();
    if (plane == nullptr)
        return;
    const QSignalBlocker quiet(__slice);
    __slice->setRange(0, plane->getNumPlanes() - 1);
    __slice->setValue(plane->getIndex());
    __sliceLabel->setText(QString("%1 = %2").arg(axisNames[plane->getAxis()],
                                                 lengthText(double(plane->getPosition()), mapOf(*item)->getUnit())));
}

void VRLDensityMappingWidget::moveSlice(int index) {
    const QList<QTreeWidgetItem*> items = __tree->selectedItems();
    const DensityMapView* view = items.size() == 1 ? viewOf(*items.front()) : nullptr;
    auto* plane = view != nullptr ? dynamic_cast<DensitySlicePainterGL*>(view->painter.get()) : nullptr;
    if (plane == nullptr)
        return;
    plane->setPlane(plane->getAxis(), index);
    showSlice(items.front());
    if (__canvas != nullptr)
        __canvas->update();
}

void VRLDensityMappingWidget::setSurfacesTranslucent(bool translucent) {
    if (translucent == !__transparencies.empty())
        return;
    std::vector<float> old;
    for (std::size_t i = 0; i < __shapes.size(); ++i) {
        ShapePainterAttributesGL attributes = __shapes[i].painter->getAttributes();
        old.push_back(attributes.useTransparency() ? attributes.getTransparency() : 255.0f);
        const Shape<float>* shape = __shapes[i].painter->getShape();
        if (shape == nullptr || shape->getShapeType() != ClosedQuadMeshType)
            continue;
        attributes.setTransparency(translucent ? translucence : __transparencies[i]);
        __shapes[i].painter->setAttributes(attributes);
    }
    __transparencies = translucent ? old : std::vector<float>();
    refreshCanvas();
}

void VRLDensityMappingWidget::refreshCanvas() {
    if (__canvas == nullptr)
        return;
    __canvas->initializeGL();
    __canvas->update();
}

} // namespace vorlen
