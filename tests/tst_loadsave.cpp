// Loading and saving Launcher.ini through the main window: the warnings for an out-of-date
// file, the fallback to the default file, a failed save at exit. Also where the launcher's
// files are, and the trace of every lookup. What loading and saving decide is the core's
// (tst_userfile).
#include "filelocations.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

#include <csignal>
#include <memory>

#include <sys/resource.h>
#include <unistd.h>

using W = WindowFixture;

namespace {

const QString Title = QStringLiteral("Nimbra Mobile Emulator Launcher");
const QString WarningTitle = Title + QStringLiteral(" Warning");

void SetFileSizeLimit(rlim_t soft)
{
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = soft;
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

class LoadSaveTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_resources = QDir::cleanPath(UseFixtureAppFolder() + "/../Resources") + u'/';
        m_folder = QFileInfo(UserConfigPath()).path();
        MainWindow window;
        QVERIFY(window.LoadConfig(GetFileName(DefaultConfigFile), false));
        m_defaultProfiles = W::Profiles(window);
        // A write past the limit then fails instead of killing the test.
        std::signal(SIGXFSZ, SIG_IGN);
    }
    void init() { QDir(m_folder).removeRecursively(); }

    void outdatedUserFile_data()
    {
        QTest::addColumn<bool>("movable");
        QTest::addColumn<QString>("warning"); // %1: where the file is afterwards
        QTest::newRow("set aside under a name of its own")
            << true << "It has been renamed to %1 to make place for a new configuration file.";
        // It must then outlive the session: the exit save would replace it.
        QTest::newRow("kept where it is when it can't be moved")
            << false
            << "It could not be renamed and stays at %1. The launcher will not overwrite "
               "it, so changes made in this session will not be saved.";
    }

    // Either way the default file is used instead.
    void outdatedUserFile()
    {
        QFETCH(bool, movable);
        QFETCH(QString, warning);
        if (!movable && geteuid() == 0)
            QSKIP("root moves files out of read-only folders");
        const QByteArray bytes = "$VERSION\t107\n[Profile]\n\"p\"\t\"[Input] 1 \"\n";
        QVERIFY(WriteText(UserConfigPath(), bytes));
        if (!movable)
            QVERIFY(QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::ExeOwner));
        ModalAnswerer answerer({"OK"});
        QList<Profile> profiles;
        {
            MainWindow window;
            profiles = W::Profiles(window);
        }
        QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        const QString kept = movable ? m_folder + "/Launcher.107.ini" : UserConfigPath();
        QCOMPARE(answerer.seen, QStringList{WarningTitle +
                                            "|Your Launcher.ini configuration file is out of date "
                                            "and will not be used. " +
                                            warning.arg(kept)});
        QCOMPARE(ReadBytes(kept), bytes);
        QCOMPARE(profiles, m_defaultProfiles);
    }

    // An out-of-date default file is not renamed; what was read from it is dropped, and every
    // section gets its "Default" entry.
    void outdatedDefaultFileIsDropped()
    {
        const QString path = m_folder + "/LauncherDefault.ini";
        QVERIFY(WriteText(path, "$VERSION 107\n[Profile]\n\"p\"\t\"[Input] 1 -x\"\n"
                                "[Resolution]\n\"r\"\t\"\"\n"));
        MainWindow window;
        ModalAnswerer answerer({"OK"});
        QVERIFY(window.LoadConfig(path, false));
        QCOMPARE(answerer.seen, QStringList{WarningTitle + "|Config file is out of date"});
        for (const ConfigSection& section : W::Sections(window))
            QCOMPARE(section.entries, (QList<OptionEntry>{{"Default", ""}}));
        QCOMPARE(W::Profiles(window), (QList<Profile>{{"Default", "", {0, 0, 0}}}));
        QVERIFY(QFileInfo::exists(path));
    }

    // The profiles reach the file when the window goes, quoted arguments included, and come
    // back at the next start.
    void savedProfilesComeBack()
    {
        QVERIFY(
            WriteText(UserConfigPath(), "$VERSION\t106\n[Profile]\n\"Start\"\t\"[Input] 0 \"\n"));
        QList<Profile> expected;
        {
            MainWindow window;
            W::Profiles(window).append(
                {"Mac data", " -datadir \"/Users/me/App Support/emu\" -t \"a  b\"", {}});
            expected = W::Profiles(window);
        }
        MainWindow restarted;
        QCOMPARE(W::Profiles(restarted), expected);
    }

    // Discarded first, which leaves the old file; then retried once the limit is lifted.
    void failedSaveAtExit()
    {
        const QByteArray old = "$VERSION\t106\n[Profile]\n\"Old\"\t\"[Input] 0 \"\n";
        QVERIFY(WriteText(UserConfigPath(), old));
        for (const bool retry : {false, true}) {
            auto window = std::make_unique<MainWindow>();
            for (int i = 0; i < 5000; ++i)
                W::Profiles(*window).append({QStringLiteral("Profile %1").arg(i), " -x", {}});
            ModalAnswerer answerer;
            answerer.enqueue([retry](QWidget* box) {
                if (retry)
                    SetFileSizeLimit(RLIM_INFINITY);
                ModalAnswerer::PressButton(box, retry ? "Retry" : "Discard");
            });
            SetFileSizeLimit(64 * 1024);
            window.reset(); // quits: the exit save
            SetFileSizeLimit(RLIM_INFINITY);

            QCOMPARE(answerer.seen, QStringList{Title + "|Your profiles could not be saved to " +
                                                UserConfigPath() + ".\n\nReason: File too large"});
            QCOMPARE(QDir(m_folder).entryList(QDir::Files | QDir::Hidden),
                     QStringList{"Launcher.ini"});
            if (!retry)
                QCOMPARE(ReadBytes(UserConfigPath()), old);
        }
        MainWindow restarted;
        QCOMPARE(W::Profiles(restarted).size(), 5001);
    }

    void fileNameTrace_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("path");
        QTest::newRow("user file") << 0 << UserConfigPath();
        QTest::newRow("default file") << 1 << m_resources + "LauncherDefault.ini";
        QTest::newRow("help page") << 2 << m_resources + "LauncherHelp.html";
        QTest::newRow("emulator") << 3
                                  << m_resources + "Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile";
        QTest::newRow("unknown kind") << 4 << QString();
    }

    void fileNameTrace()
    {
        QFETCH(int, kind);
        QFETCH(QString, path);
        const QString trace =
            QStringLiteral("GetFileName( %1 ): result= \"%2\" ").arg(kind).arg(path);
        // Nothing is cached: every call resolves and traces again. A trace missing fails.
        for (int call = 0; call < 2; ++call) {
            QTest::ignoreMessage(QtDebugMsg, qPrintable(trace));
            QCOMPARE(GetFileName(kind), path);
        }
    }

private:
    QString m_folder;
    QString m_resources;
    QList<Profile> m_defaultProfiles;
};

QTEST_MAIN(LoadSaveTest)
#include "tst_loadsave.moc"
