#include "ui/files/vrlstackio.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>

#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/operations/lostimages.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "files/filebackups.h"
#include "files/fileinfo.h"
#include "files/safefile.h"
#include "images/files/dicomimagefile.h"
#include "images/files/imagesourcevoxelmatrixplane.h"
#include "images/files/voxelmatrixheader.h"
#include "numerics/exception.h"
#include "ui/files/imagenamefilters.h"
#include "ui/files/vrlnewstackdialog.h"
#include "ui/files/vrlrecoverydialog.h"
#include "ui/files/vrlstackerrordialog.h"
#include "ui/files/vrlstackimagelisteditor.h"
#include "ui/models/refusal.h"
#include "ui/progress/workbeside.h"
#include "ui/session/vrlpreferences.h"
#include "ui/session/vrlsettings.h"
#include "ui/widgets/plaintext.h"
#include "ui/widgets/waitcursor.h"

namespace vorlen {

namespace {

const QSize fileDialogSize(400, 300);
const char* const stackNameFilter = "Stacks (*.sdf)";

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
    PlainMessageBox box(QMessageBox::Warning, title, text, QMessageBox::NoButton, __parent);
    box.addButton("OK", QMessageBox::AcceptRole);
    box.exec();
}

/// "Cancel" is the default.
int VRLStackIO::ask(const QString& title, const QString& text, QMessageBox::StandardButtons buttons) const {
    PlainMessageBox box(QMessageBox::Warning, title, text, buttons, __parent);
    box.setDefaultButton(QMessageBox::Cancel);
    return box.exec();
}

void VRLStackIO::tellUnreadable(const std::vector<UnreadableImage>& unreadable) const {
    QStringList failures;
    for (const UnreadableImage& image : unreadable)
        failures += decoded(image.file) + ": " + QString::fromStdString(image.reason);
    if (!failures.isEmpty())
        tell("Read error", "These images cannot be read and are left out:\n\n" + failures.join('\n'));
}

VRLStack* VRLStackIO::newStack(const QStringList& images) {
    VRLNewStackDialog dialog(__parent);
    dialog.imageListEditor().addImages(images);
    if (dialog.exec() != QDialog::Accepted)
        return nullptr;
    std::vector<UnreadableImage> unreadable;
    auto stack = makeStack({dialog.getName(),
                            dialog.getSliceSpacing(),
                            dialog.getPixelCalibration(),
                            encoded(dialog.getImageList()),
                            {dialog.getChannel()}},
                           unreadable);
    tellUnreadable(unreadable);
    if (stack == nullptr)
        return nullptr;
    VRLStackServer::stackServer.addStack(*stack);
    return stack.release();
}

VRLStack* VRLStackIO::openDropped(const QStringList& paths) {
    VRLStack* last = nullptr;
    QStringList images;
    // The files of a DICOM series often have names without a suffix.
    const auto isImage = [](const QFileInfo& file) {
        return isImageName(file.fileName()) || DicomImageFile::isDicom(encoded(file.filePath()));
    };
    const auto take = [&](const QFileInfo& file) {
        if (isImage(file))
            images += file.filePath();
    };
    for (const QString& path : paths) {
        const QFileInfo dropped(path);
        if (dropped.isDir()) {
            const qsizetype numBefore = images.size();
            for (const QFileInfo& file : QDir(path).entryInfoList(QDir::Files))
                take(file);
            if (images.size() == numBefore)
                tell("Read error", path + " holds no images.");
        } else if (isImage(dropped)) {
            take(dropped);
        } else if (VRLStack* const stack = openStack(encoded(path))) {
            last = stack;
        }
    }
    if (!images.isEmpty())
        if (VRLStack* const stack = newStack(images))
            last = stack;
    return last;
}

VRLStack* VRLStackIO::openChosenFiles(const QString& title, const QStringList& filters,
                                      VRLStack* (VRLStackIO::*open)(const std::string&)) {
    QFileDialog dialog(__parent, title);
    setFilters(dialog, filters);
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
    // A name may have been typed with its folder.
    VRLSettings::settings.setInputDirectory(QFileInfo(dialog.selectedFiles().constFirst()).dir());
    VRLSettings::setOpenStackDialogSize(dialog.size());
    return last;
}

VRLStack* VRLStackIO::newStackFromFile() {
    return openChosenFiles("Open image stack", imageNameFilters(), &VRLStackIO::newStackFromFile);
}

VRLStack* VRLStackIO::newStackFromFile(const std::string& file) {
    if (QFileInfo(decoded(file)).suffix() == "vm")
        return newStackFromVoxelMatrixFile(file);
    const std::string path = absolute(file);
    const WaitCursor cursor;
    ImageSlices made = makeImageSlices({path}, ImageChoice());
    if (!made.unreadable.empty())
        throw FileFormatError("VRLStack* VRLStackIO::newStackFromFile(const std::string&)",
                              made.unreadable.front().reason, path);
    NewStack description;
    description.name = QFileInfo(decoded(path)).completeBaseName().toStdString();
    description.images = {path};
    description.calibration = made.calibration.value_or(PixelCalibration());
    description.sliceSpacing = Maths::shortestDecimal(made.spacing.value_or(1.0f));
    std::unique_ptr<VRLStack> stack = makeStack(description, std::move(made.slices));
    QStringList notes;
    for (const std::string& note : made.notes)
        notes += QString::fromStdString(note);
    if (!notes.isEmpty())
        tell("Open image stack", notes.join('\n'));
    VRLStackServer::stackServer.addStack(*stack);
    return stack.release();
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
    return openChosenFiles("Open stack", {stackNameFilter}, &VRLStackIO::openStack);
}

VRLStack* VRLStackIO::openStack(const std::string& file) {
    // The reader adds the suffix, and the stack is saved to the file that was read.
    const std::string path = absolute(FileInfo::suffixName(file) == "sdf" ? file : file + ".sdf");
    if (VRLStack* open = findOpen(path)) {
        notifyFinished(path + " is open already");
        return open;
    }
    StackReader reader;
    VRLRecovery* const recovery = VRLRecovery::running();
    VRLRecovery::KeptHistory kept;
    std::unique_ptr<VRLStack> stack;
    {
        const WaitCursor cursor;
        if (recovery != nullptr)
            kept = recovery->keptHistory(path, *this);
        stack = kept.stack != nullptr ? std::move(kept.stack) : readStack(path, reader);
    }
    if (stack == nullptr)
        return nullptr;
    stack->setFilename(path);
    stack->updateReconstruction();
    const bool wantsImages = tellOfProblems(*stack, reader);
    if (!claimFile(*stack, path) || !settleDamage(*stack, reader))
        return nullptr;
    if (stack->isReadOnly()) {
        VRLRecovery::forgetHistory(*stack); // another may go on with it
    } else if (recovery != nullptr && reader.getLog().empty() && reader.isWhole()) {
        __notice = kept.message;
        if (kept.isStale)
            recovery->history().remove(path);
    }
    VRLStackServer::stackServer.addStack(*stack);
    VRLSettings::addRecentFile(decoded(path));
    VRLStack* const open = stack.release(); // the server's
    if (wantsImages)
        findImages(*open);
    return open;
}

/// Null, which is told, when the file can't be read.
std::unique_ptr<VRLStack> VRLStackIO::readStack(const std::string& path, StackReader& reader) {
    auto stack = std::make_unique<VRLStack>();
    bool opened = false;
    reader.addMonitor(*this);
    stack->fileGuard().note(path); // before the reading: what changes meanwhile is seen
    const QString failure = failureOf([&] { opened = reader.read(*stack, path); });
    reader.removeMonitor(*this);
    if (failure.isEmpty() && opened)
        return stack;
    if (failure.isEmpty())
        notifyFinished("Cannot open " + path);
    tell("Read error", failure.isEmpty() ? decoded(path) + " cannot be opened.\nIs it there, and may you read it?"
                                         : decoded(path) + " cannot be opened:\n" + failure);
    return nullptr;
}

/// True when lost images are to be looked for.
bool VRLStackIO::tellOfProblems(const VRLStack& stack, const StackReader& reader) const {
    if (reader.getLog().empty())
        return false;
    VRLStackErrorDialog dialog(__parent);
    const int lost = numLostImages(stack);
    QString banner = "In " + decoded(stack.getFilename()) + ":";
    if (lost > 0)
        banner +=
            QString("\n%1 of %2 images can't be read. The outlines are all there.").arg(lost).arg(stack.getNumSlices());
    dialog.setBanner(banner);
    dialog.setLog(reader.getMessages());
    if (lost > 0)
        dialog.offerToFindImages();
    dialog.exec();
    return dialog.wantsToFindImages();
}

/// The stack of this file that is open in this program; null when there is none.
VRLStack* VRLStackIO::findOpen(const std::string& path) {
    VRLStackServer& server = VRLStackServer::stackServer;
    for (int i = 0; i < server.getNumStacks(); ++i)
        if (server.getStack(i).getFilename() == path)
            return &server.getStack(i);
    return nullptr;
}

/// Marks the file as open here. Where somebody else has it open the user chooses; false when the stack isn't wanted
/// then.
bool VRLStackIO::claimFile(VRLStack& stack, const std::string& path) const {
    if (stack.fileGuard().lock(path))
        return true;
    PlainMessageBox box(
        QMessageBox::Warning, "File is open elsewhere",
        decoded(path) + "\n\nis open in " + StackFileGuard::holder(path) +
            ". If both save it, the work of one is lost.\n\nRead-only, it can be looked at and measured, "
            "and saved under another name.",
        QMessageBox::NoButton, __parent);
    auto* look = box.addButton("Open Read-Only", QMessageBox::AcceptRole);
    auto* edit = box.addButton("Open Anyway", QMessageBox::DestructiveRole);
    box.addButton(QMessageBox::Cancel);
    box.setDefaultButton(look);
    box.exec();
    if (box.clickedButton() == edit)
        stack.fileGuard().breakLock(path);
    else if (box.clickedButton() == look)
        stack.setReadOnly(
            "This stack is read-only, as its file is open elsewhere. Save it under another name to work on "
            "it.");
    else
        return false;
    return true;
}

/// Asks what to do with a stack whose file was not read whole; false when it isn't wanted.
bool VRLStackIO::settleDamage(VRLStack& stack, const StackReader& reader) const {
    if (reader.isWhole())
        return true;
    PlainMessageBox box(
        QMessageBox::Warning, "File is not whole",
        decoded(stack.getFilename()) +
            "\n\nis cut off or could not be read to its end: what stood behind is missing in this stack. "
            "Perhaps a backup is whole: its name ends in \"~1\" to \"~" +
            QString::number(VRLPreferences::getMaxNumBackups()) +
            "\".\n\nThe file itself stays as it is. What was read can be looked at, or worked on as a new "
            "stack that is saved under another name.",
        QMessageBox::NoButton, __parent);
    auto* look = box.addButton("Open Read-Only", QMessageBox::AcceptRole);
    auto* work = box.addButton("Work on a Copy", QMessageBox::ActionRole);
    box.addButton(QMessageBox::Cancel);
    box.setDefaultButton(look);
    box.exec();
    if (box.clickedButton() == look) {
        stack.setReadOnly("This stack is read-only, as its file was not read whole. Save it under another name to work "
                          "on it.");
    } else if (box.clickedButton() == work) {
        stack.setName(stack.getName() + " (copy)");
        stack.setFilename("");
        stack.setModified(true);
    } else {
        return false;
    }
    return true;
}

void VRLStackIO::saveStack(VRLStack& stack) {
    if (stack.getFilename().empty() || stack.isReadOnly())
        saveStackAs(stack);
    else if (agreesToOverwrite(stack))
        writeStack(stack, stack.getFilename());
}

/// Asks about a file that somebody has changed since it was read or written here.
bool VRLStackIO::agreesToOverwrite(VRLStack& stack) {
    const std::string& file = stack.getFilename();
    if (!stack.fileGuard().isChanged(file))
        return true;
    PlainMessageBox box(
        QMessageBox::Warning, "File has changed",
        decoded(file) +
            "\n\nhas been changed on disk since it was opened or saved here, perhaps by another program.\n\n"
            "\"Save As...\" keeps both, yours under another name. \"Overwrite\" puts yours in the place of "
            "the other, which then " +
            (VRLPreferences::getMaxNumBackups() > 0
                 ? "is the newest backup, " + QFileInfo(decoded(file)).fileName() + "~1."
                 : QString("is lost, as the preferences want no backups.")),
        QMessageBox::NoButton, __parent);
    auto* overwrite = box.addButton("Overwrite", QMessageBox::DestructiveRole);
    auto* other = box.addButton("Save As...", QMessageBox::AcceptRole);
    box.addButton(QMessageBox::Cancel);
    box.setDefaultButton(other);
    box.exec();
    if (box.clickedButton() == other)
        saveStackAs(stack);
    return box.clickedButton() == overwrite;
}

void VRLStackIO::saveStackAs(VRLStack& stack) {
    QFileDialog dialog(__parent, "Save stack as...");
    dialog.setNameFilter(stackNameFilter);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    dialog.setDirectory(VRLSettings::settings.getOutputDirectory());
    dialog.resize(fileDialogSize);
    if (stack.isReadOnly()) // another file is wanted than the one that was read
        dialog.selectFile(QFileInfo(decoded(stack.getFilename())).completeBaseName() + "-copy.sdf");
    else if (!stack.getFilename().empty())
        dialog.selectFile(QFileInfo(decoded(stack.getFilename())).fileName());
    else
        dialog.selectFile(QString::fromStdString(stack.getName()).replace('/', '-') + ".sdf");
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    QString file = dialog.selectedFiles().first();
    if (!file.endsWith(".sdf"))
        file += ".sdf";
    bool agreed = true;
    const QString holder =
        encoded(file) == stack.getFilename() && !stack.isReadOnly() ? QString() : StackFileGuard::holder(encoded(file));
    if (QFile::exists(file))
        agreed = ask("Confirm overwrite",
                     file + "\n\n already exists. Do you wish to overwrite it? " +
                         (holder.isEmpty() ? QString() : "\n\nIt is open in " + holder + "."),
                     QMessageBox::Ok | QMessageBox::Cancel) == QMessageBox::Ok;
    if (agreed)
        writeStack(stack, encoded(file));
    VRLSettings::settings.setOutputDirectory(dialog.directory());
}

bool VRLStackIO::writeStack(VRLStack& stack, const std::string& file) {
    QString reason;
    if (writeWithBackup(stack, file, reason))
        return true;
    tell("Error", "Error: cannot write to " + decoded(file) + (reason.isEmpty() ? "" : "\n" + reason));
    return false;
}

bool VRLStackIO::writeWithBackup(VRLStack& stack, const std::string& file, QString& reason) {
    FileBackups backups(file, VRLPreferences::getMaxNumBackups());
    bool written = false;
    {
        const WaitCursor cursor;
        notifyStarted("Saving " + file + "...");
        ProgressGauge gauge;
        StackWriter writer;
        writer.addMonitor(gauge);
        runBeside(*this, gauge, [&] {
            reason = failureOf([&] {
                backups.setAside();
                written = writer.write(stack, file);
            });
        });
        notifyFinished(" ");
    }
    if (!written)
        return false;
    backups.rotate();
    SafeFile::removeLeftovers(file);
    stack.noteWritten(file);
    return true;
}

void VRLStackIO::makeBackups(const std::string& file) const {
    FileBackups backups(file, VRLPreferences::getMaxNumBackups());
    backups.setAside();
    backups.rotate();
}

bool VRLStackIO::closeStack(VRLStack& stack) {
    if (!maySettle(stack))
        return false;
    VRLStackServer::stackServer.removeStack(stack);
    return true;
}

/// Asks about a modified stack and saves it where that is wanted; false when it is to stay.
bool VRLStackIO::maySettle(VRLStack& stack) {
    if (!stack.isModified())
        return true;
    PlainMessageBox box(QMessageBox::Warning, "Closing stack...",
                        "Stack \"" + QString::fromStdString(stack.getName()) + "\" has been modified.",
                        QMessageBox::Save | QMessageBox::Ignore | QMessageBox::Cancel, __parent);
    box.setInformativeText(
        "\"Save\" keeps the changes. \"Ignore\" closes the stack without them: its file stays as it was "
        "saved last. \"Cancel\" leaves the stack open.");
    box.setDefaultButton(QMessageBox::Save);
    const int answer = box.exec();
    return answer == QMessageBox::Save ? saveBeforeClosing(stack) : answer == QMessageBox::Ignore;
}

/// False when the stack is to stay, or when its saving was given up.
bool VRLStackIO::saveBeforeClosing(VRLStack& stack) {
    if (stack.getFilename().empty() || stack.isReadOnly()) {
        saveStackAs(stack);
        return !stack.isModified();
    }
    if (!agreesToOverwrite(stack))
        return !stack.isModified();
    QString reason;
    while (!writeWithBackup(stack, stack.getFilename(), reason)) {
        const int choice = ask("Write error",
                               "Stack " + QString::fromStdString(stack.getName()) + ":\nCould not write file " +
                                   decoded(stack.getFilename()) + (reason.isEmpty() ? "" : "\n" + reason),
                               QMessageBox::Retry | QMessageBox::Cancel | QMessageBox::Discard);
        if (choice != QMessageBox::Retry)
            return choice == QMessageBox::Discard;
    }
    return true;
}

/// Asks once about several modified stacks, and saves them where that is wanted; false when they are to stay.
bool VRLStackIO::maySettleAll(const std::vector<VRLStack*>& modified) {
    constexpr std::size_t most = 12;
    QString text = QString("%1 stacks have been modified:\n").arg(modified.size());
    for (std::size_t i = 0; i < std::min(modified.size(), most); ++i)
        text += "\n" + QString::fromStdString(modified[i]->getName());
    if (modified.size() > most)
        text += QString("\nand %1 more").arg(modified.size() - most);
    PlainMessageBox box(QMessageBox::Warning, "Closing stacks...", text, QMessageBox::NoButton, __parent);
    box.setInformativeText("\"Save all\" keeps the changes. \"Discard\" closes the stacks without them: their files "
                           "stay as they were saved last. \"Cancel\" leaves all of them open.");
    QPushButton* const save = box.addButton("Save all", QMessageBox::AcceptRole);
    const QAbstractButton* const discard = box.addButton("Discard", QMessageBox::DestructiveRole);
    box.setEscapeButton(box.addButton(QMessageBox::Cancel));
    box.setDefaultButton(save);
    box.exec();
    if (box.clickedButton() != save)
        return box.clickedButton() == discard;
    return std::all_of(modified.begin(), modified.end(), [this](VRLStack* stack) { return saveBeforeClosing(*stack); });
}

bool VRLStackIO::closeAllStacks() {
    VRLStackServer& server = VRLStackServer::stackServer;
    std::vector<VRLStack*> modified;
    for (int i = server.getNumStacks() - 1; i >= 0; --i)
        if (server.getStack(i).isModified())
            modified.push_back(&server.getStack(i));
    if (!(modified.size() > 1 ? maySettleAll(modified) : modified.empty() || maySettle(*modified.front())))
        return false;
    while (server.getNumStacks() > 0)
        server.removeStack(server.getStack(server.getNumStacks() - 1));
    return true;
}

bool VRLStackIO::findImages(VRLStack& stack) {
    QFileDialog dialog(__parent, "Find images");
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setDirectory(VRLSettings::settings.getInputDirectory());
    dialog.resize(fileDialogSize);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return false;
    std::vector<UnreadableImage> stillLost;
    const Outcome found = findLostImages(stack, encoded(dialog.selectedFiles().first()), stillLost);
    if (found)
        stack.updateReconstruction();
    else
        tellRefusal(__parent, found);
    QStringList names;
    for (const UnreadableImage& image : stillLost)
        names += decoded(image.file) + ": " + QString::fromStdString(image.reason);
    if (found && !names.isEmpty())
        tell("Find images", "These images are not in this folder:\n\n" + names.join('\n'));
    return bool(found);
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
    setFilters(dialog, imageNameFilters());
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setDirectory(VRLSettings::settings.getInputDirectory());
    dialog.resize(fileDialogSize);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    VRLSettings::settings.setInputDirectory(QFileInfo(dialog.selectedFiles().constFirst()).dir());
    return dialog.selectedFiles();
}

/// False when the stack isn't wanted, as somebody else has its file open. Of a file that is open here already it is a
/// second copy, and gets none.
bool VRLStackIO::claimRecovered(VRLStack& stack) const {
    const std::string file = stack.getFilename();
    if (file.empty())
        return true;
    if (findOpen(file) != nullptr) {
        stack.setName(stack.getName() + " (recovered)");
        stack.setFilename("");
        stack.setModified(true);
        tell("Recover stacks", decoded(file) + "\n\nis open here already. What was kept of it besides opens as \"" +
                                   QString::fromStdString(stack.getName()) +
                                   "\", to be compared with it, and saved under another name or closed.");
        return true;
    }
    if (!stack.fileGuard().isNoted(file))
        stack.fileGuard().note(file);
    return claimFile(stack, file);
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
    VRLStack* newest = nullptr; // the leftovers come in this order
    for (const VRLRecovery::Leftover& leftover : dialog.chosen()) {
        QString message;
        VRLStack* stack = recovery.recover(leftover, message);
        if (!message.isEmpty())
            tell("Recover stacks", message);
        if (stack == nullptr)
            continue;
        if (!claimRecovered(*stack)) {
            delete stack;
            continue;
        }
        stack->updateReconstruction();
        VRLStackServer::stackServer.addStack(*stack);
        if (newest == nullptr)
            newest = stack;
        // What was kept goes when this run has a copy of its own, and not before.
        recovery.saveModifiedStacks();
        recovery.waitForWrites();
        if (QFile::exists(recovery.recoveryFile(*stack)))
            recovery.discard(leftover);
    }
    return newest;
}

} // namespace vorlen
