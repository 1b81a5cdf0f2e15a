#include "editing/operations/elasticalignment.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include <gtest/gtest.h>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagereader.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "shapes/vertices.h"
#include "support/stackfolder.h"
#include "support/tissue.h"

namespace vorlen {

namespace {

constexpr int side = 256;

/// What squeezes a section: twelve pixels at most.
PlanePoint squeeze(PlanePoint at) {
    return {12 * std::sin(at.y / 65 + 0.4), 10 * std::cos(at.x / 70 - 0.2)};
}

/// Three sections of one tissue, of which the middle one is squeezed and turned, and registered by its turn.
class BentStack {
public:
    BentStack() {
        const RigidMotion turn{0.05, 3, -2};
        add("s0", [](PlanePoint at) { return at; });
        add("s1", [&](PlanePoint at) {
            const PlanePoint way = squeeze(at);
            return turn.apply({at.x + way.x, at.y + way.y});
        });
        add("s2", [](PlanePoint at) { return at; });
        EXPECT_TRUE(setRegistrations(
            stack, {Registration(), registrationOf(turn, 1, 1), registrationOf(turn.inverse(), 1, 1)}));
        auto* const model = new Model;
        stack.addModel(model);
        item = new ModelItem;
        item->setModel(model);
        item->setSlice(&stack.getSlice(1));
        const int coordinates[] = {60, 70, 180, 90, 120, 200};
        item->setVertices(coordinates, 3);
        item->attach();
    }

    template <class Place>
    void add(const std::string& name, const Place& place) {
        Image image(side, side, 8);
        for (int i = 0; i < side; ++i)
            for (int j = 0; j < side; ++j) {
                const PlanePoint at = place(PlanePoint{j - 0.5 * side, i - 0.5 * side});
                image.getPixels()[i][j] =
                    static_cast<unsigned char>(std::clamp(std::lround(tissue(at.x, at.y)), 1L, 254L));
            }
        const std::string file = folder.file(name + ".tif");
        ImageWriter().write(image, file, true);
        auto slice = std::make_unique<StackSlice>();
        ImageSourceFile source;
        source.setFilename(file);
        slice->setImageSource(source);
        slice->setName(name);
        std::vector<std::unique_ptr<StackSlice>> slices;
        slices.push_back(std::move(slice));
        EXPECT_TRUE(insertSlices(stack, stack.getNumSlices(), std::move(slices)));
    }

    ElasticAlignment found(const ElasticOptions& options = {}) {
        ProgressSubject progress;
        return findElasticAlignment(stack, options, progress);
    }

    Outcome bend(const std::vector<ElasticField>& fields, bool overwrite = false) {
        ProgressSubject progress;
        return bendStack(stack, fields, folder.file("."), "bent", overwrite, progress);
    }

    std::string imageOf(int i) { return stack.getSlice(i).getImageSource().getName(); }

    StackFolder folder;
    VRLStack stack;
    ModelItem* item = nullptr; // on the middle slice
};

TEST(ElasticAlignment, findsTheFieldAndBendsImagesAndOutlinesByIt) {
    BentStack bent;
    ElasticOptions options;
    options.locked = {0, 2};
    const ElasticAlignment found = bent.found(options);
    ASSERT_EQ(found.fields.size(), 3u);
    EXPECT_TRUE(found.fields[0].isNull());
    EXPECT_TRUE(found.fields[2].isNull());
    EXPECT_TRUE(found.slices[1].bent) << found.slices[1].reason;
    EXPECT_GT(found.slices[1].scoreAfter, 0.97);
    EXPECT_GT(found.slices[1].scoreAfter, found.slices[1].scoreBefore + 0.2);
    EXPECT_GT(found.slices[1].numBlocks, 50);

    // Where the bent section shows p, the old one shows p plus the way, and that is the tissue at p.
    const ElasticField& field = found.fields[1];
    double sum = 0, sumInside = 0;
    int n = 0, numInside = 0;
    for (double y = -120; y <= 120; y += 8)
        for (double x = -120; x <= 120; x += 8) {
            const PlanePoint before = field.before({x, y}), way = squeeze(before);
            const double off = std::pow(before.x + way.x - x, 2) + std::pow(before.y + way.y - y, 2);
            sum += off;
            ++n;
            if (std::max(std::abs(x), std::abs(y)) <= 96) {
                sumInside += off;
                ++numInside;
            }
        }
    EXPECT_LT(std::sqrt(sum / n), 1);
    EXPECT_LT(std::sqrt(sumInside / numInside), 0.6);

    const std::string old = bent.imageOf(1), first = bent.imageOf(0);
    ASSERT_TRUE(bent.bend(found.fields));
    EXPECT_EQ(bent.imageOf(0), first);
    EXPECT_NE(bent.imageOf(1), old);
    EXPECT_TRUE(std::filesystem::exists(old));
    Image image;
    ImageReader().read(image, bent.stack.getSlice(1).getImageSource());
    ASSERT_EQ(image.getWidth(), side);
    ASSERT_EQ(image.getDepth(), 8);
    const RigidMotion turn{0.05, 3, -2};
    double difference = 0;
    for (int i = 40; i < side - 40; ++i)
        for (int j = 40; j < side - 40; ++j) {
            const PlanePoint at = turn.apply({j - 0.5 * side, i - 0.5 * side});
            difference += std::abs(image.getPixels()[i][j] - tissue(at.x, at.y));
        }
    EXPECT_LT(difference / std::pow(side - 80, 2), 6);
    // The vertex goes with what it was drawn on, to a pixel and what is off of the field.
    const PlanePoint drawn{60 - 0.5 * side, 70 - 0.5 * side}, way = squeeze(drawn);
    EXPECT_NEAR(bent.item->getVertices()[0][0] - 0.5 * side, drawn.x + way.x, 1.5);
    EXPECT_NEAR(bent.item->getVertices()[0][1] - 0.5 * side, drawn.y + way.y, 1.5);
    EXPECT_EQ(bent.item->getSize(), 3);
}

TEST(ElasticAlignment, leavesWhatCannotBeBentAndNamesIt) {
    BentStack bent;
    bent.add("foreign", [](PlanePoint at) { return PlanePoint{at.x + 5000, at.y - 7000}; });
    bent.add("lost", [](PlanePoint at) { return at; });
    std::filesystem::remove(bent.imageOf(4));
    const ElasticAlignment found = bent.found();
    EXPECT_TRUE(found.slices[1].bent);
    EXPECT_FALSE(found.slices[3].bent);
    EXPECT_FALSE(found.slices[3].reason.empty());
    EXPECT_FALSE(found.slices[4].bent);
    EXPECT_NE(found.slices[4].reason.find("can't be read"), std::string::npos);
    for (const SliceBending& one : found.slices)
        EXPECT_GE(one.bent ? one.scoreAfter : 1, one.scoreBefore - 1e-3) << one.name;
}

TEST(ElasticAlignment, refusesAndCancelsWithoutATrace) {
    BentStack bent;
    const auto refused = [&](void (*change)(ElasticOptions&)) {
        ElasticOptions options;
        change(options);
        EXPECT_FALSE(checkElasticOptions(bent.stack, options));
        EXPECT_THROW(bent.found(options), UsageError);
    };
    refused([](ElasticOptions& options) { options.last = 3; });
    refused([](ElasticOptions& options) { options.locked = {-1}; });
    refused([](ElasticOptions& options) { options.spacing = std::nan(""); });
    refused([](ElasticOptions& options) { options.reach = 1000; });
    refused([](ElasticOptions& options) { options.stiffness = 0; });
    ProgressSubject progress;
    progress.cancel();
    const ElasticAlignment cancelled = findElasticAlignment(bent.stack, {}, progress);
    EXPECT_TRUE(cancelled.cancelled);
    for (const ElasticField& field : cancelled.fields)
        EXPECT_TRUE(field.isNull());

    ElasticField gentle(side, side, 32), folded(side, side, 32), small(side / 2, side, 32);
    gentle.setWay(3, 3, {4, 2});
    folded.setWay(3, 3, {90, 0});
    small.setWay(3, 3, {4, 2});
    const std::string old = bent.imageOf(1);
    EXPECT_FALSE(bent.bend({gentle}));
    EXPECT_FALSE(bent.bend({{}, folded, {}}));
    EXPECT_FALSE(bent.bend({{}, small, {}}));
    EXPECT_FALSE(bendStack(bent.stack, {{}, gentle, {}}, bent.folder.file("."), "bent", false, progress));
    EXPECT_EQ(bent.imageOf(1), old);
    EXPECT_FALSE(std::filesystem::exists(bent.folder.file("bent-0002.tif")));
    EXPECT_TRUE(bent.bend({{}, gentle, {}}));
    EXPECT_FALSE(bent.bend({{}, gentle, {}}, true)); // would write over what it reads
    EXPECT_FALSE(bent.bend({{}, gentle, {}}));
}

TEST(ElasticAlignment, fieldsAreReadAsTheyWereSavedAndBadFilesAreRefused) {
    BentStack bent;
    ElasticField field(side, side, 64);
    for (int row = 0; row < field.rows(); ++row)
        field.setWay(row, 2, {1.0 / (row + 3), -0.1 * row});
    const std::string file = bent.folder.file("a.fields");
    saveElasticFields(file, bent.stack, {{}, field, {}}, false);
    EXPECT_THROW(saveElasticFields(file, bent.stack, {{}, field, {}}, false), FileWriteError);
    const std::vector<ElasticField> read = loadElasticFields(file, bent.stack);
    ASSERT_EQ(read.size(), 3u);
    EXPECT_TRUE(read[0].isNull());
    ASSERT_EQ(read[1].rows(), field.rows());
    EXPECT_EQ(read[1].width(), side);
    EXPECT_NEAR(read[1].way(4, 2).x, field.way(4, 2).x, 1e-9);
    EXPECT_NEAR(read[1].way(4, 2).y, field.way(4, 2).y, 1e-9);

    std::string text;
    {
        std::ifstream stream(file);
        text.assign(std::istreambuf_iterator<char>(stream), {});
    }
    const auto refuses = [&](const std::string& contents) {
        std::ofstream(file) << contents;
        EXPECT_THROW(loadElasticFields(file, bent.stack), FileReadError) << contents.substr(0, 80);
    };
    const std::string title = text.substr(0, text.find('\n') + 1);
    refuses("");
    refuses("something else\n");
    refuses(text.substr(0, text.size() / 2));
    refuses(text.substr(0, text.size() - 5));
    refuses(title + "slice 2000000000 2000000000 256 256 s1\n0 0\nend\n");
    refuses(title + "slice 2 2 256 0 s1\n0 0 0 0\n0 0 0 0\nend\n");
    refuses(title + "slice 2 2 256 256 s1\n0 0 0 x\n0 0 0 0\nend\n");
    EXPECT_THROW(loadElasticFields(bent.folder.file("none"), bent.stack), FileReadError);
    EXPECT_THROW(loadElasticFields(bent.folder.file("."), bent.stack), FileReadError);
}

} // namespace

} // namespace vorlen
