// The rules the window and the tools share, without a window: the repair when an option goes
// away, the text a profile is stored as, the command a launch starts, the profile list menu's
// rules (names, duplicates, moves), and moving profiles between models.
#include "fileformat.h"
#include "launchcommand.h"
#include "profilerules.h"
#include "profiletransfer.h"
#include "records.h"
#include "testenv.h"

#include <QTest>

namespace {

// TestConfig's options: four resolutions, four densities, two inputs.
QList<ConfigSection> Sections()
{
    QList<ConfigSection> sections = Config::NewSections();
    Config::ReadText(QString::fromUtf8(TestConfig()), sections);
    return sections;
}

const QString Emulator = QStringLiteral("/opt/Nimbra Mobile/emulator");

QList<Profile> Named(const QStringList& names)
{
    QList<Profile> profiles;
    for (int i = 0; i < names.size(); ++i)
        profiles.append({names[i], QStringLiteral(" -n %1").arg(i), {i, 0, 1}});
    return profiles;
}

using Entries = QList<OptionEntry>;
using Profiles = QList<Profile>;

const OptionEntry Default = {"Default", ""};
const OptionEntry Small = {"Small", " -windowsize 320x480"};
const OptionEntry Large = {"Large", " -windowsize 800x1280"};
const OptionEntry Mdpi = {"mdpi", " -ppi 160"};
const OptionEntry Touch = {"Touch", ""};
const OptionEntry Mouse = {"Mouse", " -input mouse"};

ConfigModel Model(const Entries& resolutions, const Entries& densities, const Entries& inputs,
                  const Profiles& profiles)
{
    return {{{"[Profile]", {}},
             {"[Resolution]", resolutions},
             {"[PixelDensity]", densities},
             {"[Input]", inputs}},
            profiles};
}

const ConfigModel Target = Model({Default, Small}, {Default}, {Touch},
                                 {{"Base", "", {0, 0, 0}}, {"Phone", "", {1, 0, 0}}});

} // namespace

Q_DECLARE_METATYPE(SameName)

class ModelTest : public QObject
{
    Q_OBJECT

private slots:
    // Users fall back to entry 0 and keep the removed value's effect in their arguments;
    // later choices move up with the entries.
    void removeOption()
    {
        ConfigModel model{Sections(),
                          {{"Base", "", {0, 0, 0}},
                           {"Phone", "", {1, 2, 0}},
                           {"Tablet", " -t", {2, 3, 1}},
                           {"Watch", " -b", {1, 2, 1}}}};
        RemoveOption(model, OptionKind::Resolution, 1);
        RemoveOption(model, OptionKind::PixelDensity, 3);
        QCOMPARE(model.profiles,
                 (QList<Profile>{{"Base", "", {0, 0, 0}},
                                 {"Phone", " -windowsize 320x480", {0, 2, 0}},
                                 {"Tablet", " -t  -ppi 240", {1, 0, 1}},
                                 {"Watch", " -b  -windowsize 320x480", {0, 2, 1}}}));
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
        // Its own name is free, and names match exactly: case and blanks make another name.
        for (const char* name : {"Phone", "base", " Base ", "   "})
            QCOMPARE(RenameFault(profiles, 1, name), NameFault::None);
        QCOMPARE(RenameFault(profiles, 1, "Base"), NameFault::Taken);
        QCOMPARE(RenameFault(profiles, 1, ""), NameFault::Empty);
        QCOMPARE(RenameFault(profiles, 1, "Phone \"HD\""), NameFault::Quote);
        // The file would read it back as two lines.
        QCOMPARE(RenameFault(profiles, 1, "Phone\nHD"), NameFault::Unreadable);
    }

    // The copy goes below its profile, numbered from 2 past every name taken anywhere.
    void duplicate()
    {
        QList<Profile> profiles = Named({"Phone copy 3", "Phone", "Phone copy"});
        QList<Profile> expected = profiles;
        expected.insert(2, {"Phone copy 2", profiles[1].arguments, {1, 0, 1}});
        expected.insert(2, {"Phone copy 4", profiles[1].arguments, {1, 0, 1}});
        QCOMPARE(DuplicateProfile(profiles, 1), 2);
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

    // Only the options the named profiles use, in their old order, renumbered; the profiles in
    // the order named. Huge and ldpi have no users; Base alone uses the defaults; Odd chooses
    // outside two sections, one just past the end.
    void extractProfiles()
    {
        const ConfigModel source =
            Model({Default, Small, Large, {"Huge", " -windowsize 1536x2048"}},
                  {Default, {"ldpi", " -ppi 120"}, Mdpi}, {Touch, Mouse},
                  {{"Base", "", {0, 0, 0}},
                   {"Phone", " -a", {1, 2, 0}},
                   {"Tablet", "", {2, 2, 1}},
                   {"Odd", "", {4, -1, 1}}});
        const ConfigModel expected = Model(
            {Small, Large}, {Mdpi}, {Touch, Mouse},
            {{"Odd", "", {-1, -1, 1}}, {"Tablet", "", {1, 0, 1}}, {"Phone", " -a", {0, 0, 0}}});
        const ConfigModel exported = ExtractProfiles(source, {3, 2, 1});
        QCOMPARE(exported.profiles, expected.profiles);
        QCOMPARE(exported.sections, expected.sections);
    }

    void mergeModel_data()
    {
        QTest::addColumn<SameName>("rule");
        QTest::addColumn<Profiles>("added");
        QTest::addColumn<QStringList>("skipped");
        const Profiles kept{{"New", "", {2, 0, 0}},
                            {"Newer", "", {3, 0, 0}},
                            {"Far", "", {-1, 0, 0}},
                            {"Neg", "", {-1, 0, 0}}};
        QTest::newRow("a name the target has keeps the target's")
            << SameName::KeepTarget << kept << QStringList(4, "Phone");
        QTest::newRow("taken name renamed, twice; the same as the target's (arguments trimmed, as "
                      "stored) or as a renamed one skipped")
            << SameName::AddRenamed
            << kept + Profiles{{"Phone (2)", "", {0, 0, 0}}, {"Phone (3)", " -x", {0, 0, 0}}}
            << QStringList{"Phone", "Phone"};
    }

    // Options are shared only when key and value both agree. A choice outside the source's
    // options, one past the end or negative, chooses nothing.
    void mergeModel()
    {
        QFETCH(SameName, rule);
        QFETCH(Profiles, added);
        QFETCH(QStringList, skipped);
        const Entries newOptions{{"Small", " -windowsize 321x480"}, {"Little", Small.value}};
        const ConfigModel source = Model(newOptions + Entries{Default, Small}, {Default}, {Touch},
                                         {{"New", "", {0, 0, 0}},
                                          {"Newer", "", {1, 0, 0}},
                                          {"Far", "", {4, 0, 0}},
                                          {"Neg", "", {-1, 0, 0}},
                                          {"Phone", "", {2, 0, 0}},
                                          {"Phone", " -x", {2, 0, 0}},
                                          {"Phone", "", {2, 0, 0}},
                                          {"Phone", "  ", {3, 0, 0}}});
        ConfigModel target = Target;
        const MergeReport report = MergeModel(target, source, rule);
        QCOMPARE(target.Options(OptionKind::Resolution), Entries({Default, Small}) + newOptions);
        QCOMPARE(report.addedOptions[int(OptionKind::Resolution)], newOptions);
        // Nothing the target held moves or changes.
        QCOMPARE(target.profiles, Target.profiles + added);
        QCOMPARE(report.skipped, skipped);
    }
};

QTEST_GUILESS_MAIN(ModelTest)
#include "tst_model.moc"
