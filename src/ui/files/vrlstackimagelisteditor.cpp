#include "ui/files/vrlstackimagelisteditor.h"

#include <QCollator>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/files/imagenamefilters.h"
#include "ui/session/vrlsettings.h"

namespace vorlen {

namespace {

/// Stands where people expect it: numbers in names count as numbers, so that slice3 comes before slice10.
class ImageEntry : public QListWidgetItem {
public:
    using QListWidgetItem::QListWidgetItem;

    bool operator<(const QListWidgetItem& other) const override {
        static const QCollator collator = [] { // alike for all users
            QCollator made{QLocale(QLocale::English)};
            made.setNumericMode(true);
            return made;
        }();
        const int order = collator.compare(text(), other.text());
        return order != 0 ? order < 0 : text() < other.text();
    }
};

} // namespace

VRLStackImageListEditor::VRLStackImageListEditor(QWidget* parent) : QGroupBox("Images", parent) {
    __list = new QListWidget(this);
    __list->setSortingEnabled(true);
    __list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    __list->setTextElideMode(Qt::ElideMiddle);
    __list->setAccessibleName("Images");
    auto* add = new QPushButton("Add...", this);
    add->setToolTip("Choose image files for the slices of the stack");
    auto* addFolder = new QPushButton("Add folder...", this);
    addFolder->setToolTip(
        "Choose a folder with a DICOM series, whose pictures become slices in the order of their place");
    __remove = new QPushButton("Remove", this);
    __remove->setToolTip("Take the selected images off the list; the files stay");
    __remove->setEnabled(false);
    connect(add, &QPushButton::clicked, this, &VRLStackImageListEditor::chooseImages);
    connect(addFolder, &QPushButton::clicked, this, &VRLStackImageListEditor::chooseFolder);
    connect(__remove, &QPushButton::clicked, this, &VRLStackImageListEditor::removeSelectedImages);
    connect(__list, &QListWidget::itemSelectionChanged, this,
            [this] { __remove->setEnabled(!__list->selectedItems().isEmpty()); });

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(addFolder);
    buttons->addWidget(__remove);
    buttons->addStretch(1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(__list, 1);
    layout->addLayout(buttons);
}

QStringList VRLStackImageListEditor::getImageList() const {
    QStringList files;
    for (int i = 0; i < __list->count(); ++i)
        files += __list->item(i)->text();
    return files;
}

void VRLStackImageListEditor::addImages(const QStringList& files) {
    for (const QString& file : files)
        if (__list->findItems(file, Qt::MatchExactly | Qt::MatchCaseSensitive).isEmpty())
            __list->addItem(new ImageEntry(file));
    emit imagesChanged();
}

void VRLStackImageListEditor::chooseImages() {
    QFileDialog dialog(this, "Select image files");
    setFilters(dialog, imageNameFilters());
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setDirectory(VRLSettings::settings.getInputDirectory());
    dialog.resize(400, 300);
    if (dialog.exec() != QDialog::Accepted)
        return;
    addImages(dialog.selectedFiles());
    VRLSettings::settings.setInputDirectory(QFileInfo(dialog.selectedFiles().constFirst()).dir());
}

void VRLStackImageListEditor::chooseFolder() {
    QFileDialog dialog(this, "Select a folder of DICOM images");
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setDirectory(VRLSettings::settings.getInputDirectory());
    dialog.resize(400, 300);
    if (dialog.exec() == QDialog::Accepted)
        addImages(dialog.selectedFiles());
}

void VRLStackImageListEditor::removeSelectedImages() {
    qDeleteAll(__list->selectedItems());
    emit imagesChanged();
}

} // namespace vorlen
