// nimbra-mobile-launch's commands, run in process: what reading commands print, bad usage and
// its exit statuses, --list streaming the names the model has, and --export and --import: a
// round trip launches the same, a merge never clobbers, and an import is refused, with the
// file untouched, while it can't be safe; and --help against the manual page. Launches are
// tst_companionlaunch's.
#include "commands.h"
#include "filelocations.h"
#include "launchcommand.h"
#include "profilerules.h"
#include "testenv.h"
#include "userfile.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <optional>

namespace {

// A profile whose resolution is outside its section.
const QByteArray WithLostChoice =
    TestConfig() + "[Profile]\n\"Lost choice\"\t\"[Resolution] 9 [PixelDensity] 2 [Input] 0\"\n";

// Then a second "Phone HD": the first of a name wins.
const QByteArray CompanionConfig =
    WithLostChoice + "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 1 [Input] 0 \"\n";

// Base as the user's, Tablet another, and a resolution the user lacks.
const QByteArray ClashingFile = "$VERSION\t106\n[Profile]\n"
                                "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
                                "\"Tablet\"\t\"[Resolution] 1 [PixelDensity] 0 [Input] 0 \"\n"
                                "[Resolution]\n\"Default\"\t\"\"\n"
                                "\"Tiny\"\t\" -windowsize 240x320\"\n"
                                "[PixelDensity]\n\"Default\"\t\"\"\n[Input]\n\"Touch\"\t\"\"\n";

// What stands in the way of an import's write.
enum Obstacle { None, FolderIsAFile, LockHeld };

struct Run
{
    int status = -1;
    QByteArray out;
    QByteArray err;
};

Run Companion(const QStringList& arguments)
{
    Run run;
    const Console console{[&run](QByteArrayView bytes) { run.out += bytes; },
                          [&run](QByteArrayView bytes) { run.err += bytes; }};
    run.status = RunCompanion(arguments, console);
    return run;
}

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

// What the launcher would start for the profile name in the file at path.
QStringList LaunchArguments(const QString& path, const QString& name)
{
    const ConfigModel model = Load(path);
    const int row = FindProfile(model.profiles, name);
    return row < 0 ? QStringList{"(no profile)"}
                   : BuildLaunchCommand(ResolveFileName(EmulatorFile), model.sections,
                                        model.profiles[row])
                         .arguments;
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

    // Reading commands and refusals: whatever they print, they leave the user's file as it was.
    void commands_data()
    {
        QTest::addColumn<QByteArray>("userFile"); // none when null
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("out"); // the default file's names when null
        QTest::addColumn<QByteArray>("err"); // followed by the usage when it ends in "."

        const auto reads = [](const char* name, const QByteArray& file,
                              const QStringList& arguments, const QByteArray& out,
                              const QByteArray& err = "") {
            QTest::newRow(name) << file << arguments << 0 << out << err;
        };
        reads("list: names as the model has them, twice the same one", CompanionConfig, {"--list"},
              "Base\nPhone HD\nTablet\nWatch\nLost choice\nPhone HD\n");
        // A choice outside its section gives no value.
        reads("long list: name, tab, command",
              "$VERSION 106\n[Profile]\n\"A b\"\t\"[Resolution] 1 [Input] 9 -x\"\n[Resolution]\n"
              "\"Any\"\t\"\"\n\"Small\"\t\" -w 1\"\n",
              {"--list", "--long"}, "A b\t\"EMU\"  -w 1 -profile-name \"A b\"  -x\n");
        reads("command of the first of two of a name", CompanionConfig, {"--command", "Phone HD"},
              "\"EMU\"  -windowsize 320x480 -ppi 160 -profile-name \"Phone HD\"  -gpu on\n");
        // A name only an exact line holds.
        reads("list: exact lines, the model's names",
              "$VERSION 106\n[Profile]\n\"a\"b\"\t\"\"\n#=entry a%22b \n[Input]\n\"Touch\"\t\"\"\n"
              "[Profile]\n\"Base\"\t\"-x\"\n",
              {"--list"}, "a\"b\nBase\n");
        reads("no user file: the defaults, silently", QByteArray(), {"--list"}, QByteArray());
        reads("no profile: the model's fallback", "$VERSION 106\n[Input]\n\"Touch\"\t\"\"\n",
              {"--list"}, "Default\n");
        reads("out-of-date user file: the defaults, said, the file left alone",
              "$VERSION\t102\n[Profile]\n\"Old\"\t\"\"\n", {"--list"}, QByteArray(),
              "@/data/Nimbra Mobile/Launcher.ini is out of date (version 102); using the "
              "defaults.\n");

        const auto refused = [](const char* name, const QStringList& arguments, int status,
                                const char* err) {
            QTest::newRow(name) << CompanionConfig << arguments << status << QByteArray("")
                                << QByteArray(err);
        };
        refused("unknown name: close names, either containing the other, or a slip away",
                {"--command", "phone"}, 2,
                "No profile named \"phone\".\nClose names:\n  Phone HD\n");
        refused("unknown name: a profile's name inside it", {"--command", "My Watch profile"}, 2,
                "No profile named \"My Watch profile\".\nClose names:\n  Watch\n");
        refused("unknown name: a typing slip", {"Tablte", "-x"}, 2,
                "No profile named \"Tablte\".\nClose names:\n  Tablet\n");
        refused("empty name: inside every name, close to none", {""}, 2,
                "No profile named \"\".\n");
        refused("blank name: inside names with a space, close to none", {"--command", " "}, 2,
                "No profile named \" \".\n");
        refused("one unknown name fails the export, none close", {"--export", "Base", "Laptop"}, 2,
                "No profile named \"Laptop\".\n");
        refused("unknown option", {"--lsit"}, 2, "Unknown option --lsit.");
        refused("unknown option before help", {"-x", "--help"}, 2, "Unknown option -x.");
        refused("value for an option without one", {"--list=3"}, 2, "Unknown option --list=3.");
        refused("no name", {"--wait"}, 2, "No profile name given.");
        refused("two commands", {"--list", "--export"}, 2,
                "Give only one of --list, --command, --export, --import, --running, --stop, "
                "--stop-all.");
        refused("--file without a path", {"--list", "--file"}, 2, "--file needs a path.");
        refused("--import without a file", {"--import"}, 2, "--import needs a file.");
        refused("--long without --list", {"--long", "Base"}, 2, "--long goes with --list only.");
        refused("--json without --list or --running", {"--json", "--command", "Base"}, 2,
                "--json goes with --list and --running only.");
        refused("--stop without a name", {"--stop"}, 2, "--stop takes one profile name.");
        refused("--stop-all with a name", {"--stop-all", "Base"}, 2,
                "--running and --stop-all take no names.");
        refused("missing --file", {"--file", "@/none.ini", "--list"}, 1,
                "Cannot read @/none.ini.\n");
        refused("binary --file", {"--file", "@/junk.ini", "Base"}, 1,
                "@/junk.ini is not a Launcher.ini of a version this program reads (version 0).\n");
        refused("missing file to import", {"--import", "@/none.ini"}, 1,
                "Cannot read @/none.ini: nothing imported.\n");
        refused("out-of-date file to import", {"--import", "@/junk.ini"}, 1,
                "@/junk.ini is not a Launcher.ini of a version this program reads (version 0): "
                "nothing imported.\n");
        // No file of /proc moves, even for root.
        refused("out-of-date target that can't be set aside",
                {"--file", "/proc/version", "--import", "@/data/Nimbra Mobile/Launcher.ini"}, 1,
                "/proc/version is out of date and cannot be set aside: nothing imported.\n");
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

        const Run run =
            Companion(QString::fromUtf8(Expand(arguments.join(u'\n').toUtf8())).split(u'\n'));
        QCOMPARE(run.status, status);
        if (err.endsWith('.'))
            QVERIFY2(run.err.startsWith(err + "\nUsage: nimbra-mobile-launch"), run.err);
        else
            QCOMPARE(run.err, Expand(err));
        const QStringList defaults = Names(SourceResource("LauncherDefault.ini"));
        QCOMPARE(run.out, out.isNull() ? defaults.join(u'\n').toUtf8() + '\n' : Expand(out));
        if (!userFile.isNull())
            QCOMPARE(ReadBytes(UserConfigPath()), userFile);
    }

    // --help and the manual page give the same forms, options and exit statuses.
    void usageAndManualPageAgree()
    {
        const QString usage = QString::fromUtf8(Companion({"--help"}).out);
        QString page = ReadBytes(SourceResource("../packaging/nimbra-mobile-launch.1"));
        page.replace("\\-", "-");
        // Each form without spaces, quotes and the manual page's font macros.
        const auto forms = [](const QString& text, const char* separator) {
            QStringList forms = text.split(separator);
            for (QString& form : forms)
                form.remove(QRegularExpression("^\\.[A-Z]+|Usage:|[\\s\"]",
                                               QRegularExpression::MultilineOption));
            return forms;
        };
        QCOMPARE(forms(page.section(".SH SYNOPSIS\n", 1).section(".SH", 0, 0), ".br\n"),
                 forms(usage.section("\n\n", 0, 0), "\n"));
        const auto found = [](const char* pattern, const QString& text) {
            QStringList found;
            for (const QRegularExpressionMatch& m : QRegularExpression(pattern).globalMatch(text))
                found.append(m.captured());
            found.removeDuplicates();
            found.sort();
            return found;
        };
        const char* option = "--[a-z][a-z-]*";
        QCOMPARE(found(option, usage).size(), 13);
        QCOMPARE(found(option, page), found(option, usage));
        QCOMPARE(found("\\b\\d+\\b", page.section(".SH EXIT STATUS", 1).section(".SH", 0, 0)),
                 found("\\b\\d+\\b", usage.section("Exit status:", 1)));
    }

    void exportThenImportLaunchesTheSame()
    {
        const QString original = Path("original.ini");
        QVERIFY(WriteText(original, WithLostChoice));
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
            QCOMPARE(LaunchArguments(UserConfigPath(), name), LaunchArguments(original, name));

        // Exporting one profile takes only its options.
        const Run one = Companion({"--file", original, "--export", "Phone HD"});
        QCOMPARE(one.status, 0);
        QVERIFY2(one.out.endsWith("[Profile]\n\"Phone HD\"\t\"[Resolution] 0 [PixelDensity] 0 "
                                  "[Input] 0 -gpu on\"\n\n"
                                  "[Resolution]\n\"Small\"\t\" -windowsize 320x480\"\n\n"
                                  "[PixelDensity]\n\"mdpi\"\t\" -ppi 160\"\n\n"
                                  "[Input]\n\"Touch\"\t\"\"\n\n"),
                 one.out);
    }

    void importMergesWithoutClobbering()
    {
        QVERIFY(WriteText(UserConfigPath(), TestConfig()));
        QVERIFY(WriteText(Path("clash.ini"), ClashingFile));
        const Run run = Companion({"--import", Path("clash.ini")});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.out, Expand("Added resolution \"Tiny\".\nAdded profile \"Tablet (2)\" "
                                 "(\"Tablet\" in @/clash.ini).\nSkipped profile \"Base\": "
                                 "already there.\n"));
        QCOMPARE(Names(UserConfigPath()),
                 (QStringList{"Base", "Phone HD", "Tablet", "Watch", "Tablet (2)"}));
        QCOMPARE(LaunchArguments(UserConfigPath(), "Tablet (2)"),
                 (QStringList{"-windowsize", "240x320", "-profile-name", "Tablet (2)"}));
    }

    // An out-of-date target is set aside as the launcher would; one that can't be read is never
    // overwritten, and a regular file where the data folder should be can't hold one, even for
    // root. Another writer that keeps its lock keeps the import out. The file to import stays
    // as it was.
    void importTarget_data()
    {
        QTest::addColumn<QByteArray>("target"); // a folder when null
        QTest::addColumn<int>("obstacle");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("kept"); // where the target is afterwards, in the data folder
        QTest::addColumn<QByteArray>("err");
        QTest::newRow("out of date: set aside")
            << QByteArray("$VERSION 102\n") << int(None) << 0 << "Launcher.102.ini"
            << QByteArray("@/data/Nimbra Mobile/Launcher.ini is out of date and was renamed to "
                          "@/data/Nimbra Mobile/Launcher.102.ini; starting from the defaults.\n");
        QTest::newRow("unreadable: a folder")
            << QByteArray() << int(None) << 1 << QString()
            << QByteArray("Cannot read @/data/Nimbra Mobile/Launcher.ini: nothing imported.\n");
        QTest::newRow("unwritable folder")
            << TestConfig() << int(FolderIsAFile) << 1 << "Launcher.ini"
            << QByteArray("Cannot write @/blocked/Nimbra Mobile/Launcher.ini: nothing "
                          "imported.\n");
        QTest::newRow("another writer's lock, held throughout")
            << TestConfig() << int(LockHeld) << 1 << "Launcher.ini"
            << QByteArray("Another program is writing @/data/Nimbra Mobile/Launcher.ini: "
                          "nothing imported.\n");
    }

    void importTarget()
    {
        QFETCH(QByteArray, target);
        QFETCH(int, obstacle);
        QFETCH(int, status);
        QFETCH(QString, kept);
        QFETCH(QByteArray, err);
        QVERIFY(target.isNull() ? QDir().mkpath(UserConfigPath())
                                : WriteText(UserConfigPath(), target));
        QVERIFY(WriteText(Path("clash.ini"), ClashingFile));
        if (obstacle == FolderIsAFile) {
            QVERIFY(WriteText(Path("blocked"), "not a folder\n"));
            qputenv("XDG_DATA_HOME", QFile::encodeName(Path("blocked")));
        }
        std::optional<UserFile::WriterLock> lock;
        if (obstacle == LockHeld)
            lock.emplace(UserConfigPath());

        const Run run = Companion({"--import", Path("clash.ini")});
        QCOMPARE(run.status, status);
        QCOMPARE(run.err, Expand(err));
        if (!kept.isEmpty())
            QCOMPARE(ReadBytes(Path("data/Nimbra Mobile/") + kept), target);
        QCOMPARE(ReadBytes(Path("clash.ini")), ClashingFile);
    }
};

QTEST_GUILESS_MAIN(CompanionTest)
#include "tst_companion.moc"
