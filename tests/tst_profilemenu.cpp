// The profile list through the real window: its edits by the buttons, the keys and the menu,
// each reaching the model and the list, each refusal changing nothing; and the command
// preview, which is what Launch starts.
#include "filelocations.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>

using W = WindowFixture;

namespace {

// One edit of the profile list and what follows from it.
struct ListEdit
{
    int row;           // selected when the controls are edited
    QString edit;      // "Add" (Add/Update), "Remove", or keys
    QStringList steps; // the answers, "typed|button"
    QStringList seen;
    // The profiles afterwards: "NAME" as it was, "NAME=OTHER" with OTHER's values, "NAME=*"
    // with the edited controls' values.
    QStringList profiles;
    int current;
    bool keepsEdit; // else the controls show the stored profile
    QString undo;   // "Undo ... Profile" then; none when nothing changed
    QString filter; // typed before the row is selected
};

ListEdit Edit(int row, const QString& edit, const QStringList& steps, const QStringList& seen,
              const QStringList& profiles, int current, bool keepsEdit, const QString& undo = {},
              const QString& filter = {})
{
    return {row, edit, steps, seen, profiles, current, keepsEdit, undo, filter};
}

QStringList g_traces;

void RecordTrace(QtMsgType, const QMessageLogContext&, const QString& message)
{
    if (message.startsWith(QStringLiteral("GetFileName( 3 )")))
        g_traces.append(message);
}

} // namespace

Q_DECLARE_METATYPE(ListEdit)

class ProfileMenuTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        qputenv("NIMBRA_STANDIN_QUIT", "1");
    }
    void init() { QVERIFY(WriteText(UserConfigPath(), TestConfig())); }

    // Each edit of the profile list, by button or by key, with the dialogs it shows: the list
    // and the model stay in step, and the controls show the current profile, or still the
    // unsaved edit when only the row moved or nothing changed. Undone, the model is as it was
    // and the edit's row shows it; redone, as it was after; neither asks anything. Which names
    // are refused, and where a copy or a move goes, are the model's rules (tst_model).
    void edits_data()
    {
        QTest::addColumn<ListEdit>("e");
        const QStringList same = {"Base", "Phone HD", "Tablet", "Watch"};
        const QString add = "Add Profile|Enter the name for the new profile|";
        const QString replace =
            "Add Profile|This profile already exists. Do you want to replace it?";
        const QString quote = "Add Profile|A profile name can't contain a double quote (\"). "
                              "Please choose another name.";
        const QString rename = "Rename Profile|Enter the new name for the profile|";
        const QString refused = "Rename Profile|%1 Please choose another name.";
        const QString remove = "Confirm Remove Profile|Are you sure you want to remove this "
                               "profile?\n\nTablet";
        QTest::newRow("Add: a new name")
            << Edit(0, "Add", {"Fresh|OK"}, {add}, same + QStringList{"Fresh=*"}, 4, false, "Add");
        QTest::newRow("Add: a later profile's name, replaced")
            << Edit(0, "Add", {"Tablet|OK", "|OK"}, {add, replace},
                    {"Base", "Phone HD", "Tablet=*", "Watch"}, 2, false, "Update");
        // Replacing row 0 keeps the current row, so no row change refreshes the buttons.
        QTest::newRow("Add: the first profile's name, replaced")
            << Edit(0, "Add", {"Base|OK", "|OK"}, {add, replace},
                    {"Base=*", "Phone HD", "Tablet", "Watch"}, 0, false, "Update");
        // Each refusal asks for a name again; an empty one ends it.
        QTest::newRow("Add: replacement declined, double quote refused, empty name")
            << Edit(0, "Add", {"Tablet|OK", "|Cancel", "Big \"one\"|OK", "|OK", "|OK"},
                    {add, replace, add, quote, add}, same, 0, true);
        QTest::newRow("Update: the selected profile, nothing asked") << Edit(
            1, "Add", {}, {}, {"Base", "Phone HD=*", "Tablet", "Watch"}, 1, false, "Update");
        QTest::newRow("Remove: declined") << Edit(2, "Remove", {"Cancel"}, {remove}, same, 2, true);
        QTest::newRow("Remove: confirmed, the first profile shown") << Edit(
            2, "Remove", {"OK"}, {remove}, {"Base", "Phone HD", "Watch"}, 0, false, "Remove");
        // List rows are reused by position: the filter holds anew after the edit and each step.
        QTest::newRow("Remove: confirmed, the base row filtered out") << Edit(
            2, "Remove", {"OK"}, {remove}, {"Base", "Phone HD", "Watch"}, 2, false, "Remove", "t");
        QTest::newRow("Ctrl+D: the stored profile copied below, the copy shown") << Edit(
            1, "Ctrl+D", {}, {}, {"Base", "Phone HD", "Phone HD copy=Phone HD", "Tablet", "Watch"},
            2, false, "Duplicate");
        QTest::newRow("Alt+Down: only the row moves") << Edit(
            1, "Alt+Down", {}, {}, {"Base", "Tablet", "Phone HD", "Watch"}, 2, true, "Move");
        QTest::newRow("Alt+Up") << Edit(3, "Alt+Up", {}, {},
                                        {"Base", "Phone HD", "Watch", "Tablet"}, 2, true, "Move");
        // A refused name is offered again to be fixed.
        QTest::newRow("F2: refused three times, then renamed")
            << Edit(1, "F2", {"Tablet|OK", "OK", "Mobile\nHD|OK", "OK", "|OK", "OK", "Cell|OK"},
                    {rename + "Phone HD", refused.arg("Another profile already has this name."),
                     rename + "Tablet", refused.arg("Launcher.ini can't keep this name as typed."),
                     rename + "Mobile\nHD", refused.arg("A profile name can't be empty."), rename},
                    {"Base", "Cell=Phone HD", "Tablet", "Watch"}, 1, true, "Rename");
        QTest::newRow("F2: renamed out of the filter")
            << Edit(3, "F2", {"Cell|OK"}, {rename + "Watch"},
                    {"Base", "Phone HD", "Tablet", "Cell=Watch"}, 0, false, "Rename", "A");
    }

    void edits()
    {
        QFETCH(ListEdit, e);
        MainWindow w;
        const ConfigModel before = W::Model(w);
        W::Filter(w)->setText(e.filter);
        W::Select(w, e.row);
        QVERIFY(W::ShowFocused(w));
        const Profile edited{"", "  -x 1  ", {2, 3, 1}};
        for (const OptionKind kind : AllOptionKinds)
            W::ComboBox(w, kind)->setCurrentIndex(ChosenIndex(edited, kind));
        W::Arguments(w)->setText(edited.arguments);

        ModalAnswerer answerer(e.steps);
        if (e.edit == "Add")
            W::AddUpdateButton(w)->click();
        else if (e.edit == "Remove")
            W::RemoveProfileButton(w)->click();
        else
            QTest::keySequence(W::ProfileList(w), QKeySequence(e.edit));

        QList<Profile> expected;
        for (const QString& wanted : e.profiles) {
            const QString from = wanted.section(u'=', -1);
            expected.append(from == "*" ? edited
                                        : before.profiles[FindProfile(before.profiles, from)]);
            expected.last().name = wanted.section(u'=', 0, 0);
        }
        QCOMPARE(answerer.seen, e.seen);
        QCOMPARE(W::Profiles(w), expected);
        QVERIFY(W::InStep(w));
        QCOMPARE(W::ProfileList(w)->currentRow(), e.current);
        Profile shown = e.keepsEdit ? edited : expected[e.current];
        shown.name = expected[e.current].name;
        QCOMPARE(W::Controls(w), shown);
        QCOMPARE(W::AddUpdateButton(w)->isEnabled(), e.keepsEdit);
        // The name is part of the command the preview shows.
        QVERIFY(W::CommandLine(w)->text().contains(" -profile-name \"" + shown.name + "\" "));

        QCOMPARE(W::Undo(w)->text(), e.undo.isEmpty() ? "Undo" : "Undo " + e.undo + " Profile");
        if (e.undo.isEmpty())
            return;
        const ConfigModel after = W::Model(w);
        W::Undo(w)->trigger();
        QCOMPARE(W::Model(w), before);
        QVERIFY(W::InStep(w));
        QCOMPARE(W::ProfileList(w)->currentRow(), e.row);
        QCOMPARE(W::Controls(w), before.profiles[e.row]);
        W::Redo(w)->trigger();
        QCOMPARE(W::Model(w), after);
        QVERIFY(W::InStep(w));
        QCOMPARE(W::ProfileList(w)->currentRow(), e.current);
        QCOMPARE(answerer.seen, e.seen);
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
        W::Select(w, rightClick ? 0 : row);
        QVERIFY(W::ShowFocused(w));
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
                                       " | Launch Launch with Arguments\u2026 (Stop) (Show Log) | "
                                       "(Undo) (Redo) | Add to Applications Menu (Remove from "
                                       "Applications Menu)");
    }

    // Each way to launch starts what the preview shows, and only a launch looks the emulator up
    // with a trace.
    void previewIsWhatLaunchStarts()
    {
        const QString recordPath = UsePrivateDataLocation() + QStringLiteral("/starts.jsonl");
        qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(recordPath));
        g_traces.clear();
        const QtMessageHandler previous = qInstallMessageHandler(RecordTrace);
        const auto restore = qScopeGuard([previous] { qInstallMessageHandler(previous); });
        MainWindow w;
        ProfileQListWidget* list = W::ProfileList(w);
        QVERIFY(W::ShowFocused(w));
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
