#include "ui/models/sectioncachepanel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>

#include "images/sections/levelstore.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

QString sizeText(std::uint64_t bytes) {
    return QLocale::c().formattedDataSize(qint64(bytes), 1, QLocale::DataSizeTraditionalFormat);
}

} // namespace

SectionCachePanel::SectionCachePanel(QWidget* parent) : QWidget(parent) {
    __text = new QLabel(this);
    __text->setTextFormat(Qt::PlainText);
    __text->setWordWrap(true);
    __text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    __text->setAccessibleName("Reduced images");
    __clear = new QPushButton("Clear", this);
    __clear->setAutoDefault(false);
    __clear->setAccessibleName("Clear reduced images");
    __clear->setToolTip("Deletes the reduced images at once; they are made again when a section is opened that needs "
                        "them, which takes its time");
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(__text, 1);
    layout->addWidget(__clear, 0, Qt::AlignBottom);
    connect(__clear, &QPushButton::clicked, this, &SectionCachePanel::clear);
    refresh();
}

void SectionCachePanel::refresh() {
    const LevelStore store;
    const std::uint64_t size = store.size();
    if (store.getFolder().empty())
        __text->setText("Reduced images of large sections are not kept, as there is no home folder.");
    else
        __text->setText("Reduced images of large sections, " + sizeText(size) + " of at most " +
                        sizeText(store.getLimit()) + ", those longest unused go first:\n" +
                        QString::fromStdString(store.getFolder()));
    __clear->setEnabled(size > 0);
}

void SectionCachePanel::clear() {
    const WaitCursor wait;
    LevelStore().clear();
    refresh();
}

} // namespace vorlen
