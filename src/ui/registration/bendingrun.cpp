#include "ui/registration/bendingrun.h"

#include <algorithm>
#include <filesystem>

#include <QFile>
#include <QWidget>

#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackslice.h"
#include "document/stackwriter.h"
#include "editing/stacks/vrlstack.h"
#include "files/fileinfo.h"
#include "numerics/exception.h"
#include "ui/files/vrlstackio.h"
#include "ui/registration/bendingdialog.h"

namespace vorlen {

BendingRun::~BendingRun() {
    stop();
}

bool BendingRun::ask(QWidget& window, const VRLStack& stack, const std::vector<int>& locked) {
    BendingDialog dialog(stack, &window);
    if (isRunning() || dialog.exec() != QDialog::Accepted)
        return false;
    ElasticOptions options = dialog.options();
    options.locked = locked;
    bend(stack, options, dialog.file());
    return true;
}

void BendingRun::bend(const Stack& stack, const ElasticOptions& options, const std::string& file) {
    __file = file;
    __done = false;
    __found = ElasticAlignment();
    __outcome = checkElasticOptions(stack, options);
    // Here, and not on the thread of the work: reading sets the locale for a while.
    __bent = std::make_shared<Stack>();
    StackReader().readText(*__bent, StackWriter().toText(stack), file);
    __bent->setName(stack.getName() + " (bent)");
    start(stack, [this, options](const Stack&, ProgressSubject& progress) {
        if (!__outcome)
            return;
        const std::string folder = std::filesystem::path(__file).parent_path().string();
        const std::string base = FileInfo::baseName(__file);
        const std::string fields = folder + "/" + base + ".fields";
        FileInfo::requireFree(fields, "void BendingRun::bend(...)");
        __found = findElasticAlignment(*__bent, options, progress);
        if (progress.isCanceled() || numBent() == 0)
            return;
        __outcome = bendStack(*__bent, __found.fields, folder, base, false, progress);
        if (!__outcome)
            return;
        saveElasticFields(fields, *__bent, __found.fields, false);
        __done = true;
    });
}

int BendingRun::numBent() const {
    return int(std::count_if(
        __found.slices.begin(), __found.slices.end(), [](const SliceBending& slice) { return slice.bent; }));
}

QString BendingRun::open(QWidget& window) {
    constexpr const char* where = "QString BendingRun::open(QWidget&)";
    if (!failure().empty())
        throw UsageError(where, failure());
    if (!__done)
        return wasCanceled() ? "Cancelled: no slice was bent." : "No slice was bent.";
    __done = false;
    if (!StackWriter().write(*__bent, __file))
        throw FileWriteError(where, "Cannot open file for writing", __file);
    __bent.reset();
    VRLStackIO(&window).openStack(__file);
    const QString slices = numBent() == 1 ? "1 slice bent: " : QString("%1 slices bent: ").arg(numBent());
    return slices + QFile::decodeName(__file.c_str());
}

QStringList BendingRun::remarks() const {
    QStringList remarks;
    if (!failure().empty() || wasCanceled())
        return remarks;
    if (!__outcome)
        remarks += QString::fromStdString(__outcome.getReason() + ".");
    else if (numBent() == 0)
        remarks += "No slice was bent, and there is no new stack.";
    for (const SliceBending& slice : __found.slices)
        if (!slice.reason.empty())
            remarks += QString::fromStdString("Slice \"" + slice.name + "\" is not bent: " + slice.reason + ".");
    return remarks;
}

} // namespace vorlen
