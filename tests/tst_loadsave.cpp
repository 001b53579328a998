// Loading and saving Launcher.ini through the main window: the version check and its warnings,
// the fallback to the default file, a failed save at exit, an out-of-date file that can't be
// moved, and a launcher without the single-instance lock merging what another one saved.
// The file format and the keeping rules themselves are the core's (tst_config*, tst_keeping).
#include "filelocations.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
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
    void initTestCase();
    void init() { QDir(m_folder).removeRecursively(); }
    void outdatedUserFileIsSetAside();
    void outdatedDefaultFileIsDropped();
    void savedProfilesComeBack();
    void failedSaveAtExit_data();
    void failedSaveAtExit();
    void unmovableOutdatedFileIsKept();
    void saveWithoutLockKeepsOtherLaunchersProfiles();

private:
    QTemporaryDir m_files;
    QString m_folder;
    QList<Profile> m_defaultProfiles;
};

void LoadSaveTest::initTestCase()
{
    UseFixtureAppFolder();
    UsePrivateDataLocation();
    m_folder = QFileInfo(UserConfigPath()).path();
    MainWindow window;
    QVERIFY(window.LoadConfig(GetFileName(DefaultConfigFile), false));
    m_defaultProfiles = W::Profiles(window);
    // A write past the limit then fails instead of killing the test.
    std::signal(SIGXFSZ, SIG_IGN);
}

// Set aside under a name of its own, named in the warning; the default file is used instead.
void LoadSaveTest::outdatedUserFileIsSetAside()
{
    const QByteArray bytes = "$VERSION\t107\n[Profile]\n\"p\"\t\"[Input] 1 \"\n";
    QVERIFY(WriteText(UserConfigPath(), bytes));
    ModalAnswerer answerer;
    answerer.pressButton("OK");
    MainWindow window;
    const QString renamed = m_folder + "/Launcher.107.ini";
    QCOMPARE(answerer.seen, QStringList{WarningTitle +
                                        "|Your Launcher.ini configuration file is out of date "
                                        "and will not be used. It has been renamed to " +
                                        renamed + " to make place for a new configuration file."});
    QCOMPARE(ReadBytes(renamed), bytes);
    QCOMPARE(W::Profiles(window), m_defaultProfiles);
}

// An out-of-date default file is not renamed; what was read from it is dropped, and every
// section gets its "Default" entry.
void LoadSaveTest::outdatedDefaultFileIsDropped()
{
    const QString path = m_files.filePath("LauncherDefault.ini");
    QVERIFY(WriteText(path, "$VERSION 107\n[Profile]\n\"p\"\t\"[Input] 1 -x\"\n"
                            "[Resolution]\n\"r\"\t\"\"\n"));
    MainWindow window;
    ModalAnswerer answerer;
    answerer.pressButton("OK");
    QVERIFY(window.LoadConfig(path, false));
    QCOMPARE(answerer.seen, QStringList{WarningTitle + "|Config file is out of date"});
    for (const ConfigSection& section : W::Sections(window))
        QCOMPARE(section.entries, (QList<OptionEntry>{{"Default", ""}}));
    QCOMPARE(W::Profiles(window), (QList<Profile>{{"Default", "", {0, 0, 0}}}));
    QVERIFY(QFileInfo::exists(path));
}

// The profiles reach the file at exit, quoted arguments included, and come back at the next
// start; a model missing a section is not saved, and nothing is created for it.
void LoadSaveTest::savedProfilesComeBack()
{
    QList<Profile> profiles;
    {
        MainWindow window;
        W::Profiles(window).append(
            {"Mac data", " -datadir \"/Users/me/Application Support/emu\" -t \"a  b\"", {1, 0, 1}});
        profiles = W::Profiles(window);
        const QList<ConfigSection> sections = W::Sections(window);
        W::Sections(window).removeLast();
        QVERIFY(!window.SaveConfig());
        QVERIFY(!QFileInfo::exists(m_folder));
        W::Sections(window) = sections;
    }
    MainWindow restarted;
    QCOMPARE(W::Profiles(restarted), profiles);
}

void LoadSaveTest::failedSaveAtExit_data()
{
    QTest::addColumn<bool>("retry");
    QTest::newRow("retry once the limit is lifted") << true;
    QTest::newRow("discard") << false;
}

void LoadSaveTest::failedSaveAtExit()
{
    QFETCH(bool, retry);
    const QByteArray old = "$VERSION\t106\n[Profile]\n\"Old\"\t\"[Input] 0 \"\n";
    QVERIFY(WriteText(UserConfigPath(), old));
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
    QCOMPARE(QDir(m_folder).entryList(QDir::Files | QDir::Hidden), QStringList{"Launcher.ini"});
    if (!retry) {
        QCOMPARE(ReadBytes(UserConfigPath()), old);
        return;
    }
    MainWindow restarted;
    QCOMPARE(W::Profiles(restarted).size(), 5001);
}

// A file that can't be set aside is named where it stays and outlives the session.
void LoadSaveTest::unmovableOutdatedFileIsKept()
{
    if (geteuid() == 0)
        QSKIP("root moves files out of read-only folders");
    const QByteArray bytes = "$VERSION\t107\n# stays\n";
    QVERIFY(WriteText(UserConfigPath(), bytes));
    QVERIFY(QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::ExeOwner));
    ModalAnswerer answerer;
    answerer.pressButton("OK");
    {
        MainWindow window;
    }
    QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QCOMPARE(answerer.seen,
             QStringList{WarningTitle +
                         "|Your Launcher.ini configuration file is out of date and "
                         "will not be used. It could not be renamed and stays at " +
                         UserConfigPath() +
                         ". The launcher will not overwrite it, so changes made in this session "
                         "will not be saved."});
    QCOMPARE(ReadBytes(UserConfigPath()), bytes);
}

void LoadSaveTest::saveWithoutLockKeepsOtherLaunchersProfiles()
{
    QVERIFY(WriteText(UserConfigPath(), "$VERSION\t106\n[Profile]\n\"Start\"\t\"[Input] 0 \"\n"));
    MainWindow window;
    W::WatchUserFile(window);
    QVERIFY(window.LoadConfig(UserConfigPath(), true));
    W::Profiles(window).append({"Mine", " -m", {}});

    // Another launcher, also without the lock, saves in the meantime.
    QList<ConfigSection> theirs = Config::NewSections();
    Config::AddDefaultEntries(theirs);
    Config::StoreProfiles(theirs, {{"Start", "", {}}, {"Theirs", " -t", {}}});
    QVERIFY(Config::WriteFile(UserConfigPath(), theirs));

    QVERIFY(window.SaveConfig());
    MainWindow restarted;
    QCOMPARE(W::Names(W::Profiles(restarted)), (QStringList{"Start", "Theirs", "Mine"}));
}

QTEST_MAIN(LoadSaveTest)
#include "tst_loadsave.moc"
