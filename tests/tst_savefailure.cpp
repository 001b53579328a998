// The window's side of keeping the user's file: a failed save at exit is told and can be
// retried, an out-of-date file is never overwritten, quoted arguments survive a restart, and a
// launcher without the single-instance lock merges what another one saved meanwhile.
#include "filelocations.h"
#include "launcher.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QTest>

#include <csignal>
#include <memory>

#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr rlim_t FileSizeLimit = 64 * 1024;
const QString Title = QStringLiteral("Nimbra Mobile Emulator Launcher");
const QString WarningTitle = QStringLiteral("Nimbra Mobile Emulator Launcher Warning");

void SetFileSizeLimit(rlim_t soft)
{
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = soft;
    setrlimit(RLIMIT_FSIZE, &limit);
}

QStringList FilesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System);
}

} // namespace

class SaveFailureTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void failedSaveAtExit_data();
    void failedSaveAtExit();
    void outdatedFilesAreNeverOverwritten();
    void quotedArgumentsSurviveRestart();
    void saveWithoutLockKeepsOtherLaunchersProfiles();

private:
    QString m_folder;
};

void SaveFailureTest::initTestCase()
{
    UseFixtureAppFolder();
    UsePrivateDataLocation();
    m_folder = QFileInfo(UserConfigPath()).path();
    // A write past the limit then fails instead of killing the test.
    std::signal(SIGXFSZ, SIG_IGN);
}

void SaveFailureTest::init()
{
    QDir(m_folder).removeRecursively();
}

void SaveFailureTest::failedSaveAtExit_data()
{
    QTest::addColumn<bool>("retry");
    QTest::newRow("retry once the limit is lifted") << true;
    QTest::newRow("discard") << false;
}

void SaveFailureTest::failedSaveAtExit()
{
    QFETCH(bool, retry);
    const QByteArray old = "$VERSION\t106\n[Profile]\n\"Old\"\t\"[Input] 0 \"\n";
    QVERIFY(WriteText(UserConfigPath(), old));
    auto window = std::make_unique<MainWindow>();
    for (int i = 0; i < 5000; ++i)
        WindowFixture::Profiles(*window).append({QStringLiteral("Profile %1").arg(i), " -x", {}});

    ModalAnswerer answerer;
    answerer.enqueue([retry](QWidget* box) {
        if (retry)
            SetFileSizeLimit(RLIM_INFINITY);
        ModalAnswerer::PressButton(box, retry ? "Retry" : "Discard");
    });
    SetFileSizeLimit(FileSizeLimit);
    window.reset(); // quits: the exit save
    SetFileSizeLimit(RLIM_INFINITY);

    QCOMPARE(answerer.seen, QStringList{Title + "|Your profiles could not be saved to " +
                                        UserConfigPath() + ".\n\nReason: File too large"});
    QCOMPARE(FilesIn(m_folder), QStringList{"Launcher.ini"});
    if (!retry) {
        QCOMPARE(ReadBytes(UserConfigPath()), old);
        return;
    }
    MainWindow restarted;
    QCOMPARE(WindowFixture::Profiles(restarted).size(), 5001);
}

// Each out-of-date file gets a name of its own, and the warning names it; a file that can't
// be moved is named where it stays and outlives the session.
void SaveFailureTest::outdatedFilesAreNeverOverwritten()
{
    const QStringList names{"Launcher.107.ini", "Launcher.107.1.ini", "Launcher.107.2.ini"};
    for (int round = 0; round < names.size(); ++round) {
        const QByteArray bytes = "$VERSION\t107\n# round " + QByteArray::number(round) + '\n';
        QVERIFY(WriteText(UserConfigPath(), bytes));
        ModalAnswerer answerer;
        answerer.pressButton("OK");
        {
            MainWindow window;
        }
        const QString path = m_folder + u'/' + names[round];
        QCOMPARE(answerer.seen, QStringList{WarningTitle +
                                            "|Your Launcher.ini configuration file is out of date "
                                            "and will not be used. It has been renamed to " +
                                            path + " to make place for a new configuration file."});
        QCOMPARE(ReadBytes(path), bytes);
    }

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

void SaveFailureTest::quotedArgumentsSurviveRestart()
{
    const Profile quoted{
        "Mac data", " -datadir \"/Users/me/Application Support/emu\" -t \"a  b\"", {0, 0, 0}};
    QList<Profile> before;
    {
        MainWindow window;
        WindowFixture::Profiles(window).append(quoted);
        before = WindowFixture::Profiles(window);
    }
    MainWindow restarted;
    QCOMPARE(WindowFixture::Profiles(restarted), before);
}

void SaveFailureTest::saveWithoutLockKeepsOtherLaunchersProfiles()
{
    QVERIFY(WriteText(UserConfigPath(), "$VERSION\t106\n[Profile]\n\"Start\"\t\"[Input] 0 \"\n"));
    MainWindow window;
    WindowFixture::WatchUserFile(window);
    QVERIFY(window.LoadConfig(UserConfigPath(), true));
    WindowFixture::Profiles(window).append({"Mine", " -m", {}});

    // Another launcher, also without the lock, saves in the meantime.
    QList<ConfigSection> theirs = Config::NewSections();
    Config::AddDefaultEntries(theirs);
    Config::StoreProfiles(theirs, {{"Start", "", {}}, {"Theirs", " -t", {}}});
    QVERIFY(Config::WriteFile(UserConfigPath(), theirs));

    QVERIFY(window.SaveConfig());
    MainWindow restarted;
    QCOMPARE(WindowFixture::Names(WindowFixture::Profiles(restarted)),
             (QStringList{"Start", "Theirs", "Mine"}));
}

QTEST_MAIN(SaveFailureTest)
#include "tst_savefailure.moc"
