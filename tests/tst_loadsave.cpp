// Loading and saving Launcher.ini through the main window: the version check and its warnings,
// the fallback to the default file, and the exact bytes the saver writes.
#include "filelocations.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString WarningTitle = QStringLiteral("Nimbra Mobile Emulator Launcher Warning");

using Entries = QList<QList<OptionEntry>>;

Entries EntriesOf(const QList<ConfigSection>& sections)
{
    Entries entries;
    for (const ConfigSection& section : sections)
        entries.append(section.entries);
    return entries;
}

} // namespace

class LoadSaveTest : public QObject
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
    QList<Profile> m_defaultProfiles;
};

void LoadSaveTest::initTestCase()
{
    UseFixtureAppFolder();
    UsePrivateDataLocation();
    MainWindow window;
    QVERIFY(window.LoadConfig(GetFileName(DefaultConfigFile), false));
    m_defaultProfiles = WindowFixture::Profiles(window);
}

void LoadSaveTest::init()
{
    QDir(QFileInfo(UserConfigPath()).path()).removeRecursively();
}

void LoadSaveTest::loadOutcome_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("user");
    QTest::addColumn<bool>("loaded");
    QTest::addColumn<QString>("renamedTo");
    QTest::addColumn<QStringList>("warnings");
    QTest::addColumn<Entries>("entries");
    QTest::addColumn<QList<Profile>>("profiles");

    const QList<OptionEntry> defaultEntry{{"Default", ""}};
    const Entries allDefault{defaultEntry, defaultEntry, defaultEntry, defaultEntry};
    const QList<Profile> defaultProfile{{"Default", "", {0, 0, 0}}};
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
        << Entries{defaultEntry, {{"r", ""}}, defaultEntry, defaultEntry} << defaultProfile;
    // An out-of-date user file keeps what was read and leaves the profiles alone: the caller
    // loads the default file next, which replaces both.
    QTest::newRow("user file without version")
        << QByteArray("[Input]\n\"a\"\t\"b\"\n") << true << false << "Launcher.0.ini"
        << renamed("Launcher.0.ini") << Entries{{}, {}, {}, {{"a", "b"}}} << m_defaultProfiles;
    QTest::newRow("user file version 107")
        << QByteArray("$VERSION\t107\n[Profile]\n\"p\"\t\"[Input] 1 \"\n") << true << false
        << "Launcher.107.ini" << renamed("Launcher.107.ini")
        << Entries{{{"p", "[Input] 1 "}}, {}, {}, {}} << m_defaultProfiles;
    // An out-of-date default file is not renamed; what was read from it is dropped.
    QTest::newRow("default file out of date")
        << QByteArray(
               "$VERSION 107\n[Profile]\n\"p\"\t\"[Input] 1 -x\"\n[Resolution]\n\"r\"\t\"\"\n")
        << false << true << QString() << QStringList{WarningTitle + "|Config file is out of date"}
        << allDefault << defaultProfile;
}

void LoadSaveTest::loadOutcome()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, user);
    QFETCH(bool, loaded);
    QFETCH(QString, renamedTo);
    QFETCH(QStringList, warnings);
    QFETCH(Entries, entries);
    QFETCH(QList<Profile>, profiles);
    const QString path = user ? UserConfigPath() : m_files.filePath("LauncherDefault.ini");
    MainWindow window;
    QVERIFY(WriteText(path, bytes));
    ModalAnswerer answerer;
    answerer.pressButton("OK");

    QCOMPARE(window.LoadConfig(path, user), loaded);
    QCOMPARE(answerer.seen, warnings);
    QCOMPARE(EntriesOf(WindowFixture::Sections(window)), entries);
    QCOMPARE(WindowFixture::Profiles(window), profiles);
    if (!renamedTo.isEmpty()) {
        QVERIFY(!QFileInfo::exists(path));
        QCOMPARE(ReadBytes(QFileInfo(path).path() + u'/' + renamedTo), bytes);
    } else {
        QCOMPARE(ReadBytes(path), bytes);
    }
}

void LoadSaveTest::startupFallback_data()
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

void LoadSaveTest::startupFallback()
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
    const QList<Profile> mine{{"Mine", "", {0, 0, 1}}};
    QCOMPARE(WindowFixture::Profiles(window), userProfiles ? mine : m_defaultProfiles);
}

void LoadSaveTest::savedFileBytes()
{
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    MainWindow window;
    QList<ConfigSection>& sections = WindowFixture::Sections(window);
    QVERIFY(QDir(dataHome).removeRecursively());
    // A model missing a section is not saved, and nothing is created for it.
    sections.removeLast();
    QVERIFY(!window.SaveConfig());
    QVERIFY(!QFileInfo::exists(dataHome));

    sections = Config::NewSections();
    sections[0].entries = {{"Stale", "[Resolution] 9 "}};
    sections[1].entries = {{"Emulator default", ""}, {"Phone (320x480)", " -windowsize 320x480"}};
    sections[2].entries = {{"Größe", " -ppi 160"}};
    sections[3].entries = {{"Touch", ""}, {"Tab\there", "back\\tslash"}};
    WindowFixture::Profiles(window) = {{"Default", "", {0, 0, 0}},
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

void LoadSaveTest::roundTrip_data()
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
void LoadSaveTest::roundTrip()
{
    QFETCH(QString, source);
    MainWindow window;
    QVERIFY(window.LoadConfig(source, false));
    const QList<Profile> profiles = WindowFixture::Profiles(window);
    const QList<ConfigSection> options = WindowFixture::Sections(window).mid(1);

    QVERIFY(window.SaveConfig());
    const QByteArray saved = ReadBytes(UserConfigPath());
    QVERIFY(window.LoadConfig(UserConfigPath(), true));
    QCOMPARE(WindowFixture::Profiles(window), profiles);
    QCOMPARE(WindowFixture::Sections(window).mid(1), options);

    QVERIFY(window.SaveConfig());
    QCOMPARE(ReadBytes(UserConfigPath()), saved);
}

QTEST_MAIN(LoadSaveTest)
#include "tst_loadsave.moc"
