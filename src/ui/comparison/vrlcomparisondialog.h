#pragma once

#include <memory>
#include <optional>
#include <vector>

#include <QDialog>

#include "normalization/groupcomparison.h"
#include "shapes/shape.h"
#include "values/lengthunit.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QHBoxLayout;
class QLabel;
class QListWidget;
class QPushButton;
class QSpinBox;
class QTreeWidget;
class QTreeWidgetItem;

namespace vorlen {

/// A shape that a window has, with the name under which a person knows it. It is a copy, so that it stays as it is.
struct ComparedShape {
    QString name;
    std::shared_ptr<Shape<float>> shape;
};

/// What a window has to be compared: point patterns, or other specimens; closed surfaces for masks; the unit of all.
struct ComparisonOffer {
    std::vector<ComparedShape> patterns;
    std::vector<ComparedShape> surfaces;
    std::optional<LengthUnit> unit;
};

/// What the dialog asks for.
struct ComparisonRequest {
    ComparisonSettings settings;
    std::optional<LengthUnit> unit; ///< of the points
};

/// Asks which groups of specimens are compared, and how.
///
/// Specimens are files, or shapes of the window that offers them; they are dragged between groups, and groups are
/// renamed by a double click. "Compare" stands for a comparison that can be made: with specimens that go together in
/// each of at least two groups; what is missing is told. Specimens in a known unit are never mixed with maps.
class VRLComparisonDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLComparisonDialog(const ComparisonOffer& offer, QWidget* parent = nullptr);

    /// Shows the settings of an earlier comparison, its groups too.
    void setRequest(const ComparisonRequest& request);
    ComparisonRequest request() const;

    /// Adds files to the group of this number, counted from 0; one that is in a group already is left out.
    void addFiles(int group, const QStringList& files);
    void addMask(const QString& file);

    static constexpr int maxPermutations = 1000000;

public slots:
    void addGroup();

private slots:
    void refresh();
    void chooseFiles();
    void chooseMasks();
    void addPatterns();
    void removeSelected();

private:
    void buildGroups(QHBoxLayout& row);
    void buildMapping(QFormLayout& form);
    void buildTest(QFormLayout& form);
    QTreeWidgetItem* selectedGroup() const;
    void addSpecimen(QTreeWidgetItem& group, const QString& name, int offered);
    void addMaskEntry(const QString& name, int offered, bool checked);
    bool isTaken(const QString& name) const;
    SpecimenList specimens() const;
    SpecimenMapping mapping() const;
    std::optional<LengthUnit> unit() const;
    /// What keeps the comparison from being made; empty when it can be.
    QString obstacle(const SpecimenList& list) const;
    QString outlook(const SpecimenList& list) const;

    ComparisonOffer __offer;
    QListWidget* __patterns;
    QTreeWidget* __groups;
    QListWidget* __masks;
    QComboBox* __kind;
    QComboBox* __method;
    QCheckBox* __corrected;
    QDoubleSpinBox* __bandwidth;
    QComboBox* __kernel;
    QSpinBox* __rank;
    QDoubleSpinBox* __resolution;
    QComboBox* __unit;
    QSpinBox* __permutations;
    QSpinBox* __seed;
    QDoubleSpinBox* __alpha;
    QDoubleSpinBox* __cluster;
    QLabel* __outlook;
    QFormLayout* __form;
    QPushButton* __compare = nullptr;
};

} // namespace vorlen
