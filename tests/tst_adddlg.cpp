// The add dialog on its own: what the number rows take and when "OK" is enabled.
#include "adddlg.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {

template <typename T> T* FindByText(const AddDlg& dialog, const QString& text)
{
    for (T* widget : dialog.findChildren<T*>()) {
        if (widget->text() == text)
            return widget;
    }
    return nullptr;
}

bool OkEnabled(const AddDlg& dialog)
{
    return FindByText<QPushButton>(dialog, "OK")->isEnabled();
}

bool HintShown(const AddDlg& dialog)
{
    return !FindByText<QLabel>(dialog, "Names can't contain a double quote (\").")->isHidden();
}

} // namespace

class AddDlgTest : public QObject
{
    Q_OBJECT

private slots:
    void okNeedsEveryRowAcceptable_data();
    void okNeedsEveryRowAcceptable();
    void okFollowsLaterEdits();
};

void AddDlgTest::okNeedsEveryRowAcceptable_data()
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
    AddDlg dialog(nullptr, "Add Resolution",
                  {{FieldText, "Name:"}, {FieldNumber, "Width:"}, {FieldNumber, "Height:"}});
    // Typed key by key, so the number rows' validator sees what a user would type.
    for (int i = 0; i < typed.size(); ++i)
        QTest::keyClicks(dialog.m_fields[i].edit, typed[i]);

    QCOMPARE(dialog.m_fields[0].edit->text(), typed[0]); // any text goes into a name
    QCOMPARE(dialog.m_fields[1].edit->text(), width);
    QCOMPARE(OkEnabled(dialog), enabled);
    QCOMPARE(HintShown(dialog), typed[0].contains(u'"'));
}

void AddDlgTest::okFollowsLaterEdits()
{
    AddDlg dialog(nullptr, "Add Pixel Density", {{FieldText, "Name:"}, {FieldNumber, "Density:"}});
    QTest::keyClicks(dialog.m_fields[0].edit, "hdpi\"");
    QTest::keyClicks(dialog.m_fields[1].edit, "240");
    QVERIFY(!OkEnabled(dialog) && HintShown(dialog));
    QTest::keyClick(dialog.m_fields[0].edit, Qt::Key_Backspace);
    QVERIFY(OkEnabled(dialog) && !HintShown(dialog));
    dialog.m_fields[1].edit->clear();
    QVERIFY(!OkEnabled(dialog));
}

QTEST_MAIN(AddDlgTest)
#include "tst_adddlg.moc"
