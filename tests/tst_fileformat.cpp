// The Launcher.ini text format without a window: how lines are read, how profile values are
// walked, what the exact line after an entry keeps, and that no byte sequence breaks the reader.
#include "fileformat.h"
#include "records.h"
#include "testenv.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

namespace {

using Entries = QList<QList<OptionEntry>>;

// Reads bytes the way the loader does: from a file, in text mode.
bool LoadBytes(const QByteArray& bytes, QList<ConfigSection>& sections, qint32* version)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Launcher.ini");
    return WriteText(path, bytes) && Config::ReadFile(path, sections, version);
}

} // namespace

class FileFormatTest : public QObject
{
    Q_OBJECT

private slots:
    void reading_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<Entries>("entries"); // of the four sections, as far as given
        QTest::addColumn<int>("version");

        QTest::newRow("entries before first header ignored, unknown header joins current section")
            << QByteArray("\"a\"\t\"b\"\nloose\n[Input]\n\"a\"\t\"\"\n[Other]\n\"b\"\t\"v\"\n")
            << Entries{{}, {}, {}, {{"a", ""}, {"[Other]", ""}, {"b", "v"}}} << 0;
        QTest::newRow("header keeps its first token, indented one is an entry; repeated header "
                      "appends, duplicates stay")
            << QByteArray(
                   "[Resolution] = rest, ignored\n [Input]\n\"b\"\t\"2\"\n[Input]\n\"a\"\t\"1\"\n"
                   "[Resolution]\n\"b\"\t\"3\"\n[Input]\n\"a\"\t\"1\"")
            << Entries{{}, {{" [Input]", ""}, {"b", "2"}, {"b", "3"}}, {}, {{"a", "1"}, {"a", "1"}}}
            << 0;
        QTest::newRow("byte-order mark, CRLF, UTF-8, comments and blank lines")
            << QString("\uFEFF[Input]\r\n# \"a\"\t\"b\"\r\n  # note\r\n   "
                       "\r\n\r\n\"Größe\"\t\"-€\"\r\n\r\n")
                   .toUtf8()
            << Entries{{}, {}, {}, {{"  # note", ""}, {"   ", ""}, {"Größe", "-€"}}} << 0;
        // How one line splits into key and value.
        QTest::newRow("blank separates like a tab, nothing is no value, unquoted lines whole")
            << QByteArray("[Resolution]\n\"k\" \"v\"\n\"k\"\"v\"\nplain line\n\"k\t")
            << Entries{{}, {{"k", "v"}, {"k", ""}, {"plain line", ""}, {"k\t", ""}}} << 0;
        QTest::newRow("backslash-t in key only, value ends at the next quote")
            << QByteArray("[Resolution]\n\"a\\tb\\t\"\t\"c\\td\"\n\"k\"\t\"say "
                          "\"hi\"\"\n\"k\"\t\"v\"\t\"w\" tail")
            << Entries{{}, {{"a\tb\t", "c\\td"}, {"k", "say "}, {"k", "v"}}} << 0;

        // The version: the first number after the token, on the last line that has one.
        QTest::newRow("version lines are never entries")
            << QByteArray("[Input]\n$VERSION\t106\n$VERSION\n$VERSION2 105\n")
            << Entries{{}, {}, {}, {{"$VERSION2 105", ""}}} << 106;
        QTest::newRow("comma and equals separate, non-numbers passed over, 64 bits wrap to 32")
            << QByteArray("$VERSION,x=4294967402") << Entries() << 106;

        // The exact line replaces the entry only directly after that entry's own line, and
        // only when it is exactly what the saver writes.
        const QByteArray entry = "[Input]\n\"p\"\t\"a \"b\"\"\n";
        const QByteArray exact = "#=entry p a%20%22b%22\n";
        const Entries whole{{}, {}, {}, {{"p", "a \"b\""}}};
        const Entries cut{{}, {}, {}, {{"p", "a "}}};
        QTest::newRow("exact line after its entry") << entry + exact << whole << 0;
        QTest::newRow("no entry before it") << "[Input]\n" + exact + entry.mid(8) << cut << 0;
        QTest::newRow("after a comment") << entry + "# note\n" + exact << cut << 0;
        QTest::newRow("entry edited by hand")
            << "[Input]\n\"p\"\t\"a \"c\"\"\n" + exact << cut << 0;
        QTest::newRow("literal quote") << entry + "#=entry p a%20\"b\"\n" << cut << 0;
        QTest::newRow("escape of a plain character") << entry + "#=entry p a%20%22%62%22\n"
                                                     << cut << 0;
    }

    void reading()
    {
        QFETCH(QByteArray, text);
        QFETCH(Entries, entries);
        QFETCH(int, version);
        QList<ConfigSection> sections;
        qint32 read = -1;
        QVERIFY(LoadBytes(text, sections, &read));
        QCOMPARE(read, version);
        QCOMPARE(sections.size(), 4);
        for (int s = 0; s < sections.size(); ++s)
            QCOMPARE(sections[s].entries, entries.value(s));
    }

    void versions()
    {
        // A last line without its line feed counts.
        QList<ConfigSection> sections = Config::NewSections();
        QCOMPARE(Config::ReadText(u"$VERSION 103\n$VERSION 105", sections), 105);
        for (const qint32 version : {102, 103, 106, 107})
            QCOMPARE(Config::IsAcceptedVersion(version), version == 103 || version == 106);
    }

    // Saved and read back (quit and restart), every entry and profile is as it was. Only what
    // the plain lines lose gets an exact line: quotes, and backslash-t in a key; tabs,
    // backslashes, percent signs and the marker are plain.
    void quotedEntriesSurviveRestart()
    {
        ConfigModel saved{Config::NewSections(),
                          {{"Before", " -a -b %20 #=entry", {1, 0, 0}},
                           {"Quoted",
                            " -d \"/Users/me/Application Support\" -a \"\" -b \"50% \t%22\x1a\"",
                            {1, 0, 0}},
                           {"Say \"hi\"", " -y", {2, 0, 0}},
                           {"Plain", " -y", {3, 0, 0}},
                           {"After", "", {0, 0, 0}}}};
        saved.sections[1].entries = {{"Default", ""},
                                     {"Tab\there", "back\\tslash"},
                                     {"Skin", " -skin \"My Skin\""},
                                     {"C:\\temp", " -windowsize 1x1"}};
        const QString text = Config::FormatText(saved);
        QCOMPARE(text.count(u"\n#=entry "), 4);
        QList<ConfigSection> read = Config::NewSections();
        Config::ReadText(text, read);
        QCOMPARE(read, saved.sections);
        QCOMPARE(Config::ProfilesFromSection(read), saved.profiles);
    }

    void profileValueWalk_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<Profile>("profile"); // what the value parses into

        QTest::newRow("all sections then arguments, spacing not kept, profile header an argument")
            << "\t[Resolution] 2 [PixelDensity] 1 [Input] 0   -a\t-b [Profile] 1"
            << Profile{"", " -a -b [Profile] 1", {2, 1, 0}};
        QTest::newRow("sections anywhere, one without number dropped, a later one overrides")
            << "[Input] 3 x [Resolution] [PixelDensity] 2 -y [Input] 4 [Resolution]"
            << Profile{"", " x -y", {0, 2, 4}};
        QTest::newRow("the saver's layout, then a section that overrides it")
            << "[Resolution] 1 [PixelDensity] 2 [Input] 0 -a [Input] 1"
            << Profile{"", " -a", {1, 2, 1}};
        QTest::newRow("the saver's layout, arguments apart by a no-break space")
            << QStringLiteral("[Resolution] 1 [PixelDensity] 2 [Input] 0 -a\u00a0-b")
            << Profile{"", " -a -b", {1, 2, 0}};
        // The separators are what trimmed() strips when saving, Unicode spaces included, so a
        // saved value cannot turn into a section token on the way back.
        QTest::newRow("no-break space separates, index wraps to 32 bits")
            << QStringLiteral("[Input]\u00a05\u00a0-x [PixelDensity] 4294967297")
            << Profile{"", " -x", {0, 1, 5}};
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
        qint32 version = 0;
        QVERIFY(LoadBytes(bytes, sections, &version));
        QCOMPARE(Config::ProfilesFromSection(sections).size(), sections[0].entries.size());
    }
};

QTEST_GUILESS_MAIN(FileFormatTest)
#include "tst_fileformat.moc"
