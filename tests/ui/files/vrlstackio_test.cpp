#include "ui/files/vrlstackio.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QComboBox>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QTimer>
#include <QWidget>

#include <gtest/gtest.h>

#include "editing/actions/vrlsliceinsertiondeletionaction.h"
#include "editing/history/editstep.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "support/dicommaker.h"
#include "support/documentmaker.h"
#include "support/eventrecorder.h"
#include "support/modalscript.h"
#include "support/recordingmonitor.h"
#include "ui/files/imagenamefilters.h"
#include "ui/files/vrlnewstackdialog.h"
#include "ui/files/vrlstackimagelisteditor.h"
#include "ui/session/vrlpreferences.h"
#include "ui/session/vrlrecovery.h"
#include "ui/session/vrlsettings.h"

namespace vorlen {

namespace {

using Names = std::vector<std::string>;

/// A folder with three images and a stack file of the first two, and the commands under test.
class VRLStackIOTest : public ::testing::Test {
protected:
    VRLStackIOTest() : io(&parent) {
        for (const char* name : {"a.tif", "b.tif", "c.tif"}) {
            Image image(6, 4, 8);
            image.clear();
            ImageWriter().write(image, path(name), true);
        }
        write("ab.sdf", stackText("a", "b"));
        VRLSettings::settings.setInputDirectory(QDir(folder.path()));
        VRLSettings::settings.setOutputDirectory(QDir(folder.path()));
        VRLPreferences::setMaxNumBackups(5);
    }
    ~VRLStackIOTest() override {
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    }

    static QByteArray stackText(const QByteArray& first, const QByteArray& second) {
        return "FileFormatVersion 1.03;\nRELPOSITION 10;\nSTACK \"" + first + second + "\";\nSLICE \"" + first +
               "\" \"" + first + ".tif\";\nSLICE \"" + second + "\" \"" + second + ".tif\";\n";
    }
    void write(const char* name, const QByteArray& text) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    QByteArray read(const QString& name) const {
        QFile file(folder.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    std::string path(const char* name) const { return folder.filePath(name).toStdString(); }
    static int numOpen() { return VRLStackServer::stackServer.getNumStacks(); }

    QTemporaryDir folder;
    QWidget parent;
    VRLStackIO io;
    ModalScript user;
};

} // namespace

TEST_F(VRLStackIOTest, openedStacksAreListedAndRemembered) {
    EventRecorder recorder;
    RecordingMonitor monitor;
    io.addMonitor(monitor);
    VRLStack* stack = io.openStack(path("ab.sdf"));
    io.removeMonitor(monitor);
    ASSERT_NE(stack, nullptr);
    EXPECT_EQ(stack->getNumSlices(), 2);
    EXPECT_EQ(stack->getReconstruction().getZMap().getSize(), 2);
    EXPECT_FALSE(stack->isModified());
    EXPECT_EQ(stack->getFilename(), path("ab.sdf"));
    EXPECT_EQ(VRLSettings::getRecentFilesList().first(), folder.filePath("ab.sdf"));
    EXPECT_EQ(recorder.take(), (Names{"stackFileName", "stackOpen"}));
    EXPECT_EQ(monitor.heard.front(), "started Reading " + path("ab.sdf") + "...");
}

TEST_F(VRLStackIOTest, aMissingFileOpensNothingAndSaysSo) {
    RecordingMonitor monitor;
    io.addMonitor(monitor);
    user.thenClick("OK");
    EXPECT_EQ(io.openStack(path("none.sdf")), nullptr);
    EXPECT_EQ(user.seen.back().rfind("Read error: " + path("none.sdf") + " cannot be opened.", 0), 0u);
    io.removeMonitor(monitor);
    EXPECT_EQ(monitor.heard.back(), "finished Cannot open " + path("none.sdf"));
    EXPECT_EQ(numOpen(), 0);
}

// A lost image keeps nothing out: the stack opens, is saved as it was, and gets the image back from another folder.
TEST_F(VRLStackIOTest, aStackWithLostImagesOpensAndFindsThem) {
    write("odd.sdf", stackText("a", "b") + "NONSENSE 1;\n");
    write("bad.sdf", stackText("a", "missing"));
    QString shown;
    const auto readAndClose = [&shown](QWidget& dialog) {
        shown = dialog.findChild<QTextEdit*>()->toPlainText();
        ModalScript::click(dialog, "OK");
    };
    user.then(readAndClose);
    EXPECT_NE(io.openStack(path("odd.sdf")), nullptr);
    EXPECT_EQ(shown, "Error on NONSENSE: unknown keyword (ignored). (line 6, slice \"b\")");
    user.then(readAndClose);
    VRLStack* const bad = io.openStack(path("bad.sdf"));
    ASSERT_NE(bad, nullptr);
    EXPECT_TRUE(shown.contains("missing.tif")) << shown.toStdString();
    EXPECT_EQ(user.seen, (Names{"Stack error messages", "Stack error messages"}));
    EXPECT_EQ(numOpen(), 2);
    EXPECT_FALSE(bad->isModified());
    EXPECT_TRUE(io.writeStack(*bad, path("bad.sdf")));
    EXPECT_TRUE(read("bad.sdf").contains("SLICE \"missing\" \"missing.tif\";"));

    VRLStackServer::stackServer.removeStack(*bad);
    ASSERT_TRUE(QDir(folder.path()).mkdir("new"));
    ASSERT_TRUE(QFile::copy(folder.filePath("c.tif"), folder.filePath("new/missing.tif")));
    user.then([](QWidget& dialog) { ModalScript::click(dialog, "Find images..."); });
    user.thenChoose({folder.filePath("new")});
    VRLStack* const found = io.openStack(path("bad.sdf"));
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(user.seen.back(), "Find images");
    EXPECT_FALSE(found->getSlice(1).isEmpty());
    EXPECT_EQ(found->getSlice(1).width(), 6);
    EXPECT_TRUE(found->isModified());
    found->history()->undo();
    EXPECT_TRUE(found->getSlice(1).isEmpty());
    user.thenChoose({folder.path()});
    user.thenClick("OK");
    EXPECT_FALSE(io.findImages(*found));
    EXPECT_NE(user.seen.back().find("None of the images is in this folder"), std::string::npos) << user.seen.back();
}

TEST_F(VRLStackIOTest, theOpenDialogOpensAllFilesAndGivesTheLast) {
    write("bc.sdf", stackText("b", "c"));
    user.thenChoose({folder.filePath("ab.sdf"), folder.filePath("bc.sdf")});
    VRLStack* last = io.openStack();
    ASSERT_NE(last, nullptr);
    EXPECT_EQ(last->getName(), "bc");
    EXPECT_EQ(numOpen(), 2);
    EXPECT_EQ(user.seen, Names{"Open stack"});
    user.thenReject();
    EXPECT_EQ(io.openStack(), nullptr);
    EXPECT_EQ(numOpen(), 2);
}

TEST_F(VRLStackIOTest, aNewStackFollowsTheSortedListOfImages) {
    user.then([this](QWidget& widget) {
        auto& dialog = dynamic_cast<VRLNewStackDialog&>(widget);
        EXPECT_EQ(dialog.getName(), "stack" + std::to_string(VRLStackServer::getSessionNumStacks() + 1));
        dialog.setName("mine");
        dialog.setSliceSpacing(2.5f);
        dialog.imageListEditor().addImages(
            {folder.filePath("c.tif"), folder.filePath("a.tif"), folder.filePath("a.tif")});
        EXPECT_EQ(dialog.getImageList(), (QStringList{folder.filePath("a.tif"), folder.filePath("c.tif")}));
        ModalScript::click(dialog, "Done");
    });
    VRLStack* stack = io.newStack();
    ASSERT_NE(stack, nullptr);
    ASSERT_EQ(stack->getNumSlices(), 2);
    EXPECT_EQ(stack->getSlice(1).getName(), "c");
    EXPECT_DOUBLE_EQ(stack->getSlice(1).getAbsolutePosition(), 2.5f);
    EXPECT_TRUE(stack->isModified());
    EXPECT_EQ(stack->getFilename(), "");
    EXPECT_EQ(numOpen(), 1);
}

// The sizes that the first image tells, until somebody has set others.
TEST_F(VRLStackIOTest, theDialogOfANewStackTakesTheSizesOfItsImages) {
    Image image(3, 2, 16);
    image.clear();
    ImageHeader header = image.getHeader();
    PixelCalibration calibration;
    calibration.setLengthUnit(LengthUnit(-6));
    calibration.setPixelWidth(0.5f);
    calibration.setPixelHeight(0.25f);
    header.setPixelCalibration(calibration);
    image.setHeader(header);
    ImageWriter().write(image, path("sized.TIFF"), true);
    VRLNewStackDialog untouched, touched;
    touched.setPixelCalibration(calibration);
    untouched.imageListEditor().addImages({folder.filePath("sized.TIFF")});
    EXPECT_FLOAT_EQ(untouched.getPixelCalibration().getPixelWidth(), 0.5f);
    EXPECT_FLOAT_EQ(untouched.getPixelCalibration().getPixelHeight(), 0.25f);
    EXPECT_EQ(untouched.getPixelCalibration().getLengthUnit(), LengthUnit(-6));
    EXPECT_EQ(untouched.getChannel(), "");
    PixelCalibration other = calibration;
    other.setPixelWidth(7);
    touched.setPixelCalibration(other);
    touched.imageListEditor().addImages({folder.filePath("sized.TIFF")});
    EXPECT_FLOAT_EQ(touched.getPixelCalibration().getPixelWidth(), 7);
}

// What the dialogs offer, whatever the case of a suffix.
TEST(ImageNameFilters, everySuffixIsOfferedInAnyCase) {
    const QString patterns = imageNameFilters().first().section('(', 1).chopped(1);
    const auto isOffered = [&patterns](const QString& name) {
        for (const QString& pattern : patterns.split(' '))
            if (QRegularExpression(QRegularExpression::wildcardToRegularExpression(pattern)).match(name).hasMatch())
                return true;
        return false;
    };
    for (const char* name : {"a.tif", "a.tiff", "a.TIFF", "a.Tif", "a.IMG", "a.Png", "a.nii.gz", "a.ome.tif", "a.VM"})
        EXPECT_TRUE(isOffered(name)) << name;
    EXPECT_FALSE(isOffered("a.txt"));
    QFileDialog dialog;
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    const auto shown = [&dialog](const QStringList& filters) {
        setFilters(dialog, filters);
        return dialog.findChild<QComboBox*>("fileTypeCombo")->itemText(0);
    };
    EXPECT_EQ(shown(imageNameFilters()), "Images");
    EXPECT_EQ(shown({"Stacks (*.sdf)"}), "Stacks (*.sdf)");
}

// The neighbour's image stands in for a section that was lost, and folders number their images alike.
TEST_F(VRLStackIOTest, slicesOfOneImageGetNamesOfTheirOwn) {
    VRLStack* stack = io.openStack(path("ab.sdf"));
    user.thenChoose({folder.filePath("a.tif")});
    ASSERT_TRUE(io.insertSlice(*stack, 1));
    EXPECT_EQ(stack->getSlice(1).getName(), "a (2)");
    SliceChange change;
    change.name = "a";
    EXPECT_FALSE(changeSlice(*stack, stack->getSlice(1), change));
    ASSERT_TRUE(QDir(folder.path()).mkdir("other"));
    ASSERT_TRUE(QFile::copy(folder.filePath("a.tif"), folder.filePath("other/a.tif")));
    std::vector<UnreadableImage> unreadable;
    NewStack description;
    description.name = "two folders";
    description.images = {path("a.tif"), path("other/a.tif")};
    const std::unique_ptr<VRLStack> made = makeStack(description, unreadable);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->getSlice(1).getName(), "a (2)");
    stack->setModified(false);
}

TEST_F(VRLStackIOTest, anIncompleteNewStackIsRefusedAndUnreadableImagesAreNamed) {
    write("broken.tif", "no image");
    user.then([](QWidget& dialog) { ModalScript::click(dialog, "Done"); }); // no images yet
    user.then([](QWidget& box) { ModalScript::click(box, " OK "); });
    user.then([this](QWidget& dialog) {
        dynamic_cast<VRLNewStackDialog&>(dialog).imageListEditor().addImages(
            {folder.filePath("a.tif"), folder.filePath("broken.tif")});
        ModalScript::click(dialog, "Done");
    });
    user.thenClick("OK");
    VRLStack* stack = io.newStack();
    ASSERT_NE(stack, nullptr);
    EXPECT_EQ(stack->getNumSlices(), 1);
    ASSERT_EQ(user.seen.size(), 4u);
    EXPECT_EQ(user.seen[1], "Error: The stack cannot be created because\nthere are undefined or invalid fields");
    EXPECT_NE(user.seen[3].find("broken.tif"), std::string::npos);
}

TEST_F(VRLStackIOTest, theImageListAddsAndRemoves) {
    VRLStackImageListEditor editor;
    editor.show();
    auto* remove = editor.findChildren<QPushButton*>()[2];
    EXPECT_EQ(remove->text(), "Remove");
    EXPECT_FALSE(remove->isEnabled());
    user.thenChoose({folder.filePath("b.tif"), folder.filePath("a.tif")});
    editor.findChildren<QPushButton*>()[0]->click();
    EXPECT_EQ(editor.getImageList(), (QStringList{folder.filePath("a.tif"), folder.filePath("b.tif")}));
    editor.findChild<QListWidget*>()->item(0)->setSelected(true);
    ASSERT_TRUE(remove->isEnabled());
    remove->click();
    EXPECT_EQ(editor.getImageList(), QStringList{folder.filePath("b.tif")});
    EXPECT_FALSE(remove->isEnabled());
    editor.addImages({"Slice10", "Slice3", "Slice3", "slice 1"});
    EXPECT_EQ(editor.getImageList().mid(1), (QStringList{"slice 1", "Slice3", "Slice10"}));
}

// A folder stands for the DICOM series in it, in the order of their places.
TEST_F(VRLStackIOTest, aFolderThatIsAddedBecomesTheSlicesOfItsSeries) {
    ASSERT_TRUE(QDir(folder.path()).mkdir("series"));
    DicomMaker maker;
    maker.pixels = std::string(24, 'x');
    for (const auto& [name, position] : {std::pair("series/x.dcm", "0\\0\\2"), std::pair("series/y.dcm", "0\\0\\5")}) {
        maker.position = position;
        std::ofstream(path(name), std::ios::binary) << maker.bytes();
    }
    VRLStackImageListEditor editor;
    editor.show();
    user.thenChoose({folder.filePath("series")});
    QPushButton* const add = editor.findChildren<QPushButton*>()[1];
    EXPECT_EQ(add->text(), "Add folder...");
    add->click();
    ASSERT_EQ(editor.getImageList(), QStringList{folder.filePath("series")});
    std::vector<UnreadableImage> unreadable;
    NewStack description;
    description.name = "series";
    description.images = {editor.getImageList().first().toStdString()};
    const std::unique_ptr<VRLStack> made = makeStack(description, unreadable);
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(unreadable.empty());
    ASSERT_EQ(made->getNumSlices(), 2);
    for (const int i : {0, 1})
        EXPECT_NE(made->getSlice(i).getImageSource().getFilenames()[0].find(i == 0 ? "y.dcm" : "x.dcm"),
                  std::string::npos);
    made->setModified(false);
}

TEST_F(VRLStackIOTest, aVolumeBecomesAStackOfItsPlanes) {
    VoxelMatrix<float> volume(5, 4, 12);
    volume.setZeros();
    VoxelCalibration calibration;
    calibration.setLengthUnit(LengthUnit(-6));
    calibration.setVoxelWidth(2);
    calibration.setVoxelHeight(3);
    calibration.setVoxelDepth(7);
    volume.setVoxelCalibration(calibration);
    volume.save(path("v.vm"), true);
    VRLStack* stack = io.newStackFromFile(path("v.vm"));
    ASSERT_NE(stack, nullptr);
    ASSERT_EQ(stack->getNumSlices(), 12);
    EXPECT_EQ(stack->getSlice(11).getName(), "0011");
    EXPECT_EQ(stack->getName(), "v");
    EXPECT_DOUBLE_EQ(stack->getSlice(2).getAbsolutePosition(), 14);
    EXPECT_FLOAT_EQ(stack->getDefaultPixelCalibration().getPixelHeight(), 3);
    EXPECT_EQ(stack->getLengthUnit().getScale(), -6);
    EXPECT_TRUE(stack->isModified());

    write("text.vm", "no volume");
    EXPECT_THROW(io.newStackFromFile(path("text.vm")), FileError);
    QFile::resize(folder.filePath("v.vm"), QFile(folder.filePath("v.vm")).size() - 4);
    EXPECT_THROW(io.newStackFromFile(path("v.vm")), FileFormatError);
    user.thenChoose({folder.filePath("v.vm")});
    user.thenClick("OK");
    EXPECT_EQ(io.newStackFromFile(), nullptr);
    EXPECT_NE(user.seen.back().find("v.vm"), std::string::npos);
    EXPECT_EQ(numOpen(), 1);
}

TEST_F(VRLStackIOTest, backupsRotate) {
    const auto save = [this](const QByteArray& old) {
        write("x.sdf", old);
        io.makeBackups(path("x.sdf"));
    };
    VRLPreferences::setMaxNumBackups(0);
    save("0");
    EXPECT_FALSE(QFile::exists(folder.filePath("x.sdf~1")));
    VRLPreferences::setMaxNumBackups(2);
    save("1");
    EXPECT_EQ(read("x.sdf~1"), "1");
    save("2");
    save("3");
    EXPECT_EQ(read("x.sdf~1"), "3");
    EXPECT_EQ(read("x.sdf~2"), "2");
    EXPECT_FALSE(QFile::exists(folder.filePath("x.sdf~3")));
    VRLPreferences::setMaxNumBackups(5);
    for (const char* text : {"4", "5", "6", "7"})
        save(text);
    EXPECT_EQ(read("x.sdf~1"), "7");
    EXPECT_EQ(read("x.sdf~5"), "3");
    EXPECT_FALSE(QFile::exists(folder.filePath("x.sdf~6")));
    io.makeBackups(path("none.sdf"));
    EXPECT_EQ(read("x.sdf"), "7");
}

TEST_F(VRLStackIOTest, saveWritesTheFileAndKeepsTheOldOneAsABackup) {
    VRLStack* stack = io.openStack(path("ab.sdf"));
    const QByteArray old = read("ab.sdf");
    stack->setName("renamed");
    stack->setModified(true);
    io.saveStack(*stack);
    EXPECT_FALSE(stack->isModified());
    EXPECT_TRUE(read("ab.sdf").contains("\"renamed\""));
    EXPECT_EQ(read("ab.sdf~1"), old);
}

// A pipe whose reader takes its time stands for a slow disk.
TEST_F(VRLStackIOTest, theWindowLivesOnWhileALargeStackIsSaved) {
    VRLStack* const stack = io.openStack(path("ab.sdf"));
    stack->setAnnotation(std::string(300000, 'x')); // more than a pipe holds
    const std::string pipe = path("slow.sdf");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    QByteArray got;
    std::thread disk([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(600));
        ::fcntl(reader, F_SETFL, 0);
        char buffer[65536];
        for (ssize_t n = 0; (n = ::read(reader, buffer, sizeof buffer)) > 0;)
            got.append(buffer, n);
    });
    int numTicks = 0;
    QTimer ticks;
    ticks.callOnTimeout([&numTicks] { ++numTicks; });
    ticks.start(10);
    RecordingMonitor monitor;
    io.addMonitor(monitor);
    EXPECT_TRUE(io.writeStack(*stack, pipe));
    disk.join();
    io.removeMonitor(monitor);
    ::close(reader);
    EXPECT_GE(numTicks, 5);
    EXPECT_TRUE(got.contains("xxxx") && got.trimmed().endsWith("whole.")) << got.right(100).toStdString();
    EXPECT_TRUE(std::any_of(monitor.heard.begin(), monitor.heard.end(),
                            [](const std::string& word) { return word.find("60") != std::string::npos; }));
}

TEST_F(VRLStackIOTest, saveAsAsksBeforeItOverwrites) {
    VRLStack* stack = io.openStack(path("ab.sdf"));
    user.thenChoose({folder.filePath("new")});
    io.saveStackAs(*stack);
    EXPECT_TRUE(QFile::exists(folder.filePath("new.sdf")));
    EXPECT_EQ(stack->getFilename(), path("new.sdf"));

    write("kept.sdf", "old");
    user.thenChoose({folder.filePath("kept.sdf")});
    user.thenClick("Cancel");
    io.saveStackAs(*stack);
    EXPECT_EQ(read("kept.sdf"), "old");
    EXPECT_EQ(stack->getFilename(), path("new.sdf"));
    EXPECT_EQ(user.seen.back(),
              "Confirm overwrite: " + path("kept.sdf") + "\n\n already exists. Do you wish to overwrite it? ");
    user.thenChoose({folder.filePath("kept.sdf")});
    user.thenClick("OK");
    io.saveStackAs(*stack);
    EXPECT_TRUE(read("kept.sdf").startsWith("FileFormatVersion"));
    EXPECT_EQ(read("kept.sdf~1"), "old");
}

TEST_F(VRLStackIOTest, aFailingSaveLeavesFlagAndName) {
    VRLStack* stack = io.openStack(path("ab.sdf"));
    stack->setModified(true);
    user.thenClick("OK");
    EXPECT_FALSE(io.writeStack(*stack, path("missing/x.sdf")));
    EXPECT_TRUE(stack->isModified());
    EXPECT_EQ(stack->getFilename(), path("ab.sdf"));
    EXPECT_EQ(user.seen.back().rfind("Error: Error: cannot write to " + path("missing/x.sdf"), 0), 0u);
}

// A slice without an image cannot be written; trying again and again must not push the backups out.
TEST_F(VRLStackIOTest, failingSavesKeepTheFileAndItsBackups) {
    VRLPreferences::setMaxNumBackups(2);
    VRLStack* stack = io.openStack(path("ab.sdf"));
    const QByteArray old = read("ab.sdf");
    write("ab.sdf~1", "newest");
    write("ab.sdf~2", "oldest");
    stack->addSlice(new StackSlice);
    for (int i = 0; i < 3; ++i) {
        user.thenClick("OK");
        EXPECT_FALSE(io.writeStack(*stack, path("ab.sdf")));
    }
    EXPECT_EQ(read("ab.sdf"), old);
    EXPECT_EQ(read("ab.sdf~1"), "newest");
    EXPECT_EQ(read("ab.sdf~2"), "oldest");
    EXPECT_FALSE(QFile::exists(folder.filePath("ab.sdf~0")));
    VRLPreferences::setMaxNumBackups(5);
}

TEST_F(VRLStackIOTest, closingAsksWhatToDoWithChanges) {
    VRLStack* stack = io.openStack(path("ab.sdf"));
    EXPECT_TRUE(io.closeStack(*stack));
    EXPECT_EQ(numOpen(), 0);

    stack = io.openStack(path("ab.sdf"));
    stack->setName("changed");
    stack->setModified(true);
    user.thenClick("Cancel");
    EXPECT_FALSE(io.closeStack(*stack));
    EXPECT_EQ(user.seen.back(), "Closing stack...: Stack \"changed\" has been modified.");
    user.thenClick("Ignore");
    EXPECT_TRUE(io.closeStack(*stack));
    EXPECT_FALSE(read("ab.sdf").contains("changed"));

    stack = io.openStack(path("ab.sdf"));
    stack->setName("changed");
    stack->setModified(true);
    user.thenClick("Save");
    EXPECT_TRUE(io.closeStack(*stack));
    EXPECT_TRUE(read("ab.sdf").contains("changed"));
    EXPECT_TRUE(QFile::exists(folder.filePath("ab.sdf~1")));
}

TEST_F(VRLStackIOTest, aStackThatWasNeverSavedIsGivenAFileWhenItIsClosed) {
    const auto newStack = [] {
        auto* stack = new VRLStack;
        stack->setName("new");
        VRLStackServer::stackServer.addStack(*stack);
        stack->setModified(true);
        return stack;
    };
    VRLStack* stack = newStack();
    user.thenClick("Save");
    user.thenReject(); // the file dialog
    EXPECT_FALSE(io.closeStack(*stack));
    user.thenClick("Save");
    user.thenChoose({folder.filePath("new.sdf")});
    EXPECT_TRUE(io.closeStack(*stack));
    EXPECT_TRUE(read("new.sdf").contains("STACK \"new\""));
    stack = newStack();
    user.thenClick("Ignore");
    EXPECT_TRUE(io.closeStack(*stack));
}

TEST_F(VRLStackIOTest, closingAllAsksOnceAboutSeveralStacks) {
    write("second.sdf", stackText("a", "b"));
    VRLStack* first = io.openStack(path("ab.sdf"));
    first->setModified(true);
    VRLStack* second = io.openStack(path("second.sdf"));
    second->setModified(true);
    const QByteArray before = read("second.sdf");
    user.thenClick("Cancel");
    EXPECT_FALSE(io.closeAllStacks());
    EXPECT_EQ(numOpen(), 2);
    EXPECT_NE(user.seen.back().find("2 stacks have been modified:"), std::string::npos) << user.seen.back();
    user.thenClick("Discard");
    EXPECT_TRUE(io.closeAllStacks());
    EXPECT_EQ(numOpen(), 0);
    EXPECT_EQ(read("second.sdf"), before);
    first = io.openStack(path("ab.sdf"));
    second = io.openStack(path("second.sdf"));
    for (VRLStack* const stack : {first, second}) {
        stack->setName("renamed");
        stack->setModified(true);
    }
    user.thenClick("Save all");
    EXPECT_TRUE(io.closeAllStacks());
    EXPECT_EQ(numOpen(), 0);
    for (const char* file : {"ab.sdf", "second.sdf"})
        EXPECT_TRUE(read(file).contains("STACK \"renamed\"")) << file;
}

TEST_F(VRLStackIOTest, aStackThatIsNotSavedAfterAllKeepsTheOthersOpen) {
    VRLStack* first = io.openStack(path("ab.sdf"));
    first->setModified(true);
    auto* fresh = new VRLStack; // which has no file
    VRLStackServer::stackServer.addStack(*fresh);
    fresh->setModified(true);
    user.thenClick("Save all");
    user.thenReject(); // the choice of a file for the new one
    EXPECT_FALSE(io.closeAllStacks());
    EXPECT_EQ(numOpen(), 2);
    user.thenClick("Discard");
    EXPECT_TRUE(io.closeAllStacks());
}

TEST_F(VRLStackIOTest, aFileIsOpenOnceAndKnownByItsWholeName) {
    VRLStack* stack = io.openStack(path("ab"));
    ASSERT_NE(stack, nullptr);
    EXPECT_EQ(stack->getFilename(), path("ab.sdf"));
    EXPECT_EQ(io.openStack(path("ab.sdf")), stack);
    EXPECT_EQ(numOpen(), 1);
}

TEST_F(VRLStackIOTest, whatSomebodyElseHasWrittenIsNotWrittenOverWithoutAQuestion) {
    VRLStack* stack = io.openStack(path("ab.sdf"));
    stack->setName("mine");
    stack->setModified(true);
    const QByteArray foreign = stackText("a", "b") + "# by somebody else\n";
    write("ab.sdf", foreign);
    user.thenClick("Cancel");
    io.saveStack(*stack);
    EXPECT_EQ(read("ab.sdf"), foreign);
    EXPECT_TRUE(stack->isModified());
    EXPECT_EQ(user.seen.back().rfind("File has changed", 0), 0u);
    user.thenClick("Save As...");
    user.thenChoose({folder.filePath("mine.sdf")});
    io.saveStack(*stack);
    EXPECT_EQ(read("ab.sdf"), foreign);
    EXPECT_TRUE(read("mine.sdf").contains("mine"));
    // Its own saves ask nothing.
    io.saveStack(*stack);
    write("mine.sdf", foreign);
    stack->setModified(true);
    user.thenClick("Save");
    user.thenClick("Overwrite");
    EXPECT_TRUE(io.closeStack(*stack));
    EXPECT_TRUE(read("mine.sdf").contains("mine"));
    EXPECT_EQ(read("mine.sdf~1"), foreign);
}

TEST_F(VRLStackIOTest, aFileThatIsOpenElsewhereOpensReadOnly) {
    StackFileGuard other;
    ASSERT_TRUE(other.lock(path("ab.sdf")));
    user.thenClick("Cancel");
    EXPECT_EQ(io.openStack(path("ab.sdf")), nullptr);
    EXPECT_NE(user.seen.back().find("process"), std::string::npos);
    user.thenClick("Open Read-Only");
    VRLStack* stack = io.openStack(path("ab.sdf"));
    ASSERT_TRUE(stack != nullptr && stack->isReadOnly());
    // It takes no edits, and goes to another file.
    EditStep step(*stack->history());
    EXPECT_THROW(step.apply(std::make_unique<VRLSliceInsertionDeletionAction>(stack->getSlice(0))), Exception);
    EXPECT_EQ(stack->getNumSlices(), 2);
    EXPECT_FALSE(stack->isModified());
    user.thenChoose({folder.filePath("copy.sdf")});
    io.saveStack(*stack);
    EXPECT_FALSE(stack->isReadOnly());
    EXPECT_EQ(stack->getFilename(), path("copy.sdf"));
    user.thenClick("Open Anyway");
    stack = io.openStack(path("ab.sdf"));
    ASSERT_NE(stack, nullptr);
    EXPECT_FALSE(stack->isReadOnly());
    EXPECT_TRUE(QFile::exists(folder.filePath(".~lock.ab.sdf#")));
    VRLStackServer::stackServer.removeStack(*stack);
    EXPECT_FALSE(QFile::exists(folder.filePath(".~lock.ab.sdf#")));
}

TEST_F(VRLStackIOTest, aFileThatIsCutOffIsNeverWrittenOver) {
    const QByteArray cut = stackText("a", "b") + "MODEL \"m\";\nMODELITEM \"m\" \"a\";\nMODELITEMDATA 1,1 2,";
    write("ab.sdf", cut);
    user.thenClick("OK"); // what the reader had to say
    user.thenClick("Open Read-Only");
    VRLStack* stack = io.openStack(path("ab.sdf"));
    ASSERT_NE(stack, nullptr);
    EXPECT_TRUE(stack->isReadOnly());
    VRLStackServer::stackServer.removeStack(*stack);
    user.thenClick("OK");
    user.thenClick("Work on a Copy");
    stack = io.openStack(path("ab.sdf"));
    ASSERT_NE(stack, nullptr);
    EXPECT_TRUE(stack->getFilename().empty() && stack->isModified() && !stack->isReadOnly());
    user.thenChoose({folder.filePath("copy.sdf")});
    io.saveStack(*stack);
    EXPECT_EQ(read("ab.sdf"), cut);
    EXPECT_TRUE(read("copy.sdf").contains("MODEL"));
}

TEST_F(VRLStackIOTest, slicesAreInsertedAsOneUndoableStep) {
    VRLStack* stack = io.openStack(path("ab.sdf"));
    user.thenChoose({folder.filePath("c.tif"), folder.filePath("a.tif")});
    EXPECT_TRUE(io.insertSlice(*stack, 1));
    ASSERT_EQ(stack->getNumSlices(), 4);
    EXPECT_EQ(stack->getSlice(0).getName(), "a");
    EXPECT_EQ(stack->getSlice(3).getName(), "b");
    EXPECT_TRUE(stack->isModified());
    const auto names = [stack] {
        std::string text;
        for (int i = 0; i < stack->getNumSlices(); ++i)
            text += stack->getSlice(i).getName() + std::to_string(int(stack->getSlice(i).getAbsolutePosition())) + " ";
        return text;
    };
    const std::string inserted = names();
    for (int round = 0; round < 2; ++round) {
        stack->history()->undo();
        EXPECT_EQ(names(), "a0 b10 ");
        stack->history()->redo();
        EXPECT_EQ(names(), inserted);
    }
    user.thenReject();
    EXPECT_FALSE(io.insertSlice(*stack));
    write("broken.tif", "no image");
    user.thenChoose({folder.filePath("broken.tif")});
    user.thenClick("OK");
    EXPECT_FALSE(io.insertSlice(*stack));
    EXPECT_EQ(stack->getNumSlices(), 4);
}

TEST_F(VRLStackIOTest, whatWasLeftBehindIsRecoveredOrDeleted) {
    const QString state = folder.filePath("state");
    const auto leave = [&] {
        VRLRecovery recovery(state);
        VRLStack* stack = io.openStack(path("ab.sdf"));
        addItem(addModel(*stack, "m"), stack->getSlice(0), {{0, 0}, {5, 0}, {5, 5}});
        stack->setModified(true);
        recovery.saveModifiedStacks();
        recovery.waitForWrites();
        // As a crash leaves it: nobody closes the stack.
        QDir().mkpath(state + "/dead");
        const QFileInfo kept(recovery.recoveryFile(*stack));
        QFile::copy(kept.filePath(), state + "/dead/1.sdf");
        QFile::copy(kept.path() + "/1.ini", state + "/dead/1.ini");
        VRLStackServer::stackServer.removeStack(*stack);
    };
    leave();
    {
        VRLRecovery recovery(state);
        user.thenClick("Later");
        EXPECT_EQ(io.recoverStacks(recovery), nullptr);
        user.thenClick("Recover");
        VRLStack* stack = io.recoverStacks(recovery);
        ASSERT_NE(stack, nullptr);
        EXPECT_EQ(stack->getModel(0).getNumItems(), 1);
        EXPECT_EQ(stack->getFilename(), path("ab.sdf"));
        EXPECT_TRUE(stack->isModified());
        EXPECT_TRUE(recovery.leftovers().isEmpty());
        EXPECT_TRUE(QFile::exists(recovery.recoveryFile(*stack)));
        VRLStackServer::stackServer.removeStack(*stack);
    }
    // Left behind twice: the newer one has the file, the other one stands beside it.
    leave();
    QDir().mkpath(state + "/older");
    for (const char* name : {"/1.sdf", "/1.ini"})
        QFile::copy(state + "/dead" + name, state + "/older" + name);
    QSettings(state + "/older/1.ini", QSettings::IniFormat).setValue("time", QDateTime(QDate(2020, 1, 1), QTime()));
    {
        VRLRecovery recovery(state);
        user.thenClick("Recover");
        user.thenClick("OK");
        VRLStack* const newer = io.recoverStacks(recovery);
        ASSERT_NE(newer, nullptr);
        EXPECT_EQ(newer->getFilename(), path("ab.sdf"));
        EXPECT_NE(user.seen.back().find("is open here already"), std::string::npos) << user.seen.back();
        ASSERT_EQ(numOpen(), 2);
        const VRLStack& older = VRLStackServer::stackServer.getStack(1);
        EXPECT_EQ(older.getFilename(), "");
        EXPECT_EQ(older.getName(), "ab (recovered)");
        EXPECT_EQ(older.getModel(0).getNumItems(), 1);
        EXPECT_TRUE(older.isModified());
        EXPECT_TRUE(recovery.leftovers().isEmpty());
        EXPECT_EQ(io.openStack(path("ab.sdf")), newer); // as the file given at the start is
        while (numOpen() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    }
    leave();
    VRLRecovery recovery(state);
    user.thenClick("Delete");
    EXPECT_EQ(io.recoverStacks(recovery), nullptr);
    EXPECT_TRUE(recovery.leftovers().isEmpty());
    EXPECT_EQ(io.recoverStacks(recovery), nullptr);
}

} // namespace vorlen
