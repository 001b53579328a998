// The Launcher.ini text format without a window: how lines are read, how profile values are
// walked and written, and that no byte sequence breaks the reader.
#include "config.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

namespace {

// Every entry as "section|key|value", in section order.
QStringList Dump(const QList<ConfigSection>& sections)
{
    QStringList lines;
    for (int s = 0; s < sections.size(); ++s) {
        for (const OptionEntry& entry : sections[s].entries)
            lines.append(QString::number(s) + u'|' + entry.key + u'|' + entry.value);
    }
    return lines;
}

QStringList ReadDump(const QString& text)
{
    QList<ConfigSection> sections = Config::NewSections();
    Config::ReadText(text, sections);
    return Dump(sections);
}

// Reads bytes the way the loader does: from a file, in text mode.
bool LoadBytes(const QByteArray& bytes, QList<ConfigSection>& sections, qint32* version)
{
    QTemporaryDir dir;
    QFile file(dir.filePath("Launcher.ini"));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return false;
    file.close();
    return Config::ReadFile(file.fileName(), sections, version);
}

} // namespace

class ConfigFormatTest : public QObject
{
    Q_OBJECT

private slots:
    void lineClassification_data();
    void lineClassification();
    void entrySplitting_data();
    void entrySplitting();
    void versionLines_data();
    void versionLines();
    void profileValueWalk_data();
    void profileValueWalk();
    void profileValueText_data();
    void profileValueText();
    void sectionDisplayName_data();
    void sectionDisplayName();
    void anyBytesLoad_data();
    void anyBytesLoad();
};

void ConfigFormatTest::lineClassification_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("entries");

    QTest::newRow("comment in first column") << "[Input]\n# \"a\"\t\"b\"\n" << QStringList();
    QTest::newRow("indented hash is an entry") << "[Input]\n  # note\n"
                                               << QStringList{"3|  # note|"};
    QTest::newRow("line of blanks is an entry") << "[Input]\n   \n" << QStringList{"3|   |"};
    QTest::newRow("empty lines skipped") << "[Input]\n\n\n\"a\"\t\"b\"\n\n" << QStringList{"3|a|b"};
    QTest::newRow("entries before first header ignored")
        << "\"a\"\t\"b\"\nloose\n[Resolution]\n\"c\"\t\"d\"" << QStringList{"1|c|d"};
    QTest::newRow("unknown header joins current section")
        << "[Input]\n\"a\"\t\"\"\n[Other]\n\"b\"\t\"v\"\n"
        << QStringList{"3|a|", "3|[Other]|", "3|b|v"};
    QTest::newRow("header keeps only its first token")
        << "[Resolution] = rest, ignored\n\"a\"\t\"b\"" << QStringList{"1|a|b"};
    QTest::newRow("indented header is an entry")
        << "[Resolution]\n [Input]\n\"a\"\t\"b\"" << QStringList{"1| [Input]|", "1|a|b"};
    QTest::newRow("repeated header appends")
        << "[Input]\n\"a\"\t\"1\"\n[Resolution]\n\"b\"\t\"2\"\n[Input]\n\"c\"\t\"3\""
        << QStringList{"1|b|2", "3|a|1", "3|c|3"};
    QTest::newRow("duplicates stay")
        << "[Profile]\n\"p\"\t\"x\"\n\"p\"\t\"y\"" << QStringList{"0|p|x", "0|p|y"};
    QTest::newRow("CRLF line endings") << "$VERSION\t105\r\n[Input]\r\n\"a\"\t\"b\"\r\n\r\n"
                                       << QStringList{"3|a|b"};
    QTest::newRow("byte-order mark not part of the first line")
        << "\uFEFF[Input]\n\"a\"\t\"b\"" << QStringList{"3|a|b"};
    QTest::newRow("UTF-8 text") << "[Input]\n\"Größe\"\t\"-€\"" << QStringList{"3|Größe|-€"};
    QTest::newRow("version line is never an entry") << "[Input]\n$VERSION\t106\n$VERSION\n"
                                                    << QStringList();
    QTest::newRow("version token must be exact") << "[Input]\n$VERSION2 106\n"
                                                 << QStringList{"3|$VERSION2 106|"};
}

void ConfigFormatTest::lineClassification()
{
    QFETCH(QString, text);
    QFETCH(QStringList, entries);
    QList<ConfigSection> sections;
    qint32 version = 0;
    QVERIFY(LoadBytes(text.toUtf8(), sections, &version));
    QCOMPARE(Dump(sections), entries);
}

void ConfigFormatTest::entrySplitting_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("entries");

    QTest::newRow("key and value") << "\"k\"\t\"v\"" << QStringList{"1|k|v"};
    QTest::newRow("value right after key") << "\"k\"\"v\"" << QStringList{"1|k|"};
    QTest::newRow("blank instead of tab") << "\"k\" \"v\"" << QStringList{"1|k|v"};
    QTest::newRow("no quotes") << "plain line" << QStringList{"1|plain line|"};
    QTest::newRow("unclosed quote") << "\"k\t" << QStringList{"1|k\t|"};
    QTest::newRow("only quotes") << "\"\"\"\"" << QStringList();
    QTest::newRow("backslash-t in key only")
        << "\"a\\tb\\t\"\t\"c\\td\"" << QStringList{"1|a\tb\t|c\\td"};
    QTest::newRow("empty key") << "\"\"\t\"v\"" << QStringList{"1|\t|"};
    QTest::newRow("quote inside value") << "\"k\"\t\"say \"hi\"\"" << QStringList{"1|k|say "};
    QTest::newRow("pieces after the value ignored")
        << "\"k\"\t\"v\"\t\"w\" tail" << QStringList{"1|k|v"};
}

void ConfigFormatTest::entrySplitting()
{
    QFETCH(QString, line);
    QFETCH(QStringList, entries);
    QCOMPARE(ReadDump("[Resolution]\n" + line), entries);
}

void ConfigFormatTest::versionLines_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("version");
    QTest::addColumn<bool>("accepted");

    QTest::newRow("tab 106") << "$VERSION\t106" << 106 << true;
    QTest::newRow("blank equals blank 105") << "$VERSION = 105" << 105 << true;
    QTest::newRow("comma 104") << "$VERSION,104" << 104 << true;
    QTest::newRow("103 is the oldest accepted") << "$VERSION 103" << 103 << true;
    QTest::newRow("102 is out of date") << "$VERSION 102" << 102 << false;
    QTest::newRow("107 is out of date") << "$VERSION 107" << 107 << false;
    QTest::newRow("no version line") << "[Input]\n\"a\"\t\"b\"" << 0 << false;
    QTest::newRow("alone keeps earlier") << "$VERSION 104\n$VERSION" << 104 << true;
    QTest::newRow("non-number passed over") << "$VERSION x 105" << 105 << true;
    QTest::newRow("last line wins") << "$VERSION 103\n$VERSION 107" << 107 << false;
    QTest::newRow("after entries") << "[Input]\n\"a\"\t\"b\"\n$VERSION 104" << 104 << true;
    QTest::newRow("64-bit value wraps to 32") << "$VERSION 4294967402" << 106 << true;
    QTest::newRow("beyond 64 bits passed over")
        << "$VERSION 99999999999999999999 104" << 104 << true;
    QTest::newRow("plus sign") << "$VERSION +105" << 105 << true;
    QTest::newRow("negative") << "$VERSION -106" << -106 << false;
    QTest::newRow("hex is not decimal") << "$VERSION 0x6a" << 0 << false;
    QTest::newRow("trailing letters") << "$VERSION 106abc" << 0 << false;
    QTest::newRow("token is case-sensitive") << "$version 106" << 0 << false;
}

void ConfigFormatTest::versionLines()
{
    QFETCH(QString, text);
    QFETCH(int, version);
    QFETCH(bool, accepted);
    QList<ConfigSection> sections = Config::NewSections();
    const qint32 read = Config::ReadText(text, sections);
    QCOMPARE(read, version);
    QCOMPARE(Config::IsAcceptedVersion(read), accepted);
}

void ConfigFormatTest::profileValueWalk_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QList<int>>("indexes");
    QTest::addColumn<QString>("arguments");

    QTest::newRow("all sections then arguments")
        << "[Resolution] 2 [PixelDensity] 1 [Input] 0 -a -b" << QList<int>{2, 1, 0} << " -a -b";
    QTest::newRow("sections anywhere")
        << "[Input] 3 -x [Resolution] 1" << QList<int>{1, 0, 3} << " -x";
    QTest::newRow("section without number dropped")
        << "[Resolution] x -y" << QList<int>{0, 0, 0} << " x -y";
    QTest::newRow("section at the end dropped")
        << "-y [Resolution]" << QList<int>{0, 0, 0} << " -y";
    QTest::newRow("minus one") << "[Resolution] -1" << QList<int>{-1, 0, 0} << "";
    QTest::newRow("later token overrides")
        << "[Resolution] 1 [Resolution] 5" << QList<int>{5, 0, 0} << "";
    QTest::newRow("dropped section name before another")
        << "[Resolution] [Input] 3" << QList<int>{0, 0, 3} << "";
    QTest::newRow("profile header is an argument")
        << "[Profile] 1" << QList<int>{0, 0, 0} << " [Profile] 1";
    QTest::newRow("spacing not kept") << "\t-a   -b\t" << QList<int>{0, 0, 0} << " -a -b";
    // The separators are what trimmed() strips when saving, Unicode spaces included, so a
    // saved value cannot turn into a section token on the way back.
    QTest::newRow("no-break space separates")
        << QStringLiteral("[Input]\u00a05\u00a0-x") << QList<int>{0, 0, 5} << " -x";
    QTest::newRow("index wraps to 32 bits")
        << "[PixelDensity] 4294967297" << QList<int>{0, 1, 0} << "";
    QTest::newRow("empty value") << "" << QList<int>{0, 0, 0} << "";
}

void ConfigFormatTest::profileValueWalk()
{
    QFETCH(QString, value);
    QFETCH(QList<int>, indexes);
    QFETCH(QString, arguments);
    Profile profile;
    Config::ParseProfileValue(value, Config::NewSections(), profile);
    QCOMPARE((QList<int>{profile.optionIndex[0], profile.optionIndex[1], profile.optionIndex[2]}),
             indexes);
    QCOMPARE(profile.arguments, arguments);
}

void ConfigFormatTest::profileValueText_data()
{
    QTest::addColumn<QList<int>>("indexes");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("text");

    const int min = std::numeric_limits<qint32>::min();
    const int max = std::numeric_limits<qint32>::max();
    QTest::newRow("empty arguments end in a blank") << QList<int>{0, 0, 0} << ""
                                                    << "[Resolution] 0 [PixelDensity] 0 [Input] 0 ";
    QTest::newRow("outer blanks go, inner stay")
        << QList<int>{2, 1, 0} << " -a  -b "
        << "[Resolution] 2 [PixelDensity] 1 [Input] 0 -a  -b";
    QTest::newRow("tabs and newlines trimmed") << QList<int>{0, 0, 7} << "\t-x\n"
                                               << "[Resolution] 0 [PixelDensity] 0 [Input] 7 -x";
    QTest::newRow("minus one") << QList<int>{-1, 0, 0} << ""
                               << "[Resolution] -1 [PixelDensity] 0 [Input] 0 ";
    QTest::newRow("32-bit extremes")
        << QList<int>{min, max, 10} << "-z"
        << "[Resolution] -2147483648 [PixelDensity] 2147483647 [Input] 10 -z";
}

// GetProfileValue, and the walk reading its text back to the same profile.
void ConfigFormatTest::profileValueText()
{
    QFETCH(QList<int>, indexes);
    QFETCH(QString, arguments);
    QFETCH(QString, text);
    const QList<ConfigSection> sections = Config::NewSections();
    Profile profile;
    profile.arguments = arguments;
    for (int k = 0; k < 3; ++k)
        profile.optionIndex[k] = indexes[k];
    QCOMPARE(Config::ProfileValue(sections, profile), text);

    Profile back;
    Config::ParseProfileValue(text, sections, back);
    QCOMPARE((QList<int>{back.optionIndex[0], back.optionIndex[1], back.optionIndex[2]}), indexes);
    QCOMPARE(back.arguments.simplified(), arguments.simplified());
}

void ConfigFormatTest::sectionDisplayName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("lowerCase");
    QTest::addColumn<QString>("display");

    QTest::newRow("two words") << "[PixelDensity]" << false << "Pixel Density";
    QTest::newRow("two words lower case") << "[PixelDensity]" << true << "pixel density";
    QTest::newRow("one word lower case") << "[Resolution]" << true << "resolution";
    QTest::newRow("only brackets go") << "[Input]" << false << "Input";
    QTest::newRow("no blank between capitals") << "[ABCdef]" << false << "ABCdef";
    QTest::newRow("no blank after a digit") << "[Pixel2Density]" << false << "Pixel2Density";
    QTest::newRow("bracket keeps the flag") << "[ab][Cd]" << false << "ab Cd";
    QTest::newRow("non-ASCII letters") << "[ÉcoleÉté]" << false << "École Été";
}

void ConfigFormatTest::sectionDisplayName()
{
    QFETCH(QString, name);
    QFETCH(bool, lowerCase);
    QFETCH(QString, display);
    QCOMPARE(Config::SectionDisplayName(name, lowerCase), display);
}

void ConfigFormatTest::anyBytesLoad_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QRandomGenerator random(20240611);
    QByteArray noise(256 * 1024, Qt::Uninitialized);
    random.fillRange(reinterpret_cast<quint32*>(noise.data()), noise.size() / 4);
    QTest::newRow("random bytes") << noise;
    QTest::newRow("NUL bytes") << QByteArray("[Profile]\n\"a\0b\"\t\"[Input]\0 2\"\n\0\0\0\n", 30);
    QTest::newRow("lone carriage returns")
        << QByteArray("\r[Input]\r\"a\"\r\"b\"\r\r\n\r$VERSION\r106\r");
    QTest::newRow("invalid UTF-8")
        << QByteArray("[Resolution]\n\"\xff\xfe\xc3\"\t\"\xed\xa0\x80\xf8\x88\x80\x80\x80\"\n");
    QTest::newRow("one long line") << QByteArray(1 << 20, '"');
    QTest::newRow("many section tokens")
        << "[Profile]\n\"p\"\t\"" + QByteArray("[Input] ").repeated(20000) + "\"\n";
}

// Whatever the bytes, loading ends with four sections that each hold an entry and one profile
// per "[Profile]" entry.
void ConfigFormatTest::anyBytesLoad()
{
    QFETCH(QByteArray, bytes);
    QList<ConfigSection> sections;
    qint32 version = 0;
    QVERIFY(LoadBytes(bytes, sections, &version));
    Config::AddDefaultEntries(sections);
    const QList<Profile> profiles = Config::ProfilesFromSection(sections);
    QCOMPARE(sections.size(), Config::SectionCount);
    for (const ConfigSection& section : sections)
        QVERIFY(!section.entries.isEmpty());
    QCOMPARE(profiles.size(), sections[0].entries.size());
}

QTEST_GUILESS_MAIN(ConfigFormatTest)
#include "tst_configformat.moc"
