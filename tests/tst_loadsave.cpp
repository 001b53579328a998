// Loading and saving Launcher.ini through the main window: the version check and its warnings,
// the fallback to the default file, and the exact bytes the saver writes.
#include "filelocations.h"
#include "launcher.h"
#include "modalanswerer.h"
#include "testenv.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString WarningTitle = QStringLiteral("Nimbra Mobile Emulator Launcher Warning");

QStringList Dump(const QList<Profile>& profiles)
{
    QStringList lines;
    for (const Profile& p : profiles) {
        const int* k = p.optionIndex;
        lines.append(p.name + QString::asprintf("|%d %d %d|", k[0], k[1], k[2]) + p.arguments);
    }
    return lines;
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void emptySectionsGetDefault();
    void outdatedUserFileRenamed_data();
    void outdatedUserFileRenamed();
    void outdatedDefaultFileEmptied();
    void startupFallback_data();
    void startupFallback();
    void savedFileBytes();
    void saveFolder();
    void roundTrip_data();
    void roundTrip();

private:
    QTemporaryDir m_files;
    QStringList m_defaultProfiles;
};

void MainWindowTest::initTestCase()
{
    UsePrivateDataLocation();
    MainWindow window;
    QVERIFY(window.LoadConfig(GetFileName(DefaultConfigFile), false));
    m_defaultProfiles = Dump(window.m_profiles);
}

void MainWindowTest::init()
{
    QDir(QFileInfo(UserConfigPath()).path()).removeRecursively();
}

// Only empty sections get the "Default" entry; the profiles come from section 0 after that.
void MainWindowTest::emptySectionsGetDefault()
{
    MainWindow window;
    const QByteArray bytes = "$VERSION\t106\n[Resolution]\n\"r\"\t\"\"\n[Input]\n";
    QVERIFY(WriteText(UserConfigPath(), bytes));
    ModalAnswerer answerer;
    answerer.pressButton("OK");

    QVERIFY(window.LoadConfig(UserConfigPath(), true));
    QCOMPARE(answerer.seen, QStringList());
    QCOMPARE(DumpEntries(window.m_sections),
             (QStringList{"0|Default|", "1|r|", "2|Default|", "3|Default|"}));
    QCOMPARE(Dump(window.m_profiles), QStringList{"Default|0 0 0|"});
    QCOMPARE(ReadBytes(UserConfigPath()), bytes);
}

void MainWindowTest::outdatedUserFileRenamed_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("renamedTo");
    QTest::addColumn<QStringList>("entries");

    QTest::newRow("no version line")
        << QByteArray("[Input]\n\"a\"\t\"b\"\n") << "Launcher.0.ini" << QStringList{"3|a|b"};
    QTest::newRow("version 107") << QByteArray("$VERSION\t107\n[Profile]\n\"p\"\t\"[Input] 1 \"\n")
                                 << "Launcher.107.ini" << QStringList{"0|p|[Input] 1 "};
}

// The sections keep what was read and the profiles are left alone: the caller loads the
// default file next, which replaces both.
void MainWindowTest::outdatedUserFileRenamed()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, renamedTo);
    QFETCH(QStringList, entries);
    MainWindow window;
    const QStringList profiles = Dump(window.m_profiles);
    QVERIFY(WriteText(UserConfigPath(), bytes));
    ModalAnswerer answerer;
    answerer.pressButton("OK");

    QVERIFY(!window.LoadConfig(UserConfigPath(), true));
    const QString renamed = QFileInfo(UserConfigPath()).path() + u'/' + renamedTo;
    QCOMPARE(answerer.seen,
             QStringList{WarningTitle +
                         "|Your Launcher.ini configuration file is out of date and will not be "
                         "used. It has been renamed to " +
                         renamed + " to make place for a new configuration file."});
    QVERIFY(!QFileInfo::exists(UserConfigPath()));
    QCOMPARE(ReadBytes(renamed), bytes);
    QCOMPARE(DumpEntries(window.m_sections), entries);
    QCOMPARE(window.m_sections.size(), Config::SectionCount);
    QCOMPARE(Dump(window.m_profiles), profiles);
}

// An out-of-date default file is not renamed; what was read from it is dropped.
void MainWindowTest::outdatedDefaultFileEmptied()
{
    MainWindow window;
    const QString path = m_files.filePath("LauncherDefault.ini");
    const QByteArray bytes =
        "$VERSION 107\n[Profile]\n\"p\"\t\"[Input] 1 -x\"\n[Resolution]\n\"r\"\t\"\"\n";
    QVERIFY(WriteText(path, bytes));
    ModalAnswerer answerer;
    answerer.pressButton("OK");

    QVERIFY(window.LoadConfig(path, false));
    QCOMPARE(answerer.seen, QStringList{WarningTitle + "|Config file is out of date"});
    QCOMPARE(DumpEntries(window.m_sections),
             (QStringList{"0|Default|", "1|Default|", "2|Default|", "3|Default|"}));
    QCOMPARE(Dump(window.m_profiles), QStringList{"Default|0 0 0|"});
    QCOMPARE(ReadBytes(path), bytes);
}

void MainWindowTest::startupFallback_data()
{
    QTest::addColumn<QString>("userFile");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("userProfiles");
    QTest::addColumn<int>("warnings");

    const QByteArray mine = "[Profile]\n\"Mine\"\t\"[Input] 1 \"\n";
    QTest::newRow("accepted user file") << "file"
                                        << "$VERSION 106\n" + mine << true << 0;
    QTest::newRow("missing user file") << "missing" << QByteArray() << false << 0;
    QTest::newRow("unreadable user file") << "folder" << QByteArray() << false << 0;
    QTest::newRow("out-of-date user file") << "file"
                                           << "$VERSION 107\n" + mine << false << 1;
}

void MainWindowTest::startupFallback()
{
    QFETCH(QString, userFile);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, userProfiles);
    QFETCH(int, warnings);
    if (userFile == "file")
        QVERIFY(WriteText(UserConfigPath(), bytes));
    else if (userFile == "folder")
        QVERIFY(QDir().mkpath(UserConfigPath()));
    ModalAnswerer answerer;
    answerer.pressButton("OK");

    MainWindow window;
    QCOMPARE(answerer.seen.size(), warnings);
    QCOMPARE(Dump(window.m_profiles),
             userProfiles ? QStringList{"Mine|0 0 1|"} : m_defaultProfiles);
}

void MainWindowTest::savedFileBytes()
{
    MainWindow window;
    window.m_sections = Config::NewSections();
    window.m_sections[0].entries = {{"Stale", "[Resolution] 9 "}};
    window.m_sections[1].entries = {{"Emulator default", ""},
                                    {"Phone (320x480)", " -windowsize 320x480"}};
    window.m_sections[2].entries = {{"Größe", " -ppi 160"}};
    window.m_sections[3].entries = {{"Touch", ""}, {"Tab\there", "back\\tslash"}};
    window.m_profiles = {{"Default", "", {0, 0, 0}},
                         {"Args", " -a  -b ", {1, 0, 1}},
                         {"Extremes", "\t-x\t", {-2147483647 - 1, 2147483647, 0}}};

    QVERIFY(window.SaveConfig());
    const QByteArray expected =
        "# A configuration out for the Nimbra Mobile Launcher.\n"
        "# It makes it easy to start multiple instances with various command line\n"
        "# options.\n"
        "#\n"
        "# Note that the arguments are just concatenated together, so start new\n"
        "# arguments with a space in the string to avoid errors.\n"
        "\n"
        "$VERSION\t106\n"
        "\n"
        "[Profile]\n"
        "\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
        "\"Args\"\t\"[Resolution] 1 [PixelDensity] 0 [Input] 1 -a  -b\"\n"
        "\"Extremes\"\t\"[Resolution] -2147483648 [PixelDensity] 2147483647 [Input] 0 -x\"\n"
        "\n"
        "[Resolution]\n"
        "\"Emulator default\"\t\"\"\n"
        "\"Phone (320x480)\"\t\" -windowsize 320x480\"\n"
        "\n"
        "[PixelDensity]\n"
        "\"Gr\xc3\xb6\xc3\x9f"
        "e\"\t\" -ppi 160\"\n"
        "\n"
        "[Input]\n"
        "\"Touch\"\t\"\"\n"
        "\"Tab\there\"\t\"back\\tslash\"\n"
        "\n";
    QCOMPARE(ReadBytes(UserConfigPath()), expected);
    // Section 0 is rebuilt from the profiles.
    QCOMPARE(DumpEntries(window.m_sections).mid(0, 3),
             (QStringList{
                 "0|Default|[Resolution] 0 [PixelDensity] 0 [Input] 0 ",
                 "0|Args|[Resolution] 1 [PixelDensity] 0 [Input] 1 -a  -b",
                 "0|Extremes|[Resolution] -2147483648 [PixelDensity] 2147483647 [Input] 0 -x"}));
}

// A model missing a section is not saved, and nothing is created for it; a whole one creates
// the folder.
void MainWindowTest::saveFolder()
{
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    MainWindow window;
    QVERIFY(QDir(dataHome).removeRecursively());

    const ConfigSection input = window.m_sections.takeLast();
    QVERIFY(!window.SaveConfig());
    QVERIFY(!QFileInfo::exists(dataHome));

    window.m_sections.append(input);
    QVERIFY(window.SaveConfig());
    QVERIFY(ReadBytes(UserConfigPath()).contains("\n$VERSION\t106\n"));
}

void MainWindowTest::roundTrip_data()
{
    QTest::addColumn<QString>("source");

    const QString quirky = m_files.filePath("quirky.ini");
    QVERIFY(WriteText(quirky, "$VERSION 104\n"
                              "[Profile]\n"
                              "\"Spaced\"\t\"[Input] 1   -a    -b  [Resolution] 2\"\n"
                              "\"Spaced\"\t\"\"\n"
                              "\"Tab\\tname\"\t\"-x \\t\"\n"
                              "[Other]\n"
                              "\"after other\"\t\"v\"\n"
                              "[Resolution]\n"
                              "\"Quote\"\t\"say \"hi\"\"\n"
                              "  # not a comment\n"
                              "\"\"\t\"empty key\"\n"
                              "[Input]\n"
                              "\"Touch\"\t\"\"\n"));
    QTest::newRow("shipped default file") << GetFileName(DefaultConfigFile);
    QTest::newRow("quirky file") << quirky;
}

// What a load reads, a save and a second load read again, and the second save writes the
// same bytes as the first.
void MainWindowTest::roundTrip()
{
    QFETCH(QString, source);
    MainWindow window;
    QVERIFY(window.LoadConfig(source, false));
    const QStringList profiles = Dump(window.m_profiles);
    const QStringList options = DumpEntries(window.m_sections.mid(1));

    QVERIFY(window.SaveConfig());
    const QByteArray saved = ReadBytes(UserConfigPath());
    QVERIFY(window.LoadConfig(UserConfigPath(), true));
    QCOMPARE(Dump(window.m_profiles), profiles);
    QCOMPARE(DumpEntries(window.m_sections.mid(1)), options);

    QVERIFY(window.SaveConfig());
    QCOMPARE(ReadBytes(UserConfigPath()), saved);
}

QTEST_MAIN(MainWindowTest)
#include "tst_loadsave.moc"
