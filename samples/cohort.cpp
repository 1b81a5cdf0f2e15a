/// Normalizes, maps and compares a made cohort in the real windows, and draws the pictures of the guide on the way.
/// Usage: vorlen-cohort PICTURE_FOLDER
///
/// Eight specimens, four of them with a heap of cells at one place, are made by formula; some are cut turned or from
/// the other end. It needs a display; scripts/with-display gives it one of its own. Settings of the user are neither
/// read nor changed.

#include <array>
#include <cmath>
#include <functional>
#include <iostream>
#include <stdexcept>

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QElapsedTimer>
#include <QImage>
#include <QListWidget>
#include <QPixmap>
#include <QPushButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <QTreeWidget>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "normalization/vrlfusionconfig.h"
#include "numerics/exception.h"
#include "ui/comparison/vrlcomparisonwindow.h"
#include "ui/density/vrldensitymappingwidget.h"
#include "ui/fusion/vrlfusionwindow.h"
#include "ui/fusion/vrlfusionwindowmediator.h"
#include "ui/fusion/vrlfusionwindowshapetable.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/vorlenapplication.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

namespace {

constexpr int numSpecimens = 8, numControls = 4, numSections = 16, numCells = 90, numInHeap = 30;
constexpr double pi = 3.14159265358979;

void wait(int milliseconds) {
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < milliseconds; QThread::msleep(2))
        QApplication::processEvents();
}

void waitUntil(const std::function<bool()>& done, const char* what) {
    for (int i = 0; i < 6000 && !done(); ++i)
        wait(10);
    if (!done())
        throw std::runtime_error(std::string("does not end: ") + what);
}

double fractionOf(double x) {
    return x - std::floor(x);
}

/// Radius of the body in a section, at an angle about its axis.
double radius(int section, double angle) {
    const double along = (section - 7.5) / 8.5;
    return 70 * std::sqrt(1 - along * along) * (1 + 0.02 * (section - 7.5)) * (1 + 0.3 * std::cos(angle + 0.5));
}

/// A specimen in its own frame, turned in the plane of its sections, or cut from the other end.
class MadeSpecimen {
public:
    MadeSpecimen(int number, VRLStack& stack)
        : __stack(stack), __number(number), __turn(0.7 * number), __isFlipped(number % 3 == 2) {
        for (int i = 0; i < numSections; ++i) {
            auto* slice = new StackSlice; // the stack owns it
            slice->setName("s" + std::to_string(i));
            stack.addSlice(slice);
        }
        addBody();
        addCells();
    }

private:
    Model& addModel(const char* name, MPrimitive geometry, int red, int green, int blue) {
        auto* model = new Model; // the stack owns it
        model->setName(name);
        model->getProperties().setGeometry(geometry);
        model->getItemProperties().setColor(red, green, blue);
        __stack.addModel(model);
        return *model;
    }

    void addItem(Model& model, int section, const std::vector<std::pair<double, double>>& places) {
        const int n = int(places.size());
        Vertices<double> vertices(2, n, n, 1);
        for (int i = 0; i < n; ++i) {
            // Seen from the other end left and right change places.
            const double x = places[std::size_t(i)].first * (__isFlipped ? -1 : 1), y = places[std::size_t(i)].second;
            vertices[i][0] = std::round(100 + 8 * __number + x * std::cos(__turn) - y * std::sin(__turn));
            vertices[i][1] = std::round(120 - 5 * __number + x * std::sin(__turn) + y * std::cos(__turn));
        }
        auto* item = new ModelItem; // the model owns it
        item->setModel(&model);
        item->setSlice(&__stack.getSlice(__isFlipped ? numSections - 1 - section : section));
        item->setVertices(vertices);
        item->attach();
    }

    void addBody() {
        Model& body = addModel("body", PolygonPrimitive, 90, 120, 200);
        for (int section = 0; section < numSections; ++section) {
            std::vector<std::pair<double, double>> ring;
            for (int k = 0; k < 36; ++k) {
                const double angle = 2 * pi * k / 36;
                const double r = radius(section, angle) * (1 + 0.02 * std::sin(3 * angle + __number));
                ring.emplace_back(r * std::cos(angle), 0.7 * r * std::sin(angle));
            }
            addItem(body, section, ring);
        }
    }

    void addCells() {
        Model& cells = addModel("cells", PolypointPrimitive, 200, 60, 40);
        std::vector<std::vector<std::pair<double, double>>> places(numSections);
        const int numHeaped = __number >= numControls ? numInHeap : 0;
        for (int i = 0; i < numCells; ++i) {
            const double u = fractionOf(0.819 * (i + 1) + 0.137 * __number);
            const double v = fractionOf(0.671 * (i + 1) + 0.291 * __number);
            const double w = fractionOf(0.55 * (i + 1) + 0.411 * __number);
            const bool isHeaped = i < numHeaped;
            const int section = isHeaped ? 9 + int(3 * u) : 1 + int((numSections - 2) * u);
            const double angle = 2 * pi * v;
            const double r = isHeaped ? 14 * std::sqrt(w) : 0.9 * radius(section, angle) * std::sqrt(w);
            places[std::size_t(section)].emplace_back((isHeaped ? 35 : 0) + r * std::cos(angle),
                                                      (isHeaped ? -12 : 0) + 0.7 * r * std::sin(angle));
        }
        for (int section = 0; section < numSections; ++section)
            if (!places[std::size_t(section)].empty())
                addItem(cells, section, places[std::size_t(section)]);
    }

    VRLStack& __stack;
    int __number;
    double __turn;
    bool __isFlipped;
};

QString nameOf(int number) {
    return number < numControls ? QString("control%1").arg(number + 1)
                                : QString("treated%1").arg(number - numControls + 1);
}

void makeCohort() {
    for (int number = 0; number < numSpecimens; ++number) {
        auto* stack = new VRLStack; // the server owns it
        stack->setName(nameOf(number).toStdString());
        stack->setDefaultSliceSpacing(14);
        stack->setLengthUnit(LengthUnit(-6));
        MadeSpecimen(number, *stack);
        VRLStackServer::stackServer.addStack(*stack);
    }
}

class CohortWalk {
public:
    explicit CohortWalk(const QString& pictures) : __pictures(pictures), __window(*new VRLFusionWindow) {
        __window.resize(1280, 820);
        __window.show();
    }
    ~CohortWalk() {
        delete &__window;
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    }

    void normalize() {
        VRLFusionConfig<float> config;
        config.setName("cohort");
        std::vector<const Stack*> stacks;
        stacks.reserve(numSpecimens);
        for (int i = 0; i < numSpecimens; ++i)
            stacks.push_back(&VRLStackServer::stackServer.getStack(i));
        config.setStacks(stacks);
        std::vector<VRLFusionSurfaceStructure<float>> structures = VRLFusionConfig<float>::sharedStructures(stacks);
        for (VRLFusionSurfaceStructure<float>& structure : structures)
            structure.setReference(true);
        config.setStructures(structures);
        VRLFusionStrategy strategy;
        strategy.setAlignment(true);
        strategy.setRegistration(true);
        config.setStrategy(strategy);
        mediator().start(config);
        waitUntil([this] { return !mediator().isRunning(); }, "the normalization");
        mediator().setStandardPose2();
        mediator().fit();
        picture(__window, "cohort-normalized");
        tabs().setCurrentIndex(1);
        picture(__window, "cohort-residuals");
    }

    void map() {
        tabs().setCurrentIndex(2);
        auto* widget = __window.findChild<VRLDensityMappingWidget*>();
        VRLDensityMappingConfig config;
        config.name = "treated";
        const auto& painters = mediator().getPainters();
        for (std::size_t i = 0; i < painters.size(); ++i) {
            const QString stack = QString::fromStdString(painters[i]->getStackName());
            const bool isCells = painters[i]->getProxy()->getShape()->getName() == "cells";
            if (isCells && stack.startsWith("treated"))
                config.patterns.push_back(int(i));
            if (!isCells && stack == "mean")
                config.masks.push_back(int(i));
        }
        VRLDensityMap* map = widget->runDensityMapping(config);
        VRLDensityMapViewConfig view;
        view.name = "half";
        if (map == nullptr || widget->addView(*map, view) == nullptr)
            throw std::runtime_error("there is no density map");
        widget->setSurfacesTranslucent(true);
        picture(__window, "cohort-density");
    }

    void compare() {
        QTimer clock;
        QObject::connect(&clock, &QTimer::timeout, [this, &clock] {
            auto* dialog = qobject_cast<VRLComparisonDialog*>(QApplication::activeModalWidget());
            if (dialog == nullptr)
                return;
            clock.stop();
            answer(*dialog);
        });
        clock.start(50);
        mediator().compareGroups();
        VRLComparisonWindow* window = nullptr;
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* found = qobject_cast<VRLComparisonWindow*>(widget))
                window = found;
        if (window == nullptr)
            throw std::runtime_error("there is no window of the comparison");
        window->resize(1280, 820);
        waitUntil([window] { return !window->isRunning(); }, "the comparison");
        if (window->getComparison() == nullptr)
            throw std::runtime_error("nothing was compared");
        window->getMediator().setStandardPose2();
        window->getMediator().fit();
        window->getTable().selectRow(0);
        picture(*window, "cohort-compared");
        for (const Cluster& cluster : window->getComparison()->getResult().clusters) {
            const std::array<double, 3> place = window->getComparison()->placeOf(cluster.peakPlace);
            std::cout << "Cluster of " << cluster.numPlaces << " places, p = " << cluster.p << ", peak at (" << place[0]
                      << ", " << place[1] << ", " << place[2] << ")\n";
        }
        delete window;
    }

private:
    VRLFusionWindowMediator& mediator() { return __window.getMediator(); }
    QTabWidget& tabs() { return *__window.findChild<QTabWidget*>(); }

    void answer(VRLComparisonDialog& dialog) {
        auto* patterns = dialog.findChild<QListWidget*>("patterns");
        auto* groups = dialog.findChild<QTreeWidget*>("groups");
        for (const int group : {0, 1}) {
            const QString name = group == 0 ? "control" : "treated";
            groups->topLevelItem(group)->setText(0, name);
            groups->setCurrentItem(groups->topLevelItem(group));
            patterns->clearSelection();
            for (int row = 0; row < patterns->count(); ++row)
                patterns->item(row)->setSelected(patterns->item(row)->text().startsWith(name));
            click(dialog, "Add to the group");
        }
        auto* masks = dialog.findChild<QListWidget*>("masks");
        for (int row = 0; row < masks->count(); ++row)
            masks->item(row)->setCheckState(Qt::Checked);
        dialog.findChild<QDoubleSpinBox*>("resolution")->setValue(5);
        picture(dialog, "cohort-groups");
        click(dialog, "Compare");
    }

    static void click(QWidget& dialog, const QString& text) {
        for (QPushButton* button : dialog.findChildren<QPushButton*>())
            if (button->text().remove('&') == text)
                return button->click();
        throw std::runtime_error("no button " + text.toStdString());
    }

    void picture(QWidget& window, const QString& name) {
        wait(300);
        QImage image = window.grab().toImage();
        image.convertTo(QImage::Format_RGB32);
        if (!image.save(__pictures + "/" + name + ".png"))
            throw std::runtime_error("cannot write " + name.toStdString());
    }

    QString __pictures;
    VRLFusionWindow& __window;
};

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    VorlenApplication application(argc, argv);
    if (QApplication::arguments().size() != 2) {
        std::cerr << "Usage: vorlen-cohort PICTURE_FOLDER\n";
        return 2;
    }
    try {
        makeCohort();
        CohortWalk walk(QApplication::arguments()[1]);
        walk.normalize();
        walk.map();
        walk.compare();
        return 0;
    } catch (const Exception& error) {
        std::cerr << "vorlen-cohort: " << error.getWhat() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "vorlen-cohort: " << error.what() << '\n';
    }
    return 1;
}
