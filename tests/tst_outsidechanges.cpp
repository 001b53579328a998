// The window and the user's file when someone else writes it: an atomic replacement, twice,
// is merged in while the user's selection and typing stay; an import while the window is open
// shows; a file replaced by garbage is never merged; a save at logout is not repeated at exit.
#include "commands.h"
#include "fileformat.h"
#include "testenv.h"
#include "userfile.h"
#include "windowfixture.h"

#include <QDir>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using W = WindowFixture;

namespace {

// As an editor saves: a new file renamed over the old one.
bool ReplaceAtomically(const QString& path, const QByteArray& bytes)
{
    return WriteText(path + ".new", bytes) &&
           ::rename(qPrintable(path + ".new"), qPrintable(path)) == 0;
}

QByteArray WithProfile(const QByteArray& file, const QByteArray& name)
{
    QByteArray bytes = file;
    return bytes.replace(
        "[Resolution]\n",
        "\"" + name + "\"\t\"[Resolution] 1 [PixelDensity] 1 [Input] 0 -h\"\n\n[Resolution]\n");
}

QStringList ListNames(const MainWindow& w)
{
    QStringList names;
    for (int row = 0; row < W::ProfileList(w)->count(); ++row)
        names.append(W::ProfileList(w)->item(row)->text());
    return names;
}

ino_t Inode(const QString& path)
{
    struct stat info = {};
    return ::stat(qPrintable(path), &info) == 0 ? info.st_ino : 0;
}

} // namespace

class OutsideChangesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    }
    void init() { QVERIFY(WriteText(UserConfigPath(), TestConfig())); }

    void hand_edits_are_merged_in_and_typing_stays()
    {
        MainWindow w;
        W::Select(w, 2);
        W::ComboBox(w, OptionKind::Resolution)->setCurrentIndex(3);
        W::Arguments(w)->setText(QStringLiteral("-typed"));
        const Profile controls = W::Controls(w);

        QByteArray file = TestConfig();
        for (const QByteArray name : {"Hand", "Hand 2"}) {
            file = WithProfile(file, name);
            QVERIFY(ReplaceAtomically(UserConfigPath(), file));
            QTRY_VERIFY_WITH_TIMEOUT(ListNames(w).contains(QString::fromUtf8(name)), 3000);
        }
        QCOMPARE(ListNames(w),
                 (QStringList{"Base", "Phone HD", "Tablet", "Watch", "Hand", "Hand 2"}));
        QVERIFY(W::InStep(w));
        QCOMPARE(W::ProfileList(w)->currentRow(), 2);
        QCOMPARE(W::Controls(w), controls);
        QVERIFY(W::AddUpdateButton(w)->isEnabled());
    }

    // Garbage is never merged; the window keeps its model, and the save keeps the garbage aside.
    void garbage_is_not_merged()
    {
        QList<Profile> profiles;
        {
            MainWindow w;
            profiles = W::Profiles(w);
            QVERIFY(ReplaceAtomically(UserConfigPath(), "\x01\x02 garbage\n"));
            QTest::qWait(700);
            QCOMPARE(W::Profiles(w), profiles);
        }
        QCOMPARE(ReadBytes(QFileInfo(UserConfigPath()).path() + "/Launcher.0.ini"),
                 "\x01\x02 garbage\n");
        MainWindow restarted;
        QCOMPARE(W::Profiles(restarted), profiles);
    }

    // A writer that pauses halfway (here after "[Resolution]", with the profiles' choices
    // pointing at entries not yet written) holding the file open: nothing of it is merged
    // until it closes the file, then all of it is.
    void half_written_edit_is_merged_once_complete()
    {
        MainWindow w;
        const QList<Profile> profiles = W::Profiles(w);
        QTest::qWait(500); // the look at what changed since the load is done
        const QByteArray complete = WithProfile(TestConfig(), "Hand");
        const qsizetype half = complete.indexOf("[Resolution]") + 12;
        QFile writer(UserConfigPath());
        QVERIFY(writer.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered));
        if (UserFile::WritersOf(UserConfigPath()) != UserFile::Writers::Some)
            QSKIP("open writers can't be told on this file system");
        QCOMPARE(writer.write(complete.left(half)), half);
        QTest::qWait(1200);
        QCOMPARE(W::Profiles(w), profiles);
        QCOMPARE(writer.write(complete.mid(half)), complete.size() - half);
        QTest::qWait(700);
        QCOMPARE(W::Profiles(w), profiles);
        writer.close();
        QTRY_VERIFY_WITH_TIMEOUT(ListNames(w).contains("Hand"), 3000);
        QCOMPARE(W::Profiles(w).mid(0, profiles.size()), profiles);
        QCOMPARE(W::Profiles(w).last(), (Profile{"Hand", " -h", {1, 1, 0}}));
    }

    // A first run makes no data folder before it quits, and still notices a file that an
    // import makes meanwhile (as an import into a file that exists: the watch of hand edits).
    void first_run_makes_no_folder_and_notices_an_import()
    {
        const QString folder = QFileInfo(UserConfigPath()).path();
        QVERIFY(QDir(folder).removeRecursively());
        {
            MainWindow w;
            QTest::qWait(500);
            QVERIFY(!QFileInfo::exists(folder));
            QTemporaryDir dir;
            QVERIFY(WriteText(dir.filePath("team.ini"), WithProfile(TestConfig(), "Team")));
            const Console quiet{[](QByteArrayView) {}, [](QByteArrayView) {}};
            QCOMPARE(RunCompanion({"--import", dir.filePath("team.ini")}, quiet), 0);
            QTRY_VERIFY_WITH_TIMEOUT(ListNames(w).contains("Team"), 3000);
        }
        QVERIFY(ReadBytes(UserConfigPath()).contains("\"Team\""));
    }

    // At logout the save comes first; the exit that follows writes nothing more unless
    // something changed since.
    void logout_save_is_not_repeated()
    {
        auto w = std::make_unique<MainWindow>();
        W::Profiles(*w)[1].arguments = QStringLiteral(" -saved");
        w->CommitData();
        QVERIFY(ReadBytes(UserConfigPath()).contains(" -saved"));
        const ino_t written = Inode(UserConfigPath());
        w.reset();
        QCOMPARE(Inode(UserConfigPath()), written);
    }
};

QTEST_MAIN(OutsideChangesTest)
#include "tst_outsidechanges.moc"
