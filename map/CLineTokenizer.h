#pragma once

#include <QByteArray>

// Key and value of one line of the map text formats (VMF, entity lumps), in the very tokens
// of UTIL_getParts: at each place the longest of a quoted string, a "//" comment to the end
// or a run of non-blanks; one trailing and one leading quote dropped, then blanks trimmed;
// tokens that then begin with "//" are comments. Written by hand because the regular
// expression costs a microsecond or more a line, and map sources run to millions of lines.
// Blanks are those of QChar::isSpace over Latin-1, 0x85 and 0xA0 included.
class CLineTokenizer
{
public:
    // A missing part comes back null; a part found but empty, such as "", empty and not null.
    // The line is taken up to its first NUL.
    static void split(const QByteArray &line, QByteArray &key, QByteArray &value);

    static constexpr bool isBlank(unsigned char c)
    {
        return c == 0x20 || (c >= 0x09 && c <= 0x0D) || c == 0x85 || c == 0xA0;
    }
};
