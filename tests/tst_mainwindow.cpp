// The main window's controls, how they follow the selected profile, and the failure of
// launch. Runs in an app folder of its own: no emulator and no default file.
#include "launcher.h"
#include "modalanswerer.h"
#include "testenv.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

namespace {

// The first profile selects later entries of both option rows and has arguments with a
// leading blank (the reader keeps one before each word).
const QByteArray WindowConfig = "$VERSION\t106\n[Profile]\n"
                                "\"Base\"\t\"[Resolution] 2 [PixelDensity] 1 [Input] 0  -fast\"\n"
                                "\"Phone\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 1 \"\n" +
                                SizeAndDensitySections() +
                                "[Input]\n\"Touch\"\t\"\"\n\"Mouse\"\t\" -input mouse\"\n";

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
    void initTestCase()
    {
        UseFixtureAppFolder(false);
        UsePrivateDataLocation();
    }
    void init() { QVERIFY(WriteText(UserConfigPath(), WindowConfig)); }

    void showsConfiguration();
    void profileListSizeHint();
    void profileButtonsFollowControls();
    void storedIndexOutsideList();
    void launchFailureChangesNothing();

private:
    // "text|Add/Update enabled|Remove enabled" of the two profile buttons.
    static QString ProfileButtons(const MainWindow& w)
    {
        return QStringLiteral("%1|%2|%3")
            .arg(w.m_addUpdateButton->text(), w.m_addUpdateButton->isEnabled() ? "on" : "off",
                 w.m_removeProfileButton->isEnabled() ? "on" : "off");
    }
    // The option rows' indexes and the arguments the controls show.
    static QString Shown(const MainWindow& w)
    {
        return QStringLiteral("%1 %2 %3|%4")
            .arg(Combo(w, 1)->currentIndex())
            .arg(Combo(w, 2)->currentIndex())
            .arg(Combo(w, 3)->currentIndex())
            .arg(w.m_argumentsEdit->text());
    }
    static QComboBox* Combo(const MainWindow& w, int section)
    {
        return w.m_sections[section].comboBox;
    }
};

void MainWindowTest::showsConfiguration()
{
    MainWindow w(nullptr);
    auto* group = w.findChild<QGroupBox*>();
    auto* form = group ? group->findChild<QFormLayout*>() : nullptr;
    QVERIFY(form);
    QStringList texts = {w.windowTitle(), group->title()};
    for (int row = 0; row < form->rowCount(); ++row) {
        auto* label = qobject_cast<QLabel*>(form->itemAt(row, QFormLayout::LabelRole)->widget());
        texts.append(label ? label->text() : QString());
    }
    for (int section = 1; section <= 3; ++section)
        texts += Texts(Combo(w, section)->model());
    texts += Texts(w.m_profileList->model());
    QCOMPARE(texts, (QStringList{"Nimbra Mobile Emulator", "Profile", "Resolution", "Pixel Density",
                                 "Input", "&Arguments", "Any size", "Small", "Large", "Any density",
                                 "mdpi", "hdpi", "Touch", "Mouse", "Base", "Phone"}));
    QVERIFY(group->isAncestorOf(w.m_profileList));
    QCOMPARE(form->itemAt(3, QFormLayout::FieldRole)->widget(), w.m_argumentsEdit);
    QCOMPARE(w.m_profileList->currentRow(), 0);
    QCOMPARE(Shown(w), QStringLiteral("2 1 0| -fast"));

    auto* box = w.findChild<QDialogButtonBox*>();
    QVERIFY(box);
    QCOMPARE(box->buttonRole(ButtonWithText(w, "&Help")), QDialogButtonBox::HelpRole);
    QCOMPARE(box->buttonRole(ButtonWithText(w, "&Launch")), QDialogButtonBox::AcceptRole);
}

void MainWindowTest::profileListSizeHint()
{
    // The height is fixed; the width is the names' width plus a fixed scroll bar allowance.
    QList<int> allowance;
    for (int count : {1, 100}) {
        QByteArray text = "$VERSION\t106\n[Profile]\n";
        for (int i = 1; i <= count; ++i)
            text += "\"Profile " + QByteArray::number(i) +
                    "\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n";
        QVERIFY(WriteText(UserConfigPath(), text));
        MainWindow w(nullptr);
        QCOMPARE(w.m_profileList->sizeHint().height(), 192);
        allowance.append(w.m_profileList->sizeHint().width() -
                         w.m_profileList->sizeHintForColumn(0));
    }
    QCOMPARE(allowance[0], allowance[1]);
    QVERIFY(allowance[0] > 5);
}

void MainWindowTest::profileButtonsFollowControls()
{
    MainWindow w(nullptr);
    QCOMPARE(ProfileButtons(w), QStringLiteral("Add|off|off"));
    // The option rows' Remove buttons start disabled, then follow the selected entries.
    QVERIFY(!w.m_removeResolutionButton->isEnabled() && !w.m_removePixelDensityButton->isEnabled());
    Combo(w, 2)->setCurrentIndex(0);
    QCOMPARE(ProfileButtons(w), QStringLiteral("Add|on|off"));
    Combo(w, 2)->setCurrentIndex(1);
    // Surrounding blanks don't count; letter case does.
    w.m_argumentsEdit->setText(QStringLiteral("  -fast \t"));
    QCOMPARE(ProfileButtons(w), QStringLiteral("Add|off|off"));
    w.m_argumentsEdit->setText(QStringLiteral("-Fast"));
    QCOMPARE(ProfileButtons(w), QStringLiteral("Add|on|off"));

    w.m_profileList->setCurrentRow(1);
    QCOMPARE(ProfileButtons(w), QStringLiteral("Update|off|on"));
    QVERIFY(w.m_removeResolutionButton->isEnabled() && w.m_removePixelDensityButton->isEnabled());
    Combo(w, 3)->setCurrentIndex(0);
    QCOMPARE(ProfileButtons(w), QStringLiteral("Update|on|on"));
}

void MainWindowTest::storedIndexOutsideList()
{
    // Shown as no entry; only -1, what the controls store for that, is no change.
    for (const auto& [index, changed] : {std::pair{"99", true}, std::pair{"-1", false}}) {
        QByteArray config = WindowConfig;
        QVERIFY(WriteText(
            UserConfigPath(),
            config.replace("[Resolution] 2 [", "[Resolution] " + QByteArray(index) + " [")));
        MainWindow w(nullptr);
        QCOMPARE(w.m_profiles[0].optionIndex[0], QByteArray(index).toInt());
        QCOMPARE(w.GetControlsValueText(),
                 QStringLiteral("[Resolution] -1 [PixelDensity] 1 [Input] 0 -fast"));
        QCOMPARE(w.m_addUpdateButton->isEnabled(), changed);
        QVERIFY(!w.m_removeResolutionButton->isEnabled());
    }
}

void MainWindowTest::launchFailureChangesNothing()
{
    MainWindow w(nullptr);
    w.m_profileList->setCurrentRow(1);
    Combo(w, 1)->setCurrentIndex(2);
    const QString controls = Shown(w) + ProfileButtons(w);
    const QString stored = w.GetProfileValue(w.m_profiles[1]);

    ModalAnswerer answerer;
    QString shape;
    answerer.enqueue([&](QWidget* dialog) {
        if (auto* box = qobject_cast<QMessageBox*>(dialog))
            shape = QStringLiteral("%1|%2|%3")
                        .arg(box->icon())
                        .arg(int(box->standardButtons()))
                        .arg(box->parentWidget() == &w);
        ModalAnswerer::PressButton(dialog, QStringLiteral("OK"));
    });
    QTest::mouseClick(ButtonWithText(w, "&Launch"), Qt::LeftButton);
    QTRY_COMPARE(answerer.seen, QStringList{QStringLiteral(
                                    "Nimbra Mobile Emulator Launcher|Failed to start Nimbra "
                                    "Mobile Emulator!")});
    QCOMPARE(shape, QStringLiteral("%1|%2|1").arg(QMessageBox::Critical).arg(int(QMessageBox::Ok)));
    QCOMPARE(Shown(w) + ProfileButtons(w), controls);
    QCOMPARE(w.GetProfileValue(w.m_profiles[1]), stored);
    QCOMPARE(ReadBytes(UserConfigPath()), WindowConfig);
}

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
