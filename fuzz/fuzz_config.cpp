// libFuzzer target for the Launcher.ini reader. Besides memory errors it looks for wrong answers:
// the hand-written splitters and reader disagreeing with the regular expressions and QString
// calls they replace, and a save followed by a read losing something the format promises to keep.
#include "fileformat.h"

#include <QRegularExpression>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "check failed at line %d: %s\n", __LINE__, #condition);           \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

namespace {

// The regular expressions cost far more than the reader; a few hundred lines find the same bugs.
constexpr int MaxCheckedLines = 300;

const QRegularExpression& LineSeparators()
{
    static const QRegularExpression re(QStringLiteral("[ ,=\\t]+"));
    return re;
}

// QRegExp's "\s" was QChar::isSpace(); simplified() collapses exactly those characters.
QStringList SplitAtSpaces(const QString& text)
{
    return text.simplified().split(u' ', Qt::SkipEmptyParts);
}

void CheckSplitters(const QString& text)
{
    qsizetype start = 0;
    for (int n = 0; n < MaxCheckedLines && start <= text.size(); ++n) {
        qsizetype end = text.indexOf(u'\n', start);
        if (end < 0)
            end = text.size();
        const QString line = text.mid(start, end - start);
        FUZZ_CHECK(Config::SplitLineTokens(line) == line.split(LineSeparators()));
        FUZZ_CHECK(Config::SplitValueTokens(line) == SplitAtSpaces(line));
        start = end + 1;
    }
}

const QString SectionTokens[] = {QStringLiteral("[Resolution]"), QStringLiteral("[PixelDensity]"),
                                 QStringLiteral("[Input]")};

// The reader's line rules written the slow, obvious way, with the regular expression and the
// QString calls the format is defined by, to hold the faster reader to them.
qint32 ReferenceRead(const QString& text, QList<ConfigSection>& sections)
{
    qint32 version = 0;
    int current = -1;
    for (const QString& line : text.split(u'\n')) {
        if (line.isEmpty())
            continue;
        const QStringList tokens = line.split(LineSeparators());
        if (tokens[0].startsWith(u'#'))
            continue;
        if (tokens[0] == QStringLiteral("$VERSION")) {
            for (qsizetype i = 1; i < tokens.size(); ++i) {
                bool ok = false;
                const long number = tokens[i].toLong(&ok, 10);
                if (!tokens[i].isEmpty() && ok) {
                    version = static_cast<qint32>(number);
                    break;
                }
            }
            continue;
        }
        int header = -1;
        for (int s = 0; s < sections.size(); ++s) {
            if (tokens[0] == sections[s].name)
                header = s;
        }
        if (header >= 0) {
            current = header;
            continue;
        }
        if (current < 0)
            continue;
        const QStringList pieces = line.split(u'"', Qt::SkipEmptyParts);
        if (pieces.isEmpty())
            continue;
        QString key = pieces[0];
        key.replace(QStringLiteral("\\t"), QStringLiteral("\t"));
        sections[current].entries.append({key, pieces.size() >= 3 ? pieces[2] : QString()});
    }
    return version;
}

Profile ReferenceProfile(const OptionEntry& entry)
{
    Profile profile;
    profile.name = entry.key;
    const QStringList tokens = SplitAtSpaces(entry.value);
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        int k = 0;
        while (k < 3 && tokens[i] != SectionTokens[k])
            ++k;
        if (k == 3) {
            profile.arguments += u' ' + tokens[i];
            continue;
        }
        bool ok = false;
        const long number = i + 1 < tokens.size() ? tokens[i + 1].toLong(&ok, 10) : 0;
        if (ok) {
            profile.optionIndex[k] = static_cast<qint32>(number);
            ++i;
        }
    }
    return profile;
}

QString ReferenceProfileValue(const Profile& profile)
{
    QString text;
    for (int k = 0; k < 3; ++k)
        text += SectionTokens[k] + u' ' + QString::number(profile.optionIndex[k]) + u' ';
    return text + profile.arguments.trimmed();
}

bool SameEntries(const QList<OptionEntry>& a, const QList<OptionEntry>& b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (a[i].key != b[i].key || a[i].value != b[i].value)
            return false;
    }
    return true;
}

bool SameProfile(const Profile& a, const Profile& b)
{
    return a.name == b.name && a.arguments == b.arguments && a.optionIndex[0] == b.optionIndex[0] &&
           a.optionIndex[1] == b.optionIndex[1] && a.optionIndex[2] == b.optionIndex[2];
}

void CheckAgainstReference(const QString& text, const QList<ConfigSection>& sections,
                           qint32 version, const QList<Profile>& profiles)
{
    QList<ConfigSection> expected = Config::NewSections();
    FUZZ_CHECK(ReferenceRead(text, expected) == version);
    for (int s = 0; s < Config::SectionCount; ++s)
        FUZZ_CHECK(SameEntries(sections[s].entries, expected[s].entries));
    for (qsizetype i = 0; i < profiles.size(); ++i) {
        FUZZ_CHECK(SameProfile(profiles[i], ReferenceProfile(sections[0].entries[i])));
        FUZZ_CHECK(Config::ProfileValue(sections, profiles[i]) ==
                   ReferenceProfileValue(profiles[i]));
    }
}

// Texts that a save writes between double quotes and a read gets back unchanged: the reader
// splits at every quote and the file at every line end.
bool SurvivesQuoting(const QString& text)
{
    return !text.contains(u'"') && !text.contains(u'\n') && !text.contains(u'\r');
}

bool SurvivesAsKey(const QString& key)
{
    return !key.isEmpty() && SurvivesQuoting(key) && !key.contains(QStringLiteral("\\t"));
}

void CheckRoundTrip(const QList<ConfigSection>& loaded, const QList<Profile>& profiles)
{
    ConfigModel model{loaded, profiles};
    QList<ConfigSection> reread = Config::NewSections();
    FUZZ_CHECK(Config::ReadText(Config::FormatText(model), reread) == Config::CurrentVersion);
    const QList<ConfigSection>& saved = model.sections;
    FUZZ_CHECK(reread.size() == Config::SectionCount);

    const QList<Profile> again = Config::ProfilesFromSection(reread);
    FUZZ_CHECK(again.size() == profiles.size());
    for (qsizetype i = 0; i < profiles.size(); ++i) {
        const Profile& before = profiles[i];
        const Profile& after = again[i];
        if (!SurvivesAsKey(before.name) || !SurvivesQuoting(before.arguments))
            continue;
        FUZZ_CHECK(after.name == before.name);
        for (int k = 0; k < 3; ++k)
            FUZZ_CHECK(after.optionIndex[k] == before.optionIndex[k]);
        FUZZ_CHECK(Config::SplitValueTokens(after.arguments) ==
                   Config::SplitValueTokens(before.arguments));
    }

    for (int s = 1; s < Config::SectionCount; ++s) {
        const QList<OptionEntry>& before = saved[s].entries;
        const QList<OptionEntry>& after = reread[s].entries;
        FUZZ_CHECK(after.size() == before.size());
        for (qsizetype i = 0; i < before.size(); ++i) {
            if (!SurvivesQuoting(before[i].value))
                continue;
            if (before[i].key.isEmpty()) {
                // The empty key's two quotes vanish, so the tab after them becomes the key.
                FUZZ_CHECK(after[i].key == QStringLiteral("\t") && after[i].value.isEmpty());
            } else if (SurvivesAsKey(before[i].key)) {
                FUZZ_CHECK(after[i].key == before[i].key);
                FUZZ_CHECK(after[i].value == before[i].value);
            }
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    CheckSplitters(text);

    QList<ConfigSection> sections = Config::NewSections();
    const qint32 version = Config::ReadText(text, sections);
    FUZZ_CHECK(sections.size() == Config::SectionCount);
    const QList<ConfigSection> read = sections;
    Config::AddDefaultEntries(sections);
    for (const ConfigSection& section : sections)
        FUZZ_CHECK(!section.entries.isEmpty());

    const QList<Profile> profiles = Config::ProfilesFromSection(sections);
    FUZZ_CHECK(profiles.size() == sections[Config::ProfileSection].entries.size());
    for (qsizetype i = 0; i < profiles.size(); ++i) {
        FUZZ_CHECK(profiles[i].name == sections[Config::ProfileSection].entries[i].key);
        if (i < MaxCheckedLines) {
            const QString& value = sections[Config::ProfileSection].entries[i].value;
            FUZZ_CHECK(Config::SplitValueTokens(value) ==
                       SplitAtSpaces(value));
        }
    }

    // The reference knows only the plain line rules; an exact entry line may rightly differ.
    if (!text.contains(QStringLiteral("#=entry")))
        CheckAgainstReference(text, read, version, Config::ProfilesFromSection(read));
    CheckRoundTrip(sections, profiles);
    return 0;
}
