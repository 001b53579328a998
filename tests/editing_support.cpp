#include "editing_support.h"

#include "modalanswerer.h"
#include "testenv.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMetaObject>

const QByteArray EditingConfig = "$VERSION\t106\n"
                                 "\n"
                                 "[Profile]\n"
                                 "\"Base\"\t\"[Resolution] 0 [PixelDensity] 0 [Input] 0 \"\n"
                                 "\"Phone\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 0 \"\n"
                                 "\"Tablet\"\t\"[Resolution] 2 [PixelDensity] 3 [Input] 1 -t\"\n"
                                 "\"Watch\"\t\"[Resolution] 1 [PixelDensity] 2 [Input] 1 -b\"\n"
                                 "\n"
                                 "[Resolution]\n"
                                 "\"Default\"\t\"\"\n"
                                 "\"Small\"\t\" -windowsize 320x480\"\n"
                                 "\"Large\"\t\" -windowsize 800x1280\"\n"
                                 "\"Huge\"\t\" -windowsize 1536x2048\"\n"
                                 "\n"
                                 "[PixelDensity]\n"
                                 "\"Default\"\t\"\"\n"
                                 "\"ldpi\"\t\" -ppi 120\"\n"
                                 "\"mdpi\"\t\" -ppi 160\"\n"
                                 "\"hdpi\"\t\" -ppi 240\"\n"
                                 "\n"
                                 "[Input]\n"
                                 "\"Touch\"\t\"\"\n"
                                 "\"Mouse\"\t\" -input mouse\"\n";

QStringList EditingProfiles(const QList<Profile>& profiles)
{
    QStringList lines;
    for (const Profile& p : profiles) {
        lines.append(QStringLiteral("%1|%2|%3 %4 %5")
                         .arg(p.name, p.arguments)
                         .arg(p.optionIndex[0])
                         .arg(p.optionIndex[1])
                         .arg(p.optionIndex[2]));
    }
    return lines;
}

QString EditingState(QWidget* window, const QList<Profile>& profiles,
                     const QList<ConfigSection>& sections)
{
    QStringList state;
    const auto rows = [](auto* view, auto text) {
        QStringList items;
        for (int i = 0; i < view->count(); ++i)
            items.append(text(i));
        return items.join(u'/');
    };
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        if (auto* list = qobject_cast<QListWidget*>(widget)) {
            state.append(QStringLiteral("list %1 at %2")
                             .arg(rows(list, [list](int i) { return list->item(i)->text(); }))
                             .arg(list->currentRow()));
        } else if (auto* combo = qobject_cast<QComboBox*>(widget)) {
            state.append(QStringLiteral("combo %1 at %2")
                             .arg(rows(combo, [combo](int i) { return combo->itemText(i); }))
                             .arg(combo->currentIndex()));
        } else if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
            state.append(QStringLiteral("edit \"%1\"").arg(edit->text()));
        } else if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
            state.append(QStringLiteral("button %1 %2")
                             .arg(button->text(), button->isEnabled() ? "on" : "off"));
        }
    }
    QList<ConfigSection> saved = sections;
    Config::StoreProfiles(saved, profiles);
    state.append(Config::FormatText(saved));
    state.append(EditingProfiles(profiles));
    return state.join(u'\n');
}

QString EditingReloadDifference(bool saved, const QList<Profile>& profiles,
                                const QList<ConfigSection>& sections)
{
    QList<ConfigSection> read;
    qint32 version = 0;
    if (!saved || !Config::ReadFile(UserConfigPath(), read, &version) ||
        version != Config::CurrentVersion)
        return QStringLiteral("not saved at the current version");
    // The file keeps no spacing between the arguments' words.
    const auto text = [](QList<ConfigSection> s, QList<Profile> p) {
        for (Profile& profile : p)
            profile.arguments = profile.arguments.simplified();
        Config::StoreProfiles(s, p);
        return Config::FormatText(s);
    };
    const auto got = text(read, Config::ProfilesFromSection(read));
    return got == text(sections, profiles) ? QString() : QString(got);
}

void EditingSetControls(const QList<ConfigSection>& sections, QLineEdit* arguments,
                        const QList<int>& indexes, const QString& text)
{
    for (int k = 1; k <= indexes.size(); ++k)
        sections[k].comboBox->setCurrentIndex(indexes[k - 1]);
    arguments->setText(text);
}

QString EditingControls(const QListWidget* list, const QList<ConfigSection>& sections,
                        const QLineEdit* arguments)
{
    return QStringLiteral("%1|%2|%3 %4 %5")
        .arg(list->currentItem()->text(), arguments->text())
        .arg(sections[1].comboBox->currentIndex())
        .arg(sections[2].comboBox->currentIndex())
        .arg(sections[3].comboBox->currentIndex());
}

void EditingGuard(ModalAnswerer& answerer, int dialogs)
{
    for (int i = 0; i < dialogs; ++i) {
        answerer.enqueue([](QWidget* dialog) {
            QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
        });
    }
}
