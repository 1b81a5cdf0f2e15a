#include "ui/app/guidewindow.h"

#include <algorithm>

#include <QApplication>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QTextBrowser>
#include <QTextDocument>
#include <QUrl>
#include <QVBoxLayout>

#include "ui/icons/vrlicons.h"
#include "ui/session/vrlconfig.h"
#include "ui/widgets/placedwindow.h"

namespace vorlen {

namespace {

const char* const firstPage = "guide.md";

/// Pages in Markdown whose pictures fit into a column of text.
class GuidePages : public QTextBrowser {
public:
    using QTextBrowser::QTextBrowser;

    QVariant loadResource(int type, const QUrl& name) override {
        if (type != QTextDocument::ImageResource)
            return QTextBrowser::loadResource(type, name);
        QImage image(source().resolved(name).toLocalFile());
        const double ratio = devicePixelRatioF();
        if (image.isNull())
            return QVariant();
        const int broadest = int(columnWidth * ratio);
        if (image.width() > broadest)
            image = image.scaledToWidth(broadest, Qt::SmoothTransformation);
        image.setDevicePixelRatio(ratio);
        return image;
    }

private:
    static constexpr int columnWidth = 720;
};

} // namespace

QString GuideWindow::folder() {
    for (const QString& place : {QApplication::applicationDirPath() + "/../share/vorlen/guide", QString(VORLEN_DOCS)})
        if (QFileInfo::exists(place + "/" + firstPage))
            return QFileInfo(place).canonicalFilePath();
    return QString();
}

GuideWindow& GuideWindow::open(const QString& page) {
    GuideWindow* window = nullptr;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* const known = qobject_cast<GuideWindow*>(widget))
            window = known;
    if (window == nullptr)
        window = new GuideWindow; // deletes itself when it is closed
    if (folder().isEmpty())
        window->__pages->setPlainText("The guide is not installed: the folder share/vorlen/guide is missing beside "
                                      "that of the program.");
    else
        window->__pages->setSource(QUrl::fromLocalFile(folder() + "/" + page), QTextDocument::MarkdownResource);
    window->show();
    window->raise();
    window->activateWindow();
    return *window;
}

GuideWindow::GuideWindow() : QWidget(nullptr, Qt::Window) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QString("Guide - ") + appName);
    setWindowIcon(VRLIcons::logo());
    __pages = new GuidePages(this);
    __pages->setAccessibleName("Guide");
    __pages->setOpenExternalLinks(true);
    __pages->document()->setDocumentMargin(16);
    __search = new QLineEdit(this);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    makeBar();
    layout->addWidget(__pages, 1);
    connect(qApp, &QCoreApplication::aboutToQuit, this, &QWidget::close);
    keepPlace(*this, "guideWindow", QSize(820, 900));
    __pages->setFocus();
}

void GuideWindow::makeBar() {
    auto* const bar = new QHBoxLayout;
    bar->setContentsMargins(8, 8, 8, 8);
    bar->setSpacing(8);
    const auto add = [&](const QString& text, const QString& tip, auto to) {
        auto* const button = new QPushButton(text, this);
        button->setToolTip(tip);
        connect(button, &QPushButton::clicked, __pages, to);
        bar->addWidget(button);
        return button;
    };
    QPushButton* const back = add("Back", "The page before (Alt+Left)", &QTextBrowser::backward);
    QPushButton* const forward = add("Forward", "The page behind (Alt+Right)", &QTextBrowser::forward);
    add("Start", "The first page (Alt+Home)", &QTextBrowser::home);
    back->setEnabled(false);
    forward->setEnabled(false);
    connect(__pages, &QTextBrowser::backwardAvailable, back, &QWidget::setEnabled);
    connect(__pages, &QTextBrowser::forwardAvailable, forward, &QWidget::setEnabled);
    __search->setPlaceholderText("Search in the page: Return goes on");
    __search->setAccessibleName("Search in the page");
    __search->setClearButtonEnabled(true);
    connect(__search, &QLineEdit::returnPressed, this, &GuideWindow::search);
    bar->addWidget(__search, 1);
    static_cast<QVBoxLayout*>(layout())->addLayout(bar);
}

/// The next place behind the one that is marked; from the top again behind the last.
void GuideWindow::search() {
    if (__search->text().isEmpty() || __pages->find(__search->text()))
        return;
    __pages->moveCursor(QTextCursor::Start);
    __pages->find(__search->text());
}

} // namespace vorlen
