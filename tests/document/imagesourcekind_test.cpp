#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackslice.h"
#include "document/stackwriter.h"
#include "images/files/imagereader.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcekinds.h"
#include "support/stackfolder.h"

namespace vorlen {

namespace {

/// A kind of image source that the system has not: the left columns of an image file.
class LeftPart : public ImageSource {
public:
    LeftPart(const std::string& filename, int columns) : __columns(columns) { __file.setFilename(filename); }
    LeftPart* clone() const override { return new LeftPart(*this); }
    int getType() const override { return 17; }
    bool isDefined() const override { return true; }
    int getSize1() const override { return __file.getSize1(); }
    int getSize2() const override { return __columns; }
    int getDepth() const override { return __file.getDepth(); }
    const Colormap* getColormap() const override { return __file.getColormap(); }
    std::string getName() const override { return "left of " + __file.getName(); }

    void read(ImageReader& reader, Image& image) const override {
        Image whole;
        reader.read(whole, __file.getFilename());
        image.init(__columns, whole.getHeight(), whole.getDepth());
        for (int i = 0; i < whole.getHeight(); ++i)
            std::copy_n(whole.getPixels()[i], __columns, image.getPixels()[i]);
    }

    ImageStatement getStatement() const override { return {"LeftPart", {__columns, __file.getFilename()}}; }

    static std::unique_ptr<ImageSource> make(const ImageStatement& statement) {
        return std::make_unique<LeftPart>(statement.file(1), statement.number(0));
    }

private:
    ImageSourceFile __file;
    int __columns;
};

class ImageSourceKinds : public testing::Test {
protected:
    ImageSourceKinds() {
        kinds.push_back({"LeftPart", {ImageSourceKind::Size, ImageSourceKind::File}, &LeftPart::make});
        Image image(5, 3, 8);
        for (int i = 0; i < 15; ++i)
            image.getData()[i] = static_cast<unsigned char>(i);
        folder.writeImage("images/a.tif", 1, 1);
        ImageWriter().write(image, folder.file("images/a.tif"), true);
    }

    const std::vector<std::string>& read(Stack& stack, const std::string& file) {
        reader = std::make_unique<StackReader>(kinds);
        EXPECT_TRUE(reader->read(stack, folder.file(file)));
        return reader->getLog();
    }

    StackFolder folder;
    std::vector<ImageSourceKind> kinds = imageSourceKinds();
    std::unique_ptr<StackReader> reader;
};

} // namespace

// With its class and its entry the kind has all that the others have.
TEST_F(ImageSourceKinds, aNewOneIsWrittenReadAndToldFromOthers) {
    const LeftPart source(folder.file("images/a.tif"), 2);
    Stack stack, copy;
    for (const char* name : {"l", "m"}) {
        auto* slice = new StackSlice;
        slice->setName(name);
        slice->setImageSource(source);
        slice->setPixelCalibration(stack.getDefaultPixelCalibration());
        stack.addSlice(slice);
    }
    ASSERT_TRUE(StackWriter().write(stack, folder.file("a.sdf")));
    const std::string text = folder.read("a.sdf");
    EXPECT_NE(text.find("\n\nImagesPath \"images/\";\n\nLeftPart \"l\" 2 \"a.tif\";\nSliceSize1 3;\nSliceSize2 2;\n\n"
                        "LeftPart \"m\" 2 \"a.tif\";\n"),
              std::string::npos)
        << text;

    EXPECT_TRUE(read(copy, "a.sdf").empty());
    ASSERT_EQ(copy.getNumSlices(), 2);
    const ImageSource& again = copy.getSlice(1).getImageSource();
    EXPECT_EQ(again.getSize2(), 2);
    EXPECT_TRUE(again.isSameImage(*std::make_unique<LeftPart>(again.getFilenames().at(0), 2)));
    EXPECT_FALSE(again.isSameImage(LeftPart(again.getFilenames().at(0), 3)));
    ASSERT_TRUE(StackWriter().write(copy, folder.file("b.sdf")));
    EXPECT_EQ(folder.read("b.sdf"), text);

    Image image;
    copy.getSlice(1).load(image);
    ASSERT_EQ(image.getWidth(), 2);
    EXPECT_EQ(image.getPixels()[2][1], 11);
}

TEST_F(ImageSourceKinds, statementsInErrorAreToldAndTheSliceStays) {
    folder.write("a.sdf", "FileFormatVersion 1.03;\nImagesPath \"images\";\nLeftPart \"l\" 2 \"gone.tif\";\nROTATE 5;\n"
                          "LeftPart \"l\" 2;\nLeftPart \"l\" -2 \"a.tif\";\nLeftPart \"l\" 999999999 \"a.tif\";\n"
                          "IMAGE 1 1 a.tif;\nRightPart \"r\" 2 \"a.tif\";\n");
    Stack stack, other;
    const std::vector<std::string> log = read(stack, "a.sdf");
    ASSERT_EQ(log.size(), 6u);
    EXPECT_NE(log[0].find("gone.tif"), std::string::npos);
    EXPECT_EQ(log[1], "Error on LeftPart: invalid number of arguments.");
    EXPECT_EQ(log[2], "Error on LeftPart: invalid argument.");
    EXPECT_EQ(log[3], "Error on LeftPart: invalid argument.");
    EXPECT_EQ(log[4], "Error: IMAGE is invalid in this context.");
    EXPECT_EQ(log[5], "Error on RightPart: unknown keyword (ignored).");
    ASSERT_EQ(stack.getNumSlices(), 1);
    EXPECT_TRUE(stack.getSlice(0).isEmpty());
    EXPECT_EQ(stack.getSlice(0).getRegistration().getRotationAngle(), 5);

    // A system without the kind says so.
    kinds = imageSourceKinds();
    EXPECT_EQ(read(other, "a.sdf").front(), "Error on LeftPart: unknown keyword (ignored).");
}

} // namespace vorlen
