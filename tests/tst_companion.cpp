// nimbra-mobile-launch as users run it: reading commands, launches (the arguments the stand-in
// emulator receives), exit statuses, export and import, and bad input that must change nothing.
#include "instance.h"
#include "profileio.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

// Two profiles of one name (the first wins) and an empty section, which gets the empty
// "Default" entry.
const QByteArray CompanionConfig =
    "$VERSION\t106\n[Profile]\n"
    "\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 2 [Input] 0  -gpu on\"\n"
    "\"Phone HD\"\t\"[Resolution] 1 [PixelDensity] 1 [Input] 0 \"\n" +
    SizeAndDensitySections() + "[Input]\n";

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

struct Run
{
    int status = -1; // -1 when it did not exit normally in time
    QByteArray out;
    QByteArray err;
};

Run Companion(const QStringList& arguments, const QString& program = COMPANION)
{
    QProcess process;
    process.start(program, arguments);
    process.closeWriteChannel();
    Run run;
    if (!process.waitForFinished(20000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    if (process.exitStatus() == QProcess::NormalExit)
        run.status = process.exitCode();
    return run;
}

// The emulator the companion in the build's app folder starts.
QString Emulator()
{
    return QDir(QFileInfo(COMPANION).canonicalPath() +
                "/../Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile")
        .absolutePath();
}

QStringList Names(const QString& path)
{
    ConfigModel model;
    ReadModel(path, model);
    QStringList names;
    for (const Profile& profile : model.profiles)
        names.append(profile.name);
    return names;
}

// What the core's launch function starts for the profile name in the file at path.
QStringList CoreArguments(const QString& path, const QString& name)
{
    ConfigModel model;
    ReadModel(path, model);
    const int row = FindProfile(model.profiles, name);
    return row < 0 ? QStringList{"(no profile)"}
                   : BuildLaunchCommand(Emulator(), model.sections, model.profiles[row]).arguments;
}

QStringList DataFiles()
{
    return QDir(QFileInfo(UserConfigPath()).path()).entryList(QDir::Files | QDir::Hidden);
}

} // namespace

class CompanionTest : public QObject
{
    Q_OBJECT

    // Fresh data and runtime folders and stand-in record per test, inherited by the programs
    // it starts; the stand-in records its arguments and quits at once.
    std::unique_ptr<QTemporaryDir> m_home;
    QString Path(const QString& name) const { return m_home->filePath(name); }
    QString RecordPath() const { return Path("starts.jsonl"); }

    // "@" stands for the test's own folder, "EMU" for the emulator the companion starts.
    QByteArray Expand(QByteArray text) const
    {
        // The emulator first: the test's folder has a random name.
        return text.replace("EMU", QFile::encodeName(Emulator()))
            .replace('@', QFile::encodeName(m_home->path()));
    }
    QStringList Expand(const QStringList& arguments) const
    {
        QStringList expanded;
        for (const QString& argument : arguments)
            expanded.append(QString::fromUtf8(Expand(argument.toUtf8())));
        return expanded;
    }

private slots:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QDir().mkpath(Path("data"));
        QDir().mkpath(Path("runtime"));
        QFile::setPermissions(Path("runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_DATA_HOME", QFile::encodeName(Path("data")));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(Path("runtime")));
        qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(RecordPath()));
        qputenv("NIMBRA_STANDIN_QUIT", "1");
    }

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
        QVERIFY2(imported.out.endsWith("Added profile \"Big tablet\".\n"
                                       "Added profile \"Lost choice\".\n"),
                 imported.out);
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
