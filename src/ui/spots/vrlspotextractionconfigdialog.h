#pragma once

#include <QDialog>

#include "spots/vrlspotextractionconfig.h"
#include "values/imagecolorcontent.h"

class QLabel;
class QPushButton;

namespace vorlen {

class VRLChannelEditor;
class VRLSpotExtractionConfigEditor;

/// Asks how spots are to be sought. Tells how much memory the run takes, and warns when the machine has less free; it
/// can't be run without a basename.
class VRLSpotExtractionConfigDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLSpotExtractionConfigDialog(QWidget* parent = nullptr);

    void setConfig(const VRLSpotExtractionConfig& config);
    VRLSpotExtractionConfig getConfig() const;

    /// What the images of the stack have in common. Mixed colours leave the choice.
    void setChannel(const ImageColorContent& channel);
    /// Gray for the intensity, else a colour.
    ImageColorContent getChannel() const;
    void enableChannelSelector(bool enabled);

private:
    void showMemory();

    VRLChannelEditor* __channel;
    VRLSpotExtractionConfigEditor* __editor;
    QLabel* __memory;
    QPushButton* __run;
};

} // namespace vorlen
