#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <string>

// Blank, tab, CR, LF, vertical tab, form feed, and also backspace (8) and bell (7).
bool UTIL_isWhitespace(char c);

// Splits one "key value" line. True only if both parts were found. The key runs to the next
// white space (so a quoted key cannot hold a blank) and loses one leading and one trailing
// quote. A quoted value runs to the next quote; an unquoted value to the next white space,
// which it keeps: "key value " gives "value " while "key value" is refused. Without a value,
// value becomes "?" in the std::string form and null in the QString form.
bool UTIL_getPart(const std::string &line, std::string &key, std::string &value);
bool UTIL_getPart(const QString &line, QString &key, QString &value);

// Tokens of a line: quoted strings, a "//" comment to the end, or runs of non-space, each with
// one trailing and one leading quote removed and then trimmed.
QStringList UTIL_getParts(const QString &line);
// First token is the key, second the value, a "//" token the comment; all start out null.
void UTIL_getParts(const QString &line, QString &key, QString &value, QString &comment);
void UTIL_getParts(const QString &line, QString &key, QString &value);
// Latin-1 text up to the first NUL; a part found but empty comes back empty, not null.
void UTIL_getParts(const QByteArray &line, QByteArray &key, QByteArray &value, QByteArray &comment);
void UTIL_getParts(const QByteArray &line, QByteArray &key, QByteArray &value);

// 1234567 gives "1,234,567".
QString UTIL_groupDigits(unsigned long long value);

// Fixed notation without trailing zeros or a trailing dot. With precision 0 the zeros of an
// integer are eaten too (100 gives "1"): use a precision above 0.
QString UTIL_standardNotationFloat(double value, int precision);

// 0 gives 1; a power of two gives itself, or with strict the next one (except 2^63);
// otherwise the highest set bit among bits 62..0, doubled.
unsigned long long UTIL_nextPowerOfTwo(const unsigned long long &value, bool strict = false);
// 0 gives 1; otherwise the highest set bit below bit 63 (0 when there is none).
unsigned long long UTIL_lastPowerOfTwo(const unsigned long long &value, bool strict = false);
// A power of two gives itself; ties go up; never 0.
unsigned long long UTIL_nearestPowerOfTwo(const unsigned long long &value);
// Index of the single set bit; -1 for 0, non-powers of two, and bits 31 and above.
int UTIL_flagToIndex(unsigned long long flag);
