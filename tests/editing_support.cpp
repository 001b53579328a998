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
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        if (auto* list = qobject_cast<QListWidget*>(widget)) {
            QStringList items;
            for (int i = 0; i < list->count(); ++i)
                items.append(list->item(i)->text());
            state.append(QStringLiteral("list %1 at %2").arg(items.join(u'/')).arg(list->currentRow()));
        } else if (auto* combo = qobject_cast<QComboBox*>(widget)) {
            QStringList items;
            for (int i = 0; i < combo->count(); ++i)
                items.append(combo->itemText(i));
            state.append(QStringLiteral("combo %1 at %2").arg(items.join(u'/')).arg(combo->currentIndex()));
        } else if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
            state.append(QStringLiteral("edit \"%1\"").arg(edit->text()));
        } else if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
            state.append(QStringLiteral("button %1 %2").arg(button->text(), button->isEnabled() ? "on" : "off"));
        }
    }
    QList<ConfigSection> saved = sections;
    Config::StoreProfiles(saved, profiles);
    state.append(Config::FormatText(saved));
    state.append(EditingProfiles(profiles));
    return state.join(u'\n');
}

QString EditingReloadDifference(const QList<Profile>& profiles,
                                const QList<ConfigSection>& sections)
{
    QList<ConfigSection> read;
    qint32 version = 0;
    if (!Config::ReadFile(UserConfigPath(), read, &version))
        return QStringLiteral("the file can't be read");
    if (version != Config::CurrentVersion)
        return QStringLiteral("version %1").arg(version);
    for (int k = 1; k < Config::SectionCount; ++k) {
        if (read[k].name != sections[k].name || read[k].entries.size() != sections[k].entries.size())
            return QStringLiteral("section %1 has %2 entries").arg(k).arg(read[k].entries.size());
        for (int i = 0; i < read[k].entries.size(); ++i) {
            const OptionEntry& got = read[k].entries[i];
            const OptionEntry& want = sections[k].entries[i];
            if (got.key != want.key || got.value != want.value)
                return QStringLiteral("section %1 entry %2 reads \"%3\" \"%4\"")
                    .arg(k)
                    .arg(i)
                    .arg(got.key, got.value);
        }
    }
    QList<Profile> reread = Config::ProfilesFromSection(read);
    QList<Profile> expected = profiles;
    for (Profile& p : reread)
        p.arguments = p.arguments.simplified();
    for (Profile& p : expected)
        p.arguments = p.arguments.simplified();
    const QStringList got = EditingProfiles(reread);
    const QStringList want = EditingProfiles(expected);
    return got == want ? QString() : QStringLiteral("profiles read back: ") + got.join(u'\n');
}

void EditingGuard(ModalAnswerer& answerer, int dialogs)
{
    for (int i = 0; i < dialogs; ++i) {
        answerer.enqueue([](QWidget* dialog) {
            QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
        });
    }
}
