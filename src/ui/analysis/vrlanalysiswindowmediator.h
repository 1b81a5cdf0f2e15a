#pragma once

#include <QObject>

namespace vorlen {

class VRLModelAnalysisWidget;
class VRLModelItemAnalysisWidget;
class VRLSliceAnalysisTable;
class VRLStack;

/// Passes stack and commands of an analysis window to its three sheets, which it sees and does not own.
class VRLAnalysisWindowMediator : public QObject {
    Q_OBJECT

public:
    explicit VRLAnalysisWindowMediator(QObject* parent = nullptr);

    void setModelItemAnalysisWidget(VRLModelItemAnalysisWidget& widget) { __itemWidget = &widget; }
    void setSliceAnalysisTable(VRLSliceAnalysisTable& table) { __sliceTable = &table; }
    void setModelAnalysisWidget(VRLModelAnalysisWidget& widget) { __modelWidget = &widget; }

    /// To be called once the sheets are set; throws UsageError when one is missing.
    void initialize();

    void setStack(const VRLStack& stack);

public slots:
    /// Commands on the sheet that is in front.
    void copySelection() const;
    void saveCurrentSheet() const;

private:
    template <class Command>
    void onVisibleSheet(const Command& command) const;

    VRLModelItemAnalysisWidget* __itemWidget = nullptr;
    VRLSliceAnalysisTable* __sliceTable = nullptr;
    VRLModelAnalysisWidget* __modelWidget = nullptr;
};

} // namespace vorlen
