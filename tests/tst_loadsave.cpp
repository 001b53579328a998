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
    void loadOutcome_data();
    void loadOutcome();
    void startupFallback_data();
    void startupFallback();
    void savedFileBytes();
    void roundTrip_data();
    void roundTrip();

private:
    QTemporaryDir m_files;
    QStringList m_defaultProfiles;
};

void MainWindowTest::initTestCase()
{
    UseFixtureAppFolder();
    UsePrivateDataLocation();
    MainWindow window;
    QVERIFY(window.LoadConfig(GetFileName(DefaultConfigFile), false));
    m_defaultProfiles = Dump(window.m_profiles);
}

void MainWindowTest::init()
{
    QDir(QFileInfo(UserConfigPath()).path()).removeRecursively();
}

void MainWindowTest::loadOutcome_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("user");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<QString>("renamedTo");
    QTest::addColumn<QStringList>("warnings");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("profiles");

    const QStringList allDefault{"0|Default|", "1|Default|", "2|Default|", "3|Default|"};
    const QString folder = QFileInfo(UserConfigPath()).path() + u'/';
    const auto renamed = [&](const QString& name) {
        return QStringList{WarningTitle +
                           "|Your Launcher.ini configuration file is out of date and will not "
                           "be used. It has been renamed to " +
                           folder + name + " to make place for a new configuration file."};
    };
    // Only empty sections get the "Default" entry; the profiles come from section 0 after that.
    QTest::newRow("empty sections get Default")
        << QByteArray("$VERSION\t106\n[Resolution]\n\"r\"\t\"\"\n[Input]\n") << true << true
        << QString() << QStringList()
        << QStringList{"0|Default|", "1|r|", "2|Default|", "3|Default|"}
        << QStringList{"Default|0 0 0|"};
    // An out-of-date user file keeps what was read and leaves the profiles alone: the caller
    // loads the default file next, which replaces both.
    QTest::newRow("user file without version")
        << QByteArray("[Input]\n\"a\"\t\"b\"\n") << true << false << "Launcher.0.ini"
        << renamed("Launcher.0.ini") << QStringList{"3|a|b"} << m_defaultProfiles;
    QTest::newRow("user file version 107")
        << QByteArray("$VERSION\t107\n[Profile]\n\"p\"\t\"[Input] 1 \"\n") << true << false
        << "Launcher.107.ini" << renamed("Launcher.107.ini") << QStringList{"0|p|[Input] 1 "}
        << m_defaultProfiles;
    // An out-of-date default file is not renamed; what was read from it is dropped.
    QTest::newRow("default file out of date")
        << QByteArray(
               "$VERSION 107\n[Profile]\n\"p\"\t\"[Input] 1 -x\"\n[Resolution]\n\"r\"\t\"\"\n")
        << false << true << QString() << QStringList{WarningTitle + "|Config file is out of date"}
        << allDefault << QStringList{"Default|0 0 0|"};
}

void MainWindowTest::loadOutcome()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, user);
    QFETCH(bool, loaded);
    QFETCH(QString, renamedTo);
    QFETCH(QStringList, warnings);
    QFETCH(QStringList, entries);
    QFETCH(QStringList, profiles);
    const QString path = user ? UserConfigPath() : m_files.filePath("LauncherDefault.ini");
    MainWindow window;
    QVERIFY(WriteText(path, bytes));
    ModalAnswerer answerer;
    answerer.pressButton("OK");

    QCOMPARE(window.LoadConfig(path, user), loaded);
    QCOMPARE(answerer.seen, warnings);
    QCOMPARE(DumpEntries(window.m_sections), entries);
    QCOMPARE(window.m_sections.size(), Config::SectionCount);
    QCOMPARE(Dump(window.m_profiles), profiles);
    if (!renamedTo.isEmpty()) {
        QVERIFY(!QFileInfo::exists(path));
        QCOMPARE(ReadBytes(QFileInfo(path).path() + u'/' + renamedTo), bytes);
    } else {
        QCOMPARE(ReadBytes(path), bytes);
    }
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
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    MainWindow window;
    QVERIFY(QDir(dataHome).removeRecursively());
    // A model missing a section is not saved, and nothing is created for it.
    window.m_sections.removeLast();
    QVERIFY(!window.SaveConfig());
    QVERIFY(!QFileInfo::exists(dataHome));

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
