// What a screen reader and a keyboard user get from the main window: a name for every
// control, read from the accessibility tree, Tab in layout order, and the mnemonics.
#include "launcher.h"
#include "testenv.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

namespace {

// The controls in layout order: the profile group top to bottom and left to right, then the
// button box. Help and Launch are ordered by where the platform's button box puts them.
const QStringList GroupControls = {
    QStringLiteral("Profiles"),
    QStringLiteral("Add"),
    QStringLiteral("Remove profile"),
    QStringLiteral("Resolution"),
    QStringLiteral("Add resolution"),
    QStringLiteral("Remove resolution"),
    QStringLiteral("Pixel Density"),
    QStringLiteral("Add pixel density"),
    QStringLiteral("Remove pixel density"),
    QStringLiteral("Input"),
    QStringLiteral("Arguments"),
};

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

QString SpokenName(QWidget* widget)
{
    return SpokenName(QAccessible::queryAccessibleInterface(widget));
}

void CollectControls(QAccessibleInterface* iface, const QWidget* window,
                     QList<QAccessibleInterface*>& controls)
{
    auto* widget = qobject_cast<QWidget*>(iface->object());
    if (widget && widget != window && TakesTabFocus(widget, window)) {
        controls.append(iface);
        return; // the rows of the list and the combo boxes' entries are not controls
    }
    for (int i = 0; i < iface->childCount(); ++i) {
        if (QAccessibleInterface* child = iface->child(i))
            CollectControls(child, window, controls);
    }
}

QPushButton* ButtonNamed(QWidget& window, const QString& text)
{
    for (QPushButton* button : window.findChildren<QPushButton*>()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

QStringList LayoutOrder(QWidget& window)
{
    QPushButton* help = ButtonNamed(window, QStringLiteral("&Help"));
    QPushButton* launch = ButtonNamed(window, QStringLiteral("&Launch"));
    const bool helpFirst =
        help->mapTo(&window, QPoint()).x() < launch->mapTo(&window, QPoint()).x();
    return GroupControls +
           (helpFirst ? QStringList{"Help", "Launch"} : QStringList{"Launch", "Help"});
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UsePrivateDataLocation(); }

    void everyControlIsNamedInTheTree();
    void namesBelongToTheirRows();
    void tabFollowsLayout();
    void mnemonics();
};

void MainWindowTest::everyControlIsNamedInTheTree()
{
    MainWindow window(nullptr);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QList<QAccessibleInterface*> controls;
    CollectControls(QAccessible::queryAccessibleInterface(&window), &window, controls);
    QStringList names;
    for (QAccessibleInterface* control : controls) {
        QVERIFY2(!control->text(QAccessible::Name).isEmpty(),
                 qPrintable(control->object()->metaObject()->className()));
        names.append(SpokenName(control));
    }

    // Every focusable control is in the tree, once, under a name of its own.
    int focusable = 0;
    for (QWidget* widget : window.findChildren<QWidget*>())
        focusable += TakesTabFocus(widget, &window);
    QCOMPARE(controls.size(), focusable);
    QStringList expected = LayoutOrder(window);
    names.sort();
    expected.sort();
    QCOMPARE(names, expected);
}

void MainWindowTest::namesBelongToTheirRows()
{
    MainWindow window(nullptr);
    QCOMPARE(SpokenName(window.m_profileList), QStringLiteral("Profiles"));
    QCOMPARE(SpokenName(window.m_sections[1].comboBox), QStringLiteral("Resolution"));
    QCOMPARE(SpokenName(window.m_sections[2].comboBox), QStringLiteral("Pixel Density"));
    QCOMPARE(SpokenName(window.m_sections[3].comboBox), QStringLiteral("Input"));
    QCOMPARE(SpokenName(window.m_argumentsEdit), QStringLiteral("Arguments"));
    QCOMPARE(SpokenName(window.m_removeProfileButton), QStringLiteral("Remove profile"));
    QCOMPARE(SpokenName(window.m_removeResolutionButton), QStringLiteral("Remove resolution"));
    QCOMPARE(SpokenName(window.m_removePixelDensityButton), QStringLiteral("Remove pixel density"));

    // The Add/Update button says what it will do, and its visible texts stay the design's.
    QCOMPARE(SpokenName(window.m_addUpdateButton), QStringLiteral("Add"));
    window.m_profileList->setCurrentRow(1);
    QCOMPARE(SpokenName(window.m_addUpdateButton), QStringLiteral("Update"));
    QCOMPARE(window.m_removeResolutionButton->text(), QStringLiteral("Remove"));
    QCOMPARE(window.m_removePixelDensityButton->text(), QStringLiteral("Remove"));
}

void MainWindowTest::tabFollowsLayout()
{
    MainWindow window(nullptr);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    // The whole chain, disabled controls included: Tab skips those only while they are.
    QStringList order;
    QWidget* widget = window.m_profileList;
    do {
        if (TakesTabFocus(widget, &window))
            order.append(SpokenName(widget));
        widget = widget->nextInFocusChain();
    } while (widget != window.m_profileList);
    QCOMPARE(order, LayoutOrder(window));
}

void MainWindowTest::mnemonics()
{
    MainWindow window(nullptr);
    QPushButton* help = ButtonNamed(window, QStringLiteral("&Help"));
    QPushButton* launch = ButtonNamed(window, QStringLiteral("&Launch"));
    // Only the keys are under test: nothing may start or open.
    QVERIFY(disconnect(help, &QPushButton::clicked, &window, &MainWindow::OnHelp));
    QVERIFY(disconnect(launch, &QPushButton::clicked, &window, &MainWindow::OnLaunch));
    QSignalSpy helpClicks(help, &QPushButton::clicked);
    QSignalSpy launchClicks(launch, &QPushButton::clicked);

    window.show();
    QApplication::setActiveWindow(&window);
    QVERIFY(QTest::qWaitForWindowActive(&window));
    window.m_profileList->setFocus();

    const QString arguments = window.m_argumentsEdit->text();
    QTest::keyClick(&window, Qt::Key_A, Qt::AltModifier);
    QTRY_COMPARE(QApplication::focusWidget(), window.m_argumentsEdit);
    QCOMPARE(window.m_argumentsEdit->text(), arguments);

    // Still a shortcut while the focus is in the line edit.

    // A mnemonic animates the click and reports it a moment later.
    QTest::keyClick(&window, Qt::Key_L, Qt::AltModifier);
    QTRY_COMPARE(launchClicks.size(), 1);
    QCOMPARE(helpClicks.size(), 0);

    QTest::keyClick(&window, Qt::Key_H, Qt::AltModifier);
    QTRY_COMPARE(helpClicks.size(), 1);
    QCOMPARE(launchClicks.size(), 1);
}

QTEST_MAIN(MainWindowTest)
#include "tst_accessibility.moc"
