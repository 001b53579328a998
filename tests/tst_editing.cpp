// Editing through the real buttons and dialogs: profiles added, replaced, updated and removed,
// entries added to and removed from the option lists, and the add dialog itself. The rules the
// slots apply are the model's (tst_model); here the dialogs' texts, and the list, combo boxes and
// buttons kept in step with the model.
#include "adddlg.h"
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTest>

using W = WindowFixture;

namespace {

const QString NameDialog = QStringLiteral("Add Profile|Enter the name for the new profile|");

// The hint is the one label that shows a double quote.
bool HintShown(const AddDlg& dialog)
{
    for (const QLabel* label : dialog.findChildren<QLabel*>()) {
        if (label->text().contains(u'"'))
            return !label->isHidden();
    }
    return false;
}

} // namespace

class EditingTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UseFixtureAppFolder(); }
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig())); }

    void addsOrReplacesProfile_data()
    {
        QTest::addColumn<int>("selected");      // the row shown when the button is pressed
        QTest::addColumn<QStringList>("steps"); // the answers, "typed|button"
        QTest::addColumn<QStringList>("seen");
        QTest::addColumn<int>("row"); // where the profile stands afterwards; -1: nothing changes
        const QString replace =
            "Add Profile|This profile already exists. Do you want to replace it?";
        const QString quote = "Add Profile|A profile name can't contain a double quote (\"). "
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

    void addsOrReplacesProfile()
    {
        QFETCH(int, selected);
        QFETCH(QStringList, steps);
        QFETCH(QStringList, seen);
        QFETCH(int, row);
        MainWindow w;
        W::Select(w, selected);
        QList<Profile> expected = W::Profiles(w);
        const QString name =
            steps.isEmpty() ? expected[selected].name : steps[0].section(u'|', 0, 0);
        const Profile added{name, "  -x 1  ", {2, 3, 1}};
        if (row >= expected.size())
            expected.append(added);
        else if (row >= 0)
            expected[row] = added;
        for (const OptionKind kind : AllOptionKinds)
            W::ComboBox(w, kind)->setCurrentIndex(ChosenIndex(added, kind));
        W::Arguments(w)->setText(added.arguments);

        ModalAnswerer answerer(steps);
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

    // Declined first, then confirmed.
    void removesProfileWhenConfirmed()
    {
        MainWindow w;
        QList<Profile> expected = W::Profiles(w);
        W::Select(w, 2);
        ModalAnswerer answerer({"Cancel", "OK"});
        W::RemoveProfileButton(w)->click();
        QCOMPARE(W::Profiles(w), expected);
        QCOMPARE(W::Controls(w), expected[2]);
        W::RemoveProfileButton(w)->click();

        const QString asked = "Confirm Remove Profile|Are you sure you want to remove this "
                              "profile?\n\nTablet";
        QCOMPARE(answerer.seen, (QStringList{asked, asked}));
        expected.removeAt(2);
        QCOMPARE(W::Profiles(w), expected);
        QVERIFY(W::InStep(w));
        QCOMPARE(W::ProfileList(w)->currentRow(), 0);
        QCOMPARE(W::Controls(w), expected[0]);
        QVERIFY(!W::RemoveProfileButton(w)->isEnabled());
    }

    // Cancel and a declined size warning add nothing and keep the entry shown; an added entry is
    // shown. Only resolutions are compared with the screen.
    void addsOption()
    {
        const QSize screen = QGuiApplication::primaryScreen()->geometry().size();
        const int width = screen.width();
        const int height = screen.height();
        const QString typed = QStringLiteral("%1,%2,%3|OK");
        const QString windowSize = QStringLiteral(" -windowsize %1x%2");
        const QString add = QStringLiteral("Add Resolution|Name:|Width:|Height:");
        const QString warning = "Resolution bigger than the current screen size!|You are trying to "
                                "add: %1x%2\nbut the current screen resolution is: " +
                                QStringLiteral("%1x%2").arg(width).arg(height) +
                                "\n\nAre you sure ?";
        MainWindow w;
        const QList<Profile> profiles = W::Profiles(w);
        QList<ConfigSection> expected = W::Sections(w);
        expected[SectionIndex(OptionKind::Resolution)].entries
            << OptionEntry{"Screen", windowSize.arg(width).arg(height)}
            << OptionEntry{"Taller", windowSize.arg(width).arg(height + 1)};
        expected[SectionIndex(OptionKind::PixelDensity)].entries
            << OptionEntry{"mdpi", " -ppi 99999999"};
        ModalAnswerer answerer({"A,1,1|Cancel", typed.arg("Wider").arg(width + 1).arg(height), "No",
                                typed.arg("Screen").arg(width).arg(height),
                                typed.arg("Taller").arg(width).arg(height + 1), "Yes",
                                "mdpi,99999999|OK"});

        for (const int shown : {0, 0, 4, 5}) {
            w.OnAddResolution();
            QCOMPARE(W::ComboBox(w, OptionKind::Resolution)->currentIndex(), shown);
            QCOMPARE(W::RemoveButton(w, OptionKind::Resolution)->isEnabled(), shown > 0);
        }
        w.OnAddPixelDensity();
        QCOMPARE(W::ComboBox(w, OptionKind::PixelDensity)->currentIndex(), 4);
        QVERIFY(W::RemoveButton(w, OptionKind::PixelDensity)->isEnabled());

        QCOMPARE(answerer.seen, (QStringList{add, add, warning.arg(width + 1).arg(height), add, add,
                                             warning.arg(width).arg(height + 1),
                                             "Add Pixel Density|Name:|Pixel Density:"}));
        QCOMPARE(W::Sections(w), expected);
        QCOMPARE(W::Profiles(w), profiles);
        QVERIFY(W::InStep(w));
    }

    // Declined, then confirmed for a resolution two profiles use; an unused pixel density goes
    // without asking.
    void removesOption()
    {
        MainWindow w;
        W::Select(w, 1); // Phone: Resolution 1, Pixel Density 2, no arguments
        QList<ConfigSection> sections = W::Sections(w);
        const Profile controls = W::Controls(w);
        ModalAnswerer answerer({"No", "Yes"});
        W::RemoveButton(w, OptionKind::Resolution)->click();
        QCOMPARE(W::Sections(w), sections);
        QCOMPARE(W::Controls(w), controls);
        for (const OptionKind kind : {OptionKind::Resolution, OptionKind::PixelDensity}) {
            W::ComboBox(w, kind)->setCurrentIndex(1);
            W::RemoveButton(w, kind)->click();
            sections[SectionIndex(kind)].entries.removeAt(1);
            QCOMPARE(W::ComboBox(w, kind)->currentIndex(), 0);
            QVERIFY(!W::RemoveButton(w, kind)->isEnabled());
        }
        // Phone and Watch used the small resolution; the later choices moved up.
        const QList<Profile> profiles = {{"Base", "", {0, 0, 0}},
                                         {"Phone", " -windowsize 320x480", {0, 1, 0}},
                                         {"Tablet", " -t", {1, 2, 1}},
                                         {"Watch", " -b  -windowsize 320x480", {0, 1, 1}}};

        const QString asked =
            "Confirm remove resolution|The following profiles use this option, are "
            "you sure you want to continue?\n\nPhone\nWatch\n";
        QCOMPARE(answerer.seen, (QStringList{asked, asked}));
        QCOMPARE(W::Profiles(w), profiles);
        QCOMPARE(W::Sections(w), sections);
        QVERIFY(W::InStep(w));
        // A repair reaches the model only: the field shows it once Phone is chosen again.
        QCOMPARE(W::Arguments(w)->text(), QString());
        W::Select(w, 0);
        W::Select(w, 1);
        QCOMPARE(W::Controls(w), profiles[1]);
    }
    // The add dialog on its own: what the number rows take and when "OK" is enabled.
    void addDialogOk_data()
    {
        QTest::addColumn<QStringList>("typed");
        QTest::addColumn<QString>("width");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("nothing typed") << QStringList{"", "", ""} << "" << false;
        QTest::newRow("no name") << QStringList{"", "480", "800"} << "480" << false;
        QTest::newRow("name of one blank") << QStringList{" ", "10", "100"} << "10" << true;
        QTest::newRow("zero alone refused") << QStringList{"Phone", "0", "8"} << "" << false;
        QTest::newRow("leading zero, letters, signs, blanks refused")
            << QStringList{"Phone", "0a4-8+0 ", "8"} << "480" << true;
        QTest::newRow("20 digits")
            << QStringList{"Phone", "12345678901234567890", "8"} << "12345678901234567890" << false;
        QTest::newRow("largest 64-bit number")
            << QStringList{"Phone", "9223372036854775807", "8"} << "9223372036854775807" << true;
        QTest::newRow("double quote in name")
            << QStringList{"6\" phone", "480", "8"} << "480" << false;
        QTest::newRow("double quote typed, then erased")
            << QStringList{"6\"\b", "480", "8"} << "480" << true;
        QTest::newRow("number erased once OK was enabled")
            << QStringList{"Phone", "8", "480\b\b\b"} << "8" << false;
    }

    void addDialogOk()
    {
        QFETCH(QStringList, typed);
        QFETCH(QString, width);
        QFETCH(bool, enabled);
        AddDlg dialog(nullptr, "Add Resolution",
                      {{FieldText, "Name:"}, {FieldNumber, "Width:"}, {FieldNumber, "Height:"}});
        // Typed key by key, so the number rows' validator sees what a user would type.
        for (int i = 0; i < typed.size(); ++i)
            QTest::keyClicks(dialog.m_fields[i].edit, typed[i]);

        QCOMPARE(dialog.m_fields[1].edit->text(), width);
        QCOMPARE(ButtonWithText(dialog, "OK")->isEnabled(), enabled);
        QCOMPARE(HintShown(dialog), dialog.m_fields[0].edit->text().contains(u'"'));
    }
};

QTEST_MAIN(EditingTest)
#include "tst_editing.moc"
