// The command preview and the profile list's menu and keys, through the real window: each
// edit reaches the saved file, each refusal changes nothing, and the preview is what Launch
// starts.
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
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using W = WindowFixture;

namespace {

const QString NameDialog = QStringLiteral("Rename Profile|");
const QStringList MenuTexts = {"Duplicate", "Rename\u2026", "Copy Command Line",
                               "Move Up",   "Move Down",    "Launch"};

// Profiles (Resolution, Pixel Density, Input, arguments): Base 0 0 0, Phone 1 2 0, Tablet 2 3 1
// "-t", Watch 1 2 1 "-b".
const QByteArray EditingConfig = "$VERSION\t106\n[Profile]\n"
                                 "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
                                 "\"Phone\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 0 \"\n"
                                 "\"Tablet\"\t\"[Resolution] 2 [PixelDensity] 3 [Input] 1 -t\"\n"
                                 "\"Watch\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 1 -b\"\n"
                                 "[Resolution]\n\"Default\"\t\"\"\n"
                                 "\"Small\"\t\" -windowsize 320x480\"\n"
                                 "\"Large\"\t\" -windowsize 800x1280\"\n"
                                 "\"Huge\"\t\" -windowsize 1536x2048\"\n"
                                 "[PixelDensity]\n\"Default\"\t\"\"\n\"ldpi\"\t\" -ppi 120\"\n"
                                 "\"mdpi\"\t\" -ppi 160\"\n\"hdpi\"\t\" -ppi 240\"\n"
                                 "[Input]\n\"Touch\"\t\"\"\n\"Mouse\"\t\" -input mouse\"\n";

// A name with a blank, for the launches.
const QByteArray LaunchConfig =
    "$VERSION\t106\n[Profile]\n"
    "\"Default\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
    "\"Phone HD\"\t\"[Resolution] 2 [PixelDensity] 2 [Input] 0  -gpu on\"\n" +
    SizeAndDensitySections() + "[Input]\n";

QStringList g_traces;

void RecordTrace(QtMsgType, const QMessageLogContext&, const QString& message)
{
    if (message.startsWith(QStringLiteral("GetFileName(")))
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

QStringList ListTexts(const MainWindow& w)
{
    QStringList texts;
    for (int i = 0; i < W::ProfileList(w)->count(); ++i)
        texts.append(W::ProfileList(w)->item(i)->text());
    return texts;
}

// Everything the stand-in emulator recorded, one argument list per start.
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

// Queued after the expected answers: closes a dialog nobody expected instead of hanging, and
// the answerer's `seen` shows it.
void Guard(ModalAnswerer& answerer)
{
    for (int i = 0; i < 5; ++i) {
        answerer.enqueue([](QWidget* dialog) {
            QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
        });
    }
}

QAccessibleInterface* FindByName(QAccessibleInterface* iface, const QString& name)
{
    if (iface->text(QAccessible::Name) == name)
        return iface;
    for (int i = 0; i < iface->childCount(); ++i) {
        if (QAccessibleInterface* child = iface->child(i)) {
            if (QAccessibleInterface* found = FindByName(child, name))
                return found;
        }
    }
    return nullptr;
}

} // namespace

class ProfileMenuTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig)); }

    void keysEditTheList_data();
    void keysEditTheList();
    void moveKeepsUnsavedControls();
    void rename_data();
    void rename();
    void menuInAccessibleTree_data();
    void menuInAccessibleTree();
    void previewIsWhatLaunchStarts_data();
    void previewIsWhatLaunchStarts();
    void previewAddsNoTraceLines();

private:
    // Saves as the exit does, then starts afresh from the file: the same model comes back.
    static void CheckReload(MainWindow& w)
    {
        QVERIFY(w.SaveConfig());
        MainWindow reloaded;
        QCOMPARE(W::Profiles(reloaded), W::Profiles(w));
        QCOMPARE(W::Sections(reloaded), W::Sections(w));
    }

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
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QStringList>("names"); // afterwards; "X copy" holds X's values
    QTest::addColumn<int>("current");

    const int ctrl = Qt::ControlModifier;
    const int alt = Qt::AltModifier;
    const QStringList unchanged = {"Base", "Phone", "Tablet", "Watch"};
    QTest::newRow("Ctrl+D duplicates below and selects the copy")
        << 1 << int(Qt::Key_D) << ctrl
        << QStringList{"Base", "Phone", "Phone copy", "Tablet", "Watch"} << 2;
    QTest::newRow("Ctrl+D on the base profile")
        << 0 << int(Qt::Key_D) << ctrl
        << QStringList{"Base", "Base copy", "Phone", "Tablet", "Watch"} << 1;
    QTest::newRow("Alt+Down moves down")
        << 1 << int(Qt::Key_Down) << alt << QStringList{"Base", "Tablet", "Phone", "Watch"} << 2;
    QTest::newRow("Alt+Up moves up")
        << 3 << int(Qt::Key_Up) << alt << QStringList{"Base", "Phone", "Watch", "Tablet"} << 2;
    // A refused move leaves the key to the list, which moves only the selection.
    QTest::newRow("Alt+Up refused into the base row")
        << 1 << int(Qt::Key_Up) << alt << unchanged << 0;
    QTest::newRow("Alt+Down refused on the last row")
        << 3 << int(Qt::Key_Down) << alt << unchanged << 3;
    QTest::newRow("Alt+Down refused on the base row")
        << 0 << int(Qt::Key_Down) << alt << unchanged << 1;
}

void ProfileMenuTest::keysEditTheList()
{
    QFETCH(int, row);
    QFETCH(int, key);
    QFETCH(int, modifiers);
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

    QTest::keyClick(W::ProfileList(w), Qt::Key(key), Qt::KeyboardModifiers(modifiers));

    QCOMPARE(W::Profiles(w), expected);
    QCOMPARE(ListTexts(w), names);
    QCOMPARE(W::ProfileList(w)->currentRow(), current);
    QCOMPARE(W::Controls(w), expected[current]);
    QCOMPARE(W::AddUpdateButton(w)->text(), current == 0 ? "Add" : "Update");
    QVERIFY(!W::AddUpdateButton(w)->isEnabled());
    QCOMPARE(W::RemoveProfileButton(w)->isEnabled(), current != 0);
    CheckReload(w);
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
    QVERIFY(W::CommandLine(w)->text().contains(QStringLiteral("\"Tablet\"  -edited")));
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
    const QString quote =
        refusal("A profile name can't contain a double quote (\"). Please choose another name.");
    const QString unreadable =
        refusal("Launcher.ini can't keep this name as typed. Please choose another name.");

    QTest::newRow("new name") << 1 << QStringList{"Mobile|OK"} << QStringList{NameDialog}
                              << "Mobile";
    QTest::newRow("base profile") << 0 << QStringList{"Start|OK"} << QStringList{NameDialog}
                                  << "Start";
    QTest::newRow("own name kept")
        << 1 << QStringList{"Phone|OK"} << QStringList{NameDialog} << QString();
    QTest::newRow("cancelled with a name typed")
        << 1 << QStringList{"Mobile|Cancel"} << QStringList{NameDialog} << QString();
    QTest::newRow("taken name refused, asked again, cancelled")
        << 1 << QStringList{"Tablet|OK", "|OK", "|Cancel"}
        << QStringList{NameDialog, taken, NameDialog} << QString();
    QTest::newRow("empty name refused, then renamed")
        << 3 << QStringList{"|OK", "|OK", "Mobile|OK"} << QStringList{NameDialog, empty, NameDialog}
        << "Mobile";
    QTest::newRow("double quote refused")
        << 1 << QStringList{"Mo\"bile|OK", "|OK", "|Cancel"}
        << QStringList{NameDialog, quote, NameDialog} << QString();
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
    Guard(answerer);
    QTest::keyClick(W::ProfileList(w), Qt::Key_F2);

    QCOMPARE(answerer.seen, seen);
    QCOMPARE(W::Profiles(w), expected);
    QStringList names;
    for (const Profile& profile : expected)
        names.append(profile.name);
    QCOMPARE(ListTexts(w), names);
    QCOMPARE(W::ProfileList(w)->currentRow(), row);
    QVERIFY(W::CommandLine(w)->text().contains(u'"' + expected[row].name + u'"'));
    CheckReload(w);
}

void ProfileMenuTest::menuInAccessibleTree_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("rightClick"); // else the Menu key on the current row
    QTest::addColumn<QStringList>("disabled");
    QTest::newRow("base row, Menu key") << 0 << false << QStringList{"Move Up", "Move Down"};
    QTest::newRow("second row, right click") << 1 << true << QStringList{"Move Up"};
    QTest::newRow("middle row, Menu key") << 2 << false << QStringList{};
    QTest::newRow("last row, right click") << 3 << true << QStringList{"Move Down"};
}

void ProfileMenuTest::menuInAccessibleTree()
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
    QAccessibleInterface* tree = QAccessible::queryAccessibleInterface(menu);
    for (int i = 0; i < tree->childCount(); ++i) {
        QAccessibleInterface* item = tree->child(i);
        if (item->role() == QAccessible::Separator)
            continue;
        names.append(item->text(QAccessible::Name));
        if (item->state().disabled)
            off.append(names.last());
    }
    menu->hide();
    QCOMPARE(names, MenuTexts);
    QCOMPARE(off, disabled);

    QAccessibleInterface* field =
        FindByName(QAccessible::queryAccessibleInterface(&w), QStringLiteral("Command line"));
    QVERIFY(field);
    QCOMPARE(field->role(), QAccessible::EditableText);
    QVERIFY(field->state().readOnly);
    QCOMPARE(field->text(QAccessible::Value), W::CommandLine(w)->text());
}

void ProfileMenuTest::previewIsWhatLaunchStarts_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QString>("typed"); // arguments typed on "Phone HD"; null: as stored
    const QString quoted = QStringLiteral("-title \"two words\"  -gpu on");
    QTest::newRow("Launch button") << "button" << quoted;
    QTest::newRow("Enter on the list") << "enter" << quoted;
    QTest::newRow("menu's Launch") << "menu" << quoted;
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

    if (how == "button")
        ButtonWithText(w, "&Launch")->click();
    else if (how == "enter")
        QTest::keyClick(list, Qt::Key_Return);
    else if (how == "menu")
        Action(w, "Launch")->trigger();
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
    QTRY_COMPARE_WITH_TIMEOUT(Recorded(recordPath), QList<QStringList>{argv}, 15000);
    QCOMPARE(list->currentRow(), 1);
}

void ProfileMenuTest::previewAddsNoTraceLines()
{
    g_traces.clear();
    const QtMessageHandler previous = qInstallMessageHandler(RecordTrace);
    MainWindow w;
    const QStringList atStart = g_traces;
    g_traces.clear();

    // The preview follows every control, and looks the emulator up without a trace.
    QTest::keyClicks(W::Arguments(w), QStringLiteral(" -x"));
    W::ComboBox(w, OptionKind::Resolution)->setCurrentIndex(2);
    W::Select(w, 2);
    W::Select(w, 1);
    Action(w, "Duplicate")->trigger();
    Action(w, "Move Down")->trigger();
    const QStringList whileEditing = g_traces;
    const QString preview = W::CommandLine(w)->text();
    W::Arguments(w)->setText(QStringLiteral(" -y"));
    const QString typed = W::CommandLine(w)->text();
    g_traces.clear();
    ButtonWithText(w, "&Launch")->click();
    const QStringList atLaunch = g_traces;
    qInstallMessageHandler(previous);

    QVERIFY2(!atStart.join(u'\n').contains(QStringLiteral("GetFileName( 3 )")),
             qPrintable(atStart.join(u'\n')));
    QCOMPARE(whileEditing, QStringList());
    QVERIFY2(preview.contains(QStringLiteral("\"Phone copy\" ")), qPrintable(preview));
    QVERIFY2(typed.endsWith(QStringLiteral("\"Phone copy\"  -y")), qPrintable(typed));
    QCOMPARE(atLaunch, QStringList{QStringLiteral("GetFileName( 3 ): result= \"%1\" ")
                                       .arg(ResolveFileName(EmulatorFile))});
}

QTEST_MAIN(ProfileMenuTest)
#include "tst_profilemenu.moc"
