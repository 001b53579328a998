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
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

namespace {

// Empty values in every option row, an empty section (it gets the empty "Default" entry),
// a name with a blank and a stored index beyond its list.
const QByteArray LaunchConfig = "$VERSION\t106\n"
                                "[Profile]\n"
                                "\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
                                "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 2 [Input] 0 "
                                " -gpu on\"\n"
                                "\"Beyond\"\t\"[Resolution] 99 [PixelDensity] 1 [Input] 0 \"\n"
                                "[Resolution]\n"
                                "\"Any size\"\t\"\"\n"
                                "\"Small\"\t\" -windowsize 320x480\"\n"
                                "\"Large\"\t\" -windowsize 720x1280\"\n"
                                "[PixelDensity]\n"
                                "\"Any density\"\t\"\"\n"
                                "\"mdpi\"\t\" -ppi 160\"\n"
                                "\"hdpi\"\t\" -ppi 240\"\n"
                                "[Input]\n";

constexpr int KeepIndex = -2;
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
    // The command the launcher is meant to build from what the controls show, independent
    // of the launcher's own code.
    static QString ExpectedCommand(const MainWindow& w)
    {
        QString command = u'"' + GetFileName(EmulatorFile) + QStringLiteral("\" ");
        for (int k = 1; k < w.m_sections.size(); ++k) {
            const int i = w.m_sections[k].comboBox->currentIndex();
            if (i >= 0 && i < w.m_sections[k].entries.size())
                command += w.m_sections[k].entries[i].value;
        }
        return command + QStringLiteral(" -profile-name \"") +
               w.m_profileList->currentItem()->text() + QStringLiteral("\" ") +
               w.m_argumentsEdit->text();
    }
    static void ClickLaunch(MainWindow& w)
    {
        for (QPushButton* button : w.findChildren<QPushButton*>()) {
            if (button->text() == QStringLiteral("&Launch"))
                QTest::mouseClick(button, Qt::LeftButton);
        }
    }

    QTemporaryDir m_records;
    QString m_recordPath;
    QList<QUrl> m_opened;
};

void MainWindowTest::initTestCase()
{
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
    QTest::addColumn<int>("resolution");
    QTest::addColumn<QString>("arguments"); // replaces the typed arguments when not null
    QTest::addColumn<QStringList>("expected");

    const QStringList phone = {"-windowsize", "720x1280", "-ppi", "240", "-profile-name"};
    QTest::newRow("first row, empty values, no arguments")
        << 0 << QString() << KeepIndex << QString() << QStringList{"-profile-name", "Default"};
    QTest::newRow("name with a blank, stored arguments")
        << 1 << QString() << KeepIndex << QString()
        << phone + QStringList{"Phone HD", "-gpu", "on"};
    QTest::newRow("combo box changed without Update")
        << 1 << QString() << 1 << QString()
        << QStringList{"-windowsize",   "320x480",  "-ppi", "240",
                       "-profile-name", "Phone HD", "-gpu", "on"};
    QTest::newRow("stored index beyond its list")
        << 2 << QString() << KeepIndex << QString()
        << QStringList{"-ppi", "160", "-profile-name", "Beyond"};
    QTest::newRow("typed arguments with runs of blanks")
        << 0 << QString() << KeepIndex << QStringLiteral("  -a   -b  ")
        << QStringList{"-profile-name", "Default", "-a", "-b"};
    QTest::newRow("quotes in the arguments group words")
        << 0 << QString() << KeepIndex << QStringLiteral("-title \"two  words\"")
        << QStringList{"-profile-name", "Default", "-title", "two  words"};
    // Unescaped, the inner quotes end and reopen the quoted name: one argument, no quotes.
    QTest::newRow("quote inside the name")
        << 1 << QStringLiteral("Phone \"HD\" 2") << KeepIndex << QString()
        << phone + QStringList{"Phone HD 2", "-gpu", "on"};
}

void MainWindowTest::passesChosenOptions()
{
    QFETCH(int, row);
    QFETCH(QString, shownName);
    QFETCH(int, resolution);
    QFETCH(QString, arguments);
    QFETCH(QStringList, expected);

    MainWindow w(nullptr);
    QCOMPARE(w.m_sections[3].comboBox->currentText(), QStringLiteral("Default"));
    w.m_profileList->setCurrentRow(row);
    if (!shownName.isNull())
        w.m_profileList->currentItem()->setText(shownName);
    if (resolution != KeepIndex)
        w.m_sections[1].comboBox->setCurrentIndex(resolution);
    if (!arguments.isNull())
        w.m_argumentsEdit->setText(arguments);
    const QString stored = w.GetProfileValue(w.m_profiles[row]);

    ClickLaunch(w);
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(m_recordPath).size(), 1, StartTimeout);
    const QStringList received = Recorded(m_recordPath).constFirst();
    QCOMPARE(received, expected);
    QCOMPARE(received, QProcess::splitCommand(ExpectedCommand(w)).mid(1));
    // Launching reads the controls only.
    QCOMPARE(w.GetProfileValue(w.m_profiles[row]), stored);
}

void MainWindowTest::everyClickStartsAnEmulator()
{
    MainWindow w(nullptr);
    w.m_profileList->setCurrentRow(1);
    ClickLaunch(w);
    ClickLaunch(w);
    const QStringList expected = {"-windowsize",   "720x1280", "-ppi", "240",
                                  "-profile-name", "Phone HD", "-gpu", "on"};
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(m_recordPath), (QList<QStringList>{expected, expected}),
                              StartTimeout);
}

void MainWindowTest::helpOpensShippedPage()
{
    m_opened.clear();
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
    {
        MainWindow w(nullptr);
        for (QPushButton* button : w.findChildren<QPushButton*>()) {
            if (button->text() == QStringLiteral("&Help"))
                QTest::mouseClick(button, Qt::LeftButton);
        }
    }
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    QCOMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(GetFileName(HelpFile))});
    QVERIFY(QFileInfo(m_opened.constFirst().toLocalFile()).isFile());
}

QTEST_MAIN(MainWindowTest)
#include "tst_launch.moc"
