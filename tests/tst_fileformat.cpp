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
using EntryList = QList<OptionEntry>;

// Reads bytes the way the loader does: from a file, in text mode.
bool LoadBytes(const QByteArray& bytes, QList<ConfigSection>& sections)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Launcher.ini");
    qint32 version = 0;
    return WriteText(path, bytes) && Config::ReadFile(path, sections, &version);
}

} // namespace

class FileFormatTest : public QObject
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

    void quotedEntriesSurviveRestart_data()
    {
        QTest::addColumn<Profile>("profile");
        QTest::addColumn<OptionEntry>("option");

        const OptionEntry plainOption{"Phone", " -windowsize 320x480"};
        QTest::newRow("quoted arguments: blanks, empty, percent signs and a tab")
            << Profile{"Quoted",
                       " -d \"/Users/me/Application Support\" -a \"\" -b \"50% \t%22\"",
                       {1, 0, 0}}
            << plainOption;
        QTest::newRow("quote in a name and in an option value")
            << Profile{"Say \"hi\"", " -y", {1, 0, 0}} << OptionEntry{"Skin", " -skin \"My Skin\""};
        QTest::newRow("backslash-t in a key")
            << Profile{"Plain", " -y", {1, 0, 0}} << OptionEntry{"C:\\temp", " -windowsize 1x1"};
    }

    // Saved and read back (quit and restart), every entry and profile is as it was.
    void quotedEntriesSurviveRestart()
    {
        QFETCH(Profile, profile);
        QFETCH(OptionEntry, option);
        ConfigModel saved{Config::NewSections(),
                          {{"Before", " -a -b", {1, 0, 0}}, profile, {"After", "", {0, 0, 0}}}};
        saved.sections[1].entries = {{"Default", ""}, option};
        const QString text = Config::FormatText(saved);
        QList<ConfigSection> read = Config::NewSections();
        Config::ReadText(text, read);
        QCOMPARE(read, saved.sections);
        QCOMPARE(Config::ProfilesFromSection(read), saved.profiles);
    }

    // Only entries the plain line loses get an exact line.
    void plainModelWritesNoExactLine()
    {
        ConfigModel model{Config::NewSections(), {{"Args", " -a  -b %20 #=entry", {1, 0, 1}}}};
        model.sections[1].entries = {{"Tab\there", "back\\tslash"}, {"Größe", " -ppi 160"}};
        QVERIFY(!Config::FormatText(model).contains(u"\n#="));
    }

    void oddExactLinesFollowTheLineRules_data()
    {
        QTest::addColumn<QString>("body"); // after "[Input]\n"
        QTest::addColumn<EntryList>("entries");

        const QString entry = "\"p\"\t\"a \"b\"\"\n";
        const QString exact = "#=entry p a%20%22b%22\n";
        const EntryList whole{{"p", "a \"b\""}};
        const EntryList cut{{"p", "a "}};
        QTest::newRow("exact line after its entry") << entry + exact << whole;
        QTest::newRow("no entry before it") << exact + entry << cut;
        QTest::newRow("first line of the section") << exact << EntryList();
        QTest::newRow("after a header") << entry + "[Input]\n" + exact << cut;
        QTest::newRow("after a comment") << entry + "# note\n" + exact << cut;
        QTest::newRow("entry edited by hand") << "\"p\"\t\"a \"c\"\"\n" + exact << cut;
        QTest::newRow("no blank") << entry + "#=entry p\n" << cut;
        QTest::newRow("literal quote") << entry + "#=entry p a%20\"b\"\n" << cut;
        QTest::newRow("escape cut short") << entry + "#=entry p a%20%22b%2\n" << cut;
        QTest::newRow("escape of a plain character") << entry + "#=entry p a%20%22%62%22\n" << cut;
        QTest::newRow("marker without its blank") << entry + "#=entryp a%20%22b%22\n" << cut;
        QTest::newRow("entry after the exact line") << entry + exact + "\"q\"\t\"r\"\n"
                                                    << whole + EntryList{{"q", "r"}};
    }

    void oddExactLinesFollowTheLineRules()
    {
        QFETCH(QString, body);
        QFETCH(EntryList, entries);
        QList<ConfigSection> sections = Config::NewSections();
        Config::ReadText("$VERSION\t106\n[Input]\n" + body, sections);
        QCOMPARE(sections[3].entries, entries);
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

QTEST_GUILESS_MAIN(FileFormatTest)
#include "tst_fileformat.moc"
