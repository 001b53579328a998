// Runs the built nimbra-mobile-launch, each test function in folders of its own.
#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

struct CompanionRun
{
    int status = -1; // -1 when it did not exit normally in time
    QByteArray out;
    QByteArray err;
};

// Runs program (the built companion when empty) with arguments, in this process's environment.
CompanionRun RunCompanion(const QStringList& arguments, const QString& program = QString());

// Fresh XDG_DATA_HOME and XDG_RUNTIME_DIR folders and a fresh stand-in record, set in this
// process's environment for the companions and launchers it starts. The stand-in emulator
// records its arguments and quits at once.
class CompanionHome
{
public:
    CompanionHome();
    QString root() const { return m_dir.path(); }
    QString path(const QString& name) const { return m_dir.filePath(name); }
    QString recordPath() const { return path(QStringLiteral("starts.jsonl")); }

private:
    QTemporaryDir m_dir;
};

// The emulator starts the stand-in recorded, one argument list per start (argv[0] left out).
QList<QStringList> Recorded(const QString& recordPath);

// The emulator the companion in the build's app folder starts.
QString CompanionEmulator();

// The arguments the core's launch function gives for the profile named name in the file at
// path (the user's file when empty).
QStringList CoreArguments(const QString& path, const QString& name);
