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
    auto* ok = new QPushButton("OK", this);
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(__log, 1);
    layout->addWidget(ok, 0, Qt::AlignHCenter);
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
