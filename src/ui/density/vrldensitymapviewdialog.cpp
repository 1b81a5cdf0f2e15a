#include "ui/density/vrldensitymapviewdialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "ui/widgets/vrldecimalbox.h"

namespace vorlen {

VRLDensityMapViewDialog::VRLDensityMapViewDialog(const VRLDensityMapViewConfig& start, float least, float greatest,
                                                 QWidget* parent, const QString& unit)
    : QDialog(parent) {
    setWindowTitle("Creating density map view");
    __name = new QLineEdit(start.name);
    __display = new QComboBox;
    __display->addItems({"Counts", "Isosurfaces", "Percentile", "Slices"});
    __display->setCurrentIndex(int(start.viewType));
    __threshold = new VRLDecimalBox;
    __threshold->setDecimals(15);
    __threshold->setRange(0, 1e9);
    __threshold->setValue(double(start.threshold));
    if (!unit.isEmpty())
        __threshold->setSuffix(" " + unit);
    auto* range = new QLabel(
        (QString::asprintf("(Density range: %.3g-%.3g", double(least), double(greatest)) + " " + unit).trimmed() + ")");
    __percentile = new VRLDecimalBox;
    __percentile->setDecimals(1);
    __percentile->setRange(0, 100);
    __percentile->setValue(double(start.percentile));
    __percentile->setSuffix(" %");
    __percentile->setToolTip("The surface at the density below which so many percent of the points lie");
    __axis = new QComboBox;
    __axis->addItems({"x", "y", "z"});
    __axis->setCurrentIndex(start.axis);
    auto* form = new QFormLayout;
    form->addRow("Name", __name);
    form->addRow("Display", __display);
    form->addRow("Threshold", __threshold);
    form->addRow(QString(), range);
    form->addRow("Percentile", __percentile);
    form->addRow("Across", __axis);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(__display, &QComboBox::currentIndexChanged, this, &VRLDensityMapViewDialog::enableFields);
    enableFields();
}

void VRLDensityMapViewDialog::enableFields() {
    const auto type = DensityViewType(__display->currentIndex());
    __threshold->setEnabled(type == DensityViewType::Isosurface);
    __percentile->setEnabled(type == DensityViewType::Percentile);
    __axis->setEnabled(type == DensityViewType::Slice);
}

VRLDensityMapViewConfig VRLDensityMapViewDialog::config() const {
    VRLDensityMapViewConfig result;
    if (!__name->text().trimmed().isEmpty())
        result.name = __name->text().trimmed();
    result.viewType = DensityViewType(__display->currentIndex());
    result.threshold = float(__threshold->value());
    result.percentile = float(__percentile->value());
    result.axis = __axis->currentIndex();
    return result;
}

} // namespace vorlen
