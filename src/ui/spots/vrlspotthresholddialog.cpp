#include "ui/spots/vrlspotthresholddialog.h"

#include <algorithm>
#include <cmath>

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include "document/stack.h"
#include "numerics/maths.h"
#include "spots/spotvolume.h"
#include "ui/spots/spotpreview.h"
#include "ui/widgets/vrldecimalbox.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

namespace {

constexpr int searchDelay = 250; // milliseconds after the last change
constexpr int planeColumn = 5;

/// The rule of the next dialog.
SpotThresholdRule& lastRule() {
    static SpotThresholdRule rule = SpotThresholdRule::Isodata;
    return rule;
}

QString counted(int count, const char* what) {
    return QString::number(count) + ' ' + what;
}

QString countText(const SpotLabels& found) {
    const auto n = int(found.spots.size());
    QStringList left;
    if (found.numTooSmall > 0)
        left += counted(found.numTooSmall, "too small");
    if (found.numTooLarge > 0)
        left += counted(found.numTooLarge, "too large");
    if (found.numAtBorder > 0)
        left += counted(found.numAtBorder, "at the border");
    QString text = "<b>" + counted(n, n == 1 ? "spot" : "spots") + "</b>";
    if (!left.isEmpty())
        text += "; left out: " + left.join(", ");
    if (areMostlySpecks(found))
        text += ". Most have less than 4 voxels, as noise has: let the images suggest the filters, or raise the "
                "threshold or the least size";
    if (n > VRLSpotThresholdDialog::mostRows)
        text += QString(". The table has the first %1.").arg(VRLSpotThresholdDialog::mostRows);
    return text;
}

} // namespace

VRLSpotThresholdDialog::VRLSpotThresholdDialog(const Stack& stack, const VoxelMatrix<float>& filtered,
                                               const VoxelMatrix<float>& grey, const VRLSpotExtractionConfig& config,
                                               QWidget* parent)
    : QDialog(parent), __stack(stack), __filtered(filtered), __config(config), __search(filtered, grey) {
    setWindowTitle("Spot extraction");
    __preview = new SpotPreview(filtered, grey, this);
    __count = new QLabel(this);
    __count->setTextFormat(Qt::RichText); // of fixed words
    __count->setWordWrap(true);
    __count->setAccessibleName("Number of spots");
    __table = new VRLTableWidget(this);
    __table->setAccessibleName("Spots");
    __table->setSelectionBehavior(QAbstractItemView::SelectRows);
    __table->setMinimumHeight(140);
    __save = new QPushButton("&Save table...", this);
    __ok = new QPushButton("&OK", this);
    auto* const cancel = new QPushButton("&Cancel", this);
    __ok->setDefault(true);
    __save->setAutoDefault(false);
    cancel->setAutoDefault(false);

    __note = new QLabel(this);
    __note->setTextFormat(Qt::PlainText);
    __note->setWordWrap(true);
    __note->setAccessibleName("Filters");

    auto* const top = new QHBoxLayout;
    auto* const left = new QVBoxLayout;
    left->addWidget(newThresholdGroup());
    left->addWidget(newSelectionGroup());
    left->addStretch(1);
    top->addLayout(left);
    top->addWidget(newPreviewGroup(), 1);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(__count, 1);
    buttons->addWidget(__save);
    buttons->addWidget(__ok);
    buttons->addWidget(cancel);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(__note);
    layout->addLayout(top, 1);
    layout->addWidget(__table, 1);
    layout->addLayout(buttons);
    resize(1080, 680);

    __delay.setSingleShot(true);
    __delay.setInterval(searchDelay);
    connect(&__delay, &QTimer::timeout, this, &VRLSpotThresholdDialog::search);
    connect(&__search, &SpotSearch::finished, this, &VRLSpotThresholdDialog::showSpots);
    connect(__ok, &QPushButton::clicked, this, &VRLSpotThresholdDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(__save, &QPushButton::clicked, __table, &VRLTableWidget::save);
    connect(__table, &QTableWidget::currentCellChanged, this, [this](int row) { goToRow(row); });
    propose();
    change();
    search();
}

VRLSpotThresholdDialog::~VRLSpotThresholdDialog() = default;

QWidget* VRLSpotThresholdDialog::newThresholdGroup() {
    const SpotThresholdScale scale(__filtered);
    auto* const group = new QGroupBox("Threshold", this);
    auto* const form = new QFormLayout(group);
    form->addRow(new QLabel(QString("Minimum: %1\nMaximum: %2").arg(scale.minimum).arg(scale.maximum), group));
    __threshold = new VRLDecimalBox(group);
    __threshold->setDecimals(scale.decimals);
    __threshold->setSingleStep(scale.decimals == 0 ? 1 : std::pow(10.0, 2 - scale.decimals));
    __threshold->setRange(scale.minimum, scale.maximum);
    __threshold->setAccessibleName("Threshold");
    __threshold->setToolTip("Voxels of the filtered volume with this value or a greater one are in spots");
    form->addRow("Threshold:", __threshold);
    __slider = new QSlider(Qt::Horizontal, group);
    __slider->setRange(0, 1000);
    __slider->setAccessibleName("Threshold slider");
    form->addRow(__slider);
    __rule = new QComboBox(group);
    __rule->addItems({"First rise", "Isodata", "Otsu"});
    __rule->setItemData(0, "Where the counts of the grey values rise for the first time", Qt::ToolTipRole);
    __rule->setItemData(1, "Midway between the means of what lies below and above", Qt::ToolTipRole);
    __rule->setItemData(2, "Where what lies below and above differs most", Qt::ToolTipRole);
    __rule->setCurrentIndex(int(lastRule()));
    __rule->setAccessibleName("Proposal");
    __rule->setToolTip("The rule by which a threshold is proposed");
    form->addRow("Proposal:", __rule);
    connect(__threshold, &VRLDecimalBox::valueChanged, this, &VRLSpotThresholdDialog::change);
    connect(__rule, &QComboBox::activated, this, &VRLSpotThresholdDialog::propose);
    connect(__slider, &QSlider::valueChanged, this, [this](int part) {
        __threshold->setValue(__threshold->minimum() + (__threshold->maximum() - __threshold->minimum()) * part / 1000);
    });
    return group;
}

QWidget* VRLSpotThresholdDialog::newSelectionGroup() {
    auto* const group = new QGroupBox("Spots that are kept", this);
    auto* const form = new QFormLayout(group);
    const auto newSize = [group, form](const QString& text, int least, const QString& tip) {
        auto* const box = new QSpinBox(group);
        box->setRange(least, 1000000000);
        const auto suffix = [box](int voxels) { box->setSuffix(voxels == 1 ? " voxel" : " voxels"); };
        suffix(least);
        connect(box, &QSpinBox::valueChanged, box, suffix);
        box->setAccessibleName(text);
        box->setToolTip(tip);
        form->addRow(text + ":", box);
        return box;
    };
    __least = newSize("Least size", 1, "Smaller spots are left out");
    __greatest = newSize("Greatest size", 0, "Larger spots are left out");
    __greatest->setSpecialValueText("any");
    __border = new QCheckBox("Leave out spots at the border", group);
    __border->setToolTip("Those that reach the first or last row, column or slice, and may go on outside");
    __splitting = new QCheckBox("Cut touching spots apart", group);
    __splitting->setToolTip("Between their brightest places. Otherwise all that hangs together is one spot");
    form->addRow(__border);
    form->addRow(__splitting);
    __least->setValue(std::max(1, __config.getLeastSize()));
    __greatest->setValue(__config.getGreatestSize());
    __border->setChecked(__config.areBorderSpotsLeftOut());
    __splitting->setChecked(__config.isSplittingEnabled());
    for (QSpinBox* box : {__least, __greatest})
        connect(box, &QSpinBox::valueChanged, this, &VRLSpotThresholdDialog::change);
    for (QCheckBox* box : {__border, __splitting})
        connect(box, &QCheckBox::toggled, this, &VRLSpotThresholdDialog::change);
    return group;
}

QWidget* VRLSpotThresholdDialog::newPreviewGroup() {
    auto* const group = new QGroupBox("Preview", this);
    auto* const layout = new QVBoxLayout(group);
    __planeSlider = new QSlider(Qt::Horizontal, group);
    __planeSlider->setRange(0, __filtered.getSize3() - 1);
    __planeSlider->setAccessibleName("Slice");
    layout->addWidget(__preview, 1);
    layout->addWidget(__planeSlider);
    connect(__planeSlider, &QSlider::valueChanged, __preview, &SpotPreview::setPlane);
    connect(__preview, &SpotPreview::planeChanged, __planeSlider, &QSlider::setValue);
    return group;
}

double VRLSpotThresholdDialog::getThreshold() const {
    return __threshold->value();
}

VRLSpotExtractionConfig VRLSpotThresholdDialog::getConfig() const {
    VRLSpotExtractionConfig config = __config;
    config.setLeastSize(__least->value());
    config.setGreatestSize(__greatest->value());
    config.setBorderSpotsLeftOut(__border->isChecked());
    config.setSplittingEnabled(__splitting->isChecked());
    return config;
}

std::shared_ptr<const SpotLabels> VRLSpotThresholdDialog::getSpots() const {
    return result() == QDialog::Accepted ? __search.result() : nullptr;
}

void VRLSpotThresholdDialog::setNote(const QString& text) {
    __note->setText(text);
}

void VRLSpotThresholdDialog::setPlane(int plane) {
    __preview->setPlane(plane);
}

void VRLSpotThresholdDialog::propose() {
    lastRule() = SpotThresholdRule(__rule->currentIndex());
    __threshold->setValue(proposeSpotThreshold(__filtered, lastRule(), __config));
}

void VRLSpotThresholdDialog::change() {
    const double range = __threshold->maximum() - __threshold->minimum();
    {
        const QSignalBlocker quiet(__slider);
        __slider->setValue(range > 0 ? int(1000 * (getThreshold() - __threshold->minimum()) / range) : 0);
    }
    __accepting = false;
    __ok->setEnabled(true);
    __count->setText("Counting...");
    __preview->setThreshold(getThreshold());
    __delay.start();
    emit thresholdChanged(getThreshold());
}

void VRLSpotThresholdDialog::search() {
    __delay.stop();
    const bool isPossible = __greatest->value() == 0 || __greatest->value() >= __least->value();
    __ok->setEnabled(isPossible);
    if (isPossible)
        __search.start(getThreshold(), getConfig());
    else
        __count->setText("The greatest size is below the least size.");
}

void VRLSpotThresholdDialog::showSpots() {
    if (__delay.isActive())
        return; // another search follows
    const std::shared_ptr<const SpotLabels>& found = __search.result();
    if (found == nullptr) {
        __count->setText(__search.failure().toHtmlEscaped());
        __accepting = false;
        return;
    }
    if (__accepting)
        return QDialog::accept();
    __count->setText(countText(*found));
    __preview->setSpots(found);
    fillTable(*found);
}

void VRLSpotThresholdDialog::fillTable(const SpotLabels& found) {
    const Vector<double> voxel = spotResolution(__stack);
    const QString unit = QString::fromStdString(__stack.getLengthUnit().symbol());
    const int rows = int(std::min(found.spots.size(), std::size_t(mostRows)));
    const QSignalBlocker quiet(__table);
    __table->beginContents(
        {"Spot", "Voxels", "Volume [" + unit + "^3]", "Mean", "Sum", "Slice", "Column", "Row", "Maximum", "Border"},
        rows);
    for (int row = 0; row < rows; ++row) {
        const Spot& spot = found.spots[std::size_t(row)];
        __table->setText(row, 0, QString::fromStdString(spotName(__config.getBasename(), std::size_t(row))));
        __table->setNumber(row, 1, spot.numVoxels);
        __table->setNumber(row, 2, spot.numVoxels * voxel[0] * voxel[1] * voxel[2]);
        __table->setNumber(row, 3, spot.mean());
        __table->setNumber(row, 4, spot.sum);
        __table->setNumber(row, planeColumn, int(Maths::fround(spot.plane)) + 1);
        __table->setNumber(row, 6, spot.column);
        __table->setNumber(row, 7, spot.row);
        __table->setNumber(row, 8, spot.maximum);
        __table->setText(row, 9, spot.touchesBorder ? "yes" : "no");
    }
    __table->endContents();
    __table->setAlternateBackgroundColor();
}

void VRLSpotThresholdDialog::goToRow(int row) {
    if (const QTableWidgetItem* cell = row >= 0 ? __table->item(row, planeColumn) : nullptr)
        __preview->setPlane(cell->text().toInt() - 1);
}

void VRLSpotThresholdDialog::accept() {
    if (__search.result() != nullptr && !__delay.isActive())
        return QDialog::accept();
    __accepting = true;
    __ok->setEnabled(false);
    __count->setText("Counting, then closing...");
    if (__delay.isActive())
        search();
    __ok->setEnabled(false);
}

} // namespace vorlen
