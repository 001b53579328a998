// "&Launch" and "&Help", beside the stand-in emulator: the arguments a started emulator
// really receives, read back from the stand-in's record.
#include "filelocations.h"
#include "launcher.h"
#include "testenv.h"

#include <QComboBox>
#include <QDesktopServices>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Empty first values in the option rows, an empty section (it gets the empty "Default"
// entry) and a name with a blank.
const QByteArray LaunchConfig =
    "$VERSION\t106\n[Profile]\n"
    "\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 2 [Input] 0  -gpu on\"\n" +
    SizeAndDensitySections() + "[Input]\n";

constexpr int StartTimeout = 15000;

QList<QStringList> Recorded(const QString& recordPath)
{
    QList<QStringList> starts;
    for (const QByteArray& line : ReadBytes(recordPath).split('\n')) {
        if (line.isEmpty())
            continue;
        QStringList arguments;
        for (const QJsonValue& value : QJsonDocument::fromJson(line).array())
            arguments.append(value.toString());
        starts.append(arguments);
    }
    return starts;
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { m_opened.append(url); }

private slots:
    void initTestCase();
    void init();

    void passesChosenOptions_data();
    void passesChosenOptions();
    void everyClickStartsAnEmulator();
    void helpOpensShippedPage();

private:
    QTemporaryDir m_records;
    QString m_recordPath;
    QList<QUrl> m_opened;
};

void MainWindowTest::initTestCase()
{
    UseFixtureAppFolder();
    UsePrivateDataLocation();
    QVERIFY(m_records.isValid());
    QVERIFY2(QFileInfo(GetFileName(EmulatorFile)).isExecutable(), "stand-in emulator not built");
    qputenv("NIMBRA_STANDIN_QUIT", "1");
}

void MainWindowTest::init()
{
    QVERIFY(WriteText(UserConfigPath(), LaunchConfig));
    static int run = 0;
    m_recordPath = m_records.filePath(QStringLiteral("starts-%1.jsonl").arg(++run));
    qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(m_recordPath));
}

void MainWindowTest::passesChosenOptions_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("shownName"); // replaces the row's text when not null
    QTest::addColumn<int>("resolution");    // changed without Update when not -1
    QTest::addColumn<QStringList>("expected");

    const QStringList phone = {"-windowsize", "720x1280", "-ppi", "240", "-profile-name"};
    QTest::newRow("empty values, no arguments")
        << 0 << QString() << -1 << QStringList{"-profile-name", "Default"};
    QTest::newRow("name with a blank")
        << 1 << QString() << -1 << phone + QStringList{"Phone HD", "-gpu", "on"};
    QTest::newRow("combo box changed without Update")
        << 1 << QString() << 1 << QStringList{"-windowsize",   "320x480",  "-ppi", "240",
                                              "-profile-name", "Phone HD", "-gpu", "on"};
    // Unescaped, the inner quotes end and reopen the quoted name: one argument, no quotes.
    QTest::newRow("quote inside the name") << 1 << QStringLiteral("Phone \"HD\" 2") << -1
                                           << phone + QStringList{"Phone HD 2", "-gpu", "on"};
}

void MainWindowTest::passesChosenOptions()
{
    QFETCH(int, row);
    QFETCH(QString, shownName);
    QFETCH(int, resolution);
    QFETCH(QStringList, expected);

    MainWindow w(nullptr);
    QCOMPARE(w.m_sections[3].comboBox->currentText(), QStringLiteral("Default"));
    w.m_profileList->setCurrentRow(row);
    if (!shownName.isNull())
        w.m_profileList->currentItem()->setText(shownName);
    if (resolution >= 0)
        w.m_sections[1].comboBox->setCurrentIndex(resolution);
    const QString stored = w.GetProfileValue(w.m_profiles[row]);

    QTest::mouseClick(ButtonWithText(w, "&Launch"), Qt::LeftButton);
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(m_recordPath), QList<QStringList>{expected}, StartTimeout);
    // Launching reads the controls only.
    QCOMPARE(w.GetProfileValue(w.m_profiles[row]), stored);
}

void MainWindowTest::everyClickStartsAnEmulator()
{
    MainWindow w(nullptr);
    QTest::mouseClick(ButtonWithText(w, "&Launch"), Qt::LeftButton);
    QTest::mouseClick(ButtonWithText(w, "&Launch"), Qt::LeftButton);
    const QStringList expected = {"-profile-name", "Default"};
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(m_recordPath), (QList<QStringList>{expected, expected}),
                              StartTimeout);
}

void MainWindowTest::helpOpensShippedPage()
{
    m_opened.clear();
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
    {
        MainWindow w(nullptr);
        QTest::mouseClick(ButtonWithText(w, "&Help"), Qt::LeftButton);
    }
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    QCOMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(GetFileName(HelpFile))});
    QVERIFY(QFileInfo(m_opened.constFirst().toLocalFile()).isFile());
}

QTEST_MAIN(MainWindowTest)
#include "tst_launch.moc"
