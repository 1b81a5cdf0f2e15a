#pragma once

#include <QPointer>
#include <QStyledItemDelegate>

namespace vorlen {

class SectionMarks;

/// Draws beside the name of a slice how well it fits the one before it, as a bar from red to green with its figure, and
/// a padlock for one that is locked.
class ScoreBarDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit ScoreBarDelegate(QObject* parent = nullptr);
    ~ScoreBarDelegate() override;

    void setMarks(SectionMarks* marks);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    QPointer<SectionMarks> __marks;
};

} // namespace vorlen
