// The add dialog on its own: its rows, the number rows' validator and when "OK" is enabled.
#include "adddlg.h"
#include "modalanswerer.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {

QList<AddDlgField> ResolutionFields()
{
    return {{FieldText, QStringLiteral("Name:")},
            {FieldNumber, QStringLiteral("Width:")},
            {FieldNumber, QStringLiteral("Height:")}};
}

QPushButton* OkButton(const AddDlg& dialog)
{
    for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
        if (button->text() == "OK")
            return button;
    }
    return nullptr;
}

QLabel* QuoteHint(const AddDlg& dialog)
{
    for (QLabel* label : dialog.findChildren<QLabel*>()) {
        if (label->text() == "Names can't contain a double quote (\").")
            return label;
    }
    return nullptr;
}

// Types into the rows as a user would, so the validator sees every key.
void Type(AddDlg& dialog, const QStringList& texts)
{
    for (int i = 0; i < texts.size(); ++i) {
        dialog.m_fields[i].edit->clear();
        QTest::keyClicks(dialog.m_fields[i].edit, texts[i]);
    }
}

} // namespace

class AddDlgTest : public QObject
{
    Q_OBJECT

private slots:
    void buildsOneRowPerField();
    void numberRowTakesOnlyDigitsWithoutLeadingZero_data();
    void numberRowTakesOnlyDigitsWithoutLeadingZero();
    void okNeedsEveryRowAcceptable_data();
    void okNeedsEveryRowAcceptable();
    void okFollowsLaterEdits();
    void quoteInNameShowsHint();
    void execEndsWithTheButtonPressed_data();
    void execEndsWithTheButtonPressed();
};

void AddDlgTest::buildsOneRowPerField()
{
    const QList<AddDlgField> fields = ResolutionFields();
    AddDlg dialog(nullptr, "Add Resolution", fields);

    QCOMPARE(dialog.windowTitle(), "Add Resolution");
    QCOMPARE(dialog.m_fields.size(), 3);
    auto* form = dialog.findChild<QFormLayout*>();
    QVERIFY(form);
    for (int i = 0; i < 3; ++i) {
        QVERIFY(!fields[i].edit); // the caller's list is a copy the dialog never fills
        QLineEdit* edit = dialog.m_fields[i].edit;
        QVERIFY(edit);
        QCOMPARE(edit->text(), QString());
        auto* label = qobject_cast<QLabel*>(form->labelForField(edit));
        QVERIFY(label);
        QCOMPARE(label->text(), fields[i].label);
        QCOMPARE(edit->validator() != nullptr, fields[i].type == FieldNumber);
    }
    QVERIFY(OkButton(dialog));
    QVERIFY(!OkButton(dialog)->isEnabled());
    QVERIFY(QuoteHint(dialog) && QuoteHint(dialog)->isHidden());
}

void AddDlgTest::numberRowTakesOnlyDigitsWithoutLeadingZero_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("taken");
    QTest::newRow("zero alone") << "0" << "";
    QTest::newRow("leading zero") << "0480" << "480";
    QTest::newRow("letters") << "4a8b0" << "480";
    QTest::newRow("signs and blanks") << "-+ 5" << "5";
    QTest::newRow("ten") << "10" << "10";
    QTest::newRow("hundred") << "100" << "100";
    QTest::newRow("20 digits") << "12345678901234567890" << "12345678901234567890";
}

void AddDlgTest::numberRowTakesOnlyDigitsWithoutLeadingZero()
{
    QFETCH(QString, typed);
    QFETCH(QString, taken);
    AddDlg dialog(nullptr, "Add Resolution", ResolutionFields());
    QTest::keyClicks(dialog.m_fields[1].edit, typed);
    QTest::keyClicks(dialog.m_fields[0].edit, typed);
    QCOMPARE(dialog.m_fields[1].edit->text(), taken);
    QCOMPARE(dialog.m_fields[0].edit->text(), typed); // the name row takes anything
}

void AddDlgTest::okNeedsEveryRowAcceptable_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("all rows filled") << QStringList{"Phone", "480", "800"} << true;
    QTest::newRow("no name") << QStringList{"", "480", "800"} << false;
    QTest::newRow("no height") << QStringList{"Phone", "480", ""} << false;
    QTest::newRow("name of one blank") << QStringList{" ", "480", "800"} << true;
    QTest::newRow("20-digit width") << QStringList{"Phone", "12345678901234567890", "800"}
                                    << false;
    QTest::newRow("largest 64-bit width")
        << QStringList{"Phone", "9223372036854775807", "800"} << true;
    QTest::newRow("one past the 64-bit range")
        << QStringList{"Phone", "9223372036854775808", "800"} << false;
    QTest::newRow("double quote in name") << QStringList{"6\" phone", "480", "800"} << false;
}

void AddDlgTest::okNeedsEveryRowAcceptable()
{
    QFETCH(QStringList, texts);
    QFETCH(bool, enabled);
    AddDlg dialog(nullptr, "Add Resolution", ResolutionFields());
    Type(dialog, texts);
    QCOMPARE(dialog.m_fields[1].edit->text(), texts[1]);
    QCOMPARE(OkButton(dialog)->isEnabled(), enabled);
}

void AddDlgTest::okFollowsLaterEdits()
{
    AddDlg dialog(nullptr, "Add Pixel Density",
                  {{FieldText, "Name:"}, {FieldNumber, "Pixel Density:"}});
    Type(dialog, {"hdpi", "240"});
    QVERIFY(OkButton(dialog)->isEnabled());
    dialog.m_fields[1].edit->clear();
    QVERIFY(!OkButton(dialog)->isEnabled());
    QTest::keyClicks(dialog.m_fields[1].edit, "1");
    QVERIFY(OkButton(dialog)->isEnabled());
    QTest::keyClick(dialog.m_fields[0].edit, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(dialog.m_fields[0].edit, Qt::Key_Backspace);
    QVERIFY(!OkButton(dialog)->isEnabled());
}

void AddDlgTest::quoteInNameShowsHint()
{
    AddDlg dialog(nullptr, "Add Resolution", ResolutionFields());
    Type(dialog, {"Big \"", "480", "800"});
    QVERIFY(!QuoteHint(dialog)->isHidden());
    QVERIFY(!OkButton(dialog)->isEnabled());
    QTest::keyClick(dialog.m_fields[0].edit, Qt::Key_Backspace);
    QVERIFY(QuoteHint(dialog)->isHidden());
    QVERIFY(OkButton(dialog)->isEnabled());
}

void AddDlgTest::execEndsWithTheButtonPressed_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("result");
    QTest::newRow("OK") << "OK" << int(QDialog::Accepted);
    QTest::newRow("Cancel") << "Cancel" << int(QDialog::Rejected);
    QTest::newRow("Escape") << "Escape" << int(QDialog::Rejected);
}

void AddDlgTest::execEndsWithTheButtonPressed()
{
    QFETCH(QString, button);
    QFETCH(int, result);
    AddDlg dialog(nullptr, "Add Resolution", ResolutionFields());
    ModalAnswerer answerer;
    answerer.enqueue([&](QWidget* shown) {
        Type(dialog, {"Phone", "480", "800"});
        if (button == "Escape")
            QTest::keyClick(shown, Qt::Key_Escape);
        else
            ModalAnswerer::PressButton(shown, button);
    });
    QCOMPARE(dialog.exec(), result);
    QCOMPARE(answerer.seen, QStringList{"Add Resolution|"});
    QCOMPARE(dialog.m_fields[2].edit->text(), "800");
}

QTEST_MAIN(AddDlgTest)
#include "tst_adddlg.moc"
