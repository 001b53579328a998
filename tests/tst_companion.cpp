// nimbra-mobile-launch as users run it: reading commands, launches (the arguments the stand-in
// emulator receives), exit statuses, and bad input that must change nothing. Then --export and
// --import: a round trip launches the same, a merge never clobbers, and an import is refused,
// with the file untouched, while it can't be safe.
#include "companionfixture.h"

class CompanionTest : public CompanionTestBase
{
    Q_OBJECT

private slots:
    void init() { SetUpHome(); }

    // Reading commands and refusals: whatever they print, they change no file and start
    // nothing.
    void commands_data()
    {
        QTest::addColumn<QByteArray>("userFile"); // none when null
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("out"); // the default file's names when null
        QTest::addColumn<QByteArray>("err"); // followed by the usage when it ends in "."

        QTest::newRow("long list: name, tab, command")
            << CompanionConfig << QStringList{"--list", "--long"} << 0
            << QByteArray("Default\t\"EMU\"  -profile-name \"Default\" \n"
                          "Phone HD\t\"EMU\"  -windowsize 720x1280 -ppi 240 -profile-name "
                          "\"Phone HD\"  -gpu on\n"
                          "Phone HD\t\"EMU\"  -windowsize 320x480 -ppi 160 -profile-name "
                          "\"Phone HD\" \n")
            << QByteArray();
        QTest::newRow("command of the first of two of a name")
            << CompanionConfig << QStringList{"--command", "Phone HD"} << 0
            << QByteArray(
                   "\"EMU\"  -windowsize 720x1280 -ppi 240 -profile-name \"Phone HD\"  -gpu on\n")
            << QByteArray();
        QTest::newRow("no user file: the defaults, silently")
            << QByteArray() << QStringList{"--list"} << 0 << QByteArray() << QByteArray();
        QTest::newRow("out-of-date user file: the defaults, said, the file left alone")
            << QByteArray("$VERSION\t102\n[Profile]\n\"Old\"\t\"\"\n") << QStringList{"--list"} << 0
            << QByteArray()
            << QByteArray("@/data/Nimbra Mobile/Launcher.ini is out of date (version 102); "
                          "using the defaults.\n");

        const auto refused = [](const char* name, const QStringList& arguments, int status,
                                const char* err) {
            QTest::newRow(name) << CompanionConfig << arguments << status << QByteArray("")
                                << QByteArray(err);
        };
        refused("unknown name: close names", {"phone hd", "-x"}, 2,
                "No profile named \"phone hd\".\nClose names:\n  Phone HD\n");
        refused("unknown name: none close", {"--command", "Tablet"}, 2,
                "No profile named \"Tablet\".\n");
        refused("one unknown name fails the export", {"--export", "Default", "Watch"}, 2,
                "No profile named \"Watch\".\n");
        refused("unknown option", {"--lsit"}, 2, "Unknown option --lsit.");
        refused("no name", {"--wait"}, 2, "No profile name given.");
        refused("two commands", {"--list", "--export"}, 2,
                "Give only one of --list, --command, --export, --import.");
        refused("--file without a path", {"--list", "--file"}, 2, "--file needs a path.");
        refused("missing --file", {"--file", "@/none.ini", "--list"}, 1,
                "Cannot read @/none.ini.\n");
        refused("binary --file", {"--file", "@/junk.ini", "Default"}, 1,
                "@/junk.ini is not a Launcher.ini of a version this program reads (version 0).\n");
        refused("missing file to import", {"--import", "@/none.ini"}, 1,
                "Cannot read @/none.ini: nothing imported.\n");
        refused("out-of-date file to import", {"--import", "@/junk.ini"}, 1,
                "@/junk.ini is not a Launcher.ini of a version this program reads (version 0): "
                "nothing imported.\n");
    }

    void commands()
    {
        QFETCH(QByteArray, userFile);
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QByteArray, out);
        QFETCH(QByteArray, err);
        if (!userFile.isNull())
            QVERIFY(WriteText(UserConfigPath(), userFile));
        QVERIFY(WriteText(Path("junk.ini"), "\x01\xfe junk\n\"\"\"\t[Profile]\n"));
        const QStringList filesBefore = DataFiles();

        const Run run =
            Companion(QString::fromUtf8(Expand(arguments.join(u'\n').toUtf8())).split(u'\n'));
        QCOMPARE(run.status, status);
        if (err.endsWith('.'))
            QVERIFY2(run.err.startsWith(err + "\nUsage: nimbra-mobile-launch"), run.err);
        else
            QCOMPARE(run.err, Expand(err));
        const QStringList defaults = Names(SourceResource("LauncherDefault.ini"));
        QCOMPARE(run.out, out.isNull() ? defaults.join(u'\n').toUtf8() + '\n' : Expand(out));
        QCOMPARE(DataFiles(), filesBefore);
        if (!userFile.isNull())
            QCOMPARE(ReadBytes(UserConfigPath()), userFile);
        QCOMPARE(Recorded(RecordPath()), QList<QStringList>());
    }

    // What the window starts for the profile, then the extra arguments, each one argument as
    // the shell gave it.
    void launchStartsTheProfileCommand()
    {
        QVERIFY(WriteText(UserConfigPath(), CompanionConfig));
        const QStringList phone = CoreArguments(UserConfigPath(), "Phone HD");
        const Run run = Companion({"Phone HD", "-x", "a b", "\"q\""});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out + run.err, QByteArray());
        const QStringList withExtras = phone + QStringList{"-x", "a b", "\"q\""};
        QTRY_COMPARE_WITH_TIMEOUT(Recorded(RecordPath()), QList<QStringList>{withExtras}, 15000);

        QCOMPARE(Companion({"--wait", "Phone HD"}).status, 0);
        QCOMPARE(Recorded(RecordPath()), (QList<QStringList>{withExtras, phone}));
    }

    void exitStatus_data()
    {
        QTest::addColumn<QByteArray>("emulator"); // a script; no emulator when null
        QTest::addColumn<bool>("wait");
        QTest::addColumn<int>("status");

        QTest::newRow("--wait: the emulator's status") << QByteArray("exit 7") << true << 7;
        QTest::newRow("detached: 0 whatever the emulator returns")
            << QByteArray("exit 7") << false << 0;
        QTest::newRow("--wait: no emulator") << QByteArray() << true << 127;
        QTest::newRow("detached: no emulator") << QByteArray() << false << 127;
    }

    void exitStatus()
    {
        QFETCH(QByteArray, emulator);
        QFETCH(bool, wait);
        QFETCH(int, status);

        // A copy of the companion in an app folder of its own, beside a scripted emulator.
        const QString contents = Path("Script App.app/Contents");
        const QString program = contents + "/MacOS/nimbra-mobile-launch";
        QVERIFY(QDir().mkpath(contents + "/MacOS"));
        QVERIFY(QFile::copy(COMPANION, program));
        QVERIFY(WriteText(contents + "/Resources/LauncherDefault.ini", CompanionConfig));
        if (!emulator.isNull()) {
            const QString script =
                contents + "/Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile";
            QVERIFY(WriteText(script, "#!/bin/sh\n" + emulator + '\n'));
            QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner));
        }

        const Run run =
            Companion(wait ? QStringList{"--wait", "Default"} : QStringList{"Default"}, program);
        QCOMPARE(run.status, status);
        QCOMPARE(run.out, QByteArray());
        if (status == 127)
            QVERIFY2(run.err.startsWith("Failed to start Nimbra Mobile Emulator: "), run.err);
        else
            QCOMPARE(run.err, QByteArray());
    }

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

QTEST_MAIN(CompanionTest)
#include "tst_companion.moc"
