#pragma once

#include <QGroupBox>
#include <QStringList>

class QListWidget;
class QPushButton;

namespace vorlen {

/// The images of a new stack, sorted by their paths, with numbers in them as numbers: the slices follow this order.
class VRLStackImageListEditor : public QGroupBox {
    Q_OBJECT

public:
    explicit VRLStackImageListEditor(QWidget* parent = nullptr);

    /// The paths in list order.
    QStringList getImageList() const;

    /// Adds the files; one that is listed already stays as it is.
    void addImages(const QStringList& files);

signals:
    /// The list has been added to, or has lost images.
    void imagesChanged();

private:
    void chooseImages();
    void chooseFolder();
    void removeSelectedImages();

    QListWidget* __list;
    QPushButton* __remove;
};

} // namespace vorlen
