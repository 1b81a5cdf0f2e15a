#pragma once

#include <memory>
#include <string>
#include <vector>

#include <QMessageBox>
#include <QString>
#include <QStringList>

#include "progress/progressproxy.h"

class QWidget;

namespace vorlen {

class StackReader;
struct UnreadableImage;
class VRLRecovery;
class VRLStack;

/// The commands on the files of stacks, with their dialogs: new, open, save, close, insert slice. An object serves one
/// command. Its monitors hear the progress of reading and writing.
///
/// Operations that give a stack give null when none was made. A failure is told in a message box that names the file,
/// and leaves documents and files as they were.
///
/// Decisions: a backup that cannot be made does not keep the stack from being saved. A stack file is known by its
/// absolute path: one that is open already is not opened again. A file that is open in another program, or that was not
/// read whole, opens read-only unless the user wants otherwise. A stack that has lost images opens, with placeholders
/// for them. Slices whose image cannot be read are left out when
/// slices are inserted or a stack is made, and named in one message.
class VRLStackIO : public ProgressProxy {
public:
    /// The parent of the dialogs.
    explicit VRLStackIO(QWidget* parent);

    /// Asks for what makes a stack, beginning with these images.
    VRLStack* newStack(const QStringList& images = {});
    /// Opens what was dropped: stack files; of images, and of those in folders, a new stack is made. The stack that
    /// came last; null for none.
    VRLStack* openDropped(const QStringList& paths);

    VRLStack* newStackFromFile();

    /// Throws FileFormatError for a file with another suffix than "vm", and what reading its header throws.
    VRLStack* newStackFromFile(const std::string& file);

    /// A stack of the planes of a voxel matrix file, of which only the header is read. Throws FileFormatError when the
    /// length of the file does not match its header, and what reading the header throws.
    VRLStack* newStackFromVoxelMatrixFile(const std::string& file);

    VRLStack* openStack();
    VRLStack* openStack(const std::string& file);

    void saveStack(VRLStack& stack);
    void saveStackAs(VRLStack& stack);

    /// Writes the stack; the old file becomes the newest backup. A failure is told, and leaves the old file and all of
    /// its backups.
    bool writeStack(VRLStack& stack, const std::string& file);

    /// Rotates the numbered copies of the file, "~1" being the newest, as many as the preferences say. Without a copy
    /// of the file as it is, the older ones stay.
    void makeBackups(const std::string& file) const;

    /// What the user is to know of the last operation, and needs no answer; empty for nothing.
    const QString& getNotice() const { return __notice; }

    /// False when the user wants the stack to stay.
    bool closeStack(VRLStack& stack);

    /// Asks about the stacks that are modified, in one box; when one is to stay all stay, and it is false.
    bool closeAllStacks();

    /// Asks for the folder where the images are that the stack has lost, and gives its slices those that are there;
    /// what stays lost is told. False when nothing was found.
    bool findImages(VRLStack& stack);

    bool insertSlice(VRLStack& stack);
    bool insertSlice(VRLStack& stack, int position);

    /// Offers what other runs have left behind, if there is anything, and opens what the user wants; the stack opened
    /// last.
    VRLStack* recoverStacks(VRLRecovery& recovery);

private:
    static VRLStack* findOpen(const std::string& path);
    bool claimFile(VRLStack& stack, const std::string& path) const;
    bool claimRecovered(VRLStack& stack) const;
    std::unique_ptr<VRLStack> readStack(const std::string& path, StackReader& reader);
    bool tellOfProblems(const VRLStack& stack, const StackReader& reader) const;
    bool settleDamage(VRLStack& stack, const StackReader& reader) const;
    bool agreesToOverwrite(VRLStack& stack);
    bool maySettle(VRLStack& stack);
    bool maySettleAll(const std::vector<VRLStack*>& modified);
    bool saveBeforeClosing(VRLStack& stack);

    VRLStack* openChosenFiles(const QString& title, const QStringList& filters,
                              VRLStack* (VRLStackIO::*open)(const std::string&));
    QStringList chooseImages();
    bool writeWithBackup(VRLStack& stack, const std::string& file, QString& reason);
    void tell(const QString& title, const QString& text) const;
    int ask(const QString& title, const QString& text, QMessageBox::StandardButtons buttons) const;
    void tellUnreadable(const std::vector<UnreadableImage>& unreadable) const;

    QWidget* __parent;
    QString __notice;
};

} // namespace vorlen
