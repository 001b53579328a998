// The window and the user's file when someone else writes it: an atomic replacement, twice,
// is merged in while the user's selection and typing stay; an import while the window is open
// shows; a file replaced by garbage is never merged; a save at logout is not repeated at exit.
#include "commands.h"
#include "fileformat.h"
#include "testenv.h"
#include "userfile.h"
#include "windowfixture.h"

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

    void import_while_the_window_is_open()
    {
        MainWindow w;
        QTemporaryDir dir;
        QVERIFY(WriteText(dir.filePath("team.ini"), WithProfile(TestConfig(), "Team")));
        QByteArray out;
        const Console console{[&out](QByteArrayView bytes) { out += bytes; },
                              [&out](QByteArrayView bytes) { out += bytes; }};
        QCOMPARE(RunCompanion({"--import", dir.filePath("team.ini")}, console), 0);
        QTRY_VERIFY_WITH_TIMEOUT(ListNames(w).contains("Team"), 3000);
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
