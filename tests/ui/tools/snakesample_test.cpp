#include "ui/tools/snakefixture.h"

#include <cstdlib>

#include <QPainter>
#include <QPolygon>

#include "document/stackreader.h"

namespace vorlen {

namespace {

/// The pixels inside of the contour.
QImage filled(const ModelItem& item) {
    QPolygonF polygon;
    for (int i = 0; i < item.getSize(); ++i)
        polygon.append(QPointF(item.getVertices()[i][0], item.getVertices()[i][1]));
    QImage mask(512, 512, QImage::Format_Grayscale8);
    mask.fill(0);
    QPainter painter(&mask);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawPolygon(polygon);
    return mask;
}

std::size_t numPixels(const QImage& mask, const QImage* other = nullptr) {
    std::size_t n = 0;
    for (int y = 0; y < mask.height(); ++y)
        for (int x = 0; x < mask.width(); ++x)
            n += mask.constScanLine(y)[x] != 0 && (other == nullptr || other->constScanLine(y)[x] != 0);
    return n;
}

double overlap(const ModelItem& a, const ModelItem& b) {
    const QImage first = filled(a), second = filled(b);
    return 2.0 * double(numPixels(first, &second)) / double(numPixels(first) + numPixels(second));
}

constexpr int reach = SNAKE_REACH;

} // namespace

/// The parameters that the dialog offers are good for sections of stained tissue.
TEST_F(SnakeTest, roughCirclesOnEveryTenthSliceOfTheSampleGiveTheNucleus) {
    ASSERT_EQ(std::system((std::string(VORLEN_SAMPLE) + " '" + folder.path() + "' >/dev/null").c_str()), 0);
    ASSERT_TRUE(StackReader().read(stack, folder.file("sample.sdf")));
    Model& nucleus = stack.getModel(stack.findModel("Nucleus"));
    std::vector<const ModelItem*> truth(std::size_t(stack.getNumSlices()), nullptr);
    for (int i = 0; i < nucleus.getNumItems(); ++i)
        truth[std::size_t(stack.findSlice(*nucleus.getItem(i).getSlice()))] = &nucleus.getItem(i);
    std::vector<const ModelItem*> circles;
    for (int i = 0; i < stack.getNumSlices(); i += 10) {
        const ModelItem* const item = truth[std::size_t(i)];
        if (item == nullptr)
            continue;
        double x = 0, y = 0, radius = 0;
        for (int k = 0; k < item->getSize(); ++k) {
            x += double(item->getVertices()[k][0]) / item->getSize();
            y += double(item->getVertices()[k][1]) / item->getSize();
        }
        for (int k = 0; k < item->getSize(); ++k)
            radius += std::hypot(item->getVertices()[k][0] - x, item->getVertices()[k][1] - y) / item->getSize();
        // A circle that is a sixth too small and a few pixels beside.
        showSlice(stack.getSlice(i));
        circles.push_back(&addCircle(stack.getSlice(i), x + 4, y - 3, 0.85 * radius));
        acceptRange(reach, true);
        runSnake();
    }
    EXPECT_EQ(circles.size(), 3u);
    int numSlices = 0;
    double sum = 0;
    for (int i = 0; i < model->getNumItems(); ++i) {
        const ModelItem& found = model->getItem(i);
        const ModelItem* const wanted = truth[std::size_t(stack.findSlice(*found.getSlice()))];
        if (std::count(circles.begin(), circles.end(), &found) > 0 || wanted == nullptr)
            continue; // or a slice beyond the nucleus
        ++numSlices;
        const double value = overlap(found, *wanted);
        sum += value;
        EXPECT_GE(value, 0.9) << found.getSlice()->getName();
    }
    EXPECT_EQ(numSlices, reach == 4 ? 26 : 9); // the nucleus begins on slice 7
    EXPECT_GE(sum / numSlices, 0.97);
}

} // namespace vorlen
