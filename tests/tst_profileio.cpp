// Profiles moved between models: the export of a few profiles with only the options they
// use, and the merge of one model into another.
#include "profileio.h"
#include "records.h"
#include "testenv.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

using Entries = QList<OptionEntry>;

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

Entries Options(const ConfigModel& model, OptionKind kind)
{
    return model.sections[SectionIndex(kind)].entries;
}

} // namespace

class ProfileIoTest : public QObject
{
    Q_OBJECT

private slots:
    void extractProfiles_data();
    void extractProfiles();
    void mergeModel_data();
    void mergeModel();
    void profileNames_data();
    void profileNames();
};

void ProfileIoTest::extractProfiles_data()
{
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<Entries>("resolutions");
    QTest::addColumn<Entries>("densities");
    QTest::addColumn<Entries>("inputs");
    QTest::addColumn<QList<Profile>>("profiles");

    QTest::newRow("all: unused options dropped, the rest renumbered")
        << QList<int>{0, 1, 2, 3} << Entries{AnySize, Small, Large} << Entries{AnyDensity, Mdpi}
        << Entries{Touch, Mouse}
        << QList<Profile>{{"Base", "", {0, 0, 0}},
                          {"Phone", " -a", {1, 1, 0}},
                          {"Tablet", "", {2, 1, 1}},
                          {"Odd", "", {-1, -1, 1}}};
    QTest::newRow("named order kept, a shared option once, old option order")
        << QList<int>{2, 1} << Entries{Small, Large} << Entries{Mdpi} << Entries{Touch, Mouse}
        << QList<Profile>{{"Tablet", "", {1, 0, 1}}, {"Phone", " -a", {0, 0, 0}}};
    QTest::newRow("a choice outside its section still chooses nothing")
        << QList<int>{3} << Entries() << Entries() << Entries{Mouse}
        << QList<Profile>{{"Odd", "", {-1, -1, 0}}};
}

void ProfileIoTest::extractProfiles()
{
    QFETCH(QList<int>, rows);
    QFETCH(Entries, resolutions);
    QFETCH(Entries, densities);
    QFETCH(Entries, inputs);
    QFETCH(QList<Profile>, profiles);

    const ConfigModel exported = ExtractProfiles(Source, rows);
    QCOMPARE(exported.profiles, profiles);
    QCOMPARE(Options(exported, OptionKind::Resolution), resolutions);
    QCOMPARE(Options(exported, OptionKind::PixelDensity), densities);
    QCOMPARE(Options(exported, OptionKind::Input), inputs);
}

void ProfileIoTest::mergeModel_data()
{
    QTest::addColumn<Entries>("sourceResolutions");
    QTest::addColumn<QList<Profile>>("sourceProfiles");
    QTest::addColumn<Entries>("resolutions"); // the target's after the merge
    QTest::addColumn<QList<Profile>>("added");
    QTest::addColumn<QStringList>("skipped");

    QTest::newRow("an equal option shared, a new one appended, choices moved")
        << Entries{Large, Small} << QList<Profile>{{"Tab", "", {0, 0, 0}}, {"Pho", "", {1, 0, 0}}}
        << Entries{AnySize, Small, Large}
        << QList<Profile>{{"Tab", "", {2, 0, 0}}, {"Pho", "", {1, 0, 0}}} << QStringList();
    QTest::newRow("same key, other value: a new option")
        << Entries{{"Small", " -windowsize 321x480"}} << QList<Profile>{{"New", "", {0, 0, 0}}}
        << Entries{AnySize, Small, {"Small", " -windowsize 321x480"}}
        << QList<Profile>{{"New", "", {2, 0, 0}}} << QStringList();
    QTest::newRow("identical profile under its name skipped")
        << Entries{Small} << QList<Profile>{{"Phone", "", {0, 0, 0}}} << Entries{AnySize, Small}
        << QList<Profile>() << QStringList{"Phone"};
    QTest::newRow("taken name renamed, twice; identical to a renamed one skipped")
        << Entries{AnySize}
        << QList<Profile>{{"Phone", "", {0, 0, 0}},
                          {"Phone", " -x", {0, 0, 0}},
                          {"Phone", "", {0, 0, 0}}}
        << Entries{AnySize, Small}
        << QList<Profile>{{"Phone (2)", "", {0, 0, 0}}, {"Phone (3)", " -x", {0, 0, 0}}}
        << QStringList{"Phone"};
    QTest::newRow("arguments compare trimmed, as they are stored")
        << Entries{Small} << QList<Profile>{{"Phone", "  ", {0, 0, 0}}} << Entries{AnySize, Small}
        << QList<Profile>() << QStringList{"Phone"};
    QTest::newRow("a choice outside the source's options chooses nothing")
        << Entries{Small} << QList<Profile>{{"Far", "", {1, 0, 0}}, {"Neg", "", {-1, 0, 0}}}
        << Entries{AnySize, Small}
        << QList<Profile>{{"Far", "", {-1, 0, 0}}, {"Neg", "", {-1, 0, 0}}} << QStringList();
}

void ProfileIoTest::mergeModel()
{
    QFETCH(Entries, sourceResolutions);
    QFETCH(QList<Profile>, sourceProfiles);
    QFETCH(Entries, resolutions);
    QFETCH(QList<Profile>, added);
    QFETCH(QStringList, skipped);

    ConfigModel target = Target;
    const ConfigModel source = Model(sourceResolutions, {AnyDensity}, {Touch}, sourceProfiles);
    const MergeReport report = MergeModel(target, source);

    QCOMPARE(Options(target, OptionKind::Resolution), resolutions);
    QCOMPARE(Options(target, OptionKind::PixelDensity), Entries{AnyDensity});
    QCOMPARE(Options(target, OptionKind::Input), Entries{Touch});
    // Nothing the target held moves or changes.
    QCOMPARE(target.profiles, Target.profiles + added);
    QStringList reported;
    for (const AddedProfile& profile : report.added)
        reported.append(profile.name);
    QStringList expected;
    for (const Profile& profile : added)
        expected.append(profile.name);
    QCOMPARE(reported, expected);
    QCOMPARE(report.skipped, skipped);
    QCOMPARE(report.addedOptions[int(OptionKind::Resolution)],
             resolutions.mid(Options(Target, OptionKind::Resolution).size()));
}

void ProfileIoTest::profileNames_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("names"); // none: not streamed, ReadModel's fallbacks decide

    // A name only an exact line holds, and the same name twice.
    QTest::newRow("as the model names them")
        << QByteArray("$VERSION 106\n[Profile]\n\"a\"b\"\t\"\"\n#=entry a%22b \n\"Base\"\t\"\"\n"
                      "[Input]\n\"Touch\"\t\"\"\n[Profile]\n\"Base\"\t\"-x\"\n")
        << QStringList{"a\"b", "Base", "Base"};
    QTest::newRow("no profile") << QByteArray("$VERSION 106\n[Input]\n\"Touch\"\t\"\"\n")
                                << QStringList();
    QTest::newRow("out of date") << QByteArray("$VERSION 102\n[Profile]\n\"Base\"\t\"\"\n")
                                 << QStringList();
}

void ProfileIoTest::profileNames()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, names);
    QTemporaryDir dir;
    const QString path = dir.filePath("Launcher.ini");
    QStringList read;
    const auto append = [&read](const QString& name) { read.append(name); };
    QVERIFY(!ReadProfileNames(path, append));
    QVERIFY(WriteText(path, text));
    read.clear();
    QCOMPARE(ReadProfileNames(path, append), !names.isEmpty());
    if (names.isEmpty())
        return;
    QCOMPARE(read, names);
    ConfigModel model;
    QCOMPARE(ReadModel(path, model), ReadResult::Loaded);
    for (int row = 0; row < names.size(); ++row)
        QCOMPARE(model.profiles[row].name, names[row]);
}

QTEST_APPLESS_MAIN(ProfileIoTest)
#include "tst_profileio.moc"
