// Start-up floor: the launcher's window as the default configuration fills it, with the same
// widgets, texts and states, but without reading a file, single-instance start or any slot.
// What the launcher needs beyond this is the cost of its own code. Built a second time with
// FLOOR_WITH_NETWORK, which loads QtNetwork as the single-instance start's local socket does.
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#ifdef FLOOR_WITH_NETWORK
#include <QLocalServer>
#endif
#include <QPushButton>
#include <QScrollBar>
#include <QStyleOptionSlider>

namespace {

// The launcher's profile list asks for this size; it decides the window's size.
class ProfileList : public QListWidget
{
public:
    QSize sizeHint() const override
    {
        const QStyleOptionSlider option;
        const int scrollBarExtent = verticalScrollBar()->style()->pixelMetric(
            QStyle::PM_ScrollBarExtent, &option, verticalScrollBar());
        return QSize(sizeHintForColumn(0) + scrollBarExtent + 5, 192);
    }
};

const QStringList kProfiles = {"Default", "Phone WVGA hdpi", "Phone HD xhdpi",
                               "Small phone HVGA mdpi", "Tablet WXGA mdpi"};
const QStringList kResolutions = {"Emulator default",       "Phone HVGA (320x480)",
                                  "Phone WVGA (480x800)",   "Phone qHD (540x960)",
                                  "Phone HD (720x1280)",    "Phone FHD (1080x1920)",
                                  "Tablet WXGA (800x1280)", "Tablet WXGA landscape (1280x800)",
                                  "Tablet QXGA (1536x2048)"};
const QStringList kDensities = {"Emulator default", "ldpi (120)",   "mdpi (160)",   "hdpi (240)",
                                "xhdpi (320)",      "xxhdpi (480)", "xxxhdpi (640)"};
const QStringList kInputs = {"Touch", "Mouse", "Touch and hardware keyboard", "Hardware keys only"};

QLayout* OptionRow(const QStringList& keys, const QString& options, bool withButtons,
                   QComboBox** comboBox)
{
    auto* grid = new QGridLayout;
    *comboBox = new QComboBox;
    (*comboBox)->insertItems(0, keys);
    grid->addWidget(*comboBox, 0, 0, 1, -1);
    if (withButtons) {
        auto* add = new QPushButton(QStringLiteral("Add"));
        add->setAccessibleName(QStringLiteral("Add ") + options);
        auto* remove = new QPushButton(QStringLiteral("Remove"));
        remove->setAccessibleName(QStringLiteral("Remove ") + options);
        remove->setEnabled(false);
        grid->addWidget(add, 1, 0);
        grid->addWidget(remove, 1, 1);
    }
    (*comboBox)->setCurrentIndex(0);
    return grid;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
#ifdef FLOOR_WITH_NETWORK
    QLocalServer server;
#endif
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Nimbra Mobile Emulator"));
    auto* central = new QWidget(&window);
    window.setCentralWidget(central);
    auto* outer = new QVBoxLayout;

    auto* group = new QGroupBox(QStringLiteral("Profile"));
    outer->addWidget(group, 0);
    auto* groupLayout = new QHBoxLayout;
    group->setLayout(groupLayout);
    auto* profileGrid = new QGridLayout;
    groupLayout->addLayout(profileGrid, 0);

    auto* profileList = new ProfileList;
    profileList->setAccessibleName(QStringLiteral("Profiles"));
    profileList->addItems(kProfiles);
    profileList->setCurrentRow(0);
    profileGrid->addWidget(profileList, 0, 0, 1, -1);
    auto* addUpdate = new QPushButton(QStringLiteral("Add"));
    addUpdate->setAccessibleDescription(
        QStringLiteral("Stores the chosen options as a new profile or in the selected one"));
    addUpdate->setEnabled(false);
    auto* removeProfile = new QPushButton(QStringLiteral("Remove"));
    removeProfile->setAccessibleName(QStringLiteral("Remove profile"));
    removeProfile->setEnabled(false);
    profileGrid->addWidget(addUpdate, 1, 0);
    profileGrid->addWidget(removeProfile, 1, 1);

    auto* form = new QFormLayout;
    const struct
    {
        const char* label;
        const char* options;
        const QStringList& keys;
        bool withButtons;
    } rows[] = {{"Resolution", "resolution", kResolutions, true},
                {"Pixel Density", "pixel density", kDensities, true},
                {"Input", "input", kInputs, false}};
    for (const auto& row : rows) {
        auto* label = new QLabel(QLatin1String(row.label));
        QComboBox* comboBox = nullptr;
        QLayout* layout =
            OptionRow(row.keys, QLatin1String(row.options), row.withButtons, &comboBox);
        label->setBuddy(comboBox);
        form->addRow(label, layout);
    }
    auto* arguments = new QLineEdit;
    form->addRow(QStringLiteral("&Arguments"), arguments);
    groupLayout->addSpacing(10);
    groupLayout->addLayout(form, 0);

    auto* buttons = new QDialogButtonBox;
    buttons->addButton(new QPushButton(QStringLiteral("&Help")), QDialogButtonBox::HelpRole);
    buttons->addButton(new QPushButton(QStringLiteral("&Launch")), QDialogButtonBox::AcceptRole);
    outer->addWidget(buttons, 0);
    central->setLayout(outer);

    window.show();
    return app.exec();
}
