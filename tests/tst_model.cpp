// The rules the window and the tools share, without a window: which profiles use an option,
// the repair when one goes away, the text a profile is stored as, and the command a launch
// starts.
#include "model.h"
#include "records.h"

#include <QTest>

namespace {

// Resolution 1 and Pixel Density 2 have two users, later entries have users too, and
// Resolution 3 and Pixel Density 1 have none.
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
    void lookups()
    {
        QCOMPARE(ProfilesUsingOption(Profiles, OptionKind::Resolution, 1),
                 (QStringList{"Phone", "Watch"}));
        QCOMPARE(ProfilesUsingOption(Profiles, OptionKind::PixelDensity, 1), QStringList());
        QCOMPARE(ProfilesUsingOption(Profiles, OptionKind::Input, 1),
                 (QStringList{"Tablet", "Watch"}));
        // Names match exactly: no case folding, no trimming.
        QCOMPARE(FindProfile(Profiles, "Tablet"), 2);
        QCOMPARE(FindProfile(Profiles, "base"), -1);
        QCOMPARE(FindProfile(Profiles, " Base "), -1);
    }

    void removeOption_data()
    {
        QTest::addColumn<OptionKind>("kind");
        QTest::addColumn<int>("index");
        QTest::addColumn<QList<Profile>>("profiles");

        // Users fall back to entry 0 and keep the removed value's effect in their arguments.
        QTest::newRow("used resolution")
            << OptionKind::Resolution << 1
            << QList<Profile>{{"Base", "", {0, 0, 0}},
                              {"Phone", " -windowsize 320x480", {0, 2, 0}},
                              {"Tablet", " -t", {1, 3, 1}},
                              {"Watch", " -b  -windowsize 320x480", {0, 2, 1}}};
        QTest::newRow("unused density before used ones")
            << OptionKind::PixelDensity << 1
            << QList<Profile>{{"Base", "", {0, 0, 0}},
                              {"Phone", "", {1, 1, 0}},
                              {"Tablet", " -t", {2, 2, 1}},
                              {"Watch", " -b", {1, 1, 1}}};
        QTest::newRow("used last density") << OptionKind::PixelDensity << 3
                                           << QList<Profile>{{"Base", "", {0, 0, 0}},
                                                             {"Phone", "", {1, 2, 0}},
                                                             {"Tablet", " -t  -ppi 240", {2, 0, 1}},
                                                             {"Watch", " -b", {1, 2, 1}}};
    }

    void removeOption()
    {
        QFETCH(OptionKind, kind);
        QFETCH(int, index);
        QFETCH(QList<Profile>, profiles);
        QList<ConfigSection> expectedSections = Sections();
        expectedSections[SectionIndex(kind)].entries.removeAt(index);

        QList<ConfigSection> sections = Sections();
        QList<Profile> repaired = Profiles;
        RemoveOption(sections, repaired, kind, index);
        QCOMPARE(repaired, profiles);
        QCOMPARE(sections, expectedSections);
    }

    void profileValue_data()
    {
        QTest::addColumn<Profile>("profile");
        QTest::addColumn<QString>("value");
        QTest::newRow("arguments trimmed, inner spacing kept")
            << Profile{"p", " \t-a  -b\t ", {1, 2, 1}}
            << "[Resolution] 1 [PixelDensity] 2 [Input] 1 -a  -b";
        QTest::newRow("Unicode spaces trimmed")
            << Profile{"p", QStringLiteral("\u00a0-x\u2003"), {0, 0, 0}}
            << "[Resolution] 0 [PixelDensity] 0 [Input] 0 -x";
        QTest::newRow("32-bit extremes, no arguments")
            << Profile{"p", "", {-2147483647 - 1, 2147483647, -1}}
            << "[Resolution] -2147483648 [PixelDensity] 2147483647 [Input] -1 ";
    }

    void profileValue()
    {
        QFETCH(Profile, profile);
        QFETCH(QString, value);
        QCOMPARE(Config::ProfileValue(Sections(), profile), value);
    }

    void launchCommand_data()
    {
        QTest::addColumn<Profile>("profile");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QStringList>("arguments");

        const QString program = u'"' + Emulator + QStringLiteral("\" ");
        QTest::newRow("chosen values, name with a blank, arguments as they stand")
            << Profile{"Phone HD", "  -gpu on", {1, 3, 1}}
            << program +
                   " -windowsize 320x480 -ppi 240 -input mouse -profile-name \"Phone HD\"   -gpu on"
            << QStringList{"-windowsize", "320x480",       "-ppi",     "240",  "-input",
                           "mouse",       "-profile-name", "Phone HD", "-gpu", "on"};
        QTest::newRow("index outside its section gives no value")
            << Profile{"p", "", {99, -1, 1}} << program + " -input mouse -profile-name \"p\" "
            << QStringList{"-input", "mouse", "-profile-name", "p"};
        // Unescaped, inner quotes end and reopen the quoted run: one argument, no quotes.
        QTest::newRow("quotes inside the name") << Profile{"Phone \"HD\" 2", "", {0, 0, 0}}
                                                << program + " -profile-name \"Phone \"HD\" 2\" "
                                                << QStringList{"-profile-name", "Phone HD 2"};
        QTest::newRow("empty name and empty quoted argument dropped")
            << Profile{"", "\"\" -x \"a b\"", {0, 0, 0}}
            << program + " -profile-name \"\" \"\" -x \"a b\""
            << QStringList{"-profile-name", "-x", "a b"};
        QTest::newRow("Unicode spaces separate too")
            << Profile{QStringLiteral("Phone\u00a0HD"), QStringLiteral("-a\u00a0-b"), {0, 0, 0}}
            << program + QStringLiteral(" -profile-name \"Phone\u00a0HD\" -a\u00a0-b")
            << QStringList{"-profile-name", QStringLiteral("Phone\u00a0HD"), "-a", "-b"};
    }

    // The command string and the program and arguments actually started must agree.
    void launchCommand()
    {
        QFETCH(Profile, profile);
        QFETCH(QString, command);
        QFETCH(QStringList, arguments);
        const LaunchCommand launch = BuildLaunchCommand(Emulator, Sections(), profile);
        QCOMPARE(launch.command, command);
        QCOMPARE(launch.program, Emulator);
        QCOMPARE(launch.arguments, arguments);
    }
};

QTEST_GUILESS_MAIN(ModelTest)
#include "tst_model.moc"
