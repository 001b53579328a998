// nimbra-mobile-launch as users run it: reading commands, launches (the arguments the stand-in
// emulator receives), exit statuses, and bad input that must change nothing.
#include "companionfixture.h"
#include "windowfixture.h"

class CompanionTest : public CompanionTestBase
{
    Q_OBJECT

private slots:
    void init() { SetUpHome(); }

    void readingCommands_data()
    {
        QTest::addColumn<QByteArray>("userFile"); // none when null
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("out"); // the default file's names when null
        QTest::addColumn<QByteArray>("err");

        QTest::newRow("list: file order, duplicates kept")
            << CompanionConfig << QStringList{"--list"}
            << QByteArray("Default\nPhone HD\nPhone HD\n") << QByteArray();
        QTest::newRow("long list: name, tab, command")
            << CompanionConfig << QStringList{"--list", "--long"}
            << QByteArray("Default\t\"EMU\"  -profile-name \"Default\" \n"
                          "Phone HD\t\"EMU\"  -windowsize 720x1280 -ppi 240 -profile-name "
                          "\"Phone HD\"  -gpu on\n"
                          "Phone HD\t\"EMU\"  -windowsize 320x480 -ppi 160 -profile-name "
                          "\"Phone HD\" \n")
            << QByteArray();
        QTest::newRow("command of the first of two of a name")
            << CompanionConfig << QStringList{"--command", "Phone HD"}
            << QByteArray(
                   "\"EMU\"  -windowsize 720x1280 -ppi 240 -profile-name \"Phone HD\"  -gpu on\n")
            << QByteArray();
        QTest::newRow("no user file: the defaults, silently")
            << QByteArray() << QStringList{"--list"} << QByteArray() << QByteArray();
        QTest::newRow("out-of-date user file: the defaults, said, the file left alone")
            << QByteArray("$VERSION\t102\n[Profile]\n\"Old\"\t\"\"\n") << QStringList{"--list"}
            << QByteArray()
            << QByteArray("@/data/Nimbra Mobile/Launcher.ini is out of date (version 102); "
                          "using the defaults.\n");
    }

    void readingCommands()
    {
        QFETCH(QByteArray, userFile);
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, out);
        QFETCH(QByteArray, err);
        if (!userFile.isNull())
            QVERIFY(WriteText(UserConfigPath(), userFile));
        const QStringList filesBefore = DataFiles();

        const Run run = Companion(Expand(arguments));
        QCOMPARE(run.err, Expand(err));
        const QStringList defaults = Names(SourceResource("LauncherDefault.ini"));
        QCOMPARE(run.out, out.isNull() ? defaults.join(u'\n').toUtf8() + '\n' : Expand(out));
        QCOMPARE(run.status, 0);
        QCOMPARE(DataFiles(), filesBefore);
        if (!userFile.isNull())
            QCOMPARE(ReadBytes(UserConfigPath()), userFile);
    }

    void launchStartsWhatTheWindowStarts()
    {
        QVERIFY(WriteText(UserConfigPath(), CompanionConfig));
        const QStringList phone = CoreArguments(UserConfigPath(), "Phone HD");

        // Extra arguments follow the profile's own, each one argument as the shell gave it.
        const Run run = Companion({"Phone HD", "-x", "a b", "\"q\""});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out + run.err, QByteArray());
        const QStringList withExtras = phone + QStringList{"-x", "a b", "\"q\""};
        QTRY_COMPARE_WITH_TIMEOUT(Recorded(RecordPath()), QList<QStringList>{withExtras}, 15000);

        QCOMPARE(Companion({"--wait", "Phone HD"}).status, 0);
        QCOMPARE(Recorded(RecordPath()), (QList<QStringList>{withExtras, phone}));

        // The window's Launch on the same file and profile.
        UseFixtureAppFolder();
        MainWindow window(nullptr);
        WindowFixture::Select(window, 1);
        QTest::mouseClick(ButtonWithText(window, "&Launch"), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(Recorded(RecordPath()).size(), 3, 15000);
        QCOMPARE(Recorded(RecordPath()).constLast(), phone);
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

    void badInputChangesNothing_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("err"); // followed by the usage when it ends in "."

        QTest::newRow("unknown name: close names")
            << QStringList{"phone hd", "-x"} << 2
            << QByteArray("No profile named \"phone hd\".\nClose names:\n  Phone HD\n");
        QTest::newRow("unknown name: none close") << QStringList{"--command", "Tablet"} << 2
                                                  << QByteArray("No profile named \"Tablet\".\n");
        QTest::newRow("one unknown name fails the export")
            << QStringList{"--export", "Default", "Watch"} << 2
            << QByteArray("No profile named \"Watch\".\n");
        QTest::newRow("unknown option")
            << QStringList{"--lsit"} << 2 << QByteArray("Unknown option --lsit.");
        QTest::newRow("no name") << QStringList{"--wait"} << 2
                                 << QByteArray("No profile name given.");
        QTest::newRow("two commands") << QStringList{"--list", "--export"} << 2
                                      << QByteArray("Give only one of --list, --command, "
                                                    "--export, --import.");
        QTest::newRow("--file without a path")
            << QStringList{"--list", "--file"} << 2 << QByteArray("--file needs a path.");
        QTest::newRow("missing --file") << QStringList{"--file", "@/none.ini", "--list"} << 1
                                        << QByteArray("Cannot read @/none.ini.\n");
        QTest::newRow("binary --file")
            << QStringList{"--file", "@/junk.ini", "Default"} << 1
            << QByteArray("@/junk.ini is not a Launcher.ini of a version this program reads "
                          "(version 0).\n");
        QTest::newRow("missing file to import")
            << QStringList{"--import", "@/none.ini"} << 1
            << QByteArray("Cannot read @/none.ini: nothing imported.\n");
        QTest::newRow("out-of-date file to import")
            << QStringList{"--import", "@/junk.ini"} << 1
            << QByteArray("@/junk.ini is not a Launcher.ini of a version this program reads "
                          "(version 0): nothing imported.\n");
    }

    void badInputChangesNothing()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QByteArray, err);
        QVERIFY(WriteText(UserConfigPath(), CompanionConfig));
        QByteArray junk(4096, '\0');
        for (int i = 0; i < junk.size(); ++i)
            junk[i] = char(i * 7919 % 251);
        QVERIFY(WriteText(Path("junk.ini"), junk + "\n\"\"\"\t[Profile]\n"));

        const Run run = Companion(Expand(arguments));
        QCOMPARE(run.status, status);
        QCOMPARE(run.out, QByteArray());
        if (err.endsWith('.'))
            QVERIFY2(run.err.startsWith(err + "\nUsage: nimbra-mobile-launch"), run.err);
        else
            QCOMPARE(run.err, Expand(err));
        QCOMPARE(ReadBytes(UserConfigPath()), CompanionConfig);
        QCOMPARE(DataFiles(), QStringList{"Launcher.ini"});
        QCOMPARE(Recorded(RecordPath()), QList<QStringList>());
    }
};

QTEST_MAIN(CompanionTest)
#include "tst_companion.moc"
