#include "ui/files/vrlstackio.h"

#include <cstdio>
#include <memory>

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>

#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagesourcevoxelmatrixplane.h"
#include "images/files/voxelmatrixheader.h"
#include "numerics/exception.h"
#include "ui/files/vrlnewstackdialog.h"
#include "ui/files/vrlrecoverydialog.h"
#include "ui/files/vrlstackerrordialog.h"
#include "ui/models/refusal.h"
#include "ui/session/vrlpreferences.h"
#include "ui/session/vrlsettings.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

const QSize fileDialogSize(400, 300);

QString decoded(const std::string& file) {
    return QFile::decodeName(file.c_str());
}

std::string encoded(const QString& file) {
    return QFile::encodeName(file).toStdString();
}

std::vector<std::string> encoded(const QStringList& files) {
    std::vector<std::string> names;
    for (const QString& file : files)
        names.push_back(encoded(file));
    return names;
}

std::string absolute(const std::string& file) {
    return encoded(QFileInfo(decoded(file)).absoluteFilePath());
}

/// A plain sentence for what an operation threw.
template <class Work>
QString failureOf(Work&& work) {
    try {
        work();
    } catch (const Exception& failure) {
        return QString::fromStdString(failure.getWhat());
    } catch (const std::exception& failure) {
        return failure.what();
    }
    return QString();
}

} // namespace

VRLStackIO::VRLStackIO(QWidget* parent) : __parent(parent) {
}

void VRLStackIO::tell(const QString& title, const QString& text) const {
    QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::NoButton, __parent);
    box.addButton("OK", QMessageBox::AcceptRole);
    box.exec();
}

void VRLStackIO::tellUnreadable(const std::vector<UnreadableImage>& unreadable) const {
    QStringList failures;
    for (const UnreadableImage& image : unreadable)
        failures += decoded(image.file) + ": " + QString::fromStdString(image.reason);
    if (!failures.isEmpty())
        tell("Read error", "These images cannot be read and are left out:\n\n" + failures.join('\n'));
}

VRLStack* VRLStackIO::newStack() {
    VRLNewStackDialog dialog(__parent);
    if (dialog.exec() != QDialog::Accepted)
        return nullptr;
    std::vector<UnreadableImage> unreadable;
    auto stack = makeStack(
        {dialog.getName(), dialog.getSliceSpacing(), dialog.getPixelCalibration(), encoded(dialog.getImageList())},
        unreadable);
    tellUnreadable(unreadable);
    if (stack == nullptr)
        return nullptr;
    VRLStackServer::stackServer.addStack(*stack);
    return stack.release();
}

VRLStack* VRLStackIO::openChosenFiles(const QString& title, const QString& filter,
                                      VRLStack* (VRLStackIO::*open)(const std::string&)) {
    QFileDialog dialog(__parent, title);
    dialog.setNameFilter(filter);
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setDirectory(VRLSettings::settings.getInputDirectory());
    dialog.resize(VRLSettings::getOpenStackDialogSize());
    if (dialog.exec() != QDialog::Accepted)
        return nullptr;
    VRLStack* last = nullptr;
    for (const QString& file : dialog.selectedFiles()) {
        last = nullptr;
        const QString failure = failureOf([&] { last = (this->*open)(encoded(file)); });
        if (!failure.isEmpty())
            tell("Read error", file + " cannot be opened:\n" + failure);
    }
    VRLSettings::settings.setInputDirectory(dialog.directory());
    VRLSettings::setOpenStackDialogSize(dialog.size());
    return last;
}

VRLStack* VRLStackIO::newStackFromFile() {
    return openChosenFiles("Open image stack", "*.vm", &VRLStackIO::newStackFromFile);
}

VRLStack* VRLStackIO::newStackFromFile(const std::string& file) {
    if (QFileInfo(decoded(file)).suffix() != "vm")
        throw FileFormatError("VRLStack* VRLStackIO::newStackFromFile(const std::string&)", "File format error", file);
    return newStackFromVoxelMatrixFile(file);
}

VRLStack* VRLStackIO::newStackFromVoxelMatrixFile(const std::string& file) {
    const std::string path = absolute(file);
    const WaitCursor cursor;
    const VoxelMatrixHeader header = VoxelMatrixHeader::read(path);
    if (!header.fileSizeMatches())
        throw FileFormatError("VRLStack* VRLStackIO::newStackFromVoxelMatrixFile(const std::string&)",
                              "The length of the file does not match its header", path);
    auto stack = std::make_unique<VRLStack>();
    PixelCalibration calibration;
    calibration.setLengthUnit(LengthUnit(header.lengthUnitScale));
    calibration.setPixelWidth(header.voxelWidth);
    calibration.setPixelHeight(header.voxelHeight);
    calibration.compute();
    stack->setDefaultPixelCalibration(calibration);
    stack->setDefaultSliceSpacing(header.voxelDepth);
    stack->setName(QFileInfo(decoded(path)).completeBaseName().toStdString());
    for (int i = 0; i < header.size3; ++i) {
        char name[16];
        std::snprintf(name, sizeof name, "%04d", i);
        ImageSourceVoxelMatrixPlane source;
        source.setVoxelMatrixFilename(path);
        source.setPlane(i);
        auto* slice = new StackSlice; // the stack takes it over
        slice->setName(name);
        slice->setImageSource(source);
        slice->setPixelCalibration(calibration);
        stack->addSlice(slice);
    }
    stack->updateReconstruction();
    stack->setModified(true);
    VRLStackServer::stackServer.addStack(*stack);
    return stack.release();
}

VRLStack* VRLStackIO::openStack() {
    return openChosenFiles("Open stack", "*.sdf", &VRLStackIO::openStack);
}

VRLStack* VRLStackIO::openStack(const std::string& file) {
    const std::string path = absolute(file);
    auto stack = std::make_unique<VRLStack>();
    StackReader reader;
    bool opened = false;
    QString failure;
    {
        const WaitCursor cursor;
        reader.addMonitor(*this);
        failure = failureOf([&] { opened = reader.read(*stack, path); });
        reader.removeMonitor(*this);
    }
    if (!failure.isEmpty()) {
        tell("Read error", decoded(path) + " cannot be opened:\n" + failure);
        return nullptr;
    }
    if (!opened) {
        notifyFinished("Cannot open " + path);
        return nullptr;
    }
    stack->setFilename(path);
    stack->updateReconstruction();
    if (!reader.getLog().empty()) {
        VRLStackErrorDialog dialog(__parent);
        dialog.setBanner("In " + decoded(path) + ":");
        dialog.setLog(reader.getLog());
        dialog.exec();
    }
    if (reader.getNumFatalErrors() > 0)
        return nullptr;
    VRLStackServer::stackServer.addStack(*stack);
    VRLSettings::addRecentFile(decoded(path));
    return stack.release();
}

void VRLStackIO::saveStack(VRLStack& stack) {
    if (stack.getFilename().empty())
        saveStackAs(stack);
    else
        writeStack(stack, stack.getFilename());
}

void VRLStackIO::saveStackAs(VRLStack& stack) {
    QFileDialog dialog(__parent, "Save stack as...");
    dialog.setNameFilter("*.sdf");
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    dialog.setDirectory(VRLSettings::settings.getOutputDirectory());
    dialog.resize(fileDialogSize);
    if (!stack.getFilename().empty())
        dialog.selectFile(QFileInfo(decoded(stack.getFilename())).fileName());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    QString file = dialog.selectedFiles().first();
    if (!file.endsWith(".sdf"))
        file += ".sdf";
    bool agreed = true;
    if (QFile::exists(file))
        agreed = QMessageBox::warning(__parent, "Confirm overwrite",
                                      file + "\n\n already exists. Do you wish to overwrite it? ",
                                      QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel) == QMessageBox::Ok;
    if (agreed)
        writeStack(stack, encoded(file));
    VRLSettings::settings.setOutputDirectory(dialog.directory());
}

bool VRLStackIO::writeStack(VRLStack& stack, const std::string& file) {
    const QString old = setAside(file);
    bool written = false;
    QString reason;
    {
        const WaitCursor cursor;
        notifyStarted("Saving " + file + "...");
        StackWriter writer;
        writer.addMonitor(*this);
        reason = failureOf([&] { written = writer.write(stack, file); });
        writer.removeMonitor(*this);
        notifyFinished(" ");
    }
    if (!written) {
        QFile::remove(old);
        tell("Error", "Error: cannot write to " + decoded(file) + (reason.isEmpty() ? "" : "\n" + reason));
        return false;
    }
    rotateBackups(file, old);
    stack.setModified(false);
    stack.setFilename(file);
    return true;
}

void VRLStackIO::makeBackups(const std::string& file) const {
    rotateBackups(file, setAside(file));
}

QString VRLStackIO::setAside(const std::string& file) const {
    const QString name = decoded(file), aside = name + "~0";
    if (VRLPreferences::getMaxNumBackups() < 1 || !QFile::exists(name))
        return {};
    QFile::remove(aside);
    return QFile::copy(name, aside) ? aside : QString();
}

void VRLStackIO::rotateBackups(const std::string& file, const QString& aside) const {
    if (aside.isEmpty())
        return;
    const int n = VRLPreferences::getMaxNumBackups();
    const auto backup = [name = decoded(file)](int i) { return name + "~" + QString::number(i); };
    QFile::remove(backup(n));
    for (int i = n - 1; i >= 1; --i)
        if (QFile::exists(backup(i)))
            QFile::rename(backup(i), backup(i + 1));
    QFile::rename(aside, backup(1));
}

bool VRLStackIO::closeStack(VRLStack& stack) {
    if (stack.isModified()) {
        QMessageBox box(QMessageBox::Warning, "Closing stack...",
                        "Stack \"" + QString::fromStdString(stack.getName()) + "\" has been modified.",
                        QMessageBox::Save | QMessageBox::Ignore | QMessageBox::Cancel, __parent);
        box.setDefaultButton(QMessageBox::Save);
        const int answer = box.exec();
        if (answer == QMessageBox::Cancel)
            return false;
        if (answer == QMessageBox::Save) {
            QString reason;
            while (!writeAndTell(stack, stack.getFilename(), reason)) {
                const QMessageBox::StandardButton choice = QMessageBox::warning(
                    __parent, "Write error",
                    "Stack " + QString::fromStdString(stack.getName()) + ":\nCould not write file " +
                        decoded(stack.getFilename()) + (reason.isEmpty() ? "" : "\n" + reason),
                    QMessageBox::Retry | QMessageBox::Cancel | QMessageBox::Discard, QMessageBox::Cancel);
                if (choice == QMessageBox::Discard)
                    break;
                if (choice != QMessageBox::Retry)
                    return false;
            }
        }
    }
    VRLStackServer::stackServer.removeStack(stack);
    return true;
}

bool VRLStackIO::writeAndTell(VRLStack& stack, const std::string& file, QString& reason) {
    bool written = false;
    reason = failureOf([&] { written = !file.empty() && stack.write(file); });
    return written;
}

bool VRLStackIO::closeAllStacks() {
    for (int i = VRLStackServer::stackServer.getNumStacks() - 1; i >= 0; --i)
        if (!closeStack(VRLStackServer::stackServer.getStack(i)))
            return false;
    return true;
}

bool VRLStackIO::insertSlice(VRLStack& stack) {
    return insertSlice(stack, 0);
}

bool VRLStackIO::insertSlice(VRLStack& stack, int position) {
    const QStringList images = chooseImages();
    if (images.isEmpty())
        return false;
    std::vector<UnreadableImage> unreadable;
    auto slices = makeImageSlices(encoded(images), unreadable);
    const bool inserted =
        !slices.empty() && !tellRefusal(__parent, vorlen::insertSlices(stack, position, std::move(slices)));
    tellUnreadable(unreadable);
    return inserted;
}

QStringList VRLStackIO::chooseImages() {
    QFileDialog dialog(__parent, "Select image files");
    dialog.setNameFilter("*.tif *.TIF *.img");
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setDirectory(VRLSettings::settings.getInputDirectory());
    dialog.resize(fileDialogSize);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    VRLSettings::settings.setInputDirectory(dialog.directory());
    return dialog.selectedFiles();
}

VRLStack* VRLStackIO::recoverStacks(VRLRecovery& recovery) {
    const QList<VRLRecovery::Leftover> leftovers = recovery.leftovers();
    if (leftovers.isEmpty())
        return nullptr;
    VRLRecoveryDialog dialog(leftovers, __parent);
    dialog.exec();
    if (dialog.answer() == VRLRecoveryDialog::Answer::Discard)
        for (const VRLRecovery::Leftover& leftover : dialog.chosen())
            recovery.discard(leftover);
    if (dialog.answer() != VRLRecoveryDialog::Answer::Recover)
        return nullptr;
    VRLStack* last = nullptr;
    for (const VRLRecovery::Leftover& leftover : dialog.chosen()) {
        QString message;
        VRLStack* stack = recovery.recover(leftover, message);
        if (!message.isEmpty())
            tell("Recover stacks", message);
        if (stack == nullptr)
            continue;
        stack->updateReconstruction();
        VRLStackServer::stackServer.addStack(*stack);
        last = stack;
        // What was kept goes when this run has a copy of its own, and not before.
        recovery.saveModifiedStacks();
        recovery.waitForWrites();
        if (QFile::exists(recovery.recoveryFile(*stack)))
            recovery.discard(leftover);
    }
    return last;
}

} // namespace vorlen
