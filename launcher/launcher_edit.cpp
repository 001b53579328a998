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

namespace {

const QString AddProfileTitle = QStringLiteral("Add Profile");

int FindProfile(const QList<Profile>& profiles, const QString& name)
{
    for (int i = 0; i < profiles.size(); ++i) {
        if (profiles[i].name == name)
            return i;
    }
    return -1;
}

} // namespace

void MainWindow::CopyControlsToProfile(Profile& profile)
{
    for (int k = 0; k < 3; ++k)
        profile.optionIndex[k] = m_sections[k + 1].comboBox->currentIndex();
    profile.arguments = m_argumentsEdit->text();
}

void MainWindow::OnAddUpdateProfile()
{
    const int row = m_profileList->currentRow();
    if (row != 0) {
        CopyControlsToProfile(m_profiles[row]);
        RefreshAddUpdateButton();
        return;
    }

    // Each pass asks for a name anew: after a declined replacement or a refused name.
    for (;;) {
        bool ok = false;
        const QString name =
            QInputDialog::getText(this, AddProfileTitle,
                                  QStringLiteral("Enter the name for the new profile"),
                                  QLineEdit::Normal, QString(), &ok);
        if (!ok || name.isEmpty())
            return;
        if (name.contains(u'"')) {
            // Launcher.ini splits its lines at double quotes: such a name would not survive.
            QMessageBox::warning(this, AddProfileTitle,
                                 QStringLiteral("A profile name can't contain a double quote "
                                                "(\"). Please choose another name."));
            continue;
        }
        const int existing = FindProfile(m_profiles, name);
        if (existing < 0) {
            Profile profile;
            profile.name = name;
            CopyControlsToProfile(profile);
            m_profiles.append(profile);
            m_profileList->addItem(name);
            m_profileList->setCurrentRow(m_profiles.size() - 1);
            return;
        }
        if (QMessageBox::question(
                this, AddProfileTitle,
                QStringLiteral("This profile already exists. Do you want to replace it?"),
                QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::NoButton) == QMessageBox::Ok) {
            CopyControlsToProfile(m_profiles[existing]);
            m_profileList->setCurrentRow(existing);
            // Replacing the first profile leaves row 0 current, so no row change refreshes.
            RefreshAddUpdateButton();
            return;
        }
    }
}

void MainWindow::OnRemoveProfile()
{
    const int row = m_profileList->currentRow();
    if (QMessageBox::question(
            this, QStringLiteral("Confirm Remove Profile"),
            QStringLiteral("Are you sure you want to remove this profile?\n\n") +
                m_profiles[row].name,
            QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::NoButton) != QMessageBox::Ok)
        return;
    // The profile goes first: taking the current row out selects a neighbour at once, and
    // its slot must find rows and profiles in step.
    m_profiles.removeAt(row);
    delete m_profileList->takeItem(row);
    m_profileList->setCurrentRow(0);
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
    AppendOption(1, dialog.m_fields[0].edit->text(),
                 QStringLiteral(" -windowsize ") + width + u'x' + height);
}

void MainWindow::OnAddPixelDensity()
{
    AddDlg dialog(this, QStringLiteral("Add Pixel Density"),
                  {{FieldText, QStringLiteral("Name:")},
                   {FieldNumber, QStringLiteral("Pixel Density:")}});
    if (dialog.exec() != QDialog::Accepted)
        return;
    AppendOption(2, dialog.m_fields[0].edit->text(),
                 QStringLiteral(" -ppi ") + dialog.m_fields[1].edit->text());
}

bool MainWindow::ConfirmResolutionSize(int width, int height)
{
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
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

void MainWindow::AppendOption(int section, const QString& name, const QString& value)
{
    m_sections[section].entries.append({name, value});
    QComboBox* comboBox = m_sections[section].comboBox;
    comboBox->addItem(name);
    comboBox->setCurrentIndex(m_sections[section].entries.size() - 1);
}

void MainWindow::OnRemoveResolution()
{
    if (RemoveCurrentOption(1))
        m_sections[1].comboBox->setCurrentIndex(0);
}

void MainWindow::OnRemovePixelDensity()
{
    if (RemoveCurrentOption(2))
        m_sections[2].comboBox->setCurrentIndex(0);
}

bool MainWindow::RemoveCurrentOption(int section)
{
    ConfigSection& options = m_sections[section];
    const QString word = GetSectionDisplayName(options.name, true);
    const int index = options.comboBox->currentIndex();
    if (index < 0)
        return false;

    QString users;
    for (const Profile& profile : m_profiles) {
        if (profile.optionIndex[section - 1] == index)
            users += profile.name + u'\n';
    }
    if (!users.isEmpty() &&
        QMessageBox::warning(this, QStringLiteral("Confirm remove ") + word,
                             QStringLiteral("The following profiles use this option, are you "
                                            "sure you want to continue?\n\n") +
                                 users,
                             QMessageBox::Yes | QMessageBox::No,
                             QMessageBox::NoButton) != QMessageBox::Yes)
        return false;

    // Profiles that used the entry fall back to entry 0 and keep its effect on the command
    // line through their arguments; later indexes move up with the entries.
    const QString removedValue = options.entries[index].value;
    for (Profile& profile : m_profiles) {
        qint32& choice = profile.optionIndex[section - 1];
        if (choice == index) {
            choice = 0;
            if (!profile.arguments.isEmpty())
                profile.arguments += u' ';
            profile.arguments += removedValue;
        } else if (choice > index) {
            --choice;
        }
    }
    // The model changes before the combo box: removing its current item runs its slot at once.
    options.entries.removeAt(index);
    options.comboBox->removeItem(index);
    return true;
}
