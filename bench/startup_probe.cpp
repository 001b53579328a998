// Linked into the programs whose start-up is timed: when the first window has been exposed
// (and so painted), prints one line to stdout and quits. The driver stops its clock at that line.
#include <QCoreApplication>
#include <QEvent>
#include <QWindow>

#include <unistd.h>

namespace {

class FirstExposeProbe : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (!m_seen && event->type() == QEvent::Expose && watched->isWindowType() &&
            static_cast<QWindow*>(watched)->isExposed()) {
            m_seen = true;
            // Queued, so the window handles (paints) this expose before the report goes out.
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [] {
                    // write() and not stdio: the line must leave now, not at a buffer flush.
                    static const char line[] = "shown\n";
                    [[maybe_unused]] const ssize_t n =
                        ::write(STDOUT_FILENO, line, sizeof line - 1);
                    QCoreApplication::quit();
                },
                Qt::QueuedConnection);
        }
        return false;
    }

private:
    bool m_seen = false;
};

void InstallProbe()
{
    QCoreApplication::instance()->installEventFilter(
        new FirstExposeProbe(QCoreApplication::instance()));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(InstallProbe)
