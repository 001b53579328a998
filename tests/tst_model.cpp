// The rules the window and the tools share, without a window: the repair when an option goes
// away, the text a profile is stored as, and the command a launch starts.
#include "model.h"
#include "records.h"

#include <QTest>

namespace {

// Resolution 1 has two users; later entries have users too.
QList<ConfigSection> Sections()
{
    QList<ConfigSection> sections = Config::NewSections();
    sections[1].entries = {{"Default", ""},
                           {"Small", " -windowsize 320x480"},
                           {"Large", " -windowsize 800x1280"},
                           {"Huge", " -windowsize 1536x2048"}};
    sections[2].entries = {
        {"Default", ""}, {"ldpi", " -ppi 120"}, {"mdpi", " -ppi 160"}, {"hdpi", " -ppi 240"}};
    sections[3].entries = {{"Touch", ""}, {"Mouse", " -input mouse"}};
    return sections;
}

const QList<Profile> Profiles = {{"Base", "", {0, 0, 0}},
                                 {"Phone", "", {1, 2, 0}},
                                 {"Tablet", " -t", {2, 3, 1}},
                                 {"Watch", " -b", {1, 2, 1}}};

const QString Emulator = QStringLiteral("/opt/Nimbra Mobile/emulator");

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
};

QTEST_GUILESS_MAIN(ModelTest)
#include "tst_model.moc"
