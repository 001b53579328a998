// Where the launcher's files are, the trace of every lookup, and a save that fails part-way
// leaving the old Launcher.ini whole.
#include "atomicfile.h"
#include "config.h"
#include "filelocations.h"
#include "testenv.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QList<QPair<QtMsgType, QString>> g_messages;

void RecordMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    g_messages.append({type, message});
}

// The Contents folder of the fixture app folder the lookups are pointed at.
QString ContentsPath()
{
    return UseFixtureAppFolder().chopped(int(qstrlen("/MacOS")));
}

constexpr rlim_t FileSizeLimit = 64 * 1024;

// Runs work in a child process whose files may not grow beyond FileSizeLimit, as on a full
// disk; returns the child's exit status (-1 when it did not exit normally).
int RunWithFileSizeLimit(const std::function<bool()>& work)
{
    const pid_t pid = fork();
    if (pid == 0) {
        // Without this the kernel kills the writer instead of failing the write.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{FileSizeLimit, FileSizeLimit};
        setrlimit(RLIMIT_FSIZE, &limit);
        _exit(work() ? 0 : 1);
    }
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

// A model whose text is far beyond FileSizeLimit.
QList<ConfigSection> LargeModel()
{
    QList<ConfigSection> sections = Config::NewSections();
    for (int i = 0; i < 20000; ++i)
        sections[1].entries.append({QStringLiteral("Size %1").arg(i), " -windowsize 100x100"});
    return sections;
}

} // namespace

class ConfigFilesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void fileNameTrace_data();
    void fileNameTrace();
    void failedSaveKeepsOldFile();

private:
    QString m_dataHome;
};

void ConfigFilesTest::initTestCase()
{
    UseFixtureAppFolder();
    m_dataHome = UsePrivateDataLocation();
}

void ConfigFilesTest::fileNameTrace_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("shipped");

    const QString resources = ContentsPath() + QStringLiteral("/Resources/");
    QTest::newRow("user file") << 0 << m_dataHome + "/Nimbra Mobile/Launcher.ini" << false;
    QTest::newRow("default file") << 1 << resources + "LauncherDefault.ini" << true;
    QTest::newRow("help page") << 2 << resources + "LauncherHelp.html" << true;
    QTest::newRow("emulator") << 3 << resources + "Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile"
                              << false;
    QTest::newRow("unknown kind") << 4 << QString() << false;
}

void ConfigFilesTest::fileNameTrace()
{
    QFETCH(int, kind);
    QFETCH(QString, path);
    QFETCH(bool, shipped);

    g_messages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(RecordMessage);
    const QString result = GetFileName(kind);
    GetFileName(kind); // nothing is cached: every call resolves and traces again
    qInstallMessageHandler(previous);

    QCOMPARE(result, path);
    if (shipped)
        QVERIFY2(QFileInfo::exists(result), qPrintable(result));
    const QPair<QtMsgType, QString> trace{
        QtDebugMsg, QStringLiteral("GetFileName( %1 ): result= \"%2\" ").arg(kind).arg(path)};
    QCOMPARE(g_messages, (QList<QPair<QtMsgType, QString>>{trace, trace}));
}

void ConfigFilesTest::failedSaveKeepsOldFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Launcher.ini");
    const QByteArray old = "$VERSION\t106\n\n[Profile]\n\"Old\"\t\"[Resolution] 0 \"\n";
    QVERIFY(WriteText(path, old));

    const QList<ConfigSection> large = LargeModel();
    QVERIFY(Config::FormatText(large).size() > qsizetype(4 * FileSizeLimit));
    const int status = RunWithFileSizeLimit([&] { return Config::WriteFile(path, large); });
    QCOMPARE(status, 1); // the failure is reported

    QCOMPARE(ReadBytes(path), old);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden | QDir::System),
             QStringList{"Launcher.ini"});

    // The same save without the limit goes through: it was the limit that stopped it.
    QVERIFY(Config::WriteFile(path, large));
    QCOMPARE(ReadBytes(path), Config::FormatText(large).toUtf8());
}

QTEST_GUILESS_MAIN(ConfigFilesTest)
#include "tst_configfiles.moc"
