#pragma once

#include <QString>
#include <QWidget>

class QLineEdit;
class QTextBrowser;
class QUrl;

namespace vorlen {

/// The guide, as it is installed with the program: pages with their pictures, links between them, and a search within
/// the page. Needs no network. Deletes itself when it is closed; one for all windows.
///
/// Decisions: the pages are the documentation's own, read from the folder share/vorlen/guide beside the program's
/// bin, or, where the program has not been installed, from the sources that it was built of. Pictures are made narrower
/// where they are broader than a column of text.
class GuideWindow : public QWidget {
    Q_OBJECT

public:
    /// Shows the window on this page of the folder, or the page in the window that is open; "guide.md" is the first.
    static GuideWindow& open(const QString& page);

    /// Where the pages are; empty where they are not.
    static QString folder();

    QTextBrowser& pages() { return *__pages; }

private:
    GuideWindow();

    void makeBar();
    void search();

    QTextBrowser* __pages;
    QLineEdit* __search;
};

} // namespace vorlen
