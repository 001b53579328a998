// Adding and removing resolutions and pixel densities through the real dialogs.
#include "adddlg.h"
#include "editing_support.h"
#include "launcher.h"
#include "modalanswerer.h"
#include "testenv.h"

#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QTest>

namespace {

const QString UsersQuestion =
    QStringLiteral("|The following profiles use this option, are you sure you want to continue?"
                   "\n\nPhone\nWatch\n");

QSize ScreenSize()
{
    return QGuiApplication::primaryScreen()->geometry().size();
}

// Fills the add dialog's rows in order and presses button ("Escape" presses the key); notes
// the title and row labels in *shown.
ModalAnswerer::Answer AddAnswer(const QStringList& texts, const QString& button,
                                QString* shown = nullptr)
{
    return [=](QWidget* dialog) {
        auto* add = qobject_cast<AddDlg*>(dialog);
        QStringList labels{dialog->windowTitle()};
        for (int i = 0; add && i < add->m_fields.size(); ++i) {
            labels.append(add->m_fields[i].label);
            add->m_fields[i].edit->setText(texts.value(i));
        }
        if (shown)
            *shown = labels.join(u'|');
        if (button == "Escape")
            QTest::keyClick(dialog, Qt::Key_Escape);
        else
            ModalAnswerer::PressButton(dialog, button);
    };
}

QStringList Items(const QComboBox* combo)
{
    QStringList items;
    for (int i = 0; i < combo->count(); ++i)
        items.append(combo->itemText(i));
    return items;
}

QStringList Keys(const QList<OptionEntry>& entries)
{
    QStringList keys;
    for (const OptionEntry& entry : entries)
        keys.append(entry.key);
    return keys;
}

QStringList Entries(const QList<OptionEntry>& entries)
{
    QStringList lines;
    for (const OptionEntry& entry : entries)
        lines.append(entry.key + u'|' + entry.value);
    return lines;
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UsePrivateDataLocation(); }
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig)); }

    void addsEntry_data();
    void addsEntry();
    void warnsAboutResolutionBeyondScreen_data();
    void warnsAboutResolutionBeyondScreen();
    void cancelledAddChangesNothing_data();
    void cancelledAddChangesNothing();
    void sameNameTwiceGivesTwoEntries();
    void removesUsedEntry_data();
    void removesUsedEntry();
    void removesUnusedEntry_data();
    void removesUnusedEntry();
    void declinedRemovalChangesNothing_data();
    void declinedRemovalChangesNothing();

private:
    static QString State(MainWindow& w)
    {
        return EditingState(&w, w.m_profiles, w.m_sections);
    }
    static QString ReloadDifference(MainWindow& w)
    {
        w.SaveConfig();
        return EditingReloadDifference(w.m_profiles, w.m_sections);
    }
    static void Add(MainWindow& w, int section)
    {
        section == 1 ? w.OnAddResolution() : w.OnAddPixelDensity();
    }
    static QPushButton* RemoveButton(MainWindow& w, int section)
    {
        return section == 1 ? w.m_removeResolutionButton : w.m_removePixelDensityButton;
    }
};

void MainWindowTest::addsEntry_data()
{
    const QString width = QString::number(ScreenSize().width());
    const QString height = QString::number(ScreenSize().height());
    QTest::addColumn<int>("section");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QString>("value");
    QTest::newRow("resolution") << 1 << QStringList{"Phone WVGA", "480", "800"}
                                << " -windowsize 480x800";
    QTest::newRow("resolution of the screen's size")
        << 1 << QStringList{"Screen", width, height} << " -windowsize " + width + "x" + height;
    QTest::newRow("pixel density") << 2 << QStringList{"hdpi", "240"} << " -ppi 240";
    QTest::newRow("pixel density, no size check, name as typed")
        << 2 << QStringList{" odd, = \tname ", "99999999"} << " -ppi 99999999";
}

void MainWindowTest::addsEntry()
{
    QFETCH(int, section);
    QFETCH(QStringList, texts);
    QFETCH(QString, value);
    MainWindow window;
    const QStringList profiles = EditingProfiles(window.m_profiles);
    const QStringList entries = Entries(window.m_sections[section].entries);

    ModalAnswerer answerer;
    QString shown;
    answerer.enqueue(AddAnswer(texts, "OK", &shown));
    EditingGuard(answerer);
    Add(window, section);

    QCOMPARE(answerer.seen.size(), 1);
    QCOMPARE(shown, section == 1 ? "Add Resolution|Name:|Width:|Height:"
                                 : "Add Pixel Density|Name:|Pixel Density:");
    const ConfigSection& options = window.m_sections[section];
    QCOMPARE(Entries(options.entries), entries + QStringList{texts[0] + u'|' + value});
    QCOMPARE(Items(options.comboBox), Keys(options.entries));
    QCOMPARE(options.comboBox->currentIndex(), options.entries.size() - 1);
    QVERIFY(RemoveButton(window, section)->isEnabled());
    QVERIFY(window.m_addUpdateButton->isEnabled());
    QCOMPARE(EditingProfiles(window.m_profiles), profiles);
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::warnsAboutResolutionBeyondScreen_data()
{
    QTest::addColumn<int>("extraWidth");
    QTest::addColumn<int>("extraHeight");
    QTest::addColumn<QString>("answer");
    QTest::newRow("one wider, No") << 1 << 0 << "No";
    QTest::newRow("one taller, No") << 0 << 1 << "No";
    QTest::newRow("one taller, Escape") << 0 << 1 << "Escape";
    QTest::newRow("one wider, Yes") << 1 << 0 << "Yes";
    QTest::newRow("one taller, Yes") << 0 << 1 << "Yes";
}

void MainWindowTest::warnsAboutResolutionBeyondScreen()
{
    QFETCH(int, extraWidth);
    QFETCH(int, extraHeight);
    QFETCH(QString, answer);
    const QSize screen = ScreenSize();
    const QString width = QString::number(screen.width() + extraWidth);
    const QString height = QString::number(screen.height() + extraHeight);
    MainWindow window;
    const QString before = State(window);
    const QStringList entries = Entries(window.m_sections[1].entries);

    ModalAnswerer answerer;
    QString buttons;
    answerer.enqueue(AddAnswer({"Big", width, height}, "OK"));
    answerer.enqueue([&](QWidget* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QStringList texts;
        for (QAbstractButton* button : box ? box->buttons() : QList<QAbstractButton*>())
            texts.append(button->text());
        texts.sort();
        buttons = texts.join(u'/');
        if (box && box->icon() != QMessageBox::Warning)
            buttons += " without the warning icon";
        if (answer == "Escape")
            QTest::keyClick(dialog, Qt::Key_Escape);
        else
            ModalAnswerer::PressButton(dialog, answer);
    });
    EditingGuard(answerer);
    window.OnAddResolution();

    QCOMPARE(answerer.seen,
             (QStringList{"Add Resolution|",
                          QStringLiteral("Resolution bigger than the current screen size!|You are "
                                         "trying to add: %1x%2\nbut the current screen "
                                         "resolution is: %3x%4\n\nAre you sure ?")
                              .arg(width, height)
                              .arg(screen.width())
                              .arg(screen.height())}));
    QCOMPARE(buttons, "No/Yes");
    if (answer != "Yes") {
        QCOMPARE(State(window), before);
        return;
    }
    const ConfigSection& options = window.m_sections[1];
    QCOMPARE(Entries(options.entries),
             entries + QStringList{"Big| -windowsize " + width + u'x' + height});
    QCOMPARE(options.comboBox->currentIndex(), options.entries.size() - 1);
}

void MainWindowTest::cancelledAddChangesNothing_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<QString>("button");
    QTest::newRow("resolution, Cancel") << 1 << "Cancel";
    QTest::newRow("resolution, Escape") << 1 << "Escape";
    QTest::newRow("pixel density, Cancel") << 2 << "Cancel";
}

void MainWindowTest::cancelledAddChangesNothing()
{
    QFETCH(int, section);
    QFETCH(QString, button);
    MainWindow window;
    const QString before = State(window);

    ModalAnswerer answerer;
    answerer.enqueue(AddAnswer({"Typed", "480", "800"}, button));
    EditingGuard(answerer);
    Add(window, section);

    QCOMPARE(answerer.seen.size(), 1);
    QCOMPARE(State(window), before);
}

void MainWindowTest::sameNameTwiceGivesTwoEntries()
{
    MainWindow window;
    ModalAnswerer answerer;
    answerer.enqueue(AddAnswer({"Twin", "200"}, "OK"));
    answerer.enqueue(AddAnswer({"Twin", "300"}, "OK"));
    EditingGuard(answerer);
    window.OnAddPixelDensity();
    window.OnAddPixelDensity();

    QCOMPARE(answerer.seen.size(), 2);
    const ConfigSection& options = window.m_sections[2];
    QCOMPARE(Entries(options.entries).mid(4), (QStringList{"Twin| -ppi 200", "Twin| -ppi 300"}));
    QCOMPARE(Items(options.comboBox), Keys(options.entries));
    options.comboBox->setCurrentIndex(4);
    QCOMPARE(options.comboBox->currentText(), "Twin");
    QVERIFY(window.m_removePixelDensityButton->isEnabled());
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::removesUsedEntry_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<int>("entry");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QStringList>("profiles");
    // Phone and Watch use the entry; Phone's arguments are empty, Watch's are " -b".
    QTest::newRow("resolution")
        << 1 << 1 << "Confirm remove resolution" << " -windowsize 320x480"
        << QStringList{"Base||0 0 0", "Phone| -windowsize 320x480|0 2 0", "Tablet| -t|1 3 1",
                       "Watch| -b  -windowsize 320x480|0 2 1"};
    QTest::newRow("pixel density")
        << 2 << 2 << "Confirm remove pixel density" << " -ppi 160"
        << QStringList{"Base||0 0 0", "Phone| -ppi 160|1 0 0", "Tablet| -t|2 2 1",
                       "Watch| -b  -ppi 160|1 0 1"};
}

void MainWindowTest::removesUsedEntry()
{
    QFETCH(int, section);
    QFETCH(int, entry);
    QFETCH(QString, title);
    QFETCH(QString, value);
    QFETCH(QStringList, profiles);
    MainWindow window;
    window.m_profileList->setCurrentRow(1); // Phone, whose choice the combo box now shows
    ConfigSection& options = window.m_sections[section];
    QCOMPARE(options.comboBox->currentIndex(), entry);
    QList<OptionEntry> entries = options.entries;
    entries.removeAt(entry);
    const QStringList other = Entries(window.m_sections[3 - section].entries);

    ModalAnswerer answerer;
    answerer.pressButton("Yes");
    EditingGuard(answerer);
    RemoveButton(window, section)->click();

    QCOMPARE(answerer.seen, QStringList{title + UsersQuestion});
    QCOMPARE(EditingProfiles(window.m_profiles), profiles);
    QCOMPARE(Entries(options.entries), Entries(entries));
    QCOMPARE(Entries(window.m_sections[3 - section].entries), other);
    QCOMPARE(Items(options.comboBox), Keys(entries));
    QCOMPARE(options.comboBox->currentIndex(), 0);
    QVERIFY(!RemoveButton(window, section)->isEnabled());

    // Only the model was repaired: the field shows the old arguments until Phone is chosen again.
    QCOMPARE(window.m_argumentsEdit->text(), QString());
    QVERIFY(window.m_addUpdateButton->isEnabled());
    window.m_profileList->setCurrentRow(0);
    window.m_profileList->setCurrentRow(1);
    QCOMPARE(window.m_argumentsEdit->text(), value);
    QVERIFY(!window.m_addUpdateButton->isEnabled());
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::removesUnusedEntry_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<int>("entry");
    QTest::addColumn<QStringList>("profiles");
    QTest::newRow("pixel density before used ones")
        << 2 << 1
        << QStringList{"Base||0 0 0", "Phone||1 1 0", "Tablet| -t|2 2 1", "Watch| -b|1 1 1"};
    QTest::newRow("last resolution")
        << 1 << 3
        << QStringList{"Base||0 0 0", "Phone||1 2 0", "Tablet| -t|2 3 1", "Watch| -b|1 2 1"};
}

void MainWindowTest::removesUnusedEntry()
{
    QFETCH(int, section);
    QFETCH(int, entry);
    QFETCH(QStringList, profiles);
    MainWindow window;
    ConfigSection& options = window.m_sections[section];
    options.comboBox->setCurrentIndex(entry);
    QList<OptionEntry> entries = options.entries;
    entries.removeAt(entry);

    ModalAnswerer answerer;
    EditingGuard(answerer);
    RemoveButton(window, section)->click();

    QCOMPARE(answerer.seen, QStringList());
    QCOMPARE(EditingProfiles(window.m_profiles), profiles);
    QCOMPARE(Entries(options.entries), Entries(entries));
    QCOMPARE(Items(options.comboBox), Keys(entries));
    QCOMPARE(options.comboBox->currentIndex(), 0);
    QVERIFY(!RemoveButton(window, section)->isEnabled());
    QVERIFY(!window.m_addUpdateButton->isEnabled());
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::declinedRemovalChangesNothing_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<QString>("title");
    QTest::newRow("resolution") << 1 << "Confirm remove resolution";
    QTest::newRow("pixel density") << 2 << "Confirm remove pixel density";
}

void MainWindowTest::declinedRemovalChangesNothing()
{
    QFETCH(int, section);
    QFETCH(QString, title);
    MainWindow window;
    window.m_profileList->setCurrentRow(1);
    const QString before = State(window);

    ModalAnswerer answerer;
    answerer.pressButton("No");
    EditingGuard(answerer);
    RemoveButton(window, section)->click();

    QCOMPARE(answerer.seen, QStringList{title + UsersQuestion});
    QCOMPARE(State(window), before);
    QVERIFY(RemoveButton(window, section)->isEnabled());
}

QTEST_MAIN(MainWindowTest)
#include "tst_optionlists.moc"
