// The Launcher.ini text format without a window: how lines are read, how profile values are
// walked and written, and that no byte sequence breaks the reader.
#include "records.h"
#include "testenv.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

namespace {

using Entries = QList<QList<OptionEntry>>;

// Reads bytes the way the loader does: from a file, in text mode.
bool LoadBytes(const QByteArray& bytes, QList<ConfigSection>& sections)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Launcher.ini");
    qint32 version = 0;
    return WriteText(path, bytes) && Config::ReadFile(path, sections, &version);
}

} // namespace

class ConfigFormatTest : public QObject
{
    Q_OBJECT

private slots:
    void reading_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Entries>("entries"); // of the four sections

        QTest::newRow("comments and blank lines")
            << "[Input]\n# \"a\"\t\"b\"\n  # note\n   \n\n\"a\"\t\"b\"\n\n"
            << Entries{{}, {}, {}, {{"  # note", ""}, {"   ", ""}, {"a", "b"}}};
        QTest::newRow("entries before first header ignored")
            << "\"a\"\t\"b\"\nloose\n[Resolution]\n\"c\"\t\"d\""
            << Entries{{}, {{"c", "d"}}, {}, {}};
        QTest::newRow("unknown header joins current section")
            << "[Input]\n\"a\"\t\"\"\n[Other]\n\"b\"\t\"v\"\n"
            << Entries{{}, {}, {}, {{"a", ""}, {"[Other]", ""}, {"b", "v"}}};
        QTest::newRow("header keeps its first token, indented one is an entry")
            << "[Resolution] = rest, ignored\n [Input]\n\"a\"\t\"b\""
            << Entries{{}, {{" [Input]", ""}, {"a", "b"}}, {}, {}};
        QTest::newRow("repeated header appends, duplicates stay")
            << "[Input]\n\"a\"\t\"1\"\n[Resolution]\n\"b\"\t\"2\"\n[Input]\n\"a\"\t\"3\""
            << Entries{{}, {{"b", "2"}}, {}, {{"a", "1"}, {"a", "3"}}};
        QTest::newRow("byte-order mark, CRLF and UTF-8")
            << "\uFEFF[Input]\r\n\"Größe\"\t\"-€\"\r\n\r\n"
            << Entries{{}, {}, {}, {{"Größe", "-€"}}};
        QTest::newRow("version lines are never entries")
            << "[Input]\n$VERSION\t106\n$VERSION\n$VERSION2 106\n"
            << Entries{{}, {}, {}, {{"$VERSION2 106", ""}}};
        // How one line splits into key and value.
        QTest::newRow("blank separates like a tab, nothing is no value, unquoted lines whole")
            << "[Resolution]\n\"k\" \"v\"\n\"k\"\"v\"\nplain line\n\"k\t"
            << Entries{{}, {{"k", "v"}, {"k", ""}, {"plain line", ""}, {"k\t", ""}}, {}, {}};
        QTest::newRow("backslash-t in key only") << "[Resolution]\n\"a\\tb\\t\"\t\"c\\td\""
                                                 << Entries{{}, {{"a\tb\t", "c\\td"}}, {}, {}};
        QTest::newRow("value ends at the next quote")
            << "[Resolution]\n\"k\"\t\"say \"hi\"\"\n\"k\"\t\"v\"\t\"w\" tail"
            << Entries{{}, {{"k", "say "}, {"k", "v"}}, {}, {}};
    }

    void reading()
    {
        QFETCH(QString, text);
        QFETCH(Entries, entries);
        QList<ConfigSection> sections;
        QVERIFY(LoadBytes(text.toUtf8(), sections));
        QCOMPARE(sections.size(), entries.size());
        for (int s = 0; s < sections.size(); ++s)
            QCOMPARE(sections[s].entries, entries[s]);
    }

    void chunkBoundaries_data()
    {
        QTest::addColumn<bool>("utf16");
        QTest::newRow("UTF-8 with CRLF") << false;
        QTest::newRow("UTF-16 with byte-order mark") << true;
    }

    // Entries that need their exact line, and characters of several bytes, stream the same
    // wherever a chunk ends.
    void chunkBoundaries()
    {
        QFETCH(bool, utf16);
        QList<ConfigSection> written = Config::NewSections();
        written[1].entries = {{"say \"hi\" – größer", " -a \"b c\""}, {"€", "x"}};
        written[3].entries = {{"", "empty key"}};
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
            QCOMPARE(read, written);
        }
    }

    void versionLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("version");
        QTest::addColumn<bool>("accepted");

        QTest::newRow("tab 106") << "$VERSION\t106" << 106 << true;
        QTest::newRow("blank equals blank 105") << "$VERSION = 105" << 105 << true;
        QTest::newRow("comma 104") << "$VERSION,104" << 104 << true;
        QTest::newRow("103 is the oldest accepted") << "$VERSION 103" << 103 << true;
        QTest::newRow("102 is out of date") << "$VERSION 102" << 102 << false;
        QTest::newRow("alone keeps earlier") << "$VERSION 104\n$VERSION" << 104 << true;
        QTest::newRow("last line wins") << "$VERSION 103\n$VERSION 107" << 107 << false;
        QTest::newRow("non-numbers passed over") << "$VERSION x 105" << 105 << true;
        QTest::newRow("64-bit value wraps to 32") << "$VERSION 4294967402" << 106 << true;
    }

    void versionLines()
    {
        QFETCH(QString, text);
        QFETCH(int, version);
        QFETCH(bool, accepted);
        QList<ConfigSection> sections = Config::NewSections();
        const qint32 read = Config::ReadText(text, sections);
        QCOMPARE(read, version);
        QCOMPARE(Config::IsAcceptedVersion(read), accepted);
    }

    void profileValueWalk_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<Profile>("profile"); // what the value parses into

        QTest::newRow("all sections then arguments, spacing not kept")
            << "\t[Resolution] 2 [PixelDensity] 1 [Input] 0   -a\t-b"
            << Profile{"", " -a -b", {2, 1, 0}};
        QTest::newRow("sections anywhere")
            << "[Input] 3 -x [Resolution] 1" << Profile{"", " -x", {1, 0, 3}};
        QTest::newRow("section without number dropped")
            << "[Resolution] x -y [Input]" << Profile{"", " x -y", {0, 0, 0}};
        QTest::newRow("name without number dropped, later token overrides")
            << "[Resolution] [Input] 3 [Input] 4" << Profile{"", "", {0, 0, 4}};
        QTest::newRow("profile header is an argument")
            << "[Profile] 1" << Profile{"", " [Profile] 1", {0, 0, 0}};
        // The separators are what trimmed() strips when saving, Unicode spaces included, so a
        // saved value cannot turn into a section token on the way back.
        QTest::newRow("no-break space separates")
            << QStringLiteral("[Input]\u00a05\u00a0-x") << Profile{"", " -x", {0, 0, 5}};
        QTest::newRow("index wraps to 32 bits")
            << "[PixelDensity] 4294967297" << Profile{"", "", {0, 1, 0}};
    }

    void profileValueWalk()
    {
        QFETCH(QString, value);
        QFETCH(Profile, profile);
        Profile parsed;
        Config::ParseProfileValue(value, Config::NewSections(), parsed);
        QCOMPARE(parsed, profile);
    }

    void anyBytesLoad_data()
    {
        QTest::addColumn<QByteArray>("bytes");

        QByteArray noise(256 * 1024, Qt::Uninitialized);
        QRandomGenerator(20240611).fillRange(reinterpret_cast<quint32*>(noise.data()),
                                             noise.size() / 4);
        QTest::newRow("random bytes") << noise;
        QTest::newRow("NUL bytes")
            << QByteArray("[Profile]\n\"a\0b\"\t\"[Input]\0 2\"\n\0\0\0\n", 30);
        QTest::newRow("one long line") << QByteArray(1 << 20, '"');
        QTest::newRow("many section tokens")
            << "[Profile]\n\"p\"\t\"" + QByteArray("[Input] ").repeated(20000) + "\"\n";
    }

    // Whatever the bytes, loading ends in time with one profile per "[Profile]" entry.
    void anyBytesLoad()
    {
        QFETCH(QByteArray, bytes);
        QList<ConfigSection> sections;
        QVERIFY(LoadBytes(bytes, sections));
        QCOMPARE(Config::ProfilesFromSection(sections).size(), sections[0].entries.size());
    }
};

QTEST_GUILESS_MAIN(ConfigFormatTest)
#include "tst_configformat.moc"
