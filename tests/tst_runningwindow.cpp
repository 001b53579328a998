// Running emulators in the window, with real supervisors and stand-ins: a running profile's
// row, Stop, an end by someone else, the question before a second launch, the box for a start
// that failed and none for one that quietly handed over, and a launcher started later.
#include "launchlogs.h"
#include "modalanswerer.h"
#include "processidentity.h"
#include "runningsupport.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QAction>
#include <QDesktopServices>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <csignal>

using W = WindowFixture;

namespace {

const QString Title = QStringLiteral("Nimbra Mobile Emulator Launcher|");

const auto RunningNow = [] { return Running::Read(Running::Folder()).running; };

// The window, and what these tests look at and press in it: "Phone HD" is row 1.
struct Window : MainWindow
{
    bool Shown()
    {
        show();
        W::Select(*this, 1);
        return QTest::qWaitForWindowExposed(this);
    }
    void Launch() const { ButtonWithText(*this, "&Launch")->click(); }
    QListWidgetItem* Row(int row = 1) const { return W::ProfileList(*this)->item(row); }
    QString Description(int row = 1) const
    {
        return Row(row)->data(Qt::AccessibleDescriptionRole).toString();
    }
    QAction* Stop() const
    {
        for (QAction* action : W::ProfileList(*this)->findChildren<QAction*>()) {
            if (action->text() == "Stop")
                return action;
        }
        return nullptr;
    }
};

} // namespace

class RunningWindowTest : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { m_opened.append(url); }

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        QDesktopServices::setUrlHandler("file", this, "openUrl");
    }
    // Stand-ins keep running, record nothing and take SIGTERM unless a test says otherwise.
    void init()
    {
        QVERIFY(WriteText(UserConfigPath(), TwoProfiles()));
        for (const char* name : {"NIMBRA_STANDIN_QUIT", "NIMBRA_STANDIN_FAIL",
                                 "NIMBRA_STANDIN_IGNORE_TERM", "NIMBRA_STANDIN_RECORD"})
            qunsetenv(name);
        m_opened.clear();
    }
    void cleanup() { QVERIFY(EndEverythingStarted()); }

    // A launcher started later knows what an earlier one started, once it has been painted.
    // The row keeps its name and tells the state by icon, description and tooltip; it changes
    // back within two seconds of the end, whether Stop or something else ended the emulator.
    void rowFollowsTheEmulator()
    {
        ModalAnswerer answerer;
        {
            Window first;
            QVERIFY(first.Shown());
            QVERIFY(!first.Stop()->isEnabled());
            first.Launch();
            QTRY_COMPARE_WITH_TIMEOUT(first.Description(), "Running", 15000);
        }
        Window w;
        QCoreApplication::processEvents();
        QCOMPARE(w.Description(), QString());
        QVERIFY(w.Shown());
        QTRY_COMPARE_WITH_TIMEOUT(w.Description(), "Running", 2000);
        const QList<RunningEmulator> running = RunningNow();
        QCOMPARE(running.size(), 1);
        QCOMPARE(w.Row()->text(), "Phone HD");
        QVERIFY(!w.Row()->icon().isNull());
        QVERIFY(w.Row()->toolTip().contains(QStringLiteral("(process %1)").arg(running[0].pid)));
        QCOMPARE(w.Description(0), QString());
        QVERIFY(w.Stop()->isEnabled());
        W::Select(w, 0);
        QVERIFY(!w.Stop()->isEnabled());
        W::Select(w, 1);

        w.Stop()->trigger();
        QTRY_COMPARE_WITH_TIMEOUT(w.Description(), QString(), 2000);
        QVERIFY(w.Row()->icon().isNull());
        QCOMPARE(w.Row()->toolTip(), QString());
        QVERIFY(!w.Stop()->isEnabled());

        // Ended from outside, right after it started: the row follows, and that start failed.
        w.Launch();
        QTRY_COMPARE_WITH_TIMEOUT(w.Description(), "Running", 15000);
        QVERIFY(::kill(pid_t(RunningNow().value(0).pid), SIGKILL) == 0);
        QTRY_COMPARE_WITH_TIMEOUT(w.Description(), QString(), 2000);
        QTRY_COMPARE_WITH_TIMEOUT(answerer.seen.size(), 1, 5000);
        QVERIFY2(answerer.seen[0].startsWith(Title + "The emulator of profile \"Phone HD\" stopped "
                                                     "right after it started (killed by signal 9"),
                 qPrintable(answerer.seen[0]));
    }

    void startThatEnds_data()
    {
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QStringList>("boxes");
        QStringList lines;
        for (int i = 1; i <= 12; ++i)
            lines.append(QStringLiteral("line %1").arg(i));
        QTest::newRow("fails at once with output")
            << QByteArray("NIMBRA_STANDIN_FAIL") << lines.join(u'\n').toUtf8()
            << QStringList{Title +
                           "The emulator of profile \"Phone HD\" stopped right after it started "
                           "(exit status 3).\n\nThe last lines of its output:\n" +
                           lines.mid(2).join(u'\n')};
        QTest::newRow("hands over at once with status 0")
            << QByteArray("NIMBRA_STANDIN_QUIT") << QByteArray("1") << QStringList();
    }

    void startThatEnds()
    {
        QFETCH(QByteArray, variable);
        QFETCH(QByteArray, value);
        QFETCH(QStringList, boxes);
        qputenv(variable.constData(), value);
        ModalAnswerer answerer({"Show Log"});
        Window w;
        QVERIFY(w.Shown());

        w.Launch();
        // The report is gone once the window took it; a quiet end leaves nothing either.
        QTRY_VERIFY_WITH_TIMEOUT(RecordFiles().isEmpty() && answerer.seen.size() == boxes.size(),
                                 15000);
        QTest::qWait(100);

        QCOMPARE(answerer.seen, boxes);
        QCOMPARE(m_opened.size(), boxes.size());
        if (!boxes.isEmpty()) {
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
        Window w;
        QVERIFY(w.Shown());
        w.Launch();
        QTRY_COMPARE_WITH_TIMEOUT(RunningNow().size(), 1, 15000);
        w.Launch();
        QCOMPARE(answerer.seen, QStringList{question});
        QCOMPARE(RecordFiles().size(), 1);
        w.Launch();
        QCOMPARE(answerer.seen, (QStringList{question, question}));
        QTRY_COMPARE_WITH_TIMEOUT(RunningNow().size(), 2, 15000);
        QTRY_COMPARE_WITH_TIMEOUT(w.Row()->toolTip().count("process"), 2, 2000);

        // Stopped from outside the window (as the companion stops) a moment ago, and the window
        // has not looked since: no question. A stop asked for is no failed start, however soon.
        Running::StopAndWait(RunningNow(), 0);
        w.Launch();
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
            Window w;
            QVERIFY(w.Shown());
            w.Launch();
            QTRY_COMPARE_WITH_TIMEOUT(Recorded(record).size(), 1, 15000);
            QTRY_VERIFY_WITH_TIMEOUT(w.Stop()->isEnabled(), 2000);
            stubborn = RunningNow().value(0);
            w.Stop()->trigger();
        }
        QTest::qWait(1000);
        QVERIFY(IsSameLiveProcess(stubborn.pid, stubborn.identity));
        QTRY_VERIFY_WITH_TIMEOUT(!IsSameLiveProcess(stubborn.pid, stubborn.identity), 8000);
    }

    // An emulator that passes the check at the click but can't be run (its interpreter is
    // missing): the supervisor reports it, and the window says what it says when a start
    // fails at once.
    void emulatorThatCannotRun()
    {
        const QString emulator = UseFixtureAppFolder(false) +
                                 "/../Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile";
        const auto restore = qScopeGuard([] { UseFixtureAppFolder(); });
        QVERIFY(WriteText(emulator, "#!/nonexistent/interpreter\n"));
        QVERIFY(QFile::setPermissions(emulator, QFile::ReadOwner | QFile::ExeOwner));
        ModalAnswerer answerer({"OK"});
        Window w;
        QVERIFY(w.Shown());

        w.Launch();
        QTRY_COMPARE_WITH_TIMEOUT(
            answerer.seen, QStringList{Title + "Failed to start Nimbra Mobile Emulator!"}, 15000);
        QTRY_COMPARE_WITH_TIMEOUT(RecordFiles(), QStringList(), 5000);
        QVERIFY(ReadBytes(LaunchLogs::Latest(LaunchLogs::Folder(), "Phone HD"))
                    .endsWith(": No such file or directory\n"));
    }

private:
    QList<QUrl> m_opened;
};

QTEST_MAIN(RunningWindowTest)
#include "tst_runningwindow.moc"
