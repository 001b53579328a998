// nimbra-mobile-launch as users run it: reading commands, launches (the arguments the stand-in
// emulator receives), exit statuses, and bad input that must change nothing.
#include "companion_support.h"
#include "profileio.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QDir>
#include <QFileInfo>
#include <QTest>

namespace {

// Two profiles of one name (the first wins) and an empty section, which gets the empty
// "Default" entry.
const QByteArray CompanionConfig =
    "$VERSION\t106\n[Profile]\n"
    "\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 2 [Input] 0  -gpu on\"\n"
    "\"Phone HD\"\t\"[Resolution] 1 [PixelDensity] 1 [Input] 0 \"\n" +
    SizeAndDensitySections() + "[Input]\n";

QByteArray DefaultNames()
{
    ConfigModel model;
    ReadModel(SourceResource(QStringLiteral("LauncherDefault.ini")), model);
    QByteArray names;
    for (const Profile& profile : model.profiles)
        names += profile.name.toUtf8() + '\n';
    return names;
}

// "@" stands for the test's own folder, "EMU" for the emulator the companion starts.
QByteArray Expand(QByteArray text, const CompanionHome& home)
{
    // The emulator first: the test's folder has a random name.
    return text.replace("EMU", QFile::encodeName(CompanionEmulator()))
        .replace('@', QFile::encodeName(home.root()));
}

QStringList Expand(const QStringList& arguments, const CompanionHome& home)
{
    QStringList expanded;
    for (const QString& argument : arguments)
        expanded.append(QString::fromUtf8(Expand(argument.toUtf8(), home)));
    return expanded;
}

QStringList DataFiles()
{
    QStringList files;
    QDir data(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Nimbra Mobile"));
    for (const QFileInfo& info : data.entryInfoList(QDir::Files | QDir::Hidden))
        files.append(info.fileName());
    return files;
}

} // namespace

class CompanionTest : public QObject
{
    Q_OBJECT

private slots:
    void readingCommands_data();
    void readingCommands();
    void launchStartsWhatTheWindowStarts();
    void exitStatus_data();
    void exitStatus();
    void badInputChangesNothing_data();
    void badInputChangesNothing();
};

void CompanionTest::readingCommands_data()
{
    QTest::addColumn<QByteArray>("userFile"); // none when null
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("out"); // the default file's names when null
    QTest::addColumn<QByteArray>("err");

    QTest::newRow("list: file order, duplicates kept")
        << CompanionConfig << QStringList{"--list"} << QByteArray("Default\nPhone HD\nPhone HD\n")
        << QByteArray();
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
    QTest::newRow("--file instead of the user's file")
        << QByteArray() << QStringList{"--file", "@/other.ini", "--list"}
        << QByteArray("Default\nPhone HD\nPhone HD\n") << QByteArray();
    QTest::newRow("no user file: the defaults, silently")
        << QByteArray() << QStringList{"--list"} << QByteArray() << QByteArray();
    QTest::newRow("out-of-date user file: the defaults, said, the file left alone")
        << QByteArray("$VERSION\t102\n[Profile]\n\"Old\"\t\"\"\n") << QStringList{"--list"}
        << QByteArray()
        << QByteArray("@/data/Nimbra Mobile/Launcher.ini is out of date (version 102); using "
                      "the defaults.\n");
}

void CompanionTest::readingCommands()
{
    QFETCH(QByteArray, userFile);
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, out);
    QFETCH(QByteArray, err);

    CompanionHome home;
    QVERIFY(WriteText(home.path(QStringLiteral("other.ini")), CompanionConfig));
    if (!userFile.isNull())
        QVERIFY(WriteText(UserConfigPath(), userFile));
    const QStringList filesBefore = DataFiles();

    const CompanionRun run = RunCompanion(Expand(arguments, home));
    QCOMPARE(run.err, Expand(err, home));
    QCOMPARE(run.out, out.isNull() ? DefaultNames() : Expand(out, home));
    QCOMPARE(run.status, 0);
    QCOMPARE(DataFiles(), filesBefore);
    if (!userFile.isNull())
        QCOMPARE(ReadBytes(UserConfigPath()), userFile);
}

void CompanionTest::launchStartsWhatTheWindowStarts()
{
    CompanionHome home;
    QVERIFY(WriteText(UserConfigPath(), CompanionConfig));
    const QStringList phone = CoreArguments(QString(), QStringLiteral("Phone HD"));

    // Extra arguments follow the profile's own, each one argument as the shell gave it.
    const CompanionRun run = RunCompanion({"Phone HD", "-x", "a b", "\"q\""});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out + run.err, QByteArray());
    const QStringList withExtras = phone + QStringList{"-x", "a b", "\"q\""};
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(home.recordPath()), QList<QStringList>{withExtras}, 15000);

    QCOMPARE(RunCompanion({"--wait", "Phone HD"}).status, 0);
    QCOMPARE(Recorded(home.recordPath()), (QList<QStringList>{withExtras, phone}));

    // The window's Launch on the same file and profile.
    UseFixtureAppFolder();
    MainWindow window(nullptr);
    WindowFixture::Select(window, 1);
    QTest::mouseClick(ButtonWithText(window, QStringLiteral("&Launch")), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(home.recordPath()).size(), 3, 15000);
    QCOMPARE(Recorded(home.recordPath()).constLast(), phone);
}

void CompanionTest::exitStatus_data()
{
    QTest::addColumn<QByteArray>("emulator"); // a script; no emulator when null
    QTest::addColumn<bool>("wait");
    QTest::addColumn<int>("status");

    QTest::newRow("--wait: the emulator's status") << QByteArray("exit 7") << true << 7;
    QTest::newRow("--wait: success") << QByteArray("exit 0") << true << 0;
    QTest::newRow("detached: 0 whatever the emulator returns")
        << QByteArray("exit 7") << false << 0;
    QTest::newRow("--wait: no emulator") << QByteArray() << true << 127;
    QTest::newRow("detached: no emulator") << QByteArray() << false << 127;
}

void CompanionTest::exitStatus()
{
    QFETCH(QByteArray, emulator);
    QFETCH(bool, wait);
    QFETCH(int, status);

    // A copy of the companion in an app folder of its own, beside a scripted emulator.
    CompanionHome home;
    const QString contents = home.path(QStringLiteral("Script App.app/Contents"));
    const QString program = contents + QStringLiteral("/MacOS/nimbra-mobile-launch");
    QVERIFY(QDir().mkpath(contents + QStringLiteral("/MacOS")));
    QVERIFY(QFile::copy(QStringLiteral(COMPANION), program));
    QVERIFY(
        WriteText(contents + QStringLiteral("/Resources/LauncherDefault.ini"), CompanionConfig));
    if (!emulator.isNull()) {
        const QString script =
            contents + QStringLiteral("/Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile");
        QVERIFY(WriteText(script, "#!/bin/sh\n" + emulator + '\n'));
        QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::ExeOwner));
    }

    const CompanionRun run =
        RunCompanion(wait ? QStringList{"--wait", "Default"} : QStringList{"Default"}, program);
    QCOMPARE(run.status, status);
    QCOMPARE(run.out, QByteArray());
    if (status == 127)
        QVERIFY2(run.err.startsWith("Failed to start Nimbra Mobile Emulator: "), run.err);
    else
        QCOMPARE(run.err, QByteArray());
}

void CompanionTest::badInputChangesNothing_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("err"); // followed by the usage when it ends in "."

    QTest::newRow("unknown name: close names")
        << QStringList{"phone hd", "-x"} << 2
        << QByteArray("No profile named \"phone hd\".\nClose names:\n  Phone HD\n");
    QTest::newRow("unknown name: none close")
        << QStringList{"--command", "Tablet"} << 2 << QByteArray("No profile named \"Tablet\".\n");
    QTest::newRow("one unknown name fails the export")
        << QStringList{"--export", "Default", "Watch"} << 2
        << QByteArray("No profile named \"Watch\".\n");
    QTest::newRow("unknown option")
        << QStringList{"--lsit"} << 2 << QByteArray("Unknown option --lsit.");
    QTest::newRow("no name") << QStringList{"--wait"} << 2 << QByteArray("No profile name given.");
    QTest::newRow("two commands") << QStringList{"--list", "--export"} << 2
                                  << QByteArray("Give only one of --list, --command, --export, "
                                                "--import.");
    QTest::newRow("--file without a path")
        << QStringList{"--list", "--file"} << 2 << QByteArray("--file needs a path.");
    QTest::newRow("missing --file") << QStringList{"--file", "@/none.ini", "--list"} << 1
                                    << QByteArray("Cannot read @/none.ini.\n");
    QTest::newRow("a folder as --file")
        << QStringList{"--file", "@", "Default"} << 1 << QByteArray("Cannot read @.\n");
    QTest::newRow("binary --file")
        << QStringList{"--file", "@/junk.ini", "Default"} << 1
        << QByteArray("@/junk.ini is not a Launcher.ini of a version this program reads "
                      "(version 0).\n");
    QTest::newRow("missing file to import") << QStringList{"--import", "@/none.ini"} << 1
                                            << QByteArray("Cannot read @/none.ini: nothing "
                                                          "imported.\n");
    QTest::newRow("out-of-date file to import")
        << QStringList{"--import", "@/junk.ini"} << 1
        << QByteArray("@/junk.ini is not a Launcher.ini of a version this program reads "
                      "(version 0): nothing imported.\n");
}

void CompanionTest::badInputChangesNothing()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QByteArray, err);

    CompanionHome home;
    QVERIFY(WriteText(UserConfigPath(), CompanionConfig));
    QByteArray junk(4096, '\0');
    for (int i = 0; i < junk.size(); ++i)
        junk[i] = char(i * 7919 % 251);
    QVERIFY(WriteText(home.path(QStringLiteral("junk.ini")), junk + "\n\"\"\"\t[Profile]\n"));

    const CompanionRun run = RunCompanion(Expand(arguments, home));
    QCOMPARE(run.status, status);
    QCOMPARE(run.out, QByteArray());
    if (err.endsWith('.')) {
        QVERIFY2(run.err.startsWith(err + "\nUsage: nimbra-mobile-launch"), run.err);
    } else {
        QCOMPARE(run.err, Expand(err, home));
    }
    QCOMPARE(ReadBytes(UserConfigPath()), CompanionConfig);
    QCOMPARE(DataFiles(), QStringList{"Launcher.ini"});
    QCOMPARE(Recorded(home.recordPath()), QList<QStringList>());
}

QTEST_MAIN(CompanionTest)
#include "tst_companion.moc"
