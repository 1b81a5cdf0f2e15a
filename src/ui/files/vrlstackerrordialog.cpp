#include "ui/files/vrlstackerrordialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTextEdit>
#include <QVBoxLayout>

namespace vorlen {

VRLStackErrorDialog::VRLStackErrorDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Stack error messages");
    setModal(true);
    auto* icon = new QLabel(this);
    const int size = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this).pixmap(size, size));
    __banner = new QLabel("Errors/warnings", this);
    __banner->setTextFormat(Qt::PlainText);
    __banner->setWordWrap(true);
    auto* top = new QHBoxLayout;
    top->addWidget(icon);
    top->addWidget(__banner, 1);

    __log = new QTextEdit(this);
    __log->setReadOnly(true);
    __log->setMinimumSize(400, 300);
    __log->setAccessibleName("Messages");
    __ok = new QPushButton("OK", this);
    __ok->setDefault(true);
    connect(__ok, &QPushButton::clicked, this, &QDialog::accept);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(__log, 1);
    __buttons = new QHBoxLayout;
    __buttons->addStretch(1);
    __buttons->addWidget(__ok);
    __buttons->addStretch(1);
    layout->addLayout(__buttons);
}

void VRLStackErrorDialog::offerToFindImages() {
    auto* find = new QPushButton("Find images...", this);
    find->setToolTip("Name the folder where the images are now");
    connect(find, &QPushButton::clicked, this, [this] {
        __wantsImages = true;
        accept();
    });
    __buttons->insertWidget(1, find);
}

void VRLStackErrorDialog::setBanner(const QString& banner) {
    __banner->setText(banner);
}

void VRLStackErrorDialog::setLog(const std::vector<std::string>& log) {
    QStringList lines;
    for (const std::string& line : log)
        lines += QString::fromStdString(line);
    __log->setPlainText(lines.join('\n'));
}

} // namespace vorlen
