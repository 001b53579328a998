// What the file keeps beyond its plain lines: entries with double quotes (and keys the plain
// line alters) carried exactly by the line that follows them, out-of-date files set aside
// under names of their own, and a save merged with another launcher's.
#include "keeping.h"
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
        QTest::newRow("quoted arguments: blanks, empty, percent signs and a tab")
            << Profile{"Quoted",
                       " -d \"/Users/me/Application Support\" -a \"\" -b \"50% \t%22\"",
                       {1, 0, 0}}
            << plainOption;
        QTest::newRow("quote in a name and in an option value")
            << Profile{"Say \"hi\"", " -y", {1, 0, 0}} << OptionEntry{"Skin", " -skin \"My Skin\""};
        QTest::newRow("backslash-t in a key")
            << Profile{"Plain", " -y", {1, 0, 0}} << OptionEntry{"C:\\temp", " -windowsize 1x1"};
        QTest::newRow("empty key")
            << Profile{"Plain", " -y", {1, 0, 0}} << OptionEntry{"", " -windowsize 1x1"};
    }

    // Saved and read back (quit and restart), every entry and profile is as it was.
    void quotedEntriesSurviveRestart()
    {
        QFETCH(Profile, profile);
        QFETCH(OptionEntry, option);
        const QList<Profile> profiles = {
            {"Before", " -a -b", {1, 0, 0}}, profile, {"After", "", {0, 0, 0}}};
        const QList<ConfigSection> saved = Sections(option, profiles);
        const QList<ConfigSection> read = Read(Config::FormatText(saved));
        QCOMPARE(read, saved);
        QCOMPARE(Config::ProfilesFromSection(read), profiles);
    }

    // Only entries the plain line loses get an exact line.
    void plainModelWritesNoExactLine()
    {
        QList<ConfigSection> sections = Config::NewSections();
        sections[1].entries = {{"Tab\there", "back\\tslash"}, {"Größe", " -ppi 160"}};
        Config::StoreProfiles(sections, {{"Args", " -a  -b %20 #=entry", {1, 0, 1}}});
        QVERIFY(!Config::FormatText(sections).contains(u"\n#="));
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
            QVERIFY(WriteText(path, "$VERSION 107\n"));
            QCOMPARE(Keeping::SetFileAside(path, 107), dir.filePath(names[round]));
            QVERIFY(!QFileInfo::exists(path));
        }
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
