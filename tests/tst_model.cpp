// The rules the window and the tools share, without a window: the repair when an option goes
// away, the text a profile is stored as, the command a launch starts, and the profile list
// menu's rules: which names a profile may take, the name and place of a duplicate, and where
// a profile may move.
#include "fileformat.h"
#include "launchcommand.h"
#include "profilerules.h"
#include "profiletransfer.h"
#include "records.h"
#include "testenv.h"

#include <QTest>

Q_DECLARE_METATYPE(NameFault)

namespace {

// TestConfig's options, and below its profiles: resolution 1 has two users; later entries
// have users too.
QList<ConfigSection> Sections()
{
    QList<ConfigSection> sections = Config::NewSections();
    Config::ReadText(QString::fromUtf8(TestConfig()), sections);
    return sections;
}

const QList<Profile> Profiles = {{"Base", "", {0, 0, 0}},
                                 {"Phone", "", {1, 2, 0}},
                                 {"Tablet", " -t", {2, 3, 1}},
                                 {"Watch", " -b", {1, 2, 1}}};

const QString Emulator = QStringLiteral("/opt/Nimbra Mobile/emulator");

QList<Profile> Named(const QStringList& names)
{
    QList<Profile> profiles;
    for (int i = 0; i < names.size(); ++i)
        profiles.append({names[i], QStringLiteral(" -n %1").arg(i), {i, 0, 1}});
    return profiles;
}

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
    model.Options(OptionKind::Resolution) = resolutions;
    model.Options(OptionKind::PixelDensity) = densities;
    model.Options(OptionKind::Input) = inputs;
    return model;
}

// Huge and ldpi have no users; Odd chooses outside two sections, one just past the end.
const ConfigModel Source =
    Model({AnySize, Small, Large, Huge}, {AnyDensity, Ldpi, Mdpi}, {Touch, Mouse},
          {{"Base", "", {0, 0, 0}},
           {"Phone", " -a", {1, 2, 0}},
           {"Tablet", "", {2, 2, 1}},
           {"Odd", "", {4, -1, 1}}});

const ConfigModel Target = Model({AnySize, Small}, {AnyDensity}, {Touch},
                                 {{"Base", "", {0, 0, 0}}, {"Phone", "", {1, 0, 0}}});

} // namespace

Q_DECLARE_METATYPE(ConfigModel)
Q_DECLARE_METATYPE(SameName)

class ModelTest : public QObject
{
    Q_OBJECT

private slots:
    // Users fall back to entry 0 and keep the removed value's effect in their arguments;
    // later choices move up with the entries.
    void removeOption()
    {
        ConfigModel model{Sections(), Profiles};
        RemoveOption(model, OptionKind::Resolution, 1);
        QCOMPARE(model.profiles,
                 (QList<Profile>{{"Base", "", {0, 0, 0}},
                                 {"Phone", " -windowsize 320x480", {0, 2, 0}},
                                 {"Tablet", " -t", {1, 3, 1}},
                                 {"Watch", " -b  -windowsize 320x480", {0, 2, 1}}}));
        RemoveOption(model, OptionKind::PixelDensity, 3);
        QCOMPARE(model.profiles[2], (Profile{"Tablet", " -t  -ppi 240", {1, 0, 1}}));
        QList<ConfigSection> expected = Sections();
        expected[1].entries.removeAt(1);
        expected[2].entries.removeAt(3);
        QCOMPARE(model.sections, expected);
    }

    void profileValue()
    {
        // Trimmed of Unicode spaces too, inner spacing kept.
        QCOMPARE(Config::ProfileValue(Sections(),
                                      {"p", QStringLiteral(" \u00a0-a  -b\t\u2003"), {1, 2, 1}}),
                 "[Resolution] 1 [PixelDensity] 2 [Input] 1 -a  -b");
        QCOMPARE(Config::ProfileValue(Sections(), {"p", "", {-2147483647 - 1, 2147483647, -1}}),
                 "[Resolution] -2147483648 [PixelDensity] 2147483647 [Input] -1 ");
    }

    // The command string and the program and arguments actually started must agree.
    void launchCommand()
    {
        const QString program = u'"' + Emulator + QStringLiteral("\" ");
        const LaunchCommand phone =
            BuildLaunchCommand(Emulator, Sections(), {"Phone HD", "  -gpu on", {1, 3, 1}});
        QCOMPARE(phone.command, program + " -windowsize 320x480 -ppi 240 -input mouse "
                                          "-profile-name \"Phone HD\"   -gpu on");
        QCOMPARE(phone.program, Emulator);
        QCOMPARE(phone.arguments,
                 (QStringList{"-windowsize", "320x480", "-ppi", "240", "-input", "mouse",
                              "-profile-name", "Phone HD", "-gpu", "on"}));
        // An index outside its section, here just past its end, gives no value.
        const LaunchCommand odd = BuildLaunchCommand(Emulator, Sections(), {"p", "", {4, -1, 1}});
        QCOMPARE(odd.command, program + " -input mouse -profile-name \"p\" ");
        // Unescaped, inner quotes end and reopen the quoted run: one argument, no quotes.
        const LaunchCommand quoted =
            BuildLaunchCommand(Emulator, Sections(), {"Phone \"HD\" 2", "", {0, 0, 0}});
        QCOMPARE(quoted.command, program + " -profile-name \"Phone \"HD\" 2\" ");
        QCOMPARE(quoted.arguments, (QStringList{"-profile-name", "Phone HD 2"}));
    }

    void renameFault()
    {
        const QList<Profile> profiles = Named({"Base", "Phone", "Tablet"});
        QCOMPARE(RenameFault(profiles, 1, "Phone"), NameFault::None); // its own name
        // Names match exactly: case and blanks make another name.
        QCOMPARE(RenameFault(profiles, 1, "base"), NameFault::None);
        QCOMPARE(RenameFault(profiles, 1, " Base "), NameFault::None);
        QCOMPARE(RenameFault(profiles, 1, "   "), NameFault::None);
        QCOMPARE(RenameFault(profiles, 1, "Base"), NameFault::Taken);
        QCOMPARE(RenameFault(profiles, 1, ""), NameFault::Empty);
        QCOMPARE(RenameFault(profiles, 1, "Phone \"HD\""), NameFault::Quote);
        // The file would read it back as two lines.
        QCOMPARE(RenameFault(profiles, 1, "Phone\nHD"), NameFault::Unreadable);
    }

    void duplicate_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("copyName"); // of Phone, row 1
        QTest::newRow("copy taken, numbered from 2")
            << QStringList{"Base", "Phone", "Phone copy"} << "Phone copy 2";
        QTest::newRow("numbers taken elsewhere in the list")
            << QStringList{"Phone copy 2", "Phone", "Phone copy", "Phone copy 3"} << "Phone copy 4";
    }

    void duplicate()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, copyName);
        QList<Profile> profiles = Named(names);
        QList<Profile> expected = profiles;
        expected.insert(2, {copyName, profiles[1].arguments, {1, 0, 1}});

        QCOMPARE(DuplicateProfile(profiles, 1), 2);
        QCOMPARE(profiles, expected);
    }

    void move_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("delta");
        QTest::addColumn<int>("target"); // -1: refused, nothing moves
        QTest::newRow("two rows at once") << 3 << -2 << 1;
        QTest::newRow("into the base row") << 1 << -1 << -1;
        QTest::newRow("the base row down") << 0 << 1 << -1;
        QTest::newRow("past the last row") << 3 << 1 << -1;
        QTest::newRow("row beyond the list") << 4 << -1 << -1;
        QTest::newRow("no row") << -1 << 1 << -1;
    }

    void move()
    {
        QFETCH(int, row);
        QFETCH(int, delta);
        QFETCH(int, target);
        QList<Profile> profiles = Named({"Base", "A", "B", "C"});
        QList<Profile> expected = profiles;
        if (target >= 0)
            expected.move(row, target);

        QCOMPARE(MoveTarget(profiles, row, delta), target);
        QCOMPARE(MoveProfile(profiles, row, delta), target);
        QCOMPARE(profiles, expected);
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
        QTest::addColumn<SameName>("rule");

        const OptionEntry otherSmall{"Small", " -windowsize 321x480"};
        const OptionEntry smallRenamed{"Little", Small.value};
        QTest::newRow("same key, other value: a new option")
            << Entries{otherSmall} << QList<Profile>{{"New", "", {0, 0, 0}}}
            << Entries{AnySize, Small, otherSmall} << QList<Profile>{{"New", "", {2, 0, 0}}}
            << QStringList() << SameName::AddRenamed;
        QTest::newRow("same value, other key: a new option")
            << Entries{smallRenamed} << QList<Profile>{{"New", "", {0, 0, 0}}}
            << Entries{AnySize, Small, smallRenamed} << QList<Profile>{{"New", "", {2, 0, 0}}}
            << QStringList() << SameName::AddRenamed;
        QTest::newRow("a name the target has keeps the target's")
            << Entries{Small} << QList<Profile>{{"Phone", " -x", {0, 0, 0}}, {"New", "", {0, 0, 0}}}
            << Entries{AnySize, Small} << QList<Profile>{{"New", "", {1, 0, 0}}}
            << QStringList{"Phone"} << SameName::KeepTarget;
        QTest::newRow("taken name renamed, twice; identical to a renamed one skipped")
            << Entries{AnySize}
            << QList<Profile>{{"Phone", "", {0, 0, 0}},
                              {"Phone", " -x", {0, 0, 0}},
                              {"Phone", "", {0, 0, 0}}}
            << Entries{AnySize, Small}
            << QList<Profile>{{"Phone (2)", "", {0, 0, 0}}, {"Phone (3)", " -x", {0, 0, 0}}}
            << QStringList{"Phone"} << SameName::AddRenamed;
        QTest::newRow("arguments compare trimmed, as they are stored")
            << Entries{Small} << QList<Profile>{{"Phone", "  ", {0, 0, 0}}}
            << Entries{AnySize, Small} << QList<Profile>() << QStringList{"Phone"}
            << SameName::AddRenamed;
        QTest::newRow("a choice outside the source's options chooses nothing")
            << Entries{Small} << QList<Profile>{{"Far", "", {1, 0, 0}}, {"Neg", "", {-1, 0, 0}}}
            << Entries{AnySize, Small}
            << QList<Profile>{{"Far", "", {-1, 0, 0}}, {"Neg", "", {-1, 0, 0}}} << QStringList()
            << SameName::AddRenamed;
    }

    void mergeModel()
    {
        QFETCH(Entries, sourceResolutions);
        QFETCH(QList<Profile>, sourceProfiles);
        QFETCH(Entries, resolutions);
        QFETCH(QList<Profile>, added);
        QFETCH(QStringList, skipped);
        QFETCH(SameName, rule);

        ConfigModel target = Target;
        const MergeReport report = MergeModel(
            target, Model(sourceResolutions, {AnyDensity}, {Touch}, sourceProfiles), rule);
        const Entries& merged = target.sections[SectionIndex(OptionKind::Resolution)].entries;
        QCOMPARE(merged, resolutions);
        QCOMPARE(report.addedOptions[int(OptionKind::Resolution)], resolutions.mid(2));
        // Nothing the target held moves or changes.
        QCOMPARE(target.profiles, Target.profiles + added);
        QCOMPARE(report.skipped, skipped);
    }
};

QTEST_GUILESS_MAIN(ModelTest)
#include "tst_model.moc"
