#pragma once

#include <QMutex>
#include <QString>

#include "normalization/fusionpipeline.h"
#include "ui/progress/vrlprogressproxy.h"

namespace vorlen {

/// A normalization for a thread of its own. prepare(), on the thread of the stacks, reads them; then the object is
/// moved to its thread, whose started() signal calls run(). run() always ends with one of completed(), stopped() and
/// failed(), and then lets its thread end. It owns the shapes, which nobody else may look at before.
class VRLFusion : public VRLProgressProxy {
    Q_OBJECT

public:
    explicit VRLFusion(QObject* parent = nullptr);
    ~VRLFusion() override;

    void setConfig(const VRLFusionConfig<float>& config) { __pipeline.setConfig(config); }
    const VRLFusionConfig<float>& getConfig() const { return __pipeline.getConfig(); }

    /// Reads the stacks, which may change or go from then on. Throws what FusionPipeline::prepare() does.
    void prepare() { __pipeline.prepare(); }

    const std::vector<ShapeSet<float>*>& getShapeSets() const { return __pipeline.getShapeSets(); }
    const ShapeSet<float>* getMeanShapeSet() const { return __pipeline.getMeanShapeSet(); }
    const FusionReport& getReport() const { return __pipeline.getReport(); }
    /// The summary with its tables, in HTML.
    QString getLog() const { return QString::fromStdString(__pipeline.getSummary()); }

    /// From any thread; takes effect between two specimens or steps.
    void cancel() override;
    void clear() { __pipeline.clear(); }

public slots:
    void run();

signals:
    void completed();
    /// It was cancelled, and holds no shapes.
    void stopped();
    void failed(const QString& reason);

private:
    FusionPipeline<float> __pipeline;
    QMutex __mutex;
};

} // namespace vorlen
