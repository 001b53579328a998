// The add dialog on its own: its rows, what the number rows take and when "OK" is enabled.
#include "adddlg.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {

QList<AddDlgField> ResolutionFields()
{
    return {{FieldText, "Name:"}, {FieldNumber, "Width:"}, {FieldNumber, "Height:"}};
}

template <typename T> T* FindByText(const AddDlg& dialog, const QString& text)
{
    for (T* widget : dialog.findChildren<T*>()) {
        if (widget->text() == text)
            return widget;
    }
    return nullptr;
}

QPushButton* Ok(const AddDlg& dialog)
{
    return FindByText<QPushButton>(dialog, "OK");
}

QLabel* QuoteHint(const AddDlg& dialog)
{
    return FindByText<QLabel>(dialog, "Names can't contain a double quote (\").");
}

// Typed key by key, so the number rows' validator sees what a user would type.
void Type(AddDlg& dialog, const QStringList& texts)
{
    for (int i = 0; i < texts.size(); ++i)
        QTest::keyClicks(dialog.m_fields[i].edit, texts[i]);
}

} // namespace

class AddDlgTest : public QObject
{
    Q_OBJECT

private slots:
    void buildsOneRowPerField();
    void okNeedsEveryRowAcceptable_data();
    void okNeedsEveryRowAcceptable();
    void okFollowsLaterEdits();
};

void AddDlgTest::buildsOneRowPerField()
{
    const QList<AddDlgField> fields = ResolutionFields();
    AddDlg dialog(nullptr, "Add Resolution", fields);

    QCOMPARE(dialog.windowTitle(), "Add Resolution");
    QVERIFY(dialog.isSizeGripEnabled());
    QCOMPARE(dialog.m_fields.size(), 3);
    auto* form = dialog.findChild<QFormLayout*>();
    for (int i = 0; i < 3; ++i) {
        QVERIFY(!fields[i].edit); // the dialog fills its own copy only
        QLineEdit* edit = dialog.m_fields[i].edit;
        QVERIFY(edit && edit->text().isEmpty());
        auto* label = qobject_cast<QLabel*>(form->labelForField(edit));
        QCOMPARE(label ? label->text() : QString(), fields[i].label);
    }
    QVERIFY(Ok(dialog) && !Ok(dialog)->isEnabled());
    QVERIFY(QuoteHint(dialog) && QuoteHint(dialog)->isHidden());
}

void AddDlgTest::okNeedsEveryRowAcceptable_data()
{
    QTest::addColumn<QStringList>("typed");
    QTest::addColumn<QString>("width");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("all rows filled") << QStringList{"Phone", "480", "800"} << "480" << true;
    QTest::newRow("no name") << QStringList{"", "480", "800"} << "480" << false;
    QTest::newRow("name of one blank") << QStringList{" ", "10", "100"} << "10" << true;
    QTest::newRow("zero alone refused") << QStringList{"Phone", "0", "8"} << "" << false;
    QTest::newRow("leading zero, letters, signs, blanks refused")
        << QStringList{"Phone", "0a4-8+0 ", "8"} << "480" << true;
    QTest::newRow("20 digits") << QStringList{"Phone", "12345678901234567890", "8"}
                               << "12345678901234567890" << false;
    QTest::newRow("largest 64-bit number")
        << QStringList{"Phone", "9223372036854775807", "8"} << "9223372036854775807" << true;
    QTest::newRow("double quote in name") << QStringList{"6\" phone", "480", "8"} << "480" << false;
}

void AddDlgTest::okNeedsEveryRowAcceptable()
{
    QFETCH(QStringList, typed);
    QFETCH(QString, width);
    QFETCH(bool, enabled);
    AddDlg dialog(nullptr, "Add Resolution", ResolutionFields());
    Type(dialog, typed);

    QCOMPARE(dialog.m_fields[0].edit->text(), typed[0]); // any text goes into a name
    QCOMPARE(dialog.m_fields[1].edit->text(), width);
    QCOMPARE(Ok(dialog)->isEnabled(), enabled);
    QCOMPARE(QuoteHint(dialog)->isHidden(), !typed[0].contains(u'"'));
}

void AddDlgTest::okFollowsLaterEdits()
{
    AddDlg dialog(nullptr, "Add Pixel Density", {{FieldText, "Name:"}, {FieldNumber, "Density:"}});
    Type(dialog, {"hdpi", "240"});
    QVERIFY(Ok(dialog)->isEnabled());
    dialog.m_fields[1].edit->clear();
    QVERIFY(!Ok(dialog)->isEnabled());
    QTest::keyClicks(dialog.m_fields[1].edit, "1");
    QVERIFY(Ok(dialog)->isEnabled());

    QTest::keyClicks(dialog.m_fields[0].edit, "\"");
    QVERIFY(!Ok(dialog)->isEnabled());
    QVERIFY(!QuoteHint(dialog)->isHidden());
    QTest::keyClick(dialog.m_fields[0].edit, Qt::Key_Backspace);
    QVERIFY(Ok(dialog)->isEnabled());
    QVERIFY(QuoteHint(dialog)->isHidden());
}

QTEST_MAIN(AddDlgTest)
#include "tst_adddlg.moc"
