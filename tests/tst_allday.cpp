// The window for people who launch all day: the filter's rules, undo merged with others'
// changes, a one-off launch's arguments, and profiles in the applications menu. Undo and redo
// of each edit are with the edits (tst_profilemenu, tst_editing).
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

// The names of the rows shown, the current one marked with "*".
QStringList Shown(const MainWindow& w)
{
    QStringList names;
    for (int row = 0; row < W::ProfileList(w)->count(); ++row) {
        if (!W::ProfileList(w)->isRowHidden(row))
            names.append((row == W::ProfileList(w)->currentRow() ? "*" : "") +
                         W::ProfileList(w)->item(row)->text());
    }
    return names;
}

// What the boxes said while the list's action ran, each answered in turn.
QStringList Triggered(MainWindow& w, const QString& action, const QStringList& answers)
{
    ModalAnswerer answerer(answers);
    W::ListAction(w, action)->trigger();
    return answerer.seen;
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
        QLineEdit* filter = W::Filter(w);
        QVERIFY(W::ShowFocused(w, filter));
        W::Select(w, 3);
        // Letter case does not count; the current row, hidden, gives way to the first shown.
        QTest::keyClicks(filter, "T");
        QCOMPARE(Shown(w), (QStringList{"Tablet", "*Watch"}));
        QTest::keyClicks(filter, "AB");
        QCOMPARE(Shown(w), QStringList{"*Tablet"});
        // Down goes into the list; Escape in the field shows every row again.
        QTest::keyClick(filter, Qt::Key_Down);
        QCOMPARE(QApplication::focusWidget(), W::ProfileList(w));
        filter->setFocus();
        QTest::keyClick(filter, Qt::Key_Escape);
        QCOMPARE(Shown(w), (QStringList{"Base", "Phone HD", "*Tablet", "Watch"}));
        // Any text is literal.
        for (const QString& text : {QString(".*"), QString("("), QString(1000, u'a')}) {
            filter->setText(text);
            QCOMPARE(Shown(w), QStringList());
        }
        W::Filter(w)->clear();
        QCOMPARE(ReadBytes(UserConfigPath()), TestConfig()); // the filter saves nothing
    }

    // Undone after someone else's change was merged in, only the window's own edit goes; all
    // undone, the saved file is the file as loaded.
    void undoKeepsOthersChangesAndRestoresTheFile()
    {
        ConfigModel model{Config::NewSections(), {}};
        Config::ReadText(QString::fromUtf8(TestConfig()), model.sections);
        model.profiles = Config::ProfilesFromSection(model.sections);
        QVERIFY(Config::WriteFile(UserConfigPath(), model));
        const QByteArray loaded = ReadBytes(UserConfigPath());
        {
            MainWindow w;
            ModalAnswerer answerer({"OK"});
            W::Select(w, 1);
            W::ListAction(w, "Duplicate")->trigger();
            W::RemoveProfileButton(w)->click(); // the copy
            W::Undo(w)->trigger();
            W::Undo(w)->trigger();
        }
        QCOMPARE(ReadBytes(UserConfigPath()), loaded);

        MainWindow w;
        W::Select(w, 1);
        W::ListAction(w, "Duplicate")->trigger();
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
        const QString add = "Add to Applications Menu", remove = "Remove from Applications Menu";
        const QString rename = "Rename\u2026";
        W::Select(w, 1);
        W::ListAction(w, add)->trigger();
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
        W::ListAction(w, remove)->trigger();
        QVERIFY(!QFileInfo::exists(entry("Cell")));
        // A removal that fails gives the system's reason and leaves the entry.
        QVERIFY(QDir().mkpath(entry("Cell") + "/busy"));
        QVERIFY(
            Triggered(w, remove, {"OK"}).value(0).contains("could not be removed.\n\nReason: "));
        QVERIFY(QFileInfo(entry("Cell")).isDir());
        // A folder that can't be written: the system's reason, nothing changed.
        QVERIFY(QDir(folder).removeRecursively() && WriteText(folder, "not a folder\n"));
        QVERIFY(Triggered(w, add, {"OK"})
                    .value(0)
                    .contains("could not be added to the applications menu.\n\nReason: "));
        QVERIFY(QFile::remove(folder));
    }
};

QTEST_MAIN(AllDayTest)
#include "tst_allday.moc"
