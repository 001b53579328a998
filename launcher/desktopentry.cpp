#include "desktopentry.h"

#include <QCryptographicHash>
#include <QStandardPaths>

#include <algorithm>

namespace DesktopEntry {

QString ApplicationsFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
}

QString FileName(const QString& profileName)
{
    const QByteArray hash =
        QCryptographicHash::hash(profileName.toUtf8(), QCryptographicHash::Sha256).toHex();
    return QStringLiteral("com.nimbra.MobileLauncher.profile-") +
           QString::fromLatin1(hash.left(16)) + QStringLiteral(".desktop");
}

QString ExecArgument(const QString& argument)
{
    QString quoted = QStringLiteral("\"");
    for (const QChar c : argument) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c == u'%' ? QStringLiteral("%%") : QString(c);
    }
    return quoted + u'"';
}

QString EscapeString(const QString& value)
{
    QString escaped;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value[i];
        const bool edge = i == 0 || i == value.size() - 1;
        if (c == u'\\')
            escaped += QStringLiteral("\\\\");
        else if (c == u'\n')
            escaped += QStringLiteral("\\n");
        else if (c == u'\t')
            escaped += QStringLiteral("\\t");
        else if (c == u'\r')
            escaped += QStringLiteral("\\r");
        else if (c == u' ' && edge)
            escaped += QStringLiteral("\\s");
        else
            escaped += c;
    }
    return escaped;
}

namespace {

bool HasControlCharacter(const QString& text)
{
    // Tabs and line ends have escapes; the other ASCII controls have none.
    return std::any_of(text.begin(), text.end(), [](QChar c) {
        return (c < u' ' && c != u'\t' && c != u'\n' && c != u'\r') || c == u'\x7f';
    });
}

} // namespace

QString Text(const QString& profileName, const QString& companionPath)
{
    if (HasControlCharacter(profileName) || HasControlCharacter(companionPath))
        return QString();
    // The string escape applies to the whole value, quoted arguments included.
    const QString exec =
        EscapeString(ExecArgument(companionPath) + u' ' + ExecArgument(profileName));
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=%1\n"
                          "Comment=Starts the Nimbra Mobile emulator with this launcher profile\n"
                          "Exec=%2\n"
                          "Icon=com.nimbra.MobileLauncher\n"
                          "Terminal=false\n"
                          "Categories=Development;\n")
        .arg(EscapeString(profileName), exec);
}

bool IsUnchanged(const QString& text, const QString& profileName)
{
    // Text with an empty path, cut between the path's quotes: the rest must match exactly, and
    // what fills the cut stays on the Exec line.
    const QString ours = Text(profileName, QString());
    const QString execStart = QStringLiteral("\nExec=\"");
    const qsizetype cut = ours.indexOf(execStart) + execStart.size();
    if (ours.isEmpty() || text.size() < ours.size() ||
        !text.startsWith(QStringView(ours).left(cut)) || !text.endsWith(QStringView(ours).mid(cut)))
        return false;
    return !QStringView(text).mid(cut, text.size() - ours.size()).contains(u'\n');
}

} // namespace DesktopEntry
