// A profile's desktop entry read back by the Desktop Entry Specification's own rules, for
// names built to break them, and checked by desktop-file-validate.
#include "desktopentry.h"
#include "profilerules.h"
#include "testenv.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

// A string value read by the Desktop Entry rules: its escapes undone.
QString Unescape(const QString& value)
{
    static const QHash<QChar, QChar> escapes{
        {u's', u' '}, {u'n', u'\n'}, {u't', u'\t'}, {u'r', u'\r'}};
    QString out;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const bool escaped = value[i] == u'\\' && i + 1 < value.size();
        const QChar c = value[escaped ? ++i : i];
        out += escaped ? escapes.value(c, c) : c;
    }
    return out;
}

// The Exec value's arguments: split at blanks outside double quotes, a backslash inside them
// taking the next character as it is, "%%" a percent sign.
QStringList ExecArguments(const QString& exec)
{
    QStringList arguments;
    QString current;
    bool quoted = false;
    bool open = false; // an argument has begun, maybe an empty quoted one
    for (qsizetype i = 0; i <= exec.size(); ++i) {
        const QChar c = i < exec.size() ? exec[i] : QChar(u' '); // a blank ends the last one
        if (c == u' ' && !quoted) {
            if (std::exchange(open, false))
                arguments.append(std::exchange(current, QString()));
            continue;
        }
        open = true;
        if (c == u'"')
            quoted = !quoted;
        else if ((quoted && c == u'\\') || (c == u'%' && exec.mid(i + 1, 1) == u"%"))
            current += exec.mid(++i, 1);
        else
            current += c;
    }
    return arguments;
}

QString Value(const QString& text, const QString& key)
{
    const QRegularExpression line(QStringLiteral("^%1 *= *(.*)$").arg(key),
                                  QRegularExpression::MultilineOption);
    return Unescape(line.match(text).captured(1));
}

} // namespace

class DesktopEntryTest : public QObject
{
    Q_OBJECT

private slots:
    void readBack_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("carried");
        const QStringList names = {"Phone HD",       "50% off %f %u",           "$HOME and ${PATH}",
                                   "`id` $(id)",     "back\\slash \\\\ end",    "it's 'single'",
                                   "Größe 分辨率 📱", "  blanks at both ends  ", "tab\there",
                                   "#;~<>|&*?()[]=", "\\s\\n literal"};
        for (const QString& name : names)
            QTest::newRow(qPrintable(name)) << name << true;
        // Names the launcher takes that no string value can carry, escaped or not: no entry.
        QTest::newRow("SOH") << "start \x01 of heading" << false;
        QTest::newRow("DEL") << "delete \x7f" << false;
    }

    void readBack()
    {
        QFETCH(QString, name);
        QFETCH(bool, carried);
        QCOMPARE(NameFormatFault(name), NameFault::None);
        const QString companion = QStringLiteral("/opt/Nimbra $x/App 100%/nimbra-mobile-launch");
        const QString text = DesktopEntry::Text(name, companion);
        QCOMPARE(text.isEmpty(), !carried);
        if (!carried)
            return;
        QCOMPARE(Value(text, "Name"), name);
        QCOMPARE(ExecArguments(Value(text, "Exec")), (QStringList{companion, name}));
        // Ours from wherever the companion was; anything else changed is a hand edit.
        QVERIFY(DesktopEntry::IsUnchanged(text, name));
        QVERIFY(DesktopEntry::IsUnchanged(DesktopEntry::Text(name, "/usr/bin/x"), name));
        QVERIFY(QRegularExpression(QStringLiteral("^[A-Za-z0-9_.-]+\\.desktop$"))
                    .match(DesktopEntry::FileName(name))
                    .hasMatch());

        if (QStandardPaths::findExecutable("desktop-file-validate").isEmpty())
            QSKIP("desktop-file-validate is not installed");
        QTemporaryDir dir;
        const QString path = dir.filePath(DesktopEntry::FileName(name));
        QVERIFY(WriteText(path, text.toUtf8()));
        QProcess validate;
        validate.setProcessChannelMode(QProcess::MergedChannels);
        validate.start("desktop-file-validate", {path});
        QVERIFY(validate.waitForFinished(20000));
        QVERIFY2(validate.exitCode() == 0 && validate.readAll().trimmed().isEmpty(),
                 qPrintable(text));
    }
};

QTEST_GUILESS_MAIN(DesktopEntryTest)
#include "tst_desktopentry.moc"
