// nimbra-mobile-launch --export and --import: a round trip launches the same, a merge never
// clobbers, and an import is refused, with the file untouched, while it can't be safe.
#include "companionfixture.h"

class CompanionImportTest : public CompanionTestBase
{
    Q_OBJECT

private slots:
    void init() { SetUpHome(); }

    void exportThenImportLaunchesTheSame()
    {
        const QString original = Path("original.ini");
        QVERIFY(WriteText(original, ExportConfig));
        const Run exported = Companion({"--file", original, "--export"});
        QCOMPARE(exported.status, 0);
        QCOMPARE(exported.err, QByteArray());
        QVERIFY(WriteText(Path("exported.ini"), exported.out));

        // Nothing there yet: the import starts from the defaults, as the launcher would.
        const Run imported = Companion({"--import", Path("exported.ini")});
        QCOMPARE(imported.status, 0);
        QCOMPARE(imported.err, QByteArray());
        const QStringList names = Names(original);
        QCOMPARE(Names(UserConfigPath()), Names(SourceResource("LauncherDefault.ini")) + names);
        for (const QString& name : names)
            QCOMPARE(CoreArguments(UserConfigPath(), name), CoreArguments(original, name));

        // Exporting one profile takes only its options.
        const Run one = Companion({"--file", original, "--export", "Big tablet"});
        QCOMPARE(one.status, 0);
        QVERIFY2(one.out.endsWith("[Profile]\n\"Big tablet\"\t\"[Resolution] 0 [PixelDensity] 0 "
                                  "[Input] 0 -gpu on\"\n\n"
                                  "[Resolution]\n\"Large\"\t\" -windowsize 720x1280\"\n\n"
                                  "[PixelDensity]\n\"mdpi\"\t\" -ppi 160\"\n\n"
                                  "[Input]\n\"Default\"\t\"\"\n\n"),
                 one.out);
    }

    void importMergesWithoutClobbering()
    {
        QVERIFY(WriteText(UserConfigPath(), ExportConfig));
        const QString file = Path("clash.ini");
        QVERIFY(WriteText(file, ClashingFile));

        const Run run = Companion({"--import", file});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.out, "Added resolution \"Tiny\".\nAdded profile \"Big tablet (2)\" "
                          "(\"Big tablet\" in " +
                              QFile::encodeName(file) +
                              ").\nSkipped profile \"Base\": already there.\n");
        QCOMPARE(Names(UserConfigPath()),
                 (QStringList{"Base", "Big tablet", "Lost choice", "Big tablet (2)"}));
        QCOMPARE(CoreArguments(UserConfigPath(), "Big tablet (2)"),
                 (QStringList{"-windowsize", "240x320", "-profile-name", "Big tablet (2)"}));
    }

    // A running launcher rewrites the file when it quits, so an import would be lost; and a
    // regular file where the data folder should be can't hold one, even for root.
    void importRefused_data()
    {
        QTest::addColumn<bool>("launcherRuns");
        QTest::addColumn<QByteArray>("err");
        QTest::newRow("launcher runs")
            << true
            << QByteArray("Close the launcher first: it rewrites Launcher.ini when it quits.\n");
        QTest::newRow("unwritable folder")
            << false
            << QByteArray("Cannot write @/blocked/Nimbra Mobile/Launcher.ini: nothing "
                          "imported.\n");
    }

    void importRefused()
    {
        QFETCH(bool, launcherRuns);
        QFETCH(QByteArray, err);
        QVERIFY(WriteText(UserConfigPath(), ExportConfig));
        QVERIFY(WriteText(Path("clash.ini"), ClashingFile));
        QProcess launcher;
        if (launcherRuns) {
            launcher.start(LAUNCHER_EXECUTABLE, {});
            const QString exe = QFileInfo(LAUNCHER_EXECUTABLE).canonicalFilePath();
            QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(InstancePathsFor(exe).lockPath), 15000);
        } else {
            QVERIFY(WriteText(Path("blocked"), "not a folder\n"));
            qputenv("XDG_DATA_HOME", QFile::encodeName(Path("blocked")));
        }

        const Run run = Companion({"--import", Path("clash.ini")});
        launcher.kill();
        launcher.waitForFinished();
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err, Expand(err));
        QCOMPARE(ReadBytes(Path("data/Nimbra Mobile/Launcher.ini")), ExportConfig);
        QCOMPARE(ReadBytes(Path("clash.ini")), ClashingFile);
        if (!launcherRuns)
            QCOMPARE(ReadBytes(Path("blocked")), QByteArray("not a folder\n"));
    }
};

QTEST_MAIN(CompanionImportTest)
#include "tst_companionimport.moc"
