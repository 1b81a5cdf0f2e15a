#pragma once

#include <memory>

#include <QDialog>
#include <QTimer>

#include "spots/spotthreshold.h"
#include "ui/spots/spotsearch.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QSlider;
class QSpinBox;

namespace vorlen {

class SpotPreview;
class Stack;
class VRLDecimalBox;
class VRLTableWidget;

/// Asks for the threshold above which the filtered volume is a spot, and which spots are kept, with a preview and with
/// a table of the spots that come of it.
///
/// The spots are sought again shortly after each change, beside the window; a dialog that is accepted meanwhile closes
/// when they are known. The proposal begins with the rule of the last dialog, at first isodata: the first rise of the
/// histogram lies in the noise of most images. Thresholds are those of SpotThresholdScale.
class VRLSpotThresholdDialog : public QDialog {
    Q_OBJECT

public:
    /// Volumes and stack are seen, not owned.
    VRLSpotThresholdDialog(const Stack& stack, const VoxelMatrix<float>& filtered, const VoxelMatrix<float>& grey,
                           const VRLSpotExtractionConfig& config, QWidget* parent = nullptr);
    ~VRLSpotThresholdDialog() override;

    double getThreshold() const;
    /// The one given, with the choice of the spots that are kept.
    VRLSpotExtractionConfig getConfig() const;
    /// Null unless the dialog was accepted.
    std::shared_ptr<const SpotLabels> getSpots() const;

    void setPlane(int plane);

    /// Tells above all how the volume was filtered.
    void setNote(const QString& text);

    /// Rows that the table has at most.
    static constexpr int mostRows = 5000;

public slots:
    void accept() override;

signals:
    void thresholdChanged(double threshold);

private:
    QWidget* newThresholdGroup();
    QWidget* newSelectionGroup();
    QWidget* newPreviewGroup();
    void propose();
    void change();
    void search();
    void showSpots();
    void fillTable(const SpotLabels& found);
    void goToRow(int row);

    const Stack& __stack;
    const VoxelMatrix<float>& __filtered;
    VRLSpotExtractionConfig __config;
    SpotSearch __search;
    QTimer __delay;
    bool __accepting = false;
    VRLDecimalBox* __threshold;
    QSlider *__slider, *__planeSlider;
    QComboBox* __rule;
    QSpinBox *__least, *__greatest;
    QCheckBox *__border, *__splitting;
    SpotPreview* __preview;
    QLabel* __note;
    QLabel* __count;
    VRLTableWidget* __table;
    QPushButton *__ok, *__save;
};

} // namespace vorlen
