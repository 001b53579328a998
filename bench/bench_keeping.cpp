// What keeping the user's edits costs with 10,000 profiles: the three-way merge of two models
// with 100 changes on each side, and the recovery state written after an edit, against
// loading the same file (the reference, measured in the same run).
#include "fileformat.h"
#include "recovery.h"
#include "threewaymerge.h"
#include "userfile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int kProfiles = 10000;
constexpr int kChanges = 100;
constexpr int kRuns = 15;

double MedianMs(const std::function<bool()>& run, bool* ok)
{
    std::vector<double> times;
    for (int i = 0; i < kRuns; ++i) {
        QElapsedTimer timer;
        timer.start();
        *ok = run() && *ok;
        times.push_back(timer.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

ConfigModel Base(const ConfigModel& shipped)
{
    ConfigModel model = shipped;
    model.profiles.clear();
    for (int i = 0; i < kProfiles; ++i) {
        Profile profile = shipped.profiles[i % shipped.profiles.size()];
        profile.name = QStringLiteral("Profile %1 ").arg(i) + profile.name;
        profile.arguments = QStringLiteral(" -gpu on -seed %1").arg(i);
        model.profiles.append(profile);
    }
    return model;
}

// kChanges edits spread over the list, from offset on: arguments changed, a profile removed,
// one added, an option added.
ConfigModel Changed(ConfigModel model, int offset, const QString& mark)
{
    for (int i = 0; i < kChanges; ++i) {
        const int row = (offset + i * (kProfiles / kChanges)) % model.profiles.size();
        switch (i % 4) {
        case 0:
            model.profiles[row].arguments += mark;
            break;
        case 1:
            model.profiles.removeAt(row);
            break;
        case 2:
            model.profiles.append({mark + QString::number(i), mark, {0, 0, 0}});
            break;
        default:
            model.Options(OptionKind::Resolution).append({mark + QString::number(i), mark});
            break;
        }
    }
    return model;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ConfigModel shipped;
    QTemporaryDir dir;
    if (UserFile::ReadModel(QStringLiteral(LAUNCHER_DEFAULT_INI), shipped) !=
            UserFile::ReadResult::Loaded ||
        !dir.isValid()) {
        std::fprintf(stderr, "bench_keeping: cannot read %s\n", LAUNCHER_DEFAULT_INI);
        return 1;
    }
    ConfigModel base = Base(shipped);
    const ConfigModel ours = Changed(base, 7, QStringLiteral(" -ours"));
    const ConfigModel theirs = Changed(base, 51, QStringLiteral(" -theirs"));
    const QString file = dir.filePath("Launcher.ini");
    bool ok = Config::WriteFile(file, base);

    const double loadMs = MedianMs(
        [&] {
            ConfigModel model;
            return UserFile::ReadModel(file, model) == UserFile::ReadResult::Loaded;
        },
        &ok);
    const double mergeMs =
        MedianMs([&] { return !MergeThreeWay(base, ours, theirs).profiles.isEmpty(); }, &ok);
    // After an edit, as the window writes it: the base's text kept from the write before.
    const Recovery::State state{QStringLiteral("/opt/launcher"), 1, base, ours};
    Recovery::Writer writer(dir.filePath("state/recovery.ini"));
    ok = writer.Write(state) && ok;
    const double recoveryMs = MedianMs([&] { return writer.Write(state); }, &ok);
    if (!ok) {
        std::fprintf(stderr, "bench_keeping: a run failed\n");
        return 1;
    }

    std::printf("### Keeping edits with %d profiles (median of %d runs)\n\n", kProfiles, kRuns);
    std::printf("| Step | ms | Against loading the file |\n|---|---:|---:|\n");
    std::printf("| Load the file (reference) | %.2f | 1.00x |\n", loadMs);
    std::printf("| Three-way merge, %d changes each side | %.2f | %.2fx |\n", kChanges, mergeMs,
                mergeMs / loadMs);
    std::printf("| Recovery state written | %.2f | %.2fx |\n", recoveryMs, recoveryMs / loadMs);
    std::printf("\n- Goal: the merge under 30 ms: %s (%.2f ms)\n", mergeMs < 30 ? "met" : "NOT met",
                mergeMs);
    std::printf("- Goal: the recovery write under 15 ms: %s (%.2f ms)\n",
                recoveryMs < 15 ? "met" : "NOT met", recoveryMs);
    return 0;
}
