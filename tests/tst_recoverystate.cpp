// The recovery state on its own: what a write gives back, what a read refuses (and sets
// aside), and which recorded process still counts as its writer.
#include "processidentity.h"
#include "recovery.h"
#include "testenv.h"
#include "threewaymerge.h"
#include "userfile.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

namespace {

const QByteArray Folder = "(a folder)";

} // namespace

class RecoveryStateTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString Path(const QString& name) const { return m_dir.filePath(name); }

private slots:
    void init() { QDir(Path("state")).removeRecursively(); }

    void recoveryState_data()
    {
        QTest::addColumn<QByteArray>("from"); // replaced in what was written
        QTest::addColumn<QByteArray>("to");
        QTest::addColumn<QString>("reason"); // empty: usable
        QTest::newRow("as written") << QByteArray() << QByteArray() << QString();
        QTest::newRow("cut short")
            << QByteArray("#recovery-end\n") << QByteArray() << "it is cut short";
        QTest::newRow("another format")
            << QByteArray("#recovery 1\n") << QByteArray("#recovery 2\n")
            << "it was written in another format";
        QTest::newRow("another installed copy")
            << QByteArray("launcher /opt/launcher\n") << QByteArray("launcher /opt/other\n")
            << "it belongs to the launcher installed at /opt/other";
        QTest::newRow("a model damaged")
            << QByteArray("$VERSION\t106") << QByteArray("$VERSION\t99") << "it is damaged";
        // As root no permission keeps a file from being read: a folder in its place can't be.
        QTest::newRow("unreadable") << Folder << QByteArray() << "(the system's reason)";
        // Written before the identity was kept: read with none.
        QTest::newRow("without identity")
            << QByteArray("#recovery-process boot:1234\n") << QByteArray() << QString();
    }

    // Both models come back exactly, an empty base included; anything else is refused whole
    // and kept aside.
    void recoveryState()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        QFETCH(QString, reason);
        const QString path = Path("state/recovery.ini");
        const auto defaults = [] { return SourceResource("LauncherDefault.ini"); };
        const Recovery::State written{"/opt/launcher",
                                      42,
                                      {Config::NewSections(), {}},
                                      UserFile::Load({{}, defaults, {}}).model,
                                      "boot:1234"};
        QVERIFY(Recovery::Writer(path).Write(written));
        if (from == Folder) {
            QVERIFY(QFile::remove(path) && QDir().mkpath(path));
            QFile folder(path);
            QVERIFY(!folder.open(QIODevice::ReadOnly));
            reason = folder.errorString();
        } else if (!from.isEmpty()) {
            QVERIFY(WriteText(path, ReadBytes(path).replace(from, to)));
        }

        Recovery::State read;
        QString why;
        const Recovery::ReadResult result = Recovery::Read(path, "/opt/launcher", &read, &why);
        QCOMPARE(why, reason);
        if (!reason.isEmpty()) {
            QCOMPARE(result, Recovery::ReadResult::Unusable);
            QCOMPARE(Recovery::SetAside(path), Path("state/recovery.unused-1.ini"));
            return;
        }
        QCOMPARE(result, Recovery::ReadResult::Usable);
        QCOMPARE(read.pid, 42);
        QCOMPARE(read.process, from.isEmpty() ? "boot:1234" : "");
        QVERIFY(SameContent(read.model, written.model) && SameContent(read.base, written.base));
        QCOMPARE(Recovery::Read(Path("none.ini"), "/opt/launcher", &read, &why),
                 Recovery::ReadResult::None);
    }

    // A state without identity names its writer by id: it counts only while that id runs the
    // launcher that wrote it (this test's parent is one).
    void writerWithoutIdentityRunsTheSameLauncher()
    {
        Recovery::State state{"/opt/launcher", ::getppid(), {}, {}, {}};
        QVERIFY(!Recovery::WriterStillRuns(state));
        state.launcher = ExecutableOfProcess(state.pid);
        QVERIFY(!state.launcher.isEmpty() && Recovery::WriterStillRuns(state));
    }
};

QTEST_GUILESS_MAIN(RecoveryStateTest)
#include "tst_recoverystate.moc"
