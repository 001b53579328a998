// Where the launcher's files are, and the trace of every lookup.
#include "filelocations.h"
#include "testenv.h"

#include <QDir>
#include <QTest>

namespace {

QList<QPair<QtMsgType, QString>> g_messages;

void RecordMessage(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    g_messages.append({type, message});
}

} // namespace

class ConfigFilesTest : public QObject
{
    Q_OBJECT

    QString m_dataHome;
    QString m_resources;

private slots:
    void initTestCase()
    {
        m_resources = UseFixtureAppFolder() + QStringLiteral("/../Resources/");
        m_dataHome = UsePrivateDataLocation();
    }

    void fileNameTrace_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("path");
        const QString resources = QDir::cleanPath(m_resources) + u'/';
        QTest::newRow("user file") << 0 << m_dataHome + "/Nimbra Mobile/Launcher.ini";
        QTest::newRow("default file") << 1 << resources + "LauncherDefault.ini";
        QTest::newRow("help page") << 2 << resources + "LauncherHelp.html";
        QTest::newRow("emulator") << 3
                                  << resources + "Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile";
        QTest::newRow("unknown kind") << 4 << QString();
    }

    void fileNameTrace()
    {
        QFETCH(int, kind);
        QFETCH(QString, path);
        g_messages.clear();
        const QtMessageHandler previous = qInstallMessageHandler(RecordMessage);
        const QString result = GetFileName(kind);
        GetFileName(kind); // nothing is cached: every call resolves and traces again
        qInstallMessageHandler(previous);

        QCOMPARE(result, path);
        const QPair<QtMsgType, QString> trace{
            QtDebugMsg, QStringLiteral("GetFileName( %1 ): result= \"%2\" ").arg(kind).arg(path)};
        QCOMPARE(g_messages, (QList<QPair<QtMsgType, QString>>{trace, trace}));
    }
};

QTEST_GUILESS_MAIN(ConfigFilesTest)
#include "tst_configfiles.moc"
