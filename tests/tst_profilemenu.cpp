// The command preview and the profile list's menu and keys, through the real window: each
// edit reaches the model and the list, each refusal changes nothing, and the preview is what
// Launch starts.
#include "filelocations.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>

using W = WindowFixture;

namespace {

const QString NameDialog = QStringLiteral("Rename Profile|Enter the new name for the profile|");

// A name with a blank, for the launches.
const QByteArray LaunchConfig =
    "$VERSION\t106\n[Profile]\n"
    "\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 2 [Input] 0  -gpu on\"\n" +
    SizeAndDensitySections() + "[Input]\n";

QStringList g_traces;

void RecordTrace(QtMsgType, const QMessageLogContext&, const QString& message)
{
    if (message.startsWith(QStringLiteral("GetFileName( 3 )")))
        g_traces.append(message);
}

// Shortcuts need an active window and the list to hold the focus.
bool ShowWithListFocus(MainWindow& w, int row)
{
    w.show();
    QApplication::setActiveWindow(&w);
    if (!QTest::qWaitForWindowActive(&w))
        return false;
    W::Select(w, row);
    W::ProfileList(w)->setFocus();
    return W::ProfileList(w)->hasFocus();
}

} // namespace

class ProfileMenuTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        qputenv("NIMBRA_STANDIN_QUIT", "1");
    }
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig())); }

    void keysEditTheList_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QStringList>("names"); // afterwards; "X copy" holds X's values
        QTest::addColumn<int>("current");
        QTest::addColumn<bool>("keepsEdit"); // the controls still show the unsaved arguments

        const QStringList unchanged = {"Base", "Phone", "Tablet", "Watch"};
        QTest::newRow("Ctrl+D duplicates the stored profile below and selects the copy")
            << 1 << "Ctrl+D" << QStringList{"Base", "Phone", "Phone copy", "Tablet", "Watch"} << 2
            << false;
        // A move changes only the row: the controls keep what they show.
        QTest::newRow("Alt+Down moves down")
            << 1 << "Alt+Down" << QStringList{"Base", "Tablet", "Phone", "Watch"} << 2 << true;
        QTest::newRow("Alt+Up moves up")
            << 3 << "Alt+Up" << QStringList{"Base", "Phone", "Watch", "Tablet"} << 2 << true;
        // A refused move leaves the key to the list, which moves only the selection.
        QTest::newRow("Alt+Up refused into the base row")
            << 1 << "Alt+Up" << unchanged << 0 << false;
        QTest::newRow("Alt+Down refused on the last row")
            << 3 << "Alt+Down" << unchanged << 3 << true;
    }

    void keysEditTheList()
    {
        QFETCH(int, row);
        QFETCH(QString, keys);
        QFETCH(QStringList, names);
        QFETCH(int, current);
        QFETCH(bool, keepsEdit);

        MainWindow w;
        const QList<Profile> before = W::Profiles(w);
        QList<Profile> expected;
        for (const QString& name : names) {
            expected.append(
                before[FindProfile(before, name.section(QStringLiteral(" copy"), 0, 0))]);
            expected.last().name = name;
        }
        QVERIFY(ShowWithListFocus(w, row));
        W::Arguments(w)->setText(QStringLiteral(" -edited"));

        QTest::keySequence(W::ProfileList(w), QKeySequence(keys));

        QCOMPARE(W::Profiles(w), expected);
        QVERIFY(W::InStep(w));
        QCOMPARE(W::ProfileList(w)->currentRow(), current);
        Profile shown = expected[current];
        if (keepsEdit)
            shown.arguments = QStringLiteral(" -edited");
        QCOMPARE(W::Controls(w), shown);
        QCOMPARE(W::AddUpdateButton(w)->isEnabled(), keepsEdit);
    }

    // Refused names are offered again to be fixed: a taken one, a line break, then an empty one
    // before a good one; the last is kept.
    void rename()
    {
        MainWindow w;
        QList<Profile> expected = W::Profiles(w);
        expected[1].name = QStringLiteral("Cell");
        expected[3].name = QStringLiteral("Mobile");
        const QString refused = QStringLiteral("Rename Profile|%1 Please choose another name.");
        ModalAnswerer answerer({"Tablet|OK", "OK", "|Cancel", "Mobile\nHD|OK", "OK", "|Cancel",
                                "|OK", "OK", "Mobile|OK", "Cell|OK"});
        for (const int row : {1, 1, 3, 1}) {
            QVERIFY(ShowWithListFocus(w, row));
            QTest::keyClick(W::ProfileList(w), Qt::Key_F2);
        }

        QCOMPARE(answerer.seen,
                 (QStringList{NameDialog + "Phone",
                              refused.arg("Another profile already has this name."),
                              NameDialog + "Tablet", NameDialog + "Phone",
                              refused.arg("Launcher.ini can't keep this name as typed."),
                              NameDialog + "Mobile\nHD", NameDialog + "Watch",
                              refused.arg("A profile name can't be empty."), NameDialog,
                              NameDialog + "Phone"}));
        QCOMPARE(W::Profiles(w), expected);
        QVERIFY(W::InStep(w));
        QCOMPARE(W::ProfileList(w)->currentRow(), 1);
        QVERIFY(W::CommandLine(w)->text().contains("\"Cell\""));
    }

    void menuFollowsRow_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<bool>("rightClick"); // else the Menu key on the current row
        QTest::addColumn<QString>("menu");    // "(disabled)", "|" a separator
        QTest::newRow("base row, Menu key") << 0 << false << "(Move Up) (Move Down)";
        QTest::newRow("second row, right click") << 1 << true << "(Move Up) Move Down";
        QTest::newRow("last row, Menu key") << 3 << false << "Move Up (Move Down)";
    }

    void menuFollowsRow()
    {
        QFETCH(int, row);
        QFETCH(bool, rightClick);
        QFETCH(QString, menu);

        MainWindow w;
        // A right click picks its own row, so it starts from another one.
        QVERIFY(ShowWithListFocus(w, rightClick ? 0 : row));
        if (rightClick) {
            ProfileQListWidget* list = W::ProfileList(w);
            const QPoint center = list->visualItemRect(list->item(row)).center();
            QTest::mouseClick(w.windowHandle(), Qt::RightButton, {},
                              list->viewport()->mapTo(&w, center));
        } else {
            // What the window system sends for the Menu key; the offscreen platform sends none.
            QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, QPoint(), QPoint());
            QApplication::sendEvent(w.windowHandle(), &menuKey);
        }
        QTRY_VERIFY(W::ProfileMenu(w) && W::ProfileMenu(w)->isVisible());
        QCOMPARE(W::ProfileList(w)->currentRow(), row);
        QStringList shown;
        for (const QAction* action : W::ProfileMenu(w)->actions()) {
            const QString text = action->text();
            shown << (action->isSeparator() ? "|" : action->isEnabled() ? text : '(' + text + ')');
        }
        W::ProfileMenu(w)->hide();
        QCOMPARE(shown.join(u' '), "Duplicate Rename\u2026 Copy Command Line | " + menu +
                                       " | Launch (Stop) (Show Log)");

        // The preview is not in the Tab chain, so the accessibility test can't find it.
        QCOMPARE(QAccessible::queryAccessibleInterface(W::CommandLine(w))->text(QAccessible::Name),
                 "Command line");
    }

    // Each way to launch starts what the preview shows, and only a launch looks the emulator up
    // with a trace.
    void previewIsWhatLaunchStarts()
    {
        QVERIFY(WriteText(UserConfigPath(), LaunchConfig));
        const QString recordPath = UsePrivateDataLocation() + QStringLiteral("/starts.jsonl");
        qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(recordPath));
        g_traces.clear();
        const QtMessageHandler previous = qInstallMessageHandler(RecordTrace);
        const auto restore = qScopeGuard([previous] { qInstallMessageHandler(previous); });
        MainWindow w;
        ProfileQListWidget* list = W::ProfileList(w);
        QVERIFY(ShowWithListFocus(w, 0));
        // The arguments the preview's command passes, once it ends as it should.
        const auto previewed = [&w](const QString& arguments) {
            const QString preview = W::CommandLine(w)->text();
            QStringList argv = QProcess::splitCommand(preview);
            const bool ok = W::CommandLine(w)->toolTip() == preview &&
                            preview.endsWith(" -profile-name \"Phone HD\" " + arguments) &&
                            argv.takeFirst() == ResolveFileName(EmulatorFile);
            return ok ? argv : QStringList{preview};
        };

        QTest::mouseDClick(
            w.windowHandle(), Qt::LeftButton, {},
            list->viewport()->mapTo(&w, list->visualItemRect(list->item(1)).center()));
        const QStringList stored = previewed(" -gpu on");
        QTRY_COMPARE_WITH_TIMEOUT(Recorded(recordPath), QList<QStringList>{stored}, 15000);
        W::Arguments(w)->setText(QStringLiteral("-title \"two words\"  -gpu on"));
        list->actions()[2]->trigger(); // Copy Command Line
        QCOMPARE(QGuiApplication::clipboard()->text(), W::CommandLine(w)->text());
        // A stand-in may still run when the next launch comes, which then asks first.
        ModalAnswerer answerer(QStringList(3, QStringLiteral("Launch Another")));
        QTest::keyClick(list, Qt::Key_Return);
        // Each click starts an emulator of its own.
        ButtonWithText(w, "&Launch")->click();
        ButtonWithText(w, "&Launch")->click();

        const QStringList typed = previewed("-title \"two words\"  -gpu on");
        QTRY_COMPARE_WITH_TIMEOUT(Recorded(recordPath),
                                  (QList<QStringList>{stored, typed, typed, typed}), 15000);
        QCOMPARE(list->currentRow(), 1);
        QCOMPARE(g_traces, QStringList(4, QStringLiteral("GetFileName( 3 ): result= \"%1\" ")
                                              .arg(ResolveFileName(EmulatorFile))));
    }
};

QTEST_MAIN(ProfileMenuTest)
#include "tst_profilemenu.moc"
