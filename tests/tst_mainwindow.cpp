// The main window: its controls following the selected profile, what a screen reader and a
// keyboard user get, and the boxes loading and saving show (what they decide is tst_userfile's).
#include "filelocations.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QAccessible>
#include <QApplication>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QDir>
#include <QGroupBox>
#include <QTest>

#include <csignal>
#include <memory>
#include <sys/resource.h>
#include <tuple>
#include <unistd.h>

using W = WindowFixture;

namespace {

const QString Title = QStringLiteral("Nimbra Mobile Emulator Launcher");

// The first profile selects later entries of both option rows and has arguments with a leading
// blank (the reader keeps one before each word); Watch chooses a resolution the list lacks.
QByteArray WindowConfig()
{
    return TestConfig()
        .replace("[Resolution] 0 [PixelDensity] 0 [Input] 0 \"",
                 "[Resolution] 2 [PixelDensity] 1 [Input] 0  -fast\"")
        .replace("[Resolution] 1 [PixelDensity] 2 [Input] 1",
                 "[Resolution] 99 [PixelDensity] 2 [Input] 1");
}

// Add/Update's text; whether it and the three Remove buttons are enabled.
using Buttons = std::tuple<QString, bool, bool, bool, bool>;

Buttons ButtonsOf(const MainWindow& w)
{
    return {W::AddUpdateButton(w)->text(), W::AddUpdateButton(w)->isEnabled(),
            W::RemoveProfileButton(w)->isEnabled(),
            W::RemoveButton(w, OptionKind::Resolution)->isEnabled(),
            W::RemoveButton(w, OptionKind::PixelDensity)->isEnabled()};
}

// What a screen reader announces for the control. On Linux a combo box's name is its current
// entry and the reader takes the field's name from its label relation; elsewhere the name is
// the label's text. Either way the label must be the buddy.
QString SpokenName(QAccessibleInterface* iface)
{
    if (iface->role() == QAccessible::ComboBox) {
        const auto labels = iface->relations(QAccessible::Label);
        return labels.isEmpty() ? QString() : labels.first().first->text(QAccessible::Name);
    }
    return iface->text(QAccessible::Name);
}

// The controls in layout order, Help and Launch as the platform puts them.
QStringList LayoutOrder(const QWidget& window)
{
    QStringList buttons{"Help", "Launch"};
    // Both in the button box: their x is comparable.
    if (ButtonWithText(window, "&Launch")->x() < ButtonWithText(window, "&Help")->x())
        buttons.swapItemsAt(0, 1);
    // The filter comes after every other control.
    return QStringLiteral("Profiles|Add|Remove profile|Resolution|Add resolution|Remove "
                          "resolution|Pixel Density|Add pixel density|Remove pixel density|"
                          "Input|Arguments|%1|Filter profiles")
        .arg(buttons.join(u'|'))
        .split(u'|');
}

void SetFileSizeLimit(rlim_t soft)
{
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = soft;
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

class WindowTest : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { m_opened.append(url); }

private slots:
    // A write past the file size limit then fails instead of killing the test.
    void initTestCase() { std::signal(SIGXFSZ, SIG_IGN); }

    void init()
    {
        UseFixtureAppFolder();
        QDir(m_folder = QFileInfo(UserConfigPath()).path()).removeRecursively();
        QVERIFY(WriteText(UserConfigPath(), WindowConfig()));
    }

    // A fixed height; the names' width plus a scroll bar allowance, shown or not. Beyond a
    // thousand names only the widest-looking are measured, and the widest name still counts.
    void profileListSizeHint()
    {
        MainWindow w;
        ProfileQListWidget* list = W::ProfileList(w);
        const auto allowance = [list] {
            return list->sizeHint() - QSize(list->sizeHintForColumn(0), 0);
        };
        const QSize few = allowance();
        QVERIFY(few.width() > 5);
        QCOMPARE(few.height(), 192);
        for (int i = 0; i < 1500; ++i)
            list->addItem(QStringLiteral("Profile %1 %2").arg(i).arg(QString(i % 37, u'i')));
        list->addItem(QStringLiteral("WWW wide one"));
        QCOMPARE(allowance(), few);
    }

    void buttonsFollowControls()
    {
        MainWindow w;
        QCOMPARE(ButtonsOf(w), (Buttons{"Add", false, false, false, false}));
        W::ComboBox(w, OptionKind::PixelDensity)->setCurrentIndex(0);
        QCOMPARE(ButtonsOf(w), (Buttons{"Add", true, false, false, false}));
        W::ComboBox(w, OptionKind::PixelDensity)->setCurrentIndex(1);
        // Surrounding blanks don't count; letter case does.
        W::Arguments(w)->setText(QStringLiteral("  -fast \t"));
        QCOMPARE(ButtonsOf(w), (Buttons{"Add", false, false, false, true}));
        W::Arguments(w)->setText(QStringLiteral("-Fast"));
        QCOMPARE(ButtonsOf(w), (Buttons{"Add", true, false, false, true}));

        W::Select(w, 1);
        QCOMPARE(ButtonsOf(w), (Buttons{"Update", false, true, true, true}));
        W::ComboBox(w, OptionKind::Input)->setCurrentIndex(1);
        QCOMPARE(ButtonsOf(w), (Buttons{"Update", true, true, true, true}));
        // A choice outside its list shows as none, which differs from what is stored.
        W::Select(w, 3);
        QCOMPARE(W::Controls(w), (Profile{"Watch", " -b", {-1, 2, 1}}));
        QCOMPARE(ButtonsOf(w), (Buttons{"Update", true, true, false, true}));
    }

    // Every control, named, in Tab order; the profile group and the button box around them.
    void namesAndTabOrder()
    {
        MainWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        // Every control, once, named, in the whole chain, disabled ones included: Tab skips those
        // only while they are.
        QStringList order;
        QWidget* widget = W::ProfileList(window);
        do {
            // Combo box popups are windows of their own and not part of the form.
            if (widget->window() == &window && (widget->focusPolicy() & Qt::TabFocus))
                order.append(SpokenName(QAccessible::queryAccessibleInterface(widget)));
            widget = widget->nextInFocusChain();
        } while (widget != W::ProfileList(window));
        QCOMPARE(order, LayoutOrder(window));
        auto* group = window.findChild<QGroupBox*>();
        QVERIFY(group && group->isAncestorOf(W::ProfileList(window)));
        QCOMPARE(group->title(), "Profile");
        auto* box = window.findChild<QDialogButtonBox*>();
        QCOMPARE(box->buttonRole(ButtonWithText(window, "&Help")), QDialogButtonBox::HelpRole);
        QCOMPARE(box->buttonRole(ButtonWithText(window, "&Launch")), QDialogButtonBox::AcceptRole);
        // The preview stays out of the Tab chain, named all the same.
        QCOMPARE(
            QAccessible::queryAccessibleInterface(W::CommandLine(window))->text(QAccessible::Name),
            "Command line");

        // The Add/Update button says what it will do; the visible texts stay plain.
        W::Select(window, 1);
        QCOMPARE(SpokenName(QAccessible::queryAccessibleInterface(W::AddUpdateButton(window))),
                 QStringLiteral("Update"));
        QCOMPARE(W::RemoveButton(window, OptionKind::Resolution)->text(), QStringLiteral("Remove"));
    }

    // The mnemonics stay shortcuts while the focus is in the line edit; a launch that fails (no
    // emulator in a bare app folder) says so and changes nothing.
    void keysAndFailedLaunch()
    {
        const QString macos = UseFixtureAppFolder(false);
        MainWindow w;
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
        QVERIFY(W::ShowFocused(w));

        QTest::keyClick(&w, Qt::Key_A, Qt::AltModifier);
        QTRY_COMPARE(QApplication::focusWidget(), W::Arguments(w));
        QTest::keyClick(&w, Qt::Key_H, Qt::AltModifier);
        const QString help = QDir::cleanPath(macos + "/../Resources/LauncherHelp.html");
        QTRY_COMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(help)});
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        ModalAnswerer answerer({"OK"});
        const Profile controls = W::Controls(w);
        // A mnemonic animates the click and reports it a moment later.
        QTest::keyClick(&w, Qt::Key_L, Qt::AltModifier);
        QTRY_COMPARE(answerer.seen,
                     QStringList{Title + "|Failed to start Nimbra Mobile Emulator!"});
        QCOMPARE(W::Controls(w), controls);
    }

    void outdatedUserFile_data()
    {
        QTest::addColumn<bool>("movable");
        QTest::addColumn<QString>("warning"); // %1: where the file is afterwards
        QTest::newRow("set aside under a name of its own")
            << true << "It has been renamed to %1 to make place for a new configuration file.";
        // It must then outlive the session: the exit save would replace it.
        QTest::newRow("kept where it is when it can't be moved")
            << false
            << "It could not be renamed and stays at %1. The launcher will not overwrite "
               "it, so changes made in this session will not be saved.";
    }

    // Either way the default file is used instead (tst_userfile).
    void outdatedUserFile()
    {
        QFETCH(bool, movable);
        QFETCH(QString, warning);
        if (!movable && geteuid() == 0)
            QSKIP("root moves files out of read-only folders");
        const QByteArray bytes = "$VERSION\t107\n[Profile]\n\"p\"\t\"[Input] 1 \"\n";
        QVERIFY(WriteText(UserConfigPath(), bytes));
        if (!movable)
            QVERIFY(QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::ExeOwner));
        ModalAnswerer answerer({"OK"});
        MainWindow{}; // starts and quits
        QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        const QString kept = movable ? m_folder + "/Launcher.107.ini" : UserConfigPath();
        QCOMPARE(answerer.seen, QStringList{Title +
                                            " Warning|Your Launcher.ini configuration file "
                                            "is out of date and will not be used. " +
                                            warning.arg(kept)});
        QCOMPARE(ReadBytes(kept), bytes);
    }

    // Nothing is kept of an out-of-date default file but a "Default" entry in every section.
    void outdatedDefaultFile()
    {
        const QString path = m_folder + "/LauncherDefault.ini";
        QVERIFY(WriteText(path, "$VERSION 107\n[Profile]\n\"p\"\t\"[Input] 1 -x\"\n"
                                "[Resolution]\n\"r\"\t\"\"\n"));
        MainWindow window;
        ModalAnswerer answerer({"OK"});
        QVERIFY(window.LoadConfig(path, false));
        QCOMPARE(answerer.seen, QStringList{Title + " Warning|Config file is out of date"});
        for (const ConfigSection& section : W::Sections(window))
            QCOMPARE(section.entries, (QList<OptionEntry>{{"Default", ""}}));
    }

    // A failing exit save: Discard leaves the old file; Retry, with the limit lifted, saves.
    void failedSaveAtExit()
    {
        const QByteArray old = "$VERSION\t106\n[Profile]\n\"Old\"\t\"[Input] 0 \"\n";
        QVERIFY(WriteText(UserConfigPath(), old));
        for (const bool retry : {false, true}) {
            auto window = std::make_unique<MainWindow>();
            for (int i = 0; i < 5000; ++i)
                W::Profiles(*window).append({QStringLiteral("Profile %1").arg(i), " -x", {}});
            ModalAnswerer answerer;
            answerer.enqueue([retry](QWidget* box) {
                if (retry)
                    SetFileSizeLimit(RLIM_INFINITY);
                ModalAnswerer::PressButton(box, retry ? "Retry" : "Discard");
            });
            SetFileSizeLimit(64 * 1024);
            window.reset(); // quits: the exit save
            SetFileSizeLimit(RLIM_INFINITY);

            QCOMPARE(answerer.seen, QStringList{Title + "|Your profiles could not be saved to " +
                                                UserConfigPath() + ".\n\nReason: File too large"});
            QCOMPARE(QDir(m_folder).entryList(QDir::Files | QDir::Hidden),
                     QStringList{"Launcher.ini"});
            if (!retry)
                QCOMPARE(ReadBytes(UserConfigPath()), old);
        }
        MainWindow restarted;
        QCOMPARE(W::Profiles(restarted).size(), 5001);
    }

    // Every lookup is traced, one of an unknown file too. Where the known files are is found by
    // the tests that use them.
    void fileLocations()
    {
        QTest::ignoreMessage(QtDebugMsg, "GetFileName( 4 ): result= \"\" ");
        QCOMPARE(GetFileName(4), QString());
    }

private:
    QList<QUrl> m_opened;
    QString m_folder;
};

QTEST_MAIN(WindowTest)
#include "tst_mainwindow.moc"
