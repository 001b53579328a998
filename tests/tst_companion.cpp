// nimbra-mobile-launch's commands, run in process: what reading commands print, bad usage and
// its exit statuses, --help against the manual page, and --export and --import: a round trip
// launches the same, a merge never clobbers, and an import that can't be safe writes nothing.
// Launches are tst_companionlaunch's.
#include "commands.h"
#include "filelocations.h"
#include "testenv.h"
#include "userfile.h"

#include <QDir>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

// A profile whose resolution is outside its section.
const QByteArray WithLostChoice =
    TestConfig() + "[Profile]\n\"Lost choice\"\t\"[Resolution] 9 [PixelDensity] 2 [Input] 0\"\n";
// Then a second "Phone HD": the first of a name wins.
const QByteArray CompanionConfig =
    WithLostChoice + "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 1 [Input] 0 \"\n";
// Base as the user's, Tablet another, and a resolution the user lacks.
const QByteArray ClashingFile =
    "$VERSION\t106\n[Profile]\n"
    "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Tablet\"\t\"[Resolution] 1 [PixelDensity] 0 [Input] 0 \"\n"
    "[Resolution]\n\"Default\"\t\"\"\n\"Tiny\"\t\" -windowsize 240x320\"\n"
    "[PixelDensity]\n\"Default\"\t\"\"\n[Input]\n\"Touch\"\t\"\"\n";

struct Run
{
    int status = -1;
    QByteArray out, err;
    bool Ok() const { return status == 0 && err.isEmpty(); }
};

Run Companion(const QStringList& arguments)
{
    Run run;
    run.status = RunCompanion(arguments, {[&run](QByteArrayView bytes) { run.out += bytes; },
                                          [&run](QByteArrayView bytes) { run.err += bytes; }});
    return run;
}

// The long list of the file at path: each profile's name and command.
QByteArray LongList(const QString& path)
{
    return Companion({"--file", path, "--list", "--long"}).out;
}

} // namespace

class CompanionTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QString Path(const QString& name) const { return m_home->filePath(name); }

    // "@" stands for the test's own folder, "EMU" for the emulator the companion starts: the
    // emulator first, as the folder has a random name.
    QByteArray Expand(QByteArray text) const
    {
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
        UsePrivateFolders(m_home->path());
    }

    // Reading commands and refusals: whatever they print, they leave the user's file as it was,
    // and the file to import too.
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
              "@/Nimbra Mobile/Launcher.ini is out of date (version 102); using the defaults.\n");

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
        // Never overwritten: a target that can't be read may be all the user has, and one that
        // can't move (no file of /proc does, even for root).
        refused("import target unreadable: a folder", {"--file", "@/folder", "--import", "@/clash"},
                1, "Cannot read @/folder: nothing imported.\n");
        refused("out-of-date import target that can't be set aside",
                {"--file", "/proc/version", "--import", "@/clash"}, 1,
                "/proc/version is out of date and cannot be set aside: nothing imported.\n");
        refused("import target where a file stands for its folder",
                {"--file", "@/blocked/Launcher.ini", "--import", "@/clash"}, 1,
                "Cannot write @/blocked/Launcher.ini: nothing imported.\n");
        refused("import target locked by another writer throughout",
                {"--file", "@/locked.ini", "--import", "@/clash"}, 1,
                "Another program is writing @/locked.ini: nothing imported.\n");
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
        QVERIFY(WriteText(Path("clash"), ClashingFile));
        QVERIFY(WriteText(Path("blocked"), "a file\n"));
        QVERIFY(QDir().mkpath(Path("folder")));
        const UserFile::WriterLock lock(Path("locked.ini"));

        const Run run =
            Companion(QString::fromUtf8(Expand(arguments.join(u'\n').toUtf8())).split(u'\n'));
        QCOMPARE(run.status, status);
        if (err.endsWith('.'))
            QVERIFY2(run.err.startsWith(err + "\nUsage: nimbra-mobile-launch"), run.err);
        else
            QCOMPARE(run.err, Expand(err));
        const QString defaults = SourceResource("LauncherDefault.ini");
        QCOMPARE(run.out,
                 out.isNull() ? Companion({"--file", defaults, "--list"}).out : Expand(out));
        if (!userFile.isNull())
            QCOMPARE(ReadBytes(UserConfigPath()), userFile);
        QCOMPARE(ReadBytes(Path("clash")), ClashingFile);
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
        QVERIFY2(exported.Ok(), exported.err);
        QVERIFY(WriteText(Path("exported.ini"), exported.out));
        // Nothing there yet: the import starts from the defaults, as the launcher would.
        const Run imported = Companion({"--import", Path("exported.ini")});
        QVERIFY2(imported.Ok(), imported.err);
        QCOMPARE(LongList(UserConfigPath()),
                 LongList(SourceResource("LauncherDefault.ini")) + LongList(original));
        // A named profile alone.
        QVERIFY(WriteText(Path("one.ini"),
                          Companion({"--file", original, "--export", "Phone HD"}).out));
        QCOMPARE(LongList(Path("one.ini")),
                 Expand("Phone HD\t\"EMU\"  -windowsize 320x480 -ppi 160 -profile-name \"Phone HD\""
                        "  -gpu on\n"));
    }

    // The user's profiles stay, a clashing one comes in renamed; an out-of-date target is set
    // aside as the launcher would.
    void importMergesWithoutClobbering()
    {
        QVERIFY(WriteText(UserConfigPath(), TestConfig()));
        QVERIFY(WriteText(Path("clash.ini"), ClashingFile));
        const Run run = Companion({"--import", Path("clash.ini")});
        QVERIFY2(run.Ok(), run.err);
        QCOMPARE(run.out, Expand("Added resolution \"Tiny\".\nAdded profile \"Tablet (2)\" "
                                 "(\"Tablet\" in @/clash.ini).\nSkipped profile \"Base\": "
                                 "already there.\n"));
        QCOMPARE(Companion({"--list"}).out, "Base\nPhone HD\nTablet\nWatch\nTablet (2)\n");

        QVERIFY(WriteText(UserConfigPath(), "$VERSION 102\n"));
        const Run old = Companion({"--import", Path("clash.ini")});
        QCOMPARE(old.status, 0);
        QCOMPARE(old.err, Expand("@/Nimbra Mobile/Launcher.ini is out of date and was renamed to "
                                 "@/Nimbra Mobile/Launcher.102.ini; starting from the "
                                 "defaults.\n"));
        QCOMPARE(ReadBytes(Path("Nimbra Mobile/Launcher.102.ini")), "$VERSION 102\n");
    }
};

QTEST_GUILESS_MAIN(CompanionTest)
#include "tst_companion.moc"
