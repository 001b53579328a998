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

const QString NameDialog = QStringLiteral("Add Profile|");
const QString ReplaceQuestion =
    NameDialog + QStringLiteral("This profile already exists. Do you want to replace it?");
const QString QuoteWarning = NameDialog + QStringLiteral("A profile name can't contain a double "
                                                         "quote (\"). Please choose another name.");

// Answers with "typed|button"; a name dialog must open empty each time.
void Answer(ModalAnswerer& answerer, const QStringList& steps)
{
    for (const QString& step : steps) {
        answerer.enqueue([=](QWidget* dialog) {
            if (auto* input = qobject_cast<QInputDialog*>(dialog)) {
                QCOMPARE(input->labelText(), "Enter the name for the new profile");
                QCOMPARE(input->textValue(), QString());
                input->findChild<QLineEdit*>()->setText(step.section(u'|', 0, 0));
            }
            ModalAnswerer::PressButton(dialog, step.section(u'|', 1));
        });
    }
    EditingGuard(answerer);
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        UsePrivateDataLocation();
    }
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig)); }

    void addsOrReplacesProfile_data();
    void addsOrReplacesProfile();
    void addEndingWithoutProfileChangesNothing_data();
    void addEndingWithoutProfileChangesNothing();
    void updatesSelectedProfile();
    void removesProfile_data();
    void removesProfile();

private:
    static QString State(MainWindow& w) { return EditingState(&w, w.m_profiles, w.m_sections); }
    static QString ReloadDifference(MainWindow& w)
    {
        return EditingReloadDifference(w.SaveConfig(), w.m_profiles, w.m_sections);
    }
    static QString Controls(const MainWindow& w)
    {
        return EditingControls(w.m_profileList, w.m_sections, w.m_argumentsEdit);
    }
};

void MainWindowTest::addsOrReplacesProfile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("row"); // where the profile stands afterwards
    QTest::newRow("new name") << "Fresh" << 4;
    QTest::newRow("other letter case is new") << "base" << 4;
    QTest::newRow("blanks around are new") << " Base " << 4;
    QTest::newRow("later profile's name, replaced") << "Tablet" << 2;
    QTest::newRow("first profile's name, replaced") << "Base" << 0;
}

void MainWindowTest::addsOrReplacesProfile()
{
    QFETCH(QString, name);
    QFETCH(int, row);
    MainWindow window;
    QStringList expected = EditingProfiles(window.m_profiles);
    const bool replaces = row < expected.size();
    if (!replaces)
        expected.append(QString());
    expected[row] = name + "|  -x 1  |2 3 1";
    EditingSetControls(window.m_sections, window.m_argumentsEdit, {2, 3, 1}, "  -x 1  ");

    ModalAnswerer answerer;
    Answer(answerer, QStringList{name + "|OK", "|OK"}.mid(0, replaces ? 2 : 1));
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, QStringList({NameDialog, ReplaceQuestion}).mid(0, replaces ? 2 : 1));
    QCOMPARE(EditingProfiles(window.m_profiles), expected);
    QCOMPARE(window.m_profileList->count(), expected.size());
    QCOMPARE(window.m_profileList->currentRow(), row);
    QCOMPARE(Controls(window), expected[row]);
    QCOMPARE(window.m_addUpdateButton->text(), row == 0 ? "Add" : "Update");
    QVERIFY(!window.m_addUpdateButton->isEnabled());
    QCOMPARE(window.m_removeProfileButton->isEnabled(), row != 0);
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::addEndingWithoutProfileChangesNothing_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("seen");
    QTest::newRow("cancelled with a name typed")
        << QStringList{"Fresh|Cancel"} << QStringList{NameDialog};
    QTest::newRow("empty name") << QStringList{"|OK"} << QStringList{NameDialog};
    QTest::newRow("replacement declined, asked again, cancelled")
        << QStringList{"Tablet|OK", "|Cancel", "|Cancel"}
        << QStringList{NameDialog, ReplaceQuestion, NameDialog};
    QTest::newRow("double quote refused, asked again, cancelled")
        << QStringList{"Big \"one\"|OK", "|OK", "|Cancel"}
        << QStringList{NameDialog, QuoteWarning, NameDialog};
}

void MainWindowTest::addEndingWithoutProfileChangesNothing()
{
    QFETCH(QStringList, steps);
    QFETCH(QStringList, seen);
    MainWindow window;
    EditingSetControls(window.m_sections, window.m_argumentsEdit, {2, 3, 1}, "-x");
    const QString before = State(window);

    ModalAnswerer answerer;
    Answer(answerer, steps);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, seen);
    QCOMPARE(State(window), before);
}

void MainWindowTest::updatesSelectedProfile()
{
    MainWindow window;
    window.m_profileList->setCurrentRow(1);
    QCOMPARE(window.m_addUpdateButton->text(), "Update");
    QStringList expected = EditingProfiles(window.m_profiles);
    expected[1] = "Phone|  -y  |3 1 1";
    EditingSetControls(window.m_sections, window.m_argumentsEdit, {3, 1, 1}, "  -y  ");

    ModalAnswerer answerer;
    EditingGuard(answerer);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, QStringList());
    QCOMPARE(EditingProfiles(window.m_profiles), expected);
    QCOMPARE(window.m_profileList->count(), 4);
    QVERIFY(!window.m_addUpdateButton->isEnabled());
    // Stored as typed: coming back shows the blanks again.
    window.m_profileList->setCurrentRow(0);
    window.m_profileList->setCurrentRow(1);
    QCOMPARE(Controls(window), expected[1]);
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::removesProfile_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("answer");
    QTest::newRow("middle row") << 1 << "OK";
    QTest::newRow("last row") << 3 << "OK";
    QTest::newRow("declined") << 2 << "Cancel";
}

void MainWindowTest::removesProfile()
{
    QFETCH(int, row);
    QFETCH(QString, answer);
    MainWindow window;
    QStringList expected = EditingProfiles(window.m_profiles);
    expected.removeAt(row);
    const QString name = window.m_profiles[row].name;
    window.m_profileList->setCurrentRow(row);
    const QString before = State(window);

    ModalAnswerer answerer;
    answerer.pressButton(answer);
    EditingGuard(answerer);
    window.m_removeProfileButton->click();

    QCOMPARE(answerer.seen, QStringList{"Confirm Remove Profile|Are you sure you want to remove "
                                        "this profile?\n\n" +
                                        name});
    if (answer != "OK") {
        QCOMPARE(State(window), before);
        return;
    }
    QCOMPARE(window.m_profileList->count(), expected.size());
    QCOMPARE(EditingProfiles(window.m_profiles), expected);
    QCOMPARE(window.m_profileList->currentRow(), 0);
    QCOMPARE(Controls(window), expected[0]);
    QVERIFY(!window.m_removeProfileButton->isEnabled());
    QCOMPARE(ReloadDifference(window), QString());
}

QTEST_MAIN(MainWindowTest)
#include "tst_profileediting.moc"
