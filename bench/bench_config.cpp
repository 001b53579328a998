// Times loading and saving Launcher.ini files of growing size against QSettings reading an INI
// file with as many key/value pairs, and prints a Markdown table with the goals it checks.
#include "fileformat.h"
#include "userfile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

struct Row
{
    int profiles = 0;
    double loadMs = 0;
    double saveMs = 0;
    double settingsMs = 0;

    double LoadSaveMs() const { return loadMs + saveMs; }
    double MicrosPerProfile() const { return LoadSaveMs() * 1000.0 / profiles; }
};

// Runs a measurement several times and keeps the median, which shrugs off a stray slow run
// caused by the other programs sharing the machine.
double MedianMs(int runs, const std::function<bool(int)>& run, bool* ok)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        if (!run(i))
            *ok = false;
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// Profiles as people name them: a few device words, a density and a number, with arguments
// that range from none to several options.
QList<Profile> MakeProfiles(int count, const QList<ConfigSection>& sections)
{
    static const char* const devices[] = {"Phone", "Tablet", "Small phone", "Watch", "TV box"};
    static const char* const densities[] = {"ldpi", "mdpi", "hdpi", "xhdpi", "xxhdpi"};
    static const char* const arguments[] = {"",
                                            " -scale 0.5",
                                            " -gpu on -memory 512",
                                            " -netspeed full -netdelay none",
                                            "  -skin tablet   -no-audio -cores 4 ",
                                            " -locale de_DE -timezone Europe/Berlin"};
    QList<Profile> profiles;
    profiles.reserve(count);
    for (int i = 0; i < count; ++i) {
        Profile profile;
        profile.name = QStringLiteral("%1 %2 %3")
                           .arg(QLatin1String(devices[i % 5]), QLatin1String(densities[i / 5 % 5]))
                           .arg(i);
        profile.arguments = QLatin1String(arguments[i % 6]);
        for (const OptionKind kind : AllOptionKinds)
            ChosenIndex(profile, kind) =
                (i / (int(kind) + 1)) % sections[SectionIndex(kind)].entries.size();
        profiles.append(profile);
    }
    return profiles;
}

// The loader's work on an accepted file, without the window.
bool Load(const QString& fileName, int expectedProfiles)
{
    ConfigModel model;
    return UserFile::ReadModel(fileName, model) == UserFile::ReadResult::Loaded &&
           model.profiles.size() == expectedProfiles;
}

// Every new path keeps QSettings from answering out of its cache of recently read files.
bool ReadWithSettings(const QString& fileName, int expectedKeys)
{
    QSettings settings(fileName, QSettings::IniFormat);
    return settings.allKeys().size() == expectedKeys && settings.status() == QSettings::NoError;
}

bool WriteSettingsFile(const QString& fileName, const QList<ConfigSection>& sections)
{
    QSettings settings(fileName, QSettings::IniFormat);
    for (const ConfigSection& section : sections) {
        settings.beginGroup(section.name.mid(1, section.name.size() - 2));
        for (const OptionEntry& entry : section.entries)
            settings.setValue(entry.key, entry.value);
        settings.endGroup();
    }
    settings.sync();
    return settings.status() == QSettings::NoError;
}

bool Measure(const QString& folder, const QList<ConfigSection>& shipped, int count, Row* row)
{
    const int runs = count >= 100000 ? 7 : 9;
    ConfigModel model{shipped, MakeProfiles(count, shipped)};
    const QString fileName = folder + QStringLiteral("/Launcher.%1.ini").arg(count);
    bool ok = true;

    row->profiles = count;
    row->saveMs = MedianMs(
        runs, [&](int) { return Config::WriteFile(fileName, model); }, &ok);
    row->loadMs = MedianMs(
        runs, [&](int) { return Load(fileName, count); }, &ok);

    qsizetype pairs = 0;
    for (const ConfigSection& section : model.sections)
        pairs += section.entries.size();
    const QString settingsBase = folder + QStringLiteral("/Settings.%1").arg(count);
    if (!WriteSettingsFile(settingsBase + QStringLiteral(".ini"), model.sections))
        return false;
    for (int i = 0; i < runs; ++i) {
        QFile::copy(settingsBase + QStringLiteral(".ini"),
                    settingsBase + QStringLiteral(".%1.ini").arg(i));
    }
    row->settingsMs = MedianMs(
        runs,
        [&](int i) {
            return ReadWithSettings(settingsBase + QStringLiteral(".%1.ini").arg(i), pairs);
        },
        &ok);
    return ok;
}

const char* Verdict(bool met)
{
    return met ? "met" : "NOT met";
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);

    QList<ConfigSection> shipped;
    qint32 version = 0;
    if (!Config::ReadFile(QStringLiteral(LAUNCHER_DEFAULT_INI), shipped, &version)) {
        std::fprintf(stderr, "bench_config: cannot read %s\n", LAUNCHER_DEFAULT_INI);
        return 1;
    }
    QTemporaryDir folder;
    if (!folder.isValid()) {
        std::fprintf(stderr, "bench_config: no temporary folder\n");
        return 1;
    }

    std::vector<Row> rows;
    for (const int count : {100, 10000, 100000}) {
        Row row;
        if (!Measure(folder.path(), shipped, count, &row)) {
            std::fprintf(stderr, "bench_config: measuring %d profiles failed\n", count);
            return 1;
        }
        rows.push_back(row);
    }

    std::printf("### Launcher.ini load and save (median of 9 runs, 7 at 100,000)\n\n");
    std::printf("| Profiles | Load ms | Save ms | Load+save ms | QSettings read ms | "
                "Load/QSettings | Load+save µs per profile |\n");
    std::printf("|---:|---:|---:|---:|---:|---:|---:|\n");
    for (const Row& row : rows) {
        std::printf("| %d | %.2f | %.2f | %.2f | %.2f | %.2f | %.3f |\n", row.profiles, row.loadMs,
                    row.saveMs, row.LoadSaveMs(), row.settingsMs, row.loadMs / row.settingsMs,
                    row.MicrosPerProfile());
    }

    const Row& medium = rows[1];
    const Row& large = rows[2];
    const double growth = large.MicrosPerProfile() / medium.MicrosPerProfile();
    bool faster = true;
    for (const Row& row : rows)
        faster = faster && row.loadMs < row.settingsMs;
    std::printf("\n- Goal: load + save of 10,000 profiles under 50 ms: %s (%.2f ms)\n",
                Verdict(medium.LoadSaveMs() < 50.0), medium.LoadSaveMs());
    std::printf("- Goal: linear growth, per-profile cost at 100,000 within 2x of that at 10,000: "
                "%s (%.2fx)\n",
                Verdict(growth <= 2.0), growth);
    std::printf("- Goal: loading faster than QSettings reading as many key/value pairs, at every "
                "size: %s\n",
                Verdict(faster));
    std::printf("- Goal: load + save of 10,000 profiles faster than QSettings' read: %s "
                "(%.2f ms against %.2f ms)\n",
                Verdict(medium.LoadSaveMs() < medium.settingsMs), medium.LoadSaveMs(),
                medium.settingsMs);
    // Ten times the profiles; a save that copies its text again and again as it grows shows
    // here long before the per-profile row above notices.
    const double saveGrowth = large.saveMs / medium.saveMs;
    std::printf("- Goal: linear saving, 100,000 profiles saved within 12x the time of 10,000: "
                "%s (%.2fx)\n",
                Verdict(saveGrowth <= 12.0), saveGrowth);
    return 0;
}
