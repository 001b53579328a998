// nimbra-mobile-launch --export and --import: a round trip into an empty data folder, a
// merge with names taken, and the cases where nothing may be written.
#include "companion_support.h"
#include "instance.h"
#include "profileio.h"
#include "testenv.h"

#include <QFileInfo>
#include <QProcess>
#include <QTest>

namespace {

// A choice outside its section, spacing inside the arguments, names with blanks.
const QByteArray ExportConfig = "$VERSION\t106\n[Profile]\n"
                                "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
                                "\"Big tablet\"\t\"[Resolution] 2 [PixelDensity] 1 [Input] 0 "
                                " -gpu  on\"\n"
                                "\"Lost choice\"\t\"[Resolution] 9 [PixelDensity] 2 [Input] 0\"\n" +
                                SizeAndDensitySections() + "[Input]\n";

const QByteArray ClashingFile = "$VERSION\t106\n[Profile]\n"
                                "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
                                "\"Big tablet\"\t\"[Resolution] 1 [PixelDensity] 0 [Input] 0 \"\n"
                                "[Resolution]\n\"Any size\"\t\"\"\n"
                                "\"Tiny\"\t\" -windowsize 240x320\"\n"
                                "[PixelDensity]\n\"Any density\"\t\"\"\n[Input]\n";

QStringList Names(const QString& path)
{
    ConfigModel model;
    ReadModel(path, model);
    QStringList names;
    for (const Profile& profile : model.profiles)
        names.append(profile.name);
    return names;
}

} // namespace

class CompanionImportTest : public QObject
{
    Q_OBJECT

private slots:
    void exportThenImportLaunchesTheSame();
    void importMergesWithoutClobbering();
    void importRefusedWhileLauncherRuns();
    void importIntoUnwritableFolder();
};

void CompanionImportTest::exportThenImportLaunchesTheSame()
{
    CompanionHome home;
    const QString original = home.path(QStringLiteral("original.ini"));
    QVERIFY(WriteText(original, ExportConfig));
    const CompanionRun exported = RunCompanion({"--file", original, "--export"});
    QCOMPARE(exported.status, 0);
    QCOMPARE(exported.err, QByteArray());
    const QString file = home.path(QStringLiteral("exported.ini"));
    QVERIFY(WriteText(file, exported.out));

    // Nothing there yet: the import starts from the defaults, as the launcher would.
    const CompanionRun imported = RunCompanion({"--import", file});
    QCOMPARE(imported.status, 0);
    QCOMPARE(imported.err, QByteArray());
    QVERIFY2(imported.out.endsWith("Added profile \"Big tablet\".\n"
                                   "Added profile \"Lost choice\".\n"),
             imported.out);
    const QStringList names = Names(original);
    QCOMPARE(Names(UserConfigPath()),
             Names(SourceResource(QStringLiteral("LauncherDefault.ini"))) + names);
    for (const QString& name : names)
        QCOMPARE(CoreArguments(QString(), name), CoreArguments(original, name));

    // Exporting one profile takes only its options.
    const CompanionRun one = RunCompanion({"--file", original, "--export", "Big tablet"});
    QCOMPARE(one.status, 0);
    QVERIFY2(one.out.endsWith("[Profile]\n"
                              "\"Big tablet\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 -gpu "
                              "on\"\n\n"
                              "[Resolution]\n\"Large\"\t\" -windowsize 720x1280\"\n\n"
                              "[PixelDensity]\n\"mdpi\"\t\" -ppi 160\"\n\n"
                              "[Input]\n\"Default\"\t\"\"\n\n"),
             one.out);
}

void CompanionImportTest::importMergesWithoutClobbering()
{
    CompanionHome home;
    QVERIFY(WriteText(UserConfigPath(), ExportConfig));
    const QString file = home.path(QStringLiteral("clash.ini"));
    QVERIFY(WriteText(file, ClashingFile));

    const CompanionRun run = RunCompanion({"--import", file});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.out, "Added resolution \"Tiny\".\n"
                      "Added profile \"Big tablet (2)\" (\"Big tablet\" in " +
                          QFile::encodeName(file) +
                          ").\n"
                          "Skipped profile \"Base\": already there.\n");
    QCOMPARE(Names(UserConfigPath()),
             (QStringList{"Base", "Big tablet", "Lost choice", "Big tablet (2)"}));
    QCOMPARE(CoreArguments(QString(), QStringLiteral("Big tablet (2)")),
             (QStringList{"-windowsize", "240x320", "-profile-name", "Big tablet (2)"}));

    // A second import finds everything there.
    const QByteArray merged = ReadBytes(UserConfigPath());
    const CompanionRun again = RunCompanion({"--import", file});
    QCOMPARE(again.status, 0);
    QCOMPARE(again.out, QByteArray("Skipped profile \"Base\": already there.\n"
                                   "Skipped profile \"Big tablet\": already there.\n"));
    QCOMPARE(ReadBytes(UserConfigPath()), merged);
}

void CompanionImportTest::importRefusedWhileLauncherRuns()
{
    CompanionHome home;
    QVERIFY(WriteText(UserConfigPath(), ExportConfig));
    const QString file = home.path(QStringLiteral("clash.ini"));
    QVERIFY(WriteText(file, ClashingFile));

    QProcess launcher;
    launcher.start(QStringLiteral(LAUNCHER_EXECUTABLE), {});
    const QString lock =
        InstancePathsFor(QFileInfo(QStringLiteral(LAUNCHER_EXECUTABLE)).canonicalFilePath())
            .lockPath;
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(lock), 15000);

    const CompanionRun run = RunCompanion({"--import", file});
    launcher.kill();
    launcher.waitForFinished();
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(run.err,
             QByteArray("Close the launcher first: it rewrites Launcher.ini when it quits.\n"));
    QCOMPARE(ReadBytes(UserConfigPath()), ExportConfig);
}

void CompanionImportTest::importIntoUnwritableFolder()
{
    // A regular file where the data folder should be: no folder can be made in it, even by
    // root, who passes every permission check.
    CompanionHome home;
    const QString blocked = home.path(QStringLiteral("blocked"));
    QVERIFY(WriteText(blocked, "not a folder\n"));
    qputenv("XDG_DATA_HOME", QFile::encodeName(blocked));
    const QString file = home.path(QStringLiteral("clash.ini"));
    QVERIFY(WriteText(file, ClashingFile));

    const CompanionRun run = RunCompanion({"--import", file});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(run.err, "Cannot write " + QFile::encodeName(blocked) +
                          "/Nimbra Mobile/Launcher.ini: nothing imported.\n");
    QCOMPARE(ReadBytes(blocked), QByteArray("not a folder\n"));
    QCOMPARE(ReadBytes(file), ClashingFile);
}

QTEST_MAIN(CompanionImportTest)
#include "tst_companionimport.moc"
