// "&Launch" and "&Help", beside the stand-in emulator: the arguments a started emulator
// really receives, read back from the stand-in's record.
#include "filelocations.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
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

class LaunchTest : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { m_opened.append(url); }

private slots:
    void initTestCase();
    void init();

    void passesShownOptions();
    void everyClickStartsAnEmulator();
    void helpOpensShippedPage();

private:
    QTemporaryDir m_records;
    QString m_recordPath;
    QList<QUrl> m_opened;
};

void LaunchTest::initTestCase()
{
    UseFixtureAppFolder();
    UsePrivateDataLocation();
    QVERIFY(m_records.isValid());
    QVERIFY2(QFileInfo(GetFileName(EmulatorFile)).isExecutable(), "stand-in emulator not built");
    qputenv("NIMBRA_STANDIN_QUIT", "1");
}

void LaunchTest::init()
{
    QVERIFY(WriteText(UserConfigPath(), LaunchConfig));
    static int run = 0;
    m_recordPath = m_records.filePath(QStringLiteral("starts-%1.jsonl").arg(++run));
    qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(m_recordPath));
}

// What the controls show, not what is stored; the command itself is tst_model's.
void LaunchTest::passesShownOptions()
{
    MainWindow w(nullptr);
    WindowFixture::Select(w, 1);
    WindowFixture::ComboBox(w, OptionKind::Resolution)->setCurrentIndex(1);
    const QList<Profile> profiles = WindowFixture::Profiles(w);

    QTest::mouseClick(ButtonWithText(w, "&Launch"), Qt::LeftButton);
    const QStringList expected = {"-windowsize",   "320x480",  "-ppi", "240",
                                  "-profile-name", "Phone HD", "-gpu", "on"};
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(m_recordPath), QList<QStringList>{expected}, StartTimeout);
    QCOMPARE(WindowFixture::Profiles(w), profiles);
}

void LaunchTest::everyClickStartsAnEmulator()
{
    MainWindow w(nullptr);
    QTest::mouseClick(ButtonWithText(w, "&Launch"), Qt::LeftButton);
    QTest::mouseClick(ButtonWithText(w, "&Launch"), Qt::LeftButton);
    const QStringList expected = {"-profile-name", "Default"};
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(m_recordPath), (QList<QStringList>{expected, expected}),
                              StartTimeout);
}

void LaunchTest::helpOpensShippedPage()
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

QTEST_MAIN(LaunchTest)
#include "tst_launch.moc"
