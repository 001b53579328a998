// Editing through the real buttons and dialogs: profiles added, replaced, updated and removed,
// and entries added to and removed from the option lists. The rules the slots apply are the
// model's (tst_model); here the dialogs' texts, and the list, combo boxes and buttons kept in
// step with the model.
#include "adddlg.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QGuiApplication>
#include <QInputDialog>
#include <QScreen>
#include <QTest>

using W = WindowFixture;

namespace {

const QString NameDialog = QStringLiteral("Add Profile|");

// Answers with "typed|button"; a name dialog must open empty each time.
void AnswerNames(ModalAnswerer& answerer, const QStringList& steps)
{
    for (const QString& step : steps) {
        answerer.enqueue([=](QWidget* dialog) {
            if (auto* input = qobject_cast<QInputDialog*>(dialog)) {
                QCOMPARE(input->labelText(), "Enter the name for the new profile");
                QCOMPARE(input->textValue(), QString());
                input->setTextValue(step.section(u'|', 0, 0));
            }
            ModalAnswerer::PressButton(dialog, step.section(u'|', 1));
        });
    }
    answerer.guard();
}

QSize ScreenSize()
{
    return QGuiApplication::primaryScreen()->geometry().size();
}

} // namespace

class EditingTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        UsePrivateDataLocation();
    }
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig())); }

    void addsOrReplacesProfile_data();
    void addsOrReplacesProfile();
    void removesProfile_data();
    void removesProfile();
    void addsOption_data();
    void addsOption();
    void removesOption_data();
    void removesOption();
};

void EditingTest::addsOrReplacesProfile_data()
{
    QTest::addColumn<int>("selected");      // the row shown when the button is pressed
    QTest::addColumn<QStringList>("steps"); // the answers, "typed|button"
    QTest::addColumn<QStringList>("seen");
    QTest::addColumn<int>("row"); // where the profile stands afterwards; -1: nothing changes
    const QString replace = NameDialog + "This profile already exists. Do you want to replace it?";
    const QString quote = NameDialog + "A profile name can't contain a double quote (\"). "
                                       "Please choose another name.";
    QTest::newRow("new name") << 0 << QStringList{"Fresh|OK"} << QStringList{NameDialog} << 4;
    QTest::newRow("later profile's name, replaced")
        << 0 << QStringList{"Tablet|OK", "|OK"} << QStringList{NameDialog, replace} << 2;
    // Replacing row 0 keeps the current row, so no row change refreshes the buttons.
    QTest::newRow("first profile's name, replaced")
        << 0 << QStringList{"Base|OK", "|OK"} << QStringList{NameDialog, replace} << 0;
    QTest::newRow("empty name") << 0 << QStringList{"|OK"} << QStringList{NameDialog} << -1;
    QTest::newRow("selected profile updated, nothing asked")
        << 1 << QStringList() << QStringList() << 1;
    QTest::newRow("cancelled with a name typed")
        << 0 << QStringList{"Fresh|Cancel"} << QStringList{NameDialog} << -1;
    QTest::newRow("replacement declined, asked again, cancelled")
        << 0 << QStringList{"Tablet|OK", "|Cancel", "|Cancel"}
        << QStringList{NameDialog, replace, NameDialog} << -1;
    QTest::newRow("double quote refused, asked again, cancelled")
        << 0 << QStringList{"Big \"one\"|OK", "|OK", "|Cancel"}
        << QStringList{NameDialog, quote, NameDialog} << -1;
}

void EditingTest::addsOrReplacesProfile()
{
    QFETCH(int, selected);
    QFETCH(QStringList, steps);
    QFETCH(QStringList, seen);
    QFETCH(int, row);
    MainWindow w;
    W::Select(w, selected);
    QList<Profile> expected = W::Profiles(w);
    const QString name = steps.isEmpty() ? expected[selected].name : steps[0].section(u'|', 0, 0);
    const Profile added{name, "  -x 1  ", {2, 3, 1}};
    if (row >= expected.size())
        expected.append(added);
    else if (row >= 0)
        expected[row] = added;
    W::SetControls(w, added);

    ModalAnswerer answerer;
    AnswerNames(answerer, steps);
    W::AddUpdateButton(w)->click();

    QCOMPARE(answerer.seen, seen);
    QCOMPARE(W::Profiles(w), expected);
    QVERIFY(W::InStep(w));
    const int current = row < 0 ? selected : row;
    QCOMPARE(W::ProfileList(w)->currentRow(), current);
    QCOMPARE(W::Controls(w), (Profile{expected[current].name, added.arguments, {2, 3, 1}}));
    QCOMPARE(W::AddUpdateButton(w)->text(), current == 0 ? "Add" : "Update");
    QCOMPARE(W::AddUpdateButton(w)->isEnabled(), row < 0);
    QCOMPARE(W::RemoveProfileButton(w)->isEnabled(), current != 0);
}

void EditingTest::removesProfile_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("answer");
    QTest::newRow("removed") << 2 << "OK";
    QTest::newRow("declined") << 2 << "Cancel";
}

void EditingTest::removesProfile()
{
    QFETCH(int, row);
    QFETCH(QString, answer);
    MainWindow w;
    QList<Profile> expected = W::Profiles(w);
    const QString name = expected[row].name;
    if (answer == "OK")
        expected.removeAt(row);
    W::Select(w, row);

    ModalAnswerer answerer;
    answerer.pressButton(answer);
    answerer.guard();
    W::RemoveProfileButton(w)->click();

    QCOMPARE(answerer.seen, QStringList{"Confirm Remove Profile|Are you sure you want to remove "
                                        "this profile?\n\n" +
                                        name});
    QCOMPARE(W::Profiles(w), expected);
    QVERIFY(W::InStep(w));
    const int current = answer == "OK" ? 0 : row;
    QCOMPARE(W::ProfileList(w)->currentRow(), current);
    QCOMPARE(W::Controls(w), expected[current]);
    QCOMPARE(W::RemoveProfileButton(w)->isEnabled(), current != 0);
}

void EditingTest::addsOption_data()
{
    const QString width = QString::number(ScreenSize().width());
    const QString height = QString::number(ScreenSize().height());
    const QString taller = QString::number(ScreenSize().height() + 1);
    QTest::addColumn<OptionKind>("kind");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QStringList>("answers"); // the dialog's, then the screen size warning's
    QTest::addColumn<QString>("value");       // null when nothing is added
    const OptionKind size = OptionKind::Resolution;
    QTest::newRow("resolution of the screen's size, no warning")
        << size << QStringList{"Screen", width, height} << QStringList{"OK"}
        << " -windowsize " + width + "x" + height;
    QTest::newRow("pixel density: existing name, no size check")
        << OptionKind::PixelDensity << QStringList{"mdpi", "99999999"} << QStringList{"OK"}
        << " -ppi 99999999";
    QTest::newRow("resolution, Cancel")
        << size << QStringList{"A", "1", "1"} << QStringList{"Cancel"} << QString();
    QTest::newRow("one wider, No")
        << size << QStringList{"Big", QString::number(ScreenSize().width() + 1), height}
        << QStringList{"OK", "No"} << QString();
    QTest::newRow("one taller, Yes")
        << size << QStringList{"Big", width, taller} << QStringList{"OK", "Yes"}
        << " -windowsize " + width + "x" + taller;
}

void EditingTest::addsOption()
{
    QFETCH(OptionKind, kind);
    QFETCH(QStringList, texts);
    QFETCH(QStringList, answers);
    QFETCH(QString, value);
    MainWindow w;
    const QList<Profile> profiles = W::Profiles(w);
    QList<ConfigSection> expected = W::Sections(w);
    QList<OptionEntry>& entries = expected[SectionIndex(kind)].entries;
    const int shownBefore = W::ComboBox(w, kind)->currentIndex();
    if (!value.isNull())
        entries.append({texts[0], value});

    ModalAnswerer answerer;
    QStringList labels;
    answerer.enqueue([&](QWidget* dialog) {
        auto* add = qobject_cast<AddDlg*>(dialog);
        QVERIFY(add);
        for (int i = 0; i < add->m_fields.size(); ++i) {
            labels.append(add->m_fields[i].label);
            add->m_fields[i].edit->setText(texts.value(i));
        }
        ModalAnswerer::PressButton(dialog, answers[0]);
    });
    if (answers.size() > 1)
        answerer.pressButton(answers[1]);
    answerer.guard();
    kind == OptionKind::Resolution ? w.OnAddResolution() : w.OnAddPixelDensity();

    const bool resolution = kind == OptionKind::Resolution;
    const QStringList expectedLabels = resolution ? QStringList{"Name:", "Width:", "Height:"}
                                                  : QStringList{"Name:", "Pixel Density:"};
    QCOMPARE(labels, expectedLabels);
    QStringList seen{resolution ? "Add Resolution|" : "Add Pixel Density|"};
    if (answers.size() > 1)
        seen.append(QStringLiteral("Resolution bigger than the current screen size!|You are "
                                   "trying to add: %1x%2\nbut the current screen "
                                   "resolution is: %3x%4\n\nAre you sure ?")
                        .arg(texts[1], texts[2])
                        .arg(ScreenSize().width())
                        .arg(ScreenSize().height()));
    QCOMPARE(answerer.seen, seen);
    QCOMPARE(W::Sections(w), expected);
    QCOMPARE(W::Profiles(w), profiles);
    QVERIFY(W::InStep(w));
    const int current = value.isNull() ? shownBefore : int(entries.size()) - 1;
    QCOMPARE(W::ComboBox(w, kind)->currentIndex(), current);
    QCOMPARE(W::RemoveButton(w, kind)->isEnabled(), current > 0);
}

void EditingTest::removesOption_data()
{
    // With Phone shown (Resolution 1, Pixel Density 2, no arguments).
    QTest::addColumn<OptionKind>("kind");
    QTest::addColumn<QString>("answer"); // empty: not asked
    QTest::newRow("used resolution") << OptionKind::Resolution << "Yes";
    QTest::newRow("unused pixel density, not asked") << OptionKind::PixelDensity << "";
    QTest::newRow("declined") << OptionKind::Resolution << "No";
}

void EditingTest::removesOption()
{
    QFETCH(OptionKind, kind);
    QFETCH(QString, answer);
    MainWindow w;
    W::Select(w, 1);
    W::ComboBox(w, kind)->setCurrentIndex(1);
    const Profile controls = W::Controls(w);
    QList<ConfigSection> sections = W::Sections(w);
    QList<Profile> profiles = W::Profiles(w);
    if (answer != "No")
        RemoveOption(sections, profiles, kind, 1);

    ModalAnswerer answerer;
    if (!answer.isEmpty())
        answerer.pressButton(answer);
    answerer.guard();
    W::RemoveButton(w, kind)->click();

    QCOMPARE(answerer.seen, answer.isEmpty()
                                ? QStringList()
                                : QStringList{"Confirm remove resolution|The following profiles "
                                              "use this option, are you sure you want to "
                                              "continue?\n\nPhone\nWatch\n"});
    QCOMPARE(W::Profiles(w), profiles);
    QCOMPARE(W::Sections(w), sections);
    QVERIFY(W::InStep(w));
    if (answer == "No") {
        QCOMPARE(W::Controls(w), controls);
        return;
    }
    QCOMPARE(W::ComboBox(w, kind)->currentIndex(), 0);
    QVERIFY(!W::RemoveButton(w, kind)->isEnabled());
    // A repair reaches the model only: the field shows it once Phone is chosen again.
    QCOMPARE(W::Arguments(w)->text(), QString());
    W::Select(w, 0);
    W::Select(w, 1);
    QCOMPARE(W::Controls(w), profiles[1]);
}

QTEST_MAIN(EditingTest)
#include "tst_editing.moc"
