// The option lists edited through the real buttons and dialogs, and the add dialog itself. The
// rules the slots apply are the model's (tst_model); here the dialogs' texts, and the combo
// boxes and buttons kept in step with the model. Profile edits are tst_profilemenu's.
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
    void init() { QVERIFY(WriteText(UserConfigPath(), TestConfig())); }

    // Cancel and a declined size warning add nothing and keep the entry shown; an added entry is
    // shown. Only resolutions are compared with the screen.
    void addsOption()
    {
        const QSize screen = QGuiApplication::primaryScreen()->geometry().size();
        const int width = screen.width(), height = screen.height();
        const QString typed = QStringLiteral("%1,%2,%3|OK");
        const QString windowSize = QStringLiteral(" -windowsize %1x%2");
        const QString add = QStringLiteral("Add Resolution|Name:|Width:|Height:");
        const QString warning = "Resolution bigger than the current screen size!|You are trying to "
                                "add: %1x%2\nbut the current screen resolution is: " +
                                QStringLiteral("%1x%2").arg(width).arg(height) +
                                "\n\nAre you sure ?";
        MainWindow w;
        const ConfigModel loaded = W::Model(w);
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

        // An added entry is only shown, not stored in the profile.
        QCOMPARE(W::Model(w), (ConfigModel{expected, loaded.profiles}));
        QVERIFY(W::InStep(w));

        // Undone, one step per entry, to the model as loaded; nothing asked. Redo is the same
        // for every edit (tst_profilemenu).
        for (const QString kind : {"Pixel Density", "Resolution", "Resolution"}) {
            QCOMPARE(W::Undo(w)->text(), "Undo Add " + kind);
            W::Undo(w)->trigger();
        }
        QCOMPARE(W::Model(w), loaded);
        QVERIFY(W::InStep(w));
        QCOMPARE(answerer.seen, (QStringList{add, add, warning.arg(width + 1).arg(height), add, add,
                                             warning.arg(width).arg(height + 1),
                                             "Add Pixel Density|Name:|Pixel Density:"}));
    }

    // Declined, then confirmed for a resolution two profiles use; an unused pixel density goes
    // without asking. How the users are repaired is the model's.
    void removesOption()
    {
        MainWindow w;
        const ConfigModel loaded = W::Model(w);
        W::Select(w, 1); // Phone HD: Resolution 1, Pixel Density 2
        QList<ConfigSection> sections = W::Sections(w);
        const Profile controls = W::Controls(w);
        ModalAnswerer answerer({"No", "Yes"});
        W::RemoveButton(w, OptionKind::Resolution)->click();
        QCOMPARE(W::Controls(w), controls);
        for (const OptionKind kind : {OptionKind::Resolution, OptionKind::PixelDensity}) {
            W::ComboBox(w, kind)->setCurrentIndex(1);
            W::RemoveButton(w, kind)->click();
            sections[SectionIndex(kind)].entries.removeAt(1);
            QCOMPARE(W::ComboBox(w, kind)->currentIndex(), 0);
            QVERIFY(!W::RemoveButton(w, kind)->isEnabled());
        }

        QCOMPARE(W::Sections(w), sections);
        QVERIFY(W::InStep(w));
        // A repair reaches the model only: the field shows it once Phone HD is chosen again.
        QCOMPARE(W::Arguments(w)->text(), controls.arguments);
        W::Select(w, 0);
        W::Select(w, 1);
        QCOMPARE(W::Controls(w), W::Profiles(w)[1]);

        // Undone, one step per entry, to the model as loaded; nothing asked.
        for (const QString kind : {"Pixel Density", "Resolution"}) {
            QCOMPARE(W::Undo(w)->text(), "Undo Remove " + kind);
            W::Undo(w)->trigger();
        }
        QCOMPARE(W::Model(w), loaded);
        QVERIFY(W::InStep(w));
        const QString asked =
            "Confirm remove resolution|The following profiles use this option, are "
            "you sure you want to continue?\n\nPhone HD\nWatch\n";
        QCOMPARE(answerer.seen, (QStringList{asked, asked}));
    }

    // The add dialog on its own: what the number rows take and when "OK" is enabled.
    void addDialogOk_data()
    {
        QTest::addColumn<QStringList>("typed");
        QTest::addColumn<QString>("width");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("nothing typed") << QStringList{"", "", ""} << "" << false;
        QTest::newRow("name of one blank") << QStringList{" ", "10", "100"} << "10" << true;
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
