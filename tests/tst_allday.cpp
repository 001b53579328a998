// The window for people who launch all day: the filter's rules, undo and redo of every edit
// back to the identical model, a one-off launch's arguments, and profiles in the applications
// menu.
#include "desktopentry.h"
#include "fileformat.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QTest>

#include <algorithm>

using W = WindowFixture;

namespace {

QStringList Shown(const MainWindow& w)
{
    QStringList names;
    for (int row = 0; row < W::ProfileList(w)->count(); ++row) {
        if (!W::ProfileList(w)->isRowHidden(row))
            names.append(W::ProfileList(w)->item(row)->text());
    }
    return names;
}

bool ShowWithFocus(MainWindow& w, QWidget* on)
{
    w.show();
    QApplication::setActiveWindow(&w);
    if (!QTest::qWaitForWindowActive(&w))
        return false;
    on->setFocus();
    return on->hasFocus();
}

// The filter's rule: the rows shown are exactly those whose name holds its text, and the
// current row is a shown one.
bool FilterHolds(const MainWindow& w)
{
    const ProfileQListWidget* list = W::ProfileList(w);
    for (int row = 0; row < list->count(); ++row) {
        if (list->isRowHidden(row) ==
            list->item(row)->text().contains(W::Filter(w)->text(), Qt::CaseInsensitive))
            return false;
    }
    return !list->isRowHidden(list->currentRow());
}

// What the boxes said while the list's action ran, each answered in turn.
QStringList Triggered(MainWindow& w, const QString& action, const QStringList& answers)
{
    ModalAnswerer answerer(answers);
    W::ListAction(w, action)->trigger();
    return answerer.seen;
}

// The edits a user makes, by what they press.
void Edit(MainWindow& w, const QString& edit)
{
    if (edit == "add profile") {
        W::Select(w, 0);
        W::Arguments(w)->setText(" -new");
        W::AddUpdateButton(w)->click();
    } else if (edit == "update profile") {
        W::Select(w, 2);
        W::Arguments(w)->setText(" -changed");
        W::AddUpdateButton(w)->click();
    } else if (edit == "remove profile") {
        W::Select(w, 2);
        W::RemoveProfileButton(w)->click();
    } else if (edit == "add resolution") {
        w.OnAddResolution();
    } else if (edit == "remove resolution used twice") {
        W::ComboBox(w, OptionKind::Resolution)->setCurrentIndex(1);
        W::RemoveButton(w, OptionKind::Resolution)->click();
    } else if (edit == "duplicate") {
        W::Select(w, 1);
        W::ListAction(w, "Duplicate")->trigger();
    } else if (edit == "rename") {
        W::Select(w, 3);
        W::ListAction(w, "Rename\u2026")->trigger();
    } else if (edit == "move") {
        W::Select(w, 3);
        W::ListAction(w, "Move Up")->trigger();
    }
}

} // namespace

class AllDayTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    }
    void init() { QVERIFY(WriteText(UserConfigPath(), TestConfig())); }

    void filter()
    {
        MainWindow w;
        QVERIFY(ShowWithFocus(w, W::Filter(w)));
        W::Select(w, 3);
        // Letter case does not count; the current row, hidden, gives way to the first shown.
        QTest::keyClicks(W::Filter(w), "T");
        QCOMPARE(Shown(w), (QStringList{"Tablet", "Watch"}));
        QCOMPARE(W::ProfileList(w)->currentRow(), 3);
        QTest::keyClicks(W::Filter(w), "AB");
        QCOMPARE(Shown(w), QStringList{"Tablet"});
        QCOMPARE(W::ProfileList(w)->currentRow(), 2);
        QCOMPARE(W::Controls(w), W::Profiles(w)[2]);
        // Down goes into the list; Escape in the field shows every row again.
        QTest::keyClick(W::Filter(w), Qt::Key_Down);
        QCOMPARE(QApplication::focusWidget(), W::ProfileList(w));
        W::Filter(w)->setFocus();
        QTest::keyClick(W::Filter(w), Qt::Key_Escape);
        QCOMPARE(Shown(w).size(), 4);
        QCOMPARE(W::ProfileList(w)->currentRow(), 2);
        // Any text is literal.
        for (const QString& text : {QString(".*"), QString("("), QString(1000, u'a')}) {
            W::Filter(w)->setText(text);
            QCOMPARE(Shown(w), QStringList());
        }
        W::Filter(w)->clear();
        QCOMPARE(ReadBytes(UserConfigPath()), TestConfig());
    }

    // Beyond a thousand names the list measures only the widest-looking ones, and still asks
    // for the widest name's width.
    void manyNamesKeepTheListsWidth()
    {
        MainWindow w;
        ProfileQListWidget* list = W::ProfileList(w);
        const int allowance = list->sizeHint().width() - list->sizeHintForColumn(0);
        for (int i = 0; i < 1500; ++i)
            list->addItem(QStringLiteral("Profile %1 %2").arg(i).arg(QString(i % 37, u'i')));
        list->addItem(QStringLiteral("WWW wide one"));
        QCOMPARE(list->sizeHint().width(), list->sizeHintForColumn(0) + allowance);
    }

    void undoRedo_data()
    {
        QTest::addColumn<QString>("edit");
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<QString>("undoText");
        QTest::addColumn<int>("row"); // selected after the undo
        QTest::addColumn<QString>("filter");
        QTest::newRow("add profile")
            << "add profile" << QStringList{"New|OK"} << "Undo Add Profile" << 0 << QString();
        QTest::newRow("update profile")
            << "update profile" << QStringList() << "Undo Update Profile" << 2 << QString();
        QTest::newRow("remove profile")
            << "remove profile" << QStringList{"OK"} << "Undo Remove Profile" << 2 << QString();
        QTest::newRow("add resolution") << "add resolution" << QStringList{"Tiny,10,10|OK"}
                                        << "Undo Add Resolution" << 0 << QString();
        QTest::newRow("remove resolution used twice")
            << "remove resolution used twice" << QStringList{"Yes"} << "Undo Remove Resolution" << 0
            << QString();
        QTest::newRow("duplicate")
            << "duplicate" << QStringList() << "Undo Duplicate Profile" << 1 << QString();
        QTest::newRow("rename") << "rename" << QStringList{"Cell|OK"} << "Undo Rename Profile" << 3
                                << QString();
        QTest::newRow("move") << "move" << QStringList() << "Undo Move Profile" << 3 << QString();
        // List rows are reused by position: the filter holds anew after each step.
        QTest::newRow("remove profile, base row filtered out")
            << "remove profile" << QStringList{"OK"} << "Undo Remove Profile" << 2 << "t";
        QTest::newRow("rename out of the filter")
            << "rename" << QStringList{"Cell|OK"} << "Undo Rename Profile" << 3 << "A";
    }

    // Each edit undone to the identical model, without asking again, and redone to the same.
    void undoRedo()
    {
        QFETCH(QString, edit);
        QFETCH(QStringList, answers);
        QFETCH(QString, undoText);
        QFETCH(int, row);
        QFETCH(QString, filter);
        MainWindow w;
        W::Filter(w)->setText(filter);
        const QList<Profile> profiles = W::Profiles(w);
        const QList<ConfigSection> sections = W::Sections(w);
        {
            ModalAnswerer answerer(answers);
            Edit(w, edit);
            QCOMPARE(answerer.seen.size(), answers.size());
        }
        const QList<Profile> edited = W::Profiles(w);
        const QList<ConfigSection> editedSections = W::Sections(w);
        const int editedRow = W::ProfileList(w)->currentRow();
        QVERIFY(edited != profiles || editedSections != sections);
        QVERIFY(FilterHolds(w));
        QCOMPARE(W::Undo(w)->text(), undoText);

        ModalAnswerer none;
        W::Undo(w)->trigger();
        QCOMPARE(W::Profiles(w), profiles);
        QCOMPARE(W::Sections(w), sections);
        QVERIFY(W::InStep(w) && FilterHolds(w));
        QCOMPARE(W::ProfileList(w)->currentRow(), row);
        QCOMPARE(W::Controls(w), W::Profiles(w)[row]);

        W::Redo(w)->trigger();
        QCOMPARE(W::Profiles(w), edited);
        QCOMPARE(W::Sections(w), editedSections);
        QVERIFY(W::InStep(w) && FilterHolds(w));
        QCOMPARE(W::ProfileList(w)->currentRow(), editedRow);
        QCOMPARE(none.seen, QStringList());
    }

    // Undone after someone else's change was merged in, only the window's own edit goes; all
    // undone, the saved file is the file as loaded.
    void undoKeepsOthersChangesAndRestoresTheFile()
    {
        ConfigModel model{Config::NewSections(), {}};
        QList<ConfigSection> read = Config::NewSections();
        Config::ReadText(QString::fromUtf8(TestConfig()), read);
        model.sections = read;
        model.profiles = Config::ProfilesFromSection(read);
        QVERIFY(Config::WriteFile(UserConfigPath(), model));
        const QByteArray loaded = ReadBytes(UserConfigPath());
        {
            MainWindow w;
            ModalAnswerer answerer({"OK"});
            Edit(w, "duplicate");
            Edit(w, "remove profile");
            W::Undo(w)->trigger();
            W::Undo(w)->trigger();
            QCOMPARE(ReadBytes(UserConfigPath()), loaded);
        }
        QCOMPARE(ReadBytes(UserConfigPath()), loaded);

        MainWindow w;
        Edit(w, "duplicate");
        model.profiles.append({"Theirs", " -t", {0, 0, 0}});
        QVERIFY(Config::WriteFile(UserConfigPath(), model));
        QTRY_COMPARE_WITH_TIMEOUT(W::Profiles(w).last().name, QString("Theirs"), 3000);
        W::Undo(w)->trigger();
        QCOMPARE(W::Profiles(w), model.profiles);
    }

    // Return in the filter launches the current profile, and nothing when no row is shown. The
    // typed arguments, split on their own, follow the profile's, whose open quote does not
    // swallow them; nothing is stored.
    void launches()
    {
        const QString record = UsePrivateDataLocation() + "/oneoff.jsonl";
        qputenv("NIMBRA_STANDIN_RECORD", QFile::encodeName(record));
        qputenv("NIMBRA_STANDIN_QUIT", "1");
        MainWindow w;
        for (const char* filter : {"zzz", "wat"}) {
            W::Filter(w)->setText(filter);
            QTest::keyClick(W::Filter(w), Qt::Key_Return);
        }
        W::Filter(w)->clear();
        W::Select(w, 2); // Tablet: " -t"
        W::Arguments(w)->setText(" -title \"unterminated");
        QCOMPARE(Triggered(w, "Launch with Arguments\u2026", {"-x y|OK"}),
                 QStringList{"Launch with Arguments|Arguments for this launch only:|"});
        QTRY_COMPARE_WITH_TIMEOUT(Recorded(record).size(), 2, 15000);
        QList<QStringList> launched;
        for (const QStringList& argv : Recorded(record))
            launched.append(argv.mid(argv.indexOf("-profile-name") + 1));
        std::sort(launched.begin(), launched.end());
        QCOMPARE(launched, (QList<QStringList>{{"Tablet", "-title", "unterminated", "-x", "y"},
                                               {"Watch", "-b"}}));
        QCOMPARE(W::Profiles(w)[2].arguments, " -t");
        qunsetenv("NIMBRA_STANDIN_RECORD");
    }

    void applicationsMenu()
    {
        MainWindow w;
        const QString folder = DesktopEntry::ApplicationsFolder();
        const auto entry = [&](const QString& name) {
            return folder + u'/' + DesktopEntry::FileName(name);
        };
        const QString rename = "Rename\u2026";
        W::Select(w, 1);
        W::ListAction(w, "Add to Applications Menu")->trigger();
        QVERIFY(ReadBytes(entry("Phone HD")).contains("Name=Phone HD\n"));
        // Renamed with its profile; an entry edited by hand, at either name, goes only on a yes.
        const QByteArray mine = "[Desktop Entry]\nName=Mine\n";
        QVERIFY(WriteText(entry("Cell"), mine));
        QCOMPARE(Triggered(w, rename, {"Cell|OK", "No"}).size(), 2);
        QCOMPARE(ReadBytes(entry("Cell")), mine);
        QVERIFY(QFileInfo::exists(entry("Phone HD")));
        W::Select(w, 3);
        QVERIFY(WriteText(entry("Watch"), mine));
        QCOMPARE(Triggered(w, rename, {"Clock|OK", "No"}).size(), 2);
        QCOMPARE(ReadBytes(entry("Watch")), mine);
        QVERIFY(!QFileInfo::exists(entry("Clock")));
        // Written from where the launcher was before: still ours, followed without asking.
        W::Select(w, 2);
        QVERIFY(WriteText(entry("Tablet"), DesktopEntry::Text("Tablet", "/moved/x").toUtf8()));
        QCOMPARE(Triggered(w, rename, {"Tab|OK"}).size(), 1);
        QVERIFY(QFileInfo::exists(entry("Tab")) && !QFileInfo::exists(entry("Tablet")));

        W::Select(w, 1);
        W::ListAction(w, "Remove from Applications Menu")->trigger();
        QVERIFY(!QFileInfo::exists(entry("Cell")));
        // A removal that fails gives the system's reason and leaves the entry.
        QVERIFY(QDir().mkpath(entry("Cell") + "/busy"));
        QVERIFY(Triggered(w, "Remove from Applications Menu", {"OK"})
                    .value(0)
                    .contains("could not be removed.\n\nReason: "));
        QVERIFY(QFileInfo(entry("Cell")).isDir());
        // A folder that can't be written: the system's reason, nothing changed.
        QVERIFY(QDir(folder).removeRecursively() && WriteText(folder, "not a folder\n"));
        QVERIFY(Triggered(w, "Add to Applications Menu", {"OK"})
                    .value(0)
                    .contains("could not be added to the applications menu.\n\nReason: "));
        QVERIFY(QFile::remove(folder));
    }
};

QTEST_MAIN(AllDayTest)
#include "tst_allday.moc"
