#include "ui/app/vrlaboutwidget.h"

#include <QHBoxLayout>
#include <QLabel>

#include "files/system.h"
#include "ui/icons/vrlicons.h"
#include "ui/session/vrlconfig.h"

namespace vorlen {

VRLAboutWidget::VRLAboutWidget(QWidget* parent) : QWidget(parent) {
    auto* logo = new QLabel(this);
    logo->setPixmap(VRLIcons::logo().pixmap(QSize(96, 96), devicePixelRatioF()));
    auto* text = new QLabel(
        QString("<h2>%1</h2><p>Version %2 (%3)<br>built %4</p>"
                "<p>Reconstruction of anatomy from serial sections</p>")
            .arg(appName, appVersionNumber, appVersionDate, QString::fromStdString(System::compilationDate())),
        this);
    text->setTextFormat(Qt::RichText);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* layout = new QHBoxLayout(this);
    layout->setSpacing(20);
    layout->addWidget(logo, 0, Qt::AlignTop);
    layout->addWidget(text, 1);
}

} // namespace vorlen
