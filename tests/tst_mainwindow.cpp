// The main window's controls, how they follow the selected profile, and the failure of
// launch. Runs in an app folder of its own: no emulator and no default file.
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QMessageBox>
#include <QTest>

#include <tuple>

namespace {

// The first profile selects later entries of both option rows and has arguments with a
// leading blank (the reader keeps one before each word).
const QByteArray WindowConfig = "$VERSION\t106\n[Profile]\n"
                                "\"Base\"\t\"[Resolution] 2 [PixelDensity] 1 [Input] 0  -fast\"\n"
                                "\"Phone\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 1 \"\n" +
                                SizeAndDensitySections() +
                                "[Input]\n\"Touch\"\t\"\"\n\"Mouse\"\t\" -input mouse\"\n";

// The two profile buttons: text, Add/Update enabled, Remove enabled.
using ProfileButtons = std::tuple<QString, bool, bool>;

ProfileButtons ButtonsOf(const MainWindow& w)
{
    return {WindowFixture::AddUpdateButton(w)->text(),
            WindowFixture::AddUpdateButton(w)->isEnabled(),
            WindowFixture::RemoveProfileButton(w)->isEnabled()};
}

bool RemoveOptionButtonsEnabled(const MainWindow& w, bool enabled)
{
    return WindowFixture::RemoveButton(w, OptionKind::Resolution)->isEnabled() == enabled &&
           WindowFixture::RemoveButton(w, OptionKind::PixelDensity)->isEnabled() == enabled;
}

} // namespace

class WindowTest : public QObject
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
};

void WindowTest::showsConfiguration()
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
    for (const OptionKind kind : AllOptionKinds)
        texts += WindowFixture::Items(w, kind);
    texts += WindowFixture::Rows(w);
    QCOMPARE(texts, (QStringList{"Nimbra Mobile Emulator", "Profile", "Resolution", "Pixel Density",
                                 "Input", "&Arguments", "Any size", "Small", "Large", "Any density",
                                 "mdpi", "hdpi", "Touch", "Mouse", "Base", "Phone"}));
    QVERIFY(group->isAncestorOf(WindowFixture::ProfileList(w)));
    QCOMPARE(form->itemAt(3, QFormLayout::FieldRole)->widget(), WindowFixture::Arguments(w));
    QCOMPARE(WindowFixture::ProfileList(w)->currentRow(), 0);
    QCOMPARE(WindowFixture::Controls(w), (Profile{"Base", " -fast", {2, 1, 0}}));

    auto* box = w.findChild<QDialogButtonBox*>();
    QVERIFY(box);
    QCOMPARE(box->buttonRole(ButtonWithText(w, "&Help")), QDialogButtonBox::HelpRole);
    QCOMPARE(box->buttonRole(ButtonWithText(w, "&Launch")), QDialogButtonBox::AcceptRole);
}

void WindowTest::profileListSizeHint()
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
        const ProfileQListWidget* list = WindowFixture::ProfileList(w);
        QCOMPARE(list->sizeHint().height(), 192);
        allowance.append(list->sizeHint().width() - list->sizeHintForColumn(0));
    }
    QCOMPARE(allowance[0], allowance[1]);
    QVERIFY(allowance[0] > 5);
}

void WindowTest::profileButtonsFollowControls()
{
    MainWindow w(nullptr);
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", false, false}));
    // The option rows' Remove buttons start disabled, then follow the selected entries.
    QVERIFY(RemoveOptionButtonsEnabled(w, false));
    WindowFixture::ComboBox(w, OptionKind::PixelDensity)->setCurrentIndex(0);
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", true, false}));
    WindowFixture::ComboBox(w, OptionKind::PixelDensity)->setCurrentIndex(1);
    // Surrounding blanks don't count; letter case does.
    WindowFixture::Arguments(w)->setText(QStringLiteral("  -fast \t"));
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", false, false}));
    WindowFixture::Arguments(w)->setText(QStringLiteral("-Fast"));
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", true, false}));

    WindowFixture::Select(w, 1);
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Update", false, true}));
    QVERIFY(RemoveOptionButtonsEnabled(w, true));
    WindowFixture::ComboBox(w, OptionKind::Input)->setCurrentIndex(0);
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Update", true, true}));
}

void WindowTest::storedIndexOutsideList()
{
    // Shown as no entry; only -1, what the controls store for that, is no change.
    for (const auto& [index, changed] : {std::pair{"99", true}, std::pair{"-1", false}}) {
        QByteArray config = WindowConfig;
        QVERIFY(WriteText(
            UserConfigPath(),
            config.replace("[Resolution] 2 [", "[Resolution] " + QByteArray(index) + " [")));
        MainWindow w(nullptr);
        QCOMPARE(WindowFixture::Profiles(w)[0].optionIndex[0], QByteArray(index).toInt());
        QCOMPARE(WindowFixture::Controls(w), (Profile{"Base", " -fast", {-1, 1, 0}}));
        QCOMPARE(WindowFixture::AddUpdateButton(w)->isEnabled(), changed);
        QVERIFY(!WindowFixture::RemoveButton(w, OptionKind::Resolution)->isEnabled());
    }
}

void WindowTest::launchFailureChangesNothing()
{
    MainWindow w(nullptr);
    WindowFixture::Select(w, 1);
    WindowFixture::ComboBox(w, OptionKind::Resolution)->setCurrentIndex(2);
    const Profile controls = WindowFixture::Controls(w);
    const ProfileButtons buttons = ButtonsOf(w);
    const QList<Profile> profiles = WindowFixture::Profiles(w);

    ModalAnswerer answerer;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    answerer.enqueue([&](QWidget* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY(box && box->parentWidget() == &w);
        QCOMPARE(box->standardButtons(), QMessageBox::Ok);
        icon = box->icon();
        ModalAnswerer::PressButton(dialog, QStringLiteral("OK"));
    });
    QTest::mouseClick(ButtonWithText(w, "&Launch"), Qt::LeftButton);
    QTRY_COMPARE(answerer.seen, QStringList{QStringLiteral(
                                    "Nimbra Mobile Emulator Launcher|Failed to start Nimbra "
                                    "Mobile Emulator!")});
    QCOMPARE(icon, QMessageBox::Critical);
    QCOMPARE(WindowFixture::Controls(w), controls);
    QCOMPARE(ButtonsOf(w), buttons);
    QCOMPARE(WindowFixture::Profiles(w), profiles);
    QCOMPARE(ReadBytes(UserConfigPath()), WindowConfig);
}

QTEST_MAIN(WindowTest)
#include "tst_mainwindow.moc"
