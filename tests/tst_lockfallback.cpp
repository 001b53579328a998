// Where the single-instance lock goes when the runtime and temporary folders can't hold it:
// real processes of the single-instance helper, with those folders below a plain file.
#include "testenv.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

namespace {

constexpr int kWaitMs = 20000;

bool WaitForLine(QProcess& process, const QByteArray& text)
{
    QDeadlineTimer deadline(kWaitMs);
    while (!deadline.hasExpired()) {
        while (process.canReadLine())
            if (process.readLine().startsWith(text))
                return true;
        if (process.state() == QProcess::NotRunning)
            return false;
        process.waitForReadyRead(int(deadline.remainingTime()));
    }
    return false;
}

} // namespace

class LockFallbackTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { qDeleteAll(findChildren<QProcess*>()); }
    void dataFolderHoldsTheLock();
    void noFolderRunsAloneAndSaysSo();

private:
    QProcess* Start(const QString& dataHome, const QString& message = {})
    {
        auto* process = new QProcess(this);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        // A folder so deep that no lock path in it fits PATH_MAX: nothing can be created there,
        // whoever runs the test (root ignores permissions, and Qt replaces a TMPDIR that is
        // not a folder by /tmp).
        env.insert("XDG_RUNTIME_DIR", m_deep);
        env.insert("TMPDIR", m_deep);
        env.insert("XDG_DATA_HOME", dataHome);
        env.insert("QT_QPA_PLATFORM", "offscreen");
        process->setProcessEnvironment(env);
        process->setProcessChannelMode(QProcess::MergedChannels);
        process->start(m_helper, message.isNull() ? QStringList{} : QStringList{message});
        return process;
    }

    QTemporaryDir m_dir;
    QString m_deep;
    // A copy of its own, so its identity is this test's.
    QString m_helper = m_dir.filePath("singleinstance_helper");
};

void LockFallbackTest::initTestCase()
{
    // 4080 characters: the folder can be made, a lock path in it exceeds PATH_MAX (4096).
    m_deep = m_dir.path();
    while (m_deep.size() < 4080)
        m_deep += u'/' + QString(std::min<qsizetype>(200, 4079 - m_deep.size()), u'd');
    QVERIFY(QDir().mkpath(m_deep));
    QVERIFY(QFile::copy(SINGLEINSTANCE_HELPER, m_helper));
}

void LockFallbackTest::dataFolderHoldsTheLock()
{
    const QString dataHome = m_dir.filePath("data");
    QProcess* primary = Start(dataHome);
    QVERIFY(WaitForLine(*primary, "primary"));
    QCOMPARE(QDir(dataHome + "/Nimbra Mobile").entryList({"*.lock"}).size(), 1);

    QProcess* second = Start(dataHome, "hello");
    QVERIFY(WaitForLine(*second, "secondary"));
    QVERIFY(second->waitForFinished(kWaitMs));
    QCOMPARE(second->exitCode(), 0);
    QVERIFY(WaitForLine(*primary, "message:hello"));
}

void LockFallbackTest::noFolderRunsAloneAndSaysSo()
{
    const QString dataHome = m_deep;
    QProcess* first = Start(dataHome);
    QVERIFY(WaitForLine(*first, "nimbra-mobile-launcher: no folder can hold the single-instance "
                                "lock"));
    QVERIFY(WaitForLine(*first, "primary"));
    QProcess* second = Start(dataHome);
    QVERIFY(WaitForLine(*second, "primary"));
}

QTEST_MAIN(LockFallbackTest)
#include "tst_lockfallback.moc"
