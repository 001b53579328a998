// Profiles moved between models: the export of a few profiles with only the options they
// use, and the merge of one model into another.
#include "profileio.h"
#include "records.h"
#include "testenv.h"

#include <QTemporaryDir>
#include <QTest>

Q_DECLARE_METATYPE(ConfigModel)

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

} // namespace

class ProfileIoTest : public QObject
{
    Q_OBJECT

private slots:
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
        QTest::newRow("out of date")
            << QByteArray("$VERSION 102\n[Profile]\n\"Base\"\t\"\"\n") << QStringList();
    }

    void profileNames()
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
};

QTEST_APPLESS_MAIN(ProfileIoTest)
#include "tst_profileio.moc"
