// The main window's controls, how they follow the selected profile, and the failures of
// launch and help. Runs in an app folder of its own: no emulator and no default file.
#include "filelocations.h"
#include "launcher.h"
#include "modalanswerer.h"
#include "testenv.h"

#include <QComboBox>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

namespace {

// The first profile selects later entries of both option rows and has arguments with a
// leading blank (the reader keeps one before each word).
const QByteArray WindowConfig = "$VERSION\t106\n"
                                "[Profile]\n"
                                "\"Base\"\t\"[Resolution] 2 [PixelDensity] 1 [Input] 0  -fast\"\n"
                                "\"Phone\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 1 \"\n"
                                "[Resolution]\n"
                                "\"Any size\"\t\"\"\n"
                                "\"Small\"\t\" -windowsize 320x480\"\n"
                                "\"Large\"\t\" -windowsize 720x1280\"\n"
                                "[PixelDensity]\n"
                                "\"Any density\"\t\"\"\n"
                                "\"mdpi\"\t\" -ppi 160\"\n"
                                "\"hdpi\"\t\" -ppi 240\"\n"
                                "[Input]\n"
                                "\"Touch\"\t\"\"\n"
                                "\"Mouse\"\t\" -input mouse\"\n";

QByteArray WithProfiles(const QStringList& names)
{
    QByteArray text = "$VERSION\t106\n[Profile]\n";
    for (const QString& name : names)
        text += '"' + name.toUtf8() + "\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n";
    return text;
}

// The texts of a list's or a combo box's rows.
QStringList Texts(const QAbstractItemModel* model)
{
    QStringList texts;
    for (int row = 0; row < model->rowCount(); ++row)
        texts.append(model->index(row, 0).data().toString());
    return texts;
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UsePrivateDataLocation(); }
    void init() { QVERIFY(WriteText(UserConfigPath(), WindowConfig)); }

    void showsConfiguration();
    void profileListSizeHint();
    void profileButtonsFollowControls();
    void optionRemoveButtonsStartDisabled();
    void storedIndexOutsideList_data();
    void storedIndexOutsideList();
    void launchFailureChangesNothing();

private:
    // "text|Add/Update enabled|Remove enabled" of the two profile buttons.
    static QString ProfileButtons(const MainWindow& w)
    {
        return QStringLiteral("%1|%2|%3")
            .arg(w.m_addUpdateButton->text())
            .arg(w.m_addUpdateButton->isEnabled() ? "on" : "off")
            .arg(w.m_removeProfileButton->isEnabled() ? "on" : "off");
    }
    static QPushButton* Button(const MainWindow& w, const QString& text)
    {
        for (QPushButton* button : w.findChildren<QPushButton*>()) {
            if (button->text() == text)
                return button;
        }
        return nullptr;
    }
    static QComboBox* Combo(const MainWindow& w, int section)
    {
        return w.m_sections[section].comboBox;
    }
};

void MainWindowTest::showsConfiguration()
{
    MainWindow w(nullptr);
    QCOMPARE(w.windowTitle(), QStringLiteral("Nimbra Mobile Emulator"));

    auto* group = w.findChild<QGroupBox*>();
    QVERIFY(group);
    QCOMPARE(group->title(), QStringLiteral("Profile"));
    QVERIFY(group->isAncestorOf(w.m_profileList));
    QCOMPARE(Texts(w.m_profileList->model()), (QStringList{"Base", "Phone"}));
    QCOMPARE(w.m_profileList->currentRow(), 0);

    auto* form = group->findChild<QFormLayout*>();
    QVERIFY(form);
    QStringList labels;
    for (int row = 0; row < form->rowCount(); ++row) {
        auto* label = qobject_cast<QLabel*>(form->itemAt(row, QFormLayout::LabelRole)->widget());
        labels.append(label ? label->text() : QString());
    }
    QCOMPARE(labels, (QStringList{"Resolution", "Pixel Density", "Input", "&Arguments"}));
    QCOMPARE(form->itemAt(3, QFormLayout::FieldRole)->widget(), w.m_argumentsEdit);

    QCOMPARE(Texts(Combo(w, 1)->model()), (QStringList{"Any size", "Small", "Large"}));
    QCOMPARE(Texts(Combo(w, 2)->model()), (QStringList{"Any density", "mdpi", "hdpi"}));
    QCOMPARE(Texts(Combo(w, 3)->model()), (QStringList{"Touch", "Mouse"}));
    QCOMPARE(Combo(w, 1)->currentIndex(), 2);
    QCOMPARE(Combo(w, 2)->currentIndex(), 1);
    QCOMPARE(Combo(w, 3)->currentIndex(), 0);
    QCOMPARE(w.m_argumentsEdit->text(), QStringLiteral(" -fast"));

    auto* buttonBox = w.findChild<QDialogButtonBox*>();
    QVERIFY(buttonBox);
    QStringList roles;
    for (QAbstractButton* button : buttonBox->buttons())
        roles.append(button->text() + u'=' + QString::number(buttonBox->buttonRole(button)));
    roles.sort();
    QCOMPARE(roles, (QStringList{QStringLiteral("&Help=%1").arg(QDialogButtonBox::HelpRole),
                                 QStringLiteral("&Launch=%1").arg(QDialogButtonBox::AcceptRole)}));
}

void MainWindowTest::profileListSizeHint()
{
    const auto hint = [](const QStringList& names, int* columnWidth) {
        if (!WriteText(UserConfigPath(), WithProfiles(names)))
            return QSize();
        MainWindow w(nullptr);
        *columnWidth = w.m_profileList->sizeHintForColumn(0);
        return w.m_profileList->sizeHint();
    };
    QStringList hundred;
    for (int i = 1; i <= 100; ++i)
        hundred.append(QStringLiteral("Profile %1").arg(i));

    int oneWidth = 0;
    int hundredWidth = 0;
    int longWidth = 0;
    const QSize one = hint({"A"}, &oneWidth);
    const QSize many = hint(hundred, &hundredWidth);
    const QSize longName =
        hint({"A", QStringLiteral("A rather long profile name, wide")}, &longWidth);
    QCOMPARE(one.height(), 192);
    QCOMPARE(many.height(), 192);
    QCOMPARE(longName.height(), 192);
    // The width is the names' width plus a fixed allowance for the scroll bar.
    QVERIFY(longWidth > oneWidth);
    QCOMPARE(longName.width() - one.width(), longWidth - oneWidth);
    QCOMPARE(many.width() - one.width(), hundredWidth - oneWidth);
    QVERIFY(one.width() > oneWidth + 5);
}

void MainWindowTest::profileButtonsFollowControls()
{
    MainWindow w(nullptr);
    QCOMPARE(ProfileButtons(w), QStringLiteral("Add|off|off"));

    // Each option row: a different entry counts as a change, going back undoes it.
    const int start[] = {2, 1, 0};
    for (int section = 1; section <= 3; ++section) {
        Combo(w, section)->setCurrentIndex(start[section - 1] == 0 ? 1 : 0);
        QCOMPARE(ProfileButtons(w), QStringLiteral("Add|on|off"));
        Combo(w, section)->setCurrentIndex(start[section - 1]);
        QCOMPARE(ProfileButtons(w), QStringLiteral("Add|off|off"));
    }

    const QList<std::pair<QString, QString>> arguments = {
        {QStringLiteral("-fast"), "off"},
        {QStringLiteral("  -fast \t"), "off"},
        {QStringLiteral("-fast -x"), "on"},
        {QStringLiteral("-Fast"), "on"},
        {QString(), "on"},
        {QStringLiteral(" -fast"), "off"},
    };
    for (const auto& [text, enabled] : arguments) {
        w.m_argumentsEdit->setText(text);
        QCOMPARE(ProfileButtons(w), QStringLiteral("Add|%1|off").arg(enabled));
    }

    w.m_profileList->setCurrentRow(1);
    QCOMPARE(ProfileButtons(w), QStringLiteral("Update|off|on"));
    QCOMPARE(Combo(w, 1)->currentIndex(), 1);
    QCOMPARE(Combo(w, 2)->currentIndex(), 2);
    QCOMPARE(Combo(w, 3)->currentIndex(), 1);
    QCOMPARE(w.m_argumentsEdit->text(), QString());
    Combo(w, 3)->setCurrentIndex(0);
    QCOMPARE(ProfileButtons(w), QStringLiteral("Update|on|on"));
    Combo(w, 3)->setCurrentIndex(1);
    QCOMPARE(ProfileButtons(w), QStringLiteral("Update|off|on"));
    w.m_argumentsEdit->setText(QStringLiteral(" "));
    QCOMPARE(ProfileButtons(w), QStringLiteral("Update|off|on"));

    // Selecting a profile discards unsaved changes of the controls.
    Combo(w, 1)->setCurrentIndex(0);
    w.m_profileList->setCurrentRow(0);
    QCOMPARE(ProfileButtons(w), QStringLiteral("Add|off|off"));
    QCOMPARE(Combo(w, 1)->currentIndex(), 2);
    QCOMPARE(w.m_argumentsEdit->text(), QStringLiteral(" -fast"));
}

void MainWindowTest::optionRemoveButtonsStartDisabled()
{
    MainWindow w(nullptr);
    QVERIFY(!w.m_removeResolutionButton->isEnabled());
    QVERIFY(!w.m_removePixelDensityButton->isEnabled());

    Combo(w, 1)->setCurrentIndex(0);
    QVERIFY(!w.m_removeResolutionButton->isEnabled());
    Combo(w, 1)->setCurrentIndex(2);
    QVERIFY(w.m_removeResolutionButton->isEnabled());
    QVERIFY(!w.m_removePixelDensityButton->isEnabled());

    // Selecting a profile moves the combo boxes, and the buttons follow.
    w.m_profileList->setCurrentRow(1);
    QVERIFY(w.m_removeResolutionButton->isEnabled());
    QVERIFY(w.m_removePixelDensityButton->isEnabled());
}

void MainWindowTest::storedIndexOutsideList_data()
{
    QTest::addColumn<QString>("resolution");
    QTest::addColumn<bool>("changed");

    QTest::newRow("beyond the last entry") << "99" << true;
    QTest::newRow("minus one") << "-1" << false;
    QTest::newRow("below minus one") << "-5" << true;
}

void MainWindowTest::storedIndexOutsideList()
{
    QFETCH(QString, resolution);
    QFETCH(bool, changed);

    QByteArray config = WindowConfig;
    config.replace("[Resolution] 2 [PixelDensity] 1",
                   "[Resolution] " + resolution.toUtf8() + " [PixelDensity] 1");
    QVERIFY(WriteText(UserConfigPath(), config));
    MainWindow w(nullptr);
    QCOMPARE(w.m_profiles[0].optionIndex[0], resolution.toInt());
    QCOMPARE(Combo(w, 1)->currentIndex(), -1);
    QCOMPARE(Combo(w, 1)->currentText(), QString());
    QCOMPARE(w.GetControlsValueText(),
             QStringLiteral("[Resolution] -1 [PixelDensity] 1 [Input] 0 -fast"));
    QCOMPARE(w.m_addUpdateButton->isEnabled(), changed);
    QVERIFY(!w.m_removeResolutionButton->isEnabled());
}

void MainWindowTest::launchFailureChangesNothing()
{
    MainWindow w(nullptr);
    w.m_profileList->setCurrentRow(1);
    Combo(w, 1)->setCurrentIndex(2);
    const QString controls = w.GetControlsValueText() + ProfileButtons(w);
    const QString stored = w.GetProfileValue(w.m_profiles[1]);

    ModalAnswerer answerer;
    QString shape;
    answerer.enqueue([&](QWidget* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        if (box) {
            shape = QStringLiteral("%1|%2|%3")
                        .arg(box->icon())
                        .arg(int(box->standardButtons()))
                        .arg(box->parentWidget() == &w ? "main window" : "other parent");
        }
        ModalAnswerer::PressButton(dialog, QStringLiteral("OK"));
    });
    QPushButton* launch = Button(w, QStringLiteral("&Launch"));
    QVERIFY(launch);
    QTest::mouseClick(launch, Qt::LeftButton);
    QTRY_COMPARE(answerer.seen, QStringList{QStringLiteral(
                                    "Nimbra Mobile Emulator Launcher|Failed to start Nimbra "
                                    "Mobile Emulator!")});
    QCOMPARE(
        shape,
        QStringLiteral("%1|%2|main window").arg(QMessageBox::Critical).arg(int(QMessageBox::Ok)));
    QCOMPARE(w.GetControlsValueText() + ProfileButtons(w), controls);
    QCOMPARE(w.GetProfileValue(w.m_profiles[1]), stored);
    QCOMPARE(ReadBytes(UserConfigPath()), WindowConfig);
}

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
