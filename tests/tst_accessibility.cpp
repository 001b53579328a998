// What a screen reader and a keyboard user get from the main window: a name for every
// control, read from the accessibility interfaces, Tab in layout order, and the mnemonics,
// Help's opening the shipped page.
#include "filelocations.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QAccessible>
#include <QApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using W = WindowFixture;

namespace {

bool TakesTabFocus(const QWidget* widget, const QWidget* window)
{
    // Combo box popups are windows of their own and not part of the form.
    return widget->window() == window && (widget->focusPolicy() & Qt::TabFocus);
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

class AccessibilityTest : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl& url) { m_opened.append(url); }

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        UsePrivateDataLocation();
    }

    void namesAndTabOrder();
    void mnemonics();

private:
    QList<QUrl> m_opened;
};

void AccessibilityTest::namesAndTabOrder()
{
    MainWindow window(nullptr);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    // Every control, once, named, in the whole chain, disabled ones included: Tab skips those
    // only while they are.
    QStringList order;
    QWidget* widget = W::ProfileList(window);
    do {
        if (TakesTabFocus(widget, &window))
            order.append(SpokenName(QAccessible::queryAccessibleInterface(widget)));
        widget = widget->nextInFocusChain();
    } while (widget != W::ProfileList(window));
    QCOMPARE(order, LayoutOrder(window));

    // The Add/Update button says what it will do; the visible texts stay plain.
    W::Select(window, 1);
    QCOMPARE(SpokenName(QAccessible::queryAccessibleInterface(W::AddUpdateButton(window))),
             QStringLiteral("Update"));
    QCOMPARE(W::RemoveButton(window, OptionKind::Resolution)->text(), QStringLiteral("Remove"));
}

void AccessibilityTest::mnemonics()
{
    MainWindow window(nullptr);
    QPushButton* launch = ButtonWithText(window, "&Launch");
    // Only its key is under test: nothing may start.
    QVERIFY(disconnect(launch, &QPushButton::clicked, &window, &MainWindow::OnLaunch));
    QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "openUrl");
    QSignalSpy launchClicks(launch, &QPushButton::clicked);

    window.show();
    QApplication::setActiveWindow(&window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    W::ProfileList(window)->setFocus();

    QLineEdit* edit = W::Arguments(window);
    const QString arguments = edit->text();
    QTest::keyClick(&window, Qt::Key_A, Qt::AltModifier);
    QTRY_COMPARE(QApplication::focusWidget(), edit);
    QCOMPARE(edit->text(), arguments);

    // Still shortcuts while the focus is in the line edit; a mnemonic animates the click and
    // reports it a moment later.
    QTest::keyClick(&window, Qt::Key_L, Qt::AltModifier);
    QTRY_COMPARE(launchClicks.size(), 1);
    QTest::keyClick(&window, Qt::Key_H, Qt::AltModifier);
    QTRY_COMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(GetFileName(HelpFile))});
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    QVERIFY(QFileInfo(m_opened.constFirst().toLocalFile()).isFile());
    QCOMPARE(launchClicks.size(), 1);
}

QTEST_MAIN(AccessibilityTest)
#include "tst_accessibility.moc"
