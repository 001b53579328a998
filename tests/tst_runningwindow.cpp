// Running emulators in the window, with real supervisors and stand-ins: a running profile's
// row, Stop, an end by someone else, the question before a second launch, the box for a start
// that failed and none for one that quietly handed over, and a launcher started later.
#include "modalanswerer.h"
#include "processidentity.h"
#include "runningsupport.h"
#include "testenv.h"
#include "windowfixture.h"

#include "filelocations.h"

#include <QAccessible>
#include <QAction>
#include <QDesktopServices>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <csignal>

using W = WindowFixture;

namespace {

const QByteArray LaunchConfig =
    "$VERSION\t106\n[Profile]\n"
    "\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 2 [Input] 0  -gpu on\"\n" +
    SizeAndDensitySections() + "[Input]\n";

const QString Title = QStringLiteral("Nimbra Mobile Emulator Launcher|");

QListWidgetItem* Row(const MainWindow& w, int row)
{
    return W::ProfileList(w)->item(row);
}

QString Description(const MainWindow& w, int row)
{
    return Row(w, row)->data(Qt::AccessibleDescriptionRole).toString();
}

QAction* Action(const MainWindow& w, const QString& text)
{
    for (QAction* action : W::ProfileList(w)->findChildren<QAction*>()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

QList<RunningEmulator> RunningNow()
{
    return Running::Read(Running::Folder()).running;
}

bool ShowWithRow(MainWindow& w, int row)
{
    w.show();
    W::Select(w, row);
    return QTest::qWaitForWindowExposed(&w);
}

void Launch(const MainWindow& w)
{
    ButtonWithText(w, "&Launch")->click();
}

} // namespace

class RunningWindowTest : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { m_opened.append(url); }

private slots:
    void initTestCase() { m_macos = UseFixtureAppFolder(); }
    void init()
    {
        QVERIFY(WriteText(UserConfigPath(), LaunchConfig));
        qunsetenv("NIMBRA_STANDIN_QUIT");
        qunsetenv("NIMBRA_STANDIN_FAIL");
        qunsetenv("NIMBRA_STANDIN_IGNORE_TERM");
        qunsetenv("NIMBRA_STANDIN_RECORD");
        m_opened.clear();
    }
    void cleanup() { QVERIFY(EndEverythingStarted()); }

    // The row keeps its name and tells the state by icon, description and tooltip; it changes
    // back within two seconds of the end, whether Stop or something else ended the emulator.
    void rowFollowsTheEmulator()
    {
        ModalAnswerer answerer;
        MainWindow w;
        QVERIFY(ShowWithRow(w, 1));
        QVERIFY(!Action(w, "Stop")->isEnabled());
        Launch(w);
        QTRY_COMPARE_WITH_TIMEOUT(Description(w, 1), "Running", 15000);
        const QList<RunningEmulator> running = RunningNow();
        QCOMPARE(running.size(), 1);
        QCOMPARE(Row(w, 1)->text(), "Phone HD");
        QVERIFY(!Row(w, 1)->icon().isNull());
        QVERIFY(Row(w, 1)->toolTip().contains(QStringLiteral("(process %1)").arg(running[0].pid)));
        QCOMPARE(Description(w, 0), QString());
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(W::ProfileList(w));
        QCOMPARE(list->child(1)->text(QAccessible::Description), "Running");
        QVERIFY(Action(w, "Stop")->isEnabled());
        W::Select(w, 0);
        QVERIFY(!Action(w, "Stop")->isEnabled());
        W::Select(w, 1);

        Action(w, "Stop")->trigger();
        QTRY_COMPARE_WITH_TIMEOUT(Description(w, 1), QString(), 2000);
        QVERIFY(Row(w, 1)->icon().isNull());
        QCOMPARE(Row(w, 1)->toolTip(), QString());
        QVERIFY(!Action(w, "Stop")->isEnabled());
        QVERIFY(!IsSameLiveProcess(running[0].pid, running[0].identity));

        // Ended from outside, right after it started: the row follows, and that start failed.
        Launch(w);
        QTRY_COMPARE_WITH_TIMEOUT(Description(w, 1), "Running", 15000);
        QVERIFY(::kill(pid_t(RunningNow().value(0).pid), SIGKILL) == 0);
        QTRY_COMPARE_WITH_TIMEOUT(Description(w, 1), QString(), 2000);
        QTRY_COMPARE_WITH_TIMEOUT(answerer.seen.size(), 1, 5000);
        QVERIFY2(answerer.seen[0].startsWith(Title + "The emulator of profile \"Phone HD\" stopped "
                                                     "right after it started (killed by signal 9"),
                 qPrintable(answerer.seen[0]));
    }

    void startThatEnds_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QString>("box"); // empty for none
        QByteArray lines;
        QString lastTen;
        for (int i = 1; i <= 12; ++i) {
            lines += "line " + QByteArray::number(i) + (i < 12 ? "\n" : "");
            if (i > 2)
                lastTen += QStringLiteral("\nline %1").arg(i);
        }
        QTest::newRow("fails at once with output")
            << QByteArray("NIMBRA_STANDIN_FAIL") << lines
            << Title +
                   "The emulator of profile \"Phone HD\" stopped right after it started "
                   "(exit status 3).\n\nThe last lines of its output:" +
                   lastTen;
        QTest::newRow("hands over at once with status 0")
            << QByteArray("NIMBRA_STANDIN_QUIT") << QByteArray("1") << QString();
    }

    void startThatEnds()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QByteArray, value);
        QFETCH(QString, box);
        qputenv(variable.constData(), value);
        QDesktopServices::setUrlHandler("file", this, "openUrl");
        ModalAnswerer answerer({"Show Log"});
        MainWindow w;
        QVERIFY(ShowWithRow(w, 1));

        Launch(w);
        // The report is gone once the window took it; a quiet end leaves nothing either.
        QTRY_VERIFY_WITH_TIMEOUT(
            RecordFiles().isEmpty() && answerer.seen.size() == (box.isEmpty() ? 0 : 1), 15000);
        QTest::qWait(100);
        QDesktopServices::unsetUrlHandler("file");

        QCOMPARE(answerer.seen, box.isEmpty() ? QStringList() : QStringList{box});
        if (!box.isEmpty()) {
            QCOMPARE(m_opened.size(), 1);
            const QByteArray log = ReadBytes(m_opened[0].toLocalFile());
            QVERIFY(log.startsWith(W::CommandLine(w)->text().toUtf8() + '\n'));
            QVERIFY(log.endsWith("line 12\n"));
        }
    }

    // Asked at the moment of the launch, not from the last refresh.
    void secondLaunchAsks()
    {
        const QString question = Title + "The emulator of profile \"Phone HD\" is already "
                                         "running. Launch another one?";
        ModalAnswerer answerer({"Cancel", "Launch Another"});
        MainWindow w;
        QVERIFY(ShowWithRow(w, 1));
        Launch(w);
        QTRY_COMPARE_WITH_TIMEOUT(RunningNow().size(), 1, 15000);
        Launch(w);
        QCOMPARE(answerer.seen, QStringList{question});
        QCOMPARE(RecordFiles().size(), 1);
        Launch(w);
        QCOMPARE(answerer.seen, (QStringList{question, question}));
        QTRY_COMPARE_WITH_TIMEOUT(RunningNow().size(), 2, 15000);
        QTRY_COMPARE_WITH_TIMEOUT(Row(w, 1)->toolTip().count("process"), 2, 2000);

        // Stopped from outside the window (as the companion stops) a moment ago, and the window
        // has not looked since: no question. A stop asked for is no failed start, however soon.
        Running::StopAndWait(RunningNow(), 0);
        Launch(w);
        QTRY_COMPARE_WITH_TIMEOUT(RunningNow().size(), 1, 15000);
        QTRY_COMPARE_WITH_TIMEOUT(RecordFiles().size(), 1, 5000);
        QTest::qWait(100);
        QCOMPARE(answerer.seen, (QStringList{question, question}));
    }

    // The forced end of Stop does not depend on the window: closed right after Stop, an
    // emulator that ignores the request still ends.
    void stopOutlivesTheWindow()
    {
        QTemporaryDir dir;
        const QString record = dir.filePath("starts.jsonl");
        qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(record));
        qputenv("NIMBRA_STANDIN_IGNORE_TERM", "1");
        RunningEmulator stubborn;
        {
            MainWindow w;
            QVERIFY(ShowWithRow(w, 1));
            Launch(w);
            QTRY_COMPARE_WITH_TIMEOUT(Recorded(record).size(), 1, 15000);
            QTRY_VERIFY_WITH_TIMEOUT(Action(w, "Stop")->isEnabled(), 2000);
            stubborn = RunningNow().value(0);
            Action(w, "Stop")->trigger();
        }
        QTest::qWait(1000);
        QVERIFY(IsSameLiveProcess(stubborn.pid, stubborn.identity));
        QTRY_VERIFY_WITH_TIMEOUT(!IsSameLiveProcess(stubborn.pid, stubborn.identity), 8000);
    }

    // A launcher started later knows what an earlier one started, once it has been painted.
    void knownAfterRestart()
    {
        {
            MainWindow first;
            QVERIFY(ShowWithRow(first, 1));
            Launch(first);
            QTRY_COMPARE_WITH_TIMEOUT(Description(first, 1), "Running", 15000);
        }
        MainWindow second;
        QCoreApplication::processEvents();
        QCOMPARE(Description(second, 1), QString());
        QVERIFY(ShowWithRow(second, 1));
        QTRY_COMPARE_WITH_TIMEOUT(Description(second, 1), "Running", 2000);
        QVERIFY(Action(second, "Stop")->isEnabled());
    }

    // An emulator that passes the check at the click but can't be run (its interpreter is
    // missing): the supervisor reports it, and the window says what it says when a start
    // fails at once.
    void emulatorThatCannotRun()
    {
        QTemporaryDir dir;
        const QString contents = dir.filePath("Broken.app/Contents");
        const QString emulator =
            contents + "/Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile";
        QVERIFY(WriteText(emulator, "#!/nonexistent/interpreter\n"));
        QVERIFY(QFile::setPermissions(emulator, QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(QDir().mkpath(contents + "/MacOS"));
        QVERIFY(QFile::link(SUPERVISOR, contents + "/MacOS/nimbra-mobile-supervise"));
        SetApplicationDirForTesting(contents + "/MacOS");
        const auto restore = qScopeGuard([this] { SetApplicationDirForTesting(m_macos); });
        ModalAnswerer answerer({"OK"});
        MainWindow w;
        QVERIFY(ShowWithRow(w, 1));

        Launch(w);
        QTRY_COMPARE_WITH_TIMEOUT(
            answerer.seen, QStringList{Title + "Failed to start Nimbra Mobile Emulator!"}, 15000);
        QTRY_COMPARE_WITH_TIMEOUT(RecordFiles(), QStringList(), 5000);
        const QDir logs(qEnvironmentVariable("XDG_STATE_HOME") + "/Nimbra Mobile/logs");
        const QStringList names = logs.entryList({"Phone HD.*.log"}, QDir::Files, QDir::Time);
        QVERIFY(!names.isEmpty());
        QVERIFY(ReadBytes(logs.filePath(names.first())).endsWith(": No such file or directory\n"));
    }

private:
    QList<QUrl> m_opened;
    QString m_macos;
};

QTEST_MAIN(RunningWindowTest)
#include "tst_runningwindow.moc"
