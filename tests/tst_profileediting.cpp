// Adding, updating and removing profiles through the real buttons and dialogs.
#include "editing_support.h"
#include "launcher.h"
#include "modalanswerer.h"
#include "testenv.h"

#include <QComboBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

namespace {

const QString AddTitle = QStringLiteral("Add Profile");
const QString NameDialog = AddTitle + u'|';
const QString ReplaceQuestion =
    AddTitle + QStringLiteral("|This profile already exists. Do you want to replace it?");
const QString NameLabel = QStringLiteral("Enter the name for the new profile");

// Answers the name dialog; notes its label and the text it opened with in *shown.
ModalAnswerer::Answer NameAnswer(const QString& name, const QString& button, QStringList* shown)
{
    return [=](QWidget* dialog) {
        auto* input = qobject_cast<QInputDialog*>(dialog);
        if (shown)
            shown->append(input ? input->labelText() + u'|' + input->textValue() : QString());
        if (input)
            input->findChild<QLineEdit*>()->setText(name);
        ModalAnswerer::PressButton(dialog, button);
    };
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UsePrivateDataLocation(); }
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig)); }

    void addsNewProfile_data();
    void addsNewProfile();
    void replacesProfileOfSameName_data();
    void replacesProfileOfSameName();
    void declinedReplacementAsksAgain();
    void cancelledAddChangesNothing_data();
    void cancelledAddChangesNothing();
    void nameWithQuoteIsRefused();
    void updatesSelectedProfile();
    void removesProfile_data();
    void removesProfile();
    void declinedRemovalChangesNothing();

private:
    static QString State(MainWindow& w)
    {
        return EditingState(&w, w.m_profiles, w.m_sections);
    }
    static QString ReloadDifference(MainWindow& w)
    {
        w.SaveConfig();
        return EditingReloadDifference(w.m_profiles, w.m_sections);
    }
    static void SetControls(MainWindow& w, int resolution, int density, int input,
                            const QString& arguments)
    {
        w.m_sections[1].comboBox->setCurrentIndex(resolution);
        w.m_sections[2].comboBox->setCurrentIndex(density);
        w.m_sections[3].comboBox->setCurrentIndex(input);
        w.m_argumentsEdit->setText(arguments);
    }
    static QStringList Names(const MainWindow& w)
    {
        QStringList names;
        for (const Profile& p : w.m_profiles)
            names.append(p.name);
        return names;
    }
    static QStringList Rows(const MainWindow& w)
    {
        QStringList rows;
        for (int i = 0; i < w.m_profileList->count(); ++i)
            rows.append(w.m_profileList->item(i)->text());
        return rows;
    }
    // The controls as the profile line of EditingProfiles would read them.
    static QString Controls(const MainWindow& w, const QString& name)
    {
        return QStringLiteral("%1|%2|%3 %4 %5")
            .arg(name, w.m_argumentsEdit->text())
            .arg(w.m_sections[1].comboBox->currentIndex())
            .arg(w.m_sections[2].comboBox->currentIndex())
            .arg(w.m_sections[3].comboBox->currentIndex());
    }
};

void MainWindowTest::addsNewProfile_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("new name") << "Fresh";
    QTest::newRow("other letter case") << "base";
    QTest::newRow("leading blank") << " Base";
    QTest::newRow("trailing blank") << "Base ";
    QTest::newRow("only blanks") << "   ";
    QTest::newRow("comma, equals sign and tab") << "a,b = c\td";
}

void MainWindowTest::addsNewProfile()
{
    QFETCH(QString, name);
    MainWindow window;
    const QStringList before = EditingProfiles(window.m_profiles);
    SetControls(window, 2, 3, 1, "  -x 1  ");
    QCOMPARE(window.m_addUpdateButton->text(), "Add");
    QVERIFY(window.m_addUpdateButton->isEnabled());

    ModalAnswerer answerer;
    QStringList shown;
    answerer.enqueue(NameAnswer(name, "OK", &shown));
    EditingGuard(answerer);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, QStringList{NameDialog});
    QCOMPARE(shown, QStringList{NameLabel + u'|'});
    QCOMPARE(EditingProfiles(window.m_profiles), before + QStringList{name + "|  -x 1  |2 3 1"});
    QCOMPARE(Rows(window), Names(window));
    QCOMPARE(window.m_profileList->currentRow(), 4);
    QCOMPARE(window.m_addUpdateButton->text(), "Update");
    QVERIFY(!window.m_addUpdateButton->isEnabled());
    QVERIFY(window.m_removeProfileButton->isEnabled());
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::replacesProfileOfSameName_data()
{
    QTest::addColumn<int>("row");
    QTest::newRow("later profile") << 2;
    QTest::newRow("first profile") << 0;
}

void MainWindowTest::replacesProfileOfSameName()
{
    QFETCH(int, row);
    MainWindow window;
    QStringList expected = EditingProfiles(window.m_profiles);
    const QString name = window.m_profiles[row].name;
    expected[row] = name + "| -x |2 3 1";
    SetControls(window, 2, 3, 1, " -x ");

    ModalAnswerer answerer;
    answerer.enqueue(NameAnswer(name, "OK", nullptr));
    answerer.pressButton("OK");
    EditingGuard(answerer);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, (QStringList{NameDialog, ReplaceQuestion}));
    QCOMPARE(EditingProfiles(window.m_profiles), expected);
    QCOMPARE(Rows(window), Names(window));
    QCOMPARE(window.m_profileList->currentRow(), row);
    QCOMPARE(Controls(window, name), expected[row]);
    QCOMPARE(window.m_addUpdateButton->text(), row == 0 ? "Add" : "Update");
    QVERIFY(!window.m_addUpdateButton->isEnabled());
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::declinedReplacementAsksAgain()
{
    MainWindow window;
    SetControls(window, 2, 3, 1, "-x");
    const QString before = State(window);

    ModalAnswerer answerer;
    QStringList shown;
    answerer.enqueue(NameAnswer("Tablet", "OK", &shown));
    answerer.pressButton("Cancel");
    answerer.enqueue(NameAnswer(QString(), "Cancel", &shown));
    EditingGuard(answerer);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, (QStringList{NameDialog, ReplaceQuestion, NameDialog}));
    QCOMPARE(shown, (QStringList{NameLabel + u'|', NameLabel + u'|'}));
    QCOMPARE(State(window), before);
}

void MainWindowTest::cancelledAddChangesNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("button");
    QTest::newRow("cancelled with a name typed") << "Fresh" << "Cancel";
    QTest::newRow("empty name") << "" << "OK";
}

void MainWindowTest::cancelledAddChangesNothing()
{
    QFETCH(QString, name);
    QFETCH(QString, button);
    MainWindow window;
    SetControls(window, 2, 3, 1, "-x");
    const QString before = State(window);

    ModalAnswerer answerer;
    answerer.enqueue(NameAnswer(name, button, nullptr));
    EditingGuard(answerer);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, QStringList{NameDialog});
    QCOMPARE(State(window), before);
}

void MainWindowTest::nameWithQuoteIsRefused()
{
    MainWindow window;
    SetControls(window, 2, 3, 1, "-x");
    const QString before = State(window);

    ModalAnswerer answerer;
    QStringList shown;
    answerer.enqueue(NameAnswer("Big \"one\"", "OK", nullptr));
    answerer.pressButton("OK");
    answerer.enqueue(NameAnswer(QString(), "Cancel", &shown));
    EditingGuard(answerer);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen.size(), 3);
    QCOMPARE(answerer.seen[0], NameDialog);
    QVERIFY2(answerer.seen[1].startsWith(AddTitle + u'|') &&
                 answerer.seen[1].contains("double quote"),
             qPrintable(answerer.seen[1]));
    QCOMPARE(answerer.seen[2], NameDialog);
    QCOMPARE(shown, QStringList{NameLabel + u'|'});
    QCOMPARE(State(window), before);
}

void MainWindowTest::updatesSelectedProfile()
{
    MainWindow window;
    window.m_profileList->setCurrentRow(1);
    QCOMPARE(window.m_addUpdateButton->text(), "Update");
    QVERIFY(!window.m_addUpdateButton->isEnabled());
    QStringList expected = EditingProfiles(window.m_profiles);
    expected[1] = "Phone|  -y  |3 1 1";
    SetControls(window, 3, 1, 1, "  -y  ");
    QVERIFY(window.m_addUpdateButton->isEnabled());

    ModalAnswerer answerer;
    EditingGuard(answerer);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, QStringList());
    QCOMPARE(EditingProfiles(window.m_profiles), expected);
    QCOMPARE(Rows(window), Names(window));
    QCOMPARE(window.m_profileList->currentRow(), 1);
    QVERIFY(!window.m_addUpdateButton->isEnabled());

    // Stored as typed: coming back shows the blanks again.
    window.m_profileList->setCurrentRow(0);
    window.m_profileList->setCurrentRow(1);
    QCOMPARE(Controls(window, "Phone"), expected[1]);
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::removesProfile_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QStringList>("remaining");
    QTest::newRow("second of four") << 1 << QStringList{"Base", "Tablet", "Watch"};
    QTest::newRow("third of four") << 2 << QStringList{"Base", "Phone", "Watch"};
    QTest::newRow("last row") << 3 << QStringList{"Base", "Phone", "Tablet"};
}

void MainWindowTest::removesProfile()
{
    QFETCH(int, row);
    QFETCH(QStringList, remaining);
    MainWindow window;
    QStringList expected = EditingProfiles(window.m_profiles);
    expected.removeAt(row);
    const QString name = window.m_profiles[row].name;
    window.m_profileList->setCurrentRow(row);
    QVERIFY(window.m_removeProfileButton->isEnabled());

    ModalAnswerer answerer;
    answerer.pressButton("OK");
    EditingGuard(answerer);
    window.m_removeProfileButton->click();

    QCOMPARE(answerer.seen,
             QStringList{"Confirm Remove Profile|Are you sure you want to remove this "
                         "profile?\n\n" +
                         name});
    QCOMPARE(Names(window), remaining);
    QCOMPARE(Rows(window), remaining);
    QCOMPARE(EditingProfiles(window.m_profiles), expected);
    QCOMPARE(window.m_profileList->currentRow(), 0);
    QCOMPARE(Controls(window, "Base"), expected[0]);
    QCOMPARE(window.m_addUpdateButton->text(), "Add");
    QVERIFY(!window.m_addUpdateButton->isEnabled());
    QVERIFY(!window.m_removeProfileButton->isEnabled());
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::declinedRemovalChangesNothing()
{
    MainWindow window;
    window.m_profileList->setCurrentRow(2);
    const QString before = State(window);

    ModalAnswerer answerer;
    answerer.pressButton("Cancel");
    EditingGuard(answerer);
    window.m_removeProfileButton->click();

    QCOMPARE(answerer.seen.size(), 1);
    QCOMPARE(State(window), before);
}

QTEST_MAIN(MainWindowTest)
#include "tst_profileediting.moc"
