// Entries the plain entry line can't carry: the reader splits that line at every double quote
// and turns a backslash-t in a key into a tab, so a value with a double quote (a profile whose
// arguments quote a path with blanks) or such a key would come back cut short.
//
// The saver writes the plain line as ever and, directly after it, a comment line that carries
// the entry exactly:
//
//     #=entry <key> <value>
//
// with '%', '"', the blank and control characters of key and value written as %XX. A reader
// that knows only the plain rules skips it as a comment and keeps the entry cut short, as it
// always did. This reader lets it replace the entry just read only when it follows that entry
// line directly and the line is exactly what the saver writes for the decoded entry; any other
// such line is an ordinary comment.
#pragma once

#include "model.h"

namespace Config {

// True when entry's plain line loses part of it, so the exact line must follow.
bool NeedsExactEntryLine(const OptionEntry& entry);

// The exact line for entry, line feed included.
QString ExactEntryLine(const OptionEntry& entry);

// The exact lines of one save. Whether an entry needs one takes a read of its key and value,
// nearly as costly as encoding them, so it is worked out on the first pass over the entries
// and looked up on the second.
class ExactLines
{
public:
    // The exact line to follow entry's own, empty for none.
    QStringView Record(const OptionEntry& entry);
    // The same, for entries in the order Record saw them.
    QStringView Replay(const OptionEntry& entry);

private:
    QList<std::pair<const OptionEntry*, QString>> m_lines;
    qsizetype m_next = 0;
};

// The entry a line carries, when it is a well-formed exact line whose plain line is
// previousLine; false otherwise.
bool ParseExactEntryLine(QStringView line, QStringView previousLine, OptionEntry* entry);

// A profile value with a double quote can only have come whole from an exact line: its
// arguments are taken as written rather than re-joined token by token, so blanks inside
// quotes stay as typed. Other values leave profile as the walk made it.
void RestoreExactArguments(const QString& value, const QList<ConfigSection>& sections,
                           Profile& profile);

} // namespace Config
