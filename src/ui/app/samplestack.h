#pragma once

#include <memory>

#include <QObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace vorlen {

/// The sample stack of the user: a folder "Vorlen sample" in the folder of documents, made the first time that it is
/// wanted by the program `vorlen-sample`, which stands beside this one.
///
/// Decisions: what is there is opened as it is, as the user may have worked on it; one who wants it anew renames the
/// folder or removes it. It is made under another name and renamed as a whole, so that a program that ends meanwhile
/// leaves nothing of it. It takes some seconds, in which the windows go on.
class SampleStack : public QObject {
    Q_OBJECT

public:
    explicit SampleStack(QObject* parent = nullptr);
    ~SampleStack() override;

    /// The stack's file, whether it is there or not.
    static QString file();

    bool isBeingMade() const { return __process != nullptr; }

    /// Emits ready(), at once where the stack is there, or failed(). Nothing while it is being made.
    void make();

signals:
    void started();
    void ready(const QString& file);
    void failed(const QString& reason);

private:
    void end();
    void giveUp(const QString& reason);

    std::unique_ptr<QTemporaryDir> __part; // where it is made
    QProcess* __process = nullptr;         // a child
};

} // namespace vorlen
