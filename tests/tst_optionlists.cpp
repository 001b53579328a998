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
#include <QPushButton>
#include <QScreen>
#include <QTest>

namespace {

QSize ScreenSize()
{
    return QGuiApplication::primaryScreen()->geometry().size();
}

// Presses button, or the Escape key for "Escape".
void Press(QWidget* dialog, const QString& button)
{
    if (button == "Escape")
        QTest::keyClick(dialog, Qt::Key_Escape);
    else
        ModalAnswerer::PressButton(dialog, button);
}

// Fills the add dialog's rows in order and presses button; notes the title and the labels.
ModalAnswerer::Answer AddAnswer(const QStringList& texts, const QString& button,
                                QString* shown = nullptr)
{
    return [=](QWidget* dialog) {
        QStringList labels{dialog->windowTitle()};
        if (auto* add = qobject_cast<AddDlg*>(dialog)) {
            for (int i = 0; i < add->m_fields.size(); ++i) {
                labels.append(add->m_fields[i].label);
                add->m_fields[i].edit->setText(texts.value(i));
            }
        }
        if (shown)
            *shown = labels.join(u'|');
        Press(dialog, button);
    };
}

QStringList Entries(const ConfigSection& section)
{
    QStringList lines;
    for (const OptionEntry& entry : section.entries)
        lines.append(entry.key + u'|' + entry.value);
    return lines;
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UseFixtureAppFolder();
        UsePrivateDataLocation();
    }
    void init() { QVERIFY(WriteText(UserConfigPath(), EditingConfig)); }

    void addsEntry_data();
    void addsEntry();
    void removesEntry_data();
    void removesEntry();

private:
    static QString State(MainWindow& w) { return EditingState(&w, w.m_profiles, w.m_sections); }
    static QString ReloadDifference(MainWindow& w)
    {
        return EditingReloadDifference(w.SaveConfig(), w.m_profiles, w.m_sections);
    }
    static QPushButton* RemoveButton(MainWindow& w, int section)
    {
        return section == 1 ? w.m_removeResolutionButton : w.m_removePixelDensityButton;
    }
};

void MainWindowTest::addsEntry_data()
{
    const QSize screen = ScreenSize();
    const QString width = QString::number(screen.width());
    const QString height = QString::number(screen.height());
    const QString wider = QString::number(screen.width() + 1);
    const QString taller = QString::number(screen.height() + 1);
    QTest::addColumn<int>("section");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("warning"); // the answer to the screen size warning, if asked
    QTest::addColumn<QString>("value");   // null when nothing is added
    QTest::newRow("resolution of the screen's size, no warning")
        << 1 << QStringList{"Screen", width, height} << "OK"
        << ""
        << " -windowsize " + width + "x" + height;
    QTest::newRow("pixel density: existing name, no size check")
        << 2 << QStringList{"mdpi", "99999999"} << "OK"
        << ""
        << " -ppi 99999999";
    QTest::newRow("resolution, Cancel") << 1 << QStringList{"A", "1", "1"} << "Cancel"
                                        << "" << QString();
    QTest::newRow("pixel density, Escape") << 2 << QStringList{"A", "1"} << "Escape"
                                           << "" << QString();
    QTest::newRow("one wider, No") << 1 << QStringList{"Big", wider, height} << "OK"
                                   << "No" << QString();
    QTest::newRow("one taller, Yes") << 1 << QStringList{"Big", width, taller} << "OK"
                                     << "Yes"
                                     << " -windowsize " + width + "x" + taller;
}

void MainWindowTest::addsEntry()
{
    QFETCH(int, section);
    QFETCH(QStringList, texts);
    QFETCH(QString, button);
    QFETCH(QString, warning);
    QFETCH(QString, value);
    MainWindow window;
    const QString before = State(window);
    const QStringList profiles = EditingProfiles(window.m_profiles);
    const QStringList entries = Entries(window.m_sections[section]);

    ModalAnswerer answerer;
    QString shown;
    answerer.enqueue(AddAnswer(texts, button, &shown));
    if (!warning.isEmpty())
        answerer.enqueue([=](QWidget* dialog) { Press(dialog, warning); });
    EditingGuard(answerer);
    section == 1 ? window.OnAddResolution() : window.OnAddPixelDensity();

    QCOMPARE(shown, section == 1 ? "Add Resolution|Name:|Width:|Height:"
                                 : "Add Pixel Density|Name:|Pixel Density:");
    QStringList seen{section == 1 ? "Add Resolution|" : "Add Pixel Density|"};
    if (!warning.isEmpty())
        seen.append(QStringLiteral("Resolution bigger than the current screen size!|You are "
                                   "trying to add: %1x%2\nbut the current screen "
                                   "resolution is: %3x%4\n\nAre you sure ?")
                        .arg(texts[1], texts[2])
                        .arg(ScreenSize().width())
                        .arg(ScreenSize().height()));
    QCOMPARE(answerer.seen, seen);
    if (value.isNull()) {
        QCOMPARE(State(window), before);
        return;
    }
    const ConfigSection& options = window.m_sections[section];
    QCOMPARE(Entries(options), entries + QStringList{texts[0] + u'|' + value});
    QCOMPARE(options.comboBox->itemText(entries.size()), texts[0]);
    QCOMPARE(options.comboBox->currentIndex(), entries.size());
    QVERIFY(RemoveButton(window, section)->isEnabled());
    QCOMPARE(EditingProfiles(window.m_profiles), profiles);
    QCOMPARE(ReloadDifference(window), QString());
}

void MainWindowTest::removesEntry_data()
{
    // With Phone shown (Resolution 1, Pixel Density 2, no arguments); Watch has " -b".
    QTest::addColumn<int>("section");
    QTest::addColumn<int>("entry");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("question");
    QTest::addColumn<QStringList>("profiles");
    const QString users = "|The following profiles use this option, are you sure you want to "
                          "continue?\n\nPhone\nWatch\n";
    QTest::newRow("used resolution")
        << 1 << 1 << "Yes"
        << "Confirm remove resolution" + users
        << QStringList{"Base||0 0 0", "Phone| -windowsize 320x480|0 2 0", "Tablet| -t|1 3 1",
                       "Watch| -b  -windowsize 320x480|0 2 1"};
    QTest::newRow("unused pixel density before used ones")
        << 2 << 1 << ""
        << "" << QStringList{"Base||0 0 0", "Phone||1 1 0", "Tablet| -t|2 2 1", "Watch| -b|1 1 1"};
    QTest::newRow("declined") << 1 << 1 << "No"
                              << "Confirm remove resolution" + users << QStringList();
}

void MainWindowTest::removesEntry()
{
    QFETCH(int, section);
    QFETCH(int, entry);
    QFETCH(QString, answer);
    QFETCH(QString, question);
    QFETCH(QStringList, profiles);
    MainWindow window;
    window.m_profileList->setCurrentRow(1);
    ConfigSection& options = window.m_sections[section];
    options.comboBox->setCurrentIndex(entry);
    const QString before = State(window);
    QStringList entries = Entries(options);
    entries.removeAt(entry);

    ModalAnswerer answerer;
    if (!answer.isEmpty())
        answerer.pressButton(answer);
    EditingGuard(answerer);
    RemoveButton(window, section)->click();

    QCOMPARE(answerer.seen, question.isEmpty() ? QStringList() : QStringList{question});
    if (answer == "No") {
        QCOMPARE(State(window), before);
        return;
    }
    QCOMPARE(EditingProfiles(window.m_profiles), profiles);
    QCOMPARE(Entries(options), entries);
    QCOMPARE(options.comboBox->count(), entries.size());
    QCOMPARE(options.comboBox->currentIndex(), 0);
    QVERIFY(!RemoveButton(window, section)->isEnabled());
    // A repair reaches the model only: the field shows it once Phone is chosen again.
    QCOMPARE(window.m_argumentsEdit->text(), QString());
    window.m_profileList->setCurrentRow(0);
    window.m_profileList->setCurrentRow(1);
    QCOMPARE(window.m_argumentsEdit->text(), window.m_profiles[1].arguments);
    QCOMPARE(ReloadDifference(window), QString());
}

QTEST_MAIN(MainWindowTest)
#include "tst_optionlists.moc"
