// What the file keeps beyond its plain lines: entries with double quotes (and keys the plain
// line alters) carried exactly by the line that follows them, out-of-date files set aside
// under names of their own, and a save merged with another launcher's.
#include "keeping.h"
#include "model.h"
#include "quotedentries.h"
#include "records.h"
#include "testenv.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {

QList<ConfigSection> Sections(const OptionEntry& resolution, const QList<Profile>& profiles)
{
    QList<ConfigSection> sections = Config::NewSections();
    sections[1].entries = {{"Default", ""}, resolution};
    sections[2].entries = {{"Default", ""}};
    sections[3].entries = {{"Touch", ""}};
    Config::StoreProfiles(sections, profiles);
    return sections;
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
    void quotedEntriesSurviveRestart_data()
    {
        QTest::addColumn<Profile>("profile");
        QTest::addColumn<OptionEntry>("option");

        const OptionEntry plainOption{"Phone", " -windowsize 320x480"};
        const auto args = [&](const char* arguments) {
            return Profile{"Quoted", QString::fromUtf8(arguments), {1, 0, 0}};
        };
        QTest::newRow("blanks inside quotes")
            << args(" -datadir \"/Users/me/Application Support/emu\"") << plainOption;
        QTest::newRow("empty quoted argument") << args(" -a \"\" -b") << plainOption;
        QTest::newRow("percent signs and a tab") << args(" -a \"50% \t%22\"") << plainOption;
        QTest::newRow("quote in an option value")
            << Profile{"Plain", " -y", {1, 0, 0}} << OptionEntry{"Skin", " -skin \"My Skin\""};
        QTest::newRow("quote in a name") << Profile{"Say \"hi\"", " -y", {1, 0, 0}} << plainOption;
        QTest::newRow("backslash-t in a key")
            << args(" -y") << OptionEntry{"C:\\temp", " -windowsize 1x1"};
        QTest::newRow("empty key") << args(" -y") << OptionEntry{"", " -windowsize 1x1"};
    }

    // Saved and read back (quit and restart), every entry and profile is as it was, launches
    // the same argv and saves to the same text.
    void quotedEntriesSurviveRestart()
    {
        QFETCH(Profile, profile);
        QFETCH(OptionEntry, option);
        const QList<Profile> profiles = {
            {"Before", " -a -b", {1, 0, 0}}, profile, {"After", "", {0, 0, 0}}};
        const QList<ConfigSection> saved = Sections(option, profiles);
        const QString text = Config::FormatText(saved);
        QVERIFY(text.contains(u"\n#=entry "));

        const QList<ConfigSection> read = Read(text);
        QCOMPARE(read, saved);
        const QList<Profile> restarted = Config::ProfilesFromSection(read);
        QCOMPARE(restarted.size(), 3);
        QCOMPARE(restarted[1].name, profile.name);
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(BuildLaunchCommand("/emu", read, restarted[i]).arguments,
                     BuildLaunchCommand("/emu", saved, profiles[i]).arguments);
        }
        QList<ConfigSection> again = read;
        Config::StoreProfiles(again, restarted);
        QCOMPARE(Config::FormatText(again), text);
    }

    void plainModelWritesNoExactLine()
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

    void oddExactLinesFollowTheLineRules_data()
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
        QTest::newRow("after a comment") << entry + "# note\n" + exact << cut;
        QTest::newRow("two in a row") << entry + exact + "#=entry p other\n" << whole;
        QTest::newRow("entry edited by hand") << "\"p\"\t\"a \"c\"\"\n" + exact << cut;
        QTest::newRow("no blank") << entry + "#=entry p\n" << cut;
        QTest::newRow("literal quote") << entry + "#=entry p a%20\"b\"\n" << cut;
        QTest::newRow("escape cut short") << entry + "#=entry p a%20%22b%2\n" << cut;
        QTest::newRow("escape of a plain character") << entry + "#=entry p a%20%22%62%22\n" << cut;
        QTest::newRow("marker without its blank") << entry + "#=entryp a%20%22b%22\n" << cut;
        QTest::newRow("entry after the exact line") << entry + exact + "\"q\"\t\"r\"\n"
                                                    << whole + QList<OptionEntry>{{"q", "r"}};
    }

    void oddExactLinesFollowTheLineRules()
    {
        QFETCH(QString, body);
        QFETCH(QList<OptionEntry>, entries);
        QCOMPARE(Read("$VERSION\t106\n[Input]\n" + body)[3].entries, entries);
    }

    void outdatedFilesAreSetAsideUnderFreeNames()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("Launcher.ini");
        const QStringList names{"Launcher.107.ini", "Launcher.107.1.ini", "Launcher.107.2.ini"};
        for (int round = 0; round < names.size(); ++round) {
            const QByteArray bytes = "$VERSION 107\n# round " + QByteArray::number(round) + '\n';
            QVERIFY(WriteText(path, bytes));
            QCOMPARE(Keeping::SetFileAside(path, 107), dir.filePath(names[round]));
            QVERIFY(!QFileInfo::exists(path));
        }
        for (int round = 0; round < names.size(); ++round)
            QCOMPARE(ReadBytes(dir.filePath(names[round])).right(2),
                     QByteArray::number(round) + '\n');

        // A file that can't move (here: it is gone) is reported at its own path.
        const QString missing = dir.filePath("gone/Launcher.ini");
        QCOMPARE(Keeping::SetFileAside(missing, 0), missing);
    }

    // Ours are added after theirs with their options; a name both have keeps theirs.
    void mergeKeepsBothLaunchersProfiles()
    {
        const OptionEntry tablet{"Tablet", " -windowsize 800x1280"};
        const OptionEntry phone{"Phone", " -windowsize 320x480"};
        const QList<ConfigSection> theirs =
            Sections(tablet, {{"Shared", " -theirs", {1, 0, 0}}, {"Theirs", "", {1, 0, 0}}});
        const QList<Profile> ourProfiles = {{"Shared", " -ours", {0, 0, 0}},
                                            {"Ours", " -q \"a b\"", {1, 0, 5}}};
        QList<ConfigSection> expected = theirs;
        expected[0].entries.append(
            OptionEntry{"Ours", "[Resolution] 2 [PixelDensity] 0 [Input] 5 -q \"a b\""});
        expected[1].entries.append(phone);
        QCOMPARE(Keeping::MergeSaved(theirs, Sections(phone, ourProfiles), ourProfiles), expected);
    }
};

QTEST_MAIN(KeepingTest)
#include "tst_keeping.moc"
