// The main window's controls, how they follow the selected profile, and what a screen reader
// and a keyboard user get from it. Runs in an app folder of its own: no emulator, so a launch
// fails, and no default file.
#include "filelocations.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QAccessible>
#include <QApplication>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QTest>

#include <tuple>

using W = WindowFixture;

namespace {

// The first profile selects later entries of both option rows and has arguments with a
// leading blank (the reader keeps one before each word).
const QByteArray WindowConfig = "$VERSION\t106\n[Profile]\n"
                                "\"Base\"\t\"[Resolution] 2 [PixelDensity] 1 [Input] 0  -fast\"\n"
                                "\"Phone\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 1 \"\n" +
                                SizeAndDensitySections() +
                                "[Input]\n\"Touch\"\t\"\"\n\"Mouse\"\t\" -input mouse\"\n";

// The two profile buttons: text, Add/Update enabled, Remove enabled.
using ProfileButtons = std::tuple<QString, bool, bool>;

ProfileButtons ButtonsOf(const MainWindow& w)
{
    return {W::AddUpdateButton(w)->text(), W::AddUpdateButton(w)->isEnabled(),
            W::RemoveProfileButton(w)->isEnabled()};
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

// The controls in layout order: the profile group top to bottom and left to right, then the
// button box in the order the platform puts Help and Launch.
QStringList LayoutOrder(const QWidget& window)
{
    const bool helpFirst = ButtonWithText(window, "&Help")->mapTo(&window, QPoint()).x() <
                           ButtonWithText(window, "&Launch")->mapTo(&window, QPoint()).x();
    const QStringList form = QStringLiteral("Profiles|Add|Remove profile|Resolution|Add resolution|"
                                            "Remove resolution|Pixel Density|Add pixel density|"
                                            "Remove pixel density|Input|Arguments")
                                 .split(u'|');
    return form + (helpFirst ? QStringList{"Help", "Launch"} : QStringList{"Launch", "Help"});
}

} // namespace

class WindowTest : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { m_opened.append(url); }

private slots:
    void initTestCase() { UseFixtureAppFolder(false); }
    void init() { QVERIFY(WriteText(UserConfigPath(), WindowConfig)); }

    // The height is fixed; the width is the names' width plus a scroll bar allowance that stays
    // the same whether the bar shows or not.
    void profileListSizeHint()
    {
        MainWindow w(nullptr);
        ProfileQListWidget* list = W::ProfileList(w);
        const auto allowance = [list] {
            return list->sizeHint().width() - list->sizeHintForColumn(0);
        };
        const int few = allowance();
        for (int i = 0; i < 100; ++i)
            list->addItem(QStringLiteral("Profile %1").arg(i));
        QCOMPARE(allowance(), few);
        QVERIFY(few > 5);
        QCOMPARE(list->sizeHint().height(), 192);
    }

    void profileButtonsFollowControls()
    {
        MainWindow w(nullptr);
        QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", false, false}));
        // The option rows' Remove buttons start disabled, then follow the selected entries.
        QVERIFY(!W::RemoveButton(w, OptionKind::Resolution)->isEnabled());
        QVERIFY(!W::RemoveButton(w, OptionKind::PixelDensity)->isEnabled());
        W::ComboBox(w, OptionKind::PixelDensity)->setCurrentIndex(0);
        QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", true, false}));
        W::ComboBox(w, OptionKind::PixelDensity)->setCurrentIndex(1);
        // Surrounding blanks don't count; letter case does.
        W::Arguments(w)->setText(QStringLiteral("  -fast \t"));
        QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", false, false}));
        W::Arguments(w)->setText(QStringLiteral("-Fast"));
        QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", true, false}));

        W::Select(w, 1);
        QCOMPARE(ButtonsOf(w), (ProfileButtons{"Update", false, true}));
        QVERIFY(W::RemoveButton(w, OptionKind::Resolution)->isEnabled());
        QVERIFY(W::RemoveButton(w, OptionKind::PixelDensity)->isEnabled());
        W::ComboBox(w, OptionKind::Input)->setCurrentIndex(0);
        QCOMPARE(ButtonsOf(w), (ProfileButtons{"Update", true, true}));
    }

    void storedIndexOutsideList()
    {
        // Shown as no entry; only -1, what the controls store for that, is no change.
        for (const auto& [index, changed] : {std::pair{"99", true}, std::pair{"-1", false}}) {
            QByteArray config = WindowConfig;
            QVERIFY(WriteText(
                UserConfigPath(),
                config.replace("[Resolution] 2 [", "[Resolution] " + QByteArray(index) + " [")));
            MainWindow w(nullptr);
            QCOMPARE(W::Profiles(w)[0].optionIndex[0], QByteArray(index).toInt());
            QCOMPARE(W::Controls(w), (Profile{"Base", " -fast", {-1, 1, 0}}));
            QCOMPARE(W::AddUpdateButton(w)->isEnabled(), changed);
            QVERIFY(!W::RemoveButton(w, OptionKind::Resolution)->isEnabled());
        }
    }

    // Every control, named, in Tab order; the profile group and the button box around them.
    void namesAndTabOrder()
    {
        MainWindow window(nullptr);
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

        // The Add/Update button says what it will do; the visible texts stay plain.
        W::Select(window, 1);
        QCOMPARE(SpokenName(QAccessible::queryAccessibleInterface(W::AddUpdateButton(window))),
                 QStringLiteral("Update"));
        QCOMPARE(W::RemoveButton(window, OptionKind::Resolution)->text(), QStringLiteral("Remove"));
    }

    // The mnemonics stay shortcuts while the focus is in the line edit; a launch that fails
    // changes nothing.
    void keysAndFailedLaunch()
    {
        MainWindow w(nullptr);
        QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
        w.show();
        QApplication::setActiveWindow(&w);
        QVERIFY(QTest::qWaitForWindowActive(&w));
        W::ProfileList(w)->setFocus();
        W::Select(w, 1);
        W::ComboBox(w, OptionKind::Resolution)->setCurrentIndex(2);
        const Profile controls = W::Controls(w);
        const ProfileButtons buttons = ButtonsOf(w);
        const QList<Profile> profiles = W::Profiles(w);

        QTest::keyClick(&w, Qt::Key_A, Qt::AltModifier);
        QTRY_COMPARE(QApplication::focusWidget(), W::Arguments(w));
        QCOMPARE(W::Controls(w), controls);
        QTest::keyClick(&w, Qt::Key_H, Qt::AltModifier);
        QTRY_COMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(GetFileName(HelpFile))});
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        ModalAnswerer answerer({"OK"});
        // A mnemonic animates the click and reports it a moment later.
        QTest::keyClick(&w, Qt::Key_L, Qt::AltModifier);
        QTRY_COMPARE(answerer.seen, QStringList{"Nimbra Mobile Emulator Launcher|Failed to start "
                                                "Nimbra Mobile Emulator!"});

        QCOMPARE(W::Controls(w), controls);
        QCOMPARE(ButtonsOf(w), buttons);
        QCOMPARE(W::Profiles(w), profiles);
        QCOMPARE(ReadBytes(UserConfigPath()), WindowConfig);
    }

private:
    QList<QUrl> m_opened;
};

QTEST_MAIN(WindowTest)
#include "tst_mainwindow.moc"
