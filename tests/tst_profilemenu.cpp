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
#include <QFileInfo>
#include <QInputDialog>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using W = WindowFixture;

namespace {

const QString NameDialog = QStringLiteral("Rename Profile|");
const QStringList MenuTexts = {"Duplicate", "Rename\u2026", "Copy Command Line",
                               "Move Up",   "Move Down",    "Launch"};

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

QAction* Action(const MainWindow& w, const QString& text)
{
    for (QAction* action : W::ProfileList(w)->actions()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
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
    void initTestCase();
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig())); }

    void keysEditTheList_data();
    void keysEditTheList();
    void moveKeepsUnsavedControls();
    void rename_data();
    void rename();
    void menuFollowsRow_data();
    void menuFollowsRow();
    void previewIsWhatLaunchStarts_data();
    void previewIsWhatLaunchStarts();
    void previewAddsNoTraceLines();

private:
    QTemporaryDir m_records;
};

void ProfileMenuTest::initTestCase()
{
    UseFixtureAppFolder();
    UsePrivateDataLocation();
    QVERIFY(m_records.isValid());
    QVERIFY2(QFileInfo(GetFileName(EmulatorFile)).isExecutable(), "stand-in emulator not built");
    qputenv("NIMBRA_STANDIN_QUIT", "1");
}

void ProfileMenuTest::keysEditTheList_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QStringList>("names"); // afterwards; "X copy" holds X's values
    QTest::addColumn<int>("current");

    const QStringList unchanged = {"Base", "Phone", "Tablet", "Watch"};
    QTest::newRow("Ctrl+D duplicates below and selects the copy")
        << 1 << "Ctrl+D" << QStringList{"Base", "Phone", "Phone copy", "Tablet", "Watch"} << 2;
    QTest::newRow("Alt+Down moves down")
        << 1 << "Alt+Down" << QStringList{"Base", "Tablet", "Phone", "Watch"} << 2;
    QTest::newRow("Alt+Up moves up")
        << 3 << "Alt+Up" << QStringList{"Base", "Phone", "Watch", "Tablet"} << 2;
    // A refused move leaves the key to the list, which moves only the selection.
    QTest::newRow("Alt+Up refused into the base row") << 1 << "Alt+Up" << unchanged << 0;
    QTest::newRow("Alt+Down refused on the last row") << 3 << "Alt+Down" << unchanged << 3;
}

void ProfileMenuTest::keysEditTheList()
{
    QFETCH(int, row);
    QFETCH(QString, keys);
    QFETCH(QStringList, names);
    QFETCH(int, current);

    MainWindow w;
    const QList<Profile> before = W::Profiles(w);
    QList<Profile> expected;
    for (const QString& name : names) {
        expected.append(before[FindProfile(before, name.section(QStringLiteral(" copy"), 0, 0))]);
        expected.last().name = name;
    }
    QVERIFY(ShowWithListFocus(w, row));

    QTest::keySequence(W::ProfileList(w), QKeySequence(keys));

    QCOMPARE(W::Profiles(w), expected);
    QVERIFY(W::InStep(w));
    QCOMPARE(W::ProfileList(w)->currentRow(), current);
    QCOMPARE(W::Controls(w), expected[current]);
    QVERIFY(!W::AddUpdateButton(w)->isEnabled());
}

void ProfileMenuTest::moveKeepsUnsavedControls()
{
    MainWindow w;
    const Profile tablet = W::Profiles(w)[2];
    QVERIFY(ShowWithListFocus(w, 2));
    W::Arguments(w)->setText(QStringLiteral(" -edited"));

    QTest::keyClick(W::ProfileList(w), Qt::Key_Up, Qt::AltModifier);

    QCOMPARE(W::ProfileList(w)->currentRow(), 1);
    QCOMPARE(W::Profiles(w)[1], tablet);
    QCOMPARE(W::Arguments(w)->text(), QStringLiteral(" -edited"));
    QVERIFY(W::AddUpdateButton(w)->isEnabled());
}

void ProfileMenuTest::rename_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QStringList>("steps"); // "typed|button"
    QTest::addColumn<QStringList>("seen");
    QTest::addColumn<QString>("newName"); // null: nothing changes

    const auto refusal = [](const char* text) { return NameDialog + QLatin1String(text); };
    const QString taken =
        refusal("Another profile already has this name. Please choose another name.");
    const QString empty = refusal("A profile name can't be empty. Please choose another name.");
    const QString unreadable =
        refusal("Launcher.ini can't keep this name as typed. Please choose another name.");

    QTest::newRow("new name") << 1 << QStringList{"Mobile|OK"} << QStringList{NameDialog}
                              << "Mobile";
    QTest::newRow("taken name refused, asked again, cancelled")
        << 1 << QStringList{"Tablet|OK", "|OK", "|Cancel"}
        << QStringList{NameDialog, taken, NameDialog} << QString();
    QTest::newRow("empty name refused, then renamed")
        << 3 << QStringList{"|OK", "|OK", "Mobile|OK"} << QStringList{NameDialog, empty, NameDialog}
        << "Mobile";
    QTest::newRow("line break refused")
        << 1 << QStringList{"Mobile\nHD|OK", "|OK", "|Cancel"}
        << QStringList{NameDialog, unreadable, NameDialog} << QString();
}

void ProfileMenuTest::rename()
{
    QFETCH(int, row);
    QFETCH(QStringList, steps);
    QFETCH(QStringList, seen);
    QFETCH(QString, newName);

    MainWindow w;
    QList<Profile> expected = W::Profiles(w);
    if (!newName.isNull())
        expected[row].name = newName;
    QVERIFY(ShowWithListFocus(w, row));

    // Each name dialog opens with the name it last had: the profile's, then the refused one.
    ModalAnswerer answerer;
    auto shown = std::make_shared<QString>(W::Profiles(w)[row].name);
    for (const QString& step : steps) {
        answerer.enqueue([=](QWidget* dialog) {
            if (auto* input = qobject_cast<QInputDialog*>(dialog)) {
                QCOMPARE(input->labelText(), "Enter the new name for the profile");
                QCOMPARE(input->textValue(), *shown);
                *shown = step.section(u'|', 0, 0);
                input->setTextValue(*shown);
            }
            ModalAnswerer::PressButton(dialog, step.section(u'|', 1));
        });
    }
    answerer.guard();
    QTest::keyClick(W::ProfileList(w), Qt::Key_F2);

    QCOMPARE(answerer.seen, seen);
    QCOMPARE(W::Profiles(w), expected);
    QVERIFY(W::InStep(w));
    QCOMPARE(W::ProfileList(w)->currentRow(), row);
    QVERIFY(W::CommandLine(w)->text().contains(u'"' + expected[row].name + u'"'));
}

void ProfileMenuTest::menuFollowsRow_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("rightClick"); // else the Menu key on the current row
    QTest::addColumn<QStringList>("disabled");
    QTest::newRow("base row, Menu key") << 0 << false << QStringList{"Move Up", "Move Down"};
    QTest::newRow("second row, right click") << 1 << true << QStringList{"Move Up"};
    QTest::newRow("last row, Menu key") << 3 << false << QStringList{"Move Down"};
}

void ProfileMenuTest::menuFollowsRow()
{
    QFETCH(int, row);
    QFETCH(bool, rightClick);
    QFETCH(QStringList, disabled);

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
    QMenu* menu = W::ProfileMenu(w);
    QCOMPARE(W::ProfileList(w)->currentRow(), row);

    QStringList names;
    QStringList off;
    for (const QAction* action : menu->actions()) {
        if (action->isSeparator())
            continue;
        names.append(action->text());
        if (!action->isEnabled())
            off.append(action->text());
    }
    menu->hide();
    QCOMPARE(names, MenuTexts);
    QCOMPARE(off, disabled);

    // The preview is not in the Tab chain, so the accessibility test can't find it.
    QCOMPARE(QAccessible::queryAccessibleInterface(W::CommandLine(w))->text(QAccessible::Name),
             "Command line");
}

void ProfileMenuTest::previewIsWhatLaunchStarts_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QString>("typed"); // arguments typed on "Phone HD"; null: as stored
    const QString quoted = QStringLiteral("-title \"two words\"  -gpu on");
    QTest::newRow("Launch button") << "button" << quoted;
    QTest::newRow("Enter on the list") << "enter" << quoted;
    QTest::newRow("double-click on another row") << "double-click" << QString();
    QTest::newRow("Copy Command Line, nothing started") << "copy" << quoted;
}

void ProfileMenuTest::previewIsWhatLaunchStarts()
{
    QFETCH(QString, how);
    QFETCH(QString, typed);
    QVERIFY(WriteText(UserConfigPath(), LaunchConfig));
    static int run = 0;
    const QString recordPath = m_records.filePath(QStringLiteral("starts-%1.jsonl").arg(++run));
    qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(recordPath));

    MainWindow w;
    ProfileQListWidget* list = W::ProfileList(w);
    QVERIFY(ShowWithListFocus(w, how == "double-click" ? 0 : 1));
    if (!typed.isNull())
        W::Arguments(w)->setText(typed);

    // Each click starts an emulator of its own.
    if (how == "button") {
        ButtonWithText(w, "&Launch")->click();
        ButtonWithText(w, "&Launch")->click();
    } else if (how == "enter")
        QTest::keyClick(list, Qt::Key_Return);
    else if (how == "double-click")
        QTest::mouseDClick(
            w.windowHandle(), Qt::LeftButton, {},
            list->viewport()->mapTo(&w, list->visualItemRect(list->item(1)).center()));
    else
        Action(w, "Copy Command Line")->trigger();

    const QString preview = W::CommandLine(w)->text();
    QCOMPARE(W::CommandLine(w)->toolTip(), preview);
    QVERIFY2(preview.endsWith(QStringLiteral(" -profile-name \"Phone HD\" ") +
                              (typed.isNull() ? QStringLiteral(" -gpu on") : typed)),
             qPrintable(preview));
    QStringList argv = QProcess::splitCommand(preview);
    QCOMPARE(argv.takeFirst(), GetFileName(EmulatorFile));
    if (how == "copy") {
        QCOMPARE(QGuiApplication::clipboard()->text(), preview);
        QTest::qWait(200);
        QCOMPARE(Recorded(recordPath), QList<QStringList>());
        return;
    }
    const QList<QStringList> starts(how == "button" ? 2 : 1, argv);
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(recordPath), starts, 15000);
    QCOMPARE(list->currentRow(), 1);
}

// Only a launch looks the emulator up with a trace; start-up and the preview don't.
void ProfileMenuTest::previewAddsNoTraceLines()
{
    g_traces.clear();
    const QtMessageHandler previous = qInstallMessageHandler(RecordTrace);
    MainWindow w;
    QTest::keyClicks(W::Arguments(w), QStringLiteral(" -x"));
    W::ComboBox(w, OptionKind::Resolution)->setCurrentIndex(2);
    W::Select(w, 1);
    Action(w, "Duplicate")->trigger();
    Action(w, "Move Down")->trigger();
    const QStringList beforeLaunch = g_traces;
    ButtonWithText(w, "&Launch")->click();
    qInstallMessageHandler(previous);

    QCOMPARE(beforeLaunch, QStringList());
    QCOMPARE(g_traces, QStringList{QStringLiteral("GetFileName( 3 ): result= \"%1\" ")
                                       .arg(ResolveFileName(EmulatorFile))});
}

QTEST_MAIN(ProfileMenuTest)
#include "tst_profilemenu.moc"
