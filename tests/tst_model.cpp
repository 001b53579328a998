// The rules the window and the tools share, without a window: the repair when an option goes
// away, the text a profile is stored as, the command a launch starts, and the profile list
// menu's rules: which names a profile may take, the name and place of a duplicate, and where
// a profile may move.
#include "model.h"
#include "records.h"
#include "testenv.h"

#include <QTest>

Q_DECLARE_METATYPE(NameFault)

namespace {

// EditingConfig's options, and below its profiles: resolution 1 has two users; later entries
// have users too.
QList<ConfigSection> Sections()
{
    QList<ConfigSection> sections = Config::NewSections();
    Config::ReadText(QString::fromUtf8(EditingConfig()), sections);
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

} // namespace

class ModelTest : public QObject
{
    Q_OBJECT

private slots:
    void findProfileMatchesExactly()
    {
        QCOMPARE(FindProfile(Profiles, "Tablet"), 2);
        QCOMPARE(FindProfile(Profiles, " Base "), -1);
    }

    // Users fall back to entry 0 and keep the removed value's effect in their arguments;
    // later choices move up with the entries.
    void removeOption()
    {
        QList<ConfigSection> sections = Sections();
        QList<Profile> profiles = Profiles;
        RemoveOption(sections, profiles, OptionKind::Resolution, 1);
        QCOMPARE(profiles, (QList<Profile>{{"Base", "", {0, 0, 0}},
                                           {"Phone", " -windowsize 320x480", {0, 2, 0}},
                                           {"Tablet", " -t", {1, 3, 1}},
                                           {"Watch", " -b  -windowsize 320x480", {0, 2, 1}}}));
        RemoveOption(sections, profiles, OptionKind::PixelDensity, 3);
        QCOMPARE(profiles[2], (Profile{"Tablet", " -t  -ppi 240", {1, 0, 1}}));
        QList<ConfigSection> expected = Sections();
        expected[1].entries.removeAt(1);
        expected[2].entries.removeAt(3);
        QCOMPARE(sections, expected);
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
        // An index outside its section gives no value.
        const LaunchCommand odd = BuildLaunchCommand(Emulator, Sections(), {"p", "", {99, -1, 1}});
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
        QCOMPARE(RenameFault(profiles, 1, "base"), NameFault::None);
        QCOMPARE(RenameFault(profiles, 1, "   "), NameFault::None);
        QCOMPARE(RenameFault(profiles, 1, "Base"), NameFault::Taken);
        QCOMPARE(RenameFault(profiles, 1, "Phone \"HD\""), NameFault::Quote);
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
        QTest::newRow("the base row down") << 0 << 1 << -1;
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
};

QTEST_GUILESS_MAIN(ModelTest)
#include "tst_model.moc"
