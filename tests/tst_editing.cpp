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
#include <QListWidget>
#include <QScreen>
#include <QTest>

namespace {

// Profiles (Resolution, Pixel Density, Input, arguments): Base 0 0 0, Phone 1 2 0, Tablet 2 3 1
// "-t", Watch 1 2 1 "-b". Resolution 1 has two users.
const QByteArray EditingConfig = "$VERSION\t106\n[Profile]\n"
                                 "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
                                 "\"Phone\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 0 \"\n"
                                 "\"Tablet\"\t\"[Resolution] 2 [PixelDensity] 3 [Input] 1 -t\"\n"
                                 "\"Watch\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 1 -b\"\n"
                                 "[Resolution]\n\"Default\"\t\"\"\n"
                                 "\"Small\"\t\" -windowsize 320x480\"\n"
                                 "\"Large\"\t\" -windowsize 800x1280\"\n"
                                 "\"Huge\"\t\" -windowsize 1536x2048\"\n"
                                 "[PixelDensity]\n\"Default\"\t\"\"\n\"ldpi\"\t\" -ppi 120\"\n"
                                 "\"mdpi\"\t\" -ppi 160\"\n\"hdpi\"\t\" -ppi 240\"\n"
                                 "[Input]\n\"Touch\"\t\"\"\n\"Mouse\"\t\" -input mouse\"\n";

const QString NameDialog = QStringLiteral("Add Profile|");
const QString ReplaceQuestion =
    NameDialog + QStringLiteral("This profile already exists. Do you want to replace it?");
const QString QuoteWarning = NameDialog + QStringLiteral("A profile name can't contain a double "
                                                         "quote (\"). Please choose another name.");

// Queued after the expected answers: rejects the next few dialogs, so one nobody expected is
// closed instead of hanging the test, and the answerer's `seen` shows it.
void Guard(ModalAnswerer& answerer)
{
    for (int i = 0; i < 5; ++i) {
        answerer.enqueue([](QWidget* dialog) {
            QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
        });
    }
}

// Answers with "typed|button"; a name dialog must open empty each time.
void AnswerNames(ModalAnswerer& answerer, const QStringList& steps)
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
    Guard(answerer);
}

// Fills the add dialog's rows and presses button ("Escape" for the key); notes the title and
// the labels.
ModalAnswerer::Answer AddAnswer(const QStringList& texts, const QString& button, QStringList* shown)
{
    return [=](QWidget* dialog) {
        QStringList labels{dialog->windowTitle()};
        if (auto* add = qobject_cast<AddDlg*>(dialog)) {
            for (int i = 0; i < add->m_fields.size(); ++i) {
                labels.append(add->m_fields[i].label);
                add->m_fields[i].edit->setText(texts.value(i));
            }
        }
        *shown = labels;
        if (button == "Escape")
            QTest::keyClick(dialog, Qt::Key_Escape);
        else
            ModalAnswerer::PressButton(dialog, button);
    };
}

// The list and the combo boxes show what the model holds.
void VerifyInStep(MainWindow& w)
{
    QCOMPARE(WindowFixture::Rows(w), WindowFixture::Names(WindowFixture::Profiles(w)));
    for (const OptionKind kind : AllOptionKinds) {
        const ConfigSection& section = WindowFixture::Sections(w)[SectionIndex(kind)];
        QCOMPARE(WindowFixture::Items(w, kind), WindowFixture::Keys(section));
    }
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
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig)); }

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
    QTest::newRow("new name") << 0 << QStringList{"Fresh|OK"} << QStringList{NameDialog} << 4;
    QTest::newRow("later profile's name, replaced")
        << 0 << QStringList{"Tablet|OK", "|OK"} << QStringList{NameDialog, ReplaceQuestion} << 2;
    QTest::newRow("first profile's name, replaced")
        << 0 << QStringList{"Base|OK", "|OK"} << QStringList{NameDialog, ReplaceQuestion} << 0;
    QTest::newRow("selected profile updated, nothing asked")
        << 1 << QStringList() << QStringList() << 1;
    QTest::newRow("cancelled with a name typed")
        << 0 << QStringList{"Fresh|Cancel"} << QStringList{NameDialog} << -1;
    QTest::newRow("empty name") << 0 << QStringList{"|OK"} << QStringList{NameDialog} << -1;
    QTest::newRow("replacement declined, asked again, cancelled")
        << 0 << QStringList{"Tablet|OK", "|Cancel", "|Cancel"}
        << QStringList{NameDialog, ReplaceQuestion, NameDialog} << -1;
    QTest::newRow("double quote refused, asked again, cancelled")
        << 0 << QStringList{"Big \"one\"|OK", "|OK", "|Cancel"}
        << QStringList{NameDialog, QuoteWarning, NameDialog} << -1;
}

void EditingTest::addsOrReplacesProfile()
{
    QFETCH(int, selected);
    QFETCH(QStringList, steps);
    QFETCH(QStringList, seen);
    QFETCH(int, row);
    MainWindow w;
    WindowFixture::Select(w, selected);
    QList<Profile> expected = WindowFixture::Profiles(w);
    const QString name = steps.isEmpty() ? expected[selected].name : steps[0].section(u'|', 0, 0);
    const Profile added{name, "  -x 1  ", {2, 3, 1}};
    if (row >= expected.size())
        expected.append(added);
    else if (row >= 0)
        expected[row] = added;
    WindowFixture::SetControls(w, added);

    ModalAnswerer answerer;
    AnswerNames(answerer, steps);
    WindowFixture::AddUpdateButton(w)->click();

    QCOMPARE(answerer.seen, seen);
    QCOMPARE(WindowFixture::Profiles(w), expected);
    VerifyInStep(w);
    const int current = row < 0 ? selected : row;
    QCOMPARE(WindowFixture::ProfileList(w)->currentRow(), current);
    QCOMPARE(WindowFixture::Controls(w),
             (Profile{expected[current].name, added.arguments, {2, 3, 1}}));
    QCOMPARE(WindowFixture::AddUpdateButton(w)->text(), current == 0 ? "Add" : "Update");
    QCOMPARE(WindowFixture::AddUpdateButton(w)->isEnabled(), row < 0);
    QCOMPARE(WindowFixture::RemoveProfileButton(w)->isEnabled(), current != 0);
    // Stored as typed: coming back shows the blanks again.
    WindowFixture::Select(w, current == 0 ? 1 : 0);
    WindowFixture::Select(w, current);
    QCOMPARE(WindowFixture::Controls(w), expected[current]);
}

void EditingTest::removesProfile_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("answer");
    QTest::newRow("middle row") << 1 << "OK";
    QTest::newRow("last row") << 3 << "OK";
    QTest::newRow("declined") << 2 << "Cancel";
}

void EditingTest::removesProfile()
{
    QFETCH(int, row);
    QFETCH(QString, answer);
    MainWindow w;
    QList<Profile> expected = WindowFixture::Profiles(w);
    const QString name = expected[row].name;
    if (answer == "OK")
        expected.removeAt(row);
    WindowFixture::Select(w, row);

    ModalAnswerer answerer;
    answerer.pressButton(answer);
    Guard(answerer);
    WindowFixture::RemoveProfileButton(w)->click();

    QCOMPARE(answerer.seen, QStringList{"Confirm Remove Profile|Are you sure you want to remove "
                                        "this profile?\n\n" +
                                        name});
    QCOMPARE(WindowFixture::Profiles(w), expected);
    VerifyInStep(w);
    const int current = answer == "OK" ? 0 : row;
    QCOMPARE(WindowFixture::ProfileList(w)->currentRow(), current);
    QCOMPARE(WindowFixture::Controls(w), expected[current]);
    QCOMPARE(WindowFixture::RemoveProfileButton(w)->isEnabled(), current != 0);
}

void EditingTest::addsOption_data()
{
    const QString width = QString::number(ScreenSize().width());
    const QString height = QString::number(ScreenSize().height());
    const QString wider = QString::number(ScreenSize().width() + 1);
    const QString taller = QString::number(ScreenSize().height() + 1);
    QTest::addColumn<OptionKind>("kind");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("warning"); // the answer to the screen size warning, if asked
    QTest::addColumn<QString>("value");   // null when nothing is added
    QTest::newRow("resolution of the screen's size, no warning")
        << OptionKind::Resolution << QStringList{"Screen", width, height} << "OK"
        << ""
        << " -windowsize " + width + "x" + height;
    QTest::newRow("pixel density: existing name, no size check")
        << OptionKind::PixelDensity << QStringList{"mdpi", "99999999"} << "OK"
        << ""
        << " -ppi 99999999";
    QTest::newRow("resolution, Cancel")
        << OptionKind::Resolution << QStringList{"A", "1", "1"} << "Cancel"
        << "" << QString();
    QTest::newRow("pixel density, Escape")
        << OptionKind::PixelDensity << QStringList{"A", "1"} << "Escape"
        << "" << QString();
    QTest::newRow("one wider, No")
        << OptionKind::Resolution << QStringList{"Big", wider, height} << "OK"
        << "No" << QString();
    QTest::newRow("one taller, Yes")
        << OptionKind::Resolution << QStringList{"Big", width, taller} << "OK"
        << "Yes"
        << " -windowsize " + width + "x" + taller;
}

void EditingTest::addsOption()
{
    QFETCH(OptionKind, kind);
    QFETCH(QStringList, texts);
    QFETCH(QString, button);
    QFETCH(QString, warning);
    QFETCH(QString, value);
    MainWindow w;
    const QList<Profile> profiles = WindowFixture::Profiles(w);
    QList<ConfigSection> expected = WindowFixture::Sections(w);
    QList<OptionEntry>& entries = expected[SectionIndex(kind)].entries;
    const int shownBefore = WindowFixture::ComboBox(w, kind)->currentIndex();
    if (!value.isNull())
        entries.append({texts[0], value});

    ModalAnswerer answerer;
    QStringList shown;
    answerer.enqueue(AddAnswer(texts, button, &shown));
    if (!warning.isEmpty())
        answerer.pressButton(warning);
    Guard(answerer);
    kind == OptionKind::Resolution ? w.OnAddResolution() : w.OnAddPixelDensity();

    const bool resolution = kind == OptionKind::Resolution;
    const QStringList labels = resolution
                                   ? QStringList{"Add Resolution", "Name:", "Width:", "Height:"}
                                   : QStringList{"Add Pixel Density", "Name:", "Pixel Density:"};
    QCOMPARE(shown, labels);
    QStringList seen{resolution ? "Add Resolution|" : "Add Pixel Density|"};
    if (!warning.isEmpty())
        seen.append(QStringLiteral("Resolution bigger than the current screen size!|You are "
                                   "trying to add: %1x%2\nbut the current screen "
                                   "resolution is: %3x%4\n\nAre you sure ?")
                        .arg(texts[1], texts[2])
                        .arg(ScreenSize().width())
                        .arg(ScreenSize().height()));
    QCOMPARE(answerer.seen, seen);
    QCOMPARE(WindowFixture::Sections(w), expected);
    QCOMPARE(WindowFixture::Profiles(w), profiles);
    VerifyInStep(w);
    const int current = value.isNull() ? shownBefore : int(entries.size()) - 1;
    QCOMPARE(WindowFixture::ComboBox(w, kind)->currentIndex(), current);
    QCOMPARE(WindowFixture::RemoveButton(w, kind)->isEnabled(), current > 0);
}

void EditingTest::removesOption_data()
{
    // With Phone shown (Resolution 1, Pixel Density 2, no arguments).
    QTest::addColumn<OptionKind>("kind");
    QTest::addColumn<int>("entry");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("question");
    const QString users = "|The following profiles use this option, are you sure you want to "
                          "continue?\n\nPhone\nWatch\n";
    QTest::newRow("used resolution") << OptionKind::Resolution << 1 << "Yes"
                                     << "Confirm remove resolution" + users;
    QTest::newRow("unused pixel density, not asked") << OptionKind::PixelDensity << 1 << ""
                                                     << "";
    QTest::newRow("declined") << OptionKind::Resolution << 1 << "No"
                              << "Confirm remove resolution" + users;
}

void EditingTest::removesOption()
{
    QFETCH(OptionKind, kind);
    QFETCH(int, entry);
    QFETCH(QString, answer);
    QFETCH(QString, question);
    MainWindow w;
    WindowFixture::Select(w, 1);
    WindowFixture::ComboBox(w, kind)->setCurrentIndex(entry);
    const Profile controls = WindowFixture::Controls(w);
    QList<ConfigSection> sections = WindowFixture::Sections(w);
    QList<Profile> profiles = WindowFixture::Profiles(w);
    if (answer != "No")
        RemoveOption(sections, profiles, kind, entry);

    ModalAnswerer answerer;
    if (!answer.isEmpty())
        answerer.pressButton(answer);
    Guard(answerer);
    WindowFixture::RemoveButton(w, kind)->click();

    QCOMPARE(answerer.seen, question.isEmpty() ? QStringList() : QStringList{question});
    QCOMPARE(WindowFixture::Profiles(w), profiles);
    QCOMPARE(WindowFixture::Sections(w), sections);
    VerifyInStep(w);
    if (answer == "No") {
        QCOMPARE(WindowFixture::Controls(w), controls);
        return;
    }
    QCOMPARE(WindowFixture::ComboBox(w, kind)->currentIndex(), 0);
    QVERIFY(!WindowFixture::RemoveButton(w, kind)->isEnabled());
    // A repair reaches the model only: the field shows it once Phone is chosen again.
    QCOMPARE(WindowFixture::Arguments(w)->text(), QString());
    WindowFixture::Select(w, 0);
    WindowFixture::Select(w, 1);
    QCOMPARE(WindowFixture::Controls(w), profiles[1]);
}

QTEST_MAIN(EditingTest)
#include "tst_editing.moc"
