// A stand-in for the emulator: it shows the options a launch passed to it.
//
// NIMBRA_STANDIN_RECORD=<file>  append the arguments (argv[0] left out) as one compact JSON
//                               array per start
// NIMBRA_STANDIN_QUIT=1         exit with status 0 right after recording, showing nothing
// NIMBRA_STANDIN_FAIL=<text>    write the text to stderr and exit with status 3 right after
//                               recording, as an emulator that can't start would
// NIMBRA_STANDIN_IGNORE_TERM=1  ignore SIGTERM, from before recording, as a hung emulator would
#include <QApplication>
#include <QFormLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLabel>
#include <QRegularExpression>
#include <QSize>
#include <QStringList>
#include <QWidget>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

const QSize kDefaultWindowSize(480, 800);

void RecordArguments(const QStringList& arguments)
{
    const QByteArray path = qgetenv("NIMBRA_STANDIN_RECORD");
    if (path.isEmpty())
        return;
    QByteArray line =
        QJsonDocument(QJsonArray::fromStringList(arguments)).toJson(QJsonDocument::Compact);
    line += '\n';
    // One write() on an O_APPEND descriptor, so lines of parallel starts never interleave;
    // QFile buffers and could split the line.
    const int fd = ::open(path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        std::perror(path.constData());
        return;
    }
    if (::write(fd, line.constData(), size_t(line.size())) != line.size())
        std::perror(path.constData());
    ::close(fd);
}

struct Options
{
    QSize windowSize = kDefaultWindowSize;
    QString ppi;
    QString profileName;
    QStringList rest;
};

Options ParseOptions(const QStringList& arguments)
{
    static const QRegularExpression sizePattern(QStringLiteral("^(\\d+)x(\\d+)$"));
    Options options;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == QLatin1String("-windowsize") && hasValue) {
            const QRegularExpressionMatch match = sizePattern.match(arguments[++i]);
            const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
            if (match.hasMatch() && !size.isEmpty())
                options.windowSize = size;
            else
                options.rest << argument << arguments[i];
        } else if (argument == QLatin1String("-ppi") && hasValue) {
            options.ppi = arguments[++i];
        } else if (argument == QLatin1String("-profile-name") && hasValue) {
            options.profileName = arguments[++i];
        } else {
            options.rest << argument;
        }
    }
    return options;
}

} // namespace

int main(int argc, char** argv)
{
    // Before recording: whoever waits for the record may rely on it.
    if (qgetenv("NIMBRA_STANDIN_IGNORE_TERM") == "1")
        std::signal(SIGTERM, SIG_IGN);
    // Read before QApplication exists: a recording start that quits needs no display.
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    RecordArguments(arguments);
    if (qEnvironmentVariableIsSet("NIMBRA_STANDIN_FAIL")) {
        const QByteArray message = qgetenv("NIMBRA_STANDIN_FAIL") + '\n';
        std::fwrite(message.constData(), 1, size_t(message.size()), stderr);
        return 3;
    }
    if (qgetenv("NIMBRA_STANDIN_QUIT") == "1")
        return 0;

    QApplication app(argc, argv);
    const Options options = ParseOptions(arguments);

    QWidget window;
    window.setWindowTitle(QStringLiteral("Nimbra Mobile (stand-in emulator)"));
    auto* form = new QFormLayout(&window);
    auto* heading = new QLabel(QStringLiteral("Stand-in for the Nimbra Mobile emulator"));
    QFont bold = heading->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.3);
    heading->setFont(bold);
    form->addRow(heading);
    const QString none = QStringLiteral("(not given)");
    form->addRow(QStringLiteral("Profile:"),
                 new QLabel(options.profileName.isNull() ? none : options.profileName));
    form->addRow(QStringLiteral("Window size:"), new QLabel(QStringLiteral("%1 x %2")
                                                                .arg(options.windowSize.width())
                                                                .arg(options.windowSize.height())));
    form->addRow(QStringLiteral("Pixel density:"),
                 new QLabel(options.ppi.isNull() ? none : options.ppi + QStringLiteral(" ppi")));
    auto* rest = new QLabel(options.rest.isEmpty() ? QStringLiteral("(none)")
                                                   : options.rest.join(QLatin1Char(' ')));
    rest->setWordWrap(true);
    form->addRow(QStringLiteral("Other arguments:"), rest);
    // The emulator's window is as big as the emulated screen.
    window.resize(options.windowSize);
    window.show();
    return app.exec();
}
