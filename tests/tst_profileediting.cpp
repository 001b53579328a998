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
const QString NameOpened = QStringLiteral("Enter the name for the new profile|");

// Answers with "typed|button": a name dialog gets the text typed first, and notes its label
// and the text it opened with in *opened.
void Answer(ModalAnswerer& answerer, const QStringList& steps, QStringList* opened)
{
    for (const QString& step : steps) {
        const QString typed = step.section(u'|', 0, 0);
        const QString button = step.section(u'|', 1);
        answerer.enqueue([=](QWidget* dialog) {
            if (auto* input = qobject_cast<QInputDialog*>(dialog)) {
                opened->append(input->labelText() + u'|' + input->textValue());
                input->findChild<QLineEdit*>()->setText(typed);
            }
            ModalAnswerer::PressButton(dialog, button);
        });
    }
    EditingGuard(answerer);
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UsePrivateDataLocation(); }
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
    // The controls as a line of EditingProfiles, under the current row's name.
    static QString Controls(const MainWindow& w)
    {
        return QStringLiteral("%1|%2|%3 %4 %5")
            .arg(w.m_profileList->currentItem()->text(), w.m_argumentsEdit->text())
            .arg(w.m_sections[1].comboBox->currentIndex())
            .arg(w.m_sections[2].comboBox->currentIndex())
            .arg(w.m_sections[3].comboBox->currentIndex());
    }
    // The list's rows, which must show the profiles' names in step.
    static QStringList Rows(const MainWindow& w)
    {
        QStringList rows;
        for (int i = 0; i < w.m_profileList->count(); ++i)
            rows.append(w.m_profileList->item(i)->text());
        QStringList names;
        for (const Profile& p : w.m_profiles)
            names.append(p.name);
        return rows == names ? rows : QStringList{"rows and profiles differ"};
    }
};

void MainWindowTest::addsOrReplacesProfile_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("row"); // where the profile stands afterwards
    QTest::newRow("new name") << "Fresh" << 4;
    QTest::newRow("other letter case") << "base" << 4;
    QTest::newRow("leading blank") << " Base" << 4;
    QTest::newRow("trailing blank") << "Base " << 4;
    QTest::newRow("only blanks") << "   " << 4;
    QTest::newRow("comma, equals sign and tab") << "a,b = c\td" << 4;
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
    SetControls(window, 2, 3, 1, "  -x 1  ");
    QVERIFY(window.m_addUpdateButton->isEnabled());

    ModalAnswerer answerer;
    QStringList opened;
    Answer(answerer, QStringList{name + "|OK", "|OK"}.mid(0, replaces ? 2 : 1), &opened);
    window.m_addUpdateButton->click();

    const QStringList seen{NameDialog, ReplaceQuestion};
    QCOMPARE(answerer.seen, seen.mid(0, replaces ? 2 : 1));
    QCOMPARE(opened, QStringList{NameOpened});
    QCOMPARE(EditingProfiles(window.m_profiles), expected);
    QCOMPARE(Rows(window).size(), expected.size());
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
    SetControls(window, 2, 3, 1, "-x");
    const QString before = State(window);

    ModalAnswerer answerer;
    QStringList opened;
    Answer(answerer, steps, &opened);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, seen);
    QCOMPARE(opened, QStringList(seen.count(NameDialog), NameOpened)); // always an empty field
    QCOMPARE(State(window), before);
}

void MainWindowTest::updatesSelectedProfile()
{
    MainWindow window;
    window.m_profileList->setCurrentRow(1);
    QCOMPARE(window.m_addUpdateButton->text(), "Update");
    QStringList expected = EditingProfiles(window.m_profiles);
    expected[1] = "Phone|  -y  |3 1 1";
    SetControls(window, 3, 1, 1, "  -y  ");
    QVERIFY(window.m_addUpdateButton->isEnabled());

    ModalAnswerer answerer;
    EditingGuard(answerer);
    window.m_addUpdateButton->click();

    QCOMPARE(answerer.seen, QStringList());
    QCOMPARE(EditingProfiles(window.m_profiles), expected);
    QCOMPARE(Rows(window).size(), 4);
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
    QTest::addColumn<QStringList>("remaining");
    QTest::newRow("second of four") << 1 << "OK" << QStringList{"Base", "Tablet", "Watch"};
    QTest::newRow("third of four") << 2 << "OK" << QStringList{"Base", "Phone", "Watch"};
    QTest::newRow("last row") << 3 << "OK" << QStringList{"Base", "Phone", "Tablet"};
    QTest::newRow("declined") << 2 << "Cancel" << QStringList();
}

void MainWindowTest::removesProfile()
{
    QFETCH(int, row);
    QFETCH(QString, answer);
    QFETCH(QStringList, remaining);
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

    QCOMPARE(
        answerer.seen,
        QStringList{"Confirm Remove Profile|Are you sure you want to remove this profile?\n\n" +
                    name});
    if (answer != "OK") {
        QCOMPARE(State(window), before);
        return;
    }
    QCOMPARE(Rows(window), remaining);
    QCOMPARE(EditingProfiles(window.m_profiles), expected);
    QCOMPARE(window.m_profileList->currentRow(), 0);
    QCOMPARE(Controls(window), expected[0]);
    QCOMPARE(window.m_addUpdateButton->text(), "Add");
    QVERIFY(!window.m_addUpdateButton->isEnabled());
    QVERIFY(!window.m_removeProfileButton->isEnabled());
    QCOMPARE(ReloadDifference(window), QString());
}

QTEST_MAIN(MainWindowTest)
#include "tst_profileediting.moc"
