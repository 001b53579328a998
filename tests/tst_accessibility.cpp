// What a screen reader and a keyboard user get from the main window: a name for every
// control, read from the accessibility tree, Tab in layout order, and the mnemonics.
#include "testenv.h"
#include "windowfixture.h"

#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

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

void CollectNames(QAccessibleInterface* iface, const QWidget* window, QStringList& names)
{
    auto* widget = qobject_cast<QWidget*>(iface->object());
    if (widget && widget != window && TakesTabFocus(widget, window)) {
        names.append(iface->text(QAccessible::Name).isEmpty() ? QString() : SpokenName(iface));
        return; // the rows of the list and the combo boxes' entries are not controls
    }
    for (int i = 0; i < iface->childCount(); ++i) {
        if (QAccessibleInterface* child = iface->child(i))
            CollectNames(child, window, names);
    }
}

// The controls in layout order: the profile group top to bottom and left to right, then the
// button box in the order the platform puts Help and Launch.
QStringList LayoutOrder(const QWidget& window)
{
    const bool helpFirst = ButtonWithText(window, "&Help")->mapTo(&window, QPoint()).x() <
                           ButtonWithText(window, "&Launch")->mapTo(&window, QPoint()).x();
    return QStringList{"Profiles",
                       "Add",
                       "Remove profile",
                       "Resolution",
                       "Add resolution",
                       "Remove resolution",
                       "Pixel Density",
                       "Add pixel density",
                       "Remove pixel density",
                       "Input",
                       "Arguments"} +
           (helpFirst ? QStringList{"Help", "Launch"} : QStringList{"Launch", "Help"});
}

} // namespace

class AccessibilityTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        UsePrivateDataLocation();
    }

    void namesAndTabOrder();
    void mnemonics();
};

void AccessibilityTest::namesAndTabOrder()
{
    MainWindow window(nullptr);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    // Every focusable control is in the tree, once, under a name of its own.
    QStringList names;
    CollectNames(QAccessible::queryAccessibleInterface(&window), &window, names);
    int focusable = 0;
    for (QWidget* widget : window.findChildren<QWidget*>())
        focusable += TakesTabFocus(widget, &window);
    QCOMPARE(names.size(), focusable);
    QStringList expected = LayoutOrder(window);
    names.sort();
    expected.sort();
    QCOMPARE(names, expected);

    // The whole chain, disabled controls included: Tab skips those only while they are.
    QStringList order;
    QWidget* widget = WindowFixture::ProfileList(window);
    do {
        if (TakesTabFocus(widget, &window))
            order.append(SpokenName(QAccessible::queryAccessibleInterface(widget)));
        widget = widget->nextInFocusChain();
    } while (widget != WindowFixture::ProfileList(window));
    QCOMPARE(order, LayoutOrder(window));

    // The Add/Update button says what it will do; the visible texts stay plain.
    WindowFixture::Select(window, 1);
    QCOMPARE(
        SpokenName(QAccessible::queryAccessibleInterface(WindowFixture::AddUpdateButton(window))),
        QStringLiteral("Update"));
    QCOMPARE(WindowFixture::RemoveButton(window, OptionKind::Resolution)->text(),
             QStringLiteral("Remove"));
}

void AccessibilityTest::mnemonics()
{
    MainWindow window(nullptr);
    QPushButton* help = ButtonWithText(window, "&Help");
    QPushButton* launch = ButtonWithText(window, "&Launch");
    // Only the keys are under test: nothing may start or open.
    QVERIFY(disconnect(help, &QPushButton::clicked, &window, &MainWindow::OnHelp));
    QVERIFY(disconnect(launch, &QPushButton::clicked, &window, &MainWindow::OnLaunch));
    QSignalSpy helpClicks(help, &QPushButton::clicked);
    QSignalSpy launchClicks(launch, &QPushButton::clicked);

    window.show();
    QApplication::setActiveWindow(&window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    WindowFixture::ProfileList(window)->setFocus();

    QLineEdit* edit = WindowFixture::Arguments(window);
    const QString arguments = edit->text();
    QTest::keyClick(&window, Qt::Key_A, Qt::AltModifier);
    QTRY_COMPARE(QApplication::focusWidget(), edit);
    QCOMPARE(edit->text(), arguments);

    // Still shortcuts while the focus is in the line edit; a mnemonic animates the click and
    // reports it a moment later.
    QTest::keyClick(&window, Qt::Key_L, Qt::AltModifier);
    QTRY_COMPARE(launchClicks.size(), 1);
    QTest::keyClick(&window, Qt::Key_H, Qt::AltModifier);
    QTRY_COMPARE(helpClicks.size(), 1);
    QCOMPARE(launchClicks.size(), 1);
}

QTEST_MAIN(AccessibilityTest)
#include "tst_accessibility.moc"
