// nimbra-mobile-launch's commands, run in process: what reading commands print, bad usage and
// its exit statuses, --list streaming the names the model has, and --export and --import: a
// round trip launches the same, a merge never clobbers, and an import is refused, with the
// file untouched, while it can't be safe. Launches are tst_companionlaunch's.
#include "companionrun.h"
#include "filelocations.h"
#include "instancepaths.h"
#include "launchcommand.h"
#include "profilerules.h"
#include "testenv.h"
#include "userfile.h"

#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QLoggingCategory>
#include <QRegularExpression>
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

ConfigModel Load(const QString& path)
{
    ConfigModel model;
    UserFile::ReadModel(path, model);
    return model;
}

QStringList Names(const QString& path)
{
    QStringList names;
    for (const Profile& profile : Load(path).profiles)
        names.append(profile.name);
    return names;
}

// What the core's launch function starts for the profile name in the file at path.
QStringList CoreArguments(const QString& path, const QString& name)
{
    const ConfigModel model = Load(path);
    const int row = FindProfile(model.profiles, name);
    return row < 0 ? QStringList{"(no profile)"}
                   : BuildLaunchCommand(ResolveFileName(EmulatorFile), model.sections,
                                        model.profiles[row])
                         .arguments;
}

QStringList DataFiles()
{
    return QDir(QFileInfo(UserConfigPath()).path()).entryList(QDir::Files | QDir::Hidden);
}

} // namespace

class CompanionTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QString Path(const QString& name) const { return m_home->filePath(name); }

    // "@" stands for the test's own folder, "EMU" for the emulator the companion starts.
    QByteArray Expand(QByteArray text) const
    {
        // The emulator first: the test's folder has a random name.
        return text.replace("EMU", QFile::encodeName(ResolveFileName(EmulatorFile)))
            .replace('@', QFile::encodeName(m_home->path()));
    }

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        // Every path lookup traces; the commands' output is what counts here.
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    }

    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QDir().mkpath(Path("data"));
        qputenv("XDG_DATA_HOME", QFile::encodeName(Path("data")));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_home->path()));
    }

    // Reading commands and refusals: whatever they print, they change no file.
    void commands_data()
    {
        QTest::addColumn<QByteArray>("userFile"); // none when null
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("out"); // the default file's names when null
        QTest::addColumn<QByteArray>("err"); // followed by the usage when it ends in "."

        QTest::newRow("list: names as the model has them, twice the same one")
            << CompanionConfig << QStringList{"--list"} << 0
            << QByteArray("Default\nPhone HD\nPhone HD\n") << QByteArray();
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
        // A name only an exact line holds.
        QTest::newRow("list: exact lines, the model's names")
            << QByteArray("$VERSION 106\n[Profile]\n\"a\"b\"\t\"\"\n#=entry a%22b \n"
                          "[Input]\n\"Touch\"\t\"\"\n[Profile]\n\"Base\"\t\"-x\"\n")
            << QStringList{"--list"} << 0 << QByteArray("a\"b\nBase\n") << QByteArray();
        QTest::newRow("no user file: the defaults, silently")
            << QByteArray() << QStringList{"--list"} << 0 << QByteArray() << QByteArray();
        QTest::newRow("no profile: the model's fallback")
            << QByteArray("$VERSION 106\n[Input]\n\"Touch\"\t\"\"\n") << QStringList{"--list"} << 0
            << QByteArray("Default\n") << QByteArray();
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
        refused("unknown name: close names, either containing the other, or a slip away",
                {"--command", "phone"}, 2,
                "No profile named \"phone\".\nClose names:\n  Phone HD\n");
        refused("unknown name: a typing slip", {"Defualt", "-x"}, 2,
                "No profile named \"Defualt\".\nClose names:\n  Default\n");
        refused("unknown name: none close", {"--command", "Tablet"}, 2,
                "No profile named \"Tablet\".\n");
        refused("one unknown name fails the export", {"--export", "Default", "Watch"}, 2,
                "No profile named \"Watch\".\n");
        refused("unknown option", {"--lsit"}, 2, "Unknown option --lsit.");
        refused("unknown option before help", {"-x", "--help"}, 2, "Unknown option -x.");
        refused("value for an option without one", {"--list=3"}, 2, "Unknown option --list=3.");
        refused("no name", {"--wait"}, 2, "No profile name given.");
        refused("two commands", {"--list", "--export"}, 2,
                "Give only one of --list, --command, --export, --import, --running, --stop, "
                "--stop-all.");
        refused("--file without a path", {"--list", "--file"}, 2, "--file needs a path.");
        refused("--import without a file", {"--import"}, 2, "--import needs a file.");
        refused("--long without --list", {"--long", "Default"}, 2, "--long goes with --list only.");
        refused("--json without --list or --running", {"--json", "--command", "Default"}, 2,
                "--json goes with --list and --running only.");
        refused("--stop without a name", {"--stop"}, 2, "--stop takes one profile name.");
        refused("--stop-all with a name", {"--stop-all", "Default"}, 2,
                "--running and --stop-all take no names.");
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

    // An out-of-date target is set aside as the launcher would; one that can't be is never
    // overwritten, and neither is one that can't be read.
    void importTarget_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("err");
        QTest::newRow("out of date: set aside")
            << QByteArray("$VERSION 102\n") << 0
            << QByteArray("@/data/Nimbra Mobile/Launcher.ini is out of date and was renamed to "
                          "@/data/Nimbra Mobile/Launcher.102.ini; starting from the defaults.\n");
        QTest::newRow("unreadable: a folder")
            << QByteArray() << 1
            << QByteArray("Cannot read @/data/Nimbra Mobile/Launcher.ini: nothing imported.\n");
    }

    void importTarget()
    {
        QFETCH(QByteArray, target);
        QFETCH(int, status);
        QFETCH(QByteArray, err);
        QVERIFY(target.isNull() ? QDir().mkpath(UserConfigPath())
                                : WriteText(UserConfigPath(), target));
        QVERIFY(WriteText(Path("clash.ini"), ClashingFile));
        const Run run = Companion({"--import", Path("clash.ini")});
        QCOMPARE(run.status, status);
        QCOMPARE(run.err, Expand(err));
        if (status == 0)
            QCOMPARE(ReadBytes(QFileInfo(UserConfigPath()).path() + "/Launcher.102.ini"), target);
    }

    // A launcher that runs rewrites the file when it quits, so an import would be lost; and a
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
        // The launcher's own lock, as its first instance holds it.
        QLockFile launcher(InstancePathsFor(LauncherExecutablePath()).lockPath);
        if (launcherRuns) {
            QVERIFY(launcher.tryLock());
        } else {
            QVERIFY(WriteText(Path("blocked"), "not a folder\n"));
            qputenv("XDG_DATA_HOME", QFile::encodeName(Path("blocked")));
        }

        const Run run = Companion({"--import", Path("clash.ini")});
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err, Expand(err));
        QCOMPARE(ReadBytes(Path("data/Nimbra Mobile/Launcher.ini")), ExportConfig);
        QCOMPARE(ReadBytes(Path("clash.ini")), ClashingFile);
        if (!launcherRuns)
            QCOMPARE(ReadBytes(Path("blocked")), QByteArray("not a folder\n"));
    }

    // The usage and the manual page name the same options.
    void usageAndManualPageAgree()
    {
        const auto options = [](QString text) {
            text.replace(QStringLiteral("\\-"), QStringLiteral("-"));
            QStringList found;
            for (const QRegularExpressionMatch& m :
                 QRegularExpression(QStringLiteral("(--[a-z]+)")).globalMatch(text))
                found.append(m.captured(1));
            found.removeDuplicates();
            found.sort();
            return found;
        };
        const Run help = Companion({"--help"});
        QCOMPARE(help.status, 0);
        const QStringList usage = options(QString::fromUtf8(help.out));
        QCOMPARE(usage.size(), 12);
        QCOMPARE(options(QString::fromUtf8(ReadBytes(QStringLiteral(MANUAL_PAGE)))), usage);
    }
};

QTEST_GUILESS_MAIN(CompanionTest)
#include "tst_companion.moc"
