// The main window's controls, how they follow the selected profile, and the failure of
// launch. Runs in an app folder of its own: no emulator and no default file.
#include "modalanswerer.h"
#include "records.h"
#include "testenv.h"
#include "windowfixture.h"

#include <QDialogButtonBox>
#include <QGroupBox>
#include <QTest>

#include <tuple>

using W = WindowFixture;

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
    return {W::AddUpdateButton(w)->text(), W::AddUpdateButton(w)->isEnabled(),
            W::RemoveProfileButton(w)->isEnabled()};
}

bool RemoveOptionButtonsEnabled(const MainWindow& w, bool enabled)
{
    return W::RemoveButton(w, OptionKind::Resolution)->isEnabled() == enabled &&
           W::RemoveButton(w, OptionKind::PixelDensity)->isEnabled() == enabled;
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

// The option rows' labels, entries and the list are the accessibility and editing tests'.
void WindowTest::showsConfiguration()
{
    MainWindow w(nullptr);
    auto* group = w.findChild<QGroupBox*>();
    QVERIFY(group && group->isAncestorOf(W::ProfileList(w)));
    QCOMPARE(w.windowTitle(), "Nimbra Mobile Emulator");
    QCOMPARE(group->title(), "Profile");
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
        const ProfileQListWidget* list = W::ProfileList(w);
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
    W::ComboBox(w, OptionKind::PixelDensity)->setCurrentIndex(0);
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", true, false}));
    W::ComboBox(w, OptionKind::PixelDensity)->setCurrentIndex(1);
    // Surrounding blanks don't count; letter case does.
    W::Arguments(w)->setText(QStringLiteral("  -fast \t"));
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", false, false}));
    W::Arguments(w)->setText(QStringLiteral("-Fast"));
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Add", true, false}));

    W::Select(w, 1);
    QCOMPARE(ButtonsOf(w), (ProfileButtons{"Update", false, true}));
    QVERIFY(RemoveOptionButtonsEnabled(w, true));
    W::ComboBox(w, OptionKind::Input)->setCurrentIndex(0);
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
        QCOMPARE(W::Profiles(w)[0].optionIndex[0], QByteArray(index).toInt());
        QCOMPARE(W::Controls(w), (Profile{"Base", " -fast", {-1, 1, 0}}));
        QCOMPARE(W::AddUpdateButton(w)->isEnabled(), changed);
        QVERIFY(!W::RemoveButton(w, OptionKind::Resolution)->isEnabled());
    }
}

void WindowTest::launchFailureChangesNothing()
{
    MainWindow w(nullptr);
    W::Select(w, 1);
    W::ComboBox(w, OptionKind::Resolution)->setCurrentIndex(2);
    const Profile controls = W::Controls(w);
    const ProfileButtons buttons = ButtonsOf(w);
    const QList<Profile> profiles = W::Profiles(w);

    ModalAnswerer answerer;
    answerer.pressButton(QStringLiteral("OK"));
    QTest::mouseClick(ButtonWithText(w, "&Launch"), Qt::LeftButton);
    QCOMPARE(answerer.seen, QStringList{QStringLiteral("Nimbra Mobile Emulator Launcher|Failed "
                                                       "to start Nimbra Mobile Emulator!")});
    QCOMPARE(W::Controls(w), controls);
    QCOMPARE(ButtonsOf(w), buttons);
    QCOMPARE(W::Profiles(w), profiles);
    QCOMPARE(ReadBytes(UserConfigPath()), WindowConfig);
}

QTEST_MAIN(WindowTest)
#include "tst_mainwindow.moc"
