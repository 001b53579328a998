// Shared by the start-up and launch benchmarks: starting a program with a measured clock,
// private folders for its environment, medians and Markdown tables.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

struct ChildRun
{
    bool ok = false;     // the expected line arrived (when asked for) and the exit status was 0
    double readyMs = 0;  // spawn to the first line on stdout; 0 when no line was awaited
    double exitMs = 0;   // spawn to exit
    double maxRssMb = 0; // peak resident memory of the child
    int status = -1;     // exit status, -1 when it did not exit normally
};

// Starts program with arguments and the current environment plus overrides ("NAME=value"),
// stderr discarded. With awaitLine, readyMs is the time to the first line the child writes to
// stdout. Waits for the exit; a child that takes longer than timeoutMs is killed.
ChildRun RunChild(const QString& program, const QStringList& arguments,
                  const QList<QByteArray>& environment, bool awaitLine, int timeoutMs = 20000);

// A folder for XDG_DATA_HOME holding the shipped default as the user's Launcher.ini (a
// returning user), and a private XDG_RUNTIME_DIR; both removed by the destructor. The runtime
// folder is on tmpfs (/dev/shm) where there is one, as a desktop session's /run/user is: the
// single-instance lock file is synced to disk, which costs milliseconds on a real disk.
class LauncherHome
{
public:
    explicit LauncherHome(const QString& defaultIni);
    ~LauncherHome();
    bool isValid() const { return m_valid; }
    QList<QByteArray> environment() const;
    QString runtimeDir() const { return m_runtime; }

private:
    QString m_root;
    QString m_runtime;
    bool m_valid = false;
};

double Median(std::vector<double> values);
// Median of measured[i] / reference[i]: each pair ran back to back under the same load, so
// this ratio is steadier than the ratio of the two medians on a busy machine.
double MedianRatio(const std::vector<double>& measured, const std::vector<double>& reference);

// "| a | b |" with the cells escaped for Markdown.
void PrintRow(const QStringList& cells);
void PrintHeader(const QStringList& cells, const QString& alignment);
QString Ms(double ms);
// A table row per goal: the medians of measured and reference, their per-round ratio, and
// whether it stays within goal.
void PrintGoalHeader(const QString& firstColumn);
void PrintGoalRow(const QString& label, const std::vector<double>& measured,
                  const std::vector<double>& reference, double goal);
