// What the file keeps beyond its plain lines: entries with double quotes (and keys the plain
// line alters) carried exactly by the line that follows them, out-of-date files set aside
// under names of their own, and a save merged with another launcher's. Then profiles moved
// between models: the export of a few profiles with only the options they use, and the merge
// of one model into another.
#include "keeping.h"
#include "profileio.h"
#include "records.h"
#include "testenv.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

Q_DECLARE_METATYPE(ConfigModel)

namespace {

using Entries = QList<OptionEntry>;

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

const OptionEntry AnySize = {"Default", ""};
const OptionEntry Small = {"Small", " -windowsize 320x480"};
const OptionEntry Large = {"Large", " -windowsize 800x1280"};
const OptionEntry Huge = {"Huge", " -windowsize 1536x2048"};
const OptionEntry AnyDensity = {"Default", ""};
const OptionEntry Ldpi = {"ldpi", " -ppi 120"};
const OptionEntry Mdpi = {"mdpi", " -ppi 160"};
const OptionEntry Touch = {"Touch", ""};
const OptionEntry Mouse = {"Mouse", " -input mouse"};

ConfigModel Model(const Entries& resolutions, const Entries& densities, const Entries& inputs,
                  const QList<Profile>& profiles)
{
    ConfigModel model{Config::NewSections(), profiles};
    model.sections[SectionIndex(OptionKind::Resolution)].entries = resolutions;
    model.sections[SectionIndex(OptionKind::PixelDensity)].entries = densities;
    model.sections[SectionIndex(OptionKind::Input)].entries = inputs;
    return model;
}

// Huge and ldpi have no users; Odd chooses outside two sections.
const ConfigModel Source =
    Model({AnySize, Small, Large, Huge}, {AnyDensity, Ldpi, Mdpi}, {Touch, Mouse},
          {{"Base", "", {0, 0, 0}},
           {"Phone", " -a", {1, 2, 0}},
           {"Tablet", "", {2, 2, 1}},
           {"Odd", "", {7, -1, 1}}});

const ConfigModel Target = Model({AnySize, Small}, {AnyDensity}, {Touch},
                                 {{"Base", "", {0, 0, 0}}, {"Phone", "", {1, 0, 0}}});

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
        QTest::addColumn<Entries>("entries");

        const QString entry = "\"p\"\t\"a \"b\"\"\n";
        const QString exact = "#=entry p a%20%22b%22\n";
        const Entries whole{{"p", "a \"b\""}};
        const Entries cut{{"p", "a "}};
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
                                                    << whole + Entries{{"q", "r"}};
    }

    void oddExactLinesFollowTheLineRules()
    {
        QFETCH(QString, body);
        QFETCH(Entries, entries);
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

    void extractProfiles_data()
    {
        QTest::addColumn<QList<int>>("rows");
        QTest::addColumn<ConfigModel>("expected");
        QTest::newRow("all: unused options dropped, the rest renumbered")
            << QList<int>{0, 1, 2, 3}
            << Model({AnySize, Small, Large}, {AnyDensity, Mdpi}, {Touch, Mouse},
                     {{"Base", "", {0, 0, 0}},
                      {"Phone", " -a", {1, 1, 0}},
                      {"Tablet", "", {2, 1, 1}},
                      {"Odd", "", {-1, -1, 1}}});
        QTest::newRow("named order kept, a shared option once, old option order")
            << QList<int>{2, 1}
            << Model({Small, Large}, {Mdpi}, {Touch, Mouse},
                     {{"Tablet", "", {1, 0, 1}}, {"Phone", " -a", {0, 0, 0}}});
    }

    void extractProfiles()
    {
        QFETCH(QList<int>, rows);
        QFETCH(ConfigModel, expected);
        const ConfigModel exported = ExtractProfiles(Source, rows);
        QCOMPARE(exported.profiles, expected.profiles);
        QCOMPARE(exported.sections, expected.sections);
    }

    void mergeModel_data()
    {
        QTest::addColumn<Entries>("sourceResolutions");
        QTest::addColumn<QList<Profile>>("sourceProfiles");
        QTest::addColumn<Entries>("resolutions"); // the target's after the merge
        QTest::addColumn<QList<Profile>>("added");
        QTest::addColumn<QStringList>("skipped");

        const OptionEntry otherSmall{"Small", " -windowsize 321x480"};
        QTest::newRow("same key, other value: a new option")
            << Entries{otherSmall} << QList<Profile>{{"New", "", {0, 0, 0}}}
            << Entries{AnySize, Small, otherSmall} << QList<Profile>{{"New", "", {2, 0, 0}}}
            << QStringList();
        QTest::newRow("taken name renamed, twice; identical to a renamed one skipped")
            << Entries{AnySize}
            << QList<Profile>{{"Phone", "", {0, 0, 0}},
                              {"Phone", " -x", {0, 0, 0}},
                              {"Phone", "", {0, 0, 0}}}
            << Entries{AnySize, Small}
            << QList<Profile>{{"Phone (2)", "", {0, 0, 0}}, {"Phone (3)", " -x", {0, 0, 0}}}
            << QStringList{"Phone"};
        QTest::newRow("arguments compare trimmed, as they are stored")
            << Entries{Small} << QList<Profile>{{"Phone", "  ", {0, 0, 0}}}
            << Entries{AnySize, Small} << QList<Profile>() << QStringList{"Phone"};
        QTest::newRow("a choice outside the source's options chooses nothing")
            << Entries{Small} << QList<Profile>{{"Far", "", {1, 0, 0}}, {"Neg", "", {-1, 0, 0}}}
            << Entries{AnySize, Small}
            << QList<Profile>{{"Far", "", {-1, 0, 0}}, {"Neg", "", {-1, 0, 0}}} << QStringList();
    }

    void mergeModel()
    {
        QFETCH(Entries, sourceResolutions);
        QFETCH(QList<Profile>, sourceProfiles);
        QFETCH(Entries, resolutions);
        QFETCH(QList<Profile>, added);
        QFETCH(QStringList, skipped);

        ConfigModel target = Target;
        const MergeReport report =
            MergeModel(target, Model(sourceResolutions, {AnyDensity}, {Touch}, sourceProfiles));
        const Entries& merged = target.sections[SectionIndex(OptionKind::Resolution)].entries;
        QCOMPARE(merged, resolutions);
        QCOMPARE(report.addedOptions[int(OptionKind::Resolution)], resolutions.mid(2));
        // Nothing the target held moves or changes.
        QCOMPARE(target.profiles, Target.profiles + added);
        QCOMPARE(report.skipped, skipped);
    }

    void profileNames_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("names"); // none: not streamed, ReadModel's fallbacks decide

        // A name only an exact line holds, and the same name twice.
        QTest::newRow("as the model names them")
            << QByteArray(
                   "$VERSION 106\n[Profile]\n\"a\"b\"\t\"\"\n#=entry a%22b \n\"Base\"\t\"\"\n"
                   "[Input]\n\"Touch\"\t\"\"\n[Profile]\n\"Base\"\t\"-x\"\n")
            << QStringList{"a\"b", "Base", "Base"};
        QTest::newRow("no profile")
            << QByteArray("$VERSION 106\n[Input]\n\"Touch\"\t\"\"\n") << QStringList();
    }

    void profileNames()
    {
        QFETCH(QByteArray, text);
        QFETCH(QStringList, names);
        QTemporaryDir dir;
        const QString path = dir.filePath("Launcher.ini");
        QStringList read;
        const auto append = [&read](const QString& name) { read.append(name); };
        QVERIFY(WriteText(path, text));
        QCOMPARE(ReadProfileNames(path, append), !names.isEmpty());
        if (names.isEmpty())
            return;
        QCOMPARE(read, names);
        ConfigModel model;
        QCOMPARE(ReadModel(path, model), ReadResult::Loaded);
        for (int row = 0; row < names.size(); ++row)
            QCOMPARE(model.profiles[row].name, names[row]);
    }
};

QTEST_MAIN(KeepingTest)
#include "tst_keeping.moc"
