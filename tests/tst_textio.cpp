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

// What the loader once was: a text stream on the file in text mode.
QStringList QtLines(const QByteArray& bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly | QIODevice::Text);
    QStringList lines = QTextStream(&buffer).readAll().split(u'\n');
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

QStringList ReadLines(const QByteArray& bytes, qsizetype chunkBytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
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
    void encoderEqualsToUtf8_data()
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

    void encoderEqualsToUtf8()
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
    }

    void readerEqualsTextStream_data() { encoderEqualsToUtf8_data(); }

    // In UTF-8 with line feeds and with carriage returns; in UTF-16 with its byte order mark.
    void readerEqualsTextStream()
    {
        QFETCH(QString, text);
        QString crlf = text;
        crlf.replace(u'\n', QStringLiteral("\r\n"));
        const auto utf16 = [](const QString& text) {
            return "\xff\xfe" + QStringEncoder(QStringConverter::Utf16LE).encode(text);
        };
        for (const QByteArray& bytes : {text.toUtf8(), crlf.toUtf8(), utf16(text), utf16(crlf)}) {
            for (const qsizetype chunk : {1, 2, 3, 7, 4096, 1 << 20})
                QCOMPARE(ReadLines(bytes, chunk), QtLines(bytes));
        }
    }

    void chunkBoundaries_data()
    {
        QTest::addColumn<bool>("utf16");
        QTest::newRow("UTF-8 with CRLF") << false;
        QTest::newRow("UTF-16 with byte-order mark") << true;
    }

    // Entries that need their exact line, and characters of several bytes, stream the same
    // wherever a chunk of the file reader ends.
    void chunkBoundaries()
    {
        QFETCH(bool, utf16);
        ConfigModel written{Config::NewSections(), {}};
        written.sections[1].entries = {{"say \"hi\" – größer", " -a \"b c\""}, {"€", "x"}};
        written.sections[3].entries = {{"", "empty key"}};
        const qsizetype unit = utf16 ? 2 : 1;
        const auto encode = [utf16](QString text) {
            return utf16 ? QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2)
                         : text.replace('\n', "\r\n").toUtf8();
        };
        const QString tail = Config::FormatText(written);
        // A full chunk after it, so the next read overwrites the whole buffer.
        const QByteArray end =
            encode(tail) + encode('#' + QString(Config::ReadChunkBytes, ' ') + '\n');
        QTemporaryDir dir;
        const QString path = dir.filePath("Launcher.ini");
        for (qsizetype shift = tail.indexOf("[Resolution]"); shift <= tail.size(); ++shift) {
            const QString padding =
                '#' + QString(Config::ReadChunkBytes / unit - shift - 2, ' ') + '\n';
            const QByteArray bytes =
                (utf16 ? QByteArray("\xff\xfe") : QByteArray()) + encode(padding) + end;
            QList<ConfigSection> read = Config::NewSections();
            const auto keep = [&read](int s, OptionEntry&& entry) {
                read[s].entries.append(entry);
            };
            qint32 version = 0;
            QVERIFY(WriteText(path, bytes) && Config::ReadFileEntries(path, keep, &version));
            QCOMPARE(read, written.sections);
        }
    }
};

QTEST_GUILESS_MAIN(TextIOTest)
#include "tst_textio.moc"
