// The main window's editing: profiles, and the entries of the option lists.
#include "adddlg.h"
#include "launcher.h"

#include <QComboBox>
#include <QGuiApplication>
#include <QInputDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>

#include <algorithm>
#include <iterator>

namespace {

const QString AddProfileTitle = QStringLiteral("Add Profile");

} // namespace

void MainWindow::CopyControlsToProfile(Profile& profile)
{
    const Profile controls = ControlsProfile();
    std::copy(std::begin(controls.optionIndex), std::end(controls.optionIndex),
              profile.optionIndex);
    profile.arguments = controls.arguments;
}

void MainWindow::OnAddUpdateProfile()
{
    const EditStart before = BeginEdit();
    const int row = m_profileList->currentRow();
    if (row != 0) {
        CopyControlsToProfile(m_model.profiles[row]);
        RefreshAddUpdateButton();
        EditCommitted(QStringLiteral("Update Profile"), before);
        return;
    }

    // Each pass asks for a name anew: after a declined replacement or a refused name.
    for (;;) {
        bool ok = false;
        const QString name = QInputDialog::getText(
            this, AddProfileTitle, QStringLiteral("Enter the name for the new profile"),
            QLineEdit::Normal, QString(), &ok);
        if (!ok || name.isEmpty())
            return;
        // A name Launcher.ini can't carry would not survive the next save.
        const NameFault fault = NameFormatFault(name);
        if (fault != NameFault::None) {
            QMessageBox::warning(this, AddProfileTitle, NameFaultText(fault));
            continue;
        }
        const int existing = FindProfile(m_profiles, name);
        if (existing < 0) {
            Profile profile;
            profile.name = name;
            CopyControlsToProfile(profile);
            m_model.profiles.append(profile);
            m_profileList->addItem(name);
            m_profileList->setCurrentRow(m_profiles.size() - 1);
            EditCommitted(QStringLiteral("Add Profile"), before);
            return;
        }
        if (QMessageBox::question(
                this, AddProfileTitle,
                QStringLiteral("This profile already exists. Do you want to replace it?"),
                QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::NoButton) == QMessageBox::Ok) {
            CopyControlsToProfile(m_model.profiles[existing]);
            m_profileList->setCurrentRow(existing);
            // Replacing the first profile leaves row 0 current, so no row change refreshes.
            RefreshAddUpdateButton();
            EditCommitted(QStringLiteral("Update Profile"), before);
            return;
        }
    }
}

void MainWindow::OnRemoveProfile()
{
    const int row = m_profileList->currentRow();
    if (QMessageBox::question(this, QStringLiteral("Confirm Remove Profile"),
                              QStringLiteral("Are you sure you want to remove this profile?\n\n") +
                                  m_profiles[row].name,
                              QMessageBox::Ok | QMessageBox::Cancel,
                              QMessageBox::NoButton) != QMessageBox::Ok)
        return;
    const EditStart before = BeginEdit();
    const QString name = m_profiles[row].name;
    // The profile goes first: taking the current row out selects a neighbour at once, and
    // its slot must find rows and profiles in step.
    m_model.profiles.removeAt(row);
    delete m_profileList->takeItem(row);
    m_profileList->setCurrentRow(0);
    EditCommitted(QStringLiteral("Remove Profile"), before);
    FollowMenuEntry(name, QString());
}

void MainWindow::OnResolution(int index)
{
    m_removeResolutionButton->setEnabled(index > 0);
    RefreshAddUpdateButton();
}

void MainWindow::OnPixelDensity(int index)
{
    m_removePixelDensityButton->setEnabled(index > 0);
    RefreshAddUpdateButton();
}

void MainWindow::OnInput()
{
    RefreshAddUpdateButton();
}

void MainWindow::OnTextCtrlEdit()
{
    RefreshAddUpdateButton();
}

void MainWindow::OnAddResolution()
{
    AddDlg dialog(this, QStringLiteral("Add Resolution"),
                  {{FieldText, QStringLiteral("Name:")},
                   {FieldNumber, QStringLiteral("Width:")},
                   {FieldNumber, QStringLiteral("Height:")}});
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString width = dialog.m_fields[1].edit->text();
    const QString height = dialog.m_fields[2].edit->text();
    if (!ConfirmResolutionSize(width.toInt(), height.toInt()))
        return;
    AppendOption(OptionKind::Resolution, dialog.m_fields[0].edit->text(),
                 QStringLiteral(" -windowsize ") + width + u'x' + height);
}

void MainWindow::OnAddPixelDensity()
{
    AddDlg dialog(
        this, QStringLiteral("Add Pixel Density"),
        {{FieldText, QStringLiteral("Name:")}, {FieldNumber, QStringLiteral("Pixel Density:")}});
    if (dialog.exec() != QDialog::Accepted)
        return;
    AppendOption(OptionKind::PixelDensity, dialog.m_fields[0].edit->text(),
                 QStringLiteral(" -ppi ") + dialog.m_fields[1].edit->text());
}

bool MainWindow::ConfirmResolutionSize(int width, int height)
{
    // No screen is connected at times (a display being switched): nothing to compare against.
    const QScreen* primary = QGuiApplication::primaryScreen();
    if (!primary)
        return true;
    const QRect screen = primary->geometry();
    if (width <= screen.width() && height <= screen.height())
        return true;
    QMessageBox box(QMessageBox::Warning,
                    QStringLiteral("Resolution bigger than the current screen size!"),
                    QStringLiteral("You are trying to add: %1x%2\nbut the current screen "
                                   "resolution is: %3x%4\n\nAre you sure ?")
                        .arg(width)
                        .arg(height)
                        .arg(screen.width())
                        .arg(screen.height()),
                    QMessageBox::NoButton, this);
    QPushButton* yes = box.addButton(QStringLiteral("Yes"), QMessageBox::AcceptRole);
    box.addButton(QStringLiteral("No"), QMessageBox::RejectRole);
    box.exec();
    return box.clickedButton() == yes;
}

void MainWindow::AppendOption(OptionKind kind, const QString& name, const QString& value)
{
    const EditStart before = BeginEdit();
    QList<OptionEntry>& entries = m_model.Options(kind);
    entries.append({name, value});
    ComboBox(kind)->addItem(name);
    ComboBox(kind)->setCurrentIndex(entries.size() - 1);
    EditCommitted(QStringLiteral("Add ") +
                      GetSectionDisplayName(m_sections[SectionIndex(kind)].name, false),
                  before);
}

void MainWindow::OnRemoveResolution()
{
    if (RemoveCurrentOption(OptionKind::Resolution))
        ComboBox(OptionKind::Resolution)->setCurrentIndex(0);
}

void MainWindow::OnRemovePixelDensity()
{
    if (RemoveCurrentOption(OptionKind::PixelDensity))
        ComboBox(OptionKind::PixelDensity)->setCurrentIndex(0);
}

bool MainWindow::RemoveCurrentOption(OptionKind kind)
{
    const QString word = GetSectionDisplayName(m_sections[SectionIndex(kind)].name, true);
    const int index = ComboBox(kind)->currentIndex();
    if (index < 0)
        return false;

    const QStringList users = ProfilesUsingOption(m_profiles, kind, index);
    if (!users.isEmpty() &&
        QMessageBox::warning(this, QStringLiteral("Confirm remove ") + word,
                             QStringLiteral("The following profiles use this option, are you "
                                            "sure you want to continue?\n\n") +
                                 users.join(u'\n') + u'\n',
                             QMessageBox::Yes | QMessageBox::No,
                             QMessageBox::NoButton) != QMessageBox::Yes)
        return false;

    // The model changes before the combo box: removing its current item runs its slot at once.
    const EditStart before = BeginEdit();
    RemoveOption(m_model, kind, index);
    ComboBox(kind)->removeItem(index);
    EditCommitted(QStringLiteral("Remove ") +
                      GetSectionDisplayName(m_sections[SectionIndex(kind)].name, false),
                  before);
    return true;
}
