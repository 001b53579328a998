// What the file keeps beyond its plain lines: entries with double quotes (and keys the plain
// line alters) carried exactly by the line that follows them, out-of-date files set aside
// under names of their own, and a save merged with another launcher's.
#include "keeping.h"
#include "model.h"
#include "quotedentries.h"
#include "records.h"
#include "testenv.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString Emulator = QStringLiteral("/Apps/Nimbra Mobile");

// A model with one ordinary profile around the one under test, and options to choose from.
QList<ConfigSection> ModelWith(const Profile& profile, const OptionEntry& option)
{
    QList<ConfigSection> sections = Config::NewSections();
    sections[1].entries = {{"Default", ""}, option};
    sections[2].entries = {{"Default", ""}};
    sections[3].entries = {{"Touch", ""}};
    Config::StoreProfiles(sections,
                          {{"Before", " -a -b", {1, 0, 0}}, profile, {"After", "", {0, 0, 0}}});
    return sections;
}

// What a reader that knows only the plain line rules sees: the exact lines are comments to it.
QString WithoutExactLines(const QString& text)
{
    QStringList lines = text.split(u'\n');
    lines.removeIf([](const QString& line) { return line.startsWith(u"#=entry "); });
    return lines.join(u'\n');
}

QList<ConfigSection> Read(const QString& text)
{
    QList<ConfigSection> sections = Config::NewSections();
    Config::ReadText(text, sections);
    return sections;
}

} // namespace

class KeepingTest : public QObject
{
    Q_OBJECT

private slots:
    void quotedEntriesSurviveRestart_data();
    void quotedEntriesSurviveRestart();
    void plainModelWritesNoExactLine();
    void oddExactLinesFollowTheLineRules_data();
    void oddExactLinesFollowTheLineRules();
    void outdatedFilesAreSetAsideUnderFreeNames();
    void mergeKeepsBothLaunchersProfiles();
};

void KeepingTest::quotedEntriesSurviveRestart_data()
{
    QTest::addColumn<Profile>("profile");
    QTest::addColumn<OptionEntry>("option");

    const OptionEntry plainOption{"Phone", " -windowsize 320x480"};
    const auto args = [&](const char* arguments) {
        return Profile{"Quoted", QString::fromUtf8(arguments), {1, 0, 0}};
    };
    QTest::newRow("blanks inside quotes")
        << args(" -datadir \"/Users/me/Application Support/emu\"") << plainOption;
    QTest::newRow("two blanks inside quotes") << args(" -title \"a  b\" -x") << plainOption;
    QTest::newRow("empty quoted argument") << args(" -a \"\" -b") << plainOption;
    QTest::newRow("lone quote") << args(" -a \"b c") << plainOption;
    QTest::newRow("quotes in the middle of a word") << args(" -x=a\"b c\"d") << plainOption;
    QTest::newRow("percent signs and a tab") << args(" -a \"50% \t%22\"") << plainOption;
    QTest::newRow("quote in an option value")
        << Profile{"Plain", " -y", {1, 0, 0}} << OptionEntry{"Skin", " -skin \"My Skin\""};
    QTest::newRow("quote in a name") << Profile{"Say \"hi\"", " -y", {1, 0, 0}} << plainOption;
    QTest::newRow("backslash-t in a key")
        << args(" -y") << OptionEntry{"C:\\temp", " -windowsize 1x1"};
    QTest::newRow("empty key") << args(" -y") << OptionEntry{"", " -windowsize 1x1"};
}

// Saved and read back (quit and restart), every entry and profile is as it was and launches
// the same argv; a plain-rules reader of the same file loses only the quoted entry's tail.
void KeepingTest::quotedEntriesSurviveRestart()
{
    QFETCH(Profile, profile);
    QFETCH(OptionEntry, option);
    const QList<ConfigSection> saved = ModelWith(profile, option);
    const QList<Profile> profiles = {{"Before", " -a -b", {1, 0, 0}}, profile, {"After", "", {}}};
    const QString text = Config::FormatText(saved);

    const QList<ConfigSection> read = Read(text);
    QCOMPARE(read, saved);
    const QList<Profile> restarted = Config::ProfilesFromSection(read);
    QCOMPARE(restarted.size(), 3);
    QCOMPARE(restarted[1].name, profile.name);
    QCOMPARE(restarted[1].arguments.trimmed(), profile.arguments.trimmed());
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(BuildLaunchCommand(Emulator, read, restarted[i]).arguments,
                 BuildLaunchCommand(Emulator, saved, profiles[i]).arguments);
    }
    // Saved once more, the file is the same.
    QList<ConfigSection> again = read;
    Config::StoreProfiles(again, restarted);
    QCOMPARE(Config::FormatText(again), text);

    // The plain rules keep every other entry whole and a prefix of the quoted one.
    const QList<ConfigSection> plain = Read(WithoutExactLines(text));
    QVERIFY(text != WithoutExactLines(text));
    for (int s = 0; s < Config::SectionCount; ++s) {
        QCOMPARE(plain[s].entries.size(), saved[s].entries.size());
        for (int e = 0; e < saved[s].entries.size(); ++e) {
            const OptionEntry& kept = plain[s].entries[e];
            const OptionEntry& whole = saved[s].entries[e];
            if (!Config::NeedsExactEntryLine(whole))
                QCOMPARE(kept, whole);
            else if (kept.key == whole.key) // a quote in the value: only its tail is cut
                QVERIFY2(whole.value.startsWith(kept.value), qPrintable(kept.value));
        }
    }
}

void KeepingTest::plainModelWritesNoExactLine()
{
    QList<ConfigSection> sections = Config::NewSections();
    sections[1].entries = {{"Tab\there", "back\\tslash"}, {"Größe", " -ppi 160"}};
    Config::StoreProfiles(sections, {{"Args", " -a  -b %20 #=entry", {1, 0, 1}}});
    // The layout the plain rules define, built line by line below the fixed head.
    QString expected = Config::FormatText({});
    for (const ConfigSection& section : sections) {
        expected += section.name + u'\n';
        for (const OptionEntry& entry : section.entries)
            expected += u'"' + entry.key + "\"\t\"" + entry.value + "\"\n";
        expected += u'\n';
    }
    QCOMPARE(Config::FormatText(sections), expected);
}

void KeepingTest::oddExactLinesFollowTheLineRules_data()
{
    QTest::addColumn<QString>("body"); // after "[Input]\n"
    QTest::addColumn<QList<OptionEntry>>("entries");

    const QString entry = "\"p\"\t\"a \"b\"\"\n";
    const QString exact = "#=entry p a%20%22b%22\n";
    const QList<OptionEntry> whole{{"p", "a \"b\""}};
    const QList<OptionEntry> cut{{"p", "a "}};
    QTest::newRow("exact line after its entry") << entry + exact << whole;
    QTest::newRow("no entry before it") << exact + entry << cut;
    QTest::newRow("after a header") << entry + "[Input]\n" + exact << cut;
    QTest::newRow("after an empty line") << entry + "\n" + exact << cut;
    QTest::newRow("after a comment") << entry + "# note\n" + exact << cut;
    QTest::newRow("two in a row") << entry + exact + "#=entry p other\n" << whole;
    QTest::newRow("entry edited by hand") << "\"p\"\t\"a \"c\"\"\n" + exact << cut;
    QTest::newRow("no blank") << entry + "#=entry p\n" << cut;
    QTest::newRow("two blanks") << entry + "#=entry p a %22b%22\n" << cut;
    QTest::newRow("literal quote") << entry + "#=entry p a%20\"b\"\n" << cut;
    QTest::newRow("escape cut short") << entry + "#=entry p a%20%22b%2\n" << cut;
    QTest::newRow("escape not hex") << entry + "#=entry p a%20%22b%2Z\n" << cut;
    QTest::newRow("escape of a plain character") << entry + "#=entry p a%20%22%62%22\n" << cut;
    QTest::newRow("marker without its blank") << entry + "#=entryp a%20%22b%22\n" << cut;
    QTest::newRow("only the marker") << QString("#=entry p x\n") << QList<OptionEntry>{};
    QTest::newRow("entry after the exact line") << entry + exact + "\"q\"\t\"r\"\n"
                                                << whole + QList<OptionEntry>{{"q", "r"}};
}

void KeepingTest::oddExactLinesFollowTheLineRules()
{
    QFETCH(QString, body);
    QFETCH(QList<OptionEntry>, entries);
    const QList<ConfigSection> read = Read("$VERSION\t106\n[Input]\n" + body);
    QCOMPARE(read[3].entries, entries);
    for (int s = 0; s < 3; ++s)
        QVERIFY(read[s].entries.isEmpty());
}

void KeepingTest::outdatedFilesAreSetAsideUnderFreeNames()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Launcher.ini");
    const QStringList names{"Launcher.107.ini", "Launcher.107.1.ini", "Launcher.107.2.ini"};
    for (int round = 0; round < names.size(); ++round) {
        const QByteArray bytes = "$VERSION 107\n# round " + QByteArray::number(round) + '\n';
        QVERIFY(WriteText(path, bytes));
        QCOMPARE(Keeping::SetFileAside(path, 107), dir.filePath(names[round]));
        QVERIFY(!QFileInfo::exists(path));
        QCOMPARE(ReadBytes(dir.filePath(names[round])), bytes);
    }
    QCOMPARE(ReadBytes(dir.filePath(names[0])), QByteArray("$VERSION 107\n# round 0\n"));

    // A file that can't move (here: it is gone) is reported at its own path.
    const QString missing = dir.filePath("gone/Launcher.ini");
    QCOMPARE(Keeping::SetFileAside(missing, 0), missing);
}

void KeepingTest::mergeKeepsBothLaunchersProfiles()
{
    QList<ConfigSection> theirs = Config::NewSections();
    theirs[1].entries = {{"Default", ""}, {"Tablet", " -windowsize 800x1280"}};
    theirs[2].entries = {{"Default", ""}};
    theirs[3].entries = {{"Touch", ""}};
    Config::StoreProfiles(theirs, {{"Shared", " -theirs", {1, 0, 0}}, {"Theirs", "", {1, 0, 0}}});

    QList<ConfigSection> ours = Config::NewSections();
    ours[1].entries = {{"Default", ""}, {"Phone", " -windowsize 320x480"}};
    ours[2].entries = {{"Default", ""}};
    ours[3].entries = {{"Touch", ""}};
    const QList<Profile> ourProfiles = {{"Shared", " -ours", {0, 0, 0}},
                                        {"Ours", " -q \"a b\"", {1, 0, 5}}};
    Config::StoreProfiles(ours, ourProfiles);

    QList<ConfigSection> expected = theirs;
    expected[0].entries.append(
        OptionEntry{"Ours", "[Resolution] 2 [PixelDensity] 0 [Input] 5 -q \"a b\""});
    expected[1].entries.append(OptionEntry{"Phone", " -windowsize 320x480"});
    QCOMPARE(Keeping::MergeSaved(theirs, ours, ourProfiles), expected);
}

QTEST_MAIN(KeepingTest)
#include "tst_keeping.moc"
