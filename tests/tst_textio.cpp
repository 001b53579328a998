// The hand-written encoder, alone and as the saver uses it, and the chunked reader held to the
// Qt calls they stand for, on text that is not ASCII, wherever a chunk ends.
#include "fileformat.h"
#include "records.h"
#include "testenv.h"
#include "textio.h"

#include <QBuffer>
#include <QStringDecoder>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

namespace {

// The lines of bytes as the chunked reader gives them, or with no chunk size as the loader once
// read them: a text stream on the file in text mode.
QStringList Lines(const QByteArray& bytes, qsizetype chunkBytes = 0)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(chunkBytes ? QIODevice::ReadOnly : QIODevice::ReadOnly | QIODevice::Text);
    if (!chunkBytes) {
        QStringList lines = QTextStream(&buffer).readAll().split(u'\n');
        if (lines.last().isEmpty())
            lines.removeLast();
        return lines;
    }
    QStringList lines;
    // Lines are views: each must be taken before the buffer it points into is reused.
    TextIO::ReadLines(
        buffer, chunkBytes, [&lines](QStringView line) { lines.append(line.toString()); }, [] {});
    return lines;
}

} // namespace

class TextIOTest : public QObject
{
    Q_OBJECT

private slots:
    void encoderAndReaderEqualQt_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("ASCII, four units at a time and the rest") << "ab\ncdefg\nhi";
        QTest::newRow("two-byte letters") << "Größe Ærø ñ\nÀ";
        QTest::newRow("CJK") << "分辨率\n密度 入力";
        QTest::newRow("emoji pair") << "phone 📱\n🙂x";
        QTest::newRow("lone surrogates")
            << "a" + QString(QChar(0xd800)) + "b\ndc" + QChar(0xdc00) + QChar(0xd83d);
        QTest::newRow("non-ASCII across every chunk boundary")
            << QString(3000, QChar(0x20ac)) + "\n" + QString(1000, QChar(0x00e9)) + "🙂\n";
    }

    // The encoder against toUtf8(); the reader against a text stream in text mode, in UTF-8
    // with line feeds and with carriage returns, in UTF-16 with its byte order mark.
    void encoderAndReaderEqualQt()
    {
        QFETCH(QString, text);
        const QByteArray expected = text.toUtf8();
        QCOMPARE(TextIO::Utf8Size(text), expected.size());
        QByteArray bytes(expected.size() + 8, '\0');
        QCOMPARE(TextIO::AppendUtf8(bytes.data(), text) - bytes.data(), expected.size());
        QCOMPARE(bytes.left(expected.size()), expected);

        // And the whole file the saver writes: the text in a profile and in an option entry.
        ConfigModel model{Config::NewSections(), {{text, text, {0, 0, 0}}}};
        model.sections[1].entries = {{text, text}};
        QCOMPARE(Config::FormatUtf8(model), Config::FormatText(model).toUtf8());

        const QString crlf = QString(text).replace(u'\n', QStringLiteral("\r\n"));
        const auto utf16 = [](const QString& text) {
            return "\xff\xfe" + QStringEncoder(QStringConverter::Utf16LE).encode(text);
        };
        for (const QByteArray& bytes : {text.toUtf8(), crlf.toUtf8(), utf16(text), utf16(crlf)}) {
            for (const qsizetype chunk : {1, 2, 3, 7, 4096, 1 << 20})
                QCOMPARE(Lines(bytes, chunk), Lines(bytes));
        }
    }

    // Entries that need their exact line, and characters of several bytes, read the same
    // wherever a chunk of the file reader ends.
    void chunkBoundaries()
    {
        ConfigModel written{Config::NewSections(), {}};
        written.sections[1].entries = {{"say \"hi\" – größer", " -a \"b c\""}, {"€", "x"}};
        written.sections[3].entries = {{"", "empty key"}};
        const QByteArray tail = Config::FormatText(written).replace('\n', "\r\n").toUtf8();
        // A full chunk after it, so the next read overwrites the whole buffer.
        const QByteArray end = tail + '#' + QByteArray(Config::ReadChunkBytes, ' ') + '\n';
        QTemporaryDir dir;
        const QString path = dir.filePath("Launcher.ini");
        for (qsizetype shift = tail.indexOf("[Resolution]"); shift <= tail.size(); ++shift) {
            const QByteArray padding = '#' + QByteArray(Config::ReadChunkBytes - shift - 3, ' ');
            QList<ConfigSection> read;
            qint32 version = 0;
            QVERIFY(WriteText(path, padding + "\r\n" + end) &&
                    Config::ReadFile(path, read, &version));
            QCOMPARE(read, written.sections);
        }
    }
};

QTEST_GUILESS_MAIN(TextIOTest)
#include "tst_textio.moc"
